// The streams over files: opening, what is refused and with which text, sharing, buffers, long paths, great sizes.
#include "streams/FileOutcome.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

constexpr const char16_t* fileClasses[] = {u"FileStream", u"UnbufferedFileStream", u"BufferedFileStream",
                                           u"CompressedFileStream"};
constexpr auto fullDevice = u"\\\\?\\unix\\dev\\full";

/// What a refusal with one of the texts about files leaves on the thread.
template <class I = IFileStream>
std::string FileRefusal(std::u16string_view className, std::u16string_view path, std::string_view text) {
    return Refusal<I>(kv::Utf8(className), "Operation on file " + kv::Utf8(path) + " failed. " + std::string(text));
}

template <class Check>
void ForEveryClass(Check check) {
    for (const char16_t* name : fileClasses) {
        SCOPED_TRACE(kv::Utf8(name));
        check(name);
    }
}

bool Exists(const std::u16string& path) {
    return GetFileAttributesW(kv::Wide(path.c_str())) != INVALID_FILE_ATTRIBUTES;
}

bool IsOpen(IFileStream* stream) {
    return AnswerOf(stream, &IFileStream::get_IsOpen) == VARIANT_TRUE;
}

std::string PathOf(IFileStream* stream) {
    return kv::Utf8(AnswerOf(stream, &IFileStream::get_Path).View());
}

}  // namespace

TEST(FileStreams, OpenInEveryModeAndRefuseWithTheFilesName) {
    ForEveryClass([](const char16_t* name) {
        const TemporaryFolder folder;
        const std::u16string there = folder / u"there";
        const std::u16string missing = folder / u"missing";
        const std::u16string noFolder = folder / u"no\\file";
        ASSERT_EQ(Put(OpenFile(name, there, movaFileModeCreateNew).As<IStream>().Get(), "abc"), S_OK);
        const struct {
            const std::u16string& path;
            movaFileMode mode;
            HRESULT status;
            const char* text;
        } rows[] = {
            {there, movaFileModeRead, S_OK, ""},
            {there, movaFileModeReadWrite, S_OK, ""},
            {there, movaFileModeOpenOrCreate, S_OK, ""},
            {there, movaFileModeCreateNew, STG_E_FILEALREADYEXISTS, "File already exist."},
            {missing, movaFileModeRead, STG_E_FILENOTFOUND, "File not found."},
            {missing, movaFileModeReadWrite, STG_E_FILENOTFOUND, "File not found."},
            {noFolder, movaFileModeRead, STG_E_PATHNOTFOUND, "File not found."},
            {noFolder, movaFileModeCreateNew, STG_E_PATHNOTFOUND, "File can not be created."},
            {noFolder, movaFileModeOpenOrCreate, STG_E_PATHNOTFOUND, "File can not be created."},
            {folder.Path(), movaFileModeRead, STG_E_ACCESSDENIED, "Access denied."},
            {folder.Path(), movaFileModeReadWrite, STG_E_ACCESSDENIED, "Access denied."},
            {{}, movaFileModeRead, STG_E_INVALIDNAME, "File not found."},
            {{}, movaFileModeCreateAlways, STG_E_INVALIDNAME, "File can not be created."},
        };
        for (const auto& row : rows) {
            const auto stream = New<IFileStream>(name);
            EXPECT_EQ(stream->Open(Bstr(row.path), row.mode), row.status) << kv::Utf8(row.path) << row.mode;
            EXPECT_EQ(IsOpen(stream.Get()), SUCCEEDED(row.status));
            if (SUCCEEDED(row.status)) {
                EXPECT_EQ(ContentOf(stream.As<IStream>().Get()), "abc");
            } else {
                EXPECT_EQ(TakeErrorInfo(), FileRefusal(name, row.path, row.text));
            }
        }
        EXPECT_FALSE(Exists(missing));
        const std::u16string withNul = there + std::u16string(1, u'\0') + u"more";
        EXPECT_EQ(New<IFileStream>(name)->Open(Bstr(withNul), movaFileModeRead), STG_E_INVALIDNAME);
        EXPECT_EQ(SizeOf(OpenFile(name, there, movaFileModeCreateAlways).As<IStream>().Get()), 0u);
        EXPECT_TRUE(OpenFile(name, missing, movaFileModeOpenOrCreate));
        for (const int mode : {-1, 5}) {
            EXPECT_EQ(Refused(New<IFileStream>(name)->Open(Bstr(there), static_cast<movaFileMode>(mode)), E_INVALIDARG),
                      Refusal<IFileStream>(kv::Utf8(name), "There is no such mode."));
        }
    });
}

