#include <cmath>
#include <functional>
#include <limits>

#include "kvcore/SafeArray.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

/// A writer and the stream that it writes to.
struct Document {
    kv::Ptr<IXMLWriter3> writer = New<IXMLWriter3>(u"XMLWriter");
    kv::Ptr<IStream> stream = MemoryStream("");

    Document() { EXPECT_EQ(writer->put_OutputStream(stream.Get()), S_OK); }
    IXMLWriter3* operator->() const { return writer.Get(); }
    /// What was written since it was asked last.
    std::string Take() {
        EXPECT_EQ(SeekTo(stream.Get(), 0), S_OK);
        std::string bytes = ContentOf(stream.Get());
        EXPECT_EQ(stream->SetSize(Size(0)), S_OK);
        EXPECT_EQ(SeekTo(stream.Get(), 0), S_OK);
        return bytes;
    }
};

using Texts = std::initializer_list<std::array<std::u16string_view, 3>>;
kv::Ptr<IXMLAttributes> Attributes(Texts rows) {
    auto made = New<IXMLAttributes>(u"XMLAttributes");
    for (const auto& [uri, name, value] : rows) EXPECT_EQ(made->AddAttribute(Bstr(uri), Bstr(name), Bstr(value)), S_OK);
    return made;
}
using Pairs = std::initializer_list<std::array<std::u16string_view, 2>>;
kv::Ptr<IXMLNamespaces> Namespaces(Pairs rows) {
    auto made = New<IXMLNamespaces>(u"XMLNamespaces");
    for (const auto& [prefix, uri] : rows) EXPECT_EQ(made->AddNamespace(Bstr(prefix), Bstr(uri)), S_OK);
    return made;
}
HRESULT Start(const Document& document, const char16_t* name, const char16_t* uri = u"",
              const kv::Ptr<IXMLAttributes>& attributes = {}, const kv::Ptr<IXMLNamespaces>& namespaces = {},
              VARIANT_BOOL empty = VARIANT_FALSE) {
    return document->StartElement(Bstr(name), Bstr(uri), attributes.Get(), namespaces.Get(), empty);
}
std::string WriterRefusal(std::string_view text) {
    return Refusal<IXMLWriter>("XMLWriter", text);
}
std::string PrefixOf(const Document& document, const char16_t* uri) {
    kv::BString prefix;
    const HRESULT status = document->LookupNamespacePrefix(Bstr(uri), prefix.Put());
    return status == S_OK ? "'" + kv::Utf8(prefix.View()) + "'" : status == E_INVALIDARG ? "none" : "?";
}

/// Every operation that writes.
const std::pair<const char*, std::function<HRESULT(IXMLWriter3*)>> writings[] = {
    {"<e>", [](auto* w) { return w->StartElement(Bstr(u"e"), nullptr, nullptr, nullptr, VARIANT_FALSE); }},
    {"a&amp;b", [](auto* w) { return w->WriteText(Bstr(u"a&b")); }},
    {"", [](auto* w) { return w->WriteText(nullptr); }},
    {"<![CDATA[<a> & 'b']]>", [](auto* w) { return w->WriteCData(Bstr(u"<a> & 'b'")); }},
    {"<![CDATA[]]>", [](auto* w) { return w->WriteCData(nullptr); }},
    {"true", [](auto* w) { return w->WriteBoolean(2); }},
    {"false", [](auto* w) { return w->WriteBoolean(VARIANT_FALSE); }},
    {"-2147483648", [](auto* w) { return w->WriteLong(std::numeric_limits<LONG>::min()); }},
    {"255", [](auto* w) { return w->WriteByte(255); }},
    {"-32768", [](auto* w) { return w->WriteShort(-32768); }},
    {"65535", [](auto* w) { return w->WriteUShort(65535); }},
    {"0.100000001", [](auto* w) { return w->WriteFloat(0.1F); }},
    {"0.1", [](auto* w) { return w->WriteDouble(0.1); }},
    {"-INF", [](auto* w) { return w->WriteDouble(-std::numeric_limits<double>::infinity()); }},
    {"NaN", [](auto* w) { return w->WriteDouble(std::nan("")); }},
    {"2020-01-31T07:30:00.5Z", [](auto* w) { return w->WriteDate(43861.0 + (7.5 * 3600 + 0.5) / 86400); }},
    {"-922337203685477.5808",
     [](auto* w) { return w->WriteCurrency({.int64 = std::numeric_limits<LONGLONG>::min()}); }},
    {"</raw>&", [](auto* w) { return w->WriteRawText(Bstr(u"</raw>&")); }},
    {"", [](auto* w) { return w->WriteRawText(Bstr(u"")); }},
    {R"(<?xml version="1.0" encoding="utf-8" ?>)", [](auto* w) { return w->WriteXMLDeclaration(); }},
    {"\r\n", [](auto* w) { return w->WriteNewLine(); }},
    {"\t", [](auto* w) { return w->WriteTab(); }},
    {"4294967295", [](auto* w) { return w->WriteULong(4294967295); }},
    {"-9223372036854775808", [](auto* w) { return w->WriteInt64(std::numeric_limits<LONGLONG>::min()); }},
    {"18446744073709551615", [](auto* w) { return w->WriteUInt64(std::numeric_limits<ULONGLONG>::max()); }},
    {"AAAA",
     [](auto* w) {
         return w->WriteBase64(Array(VT_UI1, {{3, 5}}).Get());
     }},
    {"ID-7", [](auto* w) { return w->WriteObjectID(-7); }},
    {"</e>", [](auto* w) { return w->EndElement(); }},
};

