#include "time/TimeText.h"

#include <array>

#include "time/Digits.h"

namespace calendar {
namespace {

/// The parts of a time, from the longest on; a layout ends with one of them.
enum class Part : std::uint8_t { Year, Month, Day, Hour, Minute, Second, Nanosecond, Millisecond };

struct Layout {
    char16_t dateSign, gap, timeSign;  ///< between the parts; NUL for nothing
    Part last;
    bool hasZ = false;
};

// clang-format off
constexpr std::array<Layout, layoutCount> layouts = {{
    {u'/', u' ', u':', Part::Nanosecond},
    {u'/', u' ', u':', Part::Second},
    {u'/', u' ', u':', Part::Minute},
    {u'/', u' ', u':', Part::Hour},
    {u'/', u' ', u':', Part::Day},
    {u'/', u' ', u':', Part::Month},
    {u'-', u' ', u':', Part::Nanosecond},
    {u'-', u' ', u':', Part::Second},
    {u'-', u' ', u':', Part::Minute},
    {u'-', u' ', u':', Part::Hour},
    {u'-', u' ', u':', Part::Day},
    {u'-', u' ', u':', Part::Month},
    {0,    0,    0,    Part::Nanosecond},
    {0,    0,    0,    Part::Second},
    {0,    0,    0,    Part::Minute},
    {0,    0,    0,    Part::Hour},
    {0,    0,    0,    Part::Day},
    {0,    0,    0,    Part::Month},
    {0,    0,    0,    Part::Year},
    {u'-', u'T', u':', Part::Nanosecond, true},
    {u'-', u'T', u':', Part::Nanosecond},
    {u'-', u'T', u':', Part::Second},
    {u'-', u'T', u':', Part::Millisecond, true},
}};
// clang-format on

char16_t* PutSign(char16_t* out, char16_t sign) noexcept {
    *out = sign;
    return out + (sign != 0 ? 1 : 0);
}

char16_t* PutMilliseconds(char16_t* out, std::int32_t nanosecond) noexcept {
    const auto milliseconds = static_cast<std::uint32_t>(nanosecond / kv::nanosecondsPerMillisecond);
    *out = static_cast<char16_t>(u'0' + milliseconds / 100);
    return PutTwo(out + 1, milliseconds % 100);
}

char16_t* PutParts(char16_t* out, const kv::DateTime& fields, const Layout& layout) noexcept {
    const auto put = [&](char16_t sign, std::int16_t number) {
        out = PutTwo(PutSign(out, sign), static_cast<std::uint32_t>(number));
    };
    out = PutYear(out, fields.year);
    if (layout.last == Part::Year) return out;
    put(layout.dateSign, fields.month);
    if (layout.last == Part::Month) return out;
    put(layout.dateSign, fields.day);
    if (layout.last == Part::Day) return out;
    put(layout.gap, fields.hour);
    if (layout.last == Part::Hour) return out;
    put(layout.timeSign, fields.minute);
    if (layout.last == Part::Minute) return out;
    put(layout.timeSign, fields.second);
    if (layout.last == Part::Second) return out;
    *out++ = u'.';
    return layout.last == Part::Millisecond ? PutMilliseconds(out, fields.nanosecond)
                                            : PutFraction(out, fields.nanosecond);
}

}  // namespace

char16_t* FormatTime(char16_t* out, const kv::DateTime& fields, std::uint32_t layout) noexcept {
    if (layout >= layoutCount) return nullptr;
    out = PutParts(out, fields, layouts[layout]);
    return PutSign(out, layouts[layout].hasZ ? u'Z' : u'\0');
}

char16_t* FormatXmlTime(char16_t* out, const kv::DateTime& fields, std::int32_t offset) noexcept {
    out = PutParts(out, fields, {u'-', u'T', u':', fields.nanosecond == 0 ? Part::Second : Part::Nanosecond});
    const auto minutes = static_cast<std::uint32_t>(offset < 0 ? -offset : offset);
    *out++ = offset < 0 ? u'-' : u'+';
    out = PutTwo(out, minutes / 60);
    *out++ = u':';
    return PutTwo(out, minutes % 60);
}

}  // namespace calendar
