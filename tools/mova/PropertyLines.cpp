#include "tools/mova/PropertyLines.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace mova::tool {
namespace {

struct TypeRow {
    std::string_view word;
    PropertyType type;
    std::int64_t least = 0, greatest = 0;  // of the integers
};
constexpr TypeRow types[] = {
    {"empty", PropertyType::empty},
    {"null", PropertyType::null},
    {"bool", PropertyType::boolean},
    {"i2", PropertyType::i2, std::numeric_limits<std::int16_t>::min(), std::numeric_limits<std::int16_t>::max()},
    {"i4", PropertyType::i4, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max()},
    {"i8", PropertyType::i8, std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()},
    {"r4", PropertyType::r4},
    {"r8", PropertyType::r8},
    {"date", PropertyType::date},
    {"str", PropertyType::string},
};

/// A whole text as a number, "inf" and "nan" among them. A value too large or too small for its type is none.
template <class Number>
std::optional<Number> ParseNumber(std::string_view text) noexcept {
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    return number;
}

bool ParseValue(const TypeRow& row, std::string_view text, PropertyLine& line) {
    switch (row.type) {
        case PropertyType::empty:
        case PropertyType::null:
            return text.empty();
        case PropertyType::boolean:
            line.value = text == "true";
            return text == "true" || text == "false";
        case PropertyType::string:
            line.value = text;
            return true;
        case PropertyType::r4:
            if (const auto number = ParseNumber<float>(text)) {
                line.value = static_cast<double>(*number);
                return true;
            }
            return false;
        case PropertyType::r8:
        case PropertyType::date:
            if (const auto number = ParseNumber<double>(text)) {
                line.value = *number;
                return true;
            }
            return false;
        default:
            if (const auto number = ParseNumber<std::int64_t>(text)) {
                line.value = *number;
                return *number >= row.least && *number <= row.greatest;
            }
            return false;
    }
}

}  // namespace

std::optional<PropertyLine> ParsePropertyLine(std::string_view line) {
    PropertyLine parsed;
    if (line.starts_with('-')) {
        parsed.removes = true;
        parsed.name = line.substr(1);
        return parsed;
    }
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) return {};
    const std::size_t colon = line.find(':', equals);
    if (colon == std::string::npos) return {};
    parsed.name = line.substr(0, equals);
    const std::string_view word = line.substr(equals + 1, colon - equals - 1);
    const auto* row =
        std::find_if(std::begin(types), std::end(types), [&](const TypeRow& r) { return r.word == word; });
    if (row == std::end(types) || !ParseValue(*row, line.substr(colon + 1), parsed)) return {};
    parsed.type = row->type;
    return parsed;
}

std::vector<std::string_view> SplitLines(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.starts_with(byteOrderMark)) text.remove_prefix(byteOrderMark.size());
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        if (end != text.size() && line.ends_with('\r')) line.remove_suffix(1);
        lines.push_back(line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

}  // namespace mova::tool
