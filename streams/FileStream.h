#pragma once

#include "streams/OpenableStream.h"
#include "streams/PlainFile.h"

namespace mova {

/// A stream over a file of which each call goes to the system, which caches.
class FileStream final : public OpenableStream<FileStream, ::FileStream, PlainFile<0>, IFileStream> {
 public:
    using OpenableStream::OpenableStream;

    std::shared_ptr<PlainFile<0>> NewContent() const { return std::make_shared<PlainFile<0>>(); }
};

}  // namespace mova
