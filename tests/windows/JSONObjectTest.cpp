#include <cmath>

#include "kvcore/JsTime.h"
#include "kvcore/Stream.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

using Object = kv::Ptr<IJSONObjectEx>;

Object NewObject() {
    return New<IJSONObjectEx>(u"JSONObject");
}
HRESULT Load(const Object& object, std::u16string_view text) {
    return object->FromJSONString(Bstr(text));
}
Object Loaded(std::u16string_view text) {
    auto object = NewObject();
    EXPECT_EQ(Load(object, text), S_OK) << kv::Utf8(text);
    return object;
}
template <class Container>
std::string Json(const Container& container, IPropertySet* options = nullptr) {
    kv::BString text;
    EXPECT_EQ(container->ToJSONString(options, text.Put()), S_OK);
    return kv::Utf8(text.View());
}
/// A typed reading as text: the value, or "-" where none was found.
template <class Get>
std::string Shown(Get get) {
    VARIANT_BOOL found = 7;
    const std::string value = get(&found);
    EXPECT_TRUE(found == VARIANT_TRUE || found == VARIANT_FALSE);
    return found ? value : "-";
}
/// All typed readings of a member: boolean, integer, number, text.
std::string Readings(const Object& object, BSTR name) {
    return Shown([&](VARIANT_BOOL* found) {
               VARIANT_BOOL flag = 0;
               EXPECT_EQ(object->GetBoolean(name, &flag, found), S_OK);
               return std::string(flag ? "true" : "false");
           }) +
           " " + Shown([&](VARIANT_BOOL* found) {
               LONG number = 0;
               EXPECT_EQ(object->GetLong(name, &number, found), S_OK);
               return std::to_string(number);
           }) +
           " " + Shown([&](VARIANT_BOOL* found) {
               double number = 0;
               EXPECT_EQ(object->GetDouble(name, &number, found), S_OK);
               return std::isnan(number) ? "nan" : std::to_string(number);
           }) +
           " " + Shown([&](VARIANT_BOOL* found) {
               kv::BString text;
               EXPECT_EQ(object->GetString(name, text.Put(), found), S_OK);
               return text.Get() ? kv::Utf8(text.View()) : "(null)";
           });
}

TEST(JSONObject, WhatIsLoadedIsWrittenAsItWas) {
    const struct {
        std::u16string_view text;
        std::string_view written;  ///< empty for the same
    } rows[] = {
        {u"{}", ""},
        {u"{\"a\":1,\"b\":[1,2.50,-0.0,-0.0e0,\"x\",[],{}],\"c\":{\"d\":null,\"e\":true,\"f\":false}}",
         "{\"a\":1,\"b\":[1,2.5,-0.0,-0.0,\"x\",[],{}],\"c\":{\"d\":null,\"e\":true,\"f\":false}}"},
        {u" { \"a\" : 1 } ", "{\"a\":1}"},
        {u"{\"a\":9223372036854775807,\"b\":-9223372036854775808,\"c\":2147483648}", ""},
        {u"{\"a\":0.1,\"b\":1.7976931348623157e308,\"c\":5e-324,\"d\":123456789.123456789}",
         "{\"a\":0.1,\"b\":1.7976931348623157e+308,\"c\":5e-324,\"d\":123456789.12345679}"},
        {u"{\"a\":NaN}", "{\"a\":\"NaN\"}"},
        {u"{\"a\\u0000b\":\"\\u0000\\ud800\",\"\u00e4\":\"\\\"\\\\\\/\\b\\f\\n\\r\\t\u20ac\U0001F600\"}",
         "{\"a\\u0000b\":\"\\u0000\\ud800\",\"\u00e4\":\"\\\"\\\\/\\b\\f\\n\\r\\t\u20ac\U0001F600\"}"},
    };
    for (const auto& row : rows) {
        const auto object = Loaded(row.text);
        EXPECT_EQ(Json(object), row.written.empty() ? kv::Utf8(row.text) : row.written);
        EXPECT_EQ(Json(Loaded(kv::Utf16(Json(object)))), Json(object));  // and once more
    }
}

