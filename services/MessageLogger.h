#pragma once

#include <deque>

#include <movaSystem.h>
#include "kvcore/BString.h"
#include "server/Component.h"

namespace mova {

/// A thread's log: the latest messages in memory, the oldest dropped beyond a capacity.
class MessageLogger final : public Component<MessageLogger, ::MessageLogger, IMessageLogger> {
 public:
    using Component::Component;

    // IMessageLogger
    STDMETHODIMP put_Threshold(movaMessageSeverity threshold) noexcept override;
    STDMETHODIMP get_Threshold(movaMessageSeverity* threshold) noexcept override;
    STDMETHODIMP put_Capacity(LONG capacity) noexcept override;
    STDMETHODIMP get_Capacity(LONG* capacity) noexcept override;
    STDMETHODIMP get_Count(LONG* count) noexcept override;
    STDMETHODIMP get_DroppedCount(LONG* count) noexcept override;
    STDMETHODIMP Log(movaMessageSeverity severity, BSTR source, BSTR text) noexcept override;
    STDMETHODIMP LogErrorInfo(LONG status) noexcept override;
    STDMETHODIMP Read(LONG index, movaMessageSeverity* severity, DATE* time, BSTR* source,
                      BSTR* text) noexcept override;
    STDMETHODIMP Clear() noexcept override;

 private:
    struct Message {
        movaMessageSeverity severity;
        DATE time;
        kv::BString source, text;
    };

    void Add(Message message);
    void DropBeyond(std::size_t capacity) noexcept;

    movaMessageSeverity threshold_ = movaMessageInformation;
    LONG capacity_ = 1000;
    LONG dropped_ = 0;
    std::deque<Message> messages_;
};

}  // namespace mova
