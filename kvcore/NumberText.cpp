#include "kvcore/NumberText.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

namespace kv {
namespace {

__extension__ using Wide = unsigned __int128;

/// Powers of ten that are doubles exactly.
constexpr std::array<double, 23> powersOfTen{1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                             1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};
constexpr int mostExactPower = static_cast<int>(powersOfTen.size()) - 1;
constexpr std::uint64_t greatestExactInteger = std::uint64_t{1} << 53;  // all up to it are doubles

constexpr std::uint64_t tenTo8 = 100'000'000;
constexpr std::uint64_t tenTo16 = tenTo8 * tenTo8;

/// Powers of five that have 64 bits at most.
constexpr auto powersOfFive = [] {
    std::array<std::uint64_t, 28> powers{1};
    for (std::size_t i = 1; i < powers.size(); ++i) powers[i] = powers[i - 1] * 5;
    return powers;
}();
constexpr int mostFives = static_cast<int>(powersOfFive.size()) - 1;

/// 2^(63 + width) / 5^i, where the width is that of 5^i in bits: its reciprocal in 64 bits, the rest cut off. There is
/// none for the first.
constexpr auto reciprocals = [] {
    std::array<std::uint64_t, powersOfFive.size()> all{};
    for (std::size_t i = 1; i < all.size(); ++i)
        all[i] = static_cast<std::uint64_t>((Wide{1} << (63 + std::bit_width(powersOfFive[i]))) / powersOfFive[i]);
    return all;
}();

constexpr bool IsDigit(char16_t unit) noexcept {
    return unit >= u'0' && unit <= u'9';
}

/// 2 to a power of the normal range.
double PowerOfTwo(int exponent) noexcept {
    return std::bit_cast<double>(static_cast<std::uint64_t>(exponent + 1023) << 52);
}

// ---- Reading

/// A number's text, taken apart.
struct DecimalText {
    bool isNegative = false;
    std::u16string_view whole, fraction;
    std::uint64_t digits = 0;  ///< all of them as one number, where it has 64 bits at most
    std::int64_t exponent = 0;

