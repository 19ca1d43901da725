#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <map>

#include "kvcore/SafeArray.h"
#include "tests/windows/Persistence.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
const double nan = std::nan("");

kv::Ptr<IJSONWriter4> NewWriter() {
    auto writer = New<IJSONWriter4>(u"JSONWriter");
    EXPECT_EQ(writer->WriteToMemory(), S_OK);
    return writer;
}

/// The bytes that a writer has in memory.
std::string Written(IJSONWriter4* writer) {
    const auto bytes = AnswerOf(writer, &IJSONWriter4::GetMemoryBuffer);
    EXPECT_EQ(bytes.Get().vt, VT_ARRAY | VT_UI1);
    const auto view = kv::ArrayView::Of(bytes.Get());
    return view ? std::string(static_cast<const char*>(view->Data()), view->Count()) : std::string();
}
movaJSONWriterState StateOf(IJSONWriter4* writer) {
    return AnswerOf(kv::Ptr<IUnknown>(writer).As<IJSONWriterImpl>(), &IJSONWriterImpl::get_State);
}
std::string WriterRefusal(std::string_view text) {
    return Refusal<IJSONWriter>("JSONWriter", text);
}

using Call = std::function<HRESULT(IJSONWriter4*)>;
/// The two operations that write a value: as the member "m" of an object, and as an element of an array.
template <class I, class J, class Content>
std::pair<Call, Call> Both(HRESULT (STDMETHODCALLTYPE I::*member)(BSTR, Content),
                           HRESULT (STDMETHODCALLTYPE J::*element)(Content), std::type_identity_t<Content> content) {
    return {[=](auto* writer) { return (writer->*member)(Bstr(u"m"), content); },
            [=](auto* writer) { return (writer->*element)(content); }};
}

kv::Variant Decimal(ULONG high, ULONGLONG low, BYTE scale, BYTE sign) {
    VARIANT value{};
    value.decVal.Hi32 = high;
    value.decVal.Lo64 = low;
    value.decVal.scale = scale;
    value.decVal.sign = sign;
    value.vt = VT_DECIMAL;
    return kv::Variant::Attach(value);
}

/// An object of another maker that writes itself as JSON as a test says. Only what the writer calls is there.
class WritesItself : public Foreign {
 public:
    explicit WritesItself(std::function<HRESULT(BSTR, IJSONWriter*)> write) : json_(*this, std::move(write)) {}

 protected:
    void* Find(REFIID iid) noexcept override { return iid == __uuidof(IJSONArray) ? &json_ : Foreign::Find(iid); }

 private:
    /// The table of IJSONArray up to ToJSON, the operations before it being none that is called.
    struct Json {
        Json(WritesItself& object, std::function<HRESULT(BSTR, IJSONWriter*)> body)
            : owner(&object), write(std::move(body)) {
            table = slots.data();
            slots[0] = reinterpret_cast<void*>(&Query);
            slots[1] = reinterpret_cast<void*>(&Add);
            slots[2] = reinterpret_cast<void*>(&Leave);
            slots[toJsonSlot] = reinterpret_cast<void*>(&ToJson);
        }
        static HRESULT STDMETHODCALLTYPE Query(Json* self, const IID* iid, void** found) {
            return self->owner->QueryInterface(*iid, found);
        }
        static ULONG STDMETHODCALLTYPE Add(Json* self) { return self->owner->AddRef(); }
        static ULONG STDMETHODCALLTYPE Leave(Json* self) { return self->owner->Release(); }
        static HRESULT STDMETHODCALLTYPE ToJson(Json* self, BSTR name, IJSONWriter* writer) {
            return self->write(name, writer);
        }
        static constexpr std::size_t toJsonSlot = 30;

        void** table = nullptr;  // where an interface has it
        WritesItself* owner;
        std::function<HRESULT(BSTR, IJSONWriter*)> write;
        std::array<void*, toJsonSlot + 1> slots{};
    };

    Json json_;
};

}  // namespace

