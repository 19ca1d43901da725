// The binary contract as the type library tells it, held against the kept one, so that it cannot move unnoticed.
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <vector>

#include "tests/windows/Support.h"
#include "tools/reference/StatusCodes.h"

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
        if (variable->varkind == VAR_PERINSTANCE)
            text << " at " << variable->oInst << " " << TypeText(info, variable->elemdescVar.tdesc);
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

bool HasHelp(ITypeInfo* info, MEMBERID member) {
    kv::BString help;
    info->GetDocumentation(member, nullptr, help.Put(), nullptr, nullptr);
    return !help.View().empty();
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
        const TYPEKIND kind = attributes->typekind;
        const bool isOurs = kind == TKIND_INTERFACE && !IsOfThePlatform(attributes->guid);
        if ((isOurs || kind == TKIND_COCLASS || kind == TKIND_ENUM) && !HasHelp(info.Get(), MEMBERID_NIL))
            withoutHelp.push_back(NameOf(info.Get()));
        for (UINT f = 0; isOurs && f < attributes->cFuncs; ++f) {
            FUNCDESC* function = nullptr;
            info->GetFuncDesc(f, &function);
            if (!HasHelp(info.Get(), function->memid))
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
    for (const std::string& name : withoutHelp) ADD_FAILURE() << "no help text: " << name;
    if (contract == ReadSource("tests/contract.txt")) return;
    std::ofstream(MOVA_CONTRACT_FOUND, std::ios::binary) << contract;
    FAIL() << "the contract has moved; what was found is in " << MOVA_CONTRACT_FOUND
           << ". If it only grew, it is the new tests/contract.txt.";
}

TEST(Contract, HasEveryStatusCode) {
    std::set<std::string> known{"E_NOTIMPL"};  // of streams of other makers; nobody is answered it
    for (const auto& code : reference::statusCodes) EXPECT_TRUE(known.insert(code.name).second) << code.name;
    std::set<std::string> found;
    const std::regex name(
        R"(\b((S|E|STG_[ESI]|(DISP|TYPE|DB|OLE|CLASS|SELFREG|REGDB|CO|RPC|XML)_[ES])_[A-Z0-9_]+|0x8004\w{4})\b)");
    for (const auto& [path, text] : ProductSources())
        for (std::sregex_iterator match(text.begin(), text.end(), name), end; match != end; ++match)
            found.insert(match->str());
    EXPECT_EQ(found, known);
}

TEST(Contract, IsWhatTheReferenceManualSays) {
    const auto run = RunProcess(BinaryFolder() + u"mova-reference.exe \"" + BinaryFolder() + u"movaSystem.dll\"");
    EXPECT_EQ(run.status, 0u);
    EXPECT_TRUE(run.output == ReadSource("docs/reference.html")) << "./dev reference writes it anew";
}

}  // namespace mova::test
