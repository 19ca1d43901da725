#include "xml/ValueTypes.h"

#include <algorithm>
#include <iterator>

#include "xml/SchemaRelease.h"

namespace xml {
namespace {

using enum kv::ValueType;

// clang-format off
constexpr ValueTypeRow valueTypes[] = {
    // type     name                  own    array
    {empty,     u"Empty",             true,  {}},
    {i2,        u"short",             false, u"ArrayOfShort"},
    {i4,        u"int",               false, u"ArrayOfInt"},
    {r4,        u"float",             false, u"ArrayOfFloat"},
    {r8,        u"double",            false, u"ArrayOfDouble"},
    {currency,  u"Currency",          true,  u"ArrayOfCurrency"},
    {date,      u"dateTime",          false, u"ArrayOfDateTime"},
    {text,      u"string",            false, u"ArrayOfString"},
    {dispatch,  u"Dispatch",          true,  u"ArrayOfDispatch"},
    {error,     u"Status",            true,  u"ArrayOfStatus"},
    {boolean,   u"boolean",           false, u"ArrayOfBoolean"},
    {variant,   u"anyType",           false, u"ArrayOfAnyType"},
    {unknown,   objectName,           true,  u"ArrayOfObject"},
    {decimal,   u"decimal",           false, u"ArrayOfDecimal"},
    {i1,        u"byte",              false, u"ArrayOfByte"},
    {ui1,       u"unsignedByte",      false, u"ArrayOfUnsignedByte"},
    {ui2,       u"unsignedShort",     false, u"ArrayOfUnsignedShort"},
    {ui4,       u"unsignedInt",       false, u"ArrayOfUnsignedInt"},
    {i8,        u"long",              false, u"ArrayOfLong"},
    {ui8,       u"unsignedLong",      false, u"ArrayOfUnsignedLong"},
    {integer,   u"MachineInt",        true,  u"ArrayOfMachineInt"},
    {uinteger,  u"UnsignedMachineInt", true, u"ArrayOfUnsignedMachineInt"},
};

/// Other names that are read.
constexpr struct { std::u16string_view name; bool isOwn; kv::ValueType type; } otherNames[] = {
    {encodedTextName,          true,  text},
    {dateNumberName,           true,  date},
    {u"date",                  false, date},
    {u"normalizedString",      false, text},
    {u"token",                 false, text},
    {u"anyURI",                false, text},
};

/// Names of integers beyond 64 bits.
constexpr struct { std::u16string_view name; bool hasNegative, hasZero, hasPositive; } integerNames[] = {
    {u"integer",            true,  true,  true},
    {u"nonNegativeInteger", false, true,  true},
    {u"positiveInteger",    false, false, true},
    {u"nonPositiveInteger", true,  true,  false},
    {u"negativeInteger",    true,  false, false},
};
// clang-format on

const auto* FindInteger(std::u16string_view name) noexcept {
    const auto* const found = std::find_if(std::begin(integerNames), std::end(integerNames),
                                           [&](const auto& row) { return row.name == name; });
    return found != std::end(integerNames) ? found : nullptr;
}

}  // namespace

const ValueTypeRow* RowOf(kv::ValueType type) noexcept {
    const auto* const found = std::find_if(std::begin(valueTypes), std::end(valueTypes),
                                           [&](const ValueTypeRow& row) { return row.type == type; });
    return found != std::end(valueTypes) ? found : nullptr;
}

std::optional<NamedType> TypeNamed(std::u16string_view name, std::u16string_view uri) noexcept {
    const bool isOwn = uri != schemaUri;
    if (name.empty() || (isOwn && !ReleaseOf(uri))) return {};
    for (const ValueTypeRow& row : valueTypes) {
        if (row.isOwn == isOwn && row.name == name) return NamedType{row.type, false};
        if (isOwn && row.arrayName == name) return NamedType{row.type, true};
    }
    for (const auto& other : otherNames)
        if (other.isOwn == isOwn && other.name == name) return NamedType{other.type, false};
    if (!isOwn && name == bytesName) return NamedType{ui1, true};
    if (!isOwn && FindInteger(name)) return NamedType{decimal, false};
    return {};
}

bool IsInRangeOf(std::u16string_view typeName, std::u16string_view number) noexcept {
    const auto* const row = FindInteger(typeName);
    if (!row) return true;
    if (number.find(u'.') != std::u16string_view::npos) return false;
    if (number.find_first_of(u"123456789") == std::u16string_view::npos) return row->hasZero;
    return number.find(u'-') != std::u16string_view::npos ? row->hasNegative : row->hasPositive;
}

}  // namespace xml
