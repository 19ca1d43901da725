#include "server/Refusal.h"

#include <array>
#include <new>

#include "kvcore/Ptr.h"
#include "server/Module.h"
#include "server/Unknown.h"

namespace mova {
namespace {

constexpr int shortestMessage = 2;

/// A new error-information object with everything but a description; null where there is none to be had.
kv::Ptr<ICreateErrorInfo> NewErrorInfo(const Unknown& reporter, const wchar_t* source, REFIID iid) noexcept {
    kv::Ptr<ICreateErrorInfo> info;
    if (FAILED(CreateErrorInfo(info.Put()))) return {};
    info->SetGUID(iid);
    // The operations take their texts as non-const by an old mistake; they copy them.
    if (const char16_t* file = reporter.HelpFile()) info->SetHelpFile(const_cast<wchar_t*>(kv::Wide(file)));
    info->SetHelpContext(0);
    info->SetSource(const_cast<wchar_t*>(source));
    return info;
}

}  // namespace

HRESULT ReportError(const Unknown& reporter, HRESULT status, UINT messageId, const char16_t* text,
                    REFIID iid) noexcept {
    std::array<wchar_t, 512> loaded;  // longer than any row of the table
    const wchar_t* description = text ? kv::Wide(text) : L"";
    if (!*description) {
        const int length = LoadStringW(ThisModule(), messageId, loaded.data(), static_cast<int>(loaded.size()));
        if (length < shortestMessage) return Refuse(status);
        description = loaded.data();
    }
    std::array<char16_t, 128> source;
    reporter.ErrorSource(status, messageId, text, source);
    const auto info = NewErrorInfo(reporter, kv::Wide(source.data()), iid);
    if (!info) return Refuse(status);
    info->SetDescription(const_cast<wchar_t*>(description));
    SetErrorInfo(0, info.As<IErrorInfo>().Get());
    return status;
}

HRESULT Refuse(HRESULT status) noexcept {
    SetErrorInfo(0, nullptr);
    return status;
}

HRESULT CaughtStatus() noexcept {
    try {
        throw;
    } catch (const std::bad_alloc&) {
        return Refuse(E_OUTOFMEMORY);
    } catch (...) {
        return Refuse(E_FAIL);
    }
}

}  // namespace mova
