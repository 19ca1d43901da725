#pragma once

#include <movaSystem.h>
#include "kvcore/Ptr.h"
#include "server/Component.h"

namespace mova {

/// Values one after the other in a stream; also the stream that an object persisting by values is handed.
class VariantStreamIO final
    : public Component<VariantStreamIO, ::VariantStreamIO, Generations<IVariantStreamIO, IVariantStream>> {
 public:
    using Component::Component;
    using Component::Make;

    // IVariantStream
    STDMETHODIMP Write(VARIANT value) noexcept override;
    STDMETHODIMP Read(VARIANT* value) noexcept override;
    // IVariantStreamIO
    STDMETHODIMP put_Stream(IStream* stream) noexcept override;
    STDMETHODIMP get_Stream(IStream** stream) noexcept override;

 private:
    kv::Ptr<IStream> stream_;
};

/// The stream of values over a stream of bytes for the length of a call, whoever else keeps it.
class VariantStream {
 public:
    /// @throw std::bad_alloc
    explicit VariantStream(IStream* stream) : io_(kv::Ptr<VariantStreamIO>::Attach(VariantStreamIO::Make())) {
        io_->put_Stream(stream);
    }
    ~VariantStream() { io_->put_Stream(nullptr); }
    VariantStream(const VariantStream&) = delete;
    VariantStream& operator=(const VariantStream&) = delete;

    IVariantStream* Get() const noexcept { return io_.Get(); }

 private:
    kv::Ptr<VariantStreamIO> io_;
};

}  // namespace mova
