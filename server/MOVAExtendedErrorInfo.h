#pragma once

#include <movaSystem.h>

#include <memory>
#include <vector>

#include "kvcore/ErrorRecords.h"
#include "kvcore/Ptr.h"
#include "kvcore/Variant.h"
#include "server/Component.h"

namespace mova {

/// Error information that carries a list of error records, the first added at index 0.
class MOVAExtendedErrorInfo final
    : public Component<MOVAExtendedErrorInfo, ::MOVAExtendedErrorInfo, IErrorInfo, IErrorRecords, IErrorCollection> {
 public:
    static constexpr const char16_t* reportedName = u"CMOVAExtendedErrorInfo";

    /// @throw std::bad_alloc; another exception where the platform makes no error-information object.
    explicit MOVAExtendedErrorInfo(IUnknown* outer);
    bool ReportsErrors() const noexcept override { return false; }

    // IErrorInfo: the inner object's answers
    STDMETHODIMP GetGUID(GUID* id) noexcept override;
    STDMETHODIMP GetSource(BSTR* source) noexcept override;
    STDMETHODIMP GetDescription(BSTR* description) noexcept override;
    STDMETHODIMP GetHelpFile(BSTR* file) noexcept override;
    STDMETHODIMP GetHelpContext(DWORD* context) noexcept override;
    // IErrorRecords
    STDMETHODIMP AddErrorRecord(ERRORINFO* basic, DWORD lookupId, DISPPARAMS* parameters, IUnknown* custom,
                                DWORD dynamicId) noexcept override;
    STDMETHODIMP GetBasicErrorInfo(ULONG index, ERRORINFO* basic) noexcept override;
    STDMETHODIMP GetCustomErrorObject(ULONG index, REFIID iid, IUnknown** custom) noexcept override;
    STDMETHODIMP GetErrorInfo(ULONG index, LCID locale, IErrorInfo** info) noexcept override;
    STDMETHODIMP GetErrorParameters(ULONG index, DISPPARAMS* parameters) noexcept override;
    STDMETHODIMP GetRecordCount(ULONG* count) noexcept override;
    // IErrorCollection
    STDMETHODIMP get_Count(LONG* count) noexcept override;
    STDMETHODIMP get_Status(LONG index, LONG* status) noexcept override;
    STDMETHODIMP get_Description(LONG index, BSTR* description) noexcept override;
    STDMETHODIMP Describe(BSTR description, BSTR source) noexcept override;

 private:
    struct Record {
        ERRORINFO basic;
        DWORD lookupId;       ///< tells the lookup service which of its texts is meant
        CLSID lookupService;  ///< empty where the class of the record has none
        std::vector<kv::Variant> arguments;
        std::vector<DISPID> argumentNames;
        kv::Ptr<IUnknown> custom;
    };
    struct Text {
        kv::BString source, description, helpFile;
        DWORD helpContext = 0;
    };

    /// The record at an index; null past the last.
    const Record* Find(ULONG index) const noexcept { return index < records_.size() ? records_[index].get() : nullptr; }
    /// The record as text: what its lookup service says, else what the system knows of its status code.
    /// @return E_FAIL where the lookup service fails. @throw std::bad_alloc
    static HRESULT LookUp(const Record& record, LCID locale, Text& text);

    kv::Ptr<ICreateErrorInfo> writer_;  ///< the inner object, through both its interfaces
    kv::Ptr<IErrorInfo> inner_;
    /// Each with an address of its own: a lookup service that is asked for a text may come back and add another.
    std::vector<std::unique_ptr<const Record>> records_;
};

}  // namespace mova
