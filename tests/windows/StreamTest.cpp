// Every stream class beside the platform's own memory stream, and beside a plain model.
#include <map>
#include <random>
#include <sstream>

#include "tests/windows/Persistence.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyz";

/// Works on a stream and keeps a record of all that it answers.
class Recorder {
 public:
    explicit Recorder(kv::Ptr<IStream> stream) : stream_(std::move(stream)) {}

    void Read(ULONG count) {
        std::string bytes(count + 1, '?');
        ULONG came = 77;
        const HRESULT status = stream_->Read(bytes.data(), count, &came);
        Note("read") << count << ": " << status << " " << came << " " << bytes;
    }
    void Write(std::string_view bytes) {
        ULONG went = 77;
        const HRESULT status = stream_->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &went);
        Note("write") << bytes << ": " << status << " " << went;
    }
    void Seek(LONGLONG move, DWORD origin) {
        ULARGE_INTEGER position = Size(77);
        const HRESULT status = stream_->Seek(Move(move), origin, &position);
        Note("seek") << move << " from " << origin << ": ";
        if (SUCCEEDED(status)) {
            record_ << position.QuadPart;
        } else {
            record_ << "refused";  // Wine's answers another status than is documented
        }
    }
    void SetSize(ULONGLONG size) {
        const HRESULT status = stream_->SetSize(Size(size));
        Note("size") << size << ": " << status;
    }
    void CopyTo(ULONGLONG count, bool counts) {
        const auto target = MemoryStream({});
        ULARGE_INTEGER read = Size(77), written = Size(77);
        const HRESULT status =
            stream_->CopyTo(target.Get(), Size(count), counts ? &read : nullptr, counts ? &written : nullptr);
        Note("copy") << count << ": " << status << " " << read.QuadPart << " " << written.QuadPart << " "
                     << ContentOf(target.Get());
    }
    void Stat() {
        STATSTG stat;
        memset(&stat, 7, sizeof stat);
        const HRESULT status = stream_->Stat(&stat, STATFLAG_NONAME);
        Note("stat") << status << " " << stat.type << " " << stat.cbSize.QuadPart << " " << (stat.pwcsName == nullptr);
    }
    Recorder Clone() {
        kv::Ptr<IStream> clone;
        const HRESULT status = stream_->Clone(clone.Put());
        Note("clone") << status;
        return Recorder(std::move(clone));
    }
    void Answers(HRESULT status) { Note("answers") << status; }

    IStream* operator->() const { return stream_.Get(); }
    /// What was recorded, and where everything stands now.
    std::string Record() {
        Note("ends") << SizeOf(stream_.Get()) << " " << ContentOf(stream_.Get());
        return record_.str();
    }

 private:
    std::ostream& Note(const char* operation) {
        const ULONGLONG position = PositionOf(stream_.Get());
        return record_ << "\n" << operation << " (now at " << position << ") ";
    }

    kv::Ptr<IStream> stream_;
    std::ostringstream record_;
};

