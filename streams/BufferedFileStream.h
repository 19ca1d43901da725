#pragma once

#include "streams/BufferedFile.h"
#include "streams/OpenableStream.h"

namespace mova {

/// A stream over a file with a buffer of the library's own.
class BufferedFileStream final : public OpenableStream<BufferedFileStream, ::BufferedFileStream, BufferedFile,
                                                       Generations<IBufferedFileStream, IFileStream>> {
 public:
    using OpenableStream::OpenableStream;

    // IBufferedFileStream
    STDMETHODIMP put_BufferSize(LONG byteCount) noexcept override;
    STDMETHODIMP get_BufferSize(LONG* byteCount) noexcept override;

    std::shared_ptr<BufferedFile> NewContent() const { return std::make_shared<BufferedFile>(Capacity()); }

 private:
    /// The size of the present buffer, which clones may have changed, else of the next.
    ULONG Capacity() const noexcept { return OpenContent() ? OpenContent()->Capacity() : nextCapacity_; }

    ULONG nextCapacity_ = 64 * 1024;
};

}  // namespace mova
