#include "time/TimePicture.h"

#include <algorithm>
#include <array>

#include "time/Digits.h"

namespace calendar {
namespace {

constexpr std::u16string_view beforeCommonEra = u"B.C.";
constexpr std::u16string_view commonEra = u"A.D.";
/// What two digits of a year can mean at most.
constexpr std::int32_t latestShortYear = 2029;

enum class Kind : std::uint8_t { Literal, Day, Month, Year, Era, Hour, HourOf12, Minute, Second, Fraction, HalfDay };

/// The letters of a picture, and how many of one mean the most.
struct Letter {
    char16_t letter;
    Kind kind;
    std::size_t most;
};
constexpr Letter letters[] = {{u'd', Kind::Day, 4},    {u'M', Kind::Month, 4},  {u'y', Kind::Year, 4},
                              {u'g', Kind::Era, 1},    {u'H', Kind::Hour, 2},   {u'h', Kind::HourOf12, 2},
                              {u'm', Kind::Minute, 2}, {u's', Kind::Second, 2}, {u'f', Kind::Fraction, 9},
                              {u't', Kind::HalfDay, 2}};

/// A run of one letter, or a piece of literal text.
struct Element {
    Kind kind = Kind::Literal;
    std::size_t length = 0;  ///< of the run, the longest that means something
    std::u16string_view text;

    bool IsName() const noexcept { return (kind == Kind::Day || kind == Kind::Month) && length > 2; }
    bool IsNumber() const noexcept {
        return !IsName() && kind != Kind::Literal && kind != Kind::Era && kind != Kind::HalfDay;
    }
};

/// Takes a picture apart.
class Picture {
 public:
    explicit Picture(std::u16string_view picture) noexcept : rest_(picture) {}

    std::optional<Element> Next() noexcept {
        while (!rest_.empty() && rest_.front() == u'\'') {
            // A quote that begins or ends a text is nothing; the second of two within one stands for itself.
            rest_.remove_prefix(1);
            if (isQuoted_ && !rest_.empty() && rest_.front() == u'\'') return TakeLiteral();
            isQuoted_ = !isQuoted_;
        }
        if (rest_.empty()) return {};
        if (isQuoted_) return TakeLiteral();
        const auto* const letter =
            std::find_if(std::begin(letters), std::end(letters), [&](const Letter& l) { return l.letter == rest_[0]; });
        if (letter == std::end(letters)) return TakeLiteral();
        const std::size_t run = std::min(rest_.find_first_not_of(rest_.front()), rest_.size());
        rest_.remove_prefix(run);
        return Element{letter->kind, std::min(run, letter->most), {}};
    }

 private:
    Element TakeLiteral() noexcept {
        const Element taken{Kind::Literal, 1, rest_.substr(0, 1)};
        rest_.remove_prefix(1);
        return taken;
    }

    std::u16string_view rest_;
    bool isQuoted_ = false;
};

bool HasEra(std::u16string_view picture) noexcept {
    Picture elements(picture);
    while (const auto element = elements.Next())
        if (element->kind == Kind::Era) return true;
    return false;
}

/// The number that an element shows.
std::int32_t NumberOf(const kv::DateTime& fields, Kind kind) noexcept {
    switch (kind) {
        case Kind::Day:
            return fields.day;
        case Kind::Month:
            return fields.month;
        case Kind::Hour:
            return fields.hour;
        case Kind::HourOf12:
            return (fields.hour + 11) % 12 + 1;
        case Kind::Minute:
            return fields.minute;
        default:
            return fields.second;
    }
}

void AppendInteger(std::u16string& out, std::int32_t number, std::size_t leastUnits) {
    std::array<char16_t, integerTextSize> text;
    out.append(text.data(), PutInteger(text.data(), number, static_cast<std::ptrdiff_t>(leastUnits)));
}

/// Reads a text along a picture.
class PictureReader {
 public:
    PictureReader(std::u16string_view text, std::u16string_view picture, const kv::DateTime& before,
                  Names& names) noexcept
        : rest_(text), fields_(before), names_(&names), hasEra_(HasEra(picture)), isAfternoon_(before.hour >= 12) {}

