#include <bit>
#include <cmath>
#include <cstring>
#include <cwctype>
#include <limits>
#include <random>

#include <movaJSON.h>
#include "json/Space.h"
#include "kvcore/Utf8.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

using namespace std::string_view_literals;

using Reader = kv::Ptr<IJSONReaderPosition>;
using IsToken = HRESULT (STDMETHODCALLTYPE IJSONReaderPosition::*)(VARIANT_BOOL*);

Reader Open(std::u16string_view text, HRESULT expected = S_OK) {
    auto reader = New<IJSONReaderPosition>(u"JSONReader");
    EXPECT_EQ(reader->ReadFromString(Bstr(text)), expected) << kv::Utf8(text);
    return reader;
}
/// A reader on the so-manieth token of a text, the first one being 0.
Reader OpenAt(std::u16string_view text, int token) {
    auto reader = Open(text);
    for (; token > 0; --token) EXPECT_EQ(reader->ReadNext(), S_OK) << kv::Utf8(text);
    return reader;
}

LONG TokenOf(const Reader& reader) {
    LONG token = 0;
    EXPECT_EQ(reader->GetTokenType(&token), S_OK);
    return token;
}

std::u16string TextOf(const Reader& reader) {
    kv::BString text;
    EXPECT_EQ(reader->GetString(VARIANT_FALSE, text.Put()), S_OK);
    return std::u16string(text.View());
}

std::string ReaderRefusal(std::string_view message) {
    return Refusal<IJSONReader>("JSONReader", message);
}

}  // namespace

TEST(JSONReader, WalksThroughATextToItsEnd) {
    const auto reader = New<IJSONReaderPosition>(u"JSONReader");
    EXPECT_EQ(TokenOf(reader), movaJSONTokenNone);
    EXPECT_EQ(Refused(reader->ReadNext(), E_UNEXPECTED),
              ReaderRefusal("Unexpected end of file; state : Empty; buffer : "));
    EXPECT_EQ(reader->ReadFromString(Bstr(u"\uFEFF{}")), S_OK);
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::IsStartOfObject), VARIANT_TRUE);
    EXPECT_EQ(reader->ReadNext(), S_OK);
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::IsEndOfObject), VARIANT_TRUE);
    EXPECT_EQ(reader->ReadNext(), S_FALSE);
    EXPECT_EQ(TokenOf(reader), -1);
    EXPECT_EQ(Refused(reader->ReadNext(), E_UNEXPECTED),
              ReaderRefusal("Attempted to read past the end of input data; state : endOfObject; buffer : "));

    EXPECT_EQ(reader->ReadFromString(Bstr(u"")), S_FALSE);
    EXPECT_EQ(TokenOf(reader), -1);
    EXPECT_EQ(reader->ReadNext(), S_FALSE);
    EXPECT_EQ(reader->ReadNext(), E_UNEXPECTED);
    EXPECT_EQ(reader->ReadFromString(Bstr(u" \n")), S_FALSE);
    EXPECT_EQ(reader->ReadFromString(nullptr), E_POINTER);
    EXPECT_EQ(reader->ReadFromStream(nullptr), E_POINTER);
    EXPECT_EQ(reader->ReadFromString(Bstr(u"{a:1}")), S_OK);
    EXPECT_EQ(Refused(reader->ReadNext(), E_UNEXPECTED),
              ReaderRefusal("Expected to find comma, colon or start of array; state : startOfObject; "
                            "buffer : {a:1"));
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::get_FailureColumn), 2);
    EXPECT_EQ(Refused(reader->ReadNext(), E_UNEXPECTED),
              ReaderRefusal("Unexpected ':'; state : startOfObject; buffer : a:1"));
}

