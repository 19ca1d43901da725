// The reporting routine and the error object with records.
#include <oledberr.h>

#include <cstring>

#include "kvcore/ErrorRecords.h"
#include "server/Refusal.h"
#include "server/Registration.h"
#include "server/Unknown.h"
#include "tests/windows/Persistence.h"

namespace mova::test {
namespace {

constexpr CLSID probeClass{0x5D0C2A01, 0x6C1B, 0x4E2B, {0x9A, 0x10, 0x3B, 0x52, 0x77, 0x0C, 0x11, 0x01}};
constexpr CLSID probeLookup{0x5D0C2A02, 0x6C1B, 0x4E2B, {0x9A, 0x10, 0x3B, 0x52, 0x77, 0x0C, 0x11, 0x02}};

/// An object that reports failures with a source and a help file of its own.
class Reporter final : public Unknown {
 public:
    Reporter() : Unknown(nullptr) {}
    ~Reporter() override = default;
    const CLSID& ClassId() const noexcept override { return probeClass; }
    std::span<const InterfaceRow> Interfaces() const noexcept override { return {}; }
    HRESULT STDMETHODCALLTYPE NonDelegatingQueryInterface(REFIID, void**) noexcept override { return E_NOINTERFACE; }
    const char16_t* HelpFile() const noexcept override { return u"help.chm"; }
};

/// An error-lookup service; a status of E_ABORT is one that it fails for.
class Lookup final : public Local<IErrorLookup> {
 public:
    STDMETHODIMP GetErrorDescription(HRESULT status, DWORD lookupId, DISPPARAMS* parameters, LCID, BSTR* source,
                                     BSTR* description) noexcept override {
        if (status == E_ABORT) return E_ABORT;
        *source = SysAllocString(L"probe");
        const auto text = std::to_wstring(lookupId) + L" with " + std::to_wstring(parameters->rgvarg[0].lVal) +
                          L" as " + std::to_wstring(parameters->rgdispidNamedArgs[0]);
        *description = SysAllocString(text.c_str());
        return S_OK;
    }
    STDMETHODIMP GetHelpInfo(HRESULT, DWORD, LCID, BSTR* file, DWORD* context) noexcept override {
        *file = SysAllocString(L"probe.chm");
        *context = 42;
        return S_OK;
    }
    STDMETHODIMP ReleaseErrors(const DWORD) noexcept override { return S_OK; }
};

}  // namespace

TEST(ReportError, TakesTheTextElseTheTableElseNothing) {
    const Reporter reporter;
    const struct {
        UINT messageId;
        const char16_t* text;
        const char* description;
    } rows[] = {{0, u"text", "text"},          {1004, u"text", "text"},  {1004, nullptr, "Equal Interval"},
                {1004, u"", "Equal Interval"}, {1001, nullptr, "176"},   {0, u"x", "x"},
                {1002, nullptr, nullptr},      {1005, nullptr, nullptr}, {1010, nullptr, nullptr},
                {0, nullptr, nullptr},         {65535, u"", nullptr}};
    for (const auto& row : rows) {
        ReportError(reporter, E_FAIL, 0, u"earlier", __uuidof(IStorage));
        EXPECT_EQ(ReportError(reporter, E_INVALIDARG, row.messageId, row.text, __uuidof(IClone)), E_INVALIDARG);
        const std::string expected = row.description ? "movaSystem.|" + std::string(row.description) + "|" +
                                                           kv::Utf8(kv::GuidText(__uuidof(IClone)))
                                                     : "";
        EXPECT_EQ(TakeErrorInfo(), expected) << row.messageId;
    }
    ReportError(reporter, E_FAIL, 0, u"text", __uuidof(IClone));
    kv::Ptr<IErrorInfo> info;
    ASSERT_EQ(GetErrorInfo(0, info.Put()), S_OK);
    EXPECT_EQ(AnswerOf(info, &IErrorInfo::GetHelpFile).View(), u"help.chm");
    EXPECT_EQ(AnswerOf(info, &IErrorInfo::GetHelpContext), 0u);
}

TEST(MOVAExtendedErrorInfo, AnswersAsErrorInformation) {
    const auto info = New<IErrorInfo>(u"MOVAExtendedErrorInfo");
    const auto collection = info.As<IErrorCollection>();
    EXPECT_EQ(collection->Describe(Bstr(u"what"), Bstr(u"who")), S_OK);
    EXPECT_EQ(SetErrorInfo(0, info.Get()), S_OK);
    EXPECT_EQ(TakeErrorInfo(), "who|what|{00000000-0000-0000-0000-000000000000}");
    EXPECT_EQ(AnswerOf(info, &IErrorInfo::GetHelpFile).View(), u"");
    EXPECT_EQ(AnswerOf(info, &IErrorInfo::GetHelpContext), 0u);
    for (const HRESULT status : {info->GetGUID(nullptr), info->GetSource(nullptr), info->GetDescription(nullptr),
                                 info->GetHelpFile(nullptr), info->GetHelpContext(nullptr)})
        EXPECT_EQ(status, E_INVALIDARG);
    EXPECT_EQ(collection->Describe(nullptr, nullptr), S_OK);
    EXPECT_EQ(AnswerOf(info, &IErrorInfo::GetDescription).View(), u"");
}

TEST(MOVAExtendedErrorInfo, KeepsRecordsInTheOrderOfAdding) {
    const auto records = New<IErrorRecords>(u"MOVAExtendedErrorInfo");
    const auto collection = records.As<IErrorCollection>();
    const auto custom = New<IPropertySet>(u"PropertySet");
    EXPECT_EQ(AnswerOf(records, &IErrorRecords::GetRecordCount), 0u);
    ERRORINFO basic{E_ACCESSDENIED, 5, CLSID_PropertySet, __uuidof(IClone), 9};
    kv::Variant arguments[2] = {Value(u"text"), Value(3)};
    VARIANT raw[2] = {arguments[0].Get(), arguments[1].Get()};
    DISPID names[1] = {17};
    DISPPARAMS parameters{raw, names, 2, 1};
    EXPECT_EQ(records->AddErrorRecord(&basic, 0, &parameters, custom.Get(), 0), S_OK);
    ERRORINFO second{static_cast<HRESULT>(0x8FFF1234), 0, IID_NULL, IID_NULL, 0};
    EXPECT_EQ(records->AddErrorRecord(&second, 0, nullptr, nullptr, 0), S_OK);

    ERRORINFO read{};
    EXPECT_EQ(records->GetBasicErrorInfo(0, &read), S_OK);
    EXPECT_EQ(std::memcmp(&read, &basic, sizeof read), 0);
    EXPECT_EQ(AnswerOf(records, &IErrorRecords::GetBasicErrorInfo, 1).hrError, second.hrError);
    kv::Ptr<IUnknown> object;
    EXPECT_EQ(
        AnswerOf(records, &IErrorRecords::GetCustomErrorObject, 0, __uuidof(IPropertySet2)).As<IPropertySet>().Get(),
        custom.Get());
    EXPECT_EQ(records->GetCustomErrorObject(0, __uuidof(IStorage), object.Put()), E_NOINTERFACE);
    EXPECT_FALSE(AnswerOf(records, &IErrorRecords::GetCustomErrorObject, 1, __uuidof(IUnknown)));

    DISPPARAMS copied{};
    ASSERT_EQ(records->GetErrorParameters(0, &copied), S_OK);
    ASSERT_EQ(copied.cArgs, 2u);
    ASSERT_EQ(copied.cNamedArgs, 1u);
    EXPECT_EQ(copied.rgdispidNamedArgs[0], 17);
    EXPECT_TRUE(kv::SameValue(copied.rgvarg[0], raw[0]));
    EXPECT_NE(copied.rgvarg[0].bstrVal, raw[0].bstrVal);
    EXPECT_EQ(copied.rgvarg[1].lVal, 3);
    for (UINT i = 0; i < copied.cArgs; ++i) VariantClear(&copied.rgvarg[i]);
    CoTaskMemFree(copied.rgvarg);
    CoTaskMemFree(copied.rgdispidNamedArgs);
    EXPECT_EQ(AnswerOf(records, &IErrorRecords::GetErrorParameters, 1).rgvarg, nullptr);

    kv::Ptr<IErrorInfo> info;
    kv::BString text;
    ASSERT_EQ(records->GetErrorInfo(0, 1033, info.Put()), S_OK);
    SetErrorInfo(0, info.Get());
    const std::string taken = TakeErrorInfo();
    EXPECT_TRUE(taken.starts_with("movaSystem.PropertySet.1|") && taken.size() > 70) << taken;
    LONG status = 0;
    EXPECT_EQ(AnswerOf(collection, &IErrorCollection::get_Count), 2);
    EXPECT_EQ(static_cast<ULONG>(AnswerOf(collection, &IErrorCollection::get_Status, 1)), 0x8FFF1234u);
    EXPECT_EQ(AnswerOf(collection, &IErrorCollection::get_Description, 1).View(), u"0x8FFF1234");

    for (const ULONG outside : {2ul, 0xFFFFFFFFul}) {
        const auto index = static_cast<LONG>(outside);
        for (const HRESULT refused :
             {records->GetBasicErrorInfo(outside, &read), records->GetErrorInfo(outside, 0, info.Put()),
              records->GetCustomErrorObject(outside, __uuidof(IUnknown), object.Put()),
              records->GetErrorParameters(outside, &copied), collection->get_Status(index, &status),
              collection->get_Description(index, text.Put())})
            EXPECT_EQ(refused, DB_E_BADRECORDNUM);
    }
    for (const HRESULT refused :
         {records->GetBasicErrorInfo(0, nullptr), records->GetCustomErrorObject(0, __uuidof(IUnknown), nullptr),
          records->GetErrorInfo(0, 0, nullptr), records->GetErrorParameters(0, nullptr),
          records->GetRecordCount(nullptr), collection->get_Count(nullptr), collection->get_Status(0, nullptr),
          collection->get_Description(0, nullptr)})
        EXPECT_EQ(refused, E_INVALIDARG);

    DISPPARAMS incomplete[] = {{nullptr, nullptr, 1, 0}, {raw, nullptr, 1, 1}, {raw, names, 0, 1}};
    for (auto& bad : incomplete) EXPECT_EQ(records->AddErrorRecord(&basic, 0, &bad, nullptr, 0), E_INVALIDARG);
    raw[0].vt = 0x777;
    EXPECT_EQ(records->AddErrorRecord(&basic, 0, &parameters, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(records->AddErrorRecord(nullptr, 0, nullptr, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(AnswerOf(records, &IErrorRecords::GetRecordCount), 2u) << "a record that is refused is not added";
}

TEST(MOVAExtendedErrorInfo, AsksTheLookupServiceOfTheClass) {
    const ClassEntry table[] = {{.classId = &probeClass, .name = u"ErrorProbe", .errorLookup = &probeLookup}, {}};
    ASSERT_EQ(RegisterClasses(table, u"none.dll"), S_OK);
    const auto records = New<IErrorRecords>(u"MOVAExtendedErrorInfo");
    kv::Variant argument = Value(3);
    VARIANT raw = argument.Get();
    DISPID name = 17;
    DISPPARAMS parameters{&raw, &name, 1, 1};
    for (const HRESULT status : {E_FAIL, E_ABORT}) {
        ERRORINFO basic{status, 0, probeClass, __uuidof(IClone), 0};
        EXPECT_EQ(records->AddErrorRecord(&basic, 23, &parameters, nullptr, 0), S_OK);
    }
    kv::Ptr<IErrorInfo> info;
    EXPECT_EQ(records->GetErrorInfo(0, 0, info.Put()), E_FAIL) << "the service cannot be created yet";
    Lookup lookup;
    const Served served(probeLookup, [&] { return &lookup; });
    ASSERT_EQ(records->GetErrorInfo(0, 0, info.Put()), S_OK);
    EXPECT_EQ(AnswerOf(info, &IErrorInfo::GetHelpContext), 42u);
    EXPECT_EQ(AnswerOf(info, &IErrorInfo::GetHelpFile).View(), u"probe.chm");
    SetErrorInfo(0, info.Get());
    EXPECT_EQ(TakeErrorInfo(), "probe|23 with 3 as 17|" + kv::Utf8(kv::GuidText(__uuidof(IClone))));
    EXPECT_EQ(records->GetErrorInfo(1, 0, info.Put()), E_FAIL);
    EXPECT_FALSE(info);
    EXPECT_EQ(UnregisterClasses(table), S_OK);
}

}  // namespace mova::test
