#include <functional>

#include "tests/windows/Persistence.h"
#include "tests/windows/Support.h"

namespace mova::test {
namespace {

/// What every document's outermost element declares.
const std::string declared =
    " xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xmlns:xs='http://www.w3.org/2001/XMLSchema'"
    " xmlns:mova='urn:mova:schemas:10.0'";

kv::Ptr<IXMLSerializerAlt> NewSerializer() {
    return New<IXMLSerializerAlt>(u"XMLSerializerAlt");
}

std::string TextOf(IUnknown* object, const kv::Ptr<IXMLSerializerAlt>& serializer = NewSerializer()) {
    kv::BString text;
    const HRESULT status = serializer->SaveToString(object, nullptr, text.Put());
    if (FAILED(status)) return TakeErrorInfo();
    return kv::Utf8(text.View());
}

HRESULT Load(const std::string& text, kv::Ptr<IUnknown>& object,
             const kv::Ptr<IXMLSerializerAlt>& serializer = NewSerializer()) {
    return serializer->LoadFromString(Bstr(kv::Utf16(text)), object.Put());
}

template <class I>
kv::Ptr<I> Loaded(const std::string& text) {
    kv::Ptr<IUnknown> object;
    EXPECT_EQ(Load(text, object), S_OK) << text << "\n" << TakeErrorInfo();
    return object.As<I>();
}

kv::Ptr<IPropertySet2> SetOf(const char16_t* name, const VARIANT& value) {
    auto set = New<IPropertySet2>(u"PropertySet");
    EXPECT_EQ(set->SetProperty(Bstr(name), value), S_OK);
    return set;
}

kv::Variant Get(IPropertySet* set, std::u16string_view name) {
    return AnswerOf(set, &IPropertySet::GetProperty, Bstr(name));
}

kv::Variant Truth(bool flag) {
    return kv::Variant::Attach(Raw(VT_BOOL, flag ? VARIANT_TRUE : VARIANT_FALSE));
}

/// A document of one set with what is given in it.
std::string SetDocument(const std::string& content) {
    return "<S xsi:type='mova:PropertySet'" + declared + ">" + content + "</S>";
}

/// An object of a client's own that does what a test says.
class LocalObject : public Local<IXMLSerialize> {
 public:
    STDMETHODIMP Serialize(IXMLSerializeData* data) noexcept override { return write(data); }
    STDMETHODIMP Deserialize(IXMLSerializeData* data) noexcept override { return read(data); }