TEST(JSONWriter, WritesEveryKindOfMemberAndElement) {
    using W = IJSONWriter4;
    const double half1970 = 25569.5;
    const auto array = ArrayOf({1, 2});
    const Bstr escaped(u"a\"\\/\b\x1F\u00E4\u20AC\U0001F600");
    const Bstr raw(u"{\"\n\u00E4\xD800\":1}");
    const auto rounded = [](double number, LONG ofMember, LONG ofElement) -> std::pair<Call, Call> {
        return {[=](W* w) { return w->WriteDoubleWithDecimals(Bstr(u"m"), number, ofMember); },
                [=](W* w) { return w->WriteDoubleElementWithDecimals(number, ofElement); }};
    };
    const struct {
        std::pair<Call, Call> calls;
        std::string_view text;
    } rows[] = {
        {Both(&W::WriteVariant, &W::WriteVariantElement, Value(42).Get()), "42"},
        {Both(&W::WriteVariant, &W::WriteVariantElement, array.Get()), "[1,2]"},
        {Both(&W::WriteString, &W::WriteStringElement, escaped),
         "\"a\\\"\\\\/\\b\\u001f\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\""},
        {Both(&W::WriteString, &W::WriteStringElement, nullptr), "\"\""},
        {Both(&W::WriteBoolean, &W::WriteBooleanElement, 1), "true"},
        {Both(&W::WriteBoolean, &W::WriteBooleanElement, -1), "true"},
        {Both(&W::WriteBoolean, &W::WriteBooleanElement, 0), "false"},
        {Both(&W::WriteByte, &W::WriteByteElement, 255), "255"},
        {Both(&W::WriteShort, &W::WriteShortElement, SHRT_MIN), "-32768"},
        {Both(&W::WriteLong, &W::WriteLongElement, INT_MIN), "-2147483648"},
        {Both(&W::WriteFloat, &W::WriteFloatElement, 0.1f), "0.100000001"},
        {Both(&W::WriteFloat, &W::WriteFloatElement, -static_cast<float>(infinity)), "-1.7976931348623157e308"},
        {Both(&W::WriteFloat, &W::WriteFloatElement, static_cast<float>(nan)), "\"NaN\""},
        {Both(&W::WriteDouble, &W::WriteDoubleElement, 1e21), "1e+21"},
        {Both(&W::WriteDouble, &W::WriteDoubleElement, infinity), "1.7976931348623157e308"},
        {Both(&W::WriteDouble, &W::WriteDoubleElement, nan), "\"NaN\""},
        {Both(&W::WriteDate, &W::WriteDateElement, half1970), "43200000"},
        {Both(&W::WriteDateText, &W::WriteDateTextElement, half1970), "\"1970-01-01T12:00:00Z\""},
        {{[](W* w) { return w->WriteNull(Bstr(u"m")); }, [](W* w) { return w->WriteNullElement(); }}, "null"},
        {Both(&W::WriteRaw, &W::WriteRawElement, raw), "{\"\n\xC3\xA4\xEF\xBF\xBD\":1}"},
        {rounded(2.0 / 3, 3, 3), "0.667"},
        {rounded(2.0 / 3, 17, -1), "0.6666666666666666"},
        {rounded(-infinity, 2, 2), "-1.7976931348623157e308"},
        {rounded(nan, 2, 2), "\"NaN\""},
        {Both(&W::WriteInt64, &W::WriteInt64Element, LLONG_MIN), "-9223372036854775808"},
        {Both(&W::WriteUInt64, &W::WriteUInt64Element, ULLONG_MAX), "18446744073709551615"},
        {{[](W* w) { return w->WriteValueText(Bstr(u"m"), Value(1.5).Get()); },
          [](W* w) { return w->WriteValueText(nullptr, Value(1.5).Get()); }},
         "\"1.5\""},
    };
    for (const auto& [calls, expected] : rows) {
        const auto& [member, element] = calls;
        SCOPED_TRACE(expected);
        auto writer = NewWriter();
        ASSERT_EQ(writer->StartObject(nullptr), S_OK);
        EXPECT_EQ(element(writer.Get()), E_INVALIDARG) << "in an object";
        ASSERT_EQ(member(writer.Get()), S_OK);
        EXPECT_EQ(Refused(element(writer.Get()), E_INVALIDARG),
                  WriterRefusal("An element can only be written inside an array."));
        ASSERT_EQ(member(writer.Get()), S_OK);
        ASSERT_EQ(writer->EndObject(), S_OK);
        EXPECT_EQ(member(writer.Get()), E_INVALIDARG) << "at the document's level";
        EXPECT_EQ(element(writer.Get()), E_INVALIDARG);
        const std::string text(expected);
        EXPECT_EQ(Written(writer.Get()), "{\"m\":" + text + ",\"m\":" + text + "}");

        writer = NewWriter();
        ASSERT_EQ(writer->StartArray(nullptr), S_OK);
        EXPECT_EQ(member(writer.Get()), E_INVALIDARG) << "in an array";
        ASSERT_EQ(element(writer.Get()), S_OK);
        EXPECT_EQ(Refused(member(writer.Get()), E_INVALIDARG),
                  WriterRefusal("A member can only be written inside an object."));
        ASSERT_EQ(element(writer.Get()), S_OK);
        ASSERT_EQ(writer->EndArray(), S_OK);
        EXPECT_EQ(Written(writer.Get()), "[" + text + "," + text + "]");

        const auto none = New<IJSONWriter4>(u"JSONWriter");
        for (const Call& call : {member, element})
            EXPECT_EQ(Refused(call(none.Get()), E_UNEXPECTED), WriterRefusal("The writer has no output."));
    }
}