    /// The exponent of ten that the digits as one number are to be taken with.
    std::int64_t Scale() const noexcept { return exponent - static_cast<std::int64_t>(fraction.size()); }
};

constexpr std::int64_t hugeExponent = std::numeric_limits<std::int32_t>::max();

/// Takes digits from the front of the text and adds them to a number, which may overflow.
std::u16string_view TakeDigits(std::u16string_view& text, std::uint64_t& number) noexcept {
    std::size_t count = 0;
    for (; count < text.size() && IsDigit(text[count]); ++count)
        number = number * 10 + static_cast<std::uint64_t>(text[count] - u'0');
    const std::u16string_view digits = text.substr(0, count);
    text.remove_prefix(count);
    return digits;
}

bool TakeOne(std::u16string_view& text, char16_t unit) noexcept {
    if (text.empty() || text.front() != unit) return false;
    text.remove_prefix(1);
    return true;
}

/// An exponent from behind its letter; so great a one that nothing matters any more where it is greater.
std::optional<std::int64_t> TakeExponent(std::u16string_view& text) noexcept {
    const bool isBelow = TakeOne(text, u'-');
    if (!isBelow) TakeOne(text, u'+');
    std::int64_t exponent = 0;
    std::size_t count = 0;
    for (; count < text.size() && IsDigit(text[count]); ++count)
        exponent = std::min(exponent * 10 + (text[count] - u'0'), hugeExponent);
    if (count == 0) return {};
    text.remove_prefix(count);
    return isBelow ? -exponent : exponent;
}

/// @param isXml whether the text may be written as XML Schema allows beyond JSON.
std::optional<DecimalText> TakeApart(std::u16string_view text, bool isXml) noexcept {
    DecimalText parts;
    parts.isNegative = TakeOne(text, u'-');
    if (!parts.isNegative && isXml) TakeOne(text, u'+');
    parts.whole = TakeDigits(text, parts.digits);
    const bool hasPoint = TakeOne(text, u'.');
    if (hasPoint) parts.fraction = TakeDigits(text, parts.digits);
    if (isXml) {
        if (parts.whole.empty() && parts.fraction.empty()) return {};
    } else if (parts.whole.empty() || (parts.whole.front() == u'0' && parts.whole.size() > 1) ||
               (hasPoint && parts.fraction.empty())) {
        return {};
    }
    if (TakeOne(text, u'e') || TakeOne(text, u'E')) {
        const auto exponent = TakeExponent(text);
        if (!exponent) return {};
        parts.exponent = *exponent;
    }
    if (!text.empty()) return {};
    return parts;
}

/// Whether the digits as one number are in 64 bits.
bool FitsInteger(const DecimalText& parts) noexcept {
    constexpr std::size_t sureDigits = 19;
    std::size_t count = parts.whole.size() + parts.fraction.size();
    if (count <= sureDigits) return true;
    for (const std::u16string_view digits : {parts.whole, parts.fraction}) {
        const std::size_t zeros = std::min(digits.find_first_not_of(u'0'), digits.size());
        count -= zeros;
        if (zeros != digits.size()) break;
    }
    return count <= sureDigits;
}

/// The double nearest to digits * 10^exponent. All is exact up to the one conversion, which rounds: the bits that it
/// cannot see are gathered in the lowest one that it does.
/// @param digits not 0
/// @param exponent at most mostFives, of either sign
double ScaledDouble(std::uint64_t digits, int exponent) noexcept {
    const std::uint64_t fives = powersOfFive[static_cast<std::size_t>(std::abs(exponent))];
    if (exponent >= 0) {
        const Wide product = static_cast<Wide>(digits) * fives;
        const auto high = static_cast<std::uint64_t>(product >> 64);
        if (high == 0) return static_cast<double>(static_cast<std::uint64_t>(product)) * PowerOfTwo(exponent);
        const int shift = 64 - std::countl_zero(high);
        const auto seen = static_cast<std::uint64_t>(product >> shift);
        const bool hasMore = (product & ((Wide{1} << shift) - 1)) != 0;
        return static_cast<double>(seen | hasMore) * PowerOfTwo(exponent + shift);
    }
    const int digitShift = std::countl_zero(digits);
    const int fiveShift = std::countl_zero(fives);
    // The product with the reciprocal: its upper half is right, or one too small. That decides, unless what is beyond
    // 53 bits is the half of what counts, or is just below it.
    const auto high = static_cast<std::uint64_t>(
        (static_cast<Wide>(digits << digitShift) * reciprocals[static_cast<std::size_t>(-exponent)]) >> 64);
    const int dropped = high >> 63 != 0 ? 11 : 10;  // both factors have their highest bits set
    const std::uint64_t half = std::uint64_t{1} << (dropped - 1);
    const std::uint64_t beyond = high & (2 * half - 1);
    if (beyond != half && beyond != half - 1) [[likely]] {
        const std::uint64_t nearest = (high >> dropped) + (beyond > half);
        return static_cast<double>(nearest) * PowerOfTwo(exponent + 1 + dropped - digitShift - (64 - fiveShift));
    }
    // Both in 64 bits, so that the quotient of one shifted by 63 has 62 bits at least.
    const Wide dividend = static_cast<Wide>(digits << digitShift) << 63;
    const std::uint64_t divisor = fives << fiveShift;
    const auto quotient = static_cast<std::uint64_t>(dividend / divisor);
    const bool hasMore = static_cast<Wide>(quotient) * divisor != dividend;
    return static_cast<double>(quotient | hasMore) * PowerOfTwo(exponent + fiveShift - digitShift - 63);
}

/// How many significant digits can decide how a double is rounded; of those behind them only whether one is not zero.
constexpr std::size_t decidingDigits = 770;

/// The nearest number of a type, by the standard library.
/// @return nothing beyond the range
template <class Number>
std::optional<Number> ReadLong(const DecimalText& parts) noexcept {
    std::array<char, decidingDigits + 32> text;
    char* end = text.data();
    char* const digitsEnd = end + decidingDigits;
    std::int64_t exponent = parts.Scale();
    bool hasMore = false;
    for (const std::u16string_view digits : {parts.whole, parts.fraction}) {
        for (const char16_t digit : digits) {
            if (end == text.data() && digit == u'0') continue;
            if (end < digitsEnd) {
                *end++ = static_cast<char>(digit);
            } else {
                ++exponent;
                hasMore |= digit != u'0';
            }
        }
    }
    if (end == text.data()) return Number{};
    const std::int64_t magnitude = exponent + (end - text.data());
    constexpr std::int64_t enough = 400;  // beyond each range of exponents
    if (magnitude < -enough) return Number{};
    if (magnitude > enough) return {};
    if (hasMore) *end++ = '1', --exponent;
    *end++ = 'e';
    end = std::to_chars(end, text.data() + text.size(), exponent).ptr;
    Number value{};
    const std::from_chars_result result = std::from_chars(text.data(), end, value);
    if (result.ec == std::errc::result_out_of_range) return magnitude < 0 ? std::optional(Number{}) : std::nullopt;
    if (std::isinf(value)) return {};
    return value;
}

double WithSign(double value, bool isNegative) noexcept {
    return isNegative ? -value : value;
}

std::optional<double> ToDouble(const DecimalText& parts) noexcept {
    if (FitsInteger(parts)) {
        const std::int64_t scale = parts.Scale();
        if (parts.digits == 0) return WithSign(0.0, parts.isNegative);
        if (scale < 0 && scale >= -mostFives)
            return MakeDouble(parts.digits, static_cast<int>(-scale), parts.isNegative);
        if (scale >= 0 && scale <= mostExactPower && parts.digits <= greatestExactInteger) {
            const double power = powersOfTen[static_cast<std::size_t>(scale)];
            return WithSign(static_cast<double>(parts.digits) * power, parts.isNegative);
        }
        if (scale >= 0 && scale <= mostFives)
            return WithSign(ScaledDouble(parts.digits, static_cast<int>(scale)), parts.isNegative);
    }
    const auto value = ReadLong<double>(parts);
    if (!value) return {};
    return WithSign(*value, parts.isNegative);
}

/// Eight units, each narrowed to a byte and without the bits that all digits have, the first one lowest. A digit is its
/// value then, and what is none is above nine.
std::uint64_t LoadEight(const char16_t* text) noexcept {
    const __m128i units = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text));
    const __m128i bytes = _mm_packus_epi16(units, units);
    return static_cast<std::uint64_t>(_mm_cvtsi128_si64(bytes)) ^ 0x3030'3030'3030'3030;
}