    /// @param next the element behind it, where there is one
    bool Take(const Element& element, const std::optional<Element>& next) {
        if (element.IsName()) return TakeNameOf(element);
        switch (element.kind) {
            case Kind::Literal:
                return TakeText(element.text);
            case Kind::Era:
                isBeforeEra_ = TakeText(beforeCommonEra);
                return isBeforeEra_ || TakeText(commonEra);
            case Kind::HalfDay:
                return TakeHalfDay(element.length);
            case Kind::Year:
                return TakeYear(element.length, next && next->IsNumber());
            case Kind::Fraction:
                return TakeFraction(element.length);
            default:
                return TakeNumber(element.kind);
        }
    }

    std::optional<kv::DateTime> Finish() noexcept {
        if (!rest_.empty()) return {};
        if (year_) {
            if (hasEra_ && *year_ < 0) return {};
            fields_.year = static_cast<std::int16_t>(isBeforeEra_ ? -*year_ : *year_);
        } else if (hasEra_) {
            const std::int32_t distance = fields_.year < 0 ? -fields_.year : fields_.year;
            if (distance > latestYear) return {};
            fields_.year = static_cast<std::int16_t>(isBeforeEra_ ? -distance : distance);
        }
        if (hourOf12_) {
            if (*hourOf12_ < 1 || *hourOf12_ > 12) return {};
            fields_.hour = static_cast<std::int16_t>(*hourOf12_ % 12 + (isAfternoon_ ? 12 : 0));
        }
        if (!IsValid(fields_)) return {};
        return fields_;
    }

 private:
    bool TakeText(std::u16string_view sought) noexcept {
        const std::u16string_view front = rest_.substr(0, sought.size());
        if (front.size() != sought.size() || names_->Find(front, sought) != 0) return false;
        rest_.remove_prefix(sought.size());
        return true;
    }
    std::optional<std::u16string_view> TakeDigits(std::size_t most) noexcept {
        std::size_t count = 0;
        while (count < most && count < rest_.size() && IsDigit(rest_[count])) ++count;
        if (count == 0) return {};
        const std::u16string_view digits = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return digits;
    }
    std::optional<std::int32_t> TakeInteger(std::size_t most) noexcept {
        const auto digits = TakeDigits(most);
        if (!digits) return {};
        std::int32_t number = 0;
        for (const char16_t digit : *digits) number = number * 10 + (digit - u'0');
        return number;
    }
    bool TakeNumber(Kind kind) noexcept {
        const auto taken = TakeInteger(2);
        if (!taken) return false;
        const auto number = static_cast<std::int16_t>(*taken);
        switch (kind) {
            case Kind::Day:
                fields_.day = number;
                break;
            case Kind::Month:
                fields_.month = number;
                break;
            case Kind::Hour:
                fields_.hour = number;
                break;
            case Kind::HourOf12:
                hourOf12_ = number;
                break;
            case Kind::Minute:
                fields_.minute = number;
                break;
            default:
                fields_.second = number;
        }
        return true;
    }
    /// @param isBeforeNumber so that where the year ends must be known
    bool TakeYear(std::size_t length, bool isBeforeNumber) noexcept {
        if (length <= 2) {
            const auto taken = TakeInteger(2);
            if (!taken) return false;
            constexpr std::int32_t century = latestShortYear / 100 * 100;
            year_ = century + *taken > latestShortYear ? century - 100 + *taken : century + *taken;
            return true;
        }
        const bool isNegative = !rest_.empty() && rest_.front() == u'-';
        if (isNegative) rest_.remove_prefix(1);
        const auto taken = TakeInteger(isBeforeNumber ? 4 : 5);
        if (!taken || *taken > latestYear) return false;
        year_ = isNegative ? -*taken : *taken;
        return true;
    }
    bool TakeFraction(std::size_t most) noexcept {
        const auto digits = TakeDigits(most);
        if (!digits) return false;
        fields_.nanosecond = ReadFraction(*digits);
        return true;
    }
    bool TakeNameOf(const Element& element) {
        const bool isShort = element.length == 3;
        if (element.kind == Kind::Day) return TakeName(isShort ? NameKind::ShortDay : NameKind::Day).has_value();
        const auto month = TakeName(isShort ? NameKind::ShortMonth : NameKind::Month);
        if (month) fields_.month = static_cast<std::int16_t>(*month + 1);
        return month.has_value();
    }
    /// Takes the longest of the names that the text goes on with. @return its index
    std::optional<int> TakeName(NameKind kind) {
        std::optional<int> found;
        std::size_t longest = 0;
        for (int i = 0; i < CountOf(kind); ++i) {
            const std::u16string_view name = names_->Name(kind, i);
            if (name.size() <= longest || name.size() > rest_.size()) continue;
            if (names_->Find(rest_.substr(0, name.size()), name) != 0) continue;
            longest = name.size();
            found = i;
        }
        rest_.remove_prefix(longest);
        return found;
    }
    bool TakeHalfDay(std::size_t length) {
        for (int i = 0; i < CountOf(NameKind::HalfDay); ++i) {
            const std::u16string_view name = names_->Name(NameKind::HalfDay, i);
            if (name.empty()) return true;  // the locale has none
            if (!TakeText(length == 1 ? name.substr(0, 1) : name)) continue;
            isAfternoon_ = i == 1;
            return true;
        }
        return false;
    }

