#include "tools/mova/Words.h"

namespace mova::tool {

std::optional<std::vector<std::string>> SplitWords(std::string_view line) {
    std::vector<std::string> words;
    bool inWord = false;
    bool inQuotes = false;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        if (!inQuotes && (c == ' ' || c == '\t')) {
            inWord = false;
            continue;
        }
        if (!inWord) words.emplace_back();
        inWord = true;
        const bool escapes =
            inQuotes && c == '\\' && i + 1 < line.size() && (line[i + 1] == '"' || line[i + 1] == '\\');
        if (escapes) {
            words.back() += line[++i];
        } else if (c == '"') {
            inQuotes = !inQuotes;
        } else {
            words.back() += c;
        }
    }
    if (inQuotes) return {};
    return words;
}

}  // namespace mova::tool
