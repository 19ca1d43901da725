#pragma once

#include <movaSystem.h>
#include "streams/ByteStream.h"
#include "streams/File.h"

namespace mova {

/// Bytes in memory in one piece, shared by a stream and its clones.
class MemoryBytes;

/// A stream of bytes in memory. While no clone shares them, its state is a window, through which the library's readers
/// and writers go past its operations.
class MemoryBlobStream final : public ByteStream<MemoryBlobStream, ::MemoryBlobStream, IMemoryBlobStream,
                                                 IMemoryBlobBuffer, kv::IWindowedStream> {
 public:
    explicit MemoryBlobStream(IUnknown* outer) noexcept : ByteStream(outer) {}
    ~MemoryBlobStream() override;
    using Component::Make;

    // IStream
    STDMETHODIMP Read(void* target, ULONG size, ULONG* read) noexcept override;
    STDMETHODIMP Write(const void* source, ULONG size, ULONG* written) noexcept override;
    // IMemoryBlobStream
    STDMETHODIMP put_Bytes(VARIANT bytes) noexcept override;
    STDMETHODIMP get_Bytes(VARIANT* bytes) noexcept override;
    STDMETHODIMP get_Size(LONGLONG* size) noexcept override;
    STDMETHODIMP LoadFromFile(BSTR fileName) noexcept override;
    STDMETHODIMP SaveToFile(BSTR fileName) noexcept override;
    // IMemoryBlobBuffer
    STDMETHODIMP GetBuffer(BYTE** bytes, ULONGLONG* size) noexcept override;
    STDMETHODIMP SetBuffer(const BYTE* bytes, ULONG size) noexcept override;
    // IWindowedStream
    kv::ByteWindow* STDMETHODCALLTYPE Window(IUnknown** keeper) noexcept override;

    // ByteStream's
    std::uint64_t Position() const noexcept;
    void MoveTo(std::uint64_t position) noexcept;
    HRESULT GetSize(std::uint64_t& size) noexcept;
    HRESULT Resize(std::uint64_t size) noexcept;
    HRESULT Flush() noexcept { return S_OK; }
    HRESULT MakeClone(kv::Ptr<MemoryBlobStream>& clone);
    HRESULT CopyBytes(IStream* target, std::uint64_t count, std::uint64_t& read, std::uint64_t& written);
    void Describe(STATSTG& stat, bool withName);
    HRESULT RefuseSeek() const noexcept { return Refuse(STG_E_INVALIDFUNCTION); }

 private:
    HRESULT RefuseFile(const FileOutcome& outcome, BSTR fileName) const;
    HRESULT WriteBeyond(const void* source, ULONG size) noexcept;
    std::span<std::byte> Content() const noexcept;
    /// Lets its own bytes go and takes others, from their start.
    void Take(MemoryBytes* bytes) noexcept;
    /// Brings what the window says to the bytes, which are then the truth.
    void CloseWindow() noexcept;
    /// Opens the window where the bytes are this stream's alone and the position is among them.
    void OpenWindow() noexcept;

    kv::ByteWindow window_;
    std::uint64_t position_ = 0;    ///< while the window is closed
    MemoryBytes* bytes_ = nullptr;  ///< made when the first byte is written
};

}  // namespace mova