    std::function<HRESULT(IXMLSerializeData*)> write = [](IXMLSerializeData*) { return S_OK; };
    std::function<HRESULT(IXMLSerializeData*)> read = [](IXMLSerializeData*) { return S_OK; };
};

/// The type that the start tag names on which a reader stands.
std::string TypeAt(IXMLReader& reader) {
    const Bstr instance(u"http://www.w3.org/2001/XMLSchema-instance");
    const auto type = AnswerOf(&reader, &IXMLReader::GetAttribute, instance, Bstr(u"type"));
    const auto colon = type.View().find(u':');
    const auto uri = AnswerOf(&reader, &IXMLReader::LookupNamespaceURI, Bstr(type.View().substr(0, colon)));
    return "{" + kv::Utf8(uri.View()) + "}" + kv::Utf8(type.View().substr(colon + 1));
}

}  // namespace

TEST(XMLSerializer, WritesEachClassInItsForm) {
    const auto strings = New<IStringArray>(u"StrArray");
    strings->Add(Bstr(u"a<b"));
    strings->Add(Bstr(u""));
    strings->Add(Bstr(u"line\r\nend"));
    strings->Add(Bstr(std::u16string_view(u"\u0001\xD800", 2)));
    const auto uid = New<IUID>(u"UID");
    const auto emptyUid = New<IUID>(u"UID");
    uid->put_Value(Value(u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}:7").Get());
    const auto property = New<IPropertySetProperty>(u"PropertySetProperty");
    property->put_Key(Bstr(u"k"));
    property->put_Value(Value(1.5).Get());
    const auto set = SetOf(u"n", Value(-3).Get());
    set->SetProperty(Bstr(u"tab\t"), Value(u"\u00e4").Get());
    set->SetProperty(Bstr(u"o"), Value(uid.Get()).Get());
    set->SetProperty(Bstr(u"again"), Value(uid.Get()).Get());
    const auto sets = New<IPropertySetArray>(u"PropertySetArray");
    sets->Add(New<IPropertySet>(u"PropertySet").Get());
    const struct {
        IUnknown* object;
        std::string name, content;
    } rows[] = {
        {strings.Get(), "StrArray",
         "<Item>a&lt;b</Item><Item/><Item>line&#xD;\nend</Item><Item xsi:type='mova:EncodedString'>AQAA2A==</Item>"},
        {uid.Get(), "UID", "<Value>{588E5A11-D09B-11D1-AA7C-00C04FA33A15}</Value><SubType>7</SubType>"},
        {emptyUid.Get(), "UID", "<SubType>0</SubType>"},
        {property.Get(), "PropertySetProperty", "<Key>k</Key><Value xsi:type='xs:double'>1.5</Value>"},
        {set.Get(), "PropertySet",
         "<Property key='n' xsi:type='xs:int'>-3</Property>"
         "<Property encodedKey='dABhAGIACQA=' xsi:type='xs:string'>\u00e4</Property>"
         "<Property key='o' xsi:type='mova:UID' id='ID1'><Value>{588E5A11-D09B-11D1-AA7C-00C04FA33A15}</Value>"
         "<SubType>7</SubType></Property><Property key='again' href='#ID1'/>"},
        {sets.Get(), "PropertySetArray", "<Item xsi:type='mova:PropertySet'/>"},
    };
    for (const auto& row : rows) {
        const std::string document =
            "<" + row.name + " xsi:type='mova:" + row.name + "'" + declared + ">" + row.content + "</" + row.name + ">";
        EXPECT_EQ(TextOf(row.object), document);
        kv::Ptr<IUnknown> object;
        ASSERT_EQ(Load(document, object), S_OK) << TakeErrorInfo();
        EXPECT_EQ(TextOf(object.Get()), document);
    }
    const auto read = Loaded<IPropertySet>(TextOf(set.Get()));
    EXPECT_EQ(Get(read.Get(), u"o").Get().punkVal, Get(read.Get(), u"again").Get().punkVal);
}

TEST(XMLSerializer, BringsBackEveryValue) {
    const auto set = New<IPropertySet2>(u"PropertySet");
    std::u16string name = u"a";
    for (const auto& value : EveryValue()) EXPECT_EQ(set->SetProperty(Bstr(name += u'x'), value.Get()), S_OK);
    const auto put = [&](kv::Variant value) { EXPECT_EQ(set->SetProperty(Bstr(name += u'x'), value.Get()), S_OK); };
    for (const double date : {0.0, -1.25, 36526.000001, 1e300, 43831.5}) put(kv::Variant::Attach(Raw(VT_DATE, date)));
    for (const std::u16string_view text :
         {std::u16string_view(u"\r\n\t <&>'\"]]>"), std::u16string_view(u" around "), std::u16string_view(u"\0z", 2),
          std::u16string_view(u"\xDC00\xD800"), std::u16string_view(u"\xFFFE"), std::u16string_view(u"\xD83D\xDE00")})
        put(Value(text));
    for (const std::u16string_view key : {u"", u" ", u"a\nb", u"'\"<&>", u"\uFFFF", u"\xD83D\xDE00"})
        EXPECT_EQ(set->SetProperty(Bstr(key), Value(1).Get()), S_OK);
    put(Nested(20));
    const auto read = Loaded<IPropertySet2>(TextOf(set.Get()));
    EXPECT_EQ(Names(read.Get()), Names(set.Get()));
    const auto count = AnswerOf(set, &IPropertySet2::GetCount);
    for (LONG i = 0; i < count; ++i) {
        kv::BString key;
        kv::Variant before, after;
        EXPECT_EQ(set->GetPropertyAt(i, key.Put(), before.Put()), S_OK);
        EXPECT_EQ(read->GetPropertyAt(i, key.Put(), after.Put()), S_OK);
        if (before.Get().vt == VT_BOOL) before = Truth(before.Get().boolVal != VARIANT_FALSE);
        EXPECT_TRUE(kv::SameValue(before.Get(), after.Get())) << TextOf(SetOf(u"", before.Get()).Get());
    }
}

TEST(XMLSerializer, SharesObjectsAndEndsCycles) {
    const auto set = New<IPropertySet>(u"PropertySet");
    const auto inner = SetOf(u"out", Value(set.Get()).Get());
    set->SetProperty(Bstr(u"in"), Value(inner.Get()).Get());
    set->SetProperty(Bstr(u"self"), Value(set.Get()).Get());
    const std::string document =
        "<PropertySet xsi:type='mova:PropertySet' id='ID1'" + declared +
        "><Property key='in' xsi:type='mova:PropertySet'><Property key='out' href='#ID1'/></Property>"
        "<Property key='self' href='#ID1'/></PropertySet>";
    EXPECT_EQ(TextOf(set.Get()), document);
    const auto read = Loaded<IPropertySet2>(document);
    EXPECT_EQ(Get(read.Get(), u"self").Get().punkVal, read.As<IUnknown>().Get());
    const auto copied = kv::Ptr<IUnknown>(Get(read.Get(), u"in").Get().punkVal).As<IPropertySet>();
    EXPECT_EQ(Get(copied.Get(), u"out").Get().punkVal, read.As<IUnknown>().Get());
    read->RemoveAllProperties();

    const auto serializer = NewSerializer();
    const auto flags = New<IXMLFlags>(u"XMLFlags");
    flags->put_SharedObjects(VARIANT_FALSE);
    EXPECT_EQ(serializer->put_Flags(flags.Get()), S_OK);
    kv::BString text;
    EXPECT_EQ(serializer->SaveToString(set.Get(), nullptr, text.Put()), E_FAIL) << "a cycle never ends without";
    EXPECT_EQ(text.Get(), nullptr);
    inner->RemoveAllProperties();
    set->SetProperty(Bstr(u"self"), Value(inner.Get()).Get());
    EXPECT_EQ(TextOf(set.Get(), serializer), "<PropertySet xsi:type='mova:PropertySet'" + declared +
                                                 "><Property key='in' xsi:type='mova:PropertySet'/>"
                                                 "<Property key='self' xsi:type='mova:PropertySet'/></PropertySet>");

    const auto ahead = Loaded<IPropertySet2>(
        SetDocument("<Property key='a' href='#x'/><Property key='b' id='x' xsi:type='mova:PropertySet'/>"));
    EXPECT_EQ(Get(ahead.Get(), u"a").Get().punkVal, Get(ahead.Get(), u"b").Get().punkVal) << "a reference ahead";
}

TEST(XMLSerializer, FormatsAndChoosesReleases) {
    const auto serializer = NewSerializer();
    const auto flags = New<IXMLFlags>(u"XMLFlags");
    flags->put_Formatted(VARIANT_TRUE);
    serializer->put_Flags(flags.Get());
    EXPECT_EQ(Refused(serializer->put_ReleaseNamespaceURI(Bstr(u"urn:mova:schemas:8.0")), E_INVALIDARG),
              Refusal<IXMLSerializerAlt>("XMLSerializerAlt", "The namespace is that of no release of the schema."));
    EXPECT_EQ(serializer->put_ReleaseNamespaceURI(Bstr(u"urn:mova:schemas:9.2")), S_OK);
    EXPECT_EQ(AnswerOf(serializer, &IXMLSerializerAlt::get_ReleaseNamespaceURI).View(), u"urn:mova:schemas:9.2");
    const auto set = SetOf(u"a", Value(SetOf(u"b", Value(1).Get()).Get()).Get());
    std::string expected =
        "<PropertySet xsi:type='mova:PropertySet'" + declared +
        ">\r\n\t<Property key='a' xsi:type='mova:PropertySet'>\r\n\t\t<Property key='b' xsi:type='xs:int'>1</Property>"
        "\r\n\t</Property>\r\n</PropertySet>";
    expected.replace(expected.find("10.0"), 4, "9.2");
    EXPECT_EQ(TextOf(set.Get(), serializer), expected);
    EXPECT_EQ(Names(Loaded<IPropertySet>(expected).Get()), "a");

    LocalObject object;
    kv::BString seen;
    VARIANT_BOOL isForSOAP = VARIANT_TRUE;
    object.write = [&](IXMLSerializeData* data) {
        data->get_ReleaseNamespaceURI(seen.Put());
        data->get_ForSOAP(&isForSOAP);
        data->put_TypeName(Bstr(u"Thing"));
        data->put_TypeNamespaceURI(Bstr(u"urn:of-others"));
        return S_OK;
    };
    flags->put_Formatted(VARIANT_FALSE);
    EXPECT_NE(TextOf(&object, serializer).find("<Thing xsi:type='t:Thing'"), std::string::npos);
    EXPECT_NE(TextOf(&object, serializer).find(" xmlns:t='urn:of-others'/>"), std::string::npos);
    EXPECT_EQ(seen.View(), u"urn:mova:schemas:9.2");
    EXPECT_EQ(isForSOAP, VARIANT_FALSE);
}

TEST(XMLSerializer, RefusesForSOAPWhatSOAPCannotCarry) {
    const auto serializer = NewSerializer();
    const auto flags = New<IXMLFlags>(u"XMLFlags");
    flags->put_ForSOAP(VARIANT_TRUE);
    serializer->put_Flags(flags.Get());
    const auto set = SetOf(u"a", Value(1).Get());
    const auto stream = StreamOf({});
    EXPECT_EQ(serializer->SaveToStream(set.Get(), nullptr, stream.Get()), S_OK);
    const Bytes written = BytesOf(stream);
    set->SetProperty(Bstr(u"texts"), Array(VT_BSTR, {{2, 0}}).Get());
    const auto outer = SetOf(u"set", Value(set.Get()).Get());
    for (IPropertySet* refused : {set.As<IPropertySet>().Get(), outer.As<IPropertySet>().Get()}) {
        EXPECT_EQ(Refused(serializer->SaveToStream(refused, nullptr, stream.Get()), E_FAIL),
                  Refusal<IXMLSerialize>("PropertySet",
                                         "VT_ARRAY | VT_BSTR properties are not supported for SOAP serialization."));
    }
    EXPECT_EQ(BytesOf(stream), written) << "nothing is written";
    set->SetProperty(Bstr(u"texts"), ArrayOf({u"a"}).Get());
    EXPECT_EQ(serializer->SaveToStream(set.Get(), nullptr, stream.Get()), S_OK) << "an array of VARIANTs passes";
}

TEST(XMLSerializer, SaysWhatIsWrongWithADocument) {
    const auto told = [](const char* text) { return Refusal<IXMLSerializeData>("XMLSerializer", text); };
    const auto badValue = told("The text is no value of its type.");
    const auto noClass = told("Unable to instantiate class for xml schema type");
    const auto unknownType = told("An element has a type of which no value is known.");
    const auto badBounds = told("The bounds of an array are not those of its elements.");
    const auto noElement = told("A reference names no element of the document.");
    const struct {
        std::string document;
        HRESULT status;
        std::string refusal;
    } rows[] = {
        {"<a/>", E_FAIL, noClass},
        {"<PropertySet/>", S_OK, ""},
        {"<a xsi:type='mova:Nothing'" + declared + "/>", E_FAIL, noClass},
        {"<a xsi:type='urn:PropertySet'" + declared + "/>", E_FAIL, noClass},
        {"<a xsi:type='xs:int'" + declared + ">1</a>", E_FAIL, noClass},
        {SetDocument("<Other><Property/></Other><Property key='a' xsi:type='xs:int'> 1 </Property>"), S_OK, ""},
        {SetDocument("<Property key='a' xsi:type='xs:int'>1x</Property>"), E_INVALIDARG, badValue},
        {SetDocument("<Property key='a' xsi:type='xs:byte'>128</Property>"), E_INVALIDARG, badValue},
        {SetDocument("<Property key='a' xsi:type='xs:base64Binary'>QQ=</Property>"), E_INVALIDARG, badValue},
        {SetDocument("<Property key='a' xsi:type='mova:EncodedString'>?</Property>"), E_INVALIDARG, badValue},
        {SetDocument("<Property key='a' xsi:type='xs:anyType'/>"), E_INVALIDARG, unknownType},
        {SetDocument("<Property key='a' xsi:type='xs:hexBinary'>00</Property>"), E_INVALIDARG, unknownType},
        {SetDocument("<Property key='a' xsi:type='xs:integer'>-1</Property>"), S_OK, ""},
        {SetDocument("<Property key='a' xsi:type='xs:integer'>1.5</Property>"), E_INVALIDARG, badValue},
        {SetDocument("<Property key='a' xsi:type='xs:positiveInteger'>-3</Property>"), E_INVALIDARG, badValue},
        {SetDocument("<Property key='a' xsi:type='xs:negativeInteger'>0</Property>"), E_INVALIDARG, badValue},
        {SetDocument("<Property encodedKey='?' xsi:type='xs:int'>1</Property>"), E_INVALIDARG,
         told("The key of an element is not base64 of UTF-16 text.")},
        {SetDocument("<Property key='a' xsi:type='mova:ArrayOfInt'><Bounds>2147483647 1</Bounds><Item>1</Item>"
                     "</Property>"),
         E_INVALIDARG, badBounds},
        {SetDocument("<Property key='a' xsi:type='mova:ArrayOfInt'><Bounds>0 2</Bounds><Item>1</Item></Property>"),
         E_INVALIDARG, badBounds},
        {SetDocument("<Property key='a' xsi:type='mova:ArrayOfInt'><Bounds>0 4294967295 0 4294967295 0 2</Bounds>"
                     "</Property>"),
         E_INVALIDARG, badBounds},
        {SetDocument("<Property key='a' xsi:type='mova:ArrayOfInt'><Bounds>0 x</Bounds></Property>"), E_INVALIDARG,
         badBounds},
        {SetDocument("<Property key='a' href='#ID9'/>"), E_FAIL, noElement},
        {SetDocument("<Property key='a' id='b' href='#b'/>"), E_FAIL, noElement},
        {SetDocument("<Property key='a' id='x' xsi:type='xs:int'>1</Property><Property key='b' href='#x'/>"), E_FAIL,
         noClass},
        {SetDocument("<Property key='a' id='x' xsi:type='mova:UID'/><Property key='b' id='x' xsi:type='mova:UID'/>"),
         E_FAIL, told("Two elements of the document have the same identifier.")},
        {"<a xsi:type='mova:UID'" + declared + "><Value>x</Value></a>", E_INVALIDARG,
         Refusal<IXMLSerialize>("UID", "The value is no GUID.")},
        {"<a xsi:type='mova:UID'" + declared + "><SubType>-1</SubType></a>", E_INVALIDARG,
         Refusal<IXMLSerialize>("UID", "The subtype must be a whole number from 0 to 2,147,483,647.")},
        {"<a xsi:type='mova:PropertySetArray'" + declared + "><Item xsi:type='mova:UID'/></a>", E_FAIL,
         Refusal<IXMLSerialize>("PropertySetArray", "An element of the array is null or of another kind.")},
    };
    for (const auto& row : rows) {
        kv::Ptr<IUnknown> object;
        EXPECT_EQ(Load(row.document, object), row.status) << row.document;
        EXPECT_EQ(object.Get() == nullptr, row.status != S_OK) << row.document;
        EXPECT_EQ(FAILED(row.status) ? TakeErrorInfo() : "", row.refusal) << row.document;
    }
    const auto lenient = NewSerializer();
    const auto flags = New<IXMLFlags>(u"XMLFlags");
    flags->put_UnknownAsNull(VARIANT_TRUE);
    lenient->put_Flags(flags.Get());
    kv::Ptr<IUnknown> object;
    ASSERT_EQ(Load(SetDocument("<Property key='a' xsi:type='mova:Unheard'/>"), object, lenient), S_OK);
    EXPECT_EQ(Get(object.As<IPropertySet>().Get(), u"a").Get().vt, VT_UNKNOWN);
    EXPECT_EQ(Load(SetDocument("<Property key='a' xsi:type='xs:hexBinary'/>"), object, lenient), E_INVALIDARG)
        << "no object is meant";
    ASSERT_EQ(Load(SetDocument("<Property key='a' xsi:type='xs:int' xsi:nil='true'/>"), object), S_OK);
    EXPECT_EQ(Get(object.As<IPropertySet>().Get(), u"a").Get().vt, VT_NULL);
    EXPECT_EQ(Load("<a xsi:type='mova:Unheard'" + declared + "/>", object, lenient), S_FALSE);
    EXPECT_EQ(object.Get(), nullptr);
    EXPECT_EQ(Load("<a xsi:nil='true'" + declared + "/>", object), S_FALSE);
}

TEST(XMLSerializer, KeepsNothingOfADocumentThatIsCut) {
    const auto set = SetOf(u"self", Value(7).Get());
    set->SetProperty(Bstr(u"self"), Value(set.Get()).Get());
    set->SetProperty(Bstr(u"b"), ArrayOf({u"x", u"y"}).Get());
    const std::string document = TextOf(set.Get());
    set->RemoveAllProperties();
    for (std::size_t length = 0; length < document.size(); ++length) {
        kv::Ptr<IUnknown> object;
        EXPECT_EQ(Load(document.substr(0, length), object), E_FAIL) << length;
        EXPECT_EQ(object.Get(), nullptr);
        EXPECT_FALSE(TakeErrorInfo().empty()) << length;
    }
    kv::Ptr<IUnknown> object;
    EXPECT_EQ(Load(document + "<more/>", object), E_FAIL) << "there is one outermost element";
    EXPECT_EQ(Load(SetDocument("<Property key='a' id='x' xsi:type='mova:PropertySet'><Property key='b' href='#x'/>"
                               "</Property><Property key='c' href='#y'/>"),
                   object),
              E_FAIL)
        << "what refers to itself ends, too";
}

TEST(XMLSerializer, BoundsTheNestingOfObjects) {
    kv::Ptr<IPropertySet2> set = New<IPropertySet2>(u"PropertySet");
    for (int i = 1; i < 500; ++i) set = SetOf(u"in", Value(set.Get()).Get());
    const std::string document = TextOf(set.Get());
    EXPECT_EQ(TextOf(Loaded<IUnknown>(document).Get()), document);
    set = SetOf(u"in", Value(set.Get()).Get());
    EXPECT_EQ(TextOf(set.Get()), Refusal<IXMLSerializeData>("XMLSerializer", "The objects nest too deeply."));
    std::string tags, ends;
    for (int i = 0; i < 100'000; ++i) {
        tags += "<Property key='a' xsi:type='mova:PropertySet'>";
        ends += "</Property>";
    }
    kv::Ptr<IUnknown> object;
    EXPECT_EQ(Refused(Load(SetDocument(tags + ends), object), E_FAIL),
              Refusal<IXMLSerializeData>("XMLSerializer", "The objects nest too deeply."));
}

TEST(XMLSerializer, RefusesObjectsThatCannotBeWritten) {
    LocalStream notXml;
    LocalObject nameless;
    LocalObject failing;
    failing.write = [](IXMLSerializeData*) { return E_ACCESSDENIED; };
    const struct {
        IUnknown* object;
        HRESULT status;
        const char* told;
    } rows[] = {{&notXml, E_INVALIDARG, "An object cannot be written as XML."},
                {&nameless, E_INVALIDARG, "An object does not name its type."},
                {&failing, E_ACCESSDENIED, nullptr}};
    for (const auto& row : rows) {
        const auto stream = StreamOf({});
        const auto outer = SetOf(u"o", Value(row.object).Get());
        EXPECT_EQ(NewSerializer()->SaveToStream(outer.Get(), nullptr, stream.Get()), row.status);
        EXPECT_EQ(TakeErrorInfo(), row.told ? Refusal<IXMLSerializeData>("XMLSerializer", row.told) : "");
        EXPECT_TRUE(BytesOf(stream).empty());
    }
    const auto stream = StreamOf({});
    for (const char16_t* const name : {u"1a", u"a b", u"p:a", u"<"}) {
        LocalObject object;
        object.write = [&](IXMLSerializeData* data) {
            EXPECT_EQ(data->AddLong(Bstr(name), 1), E_INVALIDARG);
            return data->put_TypeName(Bstr(name));
        };
        EXPECT_EQ(NewSerializer()->SaveToStream(&object, nullptr, stream.Get()), E_INVALIDARG);
        EXPECT_EQ(Refused(NewSerializer()->SaveToStream(SetOf(u"a", Value(1).Get()).Get(), Bstr(name), stream.Get()),
                          E_INVALIDARG),
                  Refusal<IXMLSerializerAlt>("XMLSerializerAlt",
                                             "An element must have a name as XML has them, without a prefix."));
    }
    VARIANT decimal{};
    decimal.decVal.Lo64 = 1;
    decimal.decVal.scale = 255;
    decimal.vt = VT_DECIMAL;
    EXPECT_EQ(NewSerializer()->SaveToStream(SetOf(u"a", decimal).Get(), nullptr, stream.Get()), E_INVALIDARG);
    EXPECT_TRUE(BytesOf(stream).empty());
    EXPECT_EQ(NewSerializer()->SaveToStream(nullptr, nullptr, StreamOf({}).Get()), E_INVALIDARG);
    EXPECT_EQ(NewSerializer()->SaveToStream(&nameless, nullptr, nullptr), E_POINTER);
    EXPECT_EQ(NewSerializer()->LoadFromStream(nullptr, nullptr), E_POINTER);
}

TEST(XMLSerializer, LetsAnObjectUseItsElementInItsTurnOnly) {
    kv::Ptr<IXMLSerializeData> kept;
    kv::BString text;
    LONG number = 7;
    LONGLONG wide = 7;
    DOUBLE real = 7;
    VARIANT_BOOL flag = VARIANT_TRUE;
    kv::Variant value;
    kv::Ptr<IUnknown> object;
    const std::function<HRESULT(IXMLSerializeData*)> writes[] = {
        [&](IXMLSerializeData* data) { return data->put_TypeName(Bstr(u"T")); },
        [&](IXMLSerializeData* data) { return data->put_TypeNamespaceURI(Bstr(u"urn:x")); },
        [&](IXMLSerializeData* data) { return data->AddBoolean(Bstr(u"E"), VARIANT_TRUE); },
        [&](IXMLSerializeData* data) { return data->AddLong(Bstr(u"E"), -1); },
        [&](IXMLSerializeData* data) { return data->AddInt64(Bstr(u"E"), 1LL << 40); },
        [&](IXMLSerializeData* data) { return data->AddDouble(Bstr(u"E"), 0.1); },
        [&](IXMLSerializeData* data) { return data->AddDate(Bstr(u"E"), 2); },
        [&](IXMLSerializeData* data) { return data->AddString(Bstr(u"E"), Bstr(u"s")); },
        [&](IXMLSerializeData* data) {
            return data->AddBytes(Bstr(u"E"), Array(VT_UI1, {{2, 0}}).Get());
        },
        [&](IXMLSerializeData* data) { return data->AddObject(Bstr(u"E"), nullptr); },
        [&](IXMLSerializeData* data) { return data->AddVariant(Bstr(u"E"), Value(1).Get()); },
        [&](IXMLSerializeData* data) { return data->AddKeyedVariant(Bstr(u"E"), Bstr(u"k"), Value(1).Get()); },
    };
    const std::function<HRESULT(IXMLSerializeData*, LONG)> reads[] = {
        [&](IXMLSerializeData* data, LONG i) { return data->GetName(i, text.Put()); },
        [&](IXMLSerializeData* data, LONG i) { return data->GetKey(i, text.Put()); },
        [&](IXMLSerializeData* data, LONG i) { return data->GetBoolean(i, &flag); },
        [&](IXMLSerializeData* data, LONG i) { return data->GetLong(i, &number); },
        [&](IXMLSerializeData* data, LONG i) { return data->GetInt64(i, &wide); },
        [&](IXMLSerializeData* data, LONG i) { return data->GetDouble(i, &real); },
        [&](IXMLSerializeData* data, LONG i) { return data->GetDate(i, &real); },
        [&](IXMLSerializeData* data, LONG i) { return data->GetString(i, text.Put()); },
        [&](IXMLSerializeData* data, LONG i) { return data->GetBytes(i, value.Put()); },
        [&](IXMLSerializeData* data, LONG i) { return data->GetObjectAt(i, object.Put()); },
        [&](IXMLSerializeData* data, LONG i) { return data->GetVariant(i, value.Put()); },
    };
    LocalObject writer;
    writer.write = [&](IXMLSerializeData* data) {
        kept = kv::Ptr<IXMLSerializeData>(data);
        for (const auto& write : writes) EXPECT_EQ(write(data), S_OK);
        for (const auto& read : reads) EXPECT_EQ(read(data, 0), E_UNEXPECTED);
        EXPECT_EQ(data->get_Count(&number), E_UNEXPECTED);
        EXPECT_EQ(data->get_ForSOAP(&flag), S_OK);
        EXPECT_EQ(data->AddLong(nullptr, 1), E_INVALIDARG);
        EXPECT_EQ(data->AddBytes(Bstr(u"E"), Value(1).Get()), E_INVALIDARG);
        EXPECT_EQ(data->AddDate(Bstr(u"E"), 1e9), E_INVALIDARG) << "what fails leaves no element";
        EXPECT_EQ(data->AddObject(Bstr(u"E"), data), E_INVALIDARG);
        return S_OK;
    };
    const std::string document = TextOf(&writer);
    const auto from = document.find("<E>");
    ASSERT_NE(from, std::string::npos) << document;
    EXPECT_EQ(document.substr(from),
              "<E>true</E><E>-1</E><E>1099511627776</E><E>0.1</E><E>1900-01-01T00:00:00Z</E><E>s</E><E>AAA=</E>"
              "<E xsi:nil='true'/><E xsi:type='xs:int'>1</E><E key='k' xsi:type='xs:int'>1</E></T>");
    for (const auto& write : writes) EXPECT_EQ(write(kept.Get()), E_UNEXPECTED);
    for (const auto& read : reads) EXPECT_EQ(read(kept.Get(), 0), E_UNEXPECTED);
    EXPECT_EQ(kept->get_ForSOAP(&flag), E_UNEXPECTED);
    kept = {};
}

TEST(XMLSerializer, HandsOutNoObjectThatFailed) {
    // An object that makes light of the failure of another one, to which it refers twice.
    std::vector<HRESULT> seen;
    LocalObject careless;
    careless.read = [&](IXMLSerializeData* data) {
        for (LONG i = 0; i < 2; ++i) {
            kv::Ptr<IUnknown> inner;
            seen.push_back(data->GetObjectAt(i, inner.Put()));
            EXPECT_EQ(inner.Get(), nullptr);
        }
        return S_OK;
    };
    EXPECT_EQ(LoadInto(&careless, u"<b id='x' xsi:type='mova:UID'><SubType>-1</SubType></b><c href='#x'/>"), S_OK);
    EXPECT_EQ(seen, (std::vector<HRESULT>{E_INVALIDARG, E_INVALIDARG}));
}

TEST(XMLSerializer, HidesNoPrefixThatItUses) {
    constexpr auto release = u"urn:mova:schemas:10.0";
    const struct {
        const char16_t *prefix, *bound;   ///< around the element
        const char16_t *uri, *addedType;  ///< of the element, and of the object in it
    } rows[] = {
        {u"mova", u"urn:mine", u"urn:mine", u""},
        {u"xs", u"urn:mine", u"urn:mine", u""},
        {u"xsi", u"urn:mine", u"urn:mine", u""},
        {u"e", release, u"urn:mine", u""},
        {u"t", u"http://www.w3.org/2001/XMLSchema", u"urn:mine", u"urn:of-others"},
        {u"xs", u"http://www.w3.org/2001/XMLSchema-instance", u"", u"urn:of-others"},
        {u"t", u"http://www.w3.org/2001/XMLSchema-instance", u"", u"urn:of-others"},
    };
    const auto serializer = New<IXMLSerializer>(u"XMLSerializer");
    for (const auto& row : rows) {
        const auto memory = StreamOf({});
        const auto writer = New<IXMLWriter>(u"XMLWriter");
        const auto namespaces = New<IXMLNamespaces>(u"XMLNamespaces");
        namespaces->AddNamespace(Bstr(row.prefix), Bstr(row.bound));
        writer->put_OutputStream(memory.Get());
        writer->StartElement(Bstr(u"root"), nullptr, nullptr, namespaces.Get(), VARIANT_FALSE);
        LocalObject added;
        added.write = [&](IXMLSerializeData* data) {
            data->put_TypeName(Bstr(u"Added"));
            data->put_TypeNamespaceURI(Bstr(row.addedType));
            return data->AddVariant(Bstr(u"E"), Value(7).Get());
        };
        const auto set = SetOf(u"a", Value(7).Get());
        const bool isAdded = *row.addedType != 0;
        IUnknown* const object = isAdded ? static_cast<IUnknown*>(&added) : set.Get();
        EXPECT_EQ(serializer->WriteObject(writer.Get(), Bstr(u"o"), Bstr(row.uri), object), S_OK) << TakeErrorInfo();
        writer->EndElement();

        const auto reader = New<IXMLReader>(u"XMLReader");
        reader->put_InputStream(StreamOf(BytesOf(memory)).Get());
        const Bytes bytes = BytesOf(memory);
        const std::string document(bytes.begin(), bytes.end());
        VARIANT_BOOL found = VARIANT_FALSE;
        reader->Read(&found);
        reader->Read(&found);
        if (isAdded) {
            EXPECT_EQ(TypeAt(*reader.Get()), "{urn:of-others}Added") << document;
            reader->Read(&found);
            EXPECT_EQ(TypeAt(*reader.Get()), "{http://www.w3.org/2001/XMLSchema}int") << document;
        } else {
            kv::Ptr<IUnknown> read;
            ASSERT_EQ(serializer->ReadObject(reader.Get(), read.Put()), S_OK) << document;
            EXPECT_EQ(Get(read.As<IPropertySet>().Get(), u"a").Get().lVal, 7);
        }
    }
}

TEST(XMLSerializer, WritesAndReadsElementsAmongOthers) {
    const auto memory = StreamOf({});
    const auto writer = New<IXMLWriter>(u"XMLWriter");
    const auto serializer = New<IXMLSerializer>(u"XMLSerializer");
    const auto uid = New<IUID>(u"UID");
    EXPECT_EQ(serializer->WriteObject(writer.Get(), Bstr(u"a"), nullptr, uid.Get()), E_UNEXPECTED) << "no stream";
    writer->put_OutputStream(memory.Get());
    const auto namespaces = New<IXMLNamespaces>(u"XMLNamespaces");
    namespaces->AddNamespace(Bstr(u"xs"), Bstr(u"http://www.w3.org/2001/XMLSchema"));
    namespaces->AddNamespace(nullptr, Bstr(u"http://www.w3.org/2001/XMLSchema-instance"));
    writer->StartElement(Bstr(u"root"), nullptr, nullptr, namespaces.Get(), VARIANT_FALSE);
    EXPECT_EQ(serializer->WriteObject(writer.Get(), Bstr(u"a"), Bstr(u"urn:mine"), uid.Get()), S_OK);
    EXPECT_EQ(serializer->WriteVariant(writer.Get(), Bstr(u"b"), nullptr, Value(u"text").Get()), S_OK);
    EXPECT_EQ(serializer->WriteObject(writer.Get(), Bstr(u"c"), nullptr, nullptr), S_OK);
    EXPECT_EQ(serializer->WriteObject(writer.Get(), nullptr, nullptr, uid.Get()), E_INVALIDARG);
    EXPECT_EQ(serializer->WriteObject(nullptr, Bstr(u"c"), nullptr, uid.Get()), E_POINTER);
    writer->EndElement();
    const Bytes bytes = BytesOf(memory);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()),
              "<root xmlns:xs='http://www.w3.org/2001/XMLSchema' xmlns='http://www.w3.org/2001/XMLSchema-instance'>"
              "<e:a xsi:type='mova:UID' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'"
              " xmlns:mova='urn:mova:schemas:10.0' xmlns:e='urn:mine'><SubType>0</SubType></e:a>"
              "<b xsi:type='xs:string' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'"
              " xmlns:mova='urn:mova:schemas:10.0'>text</b>"
              "<c xsi:nil='true' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'"
              " xmlns:mova='urn:mova:schemas:10.0'/></root>");

