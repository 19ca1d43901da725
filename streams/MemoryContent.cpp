#include "streams/MemoryContent.h"

#include <algorithm>
#include <array>
#include <memory>
#include <new>
#include <utility>

#include "kvcore/BlockPool.h"
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
        if (end > Capacity() && !Grow(static_cast<std::size_t>(end), former)) return false;
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

    std::byte* Begin() noexcept { return memory_.Begin() ? memory_.Begin() : first_.data(); }
    std::size_t Capacity() const noexcept { return memory_.Begin() ? memory_.Capacity() : first_.size(); }

    std::size_t size = 0;

 private:
    bool Grow(std::size_t needed, GrowingMemory& former) noexcept {
        const bool leavesFirst = !memory_.Begin();
        if (!memory_.Grow(needed, leavesFirst ? 0 : size, former)) return false;
        if (leavesFirst) std::memcpy(memory_.Begin(), first_.data(), size);
        return true;
    }

    std::array<std::byte, 256> first_;  ///< most streams need no more
    GrowingMemory memory_;              ///< empty while that is enough
    ULONG sharers_ = 1;
};

MemoryContent::~MemoryContent() {
    Take(nullptr);
}

ULONG MemoryContent::ReadBeyond(void* target, ULONG size) noexcept {
    const ULONG came = ReadAt(Position(), target, size);
    if (window_.position) {
        window_.position += came;
    } else {
        position_ += came;
    }
    return came;
}

ULONG MemoryContent::ReadAt(std::uint64_t position, void* target, ULONG size) const noexcept {
    const std::span<const std::byte> bytes = Bytes();
    const std::uint64_t left = position < bytes.size() ? bytes.size() - position : 0;
    const auto came = static_cast<ULONG>(std::min<std::uint64_t>(size, left));
    if (came != 0) std::memcpy(target, bytes.data() + position, came);
    return came;
}

bool MemoryContent::WriteBeyond(const void* source, std::size_t size) noexcept {
    if (size == 0) return true;
    CloseWindow();
    if (!bytes_) bytes_ = MemoryBytes::Make();
    const bool done = bytes_ && bytes_->WriteAt(position_, source, size);
    if (done) position_ += size;
    OpenWindow();
    return done;
}

bool MemoryContent::Replace(std::span<const std::byte> bytes) noexcept {
    auto taken = MemoryBytes::MakeOwned();
    if (!taken || !taken->WriteAt(0, bytes.data(), bytes.size())) return false;
    Take(taken.release());
    return true;
}

bool MemoryContent::Resize(std::uint64_t size) noexcept {
    CloseWindow();
    if (!bytes_) bytes_ = MemoryBytes::Make();
    const bool done = bytes_ && bytes_->Resize(size);
    OpenWindow();
    return done;
}

bool MemoryContent::Share(MemoryContent& other) noexcept {
    CloseWindow();
    if (!bytes_) bytes_ = MemoryBytes::Make();
    if (!bytes_) return false;
    bytes_->AddSharer();
    other.Take(bytes_);
    other.MoveTo(position_);
    return true;
}

FileOutcome MemoryContent::LoadFromFile(std::u16string_view path) {
    File file;
    std::uint64_t size = 0;
    FileOutcome outcome = file.Open(path, movaFileModeRead, FileSharing::OneWriter);
    if (!outcome.Failed()) outcome = file.GetSize(size);
    if (outcome.Failed()) return outcome;
    auto loaded = MemoryBytes::MakeOwned();
    if (!loaded || !loaded->Resize(size)) throw std::bad_alloc();
    std::uint64_t done = 0;
    for (ULONG came = 1; done < size && came != 0; done += came) {
        const auto piece = static_cast<ULONG>(std::min(size - done, filePiece));
        outcome = file.ReadAt(done, loaded->Begin() + done, piece, came);
        if (outcome.Failed()) return outcome;
    }
    loaded->size = static_cast<std::size_t>(done);
    Take(loaded.release());
    return outcome;
}

FileOutcome MemoryContent::SaveToFile(std::u16string_view path) const {
    File file;
    FileOutcome outcome = file.Open(path, movaFileModeCreateAlways, FileSharing::OneWriter);
    const std::span<const std::byte> bytes = Bytes();
    std::size_t done = 0;
    while (!outcome.Failed() && done < bytes.size()) {
        ULONG went = 0;
        const auto piece = static_cast<ULONG>(std::min<std::uint64_t>(bytes.size() - done, filePiece));
        outcome = file.WriteAt(done, bytes.data() + done, piece, went);
        done += went;
    }
    return outcome;
}

std::uint64_t MemoryContent::Position() const noexcept {
    return window_.position ? static_cast<std::uint64_t>(window_.position - bytes_->Begin()) : position_;
}

void MemoryContent::MoveTo(std::uint64_t position) noexcept {
    CloseWindow();
    position_ = position;
    OpenWindow();
}

std::span<std::byte> MemoryContent::Bytes() const noexcept {
    if (!bytes_) return {};
    if (window_.position) return {bytes_->Begin(), window_.readEnd};
    return {bytes_->Begin(), bytes_->size};
}

void MemoryContent::Take(MemoryBytes* bytes) noexcept {
    window_ = {};
    position_ = 0;
    if (MemoryBytes* former = std::exchange(bytes_, bytes)) former->RemoveSharer();
    OpenWindow();
}

void MemoryContent::CloseWindow() noexcept {
    if (!window_.position) return;
    position_ = Position();
    bytes_->size = Bytes().size();
    window_ = {};
}

void MemoryContent::OpenWindow() noexcept {
    if (!bytes_ || !bytes_->Begin() || bytes_->IsShared() || position_ > bytes_->size) return;
    window_ = {bytes_->Begin() + position_, bytes_->Begin() + bytes_->size, bytes_->Begin() + bytes_->Capacity()};
}

}  // namespace mova
