#include "tests/windows/Support.h"

namespace mova::test {
namespace {

std::string Refused(std::string_view text) {
    return Refusal<IJSONConverter>("JSONConverter", text);
}

kv::Ptr<IPropertySet> Options(std::u16string_view name) {
    auto options = New<IPropertySet>(u"PropertySet");
    EXPECT_EQ(options->SetProperty(Bstr(name), Value(std::u16string_view(u"true")).Get()), S_OK);
    return options;
}

class JSONConverter : public testing::Test {
 protected:
    std::string ToText(const VARIANT& value) {
        kv::BString text;
        EXPECT_EQ(converter_->ToJSONString(value, nullptr, text.Put()), S_OK) << TakeErrorInfo();
        return kv::Utf8(text.View());
    }
    std::string ToText(IUnknown* object) { return ToText(Value(object).Get()); }
    kv::Variant Made(std::u16string_view text, IPropertySet* options = nullptr) {
        kv::Variant made;
        EXPECT_EQ(converter_->FromJSONString(Bstr(text), options, made.Put()), S_OK) << TakeErrorInfo();
        return made;
    }

    kv::Ptr<IJSONConverter> converter_ = New<IJSONConverter>(u"JSONConverter");
};

TEST_F(JSONConverter, SetsComeBackWithArraysIdentifiersAndSetsWithin) {
    auto set = New<IPropertySet>(u"PropertySet");
    auto inner = New<IPropertySet>(u"PropertySet");
    auto uid = New<IUID>(u"UID");
    uid->put_Value(Value(std::u16string_view(u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}:7")).Get());
    EXPECT_EQ(inner->SetProperty(Bstr(u"q\"\\"), Value(2.5).Get()), S_OK);
    set->SetProperty(Bstr(u"text"), Value(std::u16string_view(u"a\nb")).Get());
    set->SetProperty(Bstr(u"none"), VARIANT{});
    set->SetProperty(Bstr(u"flag"), Raw(VT_BOOL, VARIANT_TRUE));
    set->SetProperty(Bstr(u"date"), Raw(VT_DATE, 25569.5));
    set->SetProperty(Bstr(u"texts"), ArrayOf({u"x", u""}).Get());
    set->SetProperty(Bstr(u"numbers"), ArrayOf({1, -2}).Get());
    set->SetProperty(Bstr(u"set"), Value(inner.Get()).Get());
    set->SetProperty(Bstr(u"uid"), Value(uid.Get()).Get());
    const std::string expected =
        R"({"type":"PropertySet","propertySetItems":{"text":"a\nb","none":null,"flag":true,"date":43200000,)"
        R"("texts":{"type":"array","valueType":"string","values":["x",""]},)"
        R"("numbers":{"type":"array","valueType":"number","values":[1,-2]},)"
        R"("set":{"type":"PropertySet","propertySetItems":{"q\"\\":2.5}},)"
        R"("uid":{"type":"UID","value":"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}","subtype":7}}})";
    EXPECT_EQ(ToText(set.Get()), expected);

    const kv::Variant made = Made(kv::Utf16(expected));
    const auto back = kv::Ptr<IUnknown>(made.Get().punkVal).As<IPropertySet>();
    ASSERT_TRUE(back);
    EXPECT_EQ(Names(back.Get()), Names(set.Get()));
    EXPECT_EQ(ToText(back.Get()), expected);
    EXPECT_EQ(AnswerOf(back, &IPropertySet::GetProperty, Bstr(u"numbers")).Get().vt, VT_ARRAY | VT_R8);
    const auto read = AnswerOf(back, &IPropertySet::GetProperty, Bstr(u"uid"));
    EXPECT_EQ(AnswerOf(uid, &IUID::Compare, kv::Ptr<IUnknown>(read.Get().punkVal).As<IUID>().Get()), VARIANT_TRUE);