/// What is done to both. Left out is what Wine's stream does wrong: behind the end it reads what is in its memory, and
/// what it adds when it grows is not zero.
const std::map<std::string, void (*)(Recorder&)>& Scripts() {
    static const std::map<std::string, void (*)(Recorder&)> scripts{
        {"reads",
         [](Recorder& on) {
             for (const ULONG count : {5u, 0u, 1u, 12u, 100u, 3u}) on.Read(count);
             on.Seek(2, STREAM_SEEK_SET);
             char bytes[4] = "...";
             on.Answers(on->Read(bytes, 3, nullptr));
             on.Answers(std::string_view(bytes) == "cde" ? S_OK : S_FALSE);
         }},
        {"seeks",
         [](Recorder& on) {
             for (const LONGLONG move : {0, 5, 26}) on.Seek(move, STREAM_SEEK_SET), on.Read(2);
             for (const LONGLONG move : {-3, -26, -27, 0}) on.Seek(move, STREAM_SEEK_END), on.Read(9);
             on.Seek(10, STREAM_SEEK_END), on.Seek(100, STREAM_SEEK_CUR), on.Seek(-100, STREAM_SEEK_CUR);
             on.Seek(4, STREAM_SEEK_SET);
             for (const LONGLONG move : {3, -5, -3, -2, 0}) on.Seek(move, STREAM_SEEK_CUR), on.Read(1);
             on.Seek(0, 3), on.Seek(0, 99), on.Read(1);
             on.Answers(on->Seek(Move(1), STREAM_SEEK_CUR, nullptr)), on.Read(1);
         }},
        {"writes",
         [](Recorder& on) {
             on.Write("XY"), on.Read(2), on.Write(""), on.Seek(-1, STREAM_SEEK_END), on.Write("01234"), on.Read(1);
             on.Answers(on->Write("!", 1, nullptr)), on.Stat();
             on.Seek(40, STREAM_SEEK_SET), on.Write(""), on.Stat(), on.Seek(-1, STREAM_SEEK_END), on.Read(9);
         }},
        {"sizes",
         [](Recorder& on) {
             for (const ULONGLONG size : {26u, 17u, 16u, 8u, 1u, 0u, 40u, 5u}) on.SetSize(size), on.Stat();
             on.Write("z"), on.SetSize(1);
         }},
        {"copies",
         [](Recorder& on) {
             on.CopyTo(4, true), on.CopyTo(0, true), on.CopyTo(5, false), on.CopyTo(1000, true), on.CopyTo(1, true);
             on.Seek(-5, STREAM_SEEK_END), on.CopyTo(UINT64_MAX, true);
         }},
        {"commits",
         [](Recorder& on) {
             on.Write("123"), on.Answers(on->Commit(STGC_DEFAULT)), on.Answers(on->Revert()), on.Read(3);
         }},
        {"clones",
         [](Recorder& on) {
             on.Read(3);
             auto clone = on.Clone();
             clone.Read(3), on.Read(1), clone.Write("CLONE"), on.Read(9);
             clone.Seek(-2, STREAM_SEEK_END), clone.Read(2), clone.SetSize(9), on.Stat();
             on.Seek(0, STREAM_SEEK_SET), on.Write("first"), clone.Seek(0, STREAM_SEEK_SET), clone.Read(6);
             on.Answers(clone.Clone()->Commit(STGC_DEFAULT));
             on.Seek(0, STREAM_SEEK_SET), on.CopyTo(5, true);
         }},
    };
    return scripts;
}

/// A stream and its clone beside bytes and two positions.
class Model {
 public:
    explicit Model(kv::Ptr<IStream> stream, unsigned seed) : random_(seed) {
        EXPECT_EQ(stream->Clone(cursors_[1].stream.Put()), S_OK);
        cursors_[0].stream = std::move(stream);
    }

    void Step() {
        Cursor& cursor = cursors_[Below(2)];
        switch (Below(12)) {
            case 0:
                return Seek(cursor);
            case 1:
                return Below(6) == 0 ? Resize(cursor) : Seek(cursor);
            case 2:
                return CopyToClone(cursor);
            case 3:
                EXPECT_EQ(SizeOf(cursor.stream.Get()), bytes_.size());
                return;
            case 4:
                ASSERT_EQ(Below(50) == 0 ? cursor.stream->Commit(STGC_DEFAULT) : S_OK, S_OK);
                return;
            case 5:
            case 6:
            case 7:
                return Write(cursor);
            default:
                return Read(cursor);
        }
    }
    void ExpectSame() {
        ASSERT_EQ(ContentOf(cursors_[0].stream.Get()) == bytes_, true);
        ASSERT_EQ(ContentOf(cursors_[1].stream.Get()) == bytes_, true);
    }

 private:
    struct Cursor {
        kv::Ptr<IStream> stream;
        std::size_t position = 0;
    };
    static constexpr std::size_t greatest = 300'000;

    std::size_t Below(std::size_t limit) { return random_() % limit; }
    /// Mostly small, sometimes as large as several blocks.
    std::size_t Length() { return Below(std::size_t{1} << Below(18)); }
    std::string Bytes(std::size_t length) {
        std::string bytes(length, '\0');
        const std::size_t kind = Below(3);  // zeros, what compresses well, what does not
        for (char& byte : bytes) byte = kind == 0 ? '\0' : static_cast<char>(kind == 1 ? 'a' + Below(2) : Below(256));
        return bytes;
    }
    void Overwrite(std::size_t position, std::string_view bytes) {
        if (bytes.empty()) return;
        if (bytes_.size() < position + bytes.size()) bytes_.resize(position + bytes.size());
        bytes_.replace(position, bytes.size(), bytes);
    }