TEST(JSONObject, TextsThatAreRefused) {
    const struct {
        std::u16string_view text;
        HRESULT status;
        std::string_view kept;  ///< what had been read
    } rows[] = {
        {u"[1]", E_UNEXPECTED, "{}"},
        {u"{\"a\":1,\"b\":[1,2}", E_UNEXPECTED, "{\"a\":1}"},
        {u"{\"a\":[{}}}", E_UNEXPECTED, "{}"},
        {u"{\"a\":1,\"b\"", E_UNEXPECTED, "{}"},
        {u"{\"a\":1,", E_UNEXPECTED, "{}"},
        {u"{\"a\":[1", E_UNEXPECTED, "{}"},
        {u"{\"\":1}", E_UNEXPECTED, "{}"},
        {u"{\"a\":1,\"a\":2}", E_FAIL, "{\"a\":1}"},
        {u"{\"a\":1}{", E_UNEXPECTED, "{\"a\":1}"},
        {u"{\"a\":1e999}", E_UNEXPECTED, "{}"},
    };
    for (const auto& row : rows) {
        const auto object = Loaded(u"{\"former\":0}");
        EXPECT_EQ(Load(object, row.text), row.status) << kv::Utf8(row.text);
        EXPECT_EQ(Json(object), row.kept) << kv::Utf8(row.text);
    }
    const auto object = Loaded(u"{\"kept\":0}");
    EXPECT_EQ(Load(object, u""), S_OK);
    EXPECT_EQ(Json(object), "{\"kept\":0}");
    EXPECT_EQ(Load(object, u" \t"), S_OK);
    EXPECT_EQ(Json(object), "{}");
    EXPECT_EQ(Load(object, u"{a:1}"), E_UNEXPECTED);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IJSONReader>("JSONReader",
                                                    "Expected to find comma, colon or start of array; state : "
                                                    "startOfObject; buffer : {a:1"));
}

TEST(JSONObject, AddingReplacesOnlyWhereItMay) {
    const auto object = NewObject();
    EXPECT_EQ(object->AddLong(Bstr(u"a"), 1), S_OK);
    EXPECT_EQ(object->AddLong(Bstr(u"a"), 2), E_FAIL);
    EXPECT_EQ(Json(object), "{\"a\":1}");
    EXPECT_EQ(object->put_ReplaceExisting(1), S_OK);  // true is -1 only
    EXPECT_EQ(object->AddLong(Bstr(u"a"), 2), E_FAIL);
    EXPECT_EQ(object->put_ReplaceExisting(VARIANT_TRUE), S_OK);
    EXPECT_EQ(object->AddNull(Bstr(u"b")), S_OK);
    EXPECT_EQ(object->AddLong(Bstr(u"a"), 2), S_OK);
    EXPECT_EQ(object->AddString(Bstr(u"a"), Bstr(u"x")), E_FAIL);
    EXPECT_EQ(object->AddDoubleWithDecimals(Bstr(u"c"), 1.26, 1), S_OK);
    EXPECT_EQ(object->AddDouble(Bstr(u"c"), 3.14), S_OK);  // the decimals stay
    EXPECT_EQ(object->AddDoubleWithDecimals(Bstr(u"d"), 1, 128), E_INVALIDARG);
    EXPECT_EQ(Json(object), "{\"a\":2,\"b\":null,\"c\":3.1}");
    EXPECT_EQ(Load(object, u"{\"a\":1,\"b\":[1],\"a\":2,\"b\":{\"a\":3}}"), S_OK);
    EXPECT_EQ(Json(object), "{\"a\":2,\"b\":{\"a\":3}}");
    EXPECT_EQ(object->AddNamedValue(Bstr(u""), nullptr), E_INVALIDARG);
    EXPECT_EQ(object->SetNull(Bstr(u"a")), S_OK);
    EXPECT_EQ(object->SetNull(Bstr(u"z")), S_OK);
    EXPECT_EQ(object->RemoveMember(Bstr(u"z")), E_INVALIDARG);
    EXPECT_EQ(object->RemoveMember(Bstr(u"b")), S_OK);
    EXPECT_EQ(Json(object), "{\"a\":null}");
}

