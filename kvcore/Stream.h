// Reading and writing persisted fields through the platform's streams.
#pragma once

#include <objidl.h>

#include <array>
#include <memory>

#include "kvcore/ByteWindow.h"
#include "kvcore/Ptr.h"

struct IObjectStream;

namespace kv {

/// Answered by streams in memory: what a reader or writer needs to go on without a call for each value. Of this module
/// family only; it has no place in a type library.
struct IWindowedStream : IUnknown {
    /// The stream's state, which reading and writing move. All null while the stream has nothing to show, for then its
    /// operations are to be called.
    /// @param keeper receives a reference that keeps the window; may be null where it is used at once.
    /// @return null where there is no window
    virtual ByteWindow* STDMETHODCALLTYPE Window(IUnknown** keeper) noexcept = 0;
};

/// Reads exactly so many bytes, in as many calls as the stream wants.
/// @param read receives how many came, which are fewer at the end of the stream; may be null.
/// @return S_OK, also where fewer came; the stream's failure
HRESULT KvStreamRead(IStream* stream, void* target, std::size_t size, std::size_t* read) noexcept;
/// Writes exactly so many bytes. @param written receives how many were written; may be null.
/// @return S_OK; the stream's failure, STG_E_MEDIUMFULL where it takes no more without saying why
HRESULT KvStreamWrite(IStream* stream, const void* source, std::size_t size, std::size_t* written) noexcept;
/// The same for one value, little-endian.
template <PlainValue T>
HRESULT KvStreamRead(IStream* stream, T& value, std::size_t* read) noexcept {
    return KvStreamRead(stream, &value, sizeof value, read);
}
template <PlainValue T>
HRESULT KvStreamWrite(IStream* stream, const T& value, std::size_t* written) noexcept {
    return KvStreamWrite(stream, &value, sizeof value, written);
}

/// Moves to a position counted from the stream's start.
HRESULT KvStreamSeek(IStream* stream, std::uint64_t position) noexcept;

/// The generation of documents that a stream belongs to where it says none: the newest.
inline constexpr std::int32_t currentDocumentVersion = 100;
/// The generation of documents that a stream carries, by which some classes choose their layout.
std::int32_t KvStreamGetDocumentVersion(IStream* stream) noexcept;

/// The generations of documents before the newest. A document belongs to the latest that is not after its version; one
/// before the first belongs to the first.
inline constexpr std::array<std::int32_t, 7> earlierDocumentVersions{81, 82, 83, 90, 91, 92, 93};

/// Which version of its record a class writes into the documents of each generation.
struct SaveVersions {
    std::int16_t newer;  ///< from currentDocumentVersion on
    std::array<std::int16_t, earlierDocumentVersions.size()> earlier;
};
/// The version of a class's record for the document that a stream carries.
std::int16_t KvStreamGetProSaveVersion(IStream* stream, const SaveVersions& versions) noexcept;

namespace detail {

/// What a reader and a writer have of their stream.
class StreamUser {
 public:
    explicit StreamUser(IStream* stream) noexcept;

    ~StreamUser();

    IStream* Stream() const noexcept { return stream_; }
    /// The window of the stream, else null.
    ByteWindow* Window() const noexcept { return window_; }
    /// The stream as one that objects go through. Where it is none, one over it that lasts as long as this, so that
    /// what is written or read together shares its objects; null, with the status, where that fails.
    IObjectStream* Objects(HRESULT& status) noexcept;

 private:
    IStream* stream_;
    Ptr<IUnknown> windowKeeper_;
    ByteWindow* window_ = nullptr;
    IObjectStream* objects_ = nullptr;
};

}  // namespace detail

/// Reads a persisted object's fields from a stream, which must outlive it.
class StreamReader final : public ByteReader {
 public:
    explicit StreamReader(IStream* stream) noexcept : user_(stream) { Use(user_.Window() ? *user_.Window() : own_); }

    /// Reads a reference to an object, or to none. @param object receives it, or null.
    bool LoadObject(REFIID iid, void** object) noexcept;

    /// S_OK as long as nothing failed; E_FAIL where the stream ended too early or held what it must not; E_OUTOFMEMORY;
    /// the stream's own failure.
    HRESULT Status() const noexcept { return Failed() ? status_ : S_OK; }
    /// Makes the reader one that failed as something did that it read for. @return false
    bool FailWith(HRESULT status) noexcept {
        if (!Failed()) status_ = status, passesOn_ = true;
        return Fail();
    }
    /// Whether the failure is somebody else's, who may have told the reason already.
    bool PassesOn() const noexcept { return Failed() && passesOn_; }
    IStream* Stream() const noexcept { return user_.Stream(); }

 private:
    bool ReadBeyond(void* target, std::size_t size) noexcept override;
    bool HoldsBeyond(std::uint64_t size) noexcept override;

    detail::StreamUser user_;
    ByteWindow own_;  ///< stays empty
    HRESULT status_ = E_FAIL;
    bool passesOn_ = false;
};

/// Writes a persisted object's fields to a stream, which must outlive it. To a stream that is not in memory they go
/// together, when Finish is called or an object saved: whoever writes them need not fear that the stream, which can be
/// of any make, frees them meanwhile.
class StreamWriter final : public ByteWriter {
 public:
    explicit StreamWriter(IStream* stream) noexcept : user_(stream) { Use(user_.Window() ? *user_.Window() : own_); }

    /// Writes a reference to an object, and the object where it is the first.
    bool SaveObject(IUnknown* object) noexcept;

    /// Brings all that was written to the stream; to be called before the stream is used otherwise, and at the end.
    /// @return S_OK, or the first failure
    HRESULT Finish() noexcept;
    /// Makes the writer one that failed. @return false
    bool FailWith(HRESULT status) noexcept {
        if (!Failed()) status_ = status;
        return Fail();
    }
    IStream* Stream() const noexcept { return user_.Stream(); }

 private:
    bool WriteBeyond(const void* source, std::size_t size) noexcept override;
    bool WriteThrough(const void* source, std::size_t size) noexcept;
    bool Flush() noexcept;
    std::byte* Held() noexcept { return larger_ ? larger_.get() : buffer_.data(); }
    std::size_t HeldSize() noexcept { return static_cast<std::size_t>(own_.position - Held()); }

    detail::StreamUser user_;
    std::array<std::byte, 256> buffer_;
    std::unique_ptr<std::byte[]> larger_;  ///< in place of the buffer, once that is too small
    ByteWindow own_{buffer_.data(), buffer_.data(), buffer_.data() + buffer_.size()};
    HRESULT status_ = E_FAIL;
};

}  // namespace kv

__CRT_UUID_DECL(kv::IWindowedStream, 0x2321D918, 0x36EF, 0x4E15, 0xAB, 0xA1, 0xC1, 0x7E, 0xCA, 0x9E, 0x25, 0x94)