/// How many of them are digits, up to the first that is none.
int CountDigits(std::uint64_t eight) noexcept {
    const std::uint64_t above = ((eight & 0x7F7F'7F7F'7F7F'7F7F) + 0x7676'7676'7676'7676) | eight;
    return std::countr_zero(above & 0x8080'8080'8080'8080) / 8;
}

/// The number that the first so many of them are, of which there is one at least. Neighbours are put together to pairs,
/// those to fours, and those to one number.
std::uint64_t NumberOf(std::uint64_t eight, int count) noexcept {
    std::uint64_t digits = eight << (64 - 8 * count);  // zeros in front
    digits = digits * 10 + (digits >> 8);
    constexpr std::uint64_t mask = 0x0000'00FF'0000'00FF;
    return ((digits & mask) * 0x000F'4240'0000'0064 + (digits >> 16 & mask) * 0x0000'2710'0000'0001) >> 32;
}

constexpr std::array<std::uint64_t, 9> smallPowersOfTen{1,       10,        100,        1'000,      10'000,
                                                        100'000, 1'000'000, 10'000'000, 100'000'000};

constexpr int atOnce = 8;

/// Reads what most numbers are: of JSON's form, with a point, up to eight digits before it and up to sixteen behind it,
/// nineteen in all, and eight characters at least. Their number decides no branch, since lengths come in no order.
/// @return false where it is none of these
bool ReadPlain(std::u16string_view text, double& value) noexcept {
    constexpr std::ptrdiff_t mostDigits = 19;  // that many are in 64 bits
    const char16_t* const end = text.data() + text.size();
    const bool isNegative = !text.empty() && text.front() == u'-';
    const char16_t* const begin = text.data() + isNegative;
    const std::ptrdiff_t size = end - begin;
    if (size < atOnce || size > mostDigits + 1) return false;
    const std::uint64_t front = LoadEight(begin);
    const int whole = CountDigits(front);
    if (whole == 0 || whole >= size - 1 || begin[whole] != u'.' || (*begin == u'0' && whole != 1)) return false;

    const int decimals = static_cast<int>(size) - whole - 1;
    if (decimals > 2 * atOnce) return false;
    std::uint64_t number = NumberOf(front, whole);
    int last = decimals;
    if (decimals > atOnce) {
        const std::uint64_t middle = LoadEight(begin + whole + 1);
        if (CountDigits(middle) != atOnce) return false;
        number = number * tenTo8 + NumberOf(middle, atOnce);
        last -= atOnce;
    }
    const std::uint64_t back = LoadEight(end - atOnce) >> 8 * (atOnce - last);
    if (CountDigits(back) != atOnce) return false;
    number = number * smallPowersOfTen[static_cast<std::size_t>(last)] + NumberOf(back, last);

    const double magnitude = number <= greatestExactInteger
                                 ? static_cast<double>(number) / powersOfTen[static_cast<std::size_t>(decimals)]
                                 : ScaledDouble(number, -decimals);
    value = std::bit_cast<double>(std::bit_cast<std::uint64_t>(magnitude) | std::uint64_t{isNegative} << 63);
    return true;
}

/// The digits behind blanks and a sign, read until they end. @return nothing for what is beyond
/// 64 bits
std::optional<std::uint64_t> ReadDigits(std::u16string_view text, bool& isNegative) noexcept {
    const auto isBlank = [](char16_t unit) { return unit == u' ' || (unit >= u'\t' && unit <= u'\r'); };
    while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
    isNegative = TakeOne(text, u'-');
    if (!isNegative) TakeOne(text, u'+');
    constexpr std::uint64_t greatest = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < text.size() && IsDigit(text[i]); ++i) {
        const auto digit = static_cast<std::uint64_t>(text[i] - u'0');
        if (number > (greatest - digit) / 10) return {};
        number = number * 10 + digit;
    }
    return number;
}

// ---- Writing

constexpr std::uint64_t zeros = 0x3030'3030'3030'3030;

/// Eight digits of a number below 10^8, a byte each, the first one lowest. All are found at once, in lanes: of four
/// digits, then of two, then of one, the quotients by products with a reciprocal that is exact in the lane's range.
std::uint64_t EightDigits(std::uint64_t number) noexcept {
    const std::uint64_t fours = number / 10'000 | (number % 10'000) << 32;
    const std::uint64_t hundreds = (fours * 5'243 >> 19) & 0x0000'007F'0000'007F;
    const std::uint64_t twos = hundreds | (fours - hundreds * 100) << 16;
    const std::uint64_t tens = (twos * 103 >> 10) & 0x000F'000F'000F'000F;
    return tens | (twos - tens * 10) << 8;
}

template <class Bytes>
void Store(char* out, Bytes bytes) noexcept {
    std::memcpy(out, &bytes, sizeof bytes);
}

/// A number of up to 16 digits: all of them as characters, the first one lowest, and where those begin and end that are
/// not zeros around it. They stay in registers: what is stored in pieces cannot be loaded quickly as one.
struct SixteenDigits {
    Wide text;
    int first, end;  // equal for zero

    explicit SixteenDigits(std::uint64_t number) noexcept {
        const std::uint64_t high = EightDigits(number / tenTo8);
        const std::uint64_t low = EightDigits(number % tenTo8);
        text = static_cast<Wide>(low | zeros) << 64 | (high | zeros);
        first = high != 0 ? std::countr_zero(high) / 8 : 8 + std::countr_zero(low) / 8;
        end = low != 0 ? 16 - std::countl_zero(low) / 8 : 8 - std::countl_zero(high) / 8;
        if (number == 0) first = end = 0;
    }
};

/// The significant digits of a number in fixed notation.
struct Digits {
    Wide text;  ///< the first sixteen, the very first one lowest; zeros behind those that count
    char seventeenth = '0';
    int count;
    int exponent;  ///< of ten, for the first digit: -16 to 15
};

char* PutFixed(char* out, const Digits& digits) noexcept {
    if (digits.exponent < 0) {
        Store(out, zeros);
        Store(out + 8, zeros);
        out[16] = '0';
        out[1] = '.';
        out += 1 - digits.exponent;
        Store(out, digits.text);
        out[16] = digits.seventeenth;
        return out + digits.count;
    }
    const int whole = digits.exponent + 1;
    Store(out, digits.text);
    if (digits.count <= whole) return out + whole;
    out[whole] = '.';
    Store(out + whole + 1, digits.text >> (8 * whole));
    out[17] = digits.seventeenth;
    return out + digits.count + 1;
}

char* PutFixed(char* out, const SixteenDigits& digits, int exponent) noexcept {
    return PutFixed(
        out, {.text = digits.text >> (8 * digits.first), .count = digits.end - digits.first, .exponent = exponent});
}

char* PutText(char* out, std::string_view text) noexcept {
    return std::copy(text.begin(), text.end(), out);
}

/// Writes a sign and takes it off, or what stands for no number.
/// @return false where the text is complete
bool BeginNumber(char*& out, double& value) noexcept {
    if (std::isnan(value)) [[unlikely]] {
        out = PutText(out, "NaN");
        return false;
    }
    *out = '-';  // unconditionally: signs come in no order
    out += std::signbit(value);
    value = std::fabs(value);
    if (!std::isinf(value)) [[likely]]
        return true;
    out = PutText(out, "INF");
    return false;
}

constexpr double leastFixed = 1e-6;
constexpr double leastWithExponent = 1e15;

/// The decimal exponent of a number in fixed notation.
int DecimalExponent(double value) noexcept {
    const int binary = static_cast<int>(std::bit_cast<std::uint64_t>(value) >> 52) - 1023;
    const int exponent = (binary * 1'233) >> 12;  // log10(2) from below: right, or one too small
    constexpr std::array<double, 6> below{1e-6, 1e-5, 1e-4, 1e-3, 1e-2, 1e-1};
    const int next = exponent + 1;
    const double limit = next < 0 ? below.end()[next] : powersOfTen[static_cast<std::size_t>(next)];
    return value >= limit ? next : exponent;
}

/// Sixteen or seventeen digits that read back as a number that no fifteen digits stand for: the nearest sixteen where
/// they do, else the nearest seventeen. All in integers, hence exact: value * 10^scale is product / 2^shift, and its
/// neighbours' half way are half the power of five away.
/// @return nothing where the neighbours are not equally far
std::optional<Digits> NearestDigits(double value, int exponent) noexcept {
    constexpr std::uint64_t hiddenBit = std::uint64_t{1} << 52;
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const std::uint64_t mantissa = (bits & (hiddenBit - 1)) | hiddenBit;
    if (mantissa == hiddenBit) return {};
    const int scale = 16 - exponent;
    const std::uint64_t fives = powersOfFive[static_cast<std::size_t>(scale)];
    const int shift = 1075 - static_cast<int>(bits >> 52) - scale;
    const Wide product = static_cast<Wide>(mantissa) * fives;
    const auto seventeen = static_cast<std::uint64_t>(product >> shift);
    const Wide rest = product & ((Wide{1} << shift) - 1);

    std::uint64_t sixteen = seventeen / 10;
    const Wide above = (static_cast<Wide>(seventeen % 10) << shift) + rest;  // what is beyond sixteen digits
    const Wide ten = Wide{10} << shift;
    const bool roundsUp = 2 * above > ten || (2 * above == ten && sixteen % 2 != 0);
    const Wide distance = 2 * (roundsUp ? ten - above : above);
    char last = '0';
    if (distance < fives || (distance == fives && mantissa % 2 == 0)) {
        sixteen += roundsUp;
    } else {
        const Wide half = Wide{1} << (shift - 1);
        const std::uint64_t rounded = seventeen + (rest > half || (rest == half && seventeen % 2 != 0));
        sixteen = rounded / 10;
        last = static_cast<char>('0' + rounded % 10);
    }
    if (sixteen >= tenTo16) return {};
    const SixteenDigits digits(sixteen);
    return Digits{digits.text, last, last == '0' ? digits.end : 17, exponent};
}

/// The digits and exponent of a number by the standard library, put as FormatShortest has them.
char* PutByLibrary(char* out, double value) noexcept {
    std::array<char, numberTextSize> text;
    const char* const end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific).ptr;
    const char* const mark = std::find(static_cast<const char*>(text.data()), end, 'e');
    int exponent = 0;
    std::from_chars(mark[1] == '+' ? mark + 2 : mark + 1, end, exponent);
    if (value >= leastFixed && value < leastWithExponent) {
        std::array<char, 17> digits;
        digits.fill('0');
        digits[0] = text[0];
        const int count = std::max(1, static_cast<int>(mark - text.data()) - 1);
        std::copy(text.data() + 2, text.data() + 1 + count, digits.begin() + 1);
        Digits fixed{.text = 0, .seventeenth = digits[16], .count = count, .exponent = exponent};
        std::memcpy(&fixed.text, digits.data(), sizeof fixed.text);
        return PutFixed(out, fixed);
    }
    out = std::copy(static_cast<const char*>(text.data()), mark, out);
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    return FormatUInt64(out, static_cast<std::uint64_t>(std::abs(exponent)));
}

/// How many decimals the number has that a text stands for.
int DecimalsOf(std::string_view text) noexcept {
    const std::size_t mark = std::min(text.find('e'), text.size());
    const std::size_t point = text.find('.');
    const int behindPoint = point < mark ? static_cast<int>(mark - point - 1) : 0;
    int exponent = 0;
    if (mark < text.size()) {
        const char* const digits = text.data() + mark + (text[mark + 1] == '+' ? 2 : 1);
        std::from_chars(digits, text.data() + text.size(), exponent);
    }
    return std::max(0, behindPoint - exponent);
}

/// Without zeros at the end, and the point before them.
char* DropZeros(char* begin, char* end) noexcept {
    if (std::find(begin, end, '.') == end) return end;
    while (end[-1] == '0') --end;
    return end[-1] == '.' ? end - 1 : end;
}

/// What RoundedUnits answers. The product is off by half a unit in its last place, so its fraction tells how to round
/// but where it is that near to the half.
inline std::optional<std::uint64_t> Units(double magnitude, int decimals) noexcept {
    const double product = magnitude * powersOfTen[static_cast<std::size_t>(decimals)];
    if (!(product < leastWithExponent)) return {};
    const auto whole = static_cast<std::int64_t>(product);
    const double fraction = product - static_cast<double>(whole);
    if (std::fabs(fraction - 0.5) <= product * std::numeric_limits<double>::epsilon()) return {};
    return static_cast<std::uint64_t>(whole) + (fraction > 0.5);
}

/// What a double is that is zero, or is rounded to it, behind its sign.
char* PutZero(char* out, double original) noexcept {
    return PutText(out, std::signbit(original) ? "0.0" : "0");
}

}  // namespace

std::optional<double> ReadDouble(std::u16string_view text) noexcept {
    double plain = 0;
    if (ReadPlain(text, plain)) [[likely]]
        return plain;
    const auto parts = TakeApart(text, false);
    if (!parts) return {};
    return ToDouble(*parts);
}

std::optional<double> ReadXmlDouble(std::u16string_view text) noexcept {
    const auto parts = TakeApart(text, true);
    if (!parts) return {};
    return ToDouble(*parts);
}

std::optional<float> ReadXmlFloat(std::u16string_view text) noexcept {
    const auto parts = TakeApart(text, true);
    if (!parts) return {};
    const auto value = ReadLong<float>(*parts);
    if (!value) return {};
    return parts->isNegative ? -*value : *value;
}

double MakeDouble(std::uint64_t digits, int decimals, bool isNegative) noexcept {
    if (decimals <= mostExactPower && digits <= greatestExactInteger) {
        const double magnitude = static_cast<double>(digits) / powersOfTen[static_cast<std::size_t>(decimals)];
        return WithSign(magnitude, isNegative);
    }
    return WithSign(digits == 0 ? 0.0 : ScaledDouble(digits, -decimals), isNegative);
}

std::optional<std::uint64_t> RoundedUnits(double magnitude, int decimals) noexcept {
    return Units(magnitude, decimals);
}

DigitSpan PutSixteenDigits(char* out, std::uint64_t number) noexcept {
    const SixteenDigits digits(number);
    Store(out, digits.text);
    return {digits.first, digits.end};
}

std::optional<std::int32_t> ReadNatural(std::u16string_view text) noexcept {
    std::int64_t number = 0;
    for (const char16_t unit : text) {
        if (unit < u'0' || unit > u'9') return {};
        number = number * 10 + (unit - u'0');
        if (number > std::numeric_limits<std::int32_t>::max()) return {};
    }
    return text.empty() ? std::nullopt : std::optional(static_cast<std::int32_t>(number));
}

std::int64_t ReadInt64(std::u16string_view text) noexcept {
    constexpr std::uint64_t greatest = std::numeric_limits<std::int64_t>::max();
    bool isNegative = false;
    const auto number = ReadDigits(text, isNegative);
    const std::uint64_t limit = isNegative ? greatest + 1 : greatest;
    const std::uint64_t within = std::min(number.value_or(limit), limit);
    return static_cast<std::int64_t>(isNegative ? 0 - within : within);
}

std::uint64_t ReadUInt64(std::u16string_view text) noexcept {
    bool isNegative = false;
    const auto number = ReadDigits(text, isNegative);
    if (!number) return std::numeric_limits<std::uint64_t>::max();
    return isNegative ? 0 - *number : *number;
}

char* FormatShortest(char* out, double value) noexcept {
    const double original = value;
    if (!BeginNumber(out, value)) return out;
    if (value == 0) return PutZero(out, original);
    if (value < leastFixed || value >= leastWithExponent) return PutByLibrary(out, value);
    // Fifteen digits: no two such numbers read as the same double, so where they do as this one they are the fewest.
    const int exponent = DecimalExponent(value);
    const double scale = powersOfTen[static_cast<std::size_t>(14 - exponent)];
    const double product = value * scale;
    const auto scaled = static_cast<std::int64_t>(product + 0.5);  // NOLINT(bugprone-incorrect-roundings): checked next
    if (static_cast<double>(scaled) / scale == value) {
        return PutFixed(out, SixteenDigits(static_cast<std::uint64_t>(scaled)), exponent);
    }
    const auto digits = NearestDigits(value, exponent);
    return digits ? PutFixed(out, *digits) : PutByLibrary(out, value);
}

char* FormatDecimals(char* out, double value, int decimals) noexcept {
    char* const begin = out;
    const double original = value;
    if (!BeginNumber(out, value)) return out;
    // While they have fifteen digits at most, a shortest text with no more decimals comes out as itself.
    if (const auto units = value >= leastFixed ? Units(value, decimals) : std::nullopt) {
        const SixteenDigits digits(*units);
        if (digits.first == digits.end) return PutZero(out, original);
        return PutFixed(out, digits, 15 - digits.first - decimals);
    }
    char* const end = FormatShortest(begin, original);
    if (DecimalsOf({begin, end}) <= decimals) return end;
    char* const fixed = std::to_chars(out, begin + numberTextSize, value, std::chars_format::fixed, decimals).ptr;
    char* const kept = DropZeros(out, fixed);
    return kept == out + 1 && *out == '0' ? PutZero(out, original) : kept;
}

char* FormatFloat(char* out, float value) noexcept {
    char* const limit = out + numberTextSize;
    double magnitude = value;
    if (!BeginNumber(out, magnitude)) return out;
    return std::to_chars(out, limit, magnitude, std::chars_format::general, 9).ptr;
}

char* FormatDecimal(char* out, std::uint32_t high, std::uint64_t low, int scale, bool isNegative) noexcept {
    if (scale < 0 || scale > greatestScale) return nullptr;
    Wide number = static_cast<Wide>(high) << 64 | low;
    if (number == 0) isNegative = false;
    for (; scale > 0 && number % 10 == 0; --scale) number /= 10;
    std::array<char, numberTextSize> digits;  // from the last one on
    int count = 0;
    for (; number != 0 || count <= scale; number /= 10)
        digits[static_cast<std::size_t>(count++)] = static_cast<char>('0' + static_cast<int>(number % 10));
    if (isNegative) *out++ = '-';
    while (count > 0) {
        if (count == scale) *out++ = '.';
        *out++ = digits[static_cast<std::size_t>(--count)];
    }
    return out;
}

char* FormatCurrency(char* out, std::int64_t tenThousandths) noexcept {
    constexpr int decimals = 4;
    const auto number = static_cast<std::uint64_t>(tenThousandths);
    return FormatDecimal(out, 0, tenThousandths < 0 ? 0 - number : number, decimals, tenThousandths < 0);
}

char* FormatInt64(char* out, std::int64_t value) noexcept {
    const auto number = static_cast<std::uint64_t>(value);
    if (value >= 0) return FormatUInt64(out, number);
    *out = '-';
    return FormatUInt64(out + 1, 0 - number);
}

char* FormatUInt64(char* out, std::uint64_t value) noexcept {
    if (value >= tenTo16) {
        out = FormatUInt64(out, value / tenTo16);
        const SixteenDigits digits(value % tenTo16);
        Store(out, digits.text);
        return out + 16;
    }
    if (value >= tenTo8) {
        const SixteenDigits digits(value);
        Store(out, digits.text >> (8 * digits.first));
        return out + (16 - digits.first);
    }
    const std::uint64_t digits = EightDigits(value);
    const int first = std::countr_zero(digits | std::uint64_t{1} << 56) / 8;  // zero has its last digit
    Store(out, (digits | zeros) >> (8 * first));
    return out + (8 - first);
}

}  // namespace kv
