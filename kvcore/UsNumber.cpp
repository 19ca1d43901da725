#include "kvcore/UsNumber.h"

#include <algorithm>
#include <bit>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>

#include "kvcore/NumberText.h"

namespace kv {
namespace {

/// A double as a whole number times a power of two, the number odd.
struct Binary {
    std::uint64_t odd;
    int exponent;
};

/// @param magnitude above 0, finite
Binary Decompose(double magnitude) noexcept {
    constexpr int fractionBits = 52;
    constexpr std::uint64_t hiddenBit = std::uint64_t{1} << fractionBits;
    const auto bits = std::bit_cast<std::uint64_t>(magnitude);
    const auto biased = static_cast<int>(bits >> fractionBits);
    const std::uint64_t fraction = bits & (hiddenBit - 1);
    const std::uint64_t mantissa = biased == 0 ? fraction : fraction | hiddenBit;
    const int zeros = std::countr_zero(mantissa);
    return {mantissa >> zeros, std::max(biased, 1) - 1023 - fractionBits + zeros};
}

constexpr int mostFives = 22;  // 5^23 is more than any odd number of 53 bits

/// The last digit that is kept of a number which lies exactly half way between two with that many digits.
/// @param place the power of ten that the first dropped digit counts, which is then the number's last
/// @return the digit; -1 where the number is no such tie
int LastDigitOfTie(double magnitude, int place) noexcept {
    if (magnitude == 0) return -1;
    const Binary binary = Decompose(magnitude);
    // The number is odd * 2^place, so in units of 10^place it is odd / 5^place: a whole number whose last digit is a 5.
    if (binary.exponent != place) return -1;
    std::uint64_t lastTwo = 0;
    if (place < 0) {
        const std::uint64_t fives = place == -1 ? 5 : 25;  // the last two digits of each power of five
        lastTwo = binary.odd % 100 * fives % 100;
    } else {
        if (place > mostFives) return -1;
        std::uint64_t units = binary.odd;
        for (int i = 0; i < place; ++i) {
            if (units % 5 != 0) return -1;
            units /= 5;
        }
        lastTwo = units % 100;
    }
    return lastTwo % 10 == 5 ? static_cast<int>(lastTwo / 10) : -1;
}

/// Turns what the standard library has rounded, a tie to the even digit, into what is rounded away from zero. Only a
/// last digit that was even stays as it was, and it never carries.
void RoundTieAway(char& last, double magnitude, int place) noexcept {
    if (LastDigitOfTie(magnitude, place) == last - '0') ++last;
}

/// @param digits at most 19
std::uint64_t WholeNumber(std::string_view digits) noexcept {
    std::uint64_t number = 0;
    for (const char digit : digits) number = number * 10 + static_cast<std::uint64_t>(digit - '0');
    return number;
}

}  // namespace

UsNumber::UsNumber(double value) noexcept : isNegative_(std::signbit(value) && value != 0) {
    std::array<char, numberTextSize> text;
    const std::string_view shortest(text.data(), FormatShortest(text.data(), std::fabs(value)));
    const std::size_t mark = shortest.find('e');
    if (mark == std::string_view::npos) [[likely]] {
        const std::size_t whole = std::min(shortest.find('.'), shortest.size());
        std::memcpy(&digits_[first_], text.data(), numberTextSize);
        point_ = end_ = first_ + whole;
        if (whole != shortest.size()) {
            end_ = first_ + shortest.size() - 1;
            std::memcpy(&digits_[point_], &text[whole + 1], end_ - point_);
        }
        DropLeadingZero();
        return;
    }
    // d.ddd or d, and behind the mark a sign and the exponent.
    int exponent = 0;
    const char* const sign = shortest.data() + mark + 1;
    std::from_chars(*sign == '+' ? sign + 1 : sign, shortest.data() + shortest.size(), exponent);
    char* out = &digits_[first_];
    for (int zeros = -exponent - 1; zeros > 0; --zeros) *out++ = '0';
    *out++ = text[0];
    if (mark > 2) out = std::copy(&text[2], &text[mark], out);
    point_ = first_ + static_cast<std::size_t>(std::max(exponent + 1, 0));
    for (char* const wholeEnd = digits_.data() + point_; out < wholeEnd;) *out++ = '0';
    end_ = static_cast<std::size_t>(out - digits_.data());
}

UsNumber UsNumber::Fixed(double value, int decimals) noexcept {
    UsNumber made;
    const double magnitude = std::fabs(value);
    made.isNegative_ = std::signbit(value) && value != 0;
    char* const begin = &made.digits_[made.first_];
    char* const end =
        std::to_chars(begin, made.digits_.data() + made.digits_.size(), magnitude, std::chars_format::fixed, decimals)
            .ptr;
    RoundTieAway(end[-1], magnitude, -decimals - 1);
    made.end_ = static_cast<std::size_t>(end - made.digits_.data());
    made.point_ = made.end_;
    if (decimals > 0) {
        made.point_ -= static_cast<std::size_t>(decimals) + 1;
        std::copy(made.At(made.point_ + 1), made.At(made.end_), &made.digits_[made.point_]);
        --made.end_;
    }
    made.DropLeadingZero();
    return made;
}

UsNumber UsNumber::Rounded(double value, int decimals, bool keepsZeros) noexcept {
    const double magnitude = std::fabs(value);
    const auto units = RoundedUnits(magnitude, decimals);
    UsNumber made = units ? UsNumber() : UsNumber(value);
    const auto places = static_cast<std::size_t>(decimals);
    if (units) [[likely]] {
        constexpr int digitCount = 16;
        made.isNegative_ = std::signbit(value) && value != 0;
        const DigitSpan span = PutSixteenDigits(&made.digits_[1], *units);
        const int point = digitCount - decimals;
        made.first_ = 1 + static_cast<std::size_t>(*units != 0 ? std::min(span.first, point) : point);
        made.point_ = 1 + static_cast<std::size_t>(point);
        made.end_ = 1 + static_cast<std::size_t>(keepsZeros ? digitCount : std::max(span.end, point));
    } else {
        made.Round(places);
        if (keepsZeros) {
            std::fill_n(&made.digits_[made.end_], places - made.Fraction().size(), '0');
            made.end_ = made.point_ + places;
        }
        while (!keepsZeros && made.end_ > made.point_ && made.digits_[made.end_ - 1] == '0') --made.end_;
    }
    if (made.first_ == made.end_) made.digits_[made.end_++] = '0', made.point_ = made.end_;
    return made;
}

void UsNumber::DropLeadingZero() noexcept {
    if (digits_[first_] == '0' && point_ == first_ + 1 && end_ > point_) ++first_;
}

void UsNumber::Round(std::size_t decimals) noexcept {
    if (end_ - point_ <= decimals) return;
    end_ = point_ + decimals;
    if (digits_[end_] >= '5') {
        std::size_t place = end_;
        while (place > first_ && digits_[place - 1] == '9') digits_[--place] = '0';
        if (place > first_) {
            ++digits_[place - 1];
        } else {
            digits_[--first_] = '1';
        }
    }
    if (first_ == end_) digits_[end_++] = '0', point_ = end_;
}

void UsNumber::Cut(std::size_t decimals) noexcept {
    end_ = std::min(end_, point_ + decimals);
    if (first_ == end_) digits_[end_++] = '0', point_ = end_;
}

char16_t* UsNumber::Write(char16_t* out) const noexcept {
    if (isNegative_) *out++ = u'-';
    out = std::copy(At(first_), At(point_), out);
    if (end_ == point_) return out;
    *out++ = u'.';
    return std::copy(At(point_), At(end_), out);
}

char16_t* ValueToUSString(char16_t* out, double value) noexcept {
    return UsNumber(value).Write(out);
}

ExactDigits DigitsOf(double value, int count) noexcept {
    ExactDigits made;
    made.count = count;
    made.isNegative = std::signbit(value) && value != 0;
    const double magnitude = std::fabs(value);
    std::array<char, ExactDigits::mostDigits + 16> text;
    const char* const end =
        std::to_chars(text.data(), text.data() + text.size(), magnitude, std::chars_format::scientific, count - 1).ptr;
    made.digits[0] = text[0];
    if (count > 1) std::copy_n(&text[2], count - 1, &made.digits[1]);
    int exponent = 0;
    const char* const sign = &text[static_cast<std::size_t>(count > 1 ? count + 2 : 2)];
    std::from_chars(*sign == '+' ? sign + 1 : sign, end, exponent);
    RoundTieAway(made.digits[static_cast<std::size_t>(count) - 1], magnitude, exponent - count);
    made.point = magnitude == 0 ? 0 : exponent + 1;
    return made;
}

double GetRounded(double value, int digits) noexcept {
    if (value == 0) return value;
    ExactDigits rounded = DigitsOf(value, digits > 0 ? digits : ExactDigits::mostDigits);
    if (digits == 0) {  // half of the power of ten above it decides, which only a first digit from 5 on reaches
        if (rounded.digits[0] < '5') return std::copysign(0.0, value);
        rounded.digits[0] = '1';
        rounded.count = 1;
        ++rounded.point;
    }
    return std::copysign(ScaledByTen(WholeNumber(rounded.View()), rounded.point - rounded.count), value);
}

char16_t* FormatExponent(char16_t* out, double value) noexcept {
    std::array<char, 16> text;
    constexpr int decimals = 6;
    const char* const end =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::scientific, decimals).ptr;
    return std::copy(static_cast<const char*>(text.data()), end, out);
}

double FastAtof(std::string_view digits) noexcept {
    return static_cast<double>(WholeNumber(digits));
}

double ScaledByTen(std::uint64_t digits, int exponent) noexcept {
    constexpr int mostExact = 27;
    if (exponent <= 0 && exponent >= -mostExact) return MakeDouble(digits, -exponent, false);
    std::array<char, 40> text;
    char* end = FormatUInt64(text.data(), digits);
    *end++ = 'e';
    end = std::to_chars(end, text.data() + text.size(), exponent).ptr;
    double nearest = 0;
    const bool isBeyond = std::from_chars(text.data(), end, nearest).ec == std::errc::result_out_of_range;
    return isBeyond && exponent > 0 ? std::numeric_limits<double>::infinity() : nearest;
}

}  // namespace kv