TEST(JSONObject, NamesAreFoundInObjectsOfEverySize) {
    const auto object = NewObject();
    const auto name = [](LONG i) { return kv::BString(u"Name" + kv::Utf16(std::to_string(i))); };
    for (LONG i = 0; i < 300; ++i) ASSERT_EQ(object->AddLong(name(i).Get(), i), S_OK);
    for (LONG i = 0; i < 300; i += 3) ASSERT_EQ(object->RemoveMember(name(i).Get()), S_OK);
    ASSERT_EQ(object->AddLong(Bstr(u"NAME1"), -1), S_OK);  // another one
    VARIANT_BOOL found = VARIANT_FALSE;
    for (const VARIANT_BOOL exact : {VARIANT_TRUE, VARIANT_FALSE}) {
        object->put_CaseSensitive(exact);
        for (LONG i = 0; i < 300; ++i) {
            LONG value = -7;
            EXPECT_EQ(AnswerOf(object, &IJSONObjectEx::GetLong, name(i).Get(), &value) ? value : -7, i % 3 ? i : -7);
        }
    }
    LONG value = 0;
    EXPECT_EQ(object->GetLong(Bstr(u"NAME1"), &value, &found), S_OK);
    EXPECT_EQ(value, 1);  // the first of the two
    EXPECT_FALSE(AnswerOf(object, &IJSONObjectEx::GetLong, nullptr, &value));
    EXPECT_EQ(object->GetLong(name(1).Get(), nullptr, &found), E_POINTER);
    EXPECT_EQ(object->GetLong(name(1).Get(), &value, nullptr), E_POINTER);
}

