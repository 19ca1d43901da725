#include "streams/CombinedStream.h"

#include <algorithm>
#include <utility>

#include "kvcore/Stack.h"

namespace mova {
namespace {

constexpr std::uint64_t greatestPosition = INT64_MAX;

}  // namespace

STDMETHODIMP CombinedStream::Add(IStream* part) noexcept try {
    if (!part) return Refuse(E_POINTER);
    kv::Ptr<IStream> stream(part);
    if (stream.As<IUnknown>().Get() == Controlling())
        return Refuse<ICombinedStream>(E_INVALIDARG, u"A combined stream cannot be a part of itself.");
    std::uint64_t start = 0;
    if (HRESULT status = GetSize(start); FAILED(status)) return status;
    std::uint64_t size = 0;
    if (HRESULT status = SizeOf(part, size); FAILED(status)) return status;
    if (size > greatestPosition - start)
        return Refuse<ICombinedStream>(E_INVALIDARG, u"The combined stream would be too long.");
    parts_->list.push_back({std::move(stream), start});
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP CombinedStream::get_Count(LONG* number) noexcept {
    if (!number) return Refuse(E_POINTER);
    *number = static_cast<LONG>(parts_->list.size());
    return S_OK;
}

STDMETHODIMP CombinedStream::get_Stream(LONG index, IStream** part) noexcept {
    if (!part) return Refuse(E_POINTER);
    *part = nullptr;
    const auto& list = parts_->list;
    if (index < 0 || static_cast<std::size_t>(index) >= list.size())
        return Refuse<ICombinedStream>(E_INVALIDARG, u"The index is outside the list of parts.");
    *part = kv::Ptr<IStream>(list[static_cast<std::size_t>(index)].stream).Detach();
    return S_OK;
}

STDMETHODIMP CombinedStream::RemoveAll() noexcept {
    if (parts_->busy) return Refuse(STG_E_INUSE);
    // Emptied before the parts are let go of, which may call back.
    const std::vector<Part> removed = std::exchange(parts_->list, {});
    return S_OK;
}

STDMETHODIMP CombinedStream::Read(void* target, ULONG size, ULONG* read) noexcept {
    if (read) *read = 0;
    if (!target) return Refuse(STG_E_INVALIDPOINTER);
    ULONG came = 0;
    const HRESULT status = ReadAt(position_, target, size, came);
    position_ += came;
    if (read) *read = came;
    return status;
}

STDMETHODIMP CombinedStream::Write(const void* source, ULONG size, ULONG* written) noexcept {
    if (written) *written = 0;
    if (!source) return Refuse(STG_E_INVALIDPOINTER);
    if (size > greatestPosition - position_) return Refuse(STG_E_MEDIUMFULL);
    ULONG went = 0;
    const HRESULT status = WriteAt(position_, source, size, went);
    position_ += went;
    if (written) *written = went;
    return status;
}

HRESULT CombinedStream::GetSize(std::uint64_t& size) noexcept {
    if (parts_->busy) return Refuse(STG_E_INUSE);
    size = 0;
    if (parts_->list.empty()) return S_OK;
    const Part last = parts_->list.back();
    std::uint64_t lastSize = 0;
    if (HRESULT status = SizeOf(last.stream.Get(), lastSize); FAILED(status)) return status;
    if (lastSize > greatestPosition - last.start) return Refuse(STG_E_SEEKERROR);
    size = last.start + lastSize;
    return S_OK;
}

HRESULT CombinedStream::Resize(std::uint64_t size) noexcept {
    auto& list = parts_->list;
    if (list.empty()) return size == 0 ? S_OK : RefuseWithoutPart();
    if (size > greatestPosition) return Refuse(STG_E_MEDIUMFULL);
    // From the end, so that wherever a part fails the starts of all are right.
    for (std::size_t i = list.size(); i-- > 0;) {
        const std::uint64_t kept = size > list[i].start ? size - list[i].start : 0;
        const bool isLast = i + 1 == list.size();
        if (isLast || kept < list[i + 1].start - list[i].start) {
            ULARGE_INTEGER newSize;
            newSize.QuadPart = kept;
            const HRESULT status = Use([&] { return list[i].stream->SetSize(newSize); });
            if (FAILED(status)) return status;
            for (std::size_t later = i + 1; later < list.size(); ++later) list[later].start = list[i].start + kept;
        }
        if (size >= list[i].start) break;
    }
    return S_OK;
}

HRESULT CombinedStream::Flush() noexcept {
    HRESULT first = S_OK;
    for (const Part& part : parts_->list) {
        const HRESULT status = Use([&] { return part.stream->Commit(STGC_DEFAULT); });
        if (SUCCEEDED(first)) first = status;
    }
    return first;
}

HRESULT CombinedStream::MakeClone(kv::Ptr<CombinedStream>& clone) {
    clone = kv::Ptr<CombinedStream>::Attach(Make());
    clone->parts_ = parts_;
    clone->position_ = position_;
    return S_OK;
}

HRESULT CombinedStream::CopyBytes(IStream* target, std::uint64_t count, std::uint64_t& read, std::uint64_t& written) {
    return CopyPieces(target, count, read, written,
                      [this](std::uint64_t position, void* piece, ULONG size, ULONG& came) {
                          return ReadAt(position, piece, size, came);
                      });
}

void CombinedStream::Describe(STATSTG& stat, bool) noexcept {
    stat.grfMode = STGM_READWRITE;
}

CombinedStream::Piece CombinedStream::PieceAt(std::uint64_t position, ULONG size) const noexcept {
    const auto& list = parts_->list;
    if (list.empty()) return {};
    const auto next = std::upper_bound(list.begin(), list.end(), position,
                                       [](std::uint64_t sought, const Part& part) { return sought < part.start; });
    const Part& part = *std::prev(next);
    const bool isLast = next == list.end();
    const ULONG inPart = isLast ? size : static_cast<ULONG>(std::min<std::uint64_t>(size, next->start - position));
    return {part.stream.Get(), position - part.start, inPart, isLast};
}

template <class Operation>
HRESULT CombinedStream::Use(Operation operation) const noexcept {
    constexpr std::size_t enoughStack = 32 * 1024;
    if (kv::StackLeft() < enoughStack)
        return Refuse<ICombinedStream>(E_FAIL, u"Too many streams are parts of each other.");
    if (std::exchange(parts_->busy, true)) return Refuse(STG_E_INUSE);
    const HRESULT status = operation();
    parts_->busy = false;
    return status;
}

HRESULT CombinedStream::SizeOf(IStream* part, std::uint64_t& size) const noexcept {
    ULARGE_INTEGER end{};
    const HRESULT status = Use([&] { return part->Seek(LARGE_INTEGER{}, STREAM_SEEK_END, &end); });
    size = end.QuadPart;
    return status;
}

HRESULT CombinedStream::ReadAt(std::uint64_t position, void* target, ULONG size, ULONG& read) const noexcept {
    while (read < size) {
        const Piece piece = PieceAt(position + read, size - read);
        if (!piece.stream) break;
        std::size_t came = 0;
        const HRESULT status = Use([&] {
            const HRESULT sought = kv::KvStreamSeek(piece.stream, piece.offset);
            if (FAILED(sought)) return sought;
            return kv::KvStreamRead(piece.stream, static_cast<std::byte*>(target) + read, piece.size, &came);
        });
        read += static_cast<ULONG>(came);
        if (FAILED(status)) return status;
        if (came == piece.size) continue;
        if (piece.isLast || read != 0) break;
        return Refuse<ICombinedStream>(STG_E_READFAULT,
                                       u"A part holds fewer bytes than it did when the next was added.");
    }
    return S_OK;
}

HRESULT CombinedStream::WriteAt(std::uint64_t position, const void* source, ULONG size, ULONG& written) const noexcept {
    while (written < size) {
        const Piece piece = PieceAt(position + written, size - written);
        if (!piece.stream) return RefuseWithoutPart();
        std::size_t went = 0;
        const HRESULT status = Use([&] {
            const HRESULT sought = kv::KvStreamSeek(piece.stream, piece.offset);
            if (FAILED(sought)) return sought;
            return kv::KvStreamWrite(piece.stream, static_cast<const std::byte*>(source) + written, piece.size, &went);
        });
        written += static_cast<ULONG>(went);
        if (FAILED(status)) return status;
    }
    return S_OK;
}

}  // namespace mova
