// Names are compared as their characters are, in either order, and names that are the same have one hash.
#include <algorithm>
#include <memory>

#include "containers/NameFold.h"
#include "fuzz/Input.h"

namespace {

char16_t UpcaseLetter(char16_t character) noexcept {
    return character >= u'a' && character <= u'z' ? static_cast<char16_t>(character - 0x20) : character;
}

/// A rule for all characters that agrees with ASCII; U+017F shows one whose upper case is an ASCII letter.
char16_t UpcaseAny(char16_t character) noexcept {
    if (character == 0x17F) return u'S';
    return character < 0x80 ? UpcaseLetter(character) : static_cast<char16_t>(character & 0xFFDF);
}

/// A name in memory of exactly its size, so that the sanitizer sees a read beyond it.
class Name {
 public:
    explicit Name(std::size_t length) : characters_(new char16_t[length]), length_(length) {}
    char16_t& operator[](std::size_t position) { return characters_[position]; }
    std::u16string_view View() const { return {characters_.get(), length_}; }

 private:
    std::unique_ptr<char16_t[]> characters_;
    std::size_t length_;
};

bool SameEach(std::u16string_view left, std::u16string_view right, mova::Upcase upcase) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [=](char16_t a, char16_t b) { return upcase(a) == upcase(b); });
}

}  // namespace

// The first byte is the seed, and its top bit says whether the names are of one length, their characters in turn.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    fuzz::Input input(data, size);
    const std::uint8_t seed = input.Byte();
    const std::size_t characters = (size - 1) / 2;
    const std::size_t half = characters / 2;
    Name left(half), right(seed & 0x80 ? half : characters - half);
    for (std::size_t i = 0; i < right.View().size(); ++i) {
        if (i < half) left[i] = input.Word();
        right[i] = input.Word();
    }
    const auto a = left.View(), b = right.View();
    const bool sameAscii = mova::SameAsciiName(a, b);
    const bool same = mova::SameName(a, b, &UpcaseAny);
    fuzz::Require(sameAscii == SameEach(a, b, &UpcaseLetter), "the ASCII rule, character by character");
    fuzz::Require(same == SameEach(a, b, &UpcaseAny), "the rule for all, character by character");
    fuzz::Require(sameAscii == mova::SameAsciiName(b, a), "the ASCII rule in either order");
    fuzz::Require(same == mova::SameName(b, a, &UpcaseAny), "the rule for all in either order");
    if (sameAscii || same)
        fuzz::Require(mova::HashName(a, seed, &UpcaseAny) == mova::HashName(b, seed, &UpcaseAny), "one hash");
    const bool ascii = std::all_of(a.begin(), a.end(), [](char16_t character) { return character < 0x7F; });
    fuzz::Require(mova::IsAsciiName(a) == ascii, "what is ASCII");
    return 0;
}
