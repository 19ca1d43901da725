#include "containers/NameFold.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>

namespace mova {
namespace {

using namespace std::string_view_literals;

constexpr std::size_t longest = 20;  // several blocks, with every overlap of the last two

char16_t UpcaseAscii(char16_t character) noexcept {
    return character >= u'a' && character <= u'z' ? static_cast<char16_t>(character - 0x20) : character;
}

/// Latin-1, and U+017F, which is no ASCII letter but has one as its upper case.
char16_t UpcaseLatin(char16_t character) noexcept {
    if (character == 0x17F) return u'S';
    const bool isSmall = character >= 0xE0 && character <= 0xFE && character != 0xF7;
    return isSmall ? static_cast<char16_t>(character - 0x20) : UpcaseAscii(character);
}

std::uint32_t Hash(std::u16string_view name, std::uint64_t seed = 0x0123'4567'89AB'CDEF) {
    return HashName(name, seed, &UpcaseLatin);
}

TEST(NameFold, AsciiComparisonFoldsTheLettersAToZAndNothingElse) {
    for (const std::size_t length : {1u, 4u})
        for (char16_t a = 0; a < 0x182; ++a)
            for (char16_t b = 0; b < 0x182; ++b) {
                const std::u16string left(length, a), right(length, b);
                if (SameAsciiName(left, right) != (UpcaseAscii(a) == UpcaseAscii(b)) ||
                    SameName(left, right, &UpcaseLatin) != (UpcaseLatin(a) == UpcaseLatin(b)))
                    ADD_FAILURE() << int{a} << " and " << int{b} << ", length " << length;
            }
}

TEST(NameFold, NoticesOneCharacterAtEveryPositionOfEveryLength) {
    for (std::size_t length = 0; length <= longest; ++length) {
        const std::u16string name = std::u16string(u"aBcDeFgHiJkLmNoPqRsT").substr(0, length), longer = name + u'\0';
        EXPECT_TRUE(!SameAsciiName(name, longer) && !SameName(longer, name, &UpcaseLatin)) << length;
        EXPECT_TRUE(Hash(name) != Hash(longer) && Hash(name) != Hash(name, 1)) << length;
        EXPECT_TRUE(IsAsciiName(name)) << length;
        for (std::size_t position = 0; position < length; ++position) {
            SCOPED_TRACE(testing::Message() << "length " << length << ", position " << position);
            std::u16string other = name;
            other[position] = static_cast<char16_t>(other[position] ^ 0x20);  // its other case
            EXPECT_TRUE(SameAsciiName(name, other) && SameName(name, other, &UpcaseLatin));
            EXPECT_EQ(Hash(name), Hash(other));
            for (const char16_t character : u"\0Z~\x7F\x80\u00E4\u0161\u4161"sv) {
                other[position] = character;
                EXPECT_EQ(IsAsciiName(other), character < 0x7F) << int{character};
                EXPECT_TRUE(!SameAsciiName(name, other) && !SameName(name, other, &UpcaseLatin)) << int{character};
                EXPECT_NE(Hash(name), Hash(other)) << int{character};
            }
        }
    }
}

TEST(NameFold, NamesThatEitherComparisonCallsTheSameHaveOneHash) {
    constexpr char16_t alphabet[] = {u'a', u'A', u'z', u'Z', u's', u'S', u'\u017F', u'\u00E4', u'\u00C4', u'\0', u'['};
    const auto sameEach = [](std::u16string_view a, std::u16string_view b, Upcase upcase) {
        return std::equal(a.begin(), a.end(), b.begin(),
                          [=](char16_t x, char16_t y) { return upcase(x) == upcase(y); });
    };
    std::mt19937 random(1);
    for (int round = 0; round < 50'000; ++round) {
        std::u16string left(random() % longest, u'\0');
        for (char16_t& character : left) character = alphabet[random() % std::size(alphabet)];
        std::u16string right = left;
        for (char16_t& character : right) {  // mostly in another case, so that many pairs are the same
            const char16_t other = alphabet[random() % std::size(alphabet)];
            if (random() % 64 == 0 || UpcaseLatin(other) == UpcaseLatin(character)) character = other;
        }
        const bool sameAscii = SameAsciiName(left, right), same = SameName(left, right, &UpcaseLatin);
        ASSERT_EQ(sameAscii, sameEach(left, right, &UpcaseAscii)) << testing::PrintToString(std::pair(left, right));
        ASSERT_EQ(same, sameEach(left, right, &UpcaseLatin)) << testing::PrintToString(std::pair(left, right));
        ASSERT_LE(same || sameAscii, Hash(left) == Hash(right)) << testing::PrintToString(std::pair(left, right));
    }
}

TEST(NameFold, NoPairOfDifferencesCancelsOutUnderEverySeed) {
    const std::u16string name(16, u'0');
    for (std::size_t first = 0; first < 16 * 16; ++first)
        for (std::size_t second = 0; second < first; ++second) {
            std::u16string other = name;
            for (const std::size_t bit : {first, second})
                other[bit / 16] = static_cast<char16_t>(other[bit / 16] ^ 1 << bit % 16);
            EXPECT_FALSE(Hash(name, 1) == Hash(other, 1) && Hash(name, ~1u) == Hash(other, ~1u))
                << "bits " << second << " and " << first;
        }
}

}  // namespace
}  // namespace mova