TEST(FileStreams, RefuseEverythingWhileNothingIsOpen) {
    ForEveryClass([](const char16_t* name) {
        const TemporaryFolder folder;
        const std::u16string path = folder / u"closed";
        const auto file = New<IFileStream>(name);
        const auto stream = file.As<IStream>();
        for (const std::u16string& last : {std::u16string(), path}) {
            char byte = 0;
            STATSTG stat;
            kv::Ptr<IStream> clone;
            const std::function<HRESULT()> operations[] = {
                [&] { return file->Close(); },
                [&] { return stream->Read(&byte, 1, nullptr); },
                [&] { return stream->Write(&byte, 1, nullptr); },
                [&] { return stream->Seek(Move(0), STREAM_SEEK_SET, nullptr); },
                [&] { return stream->Seek(Move(0), STREAM_SEEK_END, nullptr); },
                [&] { return stream->SetSize(Size(1)); },
                [&] { return stream->CopyTo(MemoryStream({}).Get(), Size(1), nullptr, nullptr); },
                [&] { return stream->Commit(STGC_DEFAULT); },
                [&] { return stream->Revert(); },
                [&] { return stream->Stat(&stat, STATFLAG_DEFAULT); },
                [&] { return stream->Clone(clone.Put()); },
            };
            for (const auto& operation : operations) {
                EXPECT_EQ(operation(), STG_E_INVALIDHANDLE) << &operation - operations;
                EXPECT_EQ(TakeErrorInfo(), FileRefusal(name, last, "File not opened.")) << &operation - operations;
            }
            EXPECT_EQ(PathOf(file.Get()), kv::Utf8(last));
            if (!last.empty()) break;
            ASSERT_EQ(file->Open(Bstr(path), movaFileModeCreateNew), S_OK);
            ASSERT_EQ(file->Close(), S_OK);
        }
    });
}

TEST(FileStreams, RefuseInvalidSeeksAndWritingWhatIsOpenForReading) {
    ForEveryClass([](const char16_t* name) {
        const TemporaryFolder folder;
        const std::u16string path = folder / u"file";
        ASSERT_EQ(Put(OpenFile(name, path, movaFileModeCreateNew).As<IStream>().Get(), "abc"), S_OK);
        const auto stream = OpenFile(name, path, movaFileModeRead).As<IStream>();
        EXPECT_EQ(Refused(stream->Seek(Move(-1), STREAM_SEEK_SET, nullptr), STG_E_INVALIDFUNCTION),
                  FileRefusal(name, path, "Invalid seek."));
        EXPECT_EQ(Refused(stream->Write("x", 1, nullptr), STG_E_ACCESSDENIED),
                  FileRefusal(name, path, "Access denied."));
        EXPECT_EQ(stream->SetSize(Size(1)), STG_E_ACCESSDENIED);
        EXPECT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
        EXPECT_EQ(ContentOf(stream.Get()), "abc");
        STATSTG stat;
        ASSERT_EQ(stream->Stat(&stat, STATFLAG_DEFAULT), S_OK);
        EXPECT_EQ(kv::Utf8(kv::Narrow16(stat.pwcsName)), kv::Utf8(path));
        CoTaskMemFree(stat.pwcsName);
        EXPECT_EQ(stat.grfMode, static_cast<DWORD>(STGM_READ));
        EXPECT_NE(stat.mtime.dwHighDateTime, 0u);
    });
}