TEST(JSONReader, AnswersWhatTheTokenIs) {
    const auto answers = [](const Reader& reader) {
        std::string text;
        for (const IsToken is : std::initializer_list<IsToken>{
                 &IJSONReaderPosition::IsStartOfObject, &IJSONReaderPosition::IsEndOfObject,
                 &IJSONReaderPosition::IsStartOfArray, &IJSONReaderPosition::IsEndOfArray,
                 &IJSONReaderPosition::IsString, &IJSONReaderPosition::IsNumber, &IJSONReaderPosition::IsBoolean,
                 &IJSONReaderPosition::IsNull, &IJSONReaderPosition::IsPropertyName,
                 &IJSONReaderPosition::HasDecimalPoint}) {
            VARIANT_BOOL answer = 7;
            const HRESULT status = (reader.Get()->*is)(&answer);
            text += answer == VARIANT_TRUE ? 'y' : answer == VARIANT_FALSE ? 'n' : '?';
            if (status == S_FALSE) text += 'f';
            if (status == E_UNEXPECTED) text += '!';
        }
        return text;
    };
    const char* const expected[] = {"ynnnnnnnnfnf", "nnnnynnnynf",  "nnynnnnnnfnf", "nnnnnynnnfy",  "nnnnnynnnfnf",
                                    "nnnnnnynnfnf", "nnnnnnnynfnf", "nnnnynnnnfnf", "nnnynnnnnfnf", "nynnnnnnnfnf"};
    const auto reader = Open(u"{\"a\":[1.5,2,true,null,\"1.5\"]}");
    for (const char* row : expected) {
        EXPECT_EQ(answers(reader), row);
        reader->ReadNext();
    }
    EXPECT_EQ(answers(reader), "nynnnnnnnfn!") << "the state stays, the token is gone";
}

