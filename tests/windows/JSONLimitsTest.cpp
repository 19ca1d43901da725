// What the JSON classes do at their limits: documents without end or bottom, and streams that fail.
#include <movaJSON.h>
#include <movaJSONReader.h>
#include <movaJSONWriter.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "kvcore/Stream.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

using Object = kv::Ptr<IJSONObjectEx>;
using Reader = kv::Ptr<IJSONReaderPosition>;

constexpr int deepest = 501;  // the most objects and arrays that may be in one another

/// Calls a function on a thread with as little stack as the system grants: Wine makes it a megabyte.
void OnSmallStack(const std::function<void()>& body) {
    const auto run = [](void* argument) -> DWORD {
        EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), S_OK);
        (*static_cast<const std::function<void()>*>(argument))();
        CoUninitialize();
        return 0;
    };
    auto* const thread = CreateThread(nullptr, 64 * 1024, run, const_cast<std::function<void()>*>(&body),
                                      STACK_SIZE_PARAM_IS_A_RESERVATION, nullptr);
    ASSERT_NE(thread, nullptr);
    WaitForSingleObject(thread, INFINITE);
    CloseHandle(thread);
}

/// What is nested, the outermost first; and the next ones are as the first ones again.
struct Nesting {
    std::u16string_view kinds;

    bool IsObject(int level) const { return kinds[static_cast<std::size_t>(level) % kinds.size()] == u'{'; }
    /// A document of so many levels.
    std::u16string Text(int levels) const {
        std::u16string text;
        for (int level = 0; level < levels; ++level) {
            text += IsObject(level) ? u"{" : u"[";
            if (IsObject(level) && level + 1 < levels) text += u"\"a\":";
        }
        for (int level = levels; level-- > 0;) text += IsObject(level) ? u'}' : u']';
        return text;
    }
};

kv::Ptr<IStream> StreamOf(std::u16string_view text) {
    return MemoryStream(kv::Utf8(text));
}

Reader ReaderOf(std::u16string_view text) {
    auto reader = New<IJSONReaderPosition>(u"JSONReader");
    EXPECT_EQ(reader->ReadFromString(Bstr(text)), S_OK);
    return reader;
}

/// A way to load a document. @return how that went
struct Door {
    const char* name;
    std::function<HRESULT(std::u16string_view text, bool isObject)> load;
    bool takesArrays = true;
};

const Door doors[] = {
    {"FromJSONString",
     [](std::u16string_view text, bool isObject) {
         if (!isObject) return New<IJSONArray>(u"JSONArray")->FromJSONString(Bstr(text));
         const auto object = New<IJSONObject>(u"JSONObject");
         const HRESULT status = object->FromJSONString(Bstr(text));
         if (status == S_OK) {
             EXPECT_EQ(AnswerOf(object, &IJSONObject::ToJSONString, nullptr).View(), text);
         }
         return status;
     }},
    {"ParseJSON",
     [](std::u16string_view text, bool isObject) {
         const auto reader = New<IJSONReader>(u"JSONReader");
         EXPECT_EQ(reader->ReadFromStream(StreamOf(text).Get()), S_OK);
         return isObject ? New<IJSONObject>(u"JSONObject")->ParseJSON(reader.Get())
                         : New<IJSONArray>(u"JSONArray")->ParseJSON(reader.Get());
     }},
    {"a stream that is a member",
     [](std::u16string_view text, bool) {
         const auto object = New<IJSONObject>(u"JSONObject");
         EXPECT_EQ(object->AddVariant(Bstr(u"s"), Value(StreamOf(text).As<IUnknown>().Get()).Get()), S_OK);
         kv::Ptr<IJSONObject> read;
         VARIANT_BOOL found = VARIANT_FALSE;
         return object->GetJSONObject(Bstr(u"s"), read.Put(), &found);
     },
     false},
    {"ParseText",
     [](std::u16string_view text, bool) {
         return New<IJSONReader>(u"JSONReader")->ParseText(Bstr(text), kv::Ptr<IUnknown>().Put());
     }},
    {"containers as text",
     [](std::u16string_view text, bool) {
         const auto reader = ReaderOf(text);
         reader->SetReadContainersAsText(VARIANT_TRUE);
         kv::Variant value;
         const HRESULT status = reader->ReadValue(value.Put());
         if (SUCCEEDED(status)) {
             EXPECT_EQ(kv::View(value.Get().bstrVal), text);
         }
         return status;
     }},
};

/// All tokens from the current one on, a line each. @param status receives what ended them
std::string TokensOf(const Reader& reader, HRESULT& status) {
    std::string tokens;
    do {
        LONG token = 0;
        kv::BString text;
        EXPECT_EQ(reader->GetTokenType(&token), S_OK);
        reader->GetString(VARIANT_FALSE, text.Put());
        tokens += std::to_string(token) + " " + kv::Utf8(text.View()) + "\n";
        status = reader->ReadNext();
    } while (status == S_OK);
    return tokens;
}

}  // namespace

