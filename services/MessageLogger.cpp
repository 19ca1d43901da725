#include "services/MessageLogger.h"

#include <limits>

#include "kvcore/Ptr.h"
#include "kvcore/SystemText.h"

namespace mova {
namespace {

constexpr auto noSuchSeverity = u"There is no such severity.";
constexpr LONG greatestCapacity = 1'000'000;

bool IsSeverity(movaMessageSeverity severity) noexcept {
    return severity >= movaMessageDetail && severity <= movaMessageError;
}

/// The present local time to the millisecond.
DATE Now() noexcept {
    SYSTEMTIME now;
    GetLocalTime(&now);
    DATE date = 0;
    SystemTimeToVariantTime(&now, &date);  // whole seconds
    constexpr double millisecondsPerDay = 86'400'000.0;
    return date + now.wMilliseconds / millisecondsPerDay;
}

}  // namespace

STDMETHODIMP MessageLogger::put_Threshold(movaMessageSeverity threshold) noexcept {
    if (!IsSeverity(threshold)) return Refuse<IMessageLogger>(E_INVALIDARG, noSuchSeverity);
    threshold_ = threshold;
    return S_OK;
}

STDMETHODIMP MessageLogger::get_Threshold(movaMessageSeverity* threshold) noexcept {
    if (!threshold) return Refuse(E_POINTER);
    *threshold = threshold_;
    return S_OK;
}

STDMETHODIMP MessageLogger::put_Capacity(LONG capacity) noexcept {
    if (capacity < 1 || capacity > greatestCapacity)
        return Refuse<IMessageLogger>(E_INVALIDARG, u"The capacity must be from 1 to 1,000,000 messages.");
    capacity_ = capacity;
    DropBeyond(static_cast<std::size_t>(capacity));
    return S_OK;
}

STDMETHODIMP MessageLogger::get_Capacity(LONG* capacity) noexcept {
    if (!capacity) return Refuse(E_POINTER);
    *capacity = capacity_;
    return S_OK;
}

STDMETHODIMP MessageLogger::get_Count(LONG* count) noexcept {
    if (!count) return Refuse(E_POINTER);
    *count = static_cast<LONG>(messages_.size());
    return S_OK;
}

STDMETHODIMP MessageLogger::get_DroppedCount(LONG* count) noexcept {
    if (!count) return Refuse(E_POINTER);
    *count = dropped_;
    return S_OK;
}

STDMETHODIMP MessageLogger::Log(movaMessageSeverity severity, BSTR source, BSTR text) noexcept try {
    if (!IsSeverity(severity)) return Refuse<IMessageLogger>(E_INVALIDARG, noSuchSeverity);
    if (severity < threshold_) return S_FALSE;
    Add({severity, Now(), kv::BString(kv::View(source)), kv::BString(kv::View(text))});
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP MessageLogger::LogErrorInfo(LONG status) noexcept try {
    Message message{movaMessageError, Now(), {}, {}};
    kv::Ptr<IErrorInfo> info;
    if (GetErrorInfo(0, info.Put()) == S_OK) {
        SetErrorInfo(0, info.Get());  // reading takes it off the thread
        info->GetSource(message.source.Put());
        info->GetDescription(message.text.Put());
    }
    if (message.text.View().empty()) message.text = kv::SystemText(status, LOCALE_USER_DEFAULT);
    Add(std::move(message));
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP MessageLogger::Read(LONG index, movaMessageSeverity* severity, DATE* time, BSTR* source,
                                 BSTR* text) noexcept try {
    if (severity) *severity = movaMessageDetail;
    if (time) *time = 0;
    if (source) *source = nullptr;
    if (text) *text = nullptr;
    if (!severity || !time || !source || !text) return Refuse(E_POINTER);
    if (index < 0 || static_cast<std::size_t>(index) >= messages_.size())
        return Refuse<IMessageLogger>(E_INVALIDARG, u"The index is outside the log.");
    const Message& message = messages_[static_cast<std::size_t>(index)];
    kv::BString sourceCopy(message.source.View());
    *text = kv::BString(message.text.View()).Detach();
    *source = sourceCopy.Detach();
    *severity = message.severity;
    *time = message.time;
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP MessageLogger::Clear() noexcept {
    messages_.clear();
    dropped_ = 0;
    return S_OK;
}

void MessageLogger::Add(Message message) {
    messages_.push_back(std::move(message));
    DropBeyond(static_cast<std::size_t>(capacity_));
}

void MessageLogger::DropBeyond(std::size_t capacity) noexcept {
    while (messages_.size() > capacity) {
        messages_.pop_front();
        if (dropped_ < std::numeric_limits<LONG>::max()) ++dropped_;
    }
}

}  // namespace mova
