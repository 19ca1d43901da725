// The smaller classes of XML: namespaces and names, the serializer's flags, and the document in memory.
#include <functional>

#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

/// What an operation answers: its text, "false" for S_FALSE with null, or the status.
std::string Answer(const std::function<HRESULT(BSTR*)>& ask) {
    kv::BString text(u"before");
    BSTR* const out = text.Put();
    const HRESULT status = ask(out);
    if (status == S_FALSE) return text.Get() ? "?" : "false";
    return status == S_OK ? kv::Utf8(text.View()) : std::to_string(status);
}
std::string UtilsRefusal(std::string_view text) {
    return Refusal<IXmlNamespaceUtils>("XmlNamespaceUtils", text);
}

}  // namespace

TEST(XmlNamespaceUtils, KnowsTheReleases) {
    const auto utils = New<IXmlNamespaceUtils>(u"XmlNamespaceUtils");
    EXPECT_EQ(Answer([&](BSTR* out) { return utils->get_CurrentNamespaceURI(out); }), "urn:mova:schemas:10.0");
    const std::u16string names[] = {u"9.0", u"9.1", u"9.2", u"9.3", u"10.0"};
    const auto count = AnswerOf(utils, &IXmlNamespaceUtils::get_ReleaseCount);
    EXPECT_EQ(count, static_cast<LONG>(std::size(names)));
    for (LONG i = 0; i < count; ++i) {
        const std::u16string& name = names[i];
        const std::u16string uri = u"urn:mova:schemas:" + name;
        EXPECT_EQ(Answer([&](BSTR* out) { return utils->GetReleaseNamespace(i, out); }), kv::Utf8(uri));
        EXPECT_EQ(Answer([&](BSTR* out) { return utils->FindReleaseNamespace(Bstr(name), out); }), kv::Utf8(uri));
        EXPECT_EQ(Answer([&](BSTR* out) { return utils->FindRelease(Bstr(uri), out); }), kv::Utf8(name));
        for (LONG j = 0; j < count; ++j) {
            LONG order = 7;
            EXPECT_EQ(utils->CompareReleases(Bstr(uri), Bstr(u"urn:mova:schemas:" + names[j]), &order), S_OK);
            EXPECT_EQ(order, i < j ? -1 : i > j ? 1 : 0);
        }
    }
    for (const LONG outside : {-1L, count}) {
        EXPECT_EQ(Answer([&](BSTR* out) { return utils->GetReleaseNamespace(outside, out); }),
                  std::to_string(E_INVALIDARG));
        EXPECT_EQ(TakeErrorInfo(), UtilsRefusal("The index is outside the releases."));
    }
    EXPECT_EQ(Answer([&](BSTR* out) { return utils->FindReleaseNamespace(Bstr(u"9"), out); }), "false");
    EXPECT_EQ(Answer([&](BSTR* out) { return utils->FindRelease(nullptr, out); }), "false");
    LONG order = 7;
    EXPECT_EQ(utils->CompareReleases(Bstr(u"urn:mova:schemas:9.0"), Bstr(u"urn:other"), &order), E_INVALIDARG);
    EXPECT_EQ(TakeErrorInfo(), UtilsRefusal("The namespace belongs to no release of the schema."));
    EXPECT_EQ(order, 0);
    EXPECT_EQ(utils->CompareReleases(nullptr, nullptr, &order), E_INVALIDARG);
}

TEST(XmlNamespaceUtils, PartsAndEncodesNames) {
    const auto utils = New<IXmlNamespaceUtils>(u"XmlNamespaceUtils");
    kv::BString prefix, local;
    EXPECT_EQ(utils->SplitName(Bstr(u"p:\u00E4"), prefix.Put(), local.Put()), S_OK);
    EXPECT_EQ(prefix.View(), u"p");
    EXPECT_EQ(local.View(), u"\u00E4");
    EXPECT_EQ(utils->SplitName(Bstr(u"name"), prefix.Put(), local.Put()), S_OK);
    EXPECT_EQ(prefix.View(), u"");
    EXPECT_EQ(local.View(), u"name");
    for (const char16_t* bad : {u"", u":a", u"a:b:c", u"1"}) {
        EXPECT_EQ(utils->SplitName(Bstr(bad), prefix.Put(), local.Put()), E_INVALIDARG);
        EXPECT_EQ(TakeErrorInfo(), UtilsRefusal("The text is not a name."));
        EXPECT_EQ(prefix.Get(), nullptr);
        EXPECT_EQ(local.Get(), nullptr);
    }
    EXPECT_EQ(utils->SplitName(Bstr(u"a"), nullptr, local.Put()), E_POINTER);
    EXPECT_EQ(utils->SplitName(Bstr(u"a"), prefix.Put(), nullptr), E_POINTER);

    for (const auto& [text, isName] :
         {std::pair(u"a.b", VARIANT_TRUE), {u"a:b", VARIANT_FALSE}, {u"", VARIANT_FALSE}}) {
        EXPECT_EQ(AnswerOf(utils, &IXmlNamespaceUtils::IsName, Bstr(text)), isName);
    }
    const struct {
        std::u16string_view text, name;
    } rows[] = {{u"a b", u"a_x0020_b"}, {u"_x0041_", u"_x005F_x0041_"}, {u"", u"_x_"}};
    for (const auto& row : rows) {
        EXPECT_EQ(Answer([&](BSTR* out) { return utils->EncodeName(Bstr(row.text), out); }), kv::Utf8(row.name));
        EXPECT_EQ(Answer([&](BSTR* out) { return utils->DecodeName(Bstr(row.name), out); }), kv::Utf8(row.text));
    }
}