TEST(JSONWriter, ChecksNamesAndBrackets) {
    const Call objectUnnamed = [](auto* w) { return w->StartObject(nullptr); };
    const Call objectNamed = [](auto* w) { return w->StartObject(Bstr(u"n")); };
    const Call objectEmptyName = [](auto* w) { return w->StartObject(Bstr(u"")); };
    const Call arrayUnnamed = [](auto* w) { return w->StartArray(nullptr); };
    const Call arrayNamed = [](auto* w) { return w->StartArray(Bstr(u"n")); };
    const Call endObject = [](auto* w) { return w->EndObject(); };
    const Call endArray = [](auto* w) { return w->EndArray(); };
    const Call nullName = [](auto* w) { return w->WriteNull(nullptr); };
    const Call emptyName = [](auto* w) { return w->WriteNull(Bstr(u"")); };
    const std::map<char16_t, Call> steps{{u'{', objectUnnamed},
                                         {u'[', arrayUnnamed},
                                         {u'o', objectNamed},
                                         {u'm', [](auto* w) { return w->WriteNull(Bstr(u"m")); }},
                                         {u'e', [](auto* w) { return w->WriteNullElement(); }}};
    const struct {
        std::u16string_view before;
        Call call;
        HRESULT status;
        std::string_view bytes;
        movaJSONWriterState state;
    } rows[] = {
        {u"", objectNamed, E_UNEXPECTED, "", movaJSONWriterDocument},
        {u"", objectUnnamed, S_OK, "{", movaJSONWriterEmptyObject},
        {u"", objectEmptyName, S_OK, "{", movaJSONWriterEmptyObject},
        {u"", endObject, E_UNEXPECTED, "", movaJSONWriterDocument},
        {u"", endArray, E_UNEXPECTED, "", movaJSONWriterDocument},
        {u"", emptyName, E_INVALIDARG, "", movaJSONWriterDocument},
        {u"{", objectUnnamed, E_UNEXPECTED, "{", movaJSONWriterEmptyObject},
        {u"{", objectEmptyName, E_INVALIDARG, "{", movaJSONWriterEmptyObject},
        {u"{", arrayUnnamed, E_UNEXPECTED, "{", movaJSONWriterEmptyObject},
        {u"{", arrayNamed, S_OK, "{\"n\":[", movaJSONWriterEmptyArray},
        {u"{", endArray, E_UNEXPECTED, "{", movaJSONWriterEmptyObject},
        {u"{", endObject, S_OK, "{}", movaJSONWriterDocument},
        {u"{", nullName, E_INVALIDARG, "{", movaJSONWriterEmptyObject},
        {u"{", emptyName, E_INVALIDARG, "{", movaJSONWriterEmptyObject},
        {u"{o", endObject, S_OK, "{\"n\":{}", movaJSONWriterObject},
        {u"{m", endArray, E_UNEXPECTED, "{\"m\":null", movaJSONWriterObject},
        {u"{m", emptyName, E_INVALIDARG, "{\"m\":null", movaJSONWriterObject},
        {u"[e", endObject, E_UNEXPECTED, "[null", movaJSONWriterArray},
        {u"[e", emptyName, E_INVALIDARG, "[null", movaJSONWriterArray},
        {u"[", objectNamed, E_UNEXPECTED, "[", movaJSONWriterEmptyArray},
        {u"[", arrayNamed, E_UNEXPECTED, "[", movaJSONWriterEmptyArray},
        {u"[", endObject, E_UNEXPECTED, "[", movaJSONWriterEmptyArray},
        {u"[{", endObject, S_OK, "[{}", movaJSONWriterArray},
        {u"[[", endArray, S_OK, "[[]", movaJSONWriterArray},
    };
    for (const auto& row : rows) {
        const auto writer = NewWriter();
        for (const char16_t step : row.before) EXPECT_EQ(steps.at(step)(writer.Get()), S_OK);
        LONG depthBefore = -1, depth = -1;
        const auto inside = writer.As<IJSONWriterImpl>();
        EXPECT_EQ(inside->get_Depth(&depthBefore), S_OK);
        EXPECT_EQ(row.call(writer.Get()), row.status) << row.bytes;
        EXPECT_EQ(Written(writer.Get()), row.bytes);
        EXPECT_EQ(StateOf(writer.Get()), row.state) << row.bytes;
        EXPECT_EQ(inside->get_Depth(&depth), S_OK);
        EXPECT_TRUE(SUCCEEDED(row.status) || depth == depthBefore) << row.bytes;
    }
    const auto second = NewWriter();
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(second->StartObject(nullptr), S_OK);
        EXPECT_EQ(second->EndObject(), S_OK);
    }
    EXPECT_EQ(Written(second.Get()), "{}{}") << "nothing separates documents";
}