TEST(XMLWriter, WritesEveryValueWhereThereIsAStream) {
    Document document;
    for (const auto& [text, write] : writings) {
        EXPECT_EQ(write(document.writer.Get()), S_OK) << text;
        EXPECT_EQ(document.Take(), text);
    }
    const auto without = New<IXMLWriter3>(u"XMLWriter");
    for (const auto& [text, write] : writings) {
        EXPECT_EQ(write(without.Get()), E_UNEXPECTED) << text;
        EXPECT_EQ(TakeErrorInfo(), WriterRefusal("The writer has no stream.")) << text;
    }
}

TEST(XMLWriter, RefusesWhatHasNoText) {
    Document document;
    EXPECT_EQ(document->WriteRawText(nullptr), E_POINTER);
    EXPECT_EQ(document->WriteDate(1e9), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), WriterRefusal("The date is outside the years 100 to 9999."));
    EXPECT_EQ(document->WriteBase64(Array(VT_I2, {{3, 0}}).Get()), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLWriter2>("XMLWriter", "The value is not an array of bytes."));
    EXPECT_EQ(Start(document, u""), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), WriterRefusal("An element must have a name."));
    EXPECT_EQ(document->EndElement(), E_UNEXPECTED);
    EXPECT_EQ(TakeErrorInfo(), WriterRefusal("No element is open."));
    EXPECT_EQ(document.Take(), "");
}

TEST(XMLWriter, HoldsTheStreamThatItIsGiven) {
    const auto writer = New<IXMLWriter3>(u"XMLWriter");
    kv::Ptr<IStream> held;
    EXPECT_EQ(writer->get_OutputStream(nullptr), E_POINTER);
    EXPECT_EQ(writer->get_OutputStream(held.Put()), S_OK);
    EXPECT_FALSE(held);
    const auto first = MemoryStream("");
    const auto second = MemoryStream("");
    for (const auto& stream : {first, first, second}) {
        EXPECT_EQ(writer->put_OutputStream(stream.Get()), S_OK);
        EXPECT_EQ(writer->put_OutputStream(nullptr), E_POINTER);
        EXPECT_EQ(writer->get_OutputStream(held.Put()), S_OK);
        EXPECT_EQ(held.Get(), stream.Get());
        EXPECT_EQ(writer->WriteTab(), S_OK);
    }
    EXPECT_EQ(SizeOf(first.Get()), 2u);
    EXPECT_EQ(SizeOf(second.Get()), 1u);

    VARIANT_BOOL flag = 1;
    EXPECT_EQ(writer->get_NormalizeNewLines(nullptr), E_POINTER);
    EXPECT_EQ(writer->get_NormalizeNewLines(&flag), S_OK);
    EXPECT_EQ(flag, VARIANT_FALSE);
    EXPECT_EQ(writer->put_NormalizeNewLines(5), S_OK);
    EXPECT_EQ(writer->get_NormalizeNewLines(&flag), S_OK);
    EXPECT_EQ(flag, 5);
}

