#include "tools/reference/TypeInfo.h"

#include <stdexcept>

#include "kvcore/BString.h"
#include "kvcore/Utf.h"

namespace mova::reference {

void Check(HRESULT status) {
    if (FAILED(status)) throw std::runtime_error("the type library cannot be read");
}

Held<TYPEATTR> AttributesOf(ITypeInfo* info) {
    TYPEATTR* attributes = nullptr;
    Check(info->GetTypeAttr(&attributes));
    return {info, attributes, &ITypeInfo::ReleaseTypeAttr};
}

Held<FUNCDESC> FunctionOf(ITypeInfo* info, UINT index) {
    FUNCDESC* function = nullptr;
    Check(info->GetFuncDesc(index, &function));
    return {info, function, &ITypeInfo::ReleaseFuncDesc};
}

Held<VARDESC> VariableOf(ITypeInfo* info, UINT index) {
    VARDESC* variable = nullptr;
    Check(info->GetVarDesc(index, &variable));
    return {info, variable, &ITypeInfo::ReleaseVarDesc};
}

Texts TextsOf(ITypeInfo* info, MEMBERID member) {
    kv::BString name, help;
    Check(info->GetDocumentation(member, name.Put(), help.Put(), nullptr, nullptr));
    return {kv::Utf8(name.View()), kv::Utf8(help.View())};
}

kv::Ptr<ITypeInfo> Referred(ITypeInfo* info, HREFTYPE reference) {
    kv::Ptr<ITypeInfo> referred;
    Check(info->GetRefTypeInfo(reference, referred.Put()));
    return referred;
}

kv::Ptr<ITypeInfo> Implemented(ITypeInfo* info, UINT index) {
    HREFTYPE reference = 0;
    Check(info->GetRefTypeOfImplType(index, &reference));
    return Referred(info, reference);
}

bool IsForAutomation(const TYPEATTR& attributes) {
    return attributes.typekind == TKIND_INTERFACE && (attributes.wTypeFlags & TYPEFLAG_FOLEAUTOMATION) != 0;
}

kv::Ptr<ITypeLib> LibraryOf(const std::u16string& file) {
    kv::Ptr<ITypeLib> library;
    Check(LoadTypeLibEx(kv::Wide(file.c_str()), REGKIND_NONE, library.Put()));
    return library;
}

std::vector<kv::Ptr<ITypeInfo>> TypesOf(ITypeLib* library) {
    std::vector<kv::Ptr<ITypeInfo>> types(library->GetTypeInfoCount());
    for (UINT i = 0; i < types.size(); ++i) Check(library->GetTypeInfo(i, types[i].Put()));
    return types;
}

}  // namespace mova::reference