    const auto reader = New<IXMLReader>(u"XMLReader");
    reader->put_InputStream(StreamOf(bytes).Get());
    VARIANT_BOOL found = VARIANT_FALSE;
    kv::Ptr<IUnknown> object;
    kv::Variant value;
    reader->Read(&found);
    reader->Read(&found);
    EXPECT_EQ(serializer->ReadObject(reader.Get(), object.Put()), S_OK) << "on the start tag";
    EXPECT_TRUE(object.As<IUID>());
    EXPECT_EQ(serializer->ReadVariant(reader.Get(), value.Put()), S_OK) << "the element that comes next";
    EXPECT_EQ(kv::View(value.Get().bstrVal), u"text");
    EXPECT_EQ(serializer->ReadObject(reader.Get(), object.Put()), S_FALSE);
    EXPECT_EQ(serializer->ReadObject(reader.Get(), object.Put()), E_FAIL) << "no more elements";
    EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLSerializeData>("XMLSerializer", "The document has no element here."));
    EXPECT_EQ(serializer->ReadObject(nullptr, object.Put()), E_POINTER);
}

TEST(XMLPersistedObject, KeepsAnObjectAsItsDocument) {
    const auto held = New<IXMLPersistedObject>(u"XMLPersistedObject");
    kv::Ptr<IUnknown> object;
    EXPECT_EQ(held->get_Object(object.Put()), S_FALSE);
    EXPECT_EQ(AnswerOf(held, &IXMLPersistedObject::get_XML).Get(), nullptr);
    const auto set = SetOf(u"a", Value(u"x").Get());
    EXPECT_EQ(held->put_Object(set.Get()), S_OK);
    EXPECT_EQ(held->put_XML(Bstr(u"<a><b></a>")), E_FAIL);
    EXPECT_NE(TakeErrorInfo().find("Xml Parsing failed."), std::string::npos);
    LocalStream notXml;
    EXPECT_EQ(held->put_Object(&notXml), E_INVALIDARG);

    const Bytes bytes = SavedAlone(held.Get());
    ASSERT_EQ(CloneOf(held)->get_Object(object.Put()), S_OK);
    EXPECT_TRUE(Equal(object.As<IPropertySet>().Get(), set.As<IPropertySet>().Get()));
    ExpectGolden(bytes, "xml-persisted-object.bin");
    EXPECT_EQ(held.As<IPersistStream>()->Load(StreamOf(ReadGolden("xml-persisted-object.bin")).Get()), S_OK);
    EXPECT_EQ(kv::Utf8(AnswerOf(held, &IXMLPersistedObject::get_XML).View()), TextOf(set.Get()));
    for (std::size_t length = 0; length < bytes.size(); length += 7)
        EXPECT_EQ(held.As<IPersistStream>()->Load(
                      StreamOf(Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length))).Get()),
                  E_FAIL);
    EXPECT_EQ(held->put_XML(nullptr), S_OK);
    EXPECT_EQ(held->get_Object(object.Put()), S_FALSE);
}

}  // namespace mova::test