TEST(XMLFlags, AreKeptAndCopied) {
    using Put = HRESULT (STDMETHODCALLTYPE IXMLFlags::*)(VARIANT_BOOL);
    using Get = HRESULT (STDMETHODCALLTYPE IXMLFlags::*)(VARIANT_BOOL*);
    const struct {
        Put put;
        Get get;
        VARIANT_BOOL atFirst;
    } rows[] = {{&IXMLFlags::put_ForSOAP, &IXMLFlags::get_ForSOAP, VARIANT_FALSE},
                {&IXMLFlags::put_SharedObjects, &IXMLFlags::get_SharedObjects, VARIANT_TRUE},
                {&IXMLFlags::put_UnknownAsNull, &IXMLFlags::get_UnknownAsNull, VARIANT_FALSE},
                {&IXMLFlags::put_Formatted, &IXMLFlags::get_Formatted, VARIANT_FALSE}};
    /// Each flag as one character.
    const auto shown = [&](const kv::Ptr<IXMLFlags>& flags) {
        std::string text;
        for (const auto& row : rows) {
            const VARIANT_BOOL flag = AnswerOf(flags, row.get);
            text += flag == VARIANT_TRUE ? '1' : flag == VARIANT_FALSE ? '0' : '?';
        }
        return text;
    };
    const auto flags = New<IXMLFlags>(u"XMLFlags");
    EXPECT_EQ(shown(flags), "0100");
    for (std::size_t i = 0; i < std::size(rows); ++i) {
        const auto& row = rows[i];
        std::string expected = "0100";
        expected[i] = row.atFirst ? '0' : '1';
        EXPECT_EQ((flags.Get()->*row.put)(row.atFirst ? VARIANT_FALSE : VARIANT_BOOL{2}), S_OK);
        EXPECT_EQ(shown(flags), expected);
        const auto copy = CloneOf(flags);
        EXPECT_EQ((flags.Get()->*row.put)(row.atFirst), S_OK);
        EXPECT_EQ(shown(copy), expected);
    }
}

TEST(XMLStream, IsADocumentAsText) {
    const auto document = New<IXMLStream>(u"XMLStream");
    const auto stream = document.As<IStream>();
    const auto text = [&] { return Answer([&](BSTR* out) { return document->SaveToString(out); }); };
    const auto bytes = [&] {
        EXPECT_EQ(PositionOf(stream.Get()), 0u);
        const auto size = AnswerOf(document, &IXMLStream::get_Size);
        std::string content = ContentOf(stream.Get());
        EXPECT_EQ(size, static_cast<LONGLONG>(content.size()));
        return content;
    };
    EXPECT_EQ(text(), "");
    EXPECT_EQ(document->LoadFromString(Bstr(u"<\u00E4/>")), S_OK);
    EXPECT_EQ(bytes(), "<\xC3\xA4/>");
    EXPECT_EQ(text(), "<\xC3\xA4/>");
    const auto declared = u"<?xml version='1.0' encoding='UTF-16'?><a/>";
    EXPECT_EQ(document->LoadFromString(Bstr(declared)), S_OK);
    EXPECT_EQ(bytes().substr(0, 4), std::string("\xFF\xFE<\0", 4));
    EXPECT_EQ(text(), kv::Utf8(declared));
    EXPECT_EQ(document->LoadFromString(Bstr(u"<?xml version='1.0' encoding='latin1'?><a/>")), S_OK);
    EXPECT_EQ(bytes().substr(0, 5), "\xEF\xBB\xBF<?");

    // What is written to the stream is text as well, or it is refused and stays.
    EXPECT_EQ(document->LoadFromString(nullptr), S_OK);
    EXPECT_EQ(bytes(), "");
    EXPECT_EQ(Put(stream.Get(), "<b>\xC3"), S_OK);
    EXPECT_EQ(text(), std::to_string(E_FAIL));
    EXPECT_EQ(TakeErrorInfo(),
              Refusal<IXMLStream>("XMLStream", "The bytes are not text in UTF-8, nor in UTF-16 behind its mark."));
    EXPECT_EQ(Put(stream.Get(), "\xA4</b>"), S_OK);
    EXPECT_EQ(text(), "<b>\xC3\xA4</b>");
    // A clone has the same bytes, and keeps them.
    const auto clone = CloneOf(stream);
    EXPECT_EQ(document->LoadFromString(Bstr(u"c")), S_OK);
    EXPECT_EQ(Answer([&](BSTR* out) { return clone.As<IXMLStream>()->SaveToString(out); }), "<b>\xC3\xA4</b>");
}

TEST(XMLStream, GoesToFilesAndComesFromThem) {
    const TemporaryFolder folder;
    const std::u16string path = folder / u"document.xml";
    const auto document = New<IXMLStream>(u"XMLStream");
    EXPECT_EQ(document->LoadFromString(Bstr(u"<\u00E4/>")), S_OK);
    EXPECT_EQ(document->SaveToFile(Bstr(path)), S_OK);
    EXPECT_EQ(ReadFileBytes(path), "<\xC3\xA4/>");
    const auto other = New<IXMLStream>(u"XMLStream");
    EXPECT_EQ(other->LoadFromFile(Bstr(path)), S_OK);
    EXPECT_EQ(ContentOf(other.As<IStream>().Get()), "<\xC3\xA4/>");
    const std::u16string missing = folder / u"missing.xml";
    EXPECT_EQ(other->LoadFromFile(Bstr(missing)), STG_E_FILENOTFOUND);
    const std::string reason = TakeErrorInfo();
    EXPECT_NE(reason.find(kv::Utf8(missing)), std::string::npos) << reason;
    EXPECT_EQ(SizeOf(other.As<IStream>().Get()), 5u);
    EXPECT_EQ(document->SaveToFile(Bstr(folder / u"no\\document.xml")), STG_E_PATHNOTFOUND);
}

}  // namespace mova::test