    // A writer and an object that meet a set write the same.
    auto object = New<IJSONObject>(u"JSONObject");
    EXPECT_EQ(object->AddVariant(Bstr(u"s"), Value(set.Get()).Get()), S_OK);
    EXPECT_EQ(kv::Utf8(AnswerOf(object, &IJSONObject::ToJSONString, nullptr).View()), "{\"s\":" + expected + "}");
}

TEST_F(JSONConverter, WordsAreReadInAnyCaseAndNumbersKeepTheirDigits) {
    const struct {
        std::u16string_view json;
        VARTYPE type;
        std::string_view written;
    } rows[] = {
        {u"{\"type\":\"ARRAY\",\"valueType\":\"String\",\"values\":[\"a\"]}", VT_ARRAY | VT_BSTR, "[\"a\"]"},
        {u"{\"type\":\"array\",\"valueType\":\"NUMBER\",\"values\":[1,2.5,NaN]}", VT_ARRAY | VT_R8, "[1,2.5,\"NaN\"]"},
        {u"{\"type\":\"array\",\"valueType\":\"number\",\"values\":[1,9007199254740993]}", VT_ARRAY | VT_I8,
         "[1,9007199254740993]"},
        {u"{\"type\":\"array\",\"valueType\":\"number\",\"values\":[]}", VT_ARRAY | VT_R8, "[]"},
        {u"{\"type\":\"propertyset\"}", VT_UNKNOWN, "{}"},
        {u"{\"type\":\"PROPERTYSET\",\"propertySetItems\":null}", VT_UNKNOWN, "{}"},
    };
    for (const auto& row : rows) {
        const kv::Variant made = Made(row.json);
        EXPECT_EQ(made.Get().vt, row.type) << kv::Utf8(row.json);
        const std::string text = ToText(made.Get());
        const std::string end = std::string(row.written) + "}";
        EXPECT_EQ(text.substr(text.size() - end.size()), end);
    }
}

TEST_F(JSONConverter, WhatIsUnknownIsKeptOnDemand) {
    const auto keep = Options(u"UnknownAsJSONObject");
    const std::u16string_view texts[] = {
        u"{\"type\":\"PropertySet\",\"propertySetItems\":{\"a\":{\"type\":\"Other\",\"b\":1},\"c\":[1,[]]}}",
        u"{\"x\":1}",
        u"[1]",
    };
    for (const auto text : texts) {
        kv::Variant refused;
        EXPECT_EQ(converter_->FromJSONString(Bstr(text), nullptr, refused.Put()), E_INVALIDARG);
        EXPECT_EQ(refused.Get().vt, VT_EMPTY);
        EXPECT_EQ(ToText(Made(text, keep.Get()).Get()), kv::Utf8(text));
    }
}

