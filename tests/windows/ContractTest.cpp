// The binary contract as the type library tells it, held against the kept one, so that it cannot move unnoticed.
#include <fstream>
#include <sstream>
#include <vector>

#include "tests/windows/Support.h"

namespace mova::test {
namespace {

std::string NameOf(ITypeInfo* info) {
    kv::BString name;
    info->GetDocumentation(MEMBERID_NIL, name.Put(), nullptr, nullptr, nullptr);
    return kv::Utf8(name.View());
}

std::string TypeText(ITypeInfo* info, const TYPEDESC& type) {
    if (type.vt == VT_PTR) return TypeText(info, *type.lptdesc) + "*";
    if (type.vt != VT_USERDEFINED) return std::to_string(type.vt);
    kv::Ptr<ITypeInfo> referred;
    info->GetRefTypeInfo(type.hreftype, referred.Put());
    return NameOf(referred.Get());
}

/// "slot 7 put Key(in 8)": types by their VARTYPE numbers or their names.
std::string FunctionText(ITypeInfo* info, const FUNCDESC& function) {
    std::ostringstream text;
    kv::BString name;
    UINT count = 0;
    info->GetNames(function.memid, name.Put(), 1, &count);
    const char* kind = function.invkind == INVOKE_PROPERTYPUT   ? "put "
                       : function.invkind == INVOKE_PROPERTYGET ? "get "
                                                                : "";
    text << "    slot " << function.oVft / static_cast<SHORT>(sizeof(void*)) << " id " << std::hex << function.memid
         << std::dec << " " << kind << kv::Utf8(name.View()) << "(";
    for (SHORT i = 0; i < function.cParams; ++i) {
        const ELEMDESC& parameter = function.lprgelemdescParam[i];
        const USHORT flags = parameter.paramdesc.wParamFlags;
        text << (i ? ", " : "") << (flags & PARAMFLAG_FIN ? "in " : "") << (flags & PARAMFLAG_FOUT ? "out " : "")
             << (flags & PARAMFLAG_FRETVAL ? "retval " : "") << TypeText(info, parameter.tdesc);
    }
    text << ") " << TypeText(info, function.elemdescFunc.tdesc) << "\n";
    return text.str();
}

std::string Describe(ITypeInfo* info, const TYPEATTR& attributes) {
    std::ostringstream text;
    const char* kinds[] = {"enum", "record", "module", "interface", "dispinterface", "coclass", "alias", "union"};
    text << kinds[attributes.typekind] << " " << NameOf(info) << " " << kv::Utf8(kv::GuidText(attributes.guid))
         << (attributes.wTypeFlags & TYPEFLAG_FOLEAUTOMATION ? " oleautomation" : "") << "\n";
    for (UINT i = 0; i < attributes.cImplTypes; ++i) {
        HREFTYPE reference = 0;
        INT flags = 0;
        kv::Ptr<ITypeInfo> implemented;
        info->GetRefTypeOfImplType(i, &reference);
        info->GetImplTypeFlags(i, &flags);
        info->GetRefTypeInfo(reference, implemented.Put());
        text << "    " << (flags & IMPLTYPEFLAG_FDEFAULT ? "default " : "") << "of " << NameOf(implemented.Get())
             << "\n";
    }
    for (UINT i = 0; i < attributes.cVars; ++i) {
        VARDESC* variable = nullptr;
        kv::BString name;
        UINT count = 0;
        info->GetVarDesc(i, &variable);
        info->GetNames(variable->memid, name.Put(), 1, &count);
        text << "    " << kv::Utf8(name.View());
        if (variable->varkind == VAR_CONST) text << " = " << variable->lpvarValue->lVal;
        text << "\n";
        info->ReleaseVarDesc(variable);
    }
    for (UINT i = 0; i < attributes.cFuncs; ++i) {
        FUNCDESC* function = nullptr;
        info->GetFuncDesc(i, &function);
        text << FunctionText(info, *function);
        info->ReleaseFuncDesc(function);
    }
    return text.str();
}

/// Whether an interface is one of the platform's that ours use: these are documented elsewhere.
bool IsOfThePlatform(const GUID& iid) {
    return iid == IID_IStream || iid == IID_ISequentialStream;
}

std::string Contract(std::vector<std::string>& withoutHelp) {
    const std::u16string file = BinaryFolder() + u"movaSystem.dll";
    kv::Ptr<ITypeLib> library;
    EXPECT_EQ(LoadTypeLibEx(kv::Wide(file.c_str()), REGKIND_NONE, library.Put()), S_OK);
    std::string text;
    for (UINT i = 0; library && i < library->GetTypeInfoCount(); ++i) {
        kv::Ptr<ITypeInfo> info;
        TYPEATTR* attributes = nullptr;
        library->GetTypeInfo(i, info.Put());
        info->GetTypeAttr(&attributes);
        text += Describe(info.Get(), *attributes);
        const bool documented = attributes->typekind == TKIND_INTERFACE && !IsOfThePlatform(attributes->guid);
        for (UINT f = 0; documented && f < attributes->cFuncs; ++f) {
            FUNCDESC* function = nullptr;
            kv::BString help;
            info->GetFuncDesc(f, &function);
            info->GetDocumentation(function->memid, nullptr, help.Put(), nullptr, nullptr);
            if (help.View().empty() && !IsOfThePlatform(attributes->guid))
                withoutHelp.push_back(NameOf(info.Get()) + " " + FunctionText(info.Get(), *function));
            info->ReleaseFuncDesc(function);
        }
        info->ReleaseTypeAttr(attributes);
    }
    return text;
}

}  // namespace

TEST(Contract, IsTheKeptOneAndDocumentsItself) {
    std::vector<std::string> withoutHelp;
    const std::string contract = Contract(withoutHelp);
    for (const std::string& function : withoutHelp) ADD_FAILURE() << "no help text: " << function;
    if (contract == ReadSource("tests/contract.txt")) return;
    std::ofstream(MOVA_CONTRACT_FOUND, std::ios::binary) << contract;
    FAIL() << "the contract has moved; what was found is in " << MOVA_CONTRACT_FOUND
           << ". If it only grew, it is the new tests/contract.txt.";
}

TEST(Contract, IsWhatTheReferenceManualSays) {
    const auto run = RunProcess(BinaryFolder() + u"mova-reference.exe \"" + BinaryFolder() + u"movaSystem.dll\"");
    EXPECT_EQ(run.status, 0u);
    EXPECT_TRUE(run.output == ReadSource("docs/reference.html")) << "./dev reference writes it anew";
}

}  // namespace mova::test