TEST(JSONWriter, FormatsLinesAndForgetsTheFormatWhenReset) {
    const auto writer = NewWriter();
    EXPECT_EQ(Refused(writer->SetIndentLevel(-1), E_INVALIDARG),
              WriterRefusal("The indent level must not be negative."));
    EXPECT_EQ(writer->SetFormatted(1), S_OK);
    ASSERT_EQ(writer->StartObject(nullptr), S_OK);
    ASSERT_EQ(writer->StartArray(Bstr(u"a")), S_OK);
    ASSERT_EQ(writer->WriteLongElement(1), S_OK);
    EXPECT_EQ(writer->SetIndentLevel(4), S_OK);
    ASSERT_EQ(writer->StartObject(nullptr), S_OK);
    ASSERT_EQ(writer->EndObject(), S_OK);
    EXPECT_EQ(Written(writer.Get()), "{\n  \"a\" : [\n    1,\n        {\n        }");
    EXPECT_EQ(writer->Reset(), S_OK);
    EXPECT_EQ(StateOf(writer.Get()), movaJSONWriterDocument);
    ASSERT_EQ(writer->StartArray(nullptr), S_OK);
    ASSERT_EQ(writer->WriteNullElement(), S_OK);
    EXPECT_EQ(Written(writer.Get()), "{\n  \"a\" : [\n    1,\n        {\n        }[null");
    EXPECT_EQ(writer->SetFormatted(VARIANT_TRUE), S_OK);
    ASSERT_EQ(writer->WriteNullElement(), S_OK);
    EXPECT_EQ(Written(writer.Get()), "{\n  \"a\" : [\n    1,\n        {\n        }[null,\n  null");
    EXPECT_EQ(writer->WriteToMemory(), S_OK);
    EXPECT_EQ(Written(writer.Get()), "");
    EXPECT_EQ(StateOf(writer.Get()), movaJSONWriterArray) << "what is open stays open";
}

