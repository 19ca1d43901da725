// An identifier's text reads back as the identifier, and what reads as one is its text but for case and braces.
#include <algorithm>
#include <string>

#include "fuzz/Input.h"
#include "kvcore/GuidText.h"

namespace {

char16_t UpperLetter(char16_t c) {
    return c >= u'a' && c <= u'f' ? static_cast<char16_t>(c - 0x20) : c;
}

}  // namespace

// Each byte is a character of a text; the first sixteen are an identifier, too.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::u16string text(data, data + size);
    if (const auto id = kv::ParseGuid(text)) {
        std::transform(text.begin(), text.end(), text.begin(), UpperLetter);
        const auto written = kv::FormatGuid(*id);
        const std::u16string_view whole(written.data(), written.size());
        fuzz::Require(text == whole || text == whole.substr(1, whole.size() - 2), "what was read is written");
    }
    kv::IdBits id;
    fuzz::Input input(data, size);
    for (std::uint64_t* half : {&id.first, &id.second})
        for (int i = 0; i < 8; ++i) *half = *half << 8 | input.Byte();
    const auto written = kv::FormatGuid(id);
    fuzz::Require(kv::ParseGuid({written.data(), written.size()}) == id, "what was written is read");
    return 0;
}
