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
    {u"integer",               false, decimal},
    {u"nonNegativeInteger",    false, decimal},
    {u"positiveInteger",       false, decimal},
    {u"nonPositiveInteger",    false, decimal},
    {u"negativeInteger",       false, decimal},
    {u"normalizedString",      false, text},
    {u"token",                 false, text},
    {u"anyURI",                false, text},
};
// clang-format on

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
    return {};
}

}  // namespace xml
