#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace mova::tool {

enum class PropertyType : std::uint8_t { empty, null, boolean, i2, i4, i8, r4, r8, date, string };

/// One line of a property file: NAME=TYPE:VALUE sets a property, -NAME removes one.
struct PropertyLine {
    bool removes = false;
    std::string_view name;
    PropertyType type = PropertyType::empty;
    /// What the type says: bool, an integer within the type's range, a number, a text; nothing for empty and null.
    std::variant<std::monostate, bool, std::int64_t, double, std::string_view> value;
};

/// Reads one line; the texts are parts of it.
/// @return nothing where it is no such line, or its value is none of its type.
std::optional<PropertyLine> ParsePropertyLine(std::string_view line);

/// The lines of a text: ended by LF or CR LF, without a byte-order mark before the first. @throw std::bad_alloc
std::vector<std::string_view> SplitLines(std::string_view text);

}  // namespace mova::tool
