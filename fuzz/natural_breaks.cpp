// Natural breaks are those of summing each class anew, whatever the histogram.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "classify/NaturalClasses.h"
#include "fuzz/Input.h"
#include "tests/DirectNaturalBreaks.h"

namespace {

/// A value in one of four ways: any bits, a small whole number of units, of steps that are small beside 1 or of almost
/// nothing, the one before plus a little, a tenth.
double Value(fuzz::Input& input, double previous) {
    const std::uint8_t kind = input.Byte();
    switch (kind & 3u) {
        case 0: {
            std::uint64_t bits = 0;
            for (int i = 0; i < 4; ++i) bits = bits << 16 | input.Word();
            double value = 0;
            std::memcpy(&value, &bits, sizeof value);
            return value;
        }
        case 1:
            return std::ldexp(input.Word() - 100.0, kind & 0x80u ? -60 : kind & 0x40u ? -1060 : 0);
        case 2:
            return previous + previous * 0x1p-50 * (kind >> 2u) + (kind >> 5u);
        default:
            return input.Word() / 10.0;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::uint8_t header = input.Byte();
    const int asked = input.Byte() + 1;
    std::vector<double> values;
    std::vector<std::int32_t> frequencies;
    while (!input.IsEmpty() && values.size() < 2000) {
        values.push_back(Value(input, values.empty() ? 1 : values.back()));
        const std::uint8_t frequency = input.Byte();
        frequencies.push_back(frequency < 250 ? frequency % 8 + (header & 1u ? 1 : 0) : 0x7FFFFFFF - (frequency - 250));
        if (header >= 250 && frequency == 249) frequencies.back() = -1;
    }
    if (values.empty()) return 0;
    if (header < 245)
        std::sort(values.begin(), values.end(), [](double a, double b) { return a < b || (a == a && b != b); });
    const int classes = std::min(asked, static_cast<int>(values.size()));
    const mova::HistogramView view{values, frequencies};
    mova::BlockSums sums;
    mova::NaturalBounds bounds;
    const bool found = mova::FindNaturalBounds(view, classes, sums, bounds);
    mova::test::DirectNaturalBreaks direct(view);
    fuzz::Require(direct.Run(classes) == found, "classes have weight or have not");
    fuzz::Require(!found || std::equal(bounds.begin(), bounds.begin() + classes + 1, direct.bounds.begin()),
                  "one and the same bounds");
    return 0;
}
