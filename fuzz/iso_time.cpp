// ISO 8601 texts are read as the patterns say, and what was read writes back; so do durations.
#include <string>

#include "fuzz/Input.h"
#include "tests/IsoPattern.h"
#include "time/Duration.h"
#include "time/IsoText.h"
#include "time/TimeText.h"

namespace {

/// What a reader makes of a text is a time, which is written and read back as it was.
void CheckTime(const std::optional<calendar::IsoParts>& parts) {
    const auto fields = parts ? calendar::TimeOf(*parts) : std::nullopt;
    constexpr std::int16_t latestOfFourDigits = 9999;
    if (!fields || fields->year > latestOfFourDigits) return;
    char16_t out[calendar::timeTextSize];
    const std::u16string_view written(out, calendar::FormatXmlTime(out, *fields, parts->offset));
    const auto again = calendar::MatchIsoText(written);
    fuzz::Require(again && calendar::TimeOf(*again) == fields && again->offset == parts->offset,
                  "a time that was read is written and read again");
}

void CheckDuration(std::u16string_view text) {
    const auto read = calendar::ReadDuration(text);
    if (!read) return;
    char16_t out[calendar::durationTextSize];
    const std::u16string_view written(out, calendar::FormatDuration(out, *read));
    fuzz::Require(calendar::ReadDuration(written) == read, "a duration that was read is written and read again");
}

}  // namespace

// Each byte is a character of a text, those from 0x80 on of a script with digits of its own.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::u16string text;
    for (std::size_t i = 0; i < size; ++i)
        text += static_cast<char16_t>(data[i] < 0x80 ? data[i] : 0x600 - 0x80 + data[i]);
    const auto matched = calendar::MatchIsoText(text);
    fuzz::Require(matched == mova::test::MatchIsoPattern(text), "the reader takes what the pattern takes");
    CheckTime(matched);
    const auto scanned = calendar::ScanIsoText(text);
    fuzz::Require(scanned == mova::test::ScanIsoPattern(text), "the older reader takes what its pattern takes");
    CheckTime(scanned);
    CheckDuration(text);
    return 0;
}