TEST(XMLWriter, EscapesAndNormalises) {
    Document document;
    const std::tuple<std::u16string, std::string, std::string> rows[] = {
        {u"a\r\nb\rc\n\r\r\n", "a\r\nb\rc\n\r\r\n", "a\nb\nc\n\n\n"},
        {{u'a', 1, u'b', 0, u'c', 0x1F, 0xFFFF, 0xFFFE, u'\t', 0x7F}, "abc\t\x7F", "abc\t\x7F"},
        {u"<a b=\"c\" d='e'>&</a>", "&lt;a b=&quot;c&quot; d=&apos;e&apos;&gt;&amp;&lt;/a&gt;",
         "&lt;a b=&quot;c&quot; d=&apos;e&apos;&gt;&amp;&lt;/a&gt;"},
        {{0xD800, u'x', 0xDC00, 0xD83C, 0xDF0D},
         "\xEF\xBF\xBDx\xEF\xBF\xBD\xF0\x9F\x8C\x8D",
         "\xEF\xBF\xBDx\xEF\xBF\xBD\xF0\x9F\x8C\x8D"}};
    for (const VARIANT_BOOL normalises : {VARIANT_FALSE, VARIANT_TRUE}) {
        EXPECT_EQ(document->put_NormalizeNewLines(normalises), S_OK);
        for (const auto& [text, kept, normalised] : rows) {
            const std::string& expected = normalises ? normalised : kept;
            EXPECT_EQ(document->WriteText(Bstr(text)), S_OK);
            EXPECT_EQ(document.Take(), expected);
            EXPECT_EQ(Start(document, u"e", u"", Attributes({{u"", u"a", text}}), {}, VARIANT_TRUE), S_OK);
            EXPECT_EQ(document.Take(), "<e a='" + expected + "'/>");
        }
    }
}

TEST(XMLWriter, NamespacesEndWithTheirElement) {
    Document document;
    EXPECT_EQ(PrefixOf(document, u"u"), "none");
    EXPECT_EQ(TakeErrorInfo(), WriterRefusal("The namespace is not declared."));
    EXPECT_EQ(PrefixOf(document, u"http://www.w3.org/XML/1998/namespace"), "'xml'");
    EXPECT_EQ(document->LookupNamespacePrefix(nullptr, kv::BString().Put()), E_POINTER);
    EXPECT_EQ(document->LookupNamespacePrefix(Bstr(u"u"), nullptr), E_POINTER);

    EXPECT_EQ(Start(document, u"root", u"d", {}, Namespaces({{u"", u"d"}, {u"p", u"u&'"}})), S_OK);
    EXPECT_EQ(document.Take(), "<root xmlns='d' xmlns:p='u&amp;&apos;'>");
    EXPECT_EQ(PrefixOf(document, u"d"), "''");
    EXPECT_EQ(PrefixOf(document, u"u&'"), "'p'");
    // An empty element declares for itself alone, and may be followed by another at once.
    EXPECT_EQ(Start(document, u"e", u"v", {}, Namespaces({{u"p", u"v"}}), VARIANT_TRUE), S_OK);
    EXPECT_EQ(Start(document, u"f", u"u&'", {}, {}, VARIANT_TRUE), S_OK);
    EXPECT_EQ(document.Take(), "<p:e xmlns:p='v'/><p:f/>");
    EXPECT_EQ(PrefixOf(document, u"v"), "none");
    // A prefix that is declared anew does not stand for what it stood for.
    EXPECT_EQ(Start(document, u"g", u"", {}, Namespaces({{u"p", u"v"}})), S_OK);
    EXPECT_EQ(PrefixOf(document, u"u&'"), "none");
    EXPECT_EQ(PrefixOf(document, u"v"), "'p'");
    EXPECT_EQ(document->EndElement(), S_OK);
    EXPECT_EQ(PrefixOf(document, u"u&'"), "'p'");
    EXPECT_EQ(document->EndElement(), S_OK);
    EXPECT_EQ(document.Take(), "<g xmlns:p='v'></g></root>");
    EXPECT_EQ(PrefixOf(document, u"d"), "none");
    EXPECT_EQ(document->EndElement(), E_UNEXPECTED);
}

