// Times as pictures describe them, with the names of a locale.
//
// A picture is made of runs of one letter, texts in single quotes, of which two stand for one, and other characters,
// which stand for themselves:
//
//     d dd ddd dddd      day, in two digits; the day's name, short and whole
//     M MM MMM MMMM      month, in two digits; its name, short and whole
//     y yy yyyy          year, the last two digits, as they are and in two digits; the whole year in four or more
//     g                  B.C. or A.D.; without it, a year before the common era has a minus sign
//     H HH h hh          hour of 24 or 12, in two digits
//     m mm s ss          minute and second, in two digits
//     f to fffffffff     so many decimals of the second
//     t tt               the locale's half of the day, its first character or all of it
//
// Longer runs count as the longest.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "kvcore/DateTime.h"
#include "time/Calendar.h"

namespace calendar {

/// The names that a locale has: months from January on, days from Monday on, the halves of the day.
enum class NameKind : std::uint8_t { Month, ShortMonth, Day, ShortDay, HalfDay };
constexpr int CountOf(NameKind kind) noexcept {
    constexpr int counts[] = {12, 12, 7, 7, 2};
    return counts[static_cast<std::size_t>(kind)];
}

/// Tells a locale's names. May throw.
class Names {
 public:
    /// A name by its index from 0; empty where the locale has none. Valid until the next one is asked for.
    virtual std::u16string_view Name(NameKind kind, int index) = 0;
    /// Where a text has another one in it for the first time, without regard to case; npos where it has not.
    virtual std::size_t Find(std::u16string_view text, std::u16string_view sought) noexcept = 0;

 protected:
    ~Names() = default;
};

/// Appends a time as a picture describes it.
/// @param fields all in their ranges
/// @return false where the picture wants the day's name and the date has no day number @throw std::bad_alloc
bool FormatPicture(std::u16string& out, const kv::DateTime& fields, Mode mode, std::u16string_view picture,
                   Names& names);

/// Reads a text that a picture describes: literal characters and names without regard to case, of several names that
/// fit the longest; numbers in fewer digits, too. A year of two digits is one of 1930 to 2029. The name of a day is
/// passed over. What the picture does not have is taken from the time before.
/// @return nothing for any other text, and where there is no such date or time
std::optional<kv::DateTime> ReadPicture(std::u16string_view text, std::u16string_view picture,
                                        const kv::DateTime& before, Names& names);

/// A name that was found in a text: its index, and where the text goes on behind it.
struct FoundName {
    int index;
    std::size_t end;
};
/// The first name of a kind, in the order of the names, that is anywhere in a text.
std::optional<FoundName> FindName(std::u16string_view text, NameKind kind, Names& names);

}  // namespace calendar
