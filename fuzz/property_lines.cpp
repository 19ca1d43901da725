// Lines are the text but for its line ends, a property line's parts are parts of the line, and words that are quoted
// and joined split into the same words.
#include <string>

#include "fuzz/Input.h"
#include "tools/mova/PropertyLines.h"
#include "tools/mova/Words.h"

namespace {

using namespace mova::tool;

void CheckProperty(std::string_view line) {
    const auto parsed = ParsePropertyLine(line);
    if (!parsed) return;
    const std::string name(parsed->name);
    if (parsed->removes) {
        fuzz::Require("-" + name == line, "the name that is removed");
        return;
    }
    fuzz::Require(line.starts_with(name + "=") && name.find('=') == std::string::npos, "the name that is set");
    if (const auto* text = std::get_if<std::string_view>(&parsed->value))
        fuzz::Require(name + "=str:" + std::string(*text) == line, "the text");
    if (const auto* number = std::get_if<std::int64_t>(&parsed->value)) {
        fuzz::Require(parsed->type != PropertyType::i2 || *number == static_cast<std::int16_t>(*number), "16 bits");
        fuzz::Require(parsed->type != PropertyType::i4 || *number == static_cast<std::int32_t>(*number), "32 bits");
    }
}

void CheckWords(std::string_view line) {
    const auto words = SplitWords(line);
    if (!words) return;
    std::string joined;
    for (const std::string& word : *words) {
        joined += " \"";
        for (const char c : word) {
            if (c == '"' || c == '\\') joined += '\\';
            joined += c;
        }
        joined += '"';
    }
    fuzz::Require(SplitWords(joined) == words, "the same words");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text = fuzz::Text(data, size);
    std::string_view rest = text;
    if (rest.starts_with("\xEF\xBB\xBF")) rest.remove_prefix(3);
    for (const std::string_view line : SplitLines(text)) {
        fuzz::Require(line.data() == rest.data() && line.size() <= rest.size(), "the next line");
        fuzz::Require(line.find('\n') == std::string_view::npos, "one line");
        rest.remove_prefix(line.size());
        if (rest.starts_with('\r')) rest.remove_prefix(1);
        fuzz::Require(rest.empty() || rest.front() == '\n', "a line end behind it");
        rest.remove_prefix(rest.empty() ? 0 : 1);
        CheckProperty(line);
        CheckWords(line);
    }
    fuzz::Require(rest.empty(), "nothing behind the last line");
    CheckProperty(text);
    CheckWords(text);
    return 0;
}
