#include "tests/windows/StreamSupport.h"

#include <psapi.h>

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace mova::test {
namespace {

kv::Ptr<IStream> Filled(kv::Ptr<IStream> stream, std::string_view content) {
    EXPECT_EQ(Put(stream.Get(), content), S_OK);
    EXPECT_EQ(SeekTo(stream.Get(), 0), S_OK);
    return stream;
}

kv::Ptr<IStream> OfFile(const char16_t* className, const TemporaryFolder& folder, std::string_view content,
                        int number) {
    const auto path = folder / (u"stream" + kv::Utf16(std::to_string(number)));
    return Filled(OpenFile(className, path, movaFileModeCreateNew).As<IStream>(), content);
}

kv::Ptr<IStream> OfSmallBuffer(const TemporaryFolder& folder, std::string_view content, int number) {
    auto stream = OfFile(u"BufferedFileStream", folder, content, number);
    EXPECT_EQ(stream.As<IBufferedFileStream>()->put_BufferSize(7), S_OK);
    return stream;
}

kv::Ptr<IStream> OfByteSwap(const TemporaryFolder&, std::string_view content, int) {
    const auto stream = New<IByteSwapStreamIO>(u"ByteSwapStreamIO");
    EXPECT_EQ(stream->put_Stream(MemoryStream(content).Get()), S_OK);
    return stream.As<IStream>();
}

/// Four parts, one of them empty and one a file.
kv::Ptr<IStream> OfParts(const TemporaryFolder& folder, std::string_view content, int number) {
    const auto whole = New<ICombinedStream>(u"CombinedStream");
    const std::size_t third = content.size() / 3;
    EXPECT_EQ(whole->Add(MemoryStream(content.substr(0, third)).Get()), S_OK);
    EXPECT_EQ(whole->Add(MemoryStream({}).Get()), S_OK);
    EXPECT_EQ(whole->Add(OfFile(u"FileStream", folder, content.substr(third, third), number).Get()), S_OK);
    EXPECT_EQ(whole->Add(MemoryStream(content.substr(2 * third)).Get()), S_OK);
    return whole.As<IStream>();
}

StreamKind FileKind(const char* name, const char16_t* className) {
    return {name, [=](const TemporaryFolder& folder, std::string_view content, int number) {
                return OfFile(className, folder, content, number);
            }};
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
    std::u16string temporary(MAX_PATH, u'\0');
    temporary.resize(GetTempPathW(MAX_PATH, kv::Wide(temporary.data())));
    GUID unique;
    EXPECT_EQ(CoCreateGuid(&unique), S_OK);
    path_ = temporary + u"mova" + kv::GuidText(unique);
    EXPECT_TRUE(CreateDirectoryW(kv::Wide(path_.c_str()), nullptr));
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code error;
    std::filesystem::remove_all(kv::Wide(path_.c_str()), error);
    EXPECT_FALSE(error) << "a file is still open: " << error.message();
}

std::string ReadFileBytes(const std::u16string& path) {
    std::ifstream file(std::filesystem::path(path), std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteFileBytes(const std::u16string& path, std::string_view bytes) {
    std::ofstream file(std::filesystem::path(path), std::ios::binary);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    EXPECT_TRUE(file.good()) << kv::Utf8(path);
}

const std::vector<StreamKind>& StreamKinds() {
    static const std::vector<StreamKind> kinds{
        {"MemoryBlobStream",
         [](const TemporaryFolder&, std::string_view content, int) { return MemoryStream(content); }},
        {"XMLStream", [](const TemporaryFolder&, std::string_view content,
                         int) { return Filled(New<IStream>(u"XMLStream"), content); }},
        FileKind("FileStream", u"FileStream"),
        FileKind("UnbufferedFileStream", u"UnbufferedFileStream"),
        FileKind("BufferedFileStream", u"BufferedFileStream"),
        {"BufferOfSevenBytes", &OfSmallBuffer},
        FileKind("CompressedFileStream", u"CompressedFileStream"),
        {"ByteSwapStreamIO", &OfByteSwap, E_POINTER},
        {"CombinedStream", &OfParts},
    };
    return kinds;
}

kv::Ptr<IStream> MemoryStream(std::string_view content) {
    return Filled(New<IStream>(u"MemoryBlobStream"), content);
}

ULARGE_INTEGER Size(ULONGLONG size) {
    ULARGE_INTEGER value;
    value.QuadPart = size;
    return value;
}

LARGE_INTEGER Move(LONGLONG move) {
    LARGE_INTEGER value;
    value.QuadPart = move;
    return value;
}

ULONGLONG PositionOf(IStream* stream) {
    ULARGE_INTEGER position;
    return stream->Seek(Move(0), STREAM_SEEK_CUR, &position) == S_OK ? position.QuadPart : UINT64_MAX;
}

ULONGLONG SizeOf(IStream* stream) {
    STATSTG stat;
    return stream->Stat(&stat, STATFLAG_NONAME) == S_OK ? stat.cbSize.QuadPart : UINT64_MAX;
}

HRESULT SeekTo(IStream* stream, LONGLONG position) {
    return stream->Seek(Move(position), STREAM_SEEK_SET, nullptr);
}

HRESULT Put(IStream* stream, std::string_view bytes) {
    return kv::KvStreamWrite(stream, bytes.data(), bytes.size(), nullptr);
}

std::string Take(IStream* stream, ULONG count) {
    std::string bytes(count, '?');
    std::size_t came = 0;
    EXPECT_EQ(kv::KvStreamRead(stream, bytes.data(), count, &came), S_OK);
    bytes.resize(came);
    return bytes;
}

std::string ContentOf(IStream* stream) {
    EXPECT_EQ(SeekTo(stream, 0), S_OK);
    return Take(stream, static_cast<ULONG>(SizeOf(stream)));
}

STDMETHODIMP SourceStream::Read(void* target, ULONG count, ULONG* read) noexcept {
    *read = 0;
    if (const HRESULT status = before ? before(reads++) : S_OK; FAILED(status)) return status;
    *read = static_cast<ULONG>(std::min<std::size_t>({count, most, bytes.size()}));
    std::copy_n(bytes.data(), *read, static_cast<char*>(target));
    bytes.remove_prefix(*read);
    return *read == count || (*read != 0 && FAILED(atEnd)) ? S_OK : atEnd;
}

std::size_t PrivateBytes() {
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return counters.PagefileUsage;
}

}  // namespace mova::test
