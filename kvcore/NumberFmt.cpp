#include "kvcore/NumberFmt.h"

#include <emmintrin.h>

#include <algorithm>
#include <limits>
#include <string>

#include "kvcore/NumberText.h"

namespace kv {
namespace {

// ---- Writing

/// How many digits stand in the group next to the point, and in each one before it. No groups where both are 0.
struct Groups {
    std::size_t last, others;
};

/// @return nothing for a grouping that is left to the locale
std::optional<Groups> GroupsOf(std::uint32_t grouping) noexcept {
    constexpr std::uint32_t indian = 32;
    if (grouping == indian) return Groups{3, 2};
    if (grouping <= 9) return Groups{grouping, grouping};
    return {};
}

char16_t* Put(char16_t* out, std::u16string_view text) noexcept {
    if (text.size() == 1) {  // as most are
        *out = text.front();
        return out + 1;
    }
    return std::copy(text.begin(), text.end(), out);
}

constexpr std::size_t digitsAtOnce = 16;
static_assert(UsNumber::readBeyond >= digitsAtOnce);

/// Writes digits of a UsNumber, widened; up to so many units as are done at once behind them are written, too.
char16_t* PutDigits(char16_t* out, std::string_view digits) noexcept {
    for (std::size_t done = 0; done < digits.size(); done += digitsAtOnce) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(digits.data() + done));
        auto* const units = reinterpret_cast<__m128i*>(out + done);
        _mm_storeu_si128(units, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
        _mm_storeu_si128(units + 1, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
    }
    return out + digits.size();
}

char16_t* PutGrouped(char16_t* out, std::string_view digits, Groups groups, std::u16string_view separator) noexcept {
    if (groups.last == 0 || digits.size() <= groups.last) return PutDigits(out, digits);
    const std::size_t front = digits.size() - groups.last;
    std::size_t taken = front;
    while (taken > groups.others) taken -= groups.others;
    out = PutDigits(out, digits.substr(0, taken));
    for (; taken < front; taken += groups.others)
        out = PutDigits(Put(out, separator), digits.substr(taken, groups.others));
    return PutDigits(Put(out, separator), digits.substr(front));
}

struct NegativeOrder {
    std::u16string_view front, back;
    bool signInFront, signBehind;
};
// clang-format off
constexpr NegativeOrder negativeOrders[] = {
    {u"(", u")", false, false},
    {u"",  u"",  true,  false},
    {u" ", u"",  true,  false},
    {u"",  u"",  false, true},
    {u"",  u" ", false, true},
};
// clang-format on

// ---- Reading

constexpr bool IsDigit(char16_t unit) noexcept {
    return unit >= u'0' && unit <= u'9';
}

/// Blanks that part nothing from nothing: those of separators among them.
constexpr bool IsBlank(char16_t unit) noexcept {
    return unit == u' ' || (unit >= u'\t' && unit <= u'\r') || unit == u'\u00A0' || unit == u'\u202F' ||
           unit == u'\u2009';
}

constexpr char16_t Likened(char16_t unit) noexcept {
    if (IsBlank(unit)) return u' ';
    return unit == u'\u2019' ? u'\'' : unit;
}

std::u16string Likened(std::u16string_view text) {
    std::u16string made(text);
    std::transform(made.begin(), made.end(), made.begin(), [](char16_t unit) { return Likened(unit); });
    return made;
}

std::u16string_view WithoutBlanks(std::u16string_view text) noexcept {
    while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
    while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
    return text;
}

/// How a number is read.
struct Notation {
    std::u16string_view decimal, thousands, negativeSign;
    std::uint32_t grouping;
};

bool Take(std::u16string_view& text, std::u16string_view part) noexcept {
    if (part.empty() || !text.starts_with(part)) return false;
    text.remove_prefix(part.size());
    return true;
}

bool TakeMinus(std::u16string_view& text, const Notation& notation) noexcept {
    return Take(text, notation.negativeSign) || Take(text, u"-") || Take(text, u"\u2212");
}

/// Takes digits from the front of the text. @param digits they are appended to it
std::size_t TakeDigits(std::u16string_view& text, std::u16string& digits) {
    const auto end = std::find_if_not(text.begin(), text.end(), IsDigit);
    const auto count = static_cast<std::size_t>(end - text.begin());
    digits.append(text.substr(0, count));
    text.remove_prefix(count);
    return count;
}

/// The sizes that a grouping has groups of, from the point on.
class GroupSizes {
 public:
    explicit GroupSizes(std::uint32_t grouping) noexcept {
        for (; grouping != 0; grouping /= 10) digits_[count_++] = grouping % 10;
    }
    /// Whether groups of these sizes, from the first one on, are as the grouping has them.
    bool Allow(std::span<const std::size_t> groups) const noexcept {
        std::size_t rule = count_;
        std::size_t size = 0;
        for (std::size_t i = groups.size(); i-- > 0;) {
            if (rule > 0) size = digits_[--rule];
            const bool isFirst = i == 0;
            if (size == 0) return isFirst && groups[0] > 0;  // from here on there are no groups
            if (isFirst ? groups[0] == 0 || groups[0] > size : groups[i] != size) return false;
        }
        return true;
    }

