// The combined stream: its parts, and what becomes of it when they fail or come round to it.
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

/// A stream over another one whose operations fail once so many were called.
class FailingStream final : public LocalStream {
 public:
    explicit FailingStream(std::string_view content) : inner_(MemoryStream(content)) {}
    virtual ~FailingStream() = default;

    STDMETHODIMP Read(void* target, ULONG size, ULONG* read) noexcept override {
        return Fails() ? STG_E_READFAULT : inner_->Read(target, size, read);
    }
    STDMETHODIMP Write(const void* source, ULONG size, ULONG* written) noexcept override {
        return Fails() ? STG_E_WRITEFAULT : inner_->Write(source, size, written);
    }
    STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) noexcept override {
        return Fails() ? STG_E_SEEKERROR : inner_->Seek(move, origin, position);
    }
    STDMETHODIMP SetSize(ULARGE_INTEGER size) noexcept override {
        return Fails() ? STG_E_MEDIUMFULL : inner_->SetSize(size);
    }
    STDMETHODIMP Commit(DWORD) noexcept override { return Fails() ? STG_E_CANTSAVE : S_OK; }

    int callsLeft = INT_MAX;

 private:
    bool Fails() noexcept { return callsLeft-- <= 0; }

    kv::Ptr<IStream> inner_;
};

kv::Ptr<ICombinedStream> Combine(std::initializer_list<IStream*> parts) {
    auto whole = New<ICombinedStream>(u"CombinedStream");
    for (IStream* part : parts) EXPECT_EQ(whole->Add(part), S_OK);
    return whole;
}

LONG Count(ICombinedStream* whole) {
    return AnswerOf(whole, &ICombinedStream::get_Count);
}

}  // namespace

TEST(CombinedStream, WritesToThePartsThatThePositionFallsIn) {
    const auto a = MemoryStream("aaa");
    const auto empty = MemoryStream({});
    const auto b = MemoryStream("bbb");
    const auto c = MemoryStream("ccc");
    const auto whole = Combine({a.Get(), empty.Get(), b.Get(), c.Get()}).As<IStream>();
    ASSERT_EQ(SeekTo(whole.Get(), 2), S_OK);
    ASSERT_EQ(Put(whole.Get(), "12345"), S_OK);
    EXPECT_EQ(ContentOf(a.Get()) + "|" + ContentOf(empty.Get()) + "|" + ContentOf(b.Get()) + "|" + ContentOf(c.Get()),
              "aa1||234|5cc");
    ASSERT_EQ(whole->Seek(Move(-1), STREAM_SEEK_END, nullptr), S_OK);
    ASSERT_EQ(Put(whole.Get(), "more"), S_OK);
    EXPECT_EQ(ContentOf(c.Get()), "5cmore");
    ASSERT_EQ(whole->SetSize(Size(4)), S_OK);
    EXPECT_EQ(ContentOf(b.Get()) + "|" + ContentOf(c.Get()), "2|");
    ASSERT_EQ(SeekTo(whole.Get(), 4), S_OK);
    ASSERT_EQ(Put(whole.Get(), "new"), S_OK);
    EXPECT_EQ(ContentOf(b.Get()) + "|" + ContentOf(c.Get()), "2|new");
    EXPECT_EQ(ContentOf(whole.Get()), "aa12new");
}

TEST(CombinedStream, CountsTheLastPartAsItIsAndOthersAsTheyWere) {
    const auto a = MemoryStream("aaa");
    const auto b = MemoryStream("bbb");
    const auto whole = Combine({a.Get()});
    const auto stream = whole.As<IStream>();
    ASSERT_EQ(a->SetSize(Size(4)), S_OK);
    EXPECT_EQ(SizeOf(stream.Get()), 4u);
    ASSERT_EQ(whole->Add(b.Get()), S_OK);
    ASSERT_EQ(a->SetSize(Size(6)), S_OK);
    EXPECT_EQ(ContentOf(stream.Get()), std::string("aaa\0bbb", 7));
    ASSERT_EQ(a->SetSize(Size(2)), S_OK);
    ASSERT_EQ(SeekTo(stream.Get(), 0), S_OK);
    EXPECT_EQ(Take(stream.Get(), 2), "aa");
    char byte = 0;
    EXPECT_EQ(
        Refused(stream->Read(&byte, 1, nullptr), STG_E_READFAULT),
        Refusal<ICombinedStream>("CombinedStream", "A part holds fewer bytes than it did when the next was added."));
    EXPECT_EQ(PositionOf(stream.Get()), 2u);
}