TEST(JSONLimits, DocumentsLoadToADepthThroughEveryDoor) {
    OnSmallStack([] {
        for (const Nesting& nesting : {Nesting{u"{"}, Nesting{u"["}, Nesting{u"{["}, Nesting{u"[{"}}) {
            const bool isObject = nesting.IsObject(0);
            for (const int levels : {1, deepest, deepest + 1, 10'000, 1'000'000}) {
                const std::u16string text = nesting.Text(levels);
                for (const Door& door : doors) {
                    if (!isObject && !door.takesArrays) continue;
                    EXPECT_EQ(door.load(text, isObject), levels <= deepest ? S_OK : E_FAIL)
                        << door.name << " " << levels << " " << kv::Utf8(nesting.kinds);
                }
            }
        }
    });
}

TEST(JSONLimits, ReadersAndWritersNestWithoutABottom) {
    static constexpr int levels = 1'000'000;
    OnSmallStack([] {
        for (const Nesting& nesting : {Nesting{u"{"}, Nesting{u"["}, Nesting{u"{["}, Nesting{u"[{"}}) {
            SCOPED_TRACE(kv::Utf8(nesting.kinds));
            const std::u16string text = nesting.Text(levels);
            const auto skipped = ReaderOf(text);
            EXPECT_EQ(nesting.IsObject(0) ? skipped->SkipObject() : skipped->SkipArray(), S_FALSE);
            const auto isEnd =
                nesting.IsObject(0) ? &IJSONReaderPosition::IsEndOfObject : &IJSONReaderPosition::IsEndOfArray;
            EXPECT_EQ(AnswerOf(skipped, isEnd), VARIANT_TRUE);
            const auto walked = ReaderOf(text);
            LONGLONG most = 0, depth = 0;
            while (walked->ReadNext() == S_OK) {
                EXPECT_EQ(walked->get_Depth(&depth), S_OK);
                most = std::max(most, depth);
            }
            EXPECT_EQ(most, levels);
            EXPECT_EQ(depth, 0);

            const auto writer = New<IJSONWriter4>(u"JSONWriter");
            EXPECT_EQ(writer->WriteToMemory(), S_OK);
            const Bstr a(u"a");
            for (int level = 0; level < levels; ++level) {
                auto* const name = level > 0 && nesting.IsObject(level - 1) ? static_cast<BSTR>(a) : nullptr;
                ASSERT_EQ(nesting.IsObject(level) ? writer->StartObject(name) : writer->StartArray(name), S_OK);
            }
            for (int level = levels; level-- > 0;)
                ASSERT_EQ(nesting.IsObject(level) ? writer->EndObject() : writer->EndArray(), S_OK);
            const auto written = AnswerOf(writer, &IJSONWriter4::GetText);
            EXPECT_TRUE(written.View() == text);
        }
    });
}

TEST(JSONLimits, TreesThatAreMadeEndHoweverDeepTheyAre) {
    OnSmallStack([] {
        for (const int levels : {deepest, deepest + 1, 100'000}) {
            for (const Nesting& nesting : {Nesting{u"{"}, Nesting{u"{["}}) {
                SCOPED_TRACE(std::to_string(levels) + " " + kv::Utf8(nesting.kinds));
                const auto root = New<IJSONObject>(u"JSONObject");
                kv::Ptr<IJSONObject> object = root;
                kv::Ptr<IJSONArray> array;
                const Bstr name(u"a");
                for (int level = 1; level < levels; ++level) {
                    kv::Ptr<IJSONObject> nextObject;
                    kv::Ptr<IJSONArray> nextArray;
                    if (nesting.IsObject(level)) {
                        ASSERT_EQ(object ? object->CreateJSONObject(name, nextObject.Put())
                                         : array->CreateJSONObject(nextObject.Put()),
                                  S_OK);
                    } else {
                        ASSERT_EQ(object ? object->CreateJSONArray(name, nextArray.Put())
                                         : array->CreateJSONArray(nextArray.Put()),
                                  S_OK);
                    }
                    object = nextObject;
                    array = nextArray;
                }
                object = {};
                array = {};
                const HRESULT expected = levels <= deepest ? S_OK : E_FAIL;
                kv::BString text;
                EXPECT_EQ(root->ToJSONString(nullptr, text.Put()), expected);
                if (expected == S_OK) {
                    EXPECT_EQ(text.View(), nesting.Text(levels));
                }
                const auto outer = New<IJSONObject>(u"JSONObject");
                EXPECT_EQ(outer->AddObject(name, root.Get()), S_OK);
                EXPECT_EQ(outer->ToJSONString(nullptr, text.Put()), E_FAIL);
                const auto writer = New<IJSONWriter>(u"JSONWriter");
                EXPECT_EQ(writer->WriteToMemory(), S_OK);
                EXPECT_EQ(root->ToJSON(nullptr, writer.Get()), expected);
            }
        }
    });
}

/// Within numbers and words, and in opening, the stream's own status comes through.
bool SaysThatTheStreamFailed(HRESULT status) {
    const std::string information = TakeErrorInfo();
    return status == STG_E_READFAULT ||
           (status == E_UNEXPECTED && information.find("|ReadChunk failed; state : ") != std::string::npos);
}

TEST(JSONLimits, StreamsThatFailOrLieGiveTheirTokensOrTheirStatus) {
    const std::string text =
        "{\"list\" : [ 1, -2.5e3, \"\xC3\xA4\xE2\x82\xAC \\u00e4\", true, null ],\n \"o\":{\"\":\"\"}} ";
    HRESULT end = E_FAIL;
    const std::string whole = TokensOf(ReaderOf(kv::Utf16(text)), end);
    ASSERT_EQ(end, S_FALSE);
    const struct {
        HRESULT stat;
        ULONGLONG size;
    } sizes[] = {{S_OK, 0},           {S_OK, 1},          {S_OK, 2},          {S_OK, text.size() - 1},
                 {S_OK, text.size()}, {S_OK, 1ull << 32}, {S_OK, 1ull << 63}, {E_NOTIMPL, 0}};
    for (const auto& [stat, size] : sizes) {
        for (const ULONG most : {1u, 3u, ~0u}) {
            for (int failing = 0; failing < 40; ++failing) {
                SCOPED_TRACE(std::to_string(size) + " " + std::to_string(most) + " " + std::to_string(failing));
                SourceStream stream(text);
                stream.stat = stat;
                stream.size = size;
                stream.most = most;
                stream.before = [&](int read) { return read + 1 == failing ? STG_E_READFAULT : S_OK; };
                const auto reader = New<IJSONReaderPosition>(u"JSONReader");
                const HRESULT opened = reader->ReadFromStream(&stream);
                if (opened != S_OK) {
                    EXPECT_EQ(opened, STG_E_READFAULT);
                    EXPECT_NE(failing, 0);
                    continue;
                }
                const std::string tokens = TokensOf(reader, end);
                EXPECT_TRUE(whole.starts_with(tokens)) << tokens;
                if (end == S_FALSE) {
                    EXPECT_EQ(tokens, whole);
                } else {
                    EXPECT_TRUE(SaysThatTheStreamFailed(end)) << end;
                    EXPECT_NE(failing, 0);
                }
            }
        }
    }
    SourceStream unknown(text);
    unknown.stat = E_FAIL;
    EXPECT_EQ(New<IJSONReader>(u"JSONReader")->ReadFromStream(&unknown), E_FAIL);
}

TEST(JSONLimits, DocumentsOfFailingStreamsFailWithTheirStatus) {
    const std::string text = "{\"a\":[1,2,{\"b\":\"text\"}],\"c\":3} ";
    int loaded = 0;
    for (int failing = 0; failing < 60; ++failing) {
        SourceStream stream(text);
        stream.size = 1;  // so that it is read in small pieces
        stream.before = [&](int read) { return read + 1 == failing ? STG_E_READFAULT : S_OK; };
        const auto reader = New<IJSONReader>(u"JSONReader");
        HRESULT status = reader->ReadFromStream(&stream);
        const auto object = New<IJSONObject>(u"JSONObject");
        if (status == S_OK) status = object->ParseJSON(reader.Get());
        const auto written = AnswerOf(object, &IJSONObject::ToJSONString, nullptr);
        if (status == S_OK) {
            ++loaded;
            EXPECT_EQ(kv::Utf8(written.View()) + " ", text);
        } else {
            EXPECT_TRUE(SaysThatTheStreamFailed(status)) << failing;
        }
    }
    EXPECT_GT(loaded, 1);
    EXPECT_LT(loaded, 59);
}

/// An array of short numbers between much white space.
TEST(JSONLimits, StreamsOfMoreThan32BitsAreReadInConstantMemory) {
    constexpr ULONGLONG period = 64 * 1024;  // a number and a comma at the end of so many blanks
    constexpr ULONGLONG size = 4160ull << 20;
    std::string block(period, ' ');
    ULONGLONG made = 0;
    SourceStream stream;
    stream.size = size;
    stream.before = [&](int) {
        if (!stream.bytes.empty() || made == size) return S_OK;
        block[0] = made == 0 ? '[' : ' ';
        made += period;
        block.replace(period - 2, 2, made == size ? "7]" : "7,");
        stream.bytes = block;
        return S_OK;
    };
    const auto reader = New<IJSONReaderPosition>(u"JSONReader");
    ASSERT_EQ(reader->ReadFromStream(&stream), S_OK);
    ASSERT_EQ(reader->ReadNext(), S_OK);
    const std::size_t before = PrivateBytes();
    LONG number = 0;
    for (ULONGLONG count = size / period; count > 0; --count) {
        ASSERT_EQ(reader->ReadInteger(&number), S_OK);
        ASSERT_EQ(number, 7);
    }
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::get_TokenOffset), static_cast<LONGLONG>(size - 1));
    constexpr std::size_t mostGrowth = 16u << 20;
    EXPECT_LT(PrivateBytes(), before + mostGrowth);
    const auto token = AnswerOf(reader, &IJSONReaderPosition::GetTokenType);
    EXPECT_EQ(token, movaJSONTokenEndOfArray);
    EXPECT_EQ(reader->ReadNext(), S_FALSE);
    EXPECT_TRUE(made == size && stream.bytes.empty());
}

}  // namespace mova::test