 private:
    std::array<std::uint32_t, 10> digits_{};
    std::size_t count_ = 0;
};

/// Takes the digits before the point, in groups or in none.
/// @param isGrouped whether there were several groups
/// @return whether the groups are such as they may be
bool TakeWhole(std::u16string_view& text, const Notation& notation, std::u16string& digits, bool& isGrouped) {
    constexpr std::size_t mostGroups = 400;  // more than the greatest double has digits
    std::array<std::size_t, mostGroups> groups;
    std::size_t count = 0;
    groups[count++] = TakeDigits(text, digits);
    while (groups[0] != 0 && !notation.thousands.empty() && count < mostGroups) {
        std::u16string_view rest = text;
        if (!Take(rest, notation.thousands) || rest.empty() || !IsDigit(rest.front())) break;
        text = rest;
        groups[count++] = TakeDigits(text, digits);
    }
    isGrouped = count > 1;
    const std::span<const std::size_t> all(groups.data(), count);
    return !isGrouped || GroupSizes(notation.grouping).Allow(all) || GroupSizes(3).Allow(all);
}

/// Takes an exponent, where there is one, and appends it to the digits.
void TakeExponent(std::u16string_view& text, std::u16string& digits) {
    std::u16string_view rest = text;
    if (!Take(rest, u"e") && !Take(rest, u"E")) return;
    std::u16string exponent(1, u'e');
    if (Take(rest, u"-")) {
        exponent += u'-';
    } else {
        Take(rest, u"+");
    }
    if (TakeDigits(rest, exponent) == 0) return;
    digits += exponent;
    text = rest;
}

/// Takes a number without sign from the front of the text.
std::optional<double> TakeMagnitude(std::u16string_view& text, const Notation& notation) {
    if (Take(text, u"inf")) return std::numeric_limits<double>::infinity();
    std::u16string digits;
    bool isGrouped = false;
    if (!TakeWhole(text, notation, digits, isGrouped)) return {};
    std::u16string_view rest = text;
    // Of a longer separator only the first unit stands before more decimals than the locale itself shows.
    if (Take(rest, notation.decimal) || Take(rest, notation.decimal.substr(0, 1))) {
        const bool hasWhole = !digits.empty();
        digits += u'.';
        if (TakeDigits(rest, digits) > 0 || hasWhole) text = rest;
    }
    if (!isGrouped) TakeExponent(text, digits);
    return ReadXmlDouble(digits);
}

/// Whether what stands behind a number is nothing, or a unit.
bool IsUnit(std::u16string_view rest, const Notation& notation) noexcept {
    if (rest.empty()) return true;
    if (!IsBlank(rest.front())) return false;
    const std::u16string_view unit = WithoutBlanks(rest);
    constexpr std::u16string_view noUnits = u"+-.,()\u2212";
    const char16_t first = unit.front();
    return !IsDigit(first) && noUnits.find(first) == std::u16string_view::npos &&
           !(notation.decimal.size() == 1 && unit.starts_with(notation.decimal)) &&
           !(notation.thousands.size() == 1 && unit.starts_with(notation.thousands)) &&
           !(!notation.negativeSign.empty() && unit.starts_with(notation.negativeSign));
}

/// Takes a minus sign behind a number, or behind a blank behind it.
bool TakeMinusBehind(std::u16string_view& text, const Notation& notation) noexcept {
    std::u16string_view rest = text;
    if (TakeMinus(rest, notation) || (Take(rest, u" ") && TakeMinus(rest, notation))) {
        text = rest;
        return true;
    }
    return false;
}

/// @param text without blanks around it
std::optional<double> Read(std::u16string_view text, const Notation& notation) {
    const bool hasParenthesis = Take(text, u"(");
    const bool hasMinus = !hasParenthesis && TakeMinus(text, notation);
    const bool hasSign = hasParenthesis || hasMinus || Take(text, u"+");
    if (hasMinus) Take(text, u" ");
    const auto magnitude = TakeMagnitude(text, notation);
    if (!magnitude) return {};
    const bool isNegative = hasMinus || hasParenthesis || (!hasSign && TakeMinusBehind(text, notation));
    if (hasParenthesis && !Take(text, u")")) return {};
    if (!IsUnit(text, notation)) return {};
    return isNegative ? -*magnitude : *magnitude;
}

std::optional<double> ReadEitherWay(std::u16string_view text, const Notation& notation) {
    text = WithoutBlanks(text);
    if (const auto value = Read(text, notation)) return value;
    return Read(text, {.decimal = u".", .thousands = u"", .negativeSign = u"-", .grouping = 0});
}

/// The text without a unit and the blank before it; nothing where it does not end in the unit.
std::optional<std::u16string_view> WithoutUnit(std::u16string_view text, std::u16string_view unit) noexcept {
    if (unit.empty() || !text.ends_with(unit)) return {};
    text.remove_suffix(unit.size());
    if (text.empty() || text.back() != u' ') return {};
    text.remove_suffix(1);
    return text;
}

}  // namespace

std::size_t FormatByRules(const UsNumber& number, const NumberFmt& fmt, std::span<char16_t> out) noexcept {
    const bool isNegative = number.IsNegative();
    const std::string_view whole = number.Whole();
    const std::string_view fraction = number.Fraction();
    const bool isBelowOne = whole.empty() || whole == "0";
    const unsigned needed = (fmt.numDigits > 0 ? NumberFmt::decimalRule : 0u) |
                            (whole.size() > 1 ? NumberFmt::groupingRule : 0u) |
                            (isBelowOne ? NumberFmt::zeroRule : 0u) | (isNegative ? NumberFmt::negativeRule : 0u);
    const auto groups = GroupsOf(fmt.grouping);
    if ((needed & ~fmt.known) != 0 || !groups ||
        (isNegative && (fmt.negativeOrder >= std::size(negativeOrders) || number.IsZero())))
        return 0;
    const std::size_t most = (whole.size() + 3) * (1 + fmt.thousandsSeparator.View().size() * (groups->last != 0)) +
                             fmt.decimalSeparator.View().size() + fmt.numDigits + fmt.negativeSign.View().size() + 2 +
                             digitsAtOnce;
    if (most >= out.size()) return 0;

    char16_t* end = out.data();
    const NegativeOrder* const order = isNegative ? &negativeOrders[fmt.negativeOrder] : nullptr;
    if (order) {
        if (order->signInFront) end = Put(end, fmt.negativeSign.View());
        end = Put(end, order->front);
    }
    if (isBelowOne) {
        if (fmt.leadingZero != 0) *end++ = u'0';
    } else {
        end = PutGrouped(end, whole, *groups, fmt.thousandsSeparator.View());
    }
    if (fmt.numDigits > 0) {
        end = Put(end, fmt.decimalSeparator.View());
        end = PutDigits(end, fraction);
        for (std::size_t zeros = fmt.numDigits - fraction.size(); zeros > 0; --zeros) *end++ = u'0';
    }
    if (order) {
        end = Put(end, order->back);
        if (order->signBehind) end = Put(end, fmt.negativeSign.View());
    }
    return static_cast<std::size_t>(end - out.data());
}

std::size_t ShowPlus(std::span<char16_t> text, std::size_t size) noexcept {
    std::copy_backward(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size),
                       text.begin() + static_cast<std::ptrdiff_t>(size) + 1);
    text[0] = u'+';
    return size + 1;
}

