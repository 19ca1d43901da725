#pragma once

#include <movaSystem.h>

#include <memory>
#include <vector>

#include "kvcore/BlockPool.h"
#include "streams/ByteStream.h"

namespace mova {

/// Several streams one after the other, seen as one.
class CombinedStream final : public ByteStream<CombinedStream, ::CombinedStream, ICombinedStream> {
 public:
    using ByteStream::ByteStream;

    // ICombinedStream
    STDMETHODIMP Add(IStream* part) noexcept override;
    STDMETHODIMP get_Count(LONG* number) noexcept override;
    STDMETHODIMP get_Stream(LONG index, IStream** part) noexcept override;
    STDMETHODIMP RemoveAll() noexcept override;
    // IStream
    STDMETHODIMP Read(void* target, ULONG size, ULONG* read) noexcept override;
    STDMETHODIMP Write(const void* source, ULONG size, ULONG* written) noexcept override;

    // ByteStream's
    std::uint64_t Position() const noexcept { return position_; }
    void MoveTo(std::uint64_t position) noexcept { position_ = position; }
    HRESULT GetSize(std::uint64_t& size) noexcept;
    HRESULT Resize(std::uint64_t size) noexcept;
    HRESULT Flush() noexcept;
    HRESULT MakeClone(kv::Ptr<CombinedStream>& clone);
    HRESULT CopyBytes(IStream* target, std::uint64_t count, std::uint64_t& read, std::uint64_t& written);
    void Describe(STATSTG& stat, bool withName) noexcept;
    HRESULT RefuseSeek() const noexcept { return Refuse(STG_E_INVALIDFUNCTION); }

 private:
    struct Part {
        kv::Ptr<IStream> stream;
        std::uint64_t start;  ///< where it begins in the whole
    };
    /// What clones share.
    struct Parts {
        std::vector<Part> list;
        bool busy = false;  ///< while a part works: it must not come back to the list that it is in
    };
    /// Bytes of one part.
    struct Piece {
        IStream* stream;  ///< null where there is no part
        std::uint64_t offset;
        ULONG size;
        bool isLast;  ///< whether it is of the last part
    };

    Piece PieceAt(std::uint64_t position, ULONG size) const noexcept;
    /// Lets a part do something. @return STG_E_INUSE where that part, or another one, is at work
    template <class Operation>
    HRESULT Use(Operation operation) const noexcept;
    HRESULT SizeOf(IStream* part, std::uint64_t& size) const noexcept;
    HRESULT ReadAt(std::uint64_t position, void* target, ULONG size, ULONG& read) const noexcept;
    HRESULT WriteAt(std::uint64_t position, const void* source, ULONG size, ULONG& written) const noexcept;
    HRESULT RefuseWithoutPart() const noexcept {
        return Refuse<ICombinedStream>(E_FAIL, u"The combined stream has no part that could grow.");
    }

    std::shared_ptr<Parts> parts_ = std::allocate_shared<Parts>(kv::BlockAllocator<Parts>());
    std::uint64_t position_ = 0;
};

}  // namespace mova