TEST(JSONReader, ConvertsWhatItStandsOn) {
    constexpr double any = -77;  // where nothing is written
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const HRESULT no = E_UNEXPECTED;
    struct Row {
        std::u16string_view token;
        HRESULT integerStatus;
        LONG integer;
        HRESULT doubleStatus;
        double number;
        HRESULT booleanStatus;
        VARIANT_BOOL boolean;
        HRESULT dateStatus;
        DATE date;
        HRESULT int64Status;
        LONGLONG int64;
        ULONGLONG uint64;
    };
    const Row rows[] = {
        {u"1.9", S_OK, 1, S_OK, 1.9, no, -1, S_OK, 25569 + 1.9 / 86400000, S_OK, 1, 1},
        {u"-1.9", S_OK, -1, S_OK, -1.9, no, -1, S_OK, 25569 - 1.9 / 86400000, S_OK, -1, ULLONG_MAX},
        {u"0", S_OK, 0, S_OK, 0, no, 0, S_OK, 25569, S_OK, 0, 0},
        {u"4294967298", S_OK, 2, S_OK, 4294967298.0, no, -1, S_OK, 25569 + 4294967298.0 / 86400000, S_OK, 4294967298,
         4294967298},
        {u"1e30", S_OK, 0, S_OK, 1e30, no, -1, S_OK, 25569 + 1e30 / 86400000, S_OK, 1, 1},
        {u"NaN", S_OK, 0, S_OK, nan, no, -1, S_OK, nan, S_OK, LLONG_MAX, ULLONG_MAX},
        {u"18446744073709551615", S_OK, 0, S_OK, 18446744073709551616.0, no, -1, S_OK,
         25569 + 18446744073709551616.0 / 86400000, S_OK, LLONG_MAX, ULLONG_MAX},
        {u"true", no, -77, no, any, S_OK, -1, no, any, no, -77, 77},
        {u"False", no, -77, no, any, S_OK, 0, no, any, no, -77, 77},
        {u"null", no, -77, S_OK, nan, no, 7, no, any, no, -77, 77},
        {u"\"\"", E_FAIL, -77, E_FAIL, any, E_FAIL, 7, E_FAIL, any, S_OK, 0, 0},
        {u"\"17\"", S_OK, 17, S_OK, 17, E_FAIL, 7, E_INVALIDARG, any, S_OK, 17, 17},
        {u"\"\\u0031x\"", E_INVALIDARG, -77, E_INVALIDARG, any, E_FAIL, 7, E_INVALIDARG, any, S_OK, 1, 1},
        {u"\"TRUE\"", E_INVALIDARG, -77, E_INVALIDARG, any, S_OK, -1, E_INVALIDARG, any, S_OK, 0, 0},
        {u"'false'", E_INVALIDARG, -77, E_INVALIDARG, any, S_OK, 0, E_INVALIDARG, any, S_OK, 0, 0},
        {u"\"1970-01-02T12:00:00Z\"", E_INVALIDARG, -77, E_INVALIDARG, any, E_FAIL, 7, S_OK, 25570.5, S_OK, 1970, 1970},
        {u"[", no, -77, no, any, no, 7, no, any, no, -77, 77},
    };
    const auto same = [](double left, double right) { return std::isnan(left) ? std::isnan(right) : left == right; };
    for (const Row& row : rows) {
        SCOPED_TRACE(kv::Utf8(row.token));
        const auto reader = OpenAt(u"[" + std::u16string(row.token) + u",5] ", 1);
        LONG integer = -77;
        double number = any;
        VARIANT_BOOL boolean = 7;
        DATE date = any;
        LONGLONG int64 = -77;
        ULONGLONG uint64 = 77;
        EXPECT_EQ(reader->GetInteger(VARIANT_FALSE, &integer), row.integerStatus);
        EXPECT_EQ(integer, row.integer);
        EXPECT_EQ(reader->GetDouble(VARIANT_FALSE, &number), row.doubleStatus);
        EXPECT_TRUE(same(number, row.number)) << number;
        EXPECT_TRUE(!std::isnan(number) || std::bit_cast<ULONGLONG>(number) == 0x7FF8'0000'0000'0001u);
        EXPECT_EQ(reader->GetBoolean(VARIANT_FALSE, &boolean), row.booleanStatus);
        EXPECT_EQ(boolean, row.boolean);
        EXPECT_EQ(reader->GetDate(VARIANT_FALSE, &date), row.dateStatus);
        EXPECT_TRUE(same(date, row.date)) << date;
        EXPECT_EQ(reader->GetInt64(VARIANT_FALSE, &int64), row.int64Status);
        EXPECT_EQ(int64, row.int64);
        EXPECT_EQ(reader->GetUInt64(VARIANT_FALSE, &uint64), row.int64Status);
        EXPECT_EQ(uint64, row.uint64);
        const LONG token = TokenOf(reader);
        const HRESULT null = token <= movaJSONTokenNumber ? E_POINTER : E_UNEXPECTED;  // the type comes first
        EXPECT_EQ(reader->GetInteger(VARIANT_TRUE, nullptr), null);
        EXPECT_EQ(reader->GetDate(VARIANT_TRUE, nullptr), null);
        EXPECT_EQ(reader->GetInt64(VARIANT_TRUE, nullptr), null);
        EXPECT_EQ(reader->GetUInt64(VARIANT_TRUE, nullptr), null);
        EXPECT_EQ(reader->GetDouble(VARIANT_TRUE, nullptr), token == movaJSONTokenNull ? E_POINTER : null);
        EXPECT_EQ(reader->GetBoolean(VARIANT_TRUE, nullptr), token == movaJSONTokenBoolean ? E_POINTER : null);
        EXPECT_EQ(TokenOf(reader), token) << "it does not go on where it refuses";
    }
}

TEST(JSONReader, ReadsOn) {
    const auto reader = OpenAt(u"{'n\\u0061me':[1,2.5,'x\\ty','',true,0,3,4,'5']}", 1);
    kv::BString text;
    EXPECT_EQ(reader->GetPropertyName(VARIANT_FALSE, text.Put()), S_OK);
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::ReadPropertyName).View(), u"name");
    EXPECT_EQ(
        Refused(reader->ReadPropertyName(text.Put()), E_UNEXPECTED),
        ReaderRefusal("Expected property name; state : startOfArray; buffer : :[1,2.5,'x\\ty','',true,0,3,4,'5']"));
    EXPECT_EQ(reader->ReadNext(), S_OK);
    EXPECT_EQ(TextOf(reader), u"1");
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::ReadInteger), 1);
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::ReadDouble), 2.5);
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::ReadString).View(), u"x\ty");
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::ReadString).Get(), nullptr);
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::ReadBoolean), VARIANT_TRUE);
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::ReadDate), 25569);
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::ReadInt64), 3);
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::ReadUInt64), 4u);
    EXPECT_EQ(reader->ReadString(text.Put()), S_OK);
    EXPECT_EQ(TokenOf(reader), movaJSONTokenEndOfArray);
    EXPECT_EQ(reader->ReadString(text.Put()), E_UNEXPECTED);
    EXPECT_EQ(TakeErrorInfo(), "");

    const auto empty = OpenAt(u"{\"\":1}", 1);
    EXPECT_EQ(Refused(empty->ReadPropertyName(text.Put()), E_UNEXPECTED),
              ReaderRefusal("GetToken failed; state : inPropertyName; buffer : {\"\":1"));
    const auto broken = OpenAt(u"[\"a\",x]", 1);
    EXPECT_EQ(broken->ReadString(text.Put()), E_UNEXPECTED);
    EXPECT_EQ(text.Get(), nullptr);
}