TEST(JSONWriter, LimitsDecimals) {
    const auto writer = NewWriter();
    const auto options = writer.As<ICPPJSONWriterOptions>();
    const auto decimals = AnswerOf(options, &ICPPJSONWriterOptions::get_MaximumDecimals);
    const auto active = AnswerOf(options, &ICPPJSONWriterOptions::get_MaximumDecimalsActive);
    EXPECT_EQ(decimals, 0);
    EXPECT_EQ(active, VARIANT_FALSE);
    EXPECT_EQ(Refused(options->put_MaximumDecimals(-1), E_INVALIDARG),
              Refusal<ICPPJSONWriterOptions>("JSONWriter", "The maximum of decimals must not be negative."));
    ASSERT_EQ(writer->StartArray(nullptr), S_OK);
    const auto write = [&] { EXPECT_EQ(writer->WriteDoubleElement(12.3456), S_OK); };
    write();
    EXPECT_EQ(options->put_MaximumDecimals(2), S_OK);
    write();
    EXPECT_EQ(writer->WriteDoubleElementWithDecimals(12.3456, 3), S_OK);
    EXPECT_EQ(writer->WriteDoubleElementWithDecimals(12.3456, 17), S_OK);
    EXPECT_EQ(writer->WriteVariantElement(Value(12.3456).Get()), S_OK);
    EXPECT_EQ(options->put_MaximumDecimalsActive(VARIANT_FALSE), S_OK);
    write();
    EXPECT_EQ(options->put_MaximumDecimalsActive(1), S_OK);
    EXPECT_EQ(AnswerOf(options, &ICPPJSONWriterOptions::get_MaximumDecimalsActive), VARIANT_TRUE);
    EXPECT_EQ(writer->Reset(), S_OK);
    ASSERT_EQ(writer->StartArray(nullptr), S_OK);
    write();
    EXPECT_EQ(options->put_MaximumDecimals(17), S_OK);
    write();
    EXPECT_EQ(Written(writer.Get()), "[12.3456,12.35,12.346,12.35,12.35,12.3456[12.35,12.3456");
}

