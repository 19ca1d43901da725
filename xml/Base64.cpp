#include "xml/Base64.h"

#include <cstdint>
#include <string_view>

namespace xml {
namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

}  // namespace

char* PutBase64(char* out, std::span<const std::byte> bytes) noexcept {
    for (; !bytes.empty(); bytes = bytes.subspan(bytes.size() < 3 ? bytes.size() : 3)) {
        const auto byteAt = [&](std::size_t i) {
            return i < bytes.size() ? std::to_integer<std::uint32_t>(bytes[i]) : 0;
        };
        const std::uint32_t three = byteAt(0) << 16 | byteAt(1) << 8 | byteAt(2);
        *out++ = alphabet[three >> 18];
        *out++ = alphabet[three >> 12 & 0x3F];
        *out++ = bytes.size() > 1 ? alphabet[three >> 6 & 0x3F] : '=';
        *out++ = bytes.size() > 2 ? alphabet[three & 0x3F] : '=';
    }
    return out;
}

}  // namespace xml
