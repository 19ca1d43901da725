// The stream over a compressed file: what it keeps, what it costs, and what becomes of it when a writer dies or bytes
// are damaged.
#include <random>

#include "streams/CompressedLayout.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

constexpr std::size_t block = compressed::blockSize;

kv::Ptr<ICompressedFileStream> Open(const std::u16string& path, movaFileMode mode) {
    return OpenFile<ICompressedFileStream>(u"CompressedFileStream", path, mode);
}

std::string Content(const std::u16string& path) {
    const auto file = Open(path, movaFileModeRead);
    EXPECT_TRUE(file) << TakeErrorInfo();
    return file ? ContentOf(file.As<IStream>().Get()) : std::string();
}

LONGLONG CompressedSize(ICompressedFileStream* stream) {
    return AnswerOf(stream, &ICompressedFileStream::get_CompressedSize);
}

HRESULT PutAt(IStream* stream, std::size_t position, std::string_view bytes) {
    const HRESULT status = SeekTo(stream, static_cast<LONGLONG>(position));
    return FAILED(status) ? status : Put(stream, bytes);
}

/// Bytes that do not compress.
std::string Noise(std::size_t length, unsigned seed) {
    std::mt19937 random(seed);
    std::string bytes(length, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random());
    return bytes;
}

std::string Text(std::size_t length) {
    std::string text;
    for (int i = 0; text.size() < length; ++i) text += "line " + std::to_string(i) + "\n";
    text.resize(length);
    return text;
}

/// A small file with a text, a gap, noise, and the traces of several commits.
std::string SmallFile(const std::u16string& path) {
    const auto file = Open(path, movaFileModeCreateAlways);
    const auto stream = file.As<IStream>();
    EXPECT_EQ(Put(stream.Get(), "will be overwritten"), S_OK);
    EXPECT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(PutAt(stream.Get(), 0, Text(600)), S_OK);
    EXPECT_EQ(PutAt(stream.Get(), 3 * block - 20, Noise(50, 1)), S_OK);
    EXPECT_EQ(file->Close(), S_OK);
    return Text(600) + std::string(3 * block - 620, '\0') + Noise(50, 1);
}

struct Outcome {
    HRESULT opened;
    HRESULT read;
    std::string content;
};

/// What becomes of a file with those bytes.
Outcome Try(const std::u16string& path, std::string_view bytes) {
    WriteFileBytes(path, bytes);
    const auto file = New<IFileStream>(u"CompressedFileStream");
    Outcome outcome{file->Open(Bstr(path), movaFileModeReadWrite), S_OK, {}};
    if (FAILED(outcome.opened)) return outcome;
    const auto stream = file.As<IStream>();
    outcome.content.resize(static_cast<std::size_t>(SizeOf(stream.Get())));
    std::size_t came = 0;
    outcome.read = kv::KvStreamRead(stream.Get(), outcome.content.data(), outcome.content.size(), &came);
    outcome.content.resize(came);
    return outcome;
}

}  // namespace