TEST_F(JSONConverter, RefusalsSayWhichValueIsMeant) {
    const struct {
        std::u16string_view json;
        std::string_view reason;
    } rows[] = {
        {u"{\"type\":\"Time\"}", "The value is an object of a type that is not known."},
        {u"{\"type\":\"PropertySet\",\"propertySetItems\":[]}", "The value has no object under \"propertySetItems\"."},
        {u"{\"type\":\"PropertySet\",\"propertySetItems\":{\"a\":{}}}",
         "The value of \"a\" is an object of a type that is not known."},
        {u"{\"type\":\"PropertySet\",\"propertySetItems\":{\"a\":[]}}",
         "The value of \"a\" is an array that does not say what it is of."},
        {u"{\"type\":\"array\",\"valueType\":\"date\",\"values\":[]}",
         "The value is an array whose \"valueType\" is neither \"string\" nor \"number\"."},
        {u"{\"type\":\"array\",\"valueType\":\"number\",\"values\":1}",
         "The value is an array without an array under \"values\"."},
        {u"{\"type\":\"array\",\"valueType\":\"number\",\"values\":[1,\"x\"]}",
         "The value is an array with elements that are not of its \"valueType\"."},
        {u"{\"type\":\"array\",\"valueType\":\"string\",\"values\":[\"x\",1]}",
         "The value is an array with elements that are not of its \"valueType\"."},
        {u"{\"type\":\"UID\",\"value\":\"{588E}\"}", "The value is no identifier: it needs a GUID under \"value\"."},
    };
    for (const auto& row : rows) {
        kv::Variant made;
        EXPECT_EQ(converter_->FromJSONString(Bstr(row.json), nullptr, made.Put()), E_INVALIDARG) << row.reason;
        EXPECT_EQ(TakeErrorInfo(), Refused(row.reason));
    }
    kv::BString text;
    auto set = New<IPropertySet>(u"PropertySet");
    set->SetProperty(Bstr(u"deep"), Nested(2).Get());
    EXPECT_EQ(converter_->ToJSONString(Value(set.Get()).Get(), nullptr, text.Put()), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refused("The value of \"deep\" is an array of others than texts or numbers."));
    set->SetProperty(Bstr(u"deep"), Array(VT_I4, {{2, 0}, {2, 0}}).Get());
    EXPECT_EQ(converter_->ToJSONString(Value(set.Get()).Get(), nullptr, text.Put()), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refused("The value of \"deep\" is no array of one dimension."));
    EXPECT_EQ(converter_->ToJSONString(Value(1).Get(), nullptr, text.Put()), E_INVALIDARG);
    kv::Variant made;
    EXPECT_EQ(converter_->FromJSONString(Bstr(u"{\"a\":x}"), nullptr, made.Put()), E_UNEXPECTED);
    EXPECT_NE(TakeErrorInfo().find("Unrecognized token type"), std::string::npos);
}

TEST_F(JSONConverter, CirclesAndDepthEndInARefusal) {
    auto set = New<IPropertySet>(u"PropertySet");
    set->SetProperty(Bstr(u"a"), Value(set.Get()).Get());
    set->SetProperty(Bstr(u"b"), Value(set.Get()).Get());
    kv::BString text;
    EXPECT_EQ(converter_->ToJSONString(Value(set.Get()).Get(), nullptr, text.Put()), E_FAIL);
    EXPECT_EQ(TakeErrorInfo(), Refused("More than 250 property sets lie in one another."));
    set->RemoveProperty(Bstr(u"a"));
    set->RemoveProperty(Bstr(u"b"));
    auto outer = New<IPropertySet>(u"PropertySet");
    auto top = outer;
    for (int i = 1; i < 250; ++i) {
        auto inner = New<IPropertySet>(u"PropertySet");
        outer->SetProperty(Bstr(u"in"), Value(inner.Get()).Get());
        outer = inner;
    }
    const std::string json = ToText(top.Get());
    EXPECT_EQ(ToText(Made(kv::Utf16(json)).Get()), json);
}

TEST_F(JSONConverter, ObjectsTranslateThemselves) {
    auto object = New<IJSONObjectEx>(u"JSONObject");
    EXPECT_EQ(object->FromJSONString(Bstr(u"{\"type\":\"PropertySet\",\"propertySetItems\":{\"a\":1}}")), S_OK);
    kv::Ptr<IUnknown> made;
    EXPECT_EQ(object->Translate(nullptr, made.Put()), S_OK);
    ASSERT_TRUE(made.As<IPropertySet>());
    EXPECT_EQ(Names(made.As<IPropertySet>().Get()), "a");
    const auto translator = New<IJSONTranslator>(u"JSONConverter");
    EXPECT_EQ(translator->ToObject(Bstr(u"uid"), object.As<IJSONObject>().Get(), nullptr, made.Put()), E_INVALIDARG)
        << "the type that is asked for decides";
    EXPECT_FALSE(made);
    EXPECT_EQ(translator->ToObject(nullptr, object.As<IJSONObject>().Get(), nullptr, made.Put()), E_POINTER);
    EXPECT_EQ(translator->ToObject(Bstr(u"UID"), nullptr, nullptr, made.Put()), E_POINTER);
}

}  // namespace
}  // namespace mova::test
