#include <array>
#include <bit>
#include <climits>

#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

/// Writes a number, compares the bytes, reads it back bit by bit, and reads it from fewer bytes than it has.
template <class Number>
void ExpectBytes(HRESULT (STDMETHODCALLTYPE IByteSwapStreamIO::*write)(Number),
                 HRESULT (STDMETHODCALLTYPE IByteSwapStreamIO::*read)(Number*), Number number, std::string_view bytes) {
    const auto swap = New<IByteSwapStreamIO>(u"ByteSwapStreamIO");
    const auto inner = MemoryStream({});
    EXPECT_EQ((swap.Get()->*write)(number), E_FAIL) << "without an inner stream";
    Number back = 7;
    EXPECT_EQ((swap.Get()->*read)(&back), E_FAIL);
    ASSERT_EQ(swap->put_Stream(inner.Get()), S_OK);
    ASSERT_EQ((swap.Get()->*write)(number), S_OK);
    EXPECT_EQ(ContentOf(inner.Get()), bytes);
    ASSERT_EQ(SeekTo(inner.Get(), 0), S_OK);
    ASSERT_EQ((swap.Get()->*read)(&back), S_OK);
    using Bits = std::array<std::byte, sizeof(Number)>;
    EXPECT_EQ(std::bit_cast<Bits>(back), std::bit_cast<Bits>(number));
    EXPECT_EQ((swap.Get()->*read)(nullptr), E_POINTER);
    for (std::size_t count = 0; count < bytes.size(); ++count) {
        ASSERT_EQ(swap->put_Stream(MemoryStream(bytes.substr(0, count)).Get()), S_OK);
        back = 7;
        EXPECT_EQ((swap.Get()->*read)(&back), E_FAIL) << count;
        EXPECT_EQ(TakeErrorInfo(),
                  Refusal<IByteSwapStreamIO>("ByteSwapStreamIO", "The stream ends within the number."));
        EXPECT_EQ(back, Number{});
    }
}

}  // namespace

TEST(ByteSwapStreamIO, PutsTheHighestByteFirst) {
    using Swap = IByteSwapStreamIO;
    using namespace std::string_view_literals;
    ExpectBytes<SHORT>(&Swap::WriteInt16, &Swap::ReadInt16, 0x1234, "\x12\x34"sv);
    ExpectBytes<SHORT>(&Swap::WriteInt16, &Swap::ReadInt16, -2, "\xFF\xFE"sv);
    ExpectBytes<LONG>(&Swap::WriteInt32, &Swap::ReadInt32, 0x12345678, "\x12\x34\x56\x78"sv);
    ExpectBytes<LONG>(&Swap::WriteInt32, &Swap::ReadInt32, INT_MIN, "\x80\0\0\0"sv);
    ExpectBytes<LONGLONG>(&Swap::WriteInt64, &Swap::ReadInt64, 0x0102030405060708, "\1\2\3\4\5\6\7\x08"sv);
    ExpectBytes<FLOAT>(&Swap::WriteSingle, &Swap::ReadSingle, 1.0f, "\x3F\x80\0\0"sv);
    ExpectBytes<DOUBLE>(&Swap::WriteDouble, &Swap::ReadDouble, -2.0, "\xC0\0\0\0\0\0\0\0"sv);
    const auto signaling = std::bit_cast<double>(0x7FF0'0000'0000'0001);
    ExpectBytes<DOUBLE>(&Swap::WriteDouble, &Swap::ReadDouble, signaling, "\x7F\xF0\0\0\0\0\0\1"sv);
}

TEST(ByteSwapStreamIO, IsNothingWithoutItsInnerStream) {
    const auto swap = New<IByteSwapStreamIO>(u"ByteSwapStreamIO");
    const auto stream = swap.As<IStream>();
    char byte = 0;
    ULONG count = 77;
    ULARGE_INTEGER read = Size(77), written = Size(77);
    STATSTG stat;
    kv::Ptr<IStream> clone;
    const std::function<HRESULT()> operations[] = {
        [&] { return stream->Read(&byte, 1, &count); },
        [&] { return stream->Write(&byte, 1, nullptr); },
        [&] { return stream->Seek(Move(0), STREAM_SEEK_SET, nullptr); },
        [&] { return stream->SetSize(Size(1)); },
        [&] { return stream->CopyTo(MemoryStream({}).Get(), Size(1), &read, &written); },
        [&] { return stream->Commit(STGC_DEFAULT); },
        [&] { return stream->Revert(); },
        [&] { return stream->LockRegion(Size(0), Size(1), LOCK_WRITE); },
        [&] { return stream->UnlockRegion(Size(0), Size(1), LOCK_WRITE); },
        [&] { return stream->Stat(&stat, STATFLAG_NONAME); },
        [&] { return stream->Clone(clone.Put()); },
    };
    for (const auto& operation : operations) EXPECT_EQ(operation(), E_FAIL) << &operation - operations;
    EXPECT_EQ(count + read.QuadPart + written.QuadPart, 0u);
    EXPECT_FALSE(AnswerOf(swap, &IByteSwapStreamIO::get_Stream));
    const auto memory = MemoryStream("abc");
    ASSERT_EQ(swap->put_Stream(memory.Get()), S_OK);
    const auto inner = AnswerOf(swap, &IByteSwapStreamIO::get_Stream);
    EXPECT_EQ(inner.Get(), memory.Get());
    EXPECT_EQ(ContentOf(stream.Get()), "abc");
    EXPECT_EQ(swap->put_Stream(nullptr), S_OK);
    EXPECT_EQ(stream->Commit(STGC_DEFAULT), E_FAIL);
}

TEST(ByteSwapStreamIO, IsNotLaidOverItself) {
    const auto swap = New<IByteSwapStreamIO>(u"ByteSwapStreamIO");
    const auto objects = New<IObjectStream>(u"ObjectStream");
    const auto moreObjects = New<IObjectStream>(u"ObjectStream");
    ASSERT_EQ(objects->put_Stream(swap.As<IStream>().Get()), S_OK);
    ASSERT_EQ(moreObjects->put_Stream(objects.Get()), S_OK);
    for (const auto& over : {swap.As<IStream>(), objects.As<IStream>(), moreObjects.As<IStream>()}) {
        EXPECT_EQ(swap->put_Stream(over.Get()), E_INVALIDARG);
        EXPECT_EQ(TakeErrorInfo(), Refusal<IStream>("ByteSwapStreamIO", "A stream cannot be laid over itself."));
    }
    const auto factory = FactoryOf(__uuidof(::ByteSwapStreamIO));
    auto lowest = swap;
    for (int i = 0; i < 200'000; ++i) {
        kv::Ptr<IByteSwapStreamIO> lower;
        ASSERT_EQ(factory->CreateInstance(nullptr, __uuidof(IByteSwapStreamIO), lower.PutVoid()), S_OK);
        ASSERT_EQ(lowest->put_Stream(lower.As<IStream>().Get()), S_OK);
        lowest = lower;
    }
    ASSERT_EQ(lowest->put_Stream(MemoryStream("abc").Get()), S_OK);
    EXPECT_EQ(moreObjects->Commit(STGC_DEFAULT), E_FAIL);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IStream>("ByteSwapStreamIO", "Too many streams are laid over each other."));
}

}  // namespace mova::test