    void Seek(Cursor& cursor) {
        cursor.position = Below(std::min(bytes_.size() + bytes_.size() / 4, greatest) + 1);
        const auto origin = static_cast<DWORD>(Below(3));
        const std::size_t from = origin == STREAM_SEEK_END ? bytes_.size() : 0;
        const LONGLONG move =
            origin == STREAM_SEEK_CUR
                ? static_cast<LONGLONG>(cursor.position) - static_cast<LONGLONG>(PositionOf(cursor.stream.Get()))
                : static_cast<LONGLONG>(cursor.position) - static_cast<LONGLONG>(from);
        ULARGE_INTEGER position{};
        ASSERT_EQ(cursor.stream->Seek(Move(move), origin, &position), S_OK);
        ASSERT_EQ(position.QuadPart, cursor.position);
    }
    void Read(Cursor& cursor) {
        std::string bytes(Length(), '?');
        ULONG came = 0;
        ASSERT_EQ(cursor.stream->Read(bytes.data(), static_cast<ULONG>(bytes.size()), &came), S_OK);
        const std::string expected = Expected(cursor, bytes.size());
        ASSERT_EQ(came, expected.size());
        ASSERT_TRUE(bytes.compare(0, came, expected) == 0) << "at " << cursor.position;
        cursor.position += came;
    }
    void Write(Cursor& cursor) {
        const std::string bytes = Bytes(Length());
        ULONG went = 0;
        ASSERT_EQ(cursor.stream->Write(bytes.data(), static_cast<ULONG>(bytes.size()), &went), S_OK);
        ASSERT_EQ(went, bytes.size());
        Overwrite(cursor.position, bytes);
        cursor.position += went;
        ASSERT_EQ(PositionOf(cursor.stream.Get()), cursor.position);
        if (bytes_.size() > 2 * greatest) Resize(cursor);
    }
    void Resize(Cursor& cursor) {
        bytes_.resize(Below(greatest));
        ASSERT_EQ(cursor.stream->SetSize(Size(bytes_.size())), S_OK);
    }
    void CopyToClone(Cursor& cursor) {
        Cursor& target = &cursor == &cursors_[0] ? cursors_[1] : cursors_[0];
        const std::size_t count = Length();
        const std::string copied = Expected(cursor, count);
        const bool overlap = target.position > cursor.position && target.position < cursor.position + copied.size();
        if (overlap) return;  // the bytes then depend on the pieces that it is done in
        ULARGE_INTEGER read{}, written{};
        ASSERT_EQ(cursor.stream->CopyTo(target.stream.Get(), Size(count), &read, &written), S_OK);
        ASSERT_EQ(read.QuadPart, copied.size());
        ASSERT_EQ(written.QuadPart, copied.size());
        Overwrite(target.position, copied);
        cursor.position += copied.size(), target.position += copied.size();
        ASSERT_EQ(PositionOf(cursor.stream.Get()), cursor.position);
        ASSERT_EQ(PositionOf(target.stream.Get()), target.position);
    }
    std::string Expected(const Cursor& cursor, std::size_t count) const {
        return cursor.position < bytes_.size() ? bytes_.substr(cursor.position, count) : std::string();
    }

    std::mt19937 random_;
    Cursor cursors_[2];
    std::string bytes_;
};

class EveryStream : public testing::TestWithParam<StreamKind> {
 protected:
    kv::Ptr<IStream> Make(std::string_view content = alphabet) { return GetParam().make(folder_, content, count_++); }

 private:
    TemporaryFolder folder_;
    int count_ = 0;
};

}  // namespace

TEST_P(EveryStream, DoesWhatThePlatformsOwnDoes) {
    for (const auto& [name, script] : Scripts()) {
        kv::Ptr<IStream> platform;
        ASSERT_EQ(CreateStreamOnHGlobal(nullptr, TRUE, platform.Put()), S_OK);
        ASSERT_EQ(Put(platform.Get(), alphabet), S_OK);
        ASSERT_EQ(SeekTo(platform.Get(), 0), S_OK);
        Recorder expected(std::move(platform));
        Recorder ours(Make());
        script(expected);
        script(ours);
        EXPECT_EQ(ours.Record(), expected.Record()) << name;
    }
}