    std::u16string_view rest_;
    kv::DateTime fields_;
    Names* names_;
    std::optional<std::int32_t> year_;
    std::optional<std::int32_t> hourOf12_;
    bool hasEra_;
    bool isBeforeEra_ = false;
    bool isAfternoon_;
};

}  // namespace

bool FormatPicture(std::u16string& out, const kv::DateTime& fields, Mode mode, std::u16string_view picture,
                   Names& names) {
    const bool hasEra = HasEra(picture);
    const std::int32_t distance = fields.year < 0 ? -fields.year : fields.year;
    Picture elements(picture);
    while (const auto element = elements.Next()) {
        const bool isShort = element->length == 3;
        if (element->kind == Kind::Month && element->IsName()) {
            out += names.Name(isShort ? NameKind::ShortMonth : NameKind::Month, fields.month - 1);
        } else if (element->kind == Kind::Day && element->IsName()) {
            const auto day = IsMode(mode) ? DayNumberOf(fields, mode) : std::nullopt;
            if (!day) return false;
            out += names.Name(isShort ? NameKind::ShortDay : NameKind::Day, DayOfWeek(*day) - 1);
        } else if (element->kind == Kind::Literal) {
            out += element->text;
        } else if (element->kind == Kind::Era) {
            out += fields.year < 0 ? beforeCommonEra : commonEra;
        } else if (element->kind == Kind::HalfDay) {
            const std::u16string_view name = names.Name(NameKind::HalfDay, fields.hour / 12);
            out += element->length == 1 ? name.substr(0, 1) : name;
        } else if (element->kind == Kind::Year) {
            const bool isWhole = element->length > 2;
            if (isWhole && !hasEra && fields.year < 0) out += u'-';
            AppendInteger(out, isWhole ? distance : distance % 100, isWhole ? 4 : element->length);
        } else if (element->kind == Kind::Fraction) {
            std::array<char16_t, integerTextSize> digits;
            PutInteger(digits.data(), fields.nanosecond, 9);
            out.append(digits.data(), element->length);
        } else {
            AppendInteger(out, NumberOf(fields, element->kind), element->length);
        }
    }
    return true;
}

std::optional<kv::DateTime> ReadPicture(std::u16string_view text, std::u16string_view picture,
                                        const kv::DateTime& before, Names& names) {
    PictureReader reader(text, picture, before, names);
    Picture elements(picture);
    auto element = elements.Next();
    while (element) {
        const auto next = elements.Next();
        if (!reader.Take(*element, next)) return {};
        element = next;
    }
    return reader.Finish();
}

std::optional<FoundName> FindName(std::u16string_view text, NameKind kind, Names& names) {
    for (int i = 0; i < CountOf(kind); ++i) {
        const std::u16string_view name = names.Name(kind, i);
        if (name.empty()) continue;
        const std::size_t at = names.Find(text, name);
        if (at != std::u16string_view::npos) return FoundName{i, at + name.size()};
    }
    return {};
}

}  // namespace calendar
