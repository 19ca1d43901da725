#include <array>
#include <tuple>

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

TEST(XMLWriter, RefusesWhatHasNoText) {
    Document document;
    EXPECT_EQ(Refused(document->WriteDate(1e9), E_INVALIDARG),
              WriterRefusal("The date is outside the years 100 to 9999."));
    EXPECT_EQ(Refused(document->WriteBase64(Array(VT_I2, {{3, 0}}).Get()), E_INVALIDARG),
              Refusal<IXMLWriter2>("XMLWriter", "The value is not an array of bytes."));
    EXPECT_EQ(Refused(Start(document, u""), E_INVALIDARG), WriterRefusal("An element must have a name."));
    EXPECT_EQ(Refused(document->EndElement(), E_UNEXPECTED), WriterRefusal("No element is open."));
    EXPECT_EQ(document.Take(), "");
}

TEST(XMLWriter, HoldsTheStreamThatItIsGiven) {
    const auto writer = New<IXMLWriter3>(u"XMLWriter");
    EXPECT_FALSE(AnswerOf(writer, &IXMLWriter3::get_OutputStream));
    const auto first = MemoryStream("");
    const auto second = MemoryStream("");
    for (const auto& stream : {first, first, second}) {
        EXPECT_EQ(writer->put_OutputStream(stream.Get()), S_OK);
        EXPECT_EQ(writer->put_OutputStream(nullptr), E_POINTER);
        EXPECT_EQ(AnswerOf(writer, &IXMLWriter3::get_OutputStream).Get(), stream.Get());
        EXPECT_EQ(writer->WriteTab(), S_OK);
    }
    EXPECT_EQ(SizeOf(first.Get()), 2u);
    EXPECT_EQ(SizeOf(second.Get()), 1u);

    EXPECT_EQ(AnswerOf(writer, &IXMLWriter3::get_NormalizeNewLines), VARIANT_FALSE);
    EXPECT_EQ(writer->put_NormalizeNewLines(5), S_OK);
    EXPECT_EQ(AnswerOf(writer, &IXMLWriter3::get_NormalizeNewLines), 5);
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
    EXPECT_EQ(
        Refused(Start(document, u"e", u"u", Attributes({{u"", u"a", u"1"}}), Namespaces({{u"p", u"v"}})), E_INVALIDARG),
        WriterRefusal("The namespace of the element is not declared."));
    EXPECT_EQ(document.Take(), "");
    EXPECT_EQ(PrefixOf(document, u"v"), "none");
    EXPECT_EQ(document->EndElement(), E_UNEXPECTED);

    // One of an attribute leaves what was written before it, and the element open with what it declares. Without a
    // prefix an attribute would be in no namespace.
    const auto attributes = Attributes({{u"", u"a", u"1"}, {u"d", u"b", u"2"}, {u"", u"c", u"3"}});
    EXPECT_EQ(Refused(Start(document, u"e", u"d", attributes, Namespaces({{u"", u"d"}, {u"p", u"v"}}), VARIANT_TRUE),
                      E_INVALIDARG),
              WriterRefusal("The namespace of an attribute is not declared with a prefix."));
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

/// Collections of another maker.
struct ForeignAttributes final : LocalAttributes {
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
        const auto count = AnswerOf(attributes, &IXMLAttributes::get_Count);
        for (LONG i = 0; i < count; ++i) {
            text += "{" + kv::Utf8(AnswerOf(attributes, &IXMLAttributes::GetNamespaceURI, i).View()) + "}" +
                    kv::Utf8(AnswerOf(attributes, &IXMLAttributes::GetLocalName, i).View()) + "=" +
                    kv::Utf8(AnswerOf(attributes, &IXMLAttributes::GetValue, i).View()) + " ";
        }
        return text;
    };
    EXPECT_EQ(Refused(attributes->AddAttribute(Bstr(u"u"), Bstr(u"a"), Bstr(u"4")), E_INVALIDARG),
              Refusal<IXMLAttributes>("XMLAttributes", "There is an attribute of that name already."));
    EXPECT_EQ(Refused(attributes->AddAttribute(nullptr, nullptr, nullptr), E_INVALIDARG),
              Refusal<IXMLAttributes>("XMLAttributes", "An attribute must have a name."));
    EXPECT_EQ(attributes->SetValue(1, Bstr(u"22")), S_OK);
    EXPECT_EQ(shown(), "{}a=1 {u}a=22 {}b=3 ");
    EXPECT_EQ(AnswerOf(attributes, &IXMLAttributes::FindAttribute, Bstr(u"u"), Bstr(u"a")), 1);
    EXPECT_EQ(AnswerOf(attributes, &IXMLAttributes::FindAttribute, Bstr(u"u"), Bstr(u"A")), -1);
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
    EXPECT_EQ(attributes->RemoveAll(), S_OK);
    EXPECT_EQ(shown(), "");
}

TEST(XMLNamespaces, AreFoundAndRemoved) {
    const auto namespaces = Namespaces({{u"", u"d"}, {u"p", u"u"}, {u"q", u"u"}});
    const auto shown = [&] {
        std::string text;
        const auto count = AnswerOf(namespaces, &IXMLNamespaces::get_Count);
        for (LONG i = 0; i < count; ++i) {
            text += kv::Utf8(AnswerOf(namespaces, &IXMLNamespaces::GetPrefix, i).View()) + "=" +
                    kv::Utf8(AnswerOf(namespaces, &IXMLNamespaces::GetURI, i).View()) + " ";
        }
        return text;
    };
    EXPECT_EQ(Refused(namespaces->AddNamespace(Bstr(u"q"), Bstr(u"x")), E_INVALIDARG),
              Refusal<IXMLNamespaces>("XMLNamespaces", "The prefix is declared already."));
    EXPECT_EQ(Refused(namespaces->AddNamespace(Bstr(u"r"), nullptr), E_INVALIDARG),
              Refusal<IXMLNamespaces>("XMLNamespaces", "A prefix must stand for a namespace."));
    EXPECT_EQ(shown(), "=d p=u q=u ");
    EXPECT_EQ(AnswerOf(namespaces, &IXMLNamespaces::FindPrefix, Bstr(u"q")), 2);
    EXPECT_EQ(AnswerOf(namespaces, &IXMLNamespaces::FindURI, Bstr(u"u")), 1);
    EXPECT_EQ(AnswerOf(namespaces, &IXMLNamespaces::FindURI, Bstr(u"x")), -1);
    EXPECT_EQ(namespaces->Remove(1), S_OK);
    EXPECT_EQ(shown(), "=d q=u ");
    for (const LONG outside : {-1L, 2L}) {
        kv::BString text;
        for (const HRESULT status : {namespaces->GetPrefix(outside, text.Put()),
                                     namespaces->GetURI(outside, text.Put()), namespaces->Remove(outside)})
            EXPECT_EQ(status, E_INVALIDARG);
        EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLNamespaces>("XMLNamespaces", "The index is outside the namespaces."));
    }
    EXPECT_EQ(namespaces->RemoveAll(), S_OK);
    EXPECT_EQ(shown(), "");
    // The default namespace may be taken back.
    EXPECT_EQ(namespaces->AddNamespace(nullptr, nullptr), S_OK);
}

}  // namespace
}  // namespace mova::test
