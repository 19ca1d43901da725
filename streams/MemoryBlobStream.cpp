#include "streams/MemoryBlobStream.h"

#include "kvcore/BlockPool.h"
#include "kvcore/SafeArray.h"
#include "streams/GrowingMemory.h"

namespace mova {
namespace {

constexpr std::uint64_t filePiece = 1U << 30;  // as much as one call of the system is asked for

}  // namespace

class MemoryBytes {
 public:
    static MemoryBytes* Make() noexcept {
        void* block = kv::TakeBlock(sizeof(MemoryBytes));
        return block ? new (block) MemoryBytes : nullptr;
    }
    void AddSharer() noexcept { ++sharers_; }
    void RemoveSharer() noexcept {
        if (--sharers_ != 0) return;
        this->~MemoryBytes();
        kv::GiveBlock(this, sizeof(MemoryBytes));
    }
    struct Remover {
        void operator()(MemoryBytes* bytes) const noexcept { bytes->RemoveSharer(); }
    };
    /// A share of new bytes, which lets go of them.
    static std::unique_ptr<MemoryBytes, Remover> MakeOwned() noexcept {
        return std::unique_ptr<MemoryBytes, Remover>(Make());
    }
    bool IsShared() const noexcept { return sharers_ != 1; }

    /// Writes bytes, which may be its own; what is skipped is zero. @return false where there is no memory.
    bool WriteAt(std::uint64_t position, const void* source, std::size_t sourceSize) noexcept {
        const std::uint64_t end = position + sourceSize;
        GrowingMemory former;  // until the source, which may be in it, was copied
        if (end > memory_.Capacity() && !memory_.Grow(static_cast<std::size_t>(end), size, former)) return false;
        if (position > size) std::memset(Begin() + size, 0, static_cast<std::size_t>(position - size));
        if (sourceSize != 0) std::memmove(Begin() + position, source, sourceSize);
        size = std::max(size, static_cast<std::size_t>(end));
        return true;
    }
    bool Resize(std::uint64_t newSize) noexcept {
        if (newSize > size) return WriteAt(newSize, nullptr, 0);
        size = static_cast<std::size_t>(newSize);
        return true;
    }

    std::byte* Begin() const noexcept { return memory_.Begin(); }
    std::size_t Capacity() const noexcept { return memory_.Capacity(); }

    std::size_t size = 0;