TEST(JSONWriter, WritesToAStreamAtOnce) {
    const auto writer = New<IJSONWriter4>(u"JSONWriter");
    EXPECT_EQ(writer->WriteToStream(nullptr), E_POINTER);
    EXPECT_EQ(writer->StartObject(nullptr), E_UNEXPECTED);
    EXPECT_EQ(writer->EndArray(), E_UNEXPECTED);
    EXPECT_FALSE(AnswerOf(writer, &IJSONWriter4::GetStream));

    const auto stream = MemoryStream("before ");
    ASSERT_EQ(SeekTo(stream.Get(), 7), S_OK);
    ASSERT_EQ(writer->WriteToStream(stream.Get()), S_OK);
    EXPECT_EQ(AnswerOf(writer, &IJSONWriter4::GetStream).Get(), stream.Get());
    ASSERT_EQ(writer->StartObject(nullptr), S_OK);
    EXPECT_EQ(SizeOf(stream.Get()), 8u);
    const std::u16string text(100'000, u'\u20AC');
    ASSERT_EQ(writer->WriteString(Bstr(u"long"), Bstr(text)), S_OK);
    EXPECT_EQ(writer->WriteNull(nullptr), E_INVALIDARG);
    ASSERT_EQ(writer->EndObject(), S_OK);
    EXPECT_EQ(ContentOf(stream.Get()), "before {\"long\":\"" + kv::Utf8(text) + "\"}");
    EXPECT_EQ(AnswerOf(writer, &IJSONWriter4::GetMemoryBuffer).Get().vt, VT_EMPTY);
    EXPECT_EQ(AnswerOf(writer, &IJSONWriter4::GetText).Get(), nullptr);

    Trickle trickle;
    ASSERT_EQ(writer->WriteToStream(&trickle), S_OK);
    ASSERT_EQ(writer->StartArray(nullptr), S_OK);
    trickle.callsLeft = 1;
    EXPECT_EQ(writer->WriteStringElement(Bstr(u"abcdef")), STG_E_MEDIUMFULL);
    EXPECT_EQ(std::string(trickle.bytes.begin(), trickle.bytes.end()), "[\"ab");
    trickle.callsLeft = -1;
    const auto array = ArrayOf({1, 2});
    const int calls = trickle.calls;
    EXPECT_EQ(writer->WriteVariantElement(array.Get()), S_OK);
    EXPECT_EQ(trickle.calls, calls + 2) << "six bytes, all in one write of the writer's";
    ASSERT_EQ(writer->WriteToMemory(), S_OK);
    EXPECT_FALSE(AnswerOf(writer, &IJSONWriter4::GetStream));
}

TEST(JSONWriter, GivesBackWhatIsInMemoryAsText) {
    const auto writer = NewWriter();
    EXPECT_EQ(AnswerOf(writer, &IJSONWriter4::GetText).View(), u"");
    ASSERT_EQ(writer->StartArray(nullptr), S_OK);
    std::u16string expected = u"[";
    for (int i = 0; i < 20'000; ++i) {
        const std::u16string_view element = i % 3 == 0 ? u"\U0001F600\u00E4" : u"plain text";
        ASSERT_EQ(writer->WriteStringElement(Bstr(element)), S_OK);
        if (i != 0) expected += u',';
        expected += u'"' + std::u16string(element) + u'"';
    }
    EXPECT_TRUE(AnswerOf(writer, &IJSONWriter4::GetText).View() == expected);
    EXPECT_EQ(Written(writer.Get()), kv::Utf8(expected));
}

TEST(JSONWriter, WritesEveryVariantItCan) {
    LONG number = 7;
    auto matrix = Array(VT_I4, {{2, 0}, {3, -5}});
    auto* elements = static_cast<LONG*>(matrix.Get().parray->pvData);
    for (LONG i = 0; i < 6; ++i) elements[i] = i;  // the first index moves fastest
    const auto text = Value(u"t\n");
    const auto texts = ArrayOf({u"a", u"b"});
    const auto bytes = Array(VT_UI1, {{2, 0}});
    const auto none = Array(VT_R8, {{0, 0}});
    const struct {
        VARIANT value;
        std::string_view json, quoted;
    } rows[] = {
        {VARIANT{}, "null", "null"},
        {Raw(VT_NULL, 0), "null", "null"},
        {Raw(VT_I1, '\x80'), "-128", "\"-128\""},
        {Raw(VT_UI1, '\x80'), "128", "\"128\""},
        {Raw(VT_I2, SHORT{-2}), "-2", "\"-2\""},
        {Raw(VT_UI2, SHORT{-2}), "65534", "\"65534\""},
        {Raw(VT_I4, -2), "-2", "\"-2\""},
        {Raw(VT_INT, -2), "-2", "\"-2\""},
        {Raw(VT_UI4, -2), "4294967294", "\"4294967294\""},
        {Raw(VT_UINT, -2), "4294967294", "\"4294967294\""},
        {Raw(VT_I8, LLONG_MIN), "-9223372036854775808", "\"-9223372036854775808\""},
        {Raw(VT_UI8, LONGLONG{-1}), "18446744073709551615", "\"18446744073709551615\""},
        {Raw(VT_R4, 0.1f), "0.100000001", "\"0.100000001\""},
        {Value(-0.1).Get(), "-0.1", "\"-0.1\""},
        {Value(infinity).Get(), "1.7976931348623157e308", "\"INF\""},
        {Value(nan).Get(), "\"NaN\"", "\"NaN\""},
        {Raw(VT_BOOL, SHORT{1}), "true", "\"true\""},
        {Raw(VT_BOOL, SHORT{0}), "false", "\"false\""},
        {Raw(VT_DATE, 25569.25), "21600000", "\"1970-01-01T06:00:00Z\""},
        {Raw(VT_CY, LONGLONG{-123'4500}), "-123.45", "\"-123.45\""},
        {Raw(VT_CY, LLONG_MIN), "-922337203685477.5808", "\"-922337203685477.5808\""},
        {Decimal(0xFFFF'FFFF, ULLONG_MAX, 0, 0).Get(), "79228162514264337593543950335",
         "\"79228162514264337593543950335\""},
        {Decimal(0, 1, 28, DECIMAL_NEG).Get(), "-0.0000000000000000000000000001",
         "\"-0.0000000000000000000000000001\""},
        {Decimal(0, 1500, 3, 0).Get(), "1.5", "\"1.5\""},
        {Decimal(0, 0, 3, DECIMAL_NEG).Get(), "0", "\"0\""},
        {text.Get(), "\"t\\n\"", "\"t\\n\""},
        {Raw(VT_BYREF | VT_I4, &number), "7", "\"7\""},
        {Raw(VT_UNKNOWN, LONGLONG{0}), "null", ""},
        {matrix.Get(), "[[0,2,4],[1,3,5]]", ""},
        {texts.Get(), "[\"a\",\"b\"]", ""},
        {bytes.Get(), "[0,0]", ""},
        {none.Get(), "[]", ""},
        {Raw(VT_ERROR, DISP_E_PARAMNOTFOUND), "", ""},
        {Decimal(0, 1, 29, 0).Get(), "", ""},
        {Decimal(0, 1, 255, 0).Get(), "", ""},
        {Raw(VT_ARRAY | VT_I4, LONGLONG{0}), "", ""},
        {Raw(VT_BYREF | VT_I4, LONGLONG{0}), "", ""},
        {Raw(VT_RECORD, LONGLONG{0}), "", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.value.vt << " " << row.json);
        const auto writer = NewWriter();
        ASSERT_EQ(writer->StartArray(nullptr), S_OK);
        EXPECT_EQ(writer->WriteVariantElement(row.value), row.json.empty() ? E_INVALIDARG : S_OK);
        EXPECT_EQ(Written(writer.Get()), "[" + std::string(row.json));
        ASSERT_EQ(writer->StartObject(nullptr), S_OK);
        const std::string before = Written(writer.Get());
        EXPECT_EQ(writer->WriteValueText(Bstr(u"v"), row.value), row.quoted.empty() ? E_INVALIDARG : S_OK);
        EXPECT_EQ(Written(writer.Get()), before + (row.quoted.empty() ? "" : "\"v\":" + std::string(row.quoted)));
        EXPECT_EQ(writer->WriteValueText(nullptr, row.value), E_INVALIDARG);
    }
    const auto writer = NewWriter();
    ASSERT_EQ(writer->StartArray(nullptr), S_OK);
    EXPECT_EQ(Refused(writer->WriteDateTextElement(1e9), E_INVALIDARG),
              WriterRefusal("The date is outside the years 100 to 9999."));
    EXPECT_EQ(Refused(writer->WriteVariantElement(Raw(VT_ERROR, 0)), E_INVALIDARG),
              WriterRefusal("A value of this type cannot be written as JSON."));
    EXPECT_EQ(writer->WriteVariantElement(Nested(500).Get()), S_OK);
    EXPECT_EQ(Refused(writer->WriteVariantElement(Nested(502).Get()), E_FAIL),
              WriterRefusal("The value has too many levels."));
}

TEST(JSONWriter, LetsObjectsWriteThemselvesOrNothingAtAll) {
    const auto make = [](std::function<HRESULT(BSTR, IJSONWriter*)> write) {
        return kv::Ptr<IUnknown>::Attach(new WritesItself(std::move(write)));
    };
    const auto sound = make([](BSTR name, IJSONWriter* writer) {
        EXPECT_EQ(writer->WriteToMemory(), E_UNEXPECTED);
        EXPECT_EQ(writer->Reset(), E_UNEXPECTED);
        EXPECT_EQ(writer->StartArray(name), S_OK);
        EXPECT_EQ(writer->WriteLongElement(1), S_OK);
        return writer->EndArray();
    });
    const auto failing = make([](BSTR name, IJSONWriter* writer) {
        for (int i = 0; i < 100; ++i) EXPECT_EQ(writer->StartArray(i == 0 ? name : nullptr), S_OK);
        return HRESULT{DISP_E_EXCEPTION};
    });
    const auto closing = make([](BSTR, IJSONWriter* writer) { return writer->EndArray(); });
    const auto openEnded = make([](BSTR name, IJSONWriter* writer) { return writer->StartObject(name); });
    kv::Ptr<IUnknown> circular =
        make([&](BSTR, IJSONWriter* writer) { return writer->WriteVariantElement(Value(circular.Get()).Get()); });
    const auto stranger = NewWriter();
    const struct {
        IUnknown* object;
        HRESULT status;
    } rows[] = {{sound.Get(), S_OK},           {failing.Get(), DISP_E_EXCEPTION},
                {closing.Get(), E_UNEXPECTED}, {openEnded.Get(), E_UNEXPECTED},
                {circular.Get(), E_FAIL},      {stranger.Get(), E_INVALIDARG}};
    for (const bool toStream : {false, true}) {
        const auto writer = NewWriter();
        const auto stream = MemoryStream({});
        ASSERT_EQ(toStream ? writer->WriteToStream(stream.Get()) : writer->WriteToMemory(), S_OK);
        ASSERT_EQ(writer->StartArray(nullptr), S_OK);
        for (const auto& row : rows) {
            auto list = ArrayOf({5, 6});
            auto* elements = static_cast<VARIANT*>(list.Get().parray->pvData);
            elements[1] = Value(row.object).Detach();
            EXPECT_EQ(writer->WriteVariantElement(list.Get()), row.status) << &row - rows;
            EXPECT_EQ(StateOf(writer.Get()), movaJSONWriterArray);
        }
        EXPECT_EQ(toStream ? ContentOf(stream.Get()) : Written(writer.Get()), "[[5,[1]]");
        ASSERT_EQ(writer->StartObject(nullptr), S_OK);
        EXPECT_EQ(writer->WriteVariant(nullptr, Value(sound.Get()).Get()), E_INVALIDARG);
        EXPECT_EQ(writer->WriteVariantElement(Value(sound.Get()).Get()), E_INVALIDARG);
        EXPECT_EQ(writer->WriteVariant(Bstr(u"s"), Value(sound.Get()).Get()), S_OK);
        EXPECT_EQ(toStream ? ContentOf(stream.Get()) : Written(writer.Get()), "[[5,[1]],{\"s\":[1]");
    }
}

TEST(JSONWriter, WritesTheSameInEveryLocale) {
    const LCID user = GetThreadLocale();
    SetThreadLocale(MAKELCID(MAKELANGID(LANG_GERMAN, SUBLANG_GERMAN), 0));
    const auto writer = NewWriter();
    EXPECT_EQ(writer->StartArray(nullptr), S_OK);
    EXPECT_EQ(writer->WriteDoubleElement(1234.5), S_OK);
    EXPECT_EQ(writer->WriteFloatElement(1234.5f), S_OK);
    EXPECT_EQ(writer->WriteVariantElement(Raw(VT_CY, LONGLONG{12'5000})), S_OK);
    EXPECT_EQ(Written(writer.Get()), "[1234.5,1234.5,12.5");
    SetThreadLocale(user);
}

}  // namespace mova::test
