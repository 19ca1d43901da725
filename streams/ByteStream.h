#pragma once

#include <objidl.h>

#include <algorithm>
#include <limits>
#include <memory>

#include "kvcore/BString.h"
#include "kvcore/Stream.h"
#include "server/Component.h"

namespace mova {

/// What the stream classes have in common: a stream over bytes that its class keeps. A class says with these how, all
/// of them noexcept:
///
///     std::uint64_t Position() const;  void MoveTo(std::uint64_t position);  // may be behind the end
///     HRESULT GetSize(std::uint64_t& size);
///     HRESULT Resize(std::uint64_t size);                  // what is added is zero
///     HRESULT Flush();
///     HRESULT MakeClone(kv::Ptr<Self>& clone);             // another position in the same bytes; may throw
///     HRESULT CopyBytes(IStream* target, std::uint64_t count, std::uint64_t& read, std::uint64_t& written);
///     void Describe(STATSTG& stat, bool withName);         // what it knows beside type and size; may throw
///     HRESULT RefuseSeek();                                // with the text that the class has for it
///
/// and with Read and Write of IStream.
template <class Self, class Coclass, class... Items>
class ByteStream : public Component<Self, Coclass, Items..., Generations<IStream, ISequentialStream>> {
    using Base = Component<Self, Coclass, Items..., Generations<IStream, ISequentialStream>>;

 public:
    using Base::Base;

    // IStream; reading beyond the end answers S_OK and a smaller count
    STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) noexcept override {
        std::uint64_t from = 0;
        if (origin == STREAM_SEEK_CUR) {
            from = Me().Position();
        } else if (origin == STREAM_SEEK_END) {
            if (HRESULT status = Me().GetSize(from); FAILED(status)) return status;
        } else if (origin != STREAM_SEEK_SET) {
            return Me().RefuseSeek();
        }
        const std::uint64_t to = from + static_cast<std::uint64_t>(move.QuadPart);
        if (to > static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()) ||
            (move.QuadPart < 0 && origin == STREAM_SEEK_SET))
            return Me().RefuseSeek();
        Me().MoveTo(to);
        if (position) position->QuadPart = to;
        return S_OK;
    }
    STDMETHODIMP SetSize(ULARGE_INTEGER size) noexcept override { return Me().Resize(size.QuadPart); }
    STDMETHODIMP CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                        ULARGE_INTEGER* written) noexcept override try {
        if (read) read->QuadPart = 0;
        if (written) written->QuadPart = 0;
        if (!target) return Base::Refuse(STG_E_INVALIDPOINTER);
        std::uint64_t came = 0;
        std::uint64_t went = 0;
        const HRESULT status = Me().CopyBytes(target, count.QuadPart, came, went);
        if (read) read->QuadPart = came;
        if (written) written->QuadPart = went;
        return status;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP Commit(DWORD) noexcept override { return Me().Flush(); }
    STDMETHODIMP Revert() noexcept override { return S_OK; }  // what is written is written at once
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override {
        return Base::Refuse(STG_E_INVALIDFUNCTION);
    }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override {
        return Base::Refuse(STG_E_INVALIDFUNCTION);
    }
    STDMETHODIMP Stat(STATSTG* stat, DWORD flags) noexcept override try {
        if (!stat) return Base::Refuse(STG_E_INVALIDPOINTER);
        *stat = {};
        std::uint64_t size = 0;
        if (HRESULT status = Me().GetSize(size); FAILED(status)) return status;
        STATSTG known{};
        known.type = STGTY_STREAM;
        known.cbSize.QuadPart = size;
        Me().Describe(known, (flags & STATFLAG_NONAME) == 0);
        *stat = known;
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP Clone(IStream** clone) noexcept override try {
        if (!clone) return Base::Refuse(STG_E_INVALIDPOINTER);
        *clone = nullptr;
        kv::Ptr<Self> made;
        if (HRESULT status = Me().MakeClone(made); FAILED(status)) return status;
        *clone = made.Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }

 protected:
    /// CopyBytes piece by piece, for bytes that are not in memory. Bytes that the target adds to these very bytes are
    /// not followed.
    /// @param readAt HRESULT(std::uint64_t position, void* target, ULONG size, ULONG& read) @throw std::bad_alloc
    template <class ReadAt>
    HRESULT CopyPieces(IStream* target, std::uint64_t count, std::uint64_t& read, std::uint64_t& written,
                       ReadAt readAt) {
        constexpr std::uint64_t pieceSize = 64 * 1024;
        std::uint64_t size = 0;
        if (HRESULT status = Me().GetSize(size); FAILED(status)) return status;
        const std::uint64_t from = Me().Position();
        const std::uint64_t most = std::min(count, size > from ? size - from : 0);
        const auto buffer = std::make_unique_for_overwrite<std::byte[]>(std::min(most, pieceSize));
        HRESULT status = S_OK;
        while (SUCCEEDED(status) && written < most) {
            ULONG came = 0;
            const auto wanted = static_cast<ULONG>(std::min(most - written, pieceSize));
            if (status = readAt(from + written, buffer.get(), wanted, came); came == 0) break;
            std::size_t went = 0;
            const HRESULT writing = kv::KvStreamWrite(target, buffer.get(), came, &went);
            written += went;
            if (SUCCEEDED(status)) status = writing;
        }
        read = written;
        Me().MoveTo(from + written);
        return status;
    }

 private:
    Self& Me() noexcept { return static_cast<Self&>(*this); }
};

}  // namespace mova
