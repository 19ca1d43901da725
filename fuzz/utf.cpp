// Text that went through UTF-16 once comes back the same ever after, and quoted text is one plain line.
#include <algorithm>
#include <string>

#include "fuzz/Input.h"
#include "kvcore/Utf.h"

namespace {

void CheckQuoted(std::u16string_view text) {
    std::string quoted;
    kv::AppendQuoted(quoted, text);
    fuzz::Require(quoted.size() >= 2 && quoted.front() == '"' && quoted.back() == '"', "in quotation marks");
    fuzz::Require(std::none_of(quoted.begin(), quoted.end(), [](unsigned char c) { return c < 0x20; }), "no controls");
    fuzz::Require(kv::Utf8(kv::Utf16(quoted)) == quoted, "well-formed UTF-8");
    for (std::size_t i = 1; i < quoted.size() - 1; ++i) {
        fuzz::Require(quoted[i] != '"', "no quotation mark inside");
        if (quoted[i] == '\\') ++i;
        fuzz::Require(i < quoted.size() - 1, "no escape cut short");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::u16string text = kv::Utf16(fuzz::Text(data, size));
    fuzz::Require(text.size() <= size, "no more units than bytes");
    const std::string bytes = kv::Utf8(text);
    fuzz::Require(kv::Utf16(bytes) == text, "UTF-16 comes back");
    CheckQuoted(text);
    std::u16string put(kv::Utf16Length(bytes), u'?');
    fuzz::Require(kv::PutUtf16(put.data(), bytes) == put.data() + put.size(), "as long as it was measured");
    fuzz::Require(put == text, "UTF-16 comes back the fast way");

    std::u16string units;
    for (fuzz::Input input(data, size); !input.IsEmpty();) units += static_cast<char16_t>(input.Word());
    const std::string once = kv::Utf8(units);
    fuzz::Require(kv::Utf8(kv::Utf16(once)) == once, "UTF-8 comes back");
    fuzz::Require(kv::Utf16(once).size() == units.size(), "a unit for every unit");
    CheckQuoted(units);
    return 0;
}