TEST(JSONReader, ReadsValuesByTheirKind) {
    const struct {
        std::u16string_view token;
        VARTYPE type;
        double number;
        LONG decimals;
    } rows[] = {{u"1.5", VT_R8, 1.5, 2},
                {u"1.25", VT_R8, 1.25, 3},
                {u"7", VT_I4, 7, -1},
                {u"-2147483648", VT_I4, -2147483648.0, -1},
                {u"2147483648", VT_I8, 2147483648.0, -1},
                {u"1e2", VT_R8, 100, -1},
                {u"1.5E1", VT_R8, 15, -1},
                {u"true", VT_BOOL, -1, -1},
                {u"null", VT_EMPTY, 0, -1}};
    for (const auto& row : rows) {
        const auto reader = OpenAt(u"[" + std::u16string(row.token) + u",5]", 1);
        kv::Variant value;
        LONG decimals = 0;
        EXPECT_EQ(reader->ReadValueEx(value.Put(), &decimals), S_OK);
        EXPECT_EQ(value.Get().vt, row.type) << kv::Utf8(row.token);
        EXPECT_EQ(decimals, row.decimals) << kv::Utf8(row.token);
        EXPECT_EQ(TextOf(reader), u"5");
        if (row.type == VT_EMPTY) continue;
        VARIANT asDouble{};
        EXPECT_EQ(VariantChangeType(&asDouble, const_cast<VARIANT*>(&value.Get()), 0, VT_R8), S_OK);
        EXPECT_EQ(asDouble.dblVal, row.number);
    }
    kv::Variant value;
    const auto reader = OpenAt(u"[nan,\"a\\n\",[],{}] ", 1);
    EXPECT_EQ(reader->ReadValue(value.Put()), S_OK);
    EXPECT_EQ(value.Get().vt, VT_R8);
    EXPECT_TRUE(std::isnan(value.Get().dblVal));
    EXPECT_EQ(reader->ReadValue(nullptr), E_POINTER);
    EXPECT_EQ(reader->ReadValue(value.Put()), S_OK);
    EXPECT_EQ(kv::View(value.Get().bstrVal), u"a\n");
    EXPECT_EQ(reader->ReadValue(value.Put()), E_UNEXPECTED) << "containers are not read as text";
    EXPECT_EQ(value.Get().vt, VT_EMPTY);
    EXPECT_EQ(reader->ReadNext(), S_OK);
    EXPECT_EQ(reader->ReadValue(value.Put()), E_UNEXPECTED);
}

