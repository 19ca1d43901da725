// Numbers as the client prints them.
#pragma once

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace mova::tool {

/// Appends a number with the fewest digits that read back as the same one. @throw std::bad_alloc
template <class Number>
void AppendNumber(std::string& out, Number number) {
    if constexpr (std::is_floating_point_v<Number>) {
        if (std::isnan(number)) {  // of either sign
            out += "nan";
            return;
        }
    }
    std::array<char, 64> text;
    out.append(text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr);
}

/// Reads a whole text as an integer; nothing where it is none.
inline std::optional<std::int64_t> ReadInteger(std::string_view text) noexcept {
    std::int64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size()) return {};
    return number;
}

}  // namespace mova::tool