TEST(FileStreams, TellOfAFullDisk) {
    for (const char16_t* name : {u"FileStream", u"UnbufferedFileStream"}) {
        const auto stream = OpenFile(name, fullDevice, movaFileModeReadWrite).As<IStream>();
        ULONG went = 77;
        EXPECT_EQ(stream->Write("x", 1, &went), STG_E_MEDIUMFULL);
        EXPECT_EQ(went, 0u);
        EXPECT_EQ(TakeErrorInfo(), FileRefusal(name, fullDevice, "Disk full."));
    }
    const auto buffered = OpenFile(u"BufferedFileStream", fullDevice, movaFileModeReadWrite);
    const auto stream = buffered.As<IStream>();
    EXPECT_EQ(stream->Write("x", 1, nullptr), S_OK);
    const TemporaryFolder folder;
    const std::function<HRESULT()> operations[] = {
        [&] { return stream->Commit(STGC_DEFAULT); },
        [&] { return buffered->Close(); },
        [&] { return buffered->Open(Bstr(folder / u"other"), movaFileModeCreateNew); },
        [&] { return buffered.As<IBufferedFileStream>()->put_BufferSize(1); },
    };
    for (const auto& operation : operations) {
        EXPECT_EQ(operation(), STG_E_MEDIUMFULL) << &operation - operations;
        EXPECT_EQ(TakeErrorInfo(), FileRefusal(u"BufferedFileStream", fullDevice, "Disk full."));
        EXPECT_TRUE(IsOpen(buffered.Get()));
        EXPECT_EQ(PositionOf(stream.Get()), 1u);
    }
    EXPECT_FALSE(Exists(folder / u"other"));
    EXPECT_FALSE(OpenFile(u"CompressedFileStream", fullDevice, movaFileModeOpenOrCreate));
    EXPECT_EQ(TakeErrorInfo(), FileRefusal(u"CompressedFileStream", fullDevice, "Disk full."));
}

TEST(FileStreams, AreSharedByReadersAndOneWriter) {
    ForEveryClass([](const char16_t* name) {
        const TemporaryFolder folder;
        const std::u16string path = folder / u"shared";
        const auto writer = OpenFile(name, path, movaFileModeCreateNew);
        for (const auto mode : {movaFileModeReadWrite, movaFileModeCreateAlways, movaFileModeOpenOrCreate}) {
            EXPECT_FALSE(OpenFile(name, path, mode));
            EXPECT_EQ(TakeErrorInfo(), FileRefusal(name, path, "Access denied."));
            EXPECT_EQ(New<IFileStream>(name)->Open(Bstr(path), mode), STG_E_SHAREVIOLATION);
        }
        ASSERT_EQ(Put(writer.As<IStream>().Get(), "abc"), S_OK);
        ASSERT_EQ(writer.As<IStream>()->Commit(STGC_DEFAULT), S_OK);
        const bool compressed = std::u16string_view(name) == u"CompressedFileStream";
        EXPECT_EQ(static_cast<bool>(OpenFile(name, path, movaFileModeRead)), !compressed);
        ASSERT_EQ(writer->Close(), S_OK);
        const auto one = OpenFile(name, path, movaFileModeRead);
        const auto other = OpenFile(name, path, movaFileModeRead);
        EXPECT_EQ(ContentOf(one.As<IStream>().Get()), "abc");
        EXPECT_EQ(ContentOf(other.As<IStream>().Get()), "abc");
    });
}