TEST(JSONReader, MakesObjectsOfTexts) {
    const auto reader = Open(u"[1]");
    kv::Ptr<IUnknown> made;
    ASSERT_EQ(reader->ParseText(Bstr(u"{\"a\":[1,2]}"), made.Put()), S_OK);
    VARIANT_BOOL exists = VARIANT_FALSE;
    EXPECT_EQ(made.As<IJSONObject>()->MemberExists(Bstr(u"a"), &exists), S_OK);
    EXPECT_EQ(exists, VARIANT_TRUE);
    ASSERT_EQ(reader->ParseText(Bstr(u" [true] "), made.Put()), S_OK);
    EXPECT_TRUE(made.As<IJSONArray>());
    EXPECT_EQ(reader->ParseText(Bstr(u""), made.Put()), E_FAIL);
    EXPECT_FALSE(made);
    EXPECT_EQ(Refused(reader->ParseText(Bstr(u"[1,x]"), made.Put()), E_UNEXPECTED),
              ReaderRefusal("Unrecognized token type; state : inArrayValue; buffer : ,x"));
    EXPECT_EQ(reader->ParseText(Bstr(std::u16string(100'000, u'[')), made.Put()), E_FAIL);
    EXPECT_EQ(reader->ParseText(nullptr, made.Put()), E_POINTER);
    EXPECT_EQ(reader->ParseText(Bstr(u"{}"), nullptr), E_POINTER);
    EXPECT_EQ(TokenOf(reader), movaJSONTokenStartOfArray) << "the reader itself has not moved";
}

TEST(JSONReader, ReadsContainersAsText) {
    const auto reader = OpenAt(u"[ {\"a\" : [1, {}]} , [ ] , 5 ]", 1);
    kv::Variant value;
    EXPECT_EQ(reader->SetReadContainersAsText(1), S_OK);
    EXPECT_EQ(reader->ReadValue(value.Put()), E_UNEXPECTED) << "1 is not true";
    EXPECT_EQ(reader->SetReadContainersAsText(VARIANT_TRUE), S_OK);
    EXPECT_EQ(reader->SetReadContainersAsText(VARIANT_FALSE), S_OK);
    EXPECT_EQ(reader->ReadValue(value.Put()), S_OK);
    EXPECT_EQ(value.Get().vt, VT_BSTR);
    EXPECT_EQ(kv::View(value.Get().bstrVal), u"{\"a\":[1,{}]}");
    EXPECT_EQ(reader->ReadValue(value.Put()), S_OK);
    EXPECT_EQ(kv::View(value.Get().bstrVal), u"[]");
    EXPECT_EQ(TextOf(reader), u"5");
}

TEST(JSONReader, FindsPropertiesByTheirNames) {
    constexpr auto text = u"{\"skip\":{\"b\":0,\"x\":[{}]},\"A\\u0062c\":1,\"\u00E4\":2,\"b\":[3],\"last\":4} ";
    const struct {
        std::u16string_view names;
        VARIANT_BOOL found;
        LONG token;
    } rows[] = {{u"abc", VARIANT_TRUE, movaJSONTokenNumber},
                {u" x , ABC ", VARIANT_FALSE, movaJSONTokenNumber},
                {u"B", VARIANT_TRUE, movaJSONTokenStartOfArray},
                {u"\u00C4", VARIANT_TRUE, movaJSONTokenNumber},
                {u"none", VARIANT_FALSE, -1},
                {u"", VARIANT_FALSE, -1},
                {u" , ", VARIANT_FALSE, -1},
                {u"x", VARIANT_FALSE, -1}};
    for (const auto& row : rows) {
        const auto reader = Open(text);
        VARIANT_BOOL found = 7;
        EXPECT_EQ(reader->FindProperty(Bstr(row.names), &found), row.token == -1 ? S_FALSE : S_OK);
        EXPECT_EQ(found, row.found) << kv::Utf8(row.names);
        EXPECT_EQ(TokenOf(reader), row.token) << kv::Utf8(row.names);
    }
    const auto names = New<IStringArray>(u"StrArray");
    EXPECT_EQ(names->Split(Bstr(u"none|LAST|b"), Bstr(u"|")), S_OK);
    LONG index = 7;
    const auto reader = Open(text);
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::FindPropertyIndex, names.Get()), 2);
    EXPECT_EQ(reader->SkipArray(), S_OK);
    EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::FindPropertyIndex, names.Get()), 1);
    EXPECT_EQ(TextOf(reader), u"4");
    EXPECT_EQ(reader->FindPropertyIndex(names.Get(), &index), S_FALSE);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(reader->FindPropertyIndex(nullptr, &index), E_POINTER);

    VARIANT_BOOL found = VARIANT_FALSE;
    EXPECT_EQ(OpenAt(u"[{\"a\":1}]", 0)->FindProperty(Bstr(u"a"), &found), E_UNEXPECTED);
    EXPECT_EQ(OpenAt(u"[1]", 1)->FindProperty(Bstr(u"a"), &found), E_UNEXPECTED);
    EXPECT_EQ(Refused(OpenAt(u"{\"\":1}", 0)->FindProperty(Bstr(u"a"), &found), E_UNEXPECTED),
              ReaderRefusal("GetToken failed; state : inPropertyName; buffer : {\"\":1"));
}

TEST(JSONReader, SkipsTheSameWhereverAChunkEnds) {
    constexpr std::size_t chunk = 262'144;
    for (std::size_t end = chunk - 1; end <= chunk + 1; ++end) {
        SourceStream stream;
        stream.stat = E_NOTIMPL;
        std::string text = R"({"pad":")";
        text += std::string(end - text.size() - 5, 'a') + R"(","x")";
        ASSERT_EQ(text.size(), end);
        stream.bytes = text += R"(:undefined,"y":1} )";
        const auto reader = New<IJSONReaderPosition>(u"JSONReader");
        ASSERT_EQ(reader->ReadFromStream(&stream), S_OK);
        EXPECT_EQ(reader->SkipObject(), S_FALSE) << end << TakeErrorInfo();
    }
}