TEST(CompressedFileStream, KeepsWhatIsWrittenAtEveryLevel) {
    const TemporaryFolder folder;
    const std::u16string path = folder / u"file";
    const std::string content = Text(200'000) + Noise(100'000, 2) + std::string(300'000, '\0') + Text(10);
    LONGLONG plain = 0;
    for (const LONG level : {0, 1, 6, 9}) {
        const auto file = Open(path, movaFileModeCreateAlways);
        ASSERT_EQ(file->put_CompressionLevel(level), S_OK);
        ASSERT_EQ(Put(file.As<IStream>().Get(), content), S_OK);
        ASSERT_EQ(file->Close(), S_OK);
        EXPECT_TRUE(Content(path) == content) << level;
        const LONGLONG size = CompressedSize(Open(path, movaFileModeRead).Get());
        EXPECT_EQ(static_cast<std::size_t>(size), ReadFileBytes(path).size());
        if (level == 0) plain = size;
        EXPECT_TRUE(level == 0 || size < plain * 3 / 4) << size << " of " << plain;
    }
    EXPECT_LT(plain, 400'000) << "zeros take no block";
}

TEST(CompressedFileStream, RefusesLevelsThatAreNone) {
    const auto file = New<ICompressedFileStream>(u"CompressedFileStream");
    for (const LONG refused : {-1, 10, INT_MIN}) {
        EXPECT_EQ(Refused(file->put_CompressionLevel(refused), E_INVALIDARG),
                  Refusal<ICompressedFileStream>("CompressedFileStream", "The compression level must be from 0 to 9."));
    }
    EXPECT_EQ(AnswerOf(file, &ICompressedFileStream::get_CompressionLevel), 6);
    LONGLONG size = 7;
    EXPECT_EQ(file->get_CompressedSize(&size), STG_E_INVALIDHANDLE);
    EXPECT_EQ(size, 0);
}

TEST(CompressedFileStream, KeepsTheLastCommitWhenItsWriterDies) {
    const TemporaryFolder folder;
    const std::u16string path = folder / u"file";
    const std::u16string copy = folder / u"copy";
    const auto stream = Open(path, movaFileModeCreateNew).As<IStream>();
    const auto left = [&] {  // what is on the disk when the process ends here
        EXPECT_TRUE(CopyFileW(kv::Wide(path.c_str()), kv::Wide(copy.c_str()), FALSE));
        return Content(copy);
    };
    EXPECT_EQ(left(), "");
    std::string committed, content;
    std::mt19937 random(3);
    for (unsigned round = 0; round < 60; ++round) {
        // More blocks than are kept in memory, so that changed ones reach the file before the commit.
        for (int i = 0; i < 8; ++i) {
            const std::size_t position = random() % (12 * block);
            const std::string bytes = random() % 3 ? Noise(random() % 3'000, round) : std::string(block, '\0');
            if (content.size() < position + bytes.size()) content.resize(position + bytes.size());
            content.replace(position, bytes.size(), bytes);
            ASSERT_EQ(PutAt(stream.Get(), position, bytes), S_OK);
        }
        if (round % 5 == 4) {
            content.resize(random() % content.size());
            ASSERT_EQ(stream->SetSize(Size(content.size())), S_OK);
        }
        ASSERT_TRUE(left() == committed) << round;
        if (round % 3 != 0) continue;
        ASSERT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
        committed = content;
        ASSERT_TRUE(left() == committed) << round;
    }
}

TEST(CompressedFileStream, UsesPlacesAgain) {
    const TemporaryFolder folder;
    const std::u16string path = folder / u"file";
    const auto file = Open(path, movaFileModeCreateNew);
    const auto stream = file.As<IStream>();
    for (unsigned round = 0; round < 50; ++round) {
        ASSERT_EQ(PutAt(stream.Get(), 0, Noise(3 * block, round)), S_OK);
        ASSERT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
    }
    EXPECT_LT(CompressedSize(file.Get()), static_cast<LONGLONG>(7 * block)) << "two generations";
    ASSERT_EQ(stream->SetSize(Size(0)), S_OK);
    ASSERT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
    ASSERT_EQ(PutAt(stream.Get(), 5LL << 40, "far"), S_OK);
    ASSERT_EQ(file->Close(), S_OK);
    EXPECT_LT(ReadFileBytes(path).size(), 2'000u);
    EXPECT_EQ(SizeOf(Open(path, movaFileModeRead).As<IStream>().Get()), (5ULL << 40) + 3);
}

TEST(CompressedFileStream, RefusesFilesThatItCannotRead) {
    const TemporaryFolder folder;
    const std::u16string path = folder / u"file";
    const std::string content = SmallFile(path);
    const std::string good = ReadFileBytes(path);
    auto newer = compressed::WriteHeader({.sequence = 9});
    newer[8] = std::byte{2};  // the version, and so another checksum
    const std::uint32_t checksum = compressed::Checksum(std::span(newer).first(compressed::headerSize - 4));
    memcpy(&newer[compressed::headerSize - 4], &checksum, sizeof checksum);
    std::string newerFile = good;
    memcpy(newerFile.data() + compressed::SlotOf(9), newer.data(), newer.size());
    const std::string name = kv::Utf8(path);
    const struct {
        std::string bytes;
        HRESULT status;
        std::string text;
    } rows[] = {
        {good, S_OK, ""},
        {"", STG_E_INVALIDHEADER, "The file " + name + " is not a compressed file."},
        {"short", STG_E_INVALIDHEADER, "The file " + name + " is not a compressed file."},
        {std::string(5'000, 'x'), STG_E_INVALIDHEADER, "The file " + name + " is not a compressed file."},
        {newerFile, STG_E_OLDDLL, "The compressed file " + name + " was written by a newer version."},
        {good.substr(0, good.size() - 1), STG_E_DOCFILECORRUPT, "The compressed file " + name + " is damaged."},
    };
    for (const auto& row : rows) {
        const Outcome outcome = Try(path, row.bytes);
        EXPECT_EQ(outcome.opened, row.status) << row.text;
        EXPECT_EQ(TakeErrorInfo(), FAILED(row.status) ? Refusal<IFileStream>("CompressedFileStream", row.text) : "");
        EXPECT_EQ(ReadFileBytes(path), row.bytes) << "a refused file stays as it was";
    }
    EXPECT_TRUE(Try(path, good).content == content);
}

TEST(CompressedFileStream, NeverReadsWrongBytesFromADamagedFile) {
    const TemporaryFolder folder;
    const std::u16string path = folder / u"file";
    const std::string content = SmallFile(path);
    const std::string good = ReadFileBytes(path);
    const std::string former = "will be overwritten";
    int damagedBlocks = 0;
    const auto check = [&](const std::string& bytes, const std::string& what) {
        const Outcome outcome = Try(path, bytes);
        const bool right =
            FAILED(outcome.opened) ||
            (FAILED(outcome.read) ? outcome.read == STG_E_READFAULT && content.starts_with(outcome.content)
                                  : outcome.content == content || outcome.content == former);
        ASSERT_TRUE(right) << what;
        damagedBlocks += outcome.read == STG_E_READFAULT;
    };
    for (std::size_t i = 0; i < good.size(); ++i) {
        const bool used = i >= compressed::bodyStart || i % compressed::slotDistance < compressed::headerSize;
        if (!used) continue;
        std::string damaged = good;
        damaged[i] = static_cast<char>(damaged[i] ^ (1 << i % 8));
        check(damaged, "flipped " + std::to_string(i));
    }
    for (std::size_t length = 0; length < good.size(); length += 3)
        check(good.substr(0, length), "cut " + std::to_string(length));
    EXPECT_GT(damagedBlocks, 50);
}

TEST(CompressedFileStream, TellsOfADamagedBlock) {
    const TemporaryFolder folder;
    const std::u16string path = folder / u"file";
    ASSERT_EQ(Put(Open(path, movaFileModeCreateNew).As<IStream>().Get(), Noise(2 * block, 4)), S_OK);
    std::string bytes = ReadFileBytes(path);
    bytes[compressed::bodyStart + block + 500] ^= 1;  // in the second block
    WriteFileBytes(path, bytes);
    const auto stream = Open(path, movaFileModeReadWrite).As<IStream>();
    std::string read(2 * block, '?');
    ULONG came = 0;
    EXPECT_EQ(
        Refused(stream->Read(read.data(), static_cast<ULONG>(read.size()), &came), STG_E_READFAULT),
        Refusal<IFileStream>("CompressedFileStream", "Operation on file " + kv::Utf8(path) + " failed. Read error."));
    EXPECT_EQ(came, block);
    EXPECT_TRUE(read.substr(0, block) == Noise(block, 4));
    EXPECT_EQ(PutAt(stream.Get(), block + 7, "x"), STG_E_READFAULT) << "the rest of the block is not known";
    EXPECT_EQ(PutAt(stream.Get(), block, Noise(block, 5)), S_OK) << "a whole block is";
    EXPECT_TRUE(ContentOf(stream.Get()) == Noise(block, 4) + Noise(block, 5));
}

TEST(CompressedFileStream, ReadsTheKeptFile) {
    const TemporaryFolder folder;
    const std::u16string path = folder / u"golden";
    WriteFileBytes(path, ReadSource("tests/golden/compressed-file.bin"));
    EXPECT_TRUE(Content(path) == Text(600) + std::string(3 * block - 620, '\0') + Noise(50, 1));
    const auto written = folder / u"written";
    EXPECT_TRUE(SmallFile(written) == Content(path));
}

}  // namespace mova::test
