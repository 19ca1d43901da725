#pragma once

#include "streams/CompressedFile.h"
#include "streams/OpenableStream.h"

namespace mova {

/// A stream over a file whose content is compressed.
class CompressedFileStream final : public OpenableStream<CompressedFileStream, ::CompressedFileStream, CompressedFile,
                                                         Generations<ICompressedFileStream, IFileStream>> {
 public:
    using OpenableStream::OpenableStream;

    // ICompressedFileStream
    STDMETHODIMP put_CompressionLevel(LONG level) noexcept override;
    STDMETHODIMP get_CompressionLevel(LONG* level) noexcept override;
    STDMETHODIMP get_CompressedSize(LONGLONG* length) noexcept override;

    std::shared_ptr<CompressedFile> NewContent() const { return std::make_shared<CompressedFile>(Level()); }

 private:
    /// Of the open file, which clones may have changed, else of the next.
    int Level() const noexcept { return OpenContent() ? OpenContent()->Level() : nextLevel_; }

    int nextLevel_ = 6;
};

}  // namespace mova