TEST_P(EveryStream, EndsWhereItsBytesEnd) {
    const auto stream = Make();
    const std::string zeros(4, '\0');
    for (const LONGLONG position : {26, 27, 1000, 5'000'000}) {
        EXPECT_EQ(SeekTo(stream.Get(), position), S_OK);
        EXPECT_EQ(Take(stream.Get(), 3), "") << position;
        ULARGE_INTEGER read = Size(77);
        EXPECT_EQ(stream->CopyTo(MemoryStream({}).Get(), Size(1), &read, nullptr), S_OK);
        EXPECT_EQ(read.QuadPart, 0u);
        EXPECT_EQ(PositionOf(stream.Get()), static_cast<ULONGLONG>(position));
    }
    EXPECT_EQ(SizeOf(stream.Get()), 26u);
    EXPECT_EQ(SeekTo(stream.Get(), 30), S_OK);
    EXPECT_EQ(Put(stream.Get(), "end"), S_OK);
    EXPECT_EQ(ContentOf(stream.Get()), std::string(alphabet) + zeros + "end");
    EXPECT_EQ(stream->SetSize(Size(3)), S_OK);
    EXPECT_EQ(PositionOf(stream.Get()), 33u);
    EXPECT_EQ(Take(stream.Get(), 3), "");
    EXPECT_EQ(stream->SetSize(Size(7)), S_OK);
    EXPECT_EQ(ContentOf(stream.Get()), "abc" + zeros);
}

TEST_P(EveryStream, RefusesWhatNoStreamCanDo) {
    const auto stream = Make();
    ULONG count = 77;
    char byte = 0;
    EXPECT_EQ(stream->Read(nullptr, 1, &count), GetParam().nullBuffer);
    EXPECT_EQ(count, 0u);
    count = 77;
    EXPECT_EQ(stream->Write(nullptr, 1, &count), GetParam().nullBuffer);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(stream->Stat(nullptr, STATFLAG_NONAME), GetParam().nullBuffer);
    EXPECT_EQ(stream->CopyTo(nullptr, Size(1), nullptr, nullptr), GetParam().nullBuffer);
    EXPECT_EQ(stream->Clone(nullptr), GetParam().nullBuffer);
    EXPECT_EQ(stream->LockRegion(Size(0), Size(1), LOCK_WRITE), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->UnlockRegion(Size(0), Size(1), LOCK_WRITE), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Seek(Move(-1), STREAM_SEEK_SET, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(stream->Seek(Move(INT64_MAX), STREAM_SEEK_END, nullptr), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(PositionOf(stream.Get()), 0u);
    EXPECT_TRUE(FAILED(stream->SetSize(Size(UINT64_MAX))));
    EXPECT_TRUE(FAILED(stream->SetSize(Size(std::uint64_t{INT64_MAX} + 1))));
    EXPECT_EQ(SeekTo(stream.Get(), INT64_MAX), S_OK);
    EXPECT_EQ(stream->Read(&byte, 1, &count), S_OK);
    EXPECT_EQ(count, 0u);
    EXPECT_TRUE(FAILED(stream->Write("x", 1, &count)));
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(ContentOf(stream.Get()), alphabet);
}

TEST_P(EveryStream, KeepsItsBytesWhenTheOriginalIsGone) {
    auto stream = Make();
    ASSERT_EQ(stream->Write("0", 1, nullptr), S_OK);
    const auto clone = CloneOf(stream);
    stream = {};
    EXPECT_EQ(PositionOf(clone.Get()), 1u);
    EXPECT_EQ(Put(clone.Get(), "1"), S_OK);
    EXPECT_EQ(ContentOf(clone.Get()), "01" + std::string(alphabet.substr(2)));
}

TEST_P(EveryStream, CopiesToItselfWithoutFollowingWhatItAdds) {
    const auto stream = Make();
    const auto end = CloneOf(stream);
    ASSERT_EQ(end->Seek(Move(0), STREAM_SEEK_END, nullptr), S_OK);
    ULARGE_INTEGER read{};
    EXPECT_EQ(stream->CopyTo(end.Get(), Size(UINT64_MAX), &read, nullptr), S_OK);
    EXPECT_EQ(read.QuadPart, alphabet.size());
    EXPECT_EQ(ContentOf(stream.Get()), std::string(alphabet) + std::string(alphabet));
}

TEST_P(EveryStream, CopiesToAStreamThatChangesIt) {
    const auto stream = Make();
    Trickle target;
    target.visit = [&] { EXPECT_EQ(stream->SetSize(Size(100'000)), S_OK); };  // its memory moves
    EXPECT_EQ(stream->CopyTo(&target, Size(UINT64_MAX), nullptr, nullptr), S_OK);
    EXPECT_EQ(std::string(target.bytes.begin(), target.bytes.end()), alphabet);
}

TEST_P(EveryStream, AgreesWithAPlainModel) {
    Model model(Make({}), 7);
    for (int step = 0; step < 4'000 && !HasFatalFailure(); ++step) {
        SCOPED_TRACE(step);
        model.Step();
    }
    model.ExpectSame();
}

INSTANTIATE_TEST_SUITE_P(Streams, EveryStream, testing::ValuesIn(StreamKinds()),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace mova::test
