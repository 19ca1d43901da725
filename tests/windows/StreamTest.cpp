// Every stream class beside a plain model, and what no stream can do.
#include <random>

#include "tests/windows/Persistence.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

constexpr std::string_view alphabet = "abcdefghijklmnopqrstuvwxyz";

/// A stream and its clone beside bytes and two positions.
class Model {
 public:
    /// @param stream with that content, at its start
    Model(kv::Ptr<IStream> stream, std::string_view content, unsigned seed) : random_(seed), bytes_(content) {
        cursors_[0].stream = std::move(stream);
        CloneInto(cursors_[0], cursors_[1]);
    }

    void Step() {
        const std::size_t one = Below(2);
        Cursor &cursor = cursors_[one], &other = cursors_[1 - one];
        switch (Below(14)) {
            case 0:
                return Seek(cursor);
            case 1:
                return Below(6) == 0 ? Resize(cursor) : Seek(cursor);
            case 2:
                return Copy(cursor, other);
            case 3:
                return Stat(cursor);
            case 4:
                ASSERT_EQ(Below(50) == 0 ? cursor.stream->Commit(STGC_DEFAULT) : cursor.stream->Revert(), S_OK);
                return;
            case 5:
            case 6:
            case 7:
                return Write(cursor);
            case 8:
                return SeekInVain(cursor);
            case 9:
                return Below(6) == 0 ? CloneInto(cursor, other) : Read(cursor);
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
    /// What a move is from, and where that is.
    std::pair<DWORD, LONGLONG> AnyOrigin(const Cursor& cursor) {
        const std::size_t places[] = {0, cursor.position, bytes_.size()};
        const std::size_t origin = Below(3);
        return {static_cast<DWORD>(origin), static_cast<LONGLONG>(places[origin])};
    }
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
        const auto [origin, from] = AnyOrigin(cursor);
        cursor.position = Below(std::min(bytes_.size() + bytes_.size() / 4, greatest) + 1);
        const LONGLONG move = static_cast<LONGLONG>(cursor.position) - from;
        ULARGE_INTEGER position{};
        ASSERT_EQ(cursor.stream->Seek(Move(move), origin, &position), S_OK);
        ASSERT_EQ(position.QuadPart, cursor.position);
    }
    /// To where no position is, and from where there is none.
    void SeekInVain(Cursor& cursor) {
        const auto [origin, from] = AnyOrigin(cursor);
        const LONGLONG before = -1 - static_cast<LONGLONG>(Below(9));
        ASSERT_EQ(cursor.stream->Seek(Move(before - from), origin, nullptr), STG_E_INVALIDFUNCTION);
        ASSERT_EQ(cursor.stream->Seek(Move(0), static_cast<DWORD>(3 + Below(99)), nullptr), STG_E_INVALIDFUNCTION);
        ASSERT_EQ(PositionOf(cursor.stream.Get()), cursor.position);
    }
    void CloneInto(const Cursor& cursor, Cursor& clone) { clone = {CloneOf(cursor.stream), cursor.position}; }
    void Stat(Cursor& cursor) {
        STATSTG stat;
        memset(&stat, 7, sizeof stat);
        ASSERT_EQ(cursor.stream->Stat(&stat, STATFLAG_NONAME), S_OK);
        ASSERT_EQ(stat.type, static_cast<DWORD>(STGTY_STREAM));
        ASSERT_EQ(stat.cbSize.QuadPart, bytes_.size());
        ASSERT_EQ(stat.pwcsName, nullptr);
    }
    void Read(Cursor& cursor) {
        std::string bytes(Length(), '?'), expected = Expected(cursor, bytes.size());
        ULONG came = static_cast<ULONG>(expected.size()) + 1;
        const bool counts = Below(4) != 0;
        const auto size = static_cast<ULONG>(bytes.size());
        ASSERT_EQ(cursor.stream->Read(bytes.data(), size, counts ? &came : nullptr), S_OK);
        ASSERT_EQ(came, expected.size() + (counts ? 0 : 1));
        cursor.position += expected.size();
        expected.resize(size, '?');
        ASSERT_TRUE(bytes == expected) << "before " << cursor.position;
    }
    void Write(Cursor& cursor) {
        const std::string bytes = Bytes(Length());
        ULONG went = 77;
        const bool counts = Below(4) != 0;
        const auto size = static_cast<ULONG>(bytes.size());
        ASSERT_EQ(cursor.stream->Write(bytes.data(), size, counts ? &went : nullptr), S_OK);
        ASSERT_EQ(went, counts ? size : 77);
        Overwrite(cursor.position, bytes);
        cursor.position += size;
        ASSERT_EQ(PositionOf(cursor.stream.Get()), cursor.position);
        if (bytes_.size() > 2 * greatest) Resize(cursor);
    }
    void Resize(Cursor& cursor) {
        bytes_.resize(Below(Below(2) == 0 ? 40 : greatest));
        ASSERT_EQ(cursor.stream->SetSize(Size(bytes_.size())), S_OK);
    }
    /// To the other one, or to a stream apart.
    void Copy(Cursor& cursor, Cursor& other) {
        const std::size_t count = Length();
        const std::string copied = Expected(cursor, count);
        // Where both overlap the bytes depend on the pieces that it is done in.
        const bool overlap = other.position > cursor.position && other.position < cursor.position + copied.size();
        Cursor apart;
        if (overlap || Below(3) == 0) apart.stream = MemoryStream({});
        Cursor& target = apart.stream ? apart : other;
        ULARGE_INTEGER read{}, written{};
        ASSERT_EQ(cursor.stream->CopyTo(target.stream.Get(), Size(count), &read, &written), S_OK);
        ASSERT_EQ(read.QuadPart, copied.size());
        ASSERT_EQ(written.QuadPart, copied.size());
        cursor.position += copied.size(), target.position += copied.size();
        ASSERT_EQ(PositionOf(cursor.stream.Get()), cursor.position);
        ASSERT_EQ(PositionOf(target.stream.Get()), target.position);
        if (!apart.stream) return Overwrite(target.position - copied.size(), copied);
        ASSERT_TRUE(ContentOf(apart.stream.Get()) == copied);
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
    Model model(Make(), alphabet, 7);
    for (int step = 0; step < 4'000 && !HasFatalFailure(); ++step) {
        SCOPED_TRACE(step);
        model.Step();
    }
    model.ExpectSame();
}

INSTANTIATE_TEST_SUITE_P(Streams, EveryStream, testing::ValuesIn(StreamKinds()),
                         [](const auto& kind) { return std::string(kind.param.name); });

}  // namespace mova::test
