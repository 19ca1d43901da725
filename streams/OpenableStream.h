#pragma once

#include <memory>

#include "streams/ByteStream.h"
#include "streams/File.h"

namespace mova {

/// A stream over a file that is opened and closed. What a class does with its file is in its content, which clones
/// share; its operations may throw but for the destructor, which writes what can be written:
///
///     FileOutcome Open(std::u16string_view path, movaFileMode mode);  // once
///     const File& OpenFile() const;
///     FileOutcome ReadAt(std::uint64_t position, void* target, ULONG size, ULONG& read);  // fewer at the end
///     FileOutcome WriteAt(std::uint64_t position, const void* source, ULONG size, ULONG& written);
///     FileOutcome GetSize(std::uint64_t& size);
///     FileOutcome Resize(std::uint64_t size);
///     FileOutcome WriteOut();  // brings what it holds back to the file
///     FileOutcome Commit();    // the same, through to the disk
///
/// The class says how one is made: `std::shared_ptr<Content> NewContent() const`, which may throw.
///
/// @tparam Main the class's interface that is IFileStream, or extends it
template <class Self, class Coclass, class Content, class Main>
class OpenableStream : public ByteStream<Self, Coclass, Main> {
    using Base = ByteStream<Self, Coclass, Main>;

 public:
    using Base::Base;

    // IFileStream
    STDMETHODIMP Open(BSTR fileName, movaFileMode mode) noexcept override try {
        if (!IsFileMode(mode)) return this->template Refuse<IFileStream>(E_INVALIDARG, u"There is no such mode.");
        if (content_) {
            // The former file is written before the new one is touched: only then is it known that it can be left.
            if (const FileOutcome outcome = content_->WriteOut(); outcome.Failed()) return Tell(outcome);
        }
        kv::BString path(kv::View(fileName));
        std::shared_ptr<Content> opened = static_cast<const Self*>(this)->NewContent();
        if (const FileOutcome outcome = opened->Open(path.View(), mode); outcome.Failed())
            return Tell(outcome, path.View());
        content_ = std::move(opened);
        path_ = std::move(path);
        position_ = 0;
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP Close() noexcept override try {
        if (!content_) return Tell(fileNotOpened);
        if (const FileOutcome outcome = content_->WriteOut(); outcome.Failed()) return Tell(outcome);
        content_.reset();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP get_Path(BSTR* fileName) noexcept override try {
        if (!fileName) return Base::Refuse(E_POINTER);
        *fileName = nullptr;
        *fileName = kv::BString(path_.View()).Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP get_IsOpen(VARIANT_BOOL* answer) noexcept override {
        if (!answer) return Base::Refuse(E_POINTER);
        *answer = content_ ? VARIANT_TRUE : VARIANT_FALSE;
        return S_OK;
    }

    // IStream
    STDMETHODIMP Read(void* target, ULONG size, ULONG* read) noexcept override try {
        if (read) *read = 0;
        if (!target) return Base::Refuse(STG_E_INVALIDPOINTER);
        if (!content_) return Tell(fileNotOpened);
        ULONG came = 0;
        const FileOutcome outcome = content_->ReadAt(position_, target, size, came);
        position_ += came;
        if (read) *read = came;
        return Tell(outcome);
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP Write(const void* source, ULONG size, ULONG* written) noexcept override try {
        if (written) *written = 0;
        if (!source) return Base::Refuse(STG_E_INVALIDPOINTER);
        if (const FileOutcome outcome = CanWrite(); outcome.Failed()) return Tell(outcome);
        if (size > greatestFileSize - position_) return Tell(fileFull);
        ULONG went = 0;
        const FileOutcome outcome = content_->WriteAt(position_, source, size, went);
        position_ += went;
        if (written) *written = went;
        return Tell(outcome);
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) noexcept override {
        return content_ ? Base::Seek(move, origin, position) : Tell(fileNotOpened);
    }
    STDMETHODIMP Revert() noexcept override { return content_ ? S_OK : Tell(fileNotOpened); }

    // ByteStream's
    std::uint64_t Position() const noexcept { return position_; }
    void MoveTo(std::uint64_t position) noexcept { position_ = position; }
    HRESULT GetSize(std::uint64_t& size) noexcept {
        return Run([&] { return content_->GetSize(size); });
    }
    HRESULT Resize(std::uint64_t size) noexcept {
        return Run([&] {
            if (const FileOutcome outcome = CanWrite(); outcome.Failed()) return outcome;
            return size > greatestFileSize ? fileFull : content_->Resize(size);
        });
    }
    HRESULT Flush() noexcept {
        return Run([&] { return content_->Commit(); });
    }
    HRESULT MakeClone(kv::Ptr<Self>& clone) {
        if (!content_) return Tell(fileNotOpened);
        kv::BString path(path_.View());
        clone = kv::Ptr<Self>::Attach(Base::Make());
        clone->content_ = content_;
        clone->path_ = std::move(path);
        clone->position_ = position_;
        return S_OK;
    }
    HRESULT CopyBytes(IStream* target, std::uint64_t count, std::uint64_t& read, std::uint64_t& written) {
        const std::shared_ptr<Content> content = content_;  // writing to the target may close this stream
        return Base::CopyPieces(target, count, read, written,
                                [&](std::uint64_t position, void* piece, ULONG size, ULONG& came) {
                                    return Tell(content->ReadAt(position, piece, size, came));
                                });
    }
    void Describe(STATSTG& stat, bool withName) {
        content_->OpenFile().Describe(stat);
        if (!withName) return;
        const std::size_t size = (path_.View().size() + 1) * sizeof(wchar_t);
        stat.pwcsName = static_cast<wchar_t*>(CoTaskMemAlloc(size));
        if (!stat.pwcsName) throw std::bad_alloc();
        std::memcpy(stat.pwcsName, path_.Get(), size);
    }
    HRESULT RefuseSeek() noexcept { return Tell(fileSeekRefused); }

 protected:
    /// Null while nothing is open.
    const std::shared_ptr<Content>& OpenContent() const noexcept { return content_; }
    /// Does something with the open file, else refuses.
    template <class Operation>
    HRESULT Run(Operation operation) noexcept try {
        return Tell(content_ ? operation() : fileNotOpened);
    } catch (...) {
        return CaughtStatus();
    }
    HRESULT Tell(const FileOutcome& outcome) noexcept { return Tell(outcome, path_.View()); }

 private:
    HRESULT Tell(const FileOutcome& outcome, std::u16string_view path) noexcept try {
        if (!outcome.Failed()) return outcome.status;
        return this->template Refuse<IFileStream>(outcome.status, TextOf(outcome, path).c_str());
    } catch (...) {
        return Base::Refuse(outcome.status);
    }
    FileOutcome CanWrite() const noexcept {
        if (!content_) return fileNotOpened;
        return content_->OpenFile().IsWritable() ? FileOutcome{} : fileNotWritable;
    }

    std::shared_ptr<Content> content_;
    kv::BString path_;
    std::uint64_t position_ = 0;
};

}  // namespace mova