TEST(CombinedStream, IsNothingWithoutParts) {
    const auto whole = New<ICombinedStream>(u"CombinedStream");
    const auto stream = whole.As<IStream>();
    ULONG went = 77;
    EXPECT_EQ(SizeOf(stream.Get()), 0u);
    EXPECT_EQ(Take(stream.Get(), 5), "");
    EXPECT_EQ(stream->SetSize(Size(0)), S_OK);
    EXPECT_EQ(stream->SetSize(Size(1)), E_FAIL);
    EXPECT_EQ(Refused(stream->Write("x", 1, &went), E_FAIL),
              Refusal<ICombinedStream>("CombinedStream", "The combined stream has no part that could grow."));
    EXPECT_EQ(went, 0u);
    EXPECT_EQ(stream->Write("x", 0, &went), S_OK);
    const auto part = MemoryStream("abc");
    ASSERT_EQ(whole->Add(part.Get()), S_OK);
    kv::Ptr<IStream> found;
    EXPECT_EQ(AnswerOf(whole, &ICombinedStream::get_Stream, 0).Get(), part.Get());
    for (const LONG index : {-1, 1, INT_MAX}) EXPECT_EQ(whole->get_Stream(index, found.Put()), E_INVALIDARG);
    const auto clone = CloneOf(stream);
    ASSERT_EQ(whole->RemoveAll(), S_OK);
    EXPECT_EQ(Count(whole.Get()), 0);
    EXPECT_EQ(Count(clone.As<ICombinedStream>().Get()), 0) << "clones share the parts";
}

TEST(CombinedStream, IsNoPartOfItself) {
    const auto whole = Combine({MemoryStream("abc").Get()});
    const auto stream = whole.As<IStream>();
    EXPECT_EQ(whole->Add(nullptr), E_POINTER);
    EXPECT_EQ(Refused(whole->Add(stream.Get()), E_INVALIDARG),
              Refusal<ICombinedStream>("CombinedStream", "A combined stream cannot be a part of itself."));
    const auto clone = CloneOf(stream);
    EXPECT_EQ(whole->Add(clone.Get()), STG_E_INUSE);
    EXPECT_EQ(whole->Add(Combine({stream.Get()}).As<IStream>().Get()), STG_E_INUSE);
    EXPECT_EQ(Count(whole.Get()), 1);
    // Hidden behind another part it is found when it is met.
    const auto other = Combine({stream.Get(), MemoryStream("x").Get()});
    ASSERT_EQ(whole->Add(other.As<IStream>().Get()), S_OK);
    char bytes[10];
    ULONG came = 0;
    ASSERT_EQ(SeekTo(stream.Get(), 0), S_OK);
    EXPECT_EQ(stream->Read(bytes, 10, &came), STG_E_INUSE);
    EXPECT_EQ(came, 3u);
    EXPECT_EQ(whole->RemoveAll(), S_OK);
}

TEST(CombinedStream, PassesTheFailureOfAPartOn) {
    FailingStream part("bbb");
    const auto a = MemoryStream("aaa");
    const auto whole = Combine({a.Get(), &part, MemoryStream("ccc").Get()});
    const auto stream = whole.As<IStream>();
    char bytes[10];
    ULONG count = 0;
    for (const int calls : {0, 1}) {
        part.callsLeft = calls;
        ASSERT_EQ(SeekTo(stream.Get(), 1), S_OK);
        EXPECT_EQ(stream->Read(bytes, 8, &count), calls == 0 ? STG_E_SEEKERROR : STG_E_READFAULT);
        EXPECT_EQ(count, 2u);
        EXPECT_EQ(PositionOf(stream.Get()), 3u);
        part.callsLeft = calls;
        ASSERT_EQ(SeekTo(stream.Get(), 1), S_OK);
        EXPECT_EQ(stream->Write("12345678", 8, &count), calls == 0 ? STG_E_SEEKERROR : STG_E_WRITEFAULT);
        EXPECT_EQ(count, 2u);
        EXPECT_EQ(PositionOf(stream.Get()), 3u);
        part.callsLeft = calls;
        ULARGE_INTEGER read{}, written{};
        ASSERT_EQ(SeekTo(stream.Get(), 1), S_OK);
        EXPECT_TRUE(FAILED(stream->CopyTo(MemoryStream({}).Get(), Size(8), &read, &written)));
        EXPECT_EQ(read.QuadPart, 2u);
        EXPECT_EQ(written.QuadPart, 2u);
    }
    part.callsLeft = 0;
    EXPECT_EQ(stream->Commit(STGC_DEFAULT), STG_E_CANTSAVE);
    EXPECT_EQ(stream->SetSize(Size(4)), STG_E_MEDIUMFULL);
    part.callsLeft = INT_MAX;
    EXPECT_EQ(SizeOf(stream.Get()), 6u) << "the last part was emptied before";
    EXPECT_EQ(ContentOf(stream.Get()), "a12bbb");
    part.callsLeft = 0;
    EXPECT_EQ(whole->Add(&part), STG_E_SEEKERROR);
    EXPECT_EQ(Count(whole.Get()), 3);
    EXPECT_EQ(whole->RemoveAll(), S_OK);
}

}  // namespace mova::test
