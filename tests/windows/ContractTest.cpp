// The binary contract as the type library tells it, held against the kept one, so that it cannot move unnoticed.
#include <fstream>
#include <regex>
#include <set>
#include <sstream>
#include <vector>

#include "tests/windows/Support.h"
#include "tools/reference/StatusCodes.h"
#include "tools/reference/TypeInfo.h"
#include "tools/reference/TypeReader.h"

namespace mova::test {
namespace {

using namespace reference;

std::string TypeText(ITypeInfo* info, const TYPEDESC& type) {
    if (type.vt == VT_PTR) return TypeText(info, *type.lptdesc) + "*";
    if (type.vt != VT_USERDEFINED) return std::to_string(type.vt);
    return TextsOf(Referred(info, type.hreftype).Get()).name;
}

/// "slot 7 put Key(in 8)": types by their VARTYPE numbers or their names.
std::string FunctionText(ITypeInfo* info, const FUNCDESC& function) {
    std::ostringstream text;
    const char* kind = function.invkind == INVOKE_PROPERTYPUT   ? "put "
                       : function.invkind == INVOKE_PROPERTYGET ? "get "
                                                                : "";
    text << "    slot " << function.oVft / static_cast<SHORT>(sizeof(void*)) << " id " << std::hex << function.memid
         << std::dec << " " << kind << TextsOf(info, function.memid).name << "(";
    for (SHORT i = 0; i < function.cParams; ++i) {
        const ELEMDESC& parameter = function.lprgelemdescParam[i];
        const USHORT flags = parameter.paramdesc.wParamFlags;
        text << (i ? ", " : "") << (flags & PARAMFLAG_FIN ? "in " : "") << (flags & PARAMFLAG_FOUT ? "out " : "")
             << (flags & PARAMFLAG_FRETVAL ? "retval " : "") << TypeText(info, parameter.tdesc);
    }
    text << ") " << TypeText(info, function.elemdescFunc.tdesc) << "\n";
    return text.str();
}

std::string Describe(ITypeInfo* info) {
    std::ostringstream text;
    const auto attributes = AttributesOf(info);
    const char* kinds[] = {"enum", "record", "module", "interface", "dispinterface", "coclass", "alias", "union"};
    text << kinds[attributes->typekind] << " " << TextsOf(info).name << " " << kv::Utf8(kv::GuidText(attributes->guid))
         << (attributes->wTypeFlags & TYPEFLAG_FOLEAUTOMATION ? " oleautomation" : "") << "\n";
    for (UINT i = 0; i < attributes->cImplTypes; ++i) {
        INT flags = 0;
        EXPECT_EQ(info->GetImplTypeFlags(i, &flags), S_OK);
        text << "    " << (flags & IMPLTYPEFLAG_FDEFAULT ? "default " : "") << "of "
             << TextsOf(Implemented(info, i).Get()).name << "\n";
    }
    for (UINT i = 0; i < attributes->cVars; ++i) {
        const auto variable = VariableOf(info, i);
        text << "    " << TextsOf(info, variable->memid).name;
        if (variable->varkind == VAR_CONST) text << " = " << variable->lpvarValue->lVal;
        if (variable->varkind == VAR_PERINSTANCE)
            text << " at " << variable->oInst << " " << TypeText(info, variable->elemdescVar.tdesc);
        text << "\n";
    }
    for (UINT i = 0; i < attributes->cFuncs; ++i) text << FunctionText(info, *FunctionOf(info, i));
    return text.str();
}

}  // namespace

TEST(Contract, IsTheKeptOne) {
    std::string contract;
    for (const auto& type : TypesOf(LibraryOf(LibraryFile()).Get())) contract += Describe(type.Get());
    if (contract == ReadSource("tests/contract.txt")) return;
    std::ofstream(MOVA_CONTRACT_FOUND, std::ios::binary) << contract;
    FAIL() << "the contract has moved; what was found is in " << MOVA_CONTRACT_FOUND
           << ". If it only grew, it is the new tests/contract.txt.";
}

TEST(Contract, DocumentsItself) {
    const auto expectHelp = [](const auto& described) { EXPECT_NE(described.help, "") << described.name; };
    const auto library = ReadLibrary(LibraryFile());
    for (const auto& described : library.classes) expectHelp(described);
    for (const auto& described : library.enumerations) expectHelp(described);
    for (const auto& described : library.interfaces) {
        SCOPED_TRACE(described.name);
        expectHelp(described);
        for (const auto& operation : described.operations) expectHelp(operation);
    }
}

TEST(Contract, HasEveryStatusCode) {
    std::set<std::string> known{"E_NOTIMPL"};  // of streams of other makers; nobody is answered it
    for (const auto& code : statusCodes) EXPECT_TRUE(known.insert(code.name).second) << code.name;
    std::set<std::string> found;
    const std::regex name(
        R"(\b((S|E|STG_[ESI]|(DISP|TYPE|DB|OLE|CLASS|SELFREG|REGDB|CO|RPC|XML)_[ES])_[A-Z0-9_]+|0x8004\w{4})\b)");
    for (const auto& [path, text] : ProductSources())
        for (std::sregex_iterator match(text.begin(), text.end(), name), end; match != end; ++match)
            found.insert(match->str());
    EXPECT_EQ(found, known);
}

TEST(Contract, IsWhatTheReferenceManualSays) {
    const auto run = RunProcess(BinaryFolder() + u"mova-reference.exe \"" + LibraryFile() + u"\"");
    EXPECT_EQ(run.status, 0u);
    EXPECT_TRUE(run.output == ReadSource("docs/reference.html")) << "./dev reference writes it anew";
}

}  // namespace mova::test