char16_t* RightAlign(char16_t* out, std::u16string_view text, std::size_t width) noexcept {
    return Put(std::fill_n(out, width > text.size() ? width - text.size() : 0, u' '), text);
}

std::optional<double> StringToValue(std::u16string_view text, const NumberFmt& fmt, std::u16string_view unit) {
    Notation notation{.decimal = fmt.decimalSeparator.View(),
                      .thousands = fmt.thousandsSeparator.View(),
                      .negativeSign = fmt.negativeSign.View(),
                      .grouping = fmt.grouping};
    if (notation.thousands == notation.decimal) notation.thousands = {};
    if (const auto bare = WithoutUnit(text, unit))
        if (const auto value = ReadEitherWay(*bare, notation)) return value;
    if (const auto value = ReadEitherWay(text, notation)) return value;
    const std::u16string likened = Likened(text);
    const std::u16string decimal = Likened(notation.decimal);
    const std::u16string thousands = Likened(notation.thousands);
    notation.decimal = decimal;
    notation.thousands = thousands;
    return ReadEitherWay(likened, notation);
}

std::optional<double> PlainStringToValue(std::u16string_view text, std::u16string_view decimalSeparator) noexcept {
    constexpr std::size_t mostDigits = 19;  // that many are in 64 bits
    const bool isNegative = text.starts_with(u'-');
    if (isNegative || text.starts_with(u'+')) text.remove_prefix(1);
    if (text.empty() || text.size() > mostDigits + 1 || decimalSeparator.size() != 1) return {};
    const char16_t separator = decimalSeparator.front();
    std::uint64_t digits = 0;
    std::size_t point = text.size();
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (IsDigit(text[i])) {
            digits = digits * 10 + static_cast<std::uint64_t>(text[i] - u'0');
        } else if (text[i] == separator && point == text.size() && i > 0) {
            point = i;
        } else {
            return {};
        }
    }
    const std::size_t decimals = point == text.size() ? 0 : text.size() - point - 1;
    if (text.size() - (point != text.size()) > mostDigits || (point != text.size() && decimals == 0)) return {};
    return MakeDouble(digits, static_cast<int>(decimals), isNegative);
}

}  // namespace kv