TEST(JSONObject, ReadingsByType) {
    const auto object = Loaded(
        u"{\"null\":null,\"one\":1,\"big\":5000000000,\"half\":0.5,\"nan\":NaN,\"yes\":true,\"word\":\"nan\",\"text\":"
        u"\"7\","
        u"\"point\":\"1.5\",\"list\":[],\"empty\":\"\"}");
    object->AddVariant(Bstr(u"vtnull"), Raw(VT_NULL));
    object->AddDate(Bstr(u"date"), 36526.25);
    object->AddDate(Bstr(u"day"), 36526);
    const struct {
        std::u16string_view name;
        std::string_view readings;
    } rows[] = {
        {u"null", "false - - (null)"},
        {u"vtnull", "false - - null"},
        {u"one", "true 1 1.000000 1"},
        {u"big", "true - 5000000000.000000 5000000000"},
        {u"half", "true 0 0.500000 0.5"},
        {u"yes", "true -1 -1.000000 true"},
        {u"word", "- - nan nan"},
        {u"text", "true 7 7.000000 7"},
        {u"point", "true 2 1.500000 1.5"},
        {u"list", "- - - -"},
        {u"empty", "- - - (null)"},
        {u"missing", "- - - -"},
        {u"date", "true 36526 36526.250000 1/1/2000 6:00:00 AM"},
        {u"day", "true 36526 36526.000000 1/1/2000"},
    };
    for (const auto& row : rows) EXPECT_EQ(Readings(object, Bstr(row.name)), row.readings) << kv::Utf8(row.name);
    LONGLONG big = 0;
    VARIANT_BOOL found = VARIANT_FALSE;
    EXPECT_EQ(object->GetLongLong(Bstr(u"big"), &big, &found), S_OK);
    EXPECT_EQ(big, 5'000'000'000);
    DATE date = 1;
    EXPECT_EQ(object->GetDate(Bstr(u"big"), &date, &found), S_OK);
    EXPECT_EQ(date, kv::FromJsTime(5e9));
    EXPECT_EQ(object->GetDate(Bstr(u"missing"), &date, &found), S_OK);
    EXPECT_EQ(date, 0);
    EXPECT_FALSE(found);
    kv::Variant as;
    EXPECT_EQ(object->GetValueAs(Bstr(u"point"), VT_R8, as.Put(), &found), S_OK);
    EXPECT_EQ(as.Get().dblVal, 1.5);
    EXPECT_EQ(object->GetValueAs(Bstr(u"date"), VT_BSTR, as.Put(), &found), S_OK);
    EXPECT_EQ(kv::View(as.Get().bstrVal), u"1/1/2000 6:00:00 AM");
    EXPECT_FALSE(AnswerOf(object, &IJSONObjectEx::GetValueAs, Bstr(u"word"), VT_DATE, as.Put()));
}

TEST(JSONObject, ValuesByReferenceAreReadThrough) {
    auto list = New<IJSONArray>(u"JSONArray");
    std::vector<kv::Variant> values;
    values.push_back(Value(std::u16string_view(u"nan")));
    values.push_back(Value(std::numeric_limits<double>::quiet_NaN()));
    values.push_back(Value(2.5));
    values.push_back(Value(list.As<IUnknown>().Get()));
    values.push_back(kv::Variant::Attach(Raw(VT_BOOL, VARIANT_TRUE)));
    values.push_back(kv::Variant::Attach(Raw(VT_DATE, 36526.25)));
    for (const kv::Variant& value : values) {
        VARIANT direct = value.Get();
        const VARIANT reference = Raw(VT_BYREF | direct.vt, &direct.llVal);
        const auto object = NewObject();
        EXPECT_EQ(object->AddVariant(Bstr(u"direct"), direct), S_OK);
        EXPECT_EQ(object->AddVariant(Bstr(u"byref"), reference), S_OK);
        EXPECT_EQ(object->AddVariant(Bstr(u"variant"), ReferenceTo(direct)), S_OK);
        const std::string readings = Readings(object, Bstr(u"direct"));
        EXPECT_EQ(Readings(object, Bstr(u"byref")), readings) << direct.vt;
        EXPECT_EQ(Readings(object, Bstr(u"variant")), readings) << direct.vt;
        kv::Ptr<IJSONArray> array;
        EXPECT_EQ(object->GetJSONArray(Bstr(u"byref"), array.Put(), nullptr), S_OK);
        EXPECT_EQ(array.Get() != nullptr, direct.vt == VT_UNKNOWN);
    }
}

TEST(JSONObject, AFailingReaderSaysWhy) {
    auto reader = New<IJSONReader>(u"JSONReader");
    const auto object = Loaded(u"{\"a\":1}");
    EXPECT_EQ(object->ParseJSON(reader.Get()), E_UNEXPECTED) << "it was never opened";
    EXPECT_EQ(TakeErrorInfo(), Refusal<IJSONReader>("JSONReader", "Unexpected end of file; state : Empty; buffer : "));
    EXPECT_EQ(Json(object), "{}");
    EXPECT_EQ(reader->ReadFromString(Bstr(u"abc")), E_UNEXPECTED);
    const std::string said = TakeErrorInfo();
    EXPECT_EQ(object->ParseJSON(reader.Get()), E_UNEXPECTED);
    EXPECT_NE(TakeErrorInfo(), "") << said;
    VARIANT_BOOL flag = VARIANT_FALSE;
    EXPECT_EQ(object->AddFloat(Bstr(u"f"), std::numeric_limits<float>::quiet_NaN()), S_OK);
    EXPECT_EQ(AnswerOf(object, &IJSONObjectEx::GetBoolean, Bstr(u"f"), &flag), VARIANT_TRUE)
        << "of single precision it is converted as the system does";
}

TEST(JSONObject, WhatIsInsideKeepsItsIdentityAndOutlivesTheDocument) {
    auto object = Loaded(u"{\"o\":{\"x\":{\"y\":[1,{\"z\":2}]}},\"l\":[[3]]}");
    kv::Ptr<IJSONObject> inner, again;
    VARIANT_BOOL found = VARIANT_FALSE;
    EXPECT_EQ(object->GetJSONObject(Bstr(u"o"), inner.Put(), &found), S_OK);
    EXPECT_EQ(object->GetJSONObject(Bstr(u"o"), again.Put(), &found), S_OK);
    EXPECT_EQ(inner.As<IUnknown>().Get(), again.As<IUnknown>().Get());
    kv::Variant value;
    EXPECT_EQ(object->GetValue(Bstr(u"o"), value.Put(), &found), S_OK);
    EXPECT_EQ(kv::Ptr<IUnknown>(value.Get().punkVal).As<IJSONObject>().Get(), inner.Get());
    EXPECT_EQ(inner->AddLong(Bstr(u"added"), 5), S_OK);  // is in the document
    kv::Ptr<IJSONArray> list;
    EXPECT_EQ(object->GetJSONArray(Bstr(u"l"), list.Put(), nullptr), S_OK);
    EXPECT_EQ(list->AddString(Bstr(u"s")), S_OK);
    EXPECT_EQ(list->RemoveAt(2), E_INVALIDARG);
    EXPECT_EQ(Json(object), "{\"o\":{\"x\":{\"y\":[1,{\"z\":2}]},\"added\":5},\"l\":[[3],\"s\"]}");
    EXPECT_EQ(object->GetJSONArray(Bstr(u"o"), list.Put(), &found), S_OK);
    EXPECT_FALSE(list || found);
    auto walk = object.As<IJSONTraversal>();
    EXPECT_EQ(walk->GetValueByPath(Bstr(u"o/x/y/1/z"), value.Put(), &found), S_OK);
    EXPECT_EQ(value.Get().lVal, 2);
    EXPECT_FALSE(AnswerOf(walk, &IJSONTraversal::GetValueByPath, Bstr(u"o/x/y/2"), value.Put()));
    object = Object();
    walk = kv::Ptr<IJSONTraversal>();
    again = kv::Ptr<IJSONObject>();
    value.Clear();
    EXPECT_EQ(Json(inner), "{\"x\":{\"y\":[1,{\"z\":2}]},\"added\":5}");
}

TEST(JSONObject, FlagsPassToChildrenWhenTheseAreMade) {
    const auto object = NewObject();
    object->put_CaseSensitive(VARIANT_FALSE);
    object->put_ReplaceExisting(VARIANT_TRUE);
    EXPECT_EQ(Load(object, u"{\"o\":{\"Name\":1}}"), S_OK);
    object->put_CaseSensitive(VARIANT_TRUE);
    kv::Ptr<IJSONObject> child;
    EXPECT_TRUE(AnswerOf(object, &IJSONObjectEx::GetJSONObject, Bstr(u"o"), child.Put()));
    EXPECT_EQ(AnswerOf(child, &IJSONObject::get_CaseSensitive), VARIANT_FALSE);
    EXPECT_EQ(AnswerOf(child, &IJSONObject::MemberExists, Bstr(u"NAME")), VARIANT_TRUE);
    EXPECT_EQ(child->AddLong(Bstr(u"Name"), 2), S_OK);
    EXPECT_EQ(Json(object), "{\"o\":{\"Name\":2}}");
}

TEST(JSONObject, StreamsOfTextAreReadWhenAskedFor) {
    const auto object = NewObject();
    const auto text = New<IStream>(u"MemoryBlobStream");
    ASSERT_EQ(kv::KvStreamWrite(text.Get(), "{\"a\":[1]}", 9, nullptr), S_OK);
    const auto stream = Value(text.As<IUnknown>().Get());
    ASSERT_EQ(object->AddVariant(Bstr(u"lazy"), stream.Get()), S_OK);
    EXPECT_EQ(Json(object), "{\"lazy\":{\"a\":[1]}}");
    kv::Ptr<IJSONObject> read;
    EXPECT_TRUE(AnswerOf(object, &IJSONObjectEx::GetJSONObject, Bstr(u"lazy"), read.Put()));
    EXPECT_EQ(Json(read), "{\"a\":[1]}");
}

TEST(JSONObject, OptionsOfWriting) {
    const auto object = Loaded(u"{\"a\":[1.26,{},[]],\"b\":2}");
    const auto options = New<IPropertySet>(u"PropertySet");
    options->SetProperty(Bstr(u"WriteFormatted"), Raw(VT_BOOL, VARIANT_TRUE));
    options->SetProperty(Bstr(u"IndentLevel"), Value(LONG{-1}).Get());  // passed over
    EXPECT_EQ(Json(object, options.Get()),
              "{\n  \"a\" : [\n    1.26,\n    {\n    },\n    [\n    ]\n  ],\n  \"b\" : 2\n}");
    options->SetProperty(Bstr(u"IndentLevel"), Value(LONG{1}).Get());
    options->SetProperty(Bstr(u"MaxDecimals"), Value(LONG{1}).Get());
    EXPECT_EQ(Json(object, options.Get()), "{\n \"a\" : [\n  1.3,\n  {\n  },\n  [\n  ]\n ],\n \"b\" : 2\n}");
}

TEST(JSONObject, CyclesAndDeepChainsAreRefusedInWriting) {
    const auto object = NewObject();
    ASSERT_EQ(object->AddObject(Bstr(u"self"), object.Get()), S_OK);
    kv::BString text;
    EXPECT_EQ(object->ToJSONString(nullptr, text.Put()), E_FAIL);
    EXPECT_EQ(object->RemoveAll(), S_OK);
    EXPECT_EQ(object->AddObject(Bstr(u"a"), nullptr), E_POINTER);
    EXPECT_EQ(object->AddObject(Bstr(u"a"), New<IUnknown>(u"PropertySet").Get()), E_NOINTERFACE);
}

}  // namespace
}  // namespace mova::test