TEST(FileStreams, CloseTheFormerFileOnlyOnceTheNewOneIsOpen) {
    ForEveryClass([](const char16_t* name) {
        const TemporaryFolder folder;
        const std::u16string first = folder / u"first";
        const std::u16string second = folder / u"second";
        const auto file = OpenFile(name, first, movaFileModeCreateNew);
        const auto stream = file.As<IStream>();
        ASSERT_EQ(Put(stream.Get(), "first"), S_OK);
        EXPECT_EQ(Refused(file->Open(Bstr(second), movaFileModeRead), STG_E_FILENOTFOUND),
                  FileRefusal(name, second, "File not found."));
        EXPECT_EQ(PathOf(file.Get()), kv::Utf8(first));
        EXPECT_EQ(PositionOf(stream.Get()), 5u);
        auto clone = CloneOf(stream);
        ASSERT_EQ(file->Open(Bstr(second), movaFileModeCreateNew), S_OK);
        EXPECT_EQ(PathOf(file.Get()), kv::Utf8(second));
        EXPECT_EQ(PositionOf(stream.Get()), 0u);
        ASSERT_EQ(Put(clone.Get(), "+clone"), S_OK);  // which has the former file still
        clone = {};
        ASSERT_EQ(Put(stream.Get(), "second"), S_OK);
        ASSERT_EQ(file->Close(), S_OK);
        EXPECT_EQ(ContentOf(OpenFile(name, first, movaFileModeRead).As<IStream>().Get()), "first+clone");
        EXPECT_EQ(ContentOf(OpenFile(name, second, movaFileModeRead).As<IStream>().Get()), "second");
    });
}

TEST(FileStreams, TakeLongPathsAndEveryAlphabet) {
    ForEveryClass([](const char16_t* name) {
        const TemporaryFolder folder;
        std::u16string path = folder.Path();
        for (int level = 0; level < 4; ++level) {
            path += u"\\" + std::u16string(90, static_cast<char16_t>(u'a' + level));
            ASSERT_TRUE(CreateDirectoryW(kv::Wide((u"\\\\?\\" + path).c_str()), nullptr));
        }
        for (const std::u16string& each : {path + u"\\deep", folder / u"Gr\u00FC\u00DFe \u5730\u56F3 \xD83D\xDE00"}) {
            for (const std::u16string& spelled : {each, u"\\\\?\\" + each}) {
                auto stream = OpenFile(name, spelled, movaFileModeCreateAlways).As<IStream>();
                ASSERT_TRUE(stream) << kv::Utf8(spelled) << TakeErrorInfo();
                EXPECT_EQ(Put(stream.Get(), "abc"), S_OK);
                stream = {};
                EXPECT_EQ(ContentOf(OpenFile(name, each, movaFileModeRead).As<IStream>().Get()), "abc");
                EXPECT_TRUE(DeleteFileW(kv::Wide((u"\\\\?\\" + each).c_str())));
            }
        }
        for (std::u16string last = path; last != folder.Path(); last.resize(last.rfind(u'\\')))
            EXPECT_TRUE(RemoveDirectoryW(kv::Wide((u"\\\\?\\" + last).c_str())));
    });
}

