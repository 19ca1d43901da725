#pragma once

#include "streams/OpenableStream.h"
#include "streams/PlainFile.h"

namespace mova {

/// A stream over a file whose writing goes through to the disk.
class UnbufferedFileStream final : public OpenableStream<UnbufferedFileStream, ::UnbufferedFileStream,
                                                         PlainFile<FILE_FLAG_WRITE_THROUGH>, IFileStream> {
 public:
    using OpenableStream::OpenableStream;

    std::shared_ptr<PlainFile<FILE_FLAG_WRITE_THROUGH>> NewContent() const {
        return std::make_shared<PlainFile<FILE_FLAG_WRITE_THROUGH>>();
    }
};

}  // namespace mova
