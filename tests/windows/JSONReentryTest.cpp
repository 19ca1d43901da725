// Streams that call back into what is reading or writing them.
#include <cstring>
#include <functional>

#include "tests/windows/Support.h"

namespace mova::test {
namespace {

class CallingStream final : public LocalStream {
 public:
    STDMETHODIMP Write(const void* bytes, ULONG size, ULONG* written) noexcept override {
        content.append(static_cast<const char*>(bytes), size);
        if (written) *written = size;
        call(++calls);
        return S_OK;
    }
    STDMETHODIMP Read(void* target, ULONG size, ULONG* read) noexcept override {
        call(++calls);
        const auto count = static_cast<ULONG>(std::min<std::size_t>({size, content.size() - next, atOnce}));
        std::memcpy(target, content.data() + next, count);
        next += count;
        *read = count;
        return count < size ? S_FALSE : S_OK;
    }
    STDMETHODIMP Stat(STATSTG* stat, DWORD) noexcept override {
        call(++calls);
        *stat = {};
        stat->cbSize.QuadPart = stated;
        return S_OK;
    }

    std::string content;
    std::size_t next = 0;
    std::size_t atOnce = SIZE_MAX;
    ULONGLONG stated = 0;
    std::function<void(int)> call = [](int) {};
    int calls = 0;
};

TEST(JSONReentry, WhatIsBeingWrittenStaysWhatItWas) {
    const std::u16string_view text = u"{\"c\":{\"x\":\"first\",\"o\":{},\"y\":\"second\"},\"d\":1}";
    for (int at = 1; at <= 8; ++at) {
        auto object = New<IJSONObjectEx>(u"JSONObject");
        ASSERT_EQ(object->FromJSONString(Bstr(text)), S_OK);
        CallingStream inner;
        inner.content = "{}";
        inner.stated = 2;
        CallingStream target;
        target.call = [&](int count) {
            if (count != at) return;
            kv::Ptr<IJSONObject> nested;
            EXPECT_TRUE(AnswerOf(object, &IJSONObjectEx::GetJSONObject, Bstr(u"c"), nested.Put()));
            EXPECT_EQ(nested.As<IJSONObjectEx>()->put_ReplaceExisting(VARIANT_TRUE), S_OK);
            EXPECT_EQ(nested->AddString(Bstr(u"y"), Bstr(std::u16string(200'000, u'\u4e00'))), S_OK);
            EXPECT_EQ(nested->AddVariant(Bstr(u"o"), Value(&inner).Get()), S_OK);
            EXPECT_EQ(nested->RemoveMember(Bstr(u"x")), S_OK);
            nested = {};
            EXPECT_EQ(object->RemoveAll(), S_OK);
        };
        auto writer = New<IJSONWriter>(u"JSONWriter");
        ASSERT_EQ(writer->WriteToStream(&target), S_OK);
        EXPECT_EQ(object->ToJSON(nullptr, writer.Get()), S_OK);
        EXPECT_EQ(target.content, at == 1  ? "{}"
                                  : at < 8 ? kv::Utf8(text.substr(0, text.size() - 7)) + "}"
                                           : kv::Utf8(text))
            << at;
    }
}

TEST(JSONReentry, AReaderIsNotOpenedByItsOwnStream) {
    CallingStream source;
    source.content = "[1,2,\"" + std::string(40, 'x') + "\"]";
    source.stated = 4;
    source.atOnce = 5;
    auto reader = New<IJSONReader4>(u"JSONReader");
    source.call = [&](int) {
        TakeErrorInfo();
        EXPECT_EQ(reader->ReadFromString(Bstr(u"[]")), E_UNEXPECTED);
        EXPECT_EQ(TakeErrorInfo(),
                  Refusal<IJSONReader>("JSONReader", "The reader is being called by the stream that it reads."));
        EXPECT_EQ(reader->ReadFromStream(&source), E_UNEXPECTED);
        reader->ReadNext();
        reader->SkipArray();
        kv::Variant value;
        reader->ReadValue(value.Put());
    };
    ASSERT_EQ(reader->ReadFromStream(&source), S_OK);
    const auto isStart = AnswerOf(reader, &IJSONReader4::IsStartOfArray);
    EXPECT_EQ(isStart, VARIANT_TRUE);
    int tokens = 1;
    while (reader->ReadNext() == S_OK) ++tokens;
    EXPECT_EQ(tokens, 5);
    source.call = [](int) {};
}

}  // namespace
}  // namespace mova::test
