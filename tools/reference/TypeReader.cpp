#include "tools/reference/TypeReader.h"

#include <algorithm>
#include <stdexcept>

#include "kvcore/BString.h"
#include "kvcore/Guid.h"
#include "kvcore/Utf.h"
#include "tools/reference/TypeInfo.h"

namespace mova::reference {
namespace {

std::string TypeName(ITypeInfo* info, const TYPEDESC& type) {
    if (type.vt == VT_PTR) return TypeName(info, *type.lptdesc) + "*";
    if (type.vt == VT_USERDEFINED) return TextsOf(Referred(info, type.hreftype).Get()).name;
    constexpr struct {
        VARTYPE type;
        const char* name;
    } names[] = {
        {VT_I1, "CHAR"},           {VT_UI1, "BYTE"},        {VT_I2, "SHORT"},          {VT_UI2, "USHORT"},
        {VT_I4, "LONG"},           {VT_UI4, "ULONG"},       {VT_INT, "INT"},           {VT_UINT, "UINT"},
        {VT_I8, "LONGLONG"},       {VT_UI8, "ULONGLONG"},   {VT_R4, "FLOAT"},          {VT_R8, "DOUBLE"},
        {VT_BOOL, "VARIANT_BOOL"}, {VT_DATE, "DATE"},       {VT_CY, "CURRENCY"},       {VT_DECIMAL, "DECIMAL"},
        {VT_BSTR, "BSTR"},         {VT_VARIANT, "VARIANT"}, {VT_UNKNOWN, "IUnknown*"}, {VT_DISPATCH, "IDispatch*"},
        {VT_HRESULT, "HRESULT"},   {VT_VOID, "void"}};
    const auto* found =
        std::find_if(std::begin(names), std::end(names), [&](const auto& row) { return row.type == type.vt; });
    if (found == std::end(names)) throw std::runtime_error("a type without a name: " + std::to_string(type.vt));
    return found->name;
}

std::string DirectionOf(USHORT flags) {
    std::string direction;
    for (const auto& [flag, word] :
         {std::pair{PARAMFLAG_FIN, "in"}, {PARAMFLAG_FOUT, "out"}, {PARAMFLAG_FRETVAL, "retval"}})
        if (flags & flag) direction.append(direction.empty() ? "" : ", ").append(word);
    return direction;
}

Operation ReadOperation(ITypeInfo* info, UINT index) {
    const auto function = FunctionOf(info, index);
    const auto [name, help] = TextsOf(info, function->memid);
    Operation operation{function->invkind == INVOKE_PROPERTYPUT   ? "put"
                        : function->invkind == INVOKE_PROPERTYGET ? "get"
                                                                  : "",
                        name,
                        {},
                        help};
    std::vector<BSTR> names(static_cast<std::size_t>(function->cParams) + 1);
    UINT named = 0;
    Check(info->GetNames(function->memid, names.data(), static_cast<UINT>(names.size()), &named));
    for (SHORT i = 0; i < function->cParams; ++i) {
        const ELEMDESC& parameter = function->lprgelemdescParam[i];
        // The value of a property that is put has no name in a type library.
        BSTR ofParameter = names[static_cast<std::size_t>(i) + 1];
        operation.parameters.push_back({DirectionOf(parameter.paramdesc.wParamFlags), TypeName(info, parameter.tdesc),
                                        ofParameter ? kv::Utf8(kv::Narrow16(ofParameter)) : "value"});
    }
    for (BSTR text : names) SysFreeString(text);
    return operation;
}

Interface ReadInterface(ITypeInfo* info, const TYPEATTR& attributes) {
    const auto [name, help] = TextsOf(info);
    Interface read{
        name, kv::Utf8(kv::GuidText(attributes.guid)), "", help, (attributes.wTypeFlags & TYPEFLAG_FOLEAUTOMATION) != 0,
        {}};
    if (attributes.cImplTypes != 0) read.base = TextsOf(Implemented(info, 0).Get()).name;
    for (UINT i = 0; i < attributes.cFuncs; ++i) read.operations.push_back(ReadOperation(info, i));
    return read;
}

Class ReadClass(ITypeInfo* info, const TYPEATTR& attributes) {
    const auto [name, help] = TextsOf(info);
    Class read{name, kv::Utf8(kv::GuidText(attributes.guid)), help, {}};
    for (UINT i = 0; i < attributes.cImplTypes; ++i) {
        INT flags = 0;
        Check(info->GetImplTypeFlags(i, &flags));
        read.interfaces.insert(flags & IMPLTYPEFLAG_FDEFAULT ? read.interfaces.begin() : read.interfaces.end(),
                               TextsOf(Implemented(info, i).Get()).name);
    }
    return read;
}

Enumeration ReadEnumeration(ITypeInfo* info, const TYPEATTR& attributes) {
    const auto [name, help] = TextsOf(info);
    Enumeration read{name, help, {}};
    for (UINT i = 0; i < attributes.cVars; ++i) {
        const auto variable = VariableOf(info, i);
        read.values.emplace_back(TextsOf(info, variable->memid).name, variable->lpvarValue->lVal);
    }
    return read;
}

Structure ReadStructure(ITypeInfo* info, const TYPEATTR& attributes) {
    const auto [name, help] = TextsOf(info);
    Structure read{name, help, {}};
    for (UINT i = 0; i < attributes.cVars; ++i) {
        const auto variable = VariableOf(info, i);
        read.fields.emplace_back(TypeName(info, variable->elemdescVar.tdesc), TextsOf(info, variable->memid).name);
    }
    return read;
}

/// Whether an interface is one of those of the platform that ours use, which are documented elsewhere.
bool IsOfThePlatform(const GUID& iid) {
    return iid == IID_IStream || iid == IID_ISequentialStream;
}

template <class Item>
void SortByName(std::vector<Item>& items) {
    std::sort(items.begin(), items.end(), [](const Item& left, const Item& right) { return left.name < right.name; });
}

}  // namespace

Library ReadLibrary(const std::u16string& file) {
    const auto types = LibraryOf(file);
    TLIBATTR* attributes = nullptr;
    Check(types->GetLibAttr(&attributes));
    Library library{"movaSystem", kv::Utf8(kv::GuidText(attributes->guid)), {}, {}, {}, {}};
    types->ReleaseTLibAttr(attributes);
    for (const auto& info : TypesOf(types.Get())) {
        const auto type = AttributesOf(info.Get());
        if (type->typekind == TKIND_INTERFACE && !IsOfThePlatform(type->guid))
            library.interfaces.push_back(ReadInterface(info.Get(), *type));
        if (type->typekind == TKIND_COCLASS) library.classes.push_back(ReadClass(info.Get(), *type));
        // The platform's structures have no identifiers.
        if (type->typekind == TKIND_RECORD && type->guid != GUID_NULL)
            library.structures.push_back(ReadStructure(info.Get(), *type));
        if (type->typekind == TKIND_ENUM) library.enumerations.push_back(ReadEnumeration(info.Get(), *type));
    }
    SortByName(library.classes);
    SortByName(library.interfaces);
    SortByName(library.enumerations);
    SortByName(library.structures);
    return library;
}

}  // namespace mova::reference
