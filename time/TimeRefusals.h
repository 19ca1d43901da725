// Why a time refuses, where several operations do for the same reason.
#pragma once

namespace mova {

inline constexpr auto noDayNumber = u"The date has no day number in its calendar mode.";
inline constexpr auto outOfRange = u"The date would be outside the years -32767 to 32767.";

}  // namespace mova