TEST(XMLWriter, NamespacesThatAreNotDeclaredAreRefused) {
    Document document;
    EXPECT_EQ(Start(document, u"e", u"u", Attributes({{u"", u"a", u"1"}}), Namespaces({{u"p", u"v"}})), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), WriterRefusal("The namespace of the element is not declared."));
    EXPECT_EQ(document.Take(), "");
    EXPECT_EQ(PrefixOf(document, u"v"), "none");
    EXPECT_EQ(document->EndElement(), E_UNEXPECTED);

    // One of an attribute leaves what was written before it, and the element open with what it declares. Without a
    // prefix an attribute would be in no namespace.
    const auto attributes = Attributes({{u"", u"a", u"1"}, {u"d", u"b", u"2"}, {u"", u"c", u"3"}});
    EXPECT_EQ(Start(document, u"e", u"d", attributes, Namespaces({{u"", u"d"}, {u"p", u"v"}}), VARIANT_TRUE),
              E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), WriterRefusal("The namespace of an attribute is not declared with a prefix."));
    EXPECT_EQ(document.Take(), "<e a='1' ");
    EXPECT_EQ(PrefixOf(document, u"v"), "'p'");
    EXPECT_EQ(document->EndElement(), S_OK);
    EXPECT_EQ(document.Take(), "</e>");

    EXPECT_EQ(Start(document, u"e", u"d", attributes, Namespaces({{u"", u"d"}, {u"q", u"d"}})), S_OK);
    EXPECT_EQ(document.Take(), "<q:e a='1' q:b='2' c='3' xmlns='d' xmlns:q='d'>");
    EXPECT_EQ(Start(document, u"t", u"", Attributes({{u"http://www.w3.org/XML/1998/namespace", u"lang", u"de"}})),
              S_OK);
    EXPECT_EQ(document.Take(), "<t xml:lang='de'>");
}

TEST(XMLWriter, NestsAsDeepAsItIsTold) {
    constexpr int levels = 100'000;
    Document document;
    std::string expected;
    for (int i = 0; i < levels; ++i) {
        ASSERT_EQ(Start(document, i % 2 ? u"odd" : u"even"), S_OK);
        expected += i % 2 ? "<odd>" : "<even>";
    }
    for (int i = levels; i-- > 0;) {
        ASSERT_EQ(document->EndElement(), S_OK);
        expected += i % 2 ? "</odd>" : "</even>";
    }
    EXPECT_EQ(document->EndElement(), E_UNEXPECTED);
    EXPECT_EQ(document.Take(), expected);
}

/// A stream that fails, and first does what a test says.
struct Backward final : LocalStream {
    std::function<void()> act;
    int writes = 0;
    STDMETHODIMP Write(const void*, ULONG, ULONG*) noexcept override {
        ++writes;
        if (act) act();
        return STG_E_MEDIUMFULL;
    }
};

TEST(XMLWriter, DoesNotLookAtWhatTheStreamAnswers) {
    Backward stream;
    const auto writer = New<IXMLWriter3>(u"XMLWriter");
    EXPECT_EQ(writer->put_OutputStream(&stream), S_OK);
    for (const auto& [text, write] : writings) EXPECT_EQ(write(writer.Get()), S_OK) << text;
    EXPECT_GT(stream.writes, 20);

    // What comes back from the stream is refused, and the tag that is being written is whole.
    int refused = 0;
    const auto other = MemoryStream("");
    stream.act = [&] {
        for (const auto& [text, write] : writings) refused += write(writer.Get()) == E_UNEXPECTED;
        refused += writer->put_OutputStream(other.Get()) == E_UNEXPECTED;
    };
    EXPECT_EQ(writer->StartElement(Bstr(u"e"), nullptr, nullptr, nullptr, VARIANT_FALSE), S_OK);
    EXPECT_EQ(refused, static_cast<int>(std::size(writings)) + 1);
    stream.act = {};
    EXPECT_EQ(writer->put_OutputStream(other.Get()), S_OK);
    EXPECT_EQ(writer->EndElement(), S_OK);
    EXPECT_EQ(SizeOf(other.Get()), 4u);
}

