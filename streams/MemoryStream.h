#pragma once

#include "streams/ByteStream.h"
#include "streams/MemoryContent.h"

namespace mova {

/// A stream of bytes in memory, for the classes that show them in one way or another.
/// @tparam Main has get_Size, LoadFromFile and SaveToFile, which are written here
template <class Self, class Coclass, class Main, class... Items>
class MemoryStream : public ByteStream<Self, Coclass, Main, Items..., kv::IWindowedStream> {
    using Base = ByteStream<Self, Coclass, Main, Items..., kv::IWindowedStream>;

 public:
    using Base::Base;

    // IStream
    STDMETHODIMP Read(void* target, ULONG size, ULONG* read) noexcept override {
        if (read) *read = 0;
        if (!target) return Base::Refuse(STG_E_INVALIDPOINTER);
        const ULONG came = content_.Read(target, size);
        if (read) *read = came;
        return S_OK;
    }
    STDMETHODIMP Write(const void* source, ULONG size, ULONG* written) noexcept override {
        if (written) *written = 0;
        if (!source) return Base::Refuse(STG_E_INVALIDPOINTER);
        if (!content_.Write(source, size)) return Base::Refuse(E_OUTOFMEMORY);
        if (written) *written = size;
        return S_OK;
    }
    // Main
    STDMETHODIMP get_Size(LONGLONG* size) noexcept override {
        if (!size) return Base::Refuse(E_POINTER);
        *size = static_cast<LONGLONG>(content_.Bytes().size());
        return S_OK;
    }
    STDMETHODIMP LoadFromFile(BSTR fileName) noexcept override try {
        return StatusOf(content_.LoadFromFile(kv::View(fileName)), fileName);
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP SaveToFile(BSTR fileName) noexcept override try {
        return StatusOf(content_.SaveToFile(kv::View(fileName)), fileName);
    } catch (...) {
        return CaughtStatus();
    }
    // IWindowedStream
    kv::ByteWindow* STDMETHODCALLTYPE Window(IUnknown** keeper) noexcept override {
        if (keeper) *keeper = kv::Ptr<IUnknown>(static_cast<IStream*>(this)).Detach();
        return &content_.Window();
    }

    // ByteStream's
    std::uint64_t Position() const noexcept { return content_.Position(); }
    void MoveTo(std::uint64_t position) noexcept { content_.MoveTo(position); }
    HRESULT GetSize(std::uint64_t& size) noexcept {
        size = content_.Bytes().size();
        return S_OK;
    }
    HRESULT Resize(std::uint64_t size) noexcept { return content_.Resize(size) ? S_OK : Base::Refuse(E_OUTOFMEMORY); }
    HRESULT Flush() noexcept { return S_OK; }
    HRESULT MakeClone(kv::Ptr<Self>& clone) {
        clone = kv::Ptr<Self>::Attach(Base::Make());
        return content_.Share(clone->content_) ? S_OK : Base::Refuse(E_OUTOFMEMORY);
    }
    HRESULT CopyBytes(IStream* target, std::uint64_t count, std::uint64_t& read, std::uint64_t& written) {
        const auto readAt = [this](std::uint64_t position, void* piece, ULONG size, ULONG& came) {
            came = content_.ReadAt(position, piece, size);
            return S_OK;
        };
        // Only a stream in memory is known to take the bytes in one step; any other may change them while it takes
        // them.
        const auto windowed = kv::Ptr<IStream>(target).template As<kv::IWindowedStream>();
        if (!windowed || !windowed->Window(nullptr)) return this->CopyPieces(target, count, read, written, readAt);
        constexpr std::uint64_t pieceSize = 1U << 30;
        HRESULT status = S_OK;
        const std::uint64_t from = Position();
        const std::uint64_t size = content_.Bytes().size();
        const std::uint64_t most =
            std::min(count, size > from ? size - from : 0);  // what the target adds is not followed
        while (SUCCEEDED(status) && written < most) {
            const std::byte* const source = content_.Bytes().data() + from + written;  // the target may have moved it
            ULONG went = 0;
            status = target->Write(source, static_cast<ULONG>(std::min(most - written, pieceSize)), &went);
            written += went;
        }
        read = written;
        MoveTo(from + written);
        return status;
    }
    void Describe(STATSTG& stat, bool) { stat.grfMode = STGM_READWRITE; }
    HRESULT RefuseSeek() const noexcept { return Base::Refuse(STG_E_INVALIDFUNCTION); }

 protected:
    MemoryContent content_;

 private:
    HRESULT StatusOf(const FileOutcome& outcome, BSTR fileName) const {
        if (!outcome.Failed()) return S_OK;
        return this->template Refuse<Main>(outcome.status, TextOf(outcome, kv::View(fileName)).c_str());
    }
};

}  // namespace mova
