// The types of values in documents.
#pragma once

#include <optional>
#include <string_view>

#include "kvcore/ValueFormat.h"

namespace xml {

/// What a value is as an element: the name of its type, in XML Schema's namespace or the library's own, and that of an
/// array of such, which is always the library's own.
struct ValueTypeRow {
    kv::ValueType type;
    std::u16string_view name;
    bool isOwn;
    std::u16string_view arrayName;
};
/// The row of a type; null for a type that has no form.
const ValueTypeRow* RowOf(kv::ValueType type) noexcept;

struct NamedType {
    kv::ValueType type;
    bool isArray;
};
/// The type of a name in XML Schema's namespace, or in that of a release; nothing for others.
std::optional<NamedType> TypeNamed(std::u16string_view name, std::u16string_view uri) noexcept;

/// Whether the text of a decimal number is one of a type of XML Schema's: no fraction, nor the other sign, in integers.
bool IsInRangeOf(std::u16string_view typeName, std::u16string_view number) noexcept;

/// An array of bytes from index 0, which is a name of XML Schema's.
inline constexpr std::u16string_view bytesName = u"base64Binary";
/// Own types: a text that XML cannot carry, its units in base64, lower byte first; and a date as an OLE date's number.
inline constexpr std::u16string_view encodedTextName = u"EncodedString";
inline constexpr std::u16string_view dateNumberName = u"DateNumber";
/// An own type: no object.
inline constexpr std::u16string_view objectName = u"Object";

/// The elements of an array, and its bounds where it is another than a one-dimensional one from index 0.
inline constexpr std::u16string_view itemName = u"Item";
inline constexpr std::u16string_view boundsName = u"Bounds";

}  // namespace xml
