#include "containers/NameFold.h"

#include <algorithm>
#include <cstring>

#include "kvcore/Multiply.h"

namespace mova {
namespace {

// Four characters in the lanes of one word.
constexpr std::size_t lanes = 4;

constexpr std::uint64_t Spread(std::uint16_t value) noexcept {
    return value * 0x0001'0001'0001'0001ull;
}

std::uint64_t Load(const char16_t* text) noexcept {
    std::uint64_t block;
    std::memcpy(&block, text, sizeof block);
    return block;
}

constexpr bool IsAsciiBlock(std::uint64_t block) noexcept {
    return (block & Spread(0xFF80)) == 0;
}

/// Puts the letters a to z of an ASCII block into upper case.
constexpr std::uint64_t UpcaseAscii(std::uint64_t block) noexcept {
    const std::uint64_t fromA = block + Spread(0x80 - u'a');    // bit 7 of a lane: at or above a
    const std::uint64_t beyondZ = block + Spread(0x7F - u'z');  // bit 7 of a lane: above z
    return block - ((fromA & ~beyondZ & Spread(0x80)) >> 2);    // 0x80 >> 2 is what lies between the cases
}

std::uint64_t UpcaseEach(std::uint64_t block, Upcase upcase) noexcept {
    char16_t characters[lanes];
    std::memcpy(characters, &block, sizeof block);
    for (char16_t& character : characters) character = upcase(character);
    return Load(characters);
}

std::uint64_t UpcaseBlock(std::uint64_t block, Upcase upcase) noexcept {
    return IsAsciiBlock(block) ? UpcaseAscii(block) : UpcaseEach(block, upcase);
}

/// Calls act(offset, block) for blocks that cover the text, the last one overlapping its neighbour; a text shorter than
/// a block is filled up with NULs. Ends early where act answers false. @return whether act never did
template <class Act>
bool ForBlocks(std::u16string_view text, Act act) {
    if (text.size() < lanes) {
        char16_t filled[lanes] = {};
        std::copy(text.begin(), text.end(), filled);
        return act(0, Load(filled));
    }
    std::size_t offset = 0;
    for (; offset + lanes < text.size(); offset += lanes)
        if (!act(offset, Load(text.data() + offset))) return false;
    const std::size_t last = text.size() - lanes;
    return act(last, Load(text.data() + last));
}

/// Compares two texts of one length block by block.
template <class Same>
bool ForBlockPairs(std::u16string_view left, std::u16string_view right, Same same) {
    if (left.size() != right.size()) return false;
    if (left.size() >= lanes)
        return ForBlocks(
            left, [&](std::size_t offset, std::uint64_t block) { return same(block, Load(right.data() + offset)); });
    return ForBlocks(left, [&](std::size_t, std::uint64_t leftBlock) {
        return ForBlocks(right, [&](std::size_t, std::uint64_t rightBlock) { return same(leftBlock, rightBlock); });
    });
}

}  // namespace

bool IsAsciiName(std::u16string_view name) noexcept {
    return std::all_of(name.begin(), name.end(), [](char16_t character) { return character < 127; });
}

bool SameAsciiName(std::u16string_view left, std::u16string_view right) noexcept {
    return ForBlockPairs(left, right, [](std::uint64_t a, std::uint64_t b) {
        if (a == b) return true;
        const auto foldAscii = [](char16_t character) noexcept {
            return character >= u'a' && character <= u'z' ? static_cast<char16_t>(character - (u'a' - u'A'))
                                                          : character;
        };
        return UpcaseBlock(a, foldAscii) == UpcaseBlock(b, foldAscii);
    });
}

bool SameName(std::u16string_view left, std::u16string_view right, Upcase upcase) noexcept {
    return ForBlockPairs(left, right, [=](std::uint64_t a, std::uint64_t b) {
        return a == b || UpcaseBlock(a, upcase) == UpcaseBlock(b, upcase);
    });
}

std::uint32_t HashName(std::u16string_view name, std::uint64_t seed, Upcase upcase) noexcept {
    constexpr std::uint64_t odd = 0x9E37'79B9'7F4A'7C15ull;  // 2^64 over the golden ratio: spreads neighbours
    std::uint64_t hash = seed ^ (name.size() * odd);
    ForBlocks(name, [&](std::size_t, std::uint64_t block) {
        hash = kv::FoldedProduct(hash ^ UpcaseBlock(block, upcase), odd);
        return true;
    });
    return static_cast<std::uint32_t>(kv::FoldedProduct(hash, odd));
}

}  // namespace mova