TEST(FileStreams, HoldMoreThanFourGigabytes) {
    constexpr LONGLONG distance = 5LL << 30;
    ForEveryClass([](const char16_t* name) {
        const TemporaryFolder folder;
        const auto stream = OpenFile(name, folder / u"great", movaFileModeCreateNew).As<IStream>();
        ASSERT_EQ(stream->SetSize(Size(distance)), S_OK);
        EXPECT_EQ(SizeOf(stream.Get()), static_cast<ULONGLONG>(distance));
        for (const LONGLONG position : {distance - 2, distance + 70'000}) {
            EXPECT_EQ(SeekTo(stream.Get(), position), S_OK);
            EXPECT_EQ(Put(stream.Get(), "1234"), S_OK);
            EXPECT_EQ(PositionOf(stream.Get()), static_cast<ULONGLONG>(position + 4));
        }
        EXPECT_EQ(SizeOf(stream.Get()), static_cast<ULONGLONG>(distance + 70'004));
        EXPECT_EQ(SeekTo(stream.Get(), distance - 4), S_OK);
        EXPECT_EQ(Take(stream.Get(), 8), std::string("\0\0001234\0\0", 8));
        EXPECT_EQ(SeekTo(stream.Get(), 1 << 20), S_OK);
        EXPECT_EQ(Take(stream.Get(), 2), std::string(2, '\0'));
        EXPECT_EQ(stream->Seek(Move(-4), STREAM_SEEK_END, nullptr), S_OK);
        EXPECT_EQ(Take(stream.Get(), 8), "1234");
    });
}

TEST(FileStreams, KnowWhatTheSystemsErrorsMean) {
    const struct {
        DWORD error;
        FileAction action;
        HRESULT status;
        const char* text;
    } rows[] = {
        {ERROR_ACCESS_DENIED, FileAction::Write, STG_E_ACCESSDENIED, "Access denied."},
        {ERROR_WRITE_PROTECT, FileAction::Create, STG_E_DISKISWRITEPROTECTED, "Access denied."},
        {ERROR_HANDLE_DISK_FULL, FileAction::Write, STG_E_MEDIUMFULL, "Disk full."},
        {ERROR_CRC, FileAction::Read, STG_E_READFAULT, "Read error."},
        {ERROR_GEN_FAILURE, FileAction::Write, STG_E_WRITEFAULT, "Write error."},
        {ERROR_GEN_FAILURE, FileAction::Open, HRESULT_FROM_WIN32(ERROR_GEN_FAILURE), "Unknown error."},
        {ERROR_GEN_FAILURE, FileAction::Create, HRESULT_FROM_WIN32(ERROR_GEN_FAILURE), "File can not be created."},
        {ERROR_TOO_MANY_OPEN_FILES, FileAction::Create, STG_E_TOOMANYOPENFILES, "Unknown error."},
    };
    for (const auto& row : rows) {
        const FileOutcome outcome = OutcomeOf(row.error, row.action);
        EXPECT_EQ(outcome.status, row.status) << row.error;
        EXPECT_EQ(kv::Utf8(TextOf(outcome, u"x %s")), "Operation on file x %s failed. " + std::string(row.text));
    }
    EXPECT_FALSE(OutcomeOf(ERROR_SUCCESS, FileAction::Read).Failed());
}

TEST(FileStream, TellsOfErrorsOfTheSystemThatHaveNoTextOfTheirOwn) {
    const std::u16string path = u"\\\\.\\pipe\\mova-tests";
    const HANDLE pipe =
        CreateNamedPipeW(kv::Wide(path.c_str()), PIPE_ACCESS_DUPLEX, PIPE_TYPE_BYTE, 1, 100, 100, 0, nullptr);
    const auto stream = OpenFile(u"FileStream", path, movaFileModeReadWrite);
    EXPECT_EQ(New<IFileStream>(u"FileStream")->Open(Bstr(path), movaFileModeReadWrite),
              HRESULT_FROM_WIN32(ERROR_PIPE_BUSY));
    EXPECT_EQ(TakeErrorInfo(), FileRefusal(u"FileStream", path, "Unknown error."));
    CloseHandle(pipe);
    EXPECT_EQ(Refused(stream.As<IStream>()->Write("a", 1, nullptr), STG_E_WRITEFAULT),
              FileRefusal(u"FileStream", path, "Write error."));
}

TEST(BufferedFileStream, WritesWhatItHoldsBackWhenItMust) {
    const TemporaryFolder folder;
    const std::u16string path = folder / u"buffered";
    const auto file = OpenFile<IBufferedFileStream>(u"BufferedFileStream", path, movaFileModeCreateNew);
    const auto stream = file.As<IStream>();
    const auto written = [&] { return ContentOf(OpenFile(u"FileStream", path, movaFileModeRead).As<IStream>().Get()); };
    ASSERT_EQ(Put(stream.Get(), "abcdef"), S_OK);
    EXPECT_EQ(written(), "");
    EXPECT_EQ(SizeOf(stream.Get()), 6u);
    ASSERT_EQ(stream->Commit(STGC_DEFAULT), S_OK);
    EXPECT_EQ(written(), "abcdef");
    auto clone = CloneOf(stream);
    ASSERT_EQ(Put(clone.Get(), "ghi"), S_OK);
    ASSERT_EQ(SeekTo(stream.Get(), 1), S_OK);
    ASSERT_EQ(Put(stream.Get(), "BC"), S_OK);  // with what the clone wrote, and clean bytes between
    EXPECT_EQ(written(), "abcdef");
    ASSERT_EQ(file->put_BufferSize(4), S_OK);
    EXPECT_EQ(written(), "aBCdefghi");
    ASSERT_EQ(Put(clone.Get(), "jk"), S_OK);
    ASSERT_EQ(SeekTo(stream.Get(), 0), S_OK);
    EXPECT_EQ(Take(stream.Get(), 2), "aB");  // the buffer moves
    EXPECT_EQ(written(), "aBCdefghijk");
    ASSERT_EQ(Put(stream.Get(), "c"), S_OK);
    EXPECT_EQ(file->Close(), S_OK);
    EXPECT_EQ(written(), "aBcdefghijk");
    ASSERT_EQ(Put(clone.Get(), "l"), S_OK);
    clone = {};
    EXPECT_EQ(written(), "aBcdefghijkl");
}

TEST(BufferedFileStream, TakesBuffersOfSensibleSizes) {
    const TemporaryFolder folder;
    const auto file = New<IBufferedFileStream>(u"BufferedFileStream");
    EXPECT_EQ(AnswerOf(file, &IBufferedFileStream::get_BufferSize), 65536);
    for (const LONG refused : {0, -1, 16'777'217, INT_MAX}) {
        EXPECT_EQ(Refused(file->put_BufferSize(refused), E_INVALIDARG),
                  Refusal<IBufferedFileStream>("BufferedFileStream", "The buffer must be from 1 to 16,777,216 bytes."));
    }
    for (const LONG taken : {1, 16'777'216, 3}) EXPECT_EQ(file->put_BufferSize(taken), S_OK);
    ASSERT_EQ(file->Open(Bstr(folder / u"file"), movaFileModeCreateNew), S_OK);
    EXPECT_EQ(AnswerOf(file, &IBufferedFileStream::get_BufferSize), 3);
}

TEST(MemoryBlobStream, LoadsAndSavesFiles) {
    const TemporaryFolder folder;
    const std::u16string path = folder / u"blob";
    const std::u16string missing = folder / u"missing";
    const auto blob = New<IMemoryBlobStream>(u"MemoryBlobStream");
    const auto stream = blob.As<IStream>();
    const std::string bytes = "abc" + std::string(100'000, '\0') + "xyz";
    ASSERT_EQ(Put(stream.Get(), bytes), S_OK);
    ASSERT_EQ(blob->SaveToFile(Bstr(path)), S_OK);
    EXPECT_EQ(ReadFileBytes(path), bytes);
    EXPECT_EQ(PositionOf(stream.Get()), bytes.size());
    EXPECT_EQ(Refused(blob->LoadFromFile(Bstr(missing)), STG_E_FILENOTFOUND),
              FileRefusal<IMemoryBlobStream>(u"MemoryBlobStream", missing, "File not found."));
    EXPECT_EQ(blob->SaveToFile(Bstr(folder.Path())), STG_E_ACCESSDENIED);
    EXPECT_EQ(Refused(blob->SaveToFile(Bstr(fullDevice)), STG_E_MEDIUMFULL),
              FileRefusal<IMemoryBlobStream>(u"MemoryBlobStream", fullDevice, "Disk full."));
    EXPECT_EQ(PositionOf(stream.Get()), bytes.size());
    EXPECT_EQ(ContentOf(stream.Get()), bytes);
    WriteFileBytes(path, "other");
    ASSERT_EQ(blob->LoadFromFile(Bstr(path)), S_OK);
    EXPECT_EQ(PositionOf(stream.Get()), 0u);
    EXPECT_EQ(Take(stream.Get(), 9), "other");
    WriteFileBytes(path, "");
    ASSERT_EQ(blob->LoadFromFile(Bstr(path)), S_OK);
    EXPECT_EQ(ContentOf(stream.Get()), "");
    ASSERT_EQ(blob->SaveToFile(Bstr(path)), S_OK);
    ASSERT_EQ(Put(stream.Get(), "again"), S_OK);
    EXPECT_EQ(ContentOf(stream.Get()), "again");
}

}  // namespace mova::test
