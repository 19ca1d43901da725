#include "server/MOVAExtendedErrorInfo.h"

#include <oledberr.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

#include "kvcore/Guid.h"
#include "kvcore/RegistryKey.h"
#include "kvcore/Status.h"
#include "kvcore/SystemText.h"

namespace mova {
namespace {

/// The lookup service that a class has registered for its error records; the empty identifier for none.
CLSID LookupServiceOf(const CLSID& classId) {
    const std::u16string path = u"CLSID\\" + kv::GuidText(classId) + u"\\ExtendedErrors";
    CLSID service{};
    const auto key = kv::RegistryKey::Open(HKEY_CLASSES_ROOT, path);
    if (!key || FAILED(CLSIDFromString(kv::Wide(key.SubkeyName(0).c_str()), &service))) return CLSID{};
    return service;
}

kv::BString ProgIdOf(const CLSID& classId) {
    wchar_t* text = nullptr;
    if (FAILED(ProgIDFromCLSID(classId, &text))) return {};
    const std::unique_ptr<wchar_t, decltype(&CoTaskMemFree)> owned(text, &CoTaskMemFree);
    return kv::BString(std::u16string_view(kv::Narrow16(text)));
}

}  // namespace

MOVAExtendedErrorInfo::MOVAExtendedErrorInfo(IUnknown* outer) : Component(outer) {
    if (kv::Succeeded(CreateErrorInfo(writer_.Put()))) inner_ = writer_.As<IErrorInfo>();
    if (!inner_) throw std::runtime_error("CreateErrorInfo");
    writer_->SetGUID(GUID_NULL);  // not every platform begins with an empty one
}

STDMETHODIMP MOVAExtendedErrorInfo::GetGUID(GUID* id) noexcept {
    return id ? inner_->GetGUID(id) : Refuse(E_INVALIDARG);
}
STDMETHODIMP MOVAExtendedErrorInfo::GetSource(BSTR* source) noexcept {
    return source ? inner_->GetSource(source) : Refuse(E_INVALIDARG);
}
STDMETHODIMP MOVAExtendedErrorInfo::GetDescription(BSTR* description) noexcept {
    return description ? inner_->GetDescription(description) : Refuse(E_INVALIDARG);
}
STDMETHODIMP MOVAExtendedErrorInfo::GetHelpFile(BSTR* file) noexcept {
    return file ? inner_->GetHelpFile(file) : Refuse(E_INVALIDARG);
}
STDMETHODIMP MOVAExtendedErrorInfo::GetHelpContext(DWORD* context) noexcept {
    return context ? inner_->GetHelpContext(context) : Refuse(E_INVALIDARG);
}

STDMETHODIMP MOVAExtendedErrorInfo::AddErrorRecord(ERRORINFO* basic, DWORD lookupId, DISPPARAMS* parameters,
                                                   IUnknown* custom, DWORD) noexcept try {
    if (!basic || (parameters && !kv::IsComplete(*parameters))) return Refuse(E_INVALIDARG);
    auto record = std::make_unique<Record>(
        Record{*basic, lookupId, LookupServiceOf(basic->clsid), {}, {}, kv::Ptr<IUnknown>(custom)});
    if (parameters) {
        record->arguments.resize(parameters->cArgs);
        for (UINT i = 0; i < parameters->cArgs; ++i)
            if (HRESULT status = record->arguments[i].Assign(parameters->rgvarg[i]); FAILED(status))
                return Refuse(status);
        record->argumentNames.assign(parameters->rgdispidNamedArgs,
                                     parameters->rgdispidNamedArgs + parameters->cNamedArgs);
    }
    records_.push_back(std::move(record));
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP MOVAExtendedErrorInfo::GetBasicErrorInfo(ULONG index, ERRORINFO* basic) noexcept {
    if (!basic) return Refuse(E_INVALIDARG);
    const Record* record = Find(index);
    if (!record) return Refuse(DB_E_BADRECORDNUM);
    *basic = record->basic;
    return S_OK;
}

STDMETHODIMP MOVAExtendedErrorInfo::GetCustomErrorObject(ULONG index, REFIID iid, IUnknown** custom) noexcept {
    if (!custom) return Refuse(E_INVALIDARG);
    *custom = nullptr;
    if (kv::IsNull(&iid)) return Refuse(E_INVALIDARG);
    const Record* record = Find(index);
    if (!record) return Refuse(DB_E_BADRECORDNUM);
    return record->custom ? record->custom->QueryInterface(iid, reinterpret_cast<void**>(custom)) : S_OK;
}

STDMETHODIMP MOVAExtendedErrorInfo::GetErrorInfo(ULONG index, LCID locale, IErrorInfo** info) noexcept try {
    if (!info) return Refuse(E_INVALIDARG);
    *info = nullptr;
    const Record* record = Find(index);
    if (!record) return Refuse(DB_E_BADRECORDNUM);
    Text text;
    if (HRESULT status = LookUp(*record, locale, text); FAILED(status)) return Refuse(status);
    kv::Ptr<ICreateErrorInfo> made;
    if (HRESULT status = CreateErrorInfo(made.Put()); FAILED(status)) return Refuse(status);
    made->SetGUID(record->basic.iid);
    made->SetSource(text.source.Get());
    made->SetDescription(text.description.Get());
    made->SetHelpFile(text.helpFile.Get());
    made->SetHelpContext(text.helpContext);
    *info = made.As<IErrorInfo>().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP MOVAExtendedErrorInfo::GetErrorParameters(ULONG index, DISPPARAMS* parameters) noexcept {
    if (!parameters) return Refuse(E_INVALIDARG);
    *parameters = DISPPARAMS{};
    const Record* record = Find(index);
    if (!record) return Refuse(DB_E_BADRECORDNUM);
    const std::size_t count = record->arguments.size();
    const std::size_t named = record->argumentNames.size();
    if (count == 0) return S_OK;
    auto* values = static_cast<VARIANT*>(CoTaskMemAlloc(count * sizeof(VARIANT)));
    auto* names = named != 0 ? static_cast<DISPID*>(CoTaskMemAlloc(named * sizeof(DISPID))) : nullptr;
    std::size_t copied = 0;
    while (values && copied < count && SUCCEEDED(record->arguments[copied].CopyTo(values + copied))) ++copied;
    if (copied < count || (named != 0 && !names)) {
        std::for_each(values, values + copied, [](VARIANT& value) { VariantClear(&value); });
        CoTaskMemFree(values);
        CoTaskMemFree(names);
        return Refuse(E_OUTOFMEMORY);
    }
    std::copy(record->argumentNames.begin(), record->argumentNames.end(), names);
    *parameters = {values, names, static_cast<UINT>(count), static_cast<UINT>(named)};
    return S_OK;
}

STDMETHODIMP MOVAExtendedErrorInfo::GetRecordCount(ULONG* count) noexcept {
    if (!count) return Refuse(E_INVALIDARG);
    *count = static_cast<ULONG>(records_.size());
    return S_OK;
}

STDMETHODIMP MOVAExtendedErrorInfo::get_Count(LONG* count) noexcept {
    if (!count) return Refuse(E_INVALIDARG);
    *count = static_cast<LONG>(records_.size());
    return S_OK;
}

STDMETHODIMP MOVAExtendedErrorInfo::get_Status(LONG index, LONG* status) noexcept {
    if (!status) return Refuse(E_INVALIDARG);
    const Record* record = Find(static_cast<ULONG>(index));
    if (!record) return Refuse(DB_E_BADRECORDNUM);
    *status = record->basic.hrError;
    return S_OK;
}

STDMETHODIMP MOVAExtendedErrorInfo::get_Description(LONG index, BSTR* description) noexcept try {
    if (!description) return Refuse(E_INVALIDARG);
    *description = nullptr;
    const Record* record = Find(static_cast<ULONG>(index));
    if (!record) return Refuse(DB_E_BADRECORDNUM);
    Text text;
    if (HRESULT status = LookUp(*record, LOCALE_USER_DEFAULT, text); FAILED(status)) return Refuse(status);
    *description = text.description.Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP MOVAExtendedErrorInfo::Describe(BSTR description, BSTR source) noexcept {
    if (HRESULT status = writer_->SetDescription(description); FAILED(status)) return Refuse(status);
    if (HRESULT status = writer_->SetSource(source); FAILED(status)) return Refuse(status);
    return S_OK;
}

HRESULT MOVAExtendedErrorInfo::LookUp(const Record& record, LCID locale, Text& text) {
    if (record.lookupService == CLSID{}) {
        text.source = ProgIdOf(record.basic.clsid);
        text.description = kv::SystemText(record.basic.hrError, locale);
        return S_OK;
    }
    kv::Ptr<IErrorLookup> service;
    if (FAILED(kv::Create(record.lookupService, service, kv::anyServer))) return E_FAIL;
    // The service reads the parameters; the structure's pointers are non-const by an old mistake.
    DISPPARAMS parameters{};
    std::vector<VARIANT> arguments;
    for (const auto& argument : record.arguments) arguments.push_back(argument.Get());
    std::vector<DISPID> names = record.argumentNames;
    parameters = {arguments.data(), names.data(), static_cast<UINT>(arguments.size()), static_cast<UINT>(names.size())};
    if (FAILED(service->GetErrorDescription(record.basic.hrError, record.lookupId, &parameters, locale,
                                            text.source.Put(), text.description.Put())))
        return E_FAIL;
    if (FAILED(service->GetHelpInfo(record.basic.hrError, record.lookupId, locale, text.helpFile.Put(),
                                    &text.helpContext)))
        text.helpContext = 0;  // a text without a help page is still the text
    return S_OK;
}

}  // namespace mova
