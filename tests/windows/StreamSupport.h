// What the tests of streams share.
#pragma once

#include <functional>
#include <vector>

#include "kvcore/Stream.h"
#include "tests/windows/Support.h"

namespace mova::test {

/// A folder of its own for a test's files; it goes, with them, at the test's end.
class TemporaryFolder {
 public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// The path of a file of that name.
    std::u16string operator/(std::u16string_view name) const { return path_ + u"\\" + std::u16string(name); }
    const std::u16string& Path() const { return path_; }

 private:
    std::u16string path_;
};

/// A folder of its own for what makes files of relative names.
class WorkingFolder {
 public:
    WorkingFolder() : before_(MAX_PATH, u'\0') {
        before_.resize(GetCurrentDirectoryW(MAX_PATH, kv::Wide(before_.data())));
        EXPECT_TRUE(SetCurrentDirectoryW(kv::Wide(folder_.Path().c_str())));
    }
    ~WorkingFolder() { SetCurrentDirectoryW(kv::Wide(before_.c_str())); }

 private:
    TemporaryFolder folder_;
    std::u16string before_;
};

/// The bytes of a file, as the system reads them.
std::string ReadFileBytes(const std::u16string& path);
void WriteFileBytes(const std::u16string& path, std::string_view bytes);

/// A stream and how it came to its bytes.
struct StreamKind {
    const char* name;
    /// A stream that holds those bytes, its position at the start. The number tells streams of a folder apart.
    std::function<kv::Ptr<IStream>(const TemporaryFolder&, std::string_view content, int number)> make;
    HRESULT nullBuffer = STG_E_INVALIDPOINTER;
};
/// Every stream class of ours, some in several ways.
const std::vector<StreamKind>& StreamKinds();

kv::Ptr<IStream> MemoryStream(std::string_view content);
/// A new stream of a class over a file, opened so. @return null where that failed, with the reason on the thread
template <class I = IFileStream>
kv::Ptr<I> OpenFile(std::u16string_view className, const std::u16string& path, movaFileMode mode) {
    auto stream = New<I>(className);
    return stream->Open(Bstr(path), mode) == S_OK ? stream : kv::Ptr<I>();
}

ULARGE_INTEGER Size(ULONGLONG size);
LARGE_INTEGER Move(LONGLONG move);
/// The position; not a number that one has where that fails.
ULONGLONG PositionOf(IStream* stream);
ULONGLONG SizeOf(IStream* stream);
HRESULT SeekTo(IStream* stream, LONGLONG position);
HRESULT Put(IStream* stream, std::string_view bytes);
/// At most so many bytes from the position on.
std::string Take(IStream* stream, ULONG count);
/// All bytes; the position moves to the end.
std::string ContentOf(IStream* stream);

/// A stream of another maker that is only read: as many bytes a call as a test says, and what a stream can do wrong.
class SourceStream final : public LocalStream {
 public:
    explicit SourceStream(std::string_view text = {}) : bytes(text) {}
    STDMETHODIMP Read(void* target, ULONG count, ULONG* read) noexcept override;
    STDMETHODIMP Stat(STATSTG* target, DWORD) noexcept override {
        *target = {};
        target->cbSize.QuadPart = size;
        return stat;
    }

    std::string_view bytes;  ///< those that have not been read
    ULONG most = ~ULONG{0};  ///< bytes a call
    HRESULT atEnd = S_OK;    ///< the answer to a call that gets fewer than it wants; a failure only where none are left
    HRESULT stat = S_OK;
    ULONGLONG size = 0;                  ///< as it is stated
    std::function<HRESULT(int)> before;  ///< done before each call, which fails as it does; the first one is number 0
    int reads = 0;
};

/// The memory that this process has for itself, in bytes.
std::size_t PrivateBytes();

/// Attributes of another maker that do no more than a test says.
class LocalAttributes : public Local<IXMLAttributes> {
 public:
    STDMETHODIMP get_Count(LONG*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetNamespaceURI(LONG, BSTR*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetLocalName(LONG, BSTR*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetValue(LONG, BSTR*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP AddAttribute(BSTR, BSTR, BSTR) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP SetValue(LONG, BSTR) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP FindAttribute(BSTR, BSTR, LONG*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP Remove(LONG) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP RemoveAll() noexcept override { return E_NOTIMPL; }
};

}  // namespace mova::test