TEST(JSONReader, SkipsContainersWhole) {
    const auto reader = OpenAt(u"{\"a\":{\"b\":[1,[2,tru]]},\"c\":5}", 2);
    EXPECT_EQ(reader->SkipToEndOfObject(VARIANT_FALSE), S_OK);
    EXPECT_EQ(TokenOf(reader), movaJSONTokenEndOfObject);
    EXPECT_EQ(reader->ReadNext(), S_OK);
    EXPECT_EQ(TextOf(reader), u"c");
    EXPECT_EQ(reader->SkipObject(), S_FALSE);
    const auto array = OpenAt(u"[[1],[2]] ", 0);
    EXPECT_EQ(array->SkipToEndOfArray(VARIANT_TRUE), S_FALSE);
    const auto open = Open(u"[1,2 ");
    EXPECT_EQ(Refused(open->SkipArray(), E_UNEXPECTED),
              ReaderRefusal("Attempted to read past the end of input data; state : inArrayValue; buffer : "));
}

TEST(JSONReader, GoesBackToBookmarks) {
    const auto reader = OpenAt(u"[1,[2,3],4]", 2);
    EXPECT_EQ(reader->SaveBookmark(Bstr(u"here")), S_OK);
    EXPECT_EQ(Refused(reader->RestoreBookmark(Bstr(u"Here")), E_INVALIDARG),
              ReaderRefusal("No position is saved under that name."));
    while (reader->ReadNext() == S_OK) {
    }
    EXPECT_EQ(reader->SaveBookmark(Bstr(u"end")), S_OK);
    EXPECT_EQ(reader->RestoreBookmark(Bstr(u"here")), S_OK);
    EXPECT_EQ(TokenOf(reader), movaJSONTokenStartOfArray);
    EXPECT_EQ(reader->ReadNext(), S_OK);
    EXPECT_EQ(TextOf(reader), u"2");
    EXPECT_EQ(reader->SkipArray(), S_OK);
    EXPECT_EQ(TextOf(reader), u"4");
    EXPECT_EQ(reader->SaveBookmark(Bstr(u"here")), S_OK) << "in place of the former";
    EXPECT_EQ(reader->RestoreBookmark(Bstr(u"end")), S_OK);
    EXPECT_EQ(reader->ReadNext(), E_UNEXPECTED);
    EXPECT_EQ(reader->RestoreBookmark(Bstr(u"here")), S_OK);
    EXPECT_EQ(TextOf(reader), u"4");
    EXPECT_EQ(reader->ReadFromString(Bstr(u"[]")), S_OK);
    EXPECT_EQ(reader->RestoreBookmark(Bstr(u"here")), E_INVALIDARG) << "another text does not have the place";
    EXPECT_EQ(reader->RemoveBookmark(Bstr(u"here")), S_OK);
    EXPECT_EQ(reader->RemoveBookmark(Bstr(u"here")), S_OK);
    EXPECT_EQ(reader->ClearBookmarks(), S_OK);
    EXPECT_EQ(reader->RestoreBookmark(Bstr(u"end")), E_INVALIDARG);

    const auto unopened = New<IJSONReader>(u"JSONReader");
    EXPECT_EQ(unopened->SaveBookmark(Bstr(u"x")), E_FAIL);
    std::string longText = "[" + std::string(300'000, ' ') + "1]";
    EXPECT_EQ(reader->ReadFromStream(MemoryStream(longText).Get()), S_OK);
    EXPECT_EQ(reader->SaveBookmark(Bstr(u"x")), E_FAIL);
    EXPECT_EQ(reader->ClearBookmarks(), E_FAIL);
    longText.resize(200'000);
    EXPECT_EQ(reader->ReadFromStream(MemoryStream(longText).Get()), S_OK);
    EXPECT_EQ(reader->SaveBookmark(Bstr(u"x")), S_OK);
}

TEST(JSONReader, ReadsStreamsOfEverySortAndSize) {
    const TemporaryFolder folder;
    int number = 0;
    for (const std::size_t count : {1u, 1000u, 60'000u}) {
        std::string text = "{\"list\" : [";
        for (std::size_t i = 0; i < count; ++i)
            text += (i ? "," : "") + std::string("\"\xC3\xA4\xE2\x82\xAC ") + std::to_string(i) + "\"";
        text += "]}\n";
        for (const auto& kind : StreamKinds()) {
            SCOPED_TRACE(std::string(kind.name) + " of " + std::to_string(text.size()));
            const auto stream = kind.make(folder, text, ++number);
            const auto reader = New<IJSONReaderPosition>(u"JSONReader");
            ASSERT_EQ(reader->ReadFromStream(stream.Get()), S_OK);
            EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::GetStream).Get(), stream.Get());
            EXPECT_EQ(reader->ReadNext(), S_OK);
            EXPECT_EQ(reader->ReadNext(), S_OK);
            EXPECT_EQ(reader->ReadNext(), S_OK);
            for (std::size_t i = 0; i < count; ++i) {
                kv::BString read;
                ASSERT_EQ(reader->ReadString(read.Put()), S_OK);
                ASSERT_EQ(kv::Utf8(read.View()), "\xC3\xA4\xE2\x82\xAC " + std::to_string(i));
            }
            EXPECT_EQ(reader->ReadNext(), S_OK);
            EXPECT_EQ(reader->ReadNext(), S_FALSE);
            EXPECT_EQ(reader->ReadFromString(Bstr(u"[]")), S_OK);
            EXPECT_EQ(AnswerOf(reader, &IJSONReaderPosition::GetStream).Get(), nullptr);
        }
    }
}

TEST(JSONReader, BelievesStreamsNoFurtherThanTheyCome) {
    const struct {
        const char* what;
        HRESULT stat;
        ULONGLONG size;
        ULONG most;
        std::string_view bytes;
        HRESULT atEnd;
        HRESULT opened;
        std::string_view message;
    } rows[] = {
        {"a size too large", S_OK, 0xFFFFFFFF, 100, "[1]", S_OK, S_OK, ""},
        {"more than 32 bits", S_OK, 0x1'0000'0003, 100, "[1]", S_OK, S_OK, ""},
        {"a size too small", S_OK, 0, 100, "[1]", S_OK, S_OK, ""},
        {"few bytes at a time", S_OK, 3, 1, "[1]", S_OK, S_OK, ""},
        {"no size", E_NOTIMPL, 0, 100, "[1]", S_OK, S_OK, ""},
        {"no end", E_NOTIMPL, 0, 100, "[1]", S_FALSE, S_OK, ""},
        {"no statistics", E_ACCESSDENIED, 0, 100, "[1]", S_OK, E_ACCESSDENIED, ""},
        {"nothing", S_OK, 0, 100, "", S_OK, E_UNEXPECTED, "Expected { or [; state : Empty; buffer : "},
        {"failing", S_OK, 3, 100, "", STG_E_READFAULT, STG_E_READFAULT, ""},
        {"neither encoding", S_OK, 3, 100, "abc", S_OK, E_INVALIDARG,
         "Could not determine encoding; state : Empty; buffer : "},
        {"invalid", S_OK, 4, 100, "[\"\x80\"", S_OK, E_INVALIDARG,
         "Input buffer is empty or contains invalid UTF8 characters.; state : Empty; buffer : "},
        {"a mark alone", S_OK, 2, 100, "\xFF\xFE", S_OK, E_FAIL, ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        SourceStream stream;
        stream.stat = row.stat;
        stream.size = row.size;
        stream.most = row.most;
        stream.bytes = row.bytes;
        stream.atEnd = row.atEnd;
        SetErrorInfo(0, nullptr);
        const auto reader = New<IJSONReaderPosition>(u"JSONReader");
        EXPECT_EQ(reader->ReadFromStream(&stream), row.opened);
        EXPECT_EQ(TakeErrorInfo(), row.message.empty() ? "" : ReaderRefusal(row.message));
        if (row.opened != S_OK) continue;
        EXPECT_EQ(TokenOf(reader), movaJSONTokenStartOfArray);
        EXPECT_EQ(reader->ReadNext(), S_OK);
        EXPECT_EQ(TextOf(reader), u"1");
        EXPECT_EQ(reader->ReadNext(), S_OK);
        EXPECT_EQ(reader->ReadNext(), S_FALSE);
    }
    SourceStream empty;
    empty.atEnd = S_FALSE;
    const auto reader = New<IJSONReaderPosition>(u"JSONReader");
    EXPECT_EQ(reader->ReadFromStream(&empty), S_OK) << "it says itself that there is nothing";
    EXPECT_EQ(TokenOf(reader), -1);
    EXPECT_EQ(Refused(reader->ReadNext(), E_UNEXPECTED),
              ReaderRefusal("Attempted to read past the end of input data; state : Empty; buffer : "));

    SourceStream broken;
    broken.size = 4;
    broken.bytes = "[1, 23";
    broken.atEnd = STG_E_READFAULT;
    EXPECT_EQ(reader->ReadFromStream(&broken), S_OK);
    EXPECT_EQ(reader->ReadNext(), S_OK);
    EXPECT_EQ(Refused(reader->ReadNext(), STG_E_READFAULT),
              ReaderRefusal("ReadChunk failed; state : inArrayValue; buffer : 2"));
}

TEST(JSONReader, KnowsWhereItIs) {
    const auto reader = OpenAt(u"\uFEFF[\r\n  {\"a\":1},\n  tru]", 4);
    const auto places = [&] {
        std::string text;
        for (const auto get : {&IJSONReaderPosition::get_TokenOffset, &IJSONReaderPosition::get_TokenLine,
                               &IJSONReaderPosition::get_TokenColumn, &IJSONReaderPosition::get_FailureOffset,
                               &IJSONReaderPosition::get_FailureLine, &IJSONReaderPosition::get_FailureColumn,
                               &IJSONReaderPosition::get_Depth}) {
            LONGLONG number = -1;
            EXPECT_EQ((reader.Get()->*get)(&number), S_OK);
            text += std::to_string(number) + " ";
        }
        return text;
    };
    EXPECT_EQ(places(), "11 2 9 0 0 0 1 ");
    EXPECT_EQ(reader->ReadNext(), E_UNEXPECTED);
    EXPECT_EQ(places(), "16 3 3 16 3 3 1 ");
}

TEST(JSONReader, TakesWhiteSpaceAndUtf8AsThePlatformDoes) {
    for (unsigned unit = 0; unit < 0x10000; ++unit)
        EXPECT_EQ(json::IsSpace(static_cast<char16_t>(unit)), iswspace(static_cast<wint_t>(unit)) != 0)
            << std::hex << unit;

    std::mt19937 random(7);
    // clang-format off
    constexpr std::string_view pieces[] = {  // of each length, at and beyond its bounds, and broken
        "a", "\x7F", "0123456789abcdef",
        "\xC2\x80", "\xC0", "\xC1", "\xC3", "\xA4", "\x80",
        "\xE0\xA0", "\xE0\x9F\x80", "\xE2\x82\xAC", "\xED\x9F\xBF", "\xED\xA0\x80", "\xEF\xBB\xBF", "\xEF\xBF\xBF",
        "\xF0\x8F\xBF\xBF", "\xF0\x90\x80\x80", "\xF0\x9F\x98", "\xF4\x8F\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF"};
    // clang-format on
    for (int round = 0; round < 50'000; ++round) {
        std::string bytes;
        const bool mostlyValid = round % 4 != 0;
        for (auto count = random() % 12; count > 0; --count) {
            const auto piece = pieces[random() % std::size(pieces)];
            const bool valid = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, piece.data(),
                                                   static_cast<int>(piece.size()), nullptr, 0) != 0;
            if (valid || !mostlyValid) bytes += piece;
        }
        if (bytes.empty()) continue;
        std::u16string units(bytes.size(), u'\0');
        std::u16string expected(bytes.size(), u'\0');
        const auto decoded = kv::DecodeUtf8(std::as_bytes(std::span(bytes)), units.data());
        const int length =
            MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, bytes.data(), static_cast<int>(bytes.size()),
                                kv::Wide(expected.data()), static_cast<int>(expected.size()));
        ASSERT_EQ(decoded.value_or(0), static_cast<std::size_t>(length)) << testing::PrintToString(bytes);
        ASSERT_EQ(units.substr(0, decoded.value_or(0)), expected.substr(0, static_cast<std::size_t>(length)));
    }
}

}  // namespace mova::test