/// Collections of another maker.
struct ForeignAttributes final : Local<IXMLAttributes> {
    LONG failsAt = -1;
    STDMETHODIMP get_Count(LONG* attributeCount) noexcept override { return *attributeCount = 2, S_OK; }
    STDMETHODIMP GetNamespaceURI(LONG, BSTR* namespaceURI) noexcept override { return *namespaceURI = nullptr, S_OK; }
    STDMETHODIMP GetLocalName(LONG index, BSTR* localName) noexcept override {
        *localName = kv::BString(index == 0 ? u"a" : u"b").Detach();
        return S_OK;
    }
    STDMETHODIMP GetValue(LONG index, BSTR* attributeValue) noexcept override {
        if (index == failsAt) return E_ABORT;
        *attributeValue = kv::BString(u"<>").Detach();
        return S_OK;
    }
    STDMETHODIMP AddAttribute(BSTR, BSTR, BSTR) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP SetValue(LONG, BSTR) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP FindAttribute(BSTR, BSTR, LONG*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP Remove(LONG) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP RemoveAll() noexcept override { return E_NOTIMPL; }
};
struct ForeignNamespaces final : Local<IXMLNamespaces> {
    bool fails = false;
    STDMETHODIMP get_Count(LONG* namespaceCount) noexcept override { return *namespaceCount = 1, S_OK; }
    STDMETHODIMP GetPrefix(LONG, BSTR* prefix) noexcept override { return *prefix = kv::BString(u"p").Detach(), S_OK; }
    STDMETHODIMP GetURI(LONG, BSTR* uri) noexcept override {
        *uri = fails ? nullptr : kv::BString(u"u").Detach();
        return fails ? E_ABORT : S_OK;
    }
    STDMETHODIMP AddNamespace(BSTR, BSTR) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP FindPrefix(BSTR, LONG*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP FindURI(BSTR, LONG*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP Remove(LONG) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP RemoveAll() noexcept override { return E_NOTIMPL; }
};

TEST(XMLWriter, TakesTheCollectionsOfOthers) {
    Document document;
    ForeignAttributes attributes;
    ForeignNamespaces namespaces;
    const auto start = [&] {
        return document->StartElement(Bstr(u"e"), Bstr(u"u"), &attributes, &namespaces, VARIANT_TRUE);
    };
    EXPECT_EQ(start(), S_OK);
    EXPECT_EQ(document.Take(), "<p:e a='&lt;&gt;' b='&lt;&gt;' xmlns:p='u'/>");
    attributes.failsAt = 1;
    EXPECT_EQ(start(), E_ABORT);
    namespaces.fails = true;
    EXPECT_EQ(start(), E_ABORT);
    EXPECT_EQ(document.Take(), "");
    EXPECT_EQ(document->EndElement(), E_UNEXPECTED);
}

TEST(XMLAttributes, AreFoundReplacedAndRemoved) {
    const auto attributes = Attributes({{u"", u"a", u"1"}, {u"u", u"a", u"2"}, {u"", u"b", u"3"}});
    const auto shown = [&] {
        std::string text;
        LONG count = -1;
        EXPECT_EQ(attributes->get_Count(&count), S_OK);
        for (LONG i = 0; i < count; ++i) {
            kv::BString uri;
            kv::BString name;
            kv::BString value;
            EXPECT_EQ(attributes->GetNamespaceURI(i, uri.Put()), S_OK);
            EXPECT_EQ(attributes->GetLocalName(i, name.Put()), S_OK);
            EXPECT_EQ(attributes->GetValue(i, value.Put()), S_OK);
            text += "{" + kv::Utf8(uri.View()) + "}" + kv::Utf8(name.View()) + "=" + kv::Utf8(value.View()) + " ";
        }
        return text;
    };
    EXPECT_EQ(attributes->AddAttribute(Bstr(u"u"), Bstr(u"a"), Bstr(u"4")), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLAttributes>("XMLAttributes", "There is an attribute of that name already."));
    EXPECT_EQ(attributes->AddAttribute(nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLAttributes>("XMLAttributes", "An attribute must have a name."));
    EXPECT_EQ(attributes->SetValue(1, Bstr(u"22")), S_OK);
    EXPECT_EQ(shown(), "{}a=1 {u}a=22 {}b=3 ");
    LONG index = 7;
    EXPECT_EQ(attributes->FindAttribute(Bstr(u"u"), Bstr(u"a"), &index), S_OK);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(attributes->FindAttribute(Bstr(u"u"), Bstr(u"A"), &index), S_OK);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(attributes->Remove(0), S_OK);
    EXPECT_EQ(shown(), "{u}a=22 {}b=3 ");
    EXPECT_EQ(attributes->AddAttribute(nullptr, Bstr(u"c"), nullptr), S_OK);
    EXPECT_EQ(shown(), "{u}a=22 {}b=3 {}c= ");
    for (const LONG outside : {-1L, 3L}) {
        kv::BString text;
        for (const HRESULT status :
             {attributes->GetNamespaceURI(outside, text.Put()), attributes->GetLocalName(outside, text.Put()),
              attributes->GetValue(outside, text.Put()), attributes->SetValue(outside, nullptr),
              attributes->Remove(outside)}) {
            EXPECT_EQ(status, E_INVALIDARG);
        }
        EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLAttributes>("XMLAttributes", "The index is outside the attributes."));
    }
    for (const HRESULT status :
         {attributes->get_Count(nullptr), attributes->GetNamespaceURI(0, nullptr), attributes->GetLocalName(0, nullptr),
          attributes->GetValue(0, nullptr), attributes->FindAttribute(nullptr, nullptr, nullptr)})
        EXPECT_EQ(status, E_POINTER);
    EXPECT_EQ(attributes->RemoveAll(), S_OK);
    EXPECT_EQ(shown(), "");
}

TEST(XMLNamespaces, AreFoundAndRemoved) {
    const auto namespaces = Namespaces({{u"", u"d"}, {u"p", u"u"}, {u"q", u"u"}});
    const auto shown = [&] {
        std::string text;
        LONG count = -1;
        EXPECT_EQ(namespaces->get_Count(&count), S_OK);
        for (LONG i = 0; i < count; ++i) {
            kv::BString prefix;
            kv::BString uri;
            EXPECT_EQ(namespaces->GetPrefix(i, prefix.Put()), S_OK);
            EXPECT_EQ(namespaces->GetURI(i, uri.Put()), S_OK);
            text += kv::Utf8(prefix.View()) + "=" + kv::Utf8(uri.View()) + " ";
        }
        return text;
    };
    EXPECT_EQ(namespaces->AddNamespace(Bstr(u"q"), Bstr(u"x")), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLNamespaces>("XMLNamespaces", "The prefix is declared already."));
    EXPECT_EQ(namespaces->AddNamespace(Bstr(u"r"), nullptr), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLNamespaces>("XMLNamespaces", "A prefix must stand for a namespace."));
    EXPECT_EQ(shown(), "=d p=u q=u ");
    LONG index = 7;
    EXPECT_EQ(namespaces->FindPrefix(Bstr(u"q"), &index), S_OK);
    EXPECT_EQ(index, 2);
    EXPECT_EQ(namespaces->FindURI(Bstr(u"u"), &index), S_OK);
    EXPECT_EQ(index, 1);
    EXPECT_EQ(namespaces->FindURI(Bstr(u"x"), &index), S_OK);
    EXPECT_EQ(index, -1);
    EXPECT_EQ(namespaces->Remove(1), S_OK);
    EXPECT_EQ(shown(), "=d q=u ");
    for (const LONG outside : {-1L, 2L}) {
        kv::BString text;
        for (const HRESULT status : {namespaces->GetPrefix(outside, text.Put()),
                                     namespaces->GetURI(outside, text.Put()), namespaces->Remove(outside)})
            EXPECT_EQ(status, E_INVALIDARG);
        EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLNamespaces>("XMLNamespaces", "The index is outside the namespaces."));
    }
    for (const HRESULT status :
         {namespaces->get_Count(nullptr), namespaces->GetPrefix(0, nullptr), namespaces->GetURI(0, nullptr),
          namespaces->FindPrefix(nullptr, nullptr), namespaces->FindURI(nullptr, nullptr)})
        EXPECT_EQ(status, E_POINTER);
    EXPECT_EQ(namespaces->RemoveAll(), S_OK);
    EXPECT_EQ(shown(), "");
    // The default namespace may be taken back.
    EXPECT_EQ(namespaces->AddNamespace(nullptr, nullptr), S_OK);
}

}  // namespace
}  // namespace mova::test