 private:
    GrowingMemory memory_;
    ULONG sharers_ = 1;
};

MemoryBlobStream::~MemoryBlobStream() {
    Take(nullptr);
}

STDMETHODIMP MemoryBlobStream::Read(void* target, ULONG size, ULONG* read) noexcept {
    if (read) *read = 0;
    if (!target) return Refuse(STG_E_INVALIDPOINTER);
    if (size > window_.Readable()) {
        const std::span<std::byte> content = Content();
        const std::uint64_t position = Position();
        size = static_cast<ULONG>(position < content.size() ? std::min<std::uint64_t>(size, content.size() - position)
                                                            : 0);
        if (!window_.position) {
            if (size != 0) std::memcpy(target, content.data() + position, size);
            position_ += size;
            if (read) *read = size;
            return S_OK;
        }
    }
    window_.Get(target, size);
    if (read) *read = size;
    return S_OK;
}

STDMETHODIMP MemoryBlobStream::Write(const void* source, ULONG size, ULONG* written) noexcept {
    if (written) *written = 0;
    if (!source) return Refuse(STG_E_INVALIDPOINTER);
    if (size != 0 && size <= window_.Room()) {  // an empty stream's window has no address to move to
        window_.Put(source, size);
    } else if (HRESULT status = WriteBeyond(source, size); FAILED(status)) {
        return status;
    }
    if (written) *written = size;
    return S_OK;
}

HRESULT MemoryBlobStream::WriteBeyond(const void* source, ULONG size) noexcept {
    if (size == 0) return S_OK;
    CloseWindow();
    if (!bytes_) bytes_ = MemoryBytes::Make();
    const bool done = bytes_ && bytes_->WriteAt(position_, source, size);
    if (done) position_ += size;
    OpenWindow();
    return done ? S_OK : Refuse(E_OUTOFMEMORY);
}

STDMETHODIMP MemoryBlobStream::put_Bytes(VARIANT bytes) noexcept {
    const VARIANT* value = kv::Referred(bytes);
    if (value && value->vt == VT_EMPTY) return SetBuffer(nullptr, 0);
    const auto array = kv::ArrayView::Of(bytes);
    if (!array || array->Type() != VT_UI1 || array->Dimensions() != 1)
        return Refuse<IMemoryBlobStream>(E_INVALIDARG, u"The bytes must be an array of VT_UI1 in one dimension.");
    return SetBuffer(static_cast<const BYTE*>(array->Data()), static_cast<ULONG>(array->Count()));
}

STDMETHODIMP MemoryBlobStream::get_Bytes(VARIANT* bytes) noexcept try {
    if (!bytes) return Refuse(E_POINTER);
    VariantInit(bytes);
    const std::span<std::byte> content = Content();
    if (content.size() > std::numeric_limits<ULONG>::max()) return Refuse(E_OUTOFMEMORY);
    kv::ArrayBuilder copy(VT_UI1, content.size());
    std::copy(content.begin(), content.end(), copy.Elements<std::byte>());
    *bytes = copy.Finish().Detach();
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP MemoryBlobStream::get_Size(LONGLONG* size) noexcept {
    if (!size) return Refuse(E_POINTER);
    *size = static_cast<LONGLONG>(Content().size());
    return S_OK;
}

STDMETHODIMP MemoryBlobStream::LoadFromFile(BSTR fileName) noexcept try {
    File file;
    std::uint64_t size = 0;
    FileOutcome outcome = file.Open(kv::View(fileName), movaFileModeRead, FileSharing::OneWriter);
    if (!outcome.Failed()) outcome = file.GetSize(size);
    if (outcome.Failed()) return RefuseFile(outcome, fileName);
    auto loaded = MemoryBytes::MakeOwned();
    if (!loaded || !loaded->Resize(size)) return Refuse(E_OUTOFMEMORY);
    std::uint64_t done = 0;
    for (ULONG came = 1; done < size && came != 0; done += came) {
        const auto piece = static_cast<ULONG>(std::min(size - done, filePiece));
        outcome = file.ReadAt(done, loaded->Begin() + done, piece, came);
        if (outcome.Failed()) return RefuseFile(outcome, fileName);
    }
    loaded->size = static_cast<std::size_t>(done);
    Take(loaded.release());
    return S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP MemoryBlobStream::SaveToFile(BSTR fileName) noexcept try {
    File file;
    FileOutcome outcome = file.Open(kv::View(fileName), movaFileModeCreateAlways, FileSharing::OneWriter);
    const std::span<const std::byte> content = Content();
    std::size_t done = 0;
    while (!outcome.Failed() && done < content.size()) {
        ULONG went = 0;
        const auto piece = static_cast<ULONG>(std::min<std::uint64_t>(content.size() - done, filePiece));
        outcome = file.WriteAt(done, content.data() + done, piece, went);
        done += went;
    }
    return outcome.Failed() ? RefuseFile(outcome, fileName) : S_OK;
} catch (...) {
    return CaughtStatus();
}

STDMETHODIMP MemoryBlobStream::GetBuffer(BYTE** bytes, ULONGLONG* size) noexcept {
    if (bytes) *bytes = nullptr;
    if (size) *size = 0;
    if (!bytes || !size) return Refuse(E_POINTER);
    const std::span<std::byte> content = Content();
    *bytes = content.empty() ? nullptr : reinterpret_cast<BYTE*>(content.data());
    *size = content.size();
    return S_OK;
}

STDMETHODIMP MemoryBlobStream::SetBuffer(const BYTE* bytes, ULONG size) noexcept {
    if (!bytes && size != 0) return Refuse(E_POINTER);
    auto taken = MemoryBytes::MakeOwned();
    if (!taken || !taken->WriteAt(0, bytes, size)) return Refuse(E_OUTOFMEMORY);
    Take(taken.release());
    return S_OK;
}

HRESULT MemoryBlobStream::RefuseFile(const FileOutcome& outcome, BSTR fileName) const {
    return Refuse<IMemoryBlobStream>(outcome.status, TextOf(outcome, kv::View(fileName)).c_str());
}

kv::ByteWindow* STDMETHODCALLTYPE MemoryBlobStream::Window(IUnknown** keeper) noexcept {
    if (keeper) *keeper = kv::Ptr<IUnknown>(static_cast<IStream*>(this)).Detach();
    return &window_;
}

std::uint64_t MemoryBlobStream::Position() const noexcept {
    return window_.position ? static_cast<std::uint64_t>(window_.position - bytes_->Begin()) : position_;
}

void MemoryBlobStream::MoveTo(std::uint64_t position) noexcept {
    CloseWindow();
    position_ = position;
    OpenWindow();
}

HRESULT MemoryBlobStream::GetSize(std::uint64_t& size) noexcept {
    size = Content().size();
    return S_OK;
}

HRESULT MemoryBlobStream::Resize(std::uint64_t size) noexcept {
    CloseWindow();
    if (!bytes_) bytes_ = MemoryBytes::Make();
    const bool done = bytes_ && bytes_->Resize(size);
    OpenWindow();
    return done ? S_OK : Refuse(E_OUTOFMEMORY);
}

HRESULT MemoryBlobStream::MakeClone(kv::Ptr<MemoryBlobStream>& clone) {
    clone = kv::Ptr<MemoryBlobStream>::Attach(Make());
    CloseWindow();
    if (!bytes_) bytes_ = MemoryBytes::Make();
    if (!bytes_) return Refuse(E_OUTOFMEMORY);
    bytes_->AddSharer();
    clone->bytes_ = bytes_;
    clone->position_ = position_;
    return S_OK;
}

HRESULT MemoryBlobStream::CopyBytes(IStream* target, std::uint64_t count, std::uint64_t& read, std::uint64_t& written) {
    const auto readAt = [this](std::uint64_t position, void* piece, ULONG size, ULONG& came) {
        const std::span<std::byte> content = Content();
        came = position < content.size() ? static_cast<ULONG>(std::min<std::uint64_t>(size, content.size() - position))
                                         : 0;
        if (came != 0) std::memcpy(piece, content.data() + position, came);
        return S_OK;
    };
    // Only a stream in memory is known to take the bytes in one step; any other may change them while it takes them.
    const auto windowed = kv::Ptr<IStream>(target).As<kv::IWindowedStream>();
    if (!windowed || !windowed->Window(nullptr)) return CopyPieces(target, count, read, written, readAt);
    constexpr std::uint64_t pieceSize = 1U << 30;
    HRESULT status = S_OK;
    const std::uint64_t from = Position();
    const std::uint64_t size = Content().size();
    const std::uint64_t most = std::min(count, size > from ? size - from : 0);  // what the target adds is not followed
    while (SUCCEEDED(status) && written < most) {
        const std::byte* const source = Content().data() + from + written;  // the target may have moved it
        ULONG went = 0;
        status = target->Write(source, static_cast<ULONG>(std::min(most - written, pieceSize)), &went);
        written += went;
    }
    read = written;
    MoveTo(from + written);
    return status;
}

void MemoryBlobStream::Describe(STATSTG& stat, bool) {
    stat.grfMode = STGM_READWRITE;
}

std::span<std::byte> MemoryBlobStream::Content() const noexcept {
    if (!bytes_) return {};
    if (window_.position) return {bytes_->Begin(), window_.readEnd};
    return {bytes_->Begin(), bytes_->size};
}

void MemoryBlobStream::Take(MemoryBytes* bytes) noexcept {
    window_ = {};
    position_ = 0;
    if (MemoryBytes* former = std::exchange(bytes_, bytes)) former->RemoveSharer();
    OpenWindow();
}

void MemoryBlobStream::CloseWindow() noexcept {
    if (!window_.position) return;
    position_ = Position();
    bytes_->size = Content().size();
    window_ = {};
}

void MemoryBlobStream::OpenWindow() noexcept {
    if (!bytes_ || !bytes_->Begin() || bytes_->IsShared() || position_ > bytes_->size) return;
    window_ = {bytes_->Begin() + position_, bytes_->Begin() + bytes_->size, bytes_->Begin() + bytes_->Capacity()};
}

}  // namespace mova
