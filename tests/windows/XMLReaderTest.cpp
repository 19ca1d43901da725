#include <algorithm>
#include <functional>
#include <memory>

#include "kvcore/Guid.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

using namespace std::string_literals;

using Reader = kv::Ptr<IXMLReader>;

Reader Open(IStream* stream) {
    auto reader = New<IXMLReader>(u"XMLReader");
    EXPECT_EQ(reader->put_InputStream(stream), S_OK);
    return reader;
}
Reader Open(std::string_view document) {
    return Open(MemoryStream(document).Get());
}
kv::Ptr<IXMLTextReader> OpenText(std::u16string_view text) {
    auto reader = New<IXMLTextReader>(u"XMLTextReader");
    EXPECT_EQ(reader->put_Text(Bstr(text)), S_OK);
    return reader;
}

HRESULT Read(IXMLReader* reader, bool* found = nullptr) {
    VARIANT_BOOL answer = 7;
    const HRESULT status = reader->Read(&answer);
    EXPECT_TRUE(answer == VARIANT_FALSE || answer == VARIANT_TRUE);
    if (found) *found = answer != VARIANT_FALSE;
    return status;
}
movaXMLNodeType TypeOf(IXMLReader* reader) {
    return AnswerOf(reader, &IXMLReader::get_NodeType);
}
using Getter = HRESULT (STDMETHODCALLTYPE IXMLReader::*)(BSTR*);
std::string TextOf(IXMLReader* reader, Getter getter) {
    const auto text = AnswerOf(reader, getter);
    EXPECT_TRUE(text.Get());
    return kv::Utf8(text.View());
}
std::string AttributeOf(IXMLReader* reader, const char16_t* uri, const char16_t* name) {
    kv::BString value;
    const HRESULT status = reader->GetAttribute(Bstr(uri), Bstr(name), value.Put());
    EXPECT_EQ(status, value.Get() ? S_OK : S_FALSE);
    return value.Get() ? kv::Utf8(value.View()) : "none";
}
std::string UriOf(IXMLReader* reader, const char16_t* prefix) {
    kv::BString uri;
    const HRESULT status = reader->LookupNamespaceURI(Bstr(prefix), uri.Put());
    EXPECT_EQ(status, uri.Get() ? S_OK : S_FALSE);
    return uri.Get() ? "'" + kv::Utf8(uri.View()) + "'" : "none";
}

/// "TYPE prefix:{uri}name 'value' @depth line:column attributes+namespaces"
std::string Describe(IXMLReader* reader) {
    const auto attributes = AnswerOf(reader, &IXMLReader::get_Attributes);
    const auto namespaces = AnswerOf(reader, &IXMLReader::get_Namespaces);
    const auto number = [&](auto getter) { return std::to_string(AnswerOf(reader, getter)); };
    return std::to_string(TypeOf(reader)) + " " + TextOf(reader, &IXMLReader::get_Prefix) + ":{" +
           TextOf(reader, &IXMLReader::get_NamespaceURI) + "}" + TextOf(reader, &IXMLReader::get_LocalName) + " '" +
           TextOf(reader, &IXMLReader::get_Value) + "' @" + number(&IXMLReader::get_Depth) + " " +
           number(&IXMLReader::get_LineNumber) + ":" + number(&IXMLReader::get_ColumnNumber) + " " +
           std::to_string(AnswerOf(attributes, &IXMLAttributes::get_Count)) + "+" +
           std::to_string(AnswerOf(namespaces, &IXMLNamespaces::get_Count));
}

/// What a document comes to: texts as they are, tags as <name and >, a failure as its status and reason.
std::string Content(IXMLReader* reader) {
    std::string content;
    bool found = true;
    for (;;) {
        if (HRESULT status = Read(reader, &found); FAILED(status)) {
            const std::string error = TakeErrorInfo();
            EXPECT_EQ(Read(reader), status) << "again";
            EXPECT_EQ(TakeErrorInfo(), error) << "again";
            EXPECT_EQ(TypeOf(reader), movaXMLNone);
            return content + "!" + error;
        }
        if (!found) return content;
        const movaXMLNodeType type = TypeOf(reader);
        if (type == movaXMLStartElement)
            content += "<" + TextOf(reader, &IXMLReader::get_LocalName) + ">";
        else if (type == movaXMLEndElement)
            content += "/";
        else
            content += TextOf(reader, &IXMLReader::get_Value);
    }
}
std::string Fault(std::string_view reason, int line, int column, std::string_view source = "stream",
                  std::string_view className = "XMLReader") {
    return "!" + Refusal<IXMLReader>(className, "Xml Parsing failed.\nReason:" + std::string(reason) + " (column " +
                                                    std::to_string(column) + ")\nLinepos:" + std::to_string(line) +
                                                    "\nSource:" + std::string(source) + ".");
}

/// Every operation, called so that nothing but the reader's state makes it fail.
const std::pair<const char*, std::function<HRESULT(IXMLReader*)>> operations[] = {
    {"put_InputStream", [](auto* r) { return r->put_InputStream(nullptr); }},
    {"get_InputStream", [](auto* r) { return r->get_InputStream(kv::Ptr<IStream>().Put()); }},
    {"Read", [](auto* r) { return Read(r); }},
    {"NodeType", [](auto* r) { return r->get_NodeType(std::make_unique<movaXMLNodeType>().get()); }},
    {"LocalName", [](auto* r) { return r->get_LocalName(kv::BString().Put()); }},
    {"Prefix", [](auto* r) { return r->get_Prefix(kv::BString().Put()); }},
    {"NamespaceURI", [](auto* r) { return r->get_NamespaceURI(kv::BString().Put()); }},
    {"Value", [](auto* r) { return r->get_Value(kv::BString().Put()); }},
    {"Depth", [](auto* r) { return r->get_Depth(std::make_unique<LONG>().get()); }},
    {"Attributes", [](auto* r) { return r->get_Attributes(kv::Ptr<IXMLAttributes>().Put()); }},
    {"Namespaces", [](auto* r) { return r->get_Namespaces(kv::Ptr<IXMLNamespaces>().Put()); }},
    {"GetAttribute", [](auto* r) { return r->GetAttribute(nullptr, Bstr(u"b"), kv::BString().Put()); }},
    {"LookupNamespaceURI", [](auto* r) { return r->LookupNamespaceURI(nullptr, kv::BString().Put()); }},
    {"ReadText", [](auto* r) { return r->ReadText(kv::BString().Put()); }},
    {"Skip", [](auto* r) { return r->Skip(); }},
    {"LineNumber", [](auto* r) { return r->get_LineNumber(std::make_unique<LONG>().get()); }},
    {"ColumnNumber", [](auto* r) { return r->get_ColumnNumber(std::make_unique<LONG>().get()); }},
};

TEST(XMLReader, WalksThroughADocument) {
    const auto reader = Open(
        "<?xml version='1.0'?><!--c-->\n<a xmlns='u' xmlns:p='v' b='1' p:b='2'>\r\n<p:c/>x &amp; y<![CDATA[<z>]]>"
        "<?q d?></a>");
    const std::string nodes[] = {
        "5 :{} 'c' @0 1:30 0+0",   "1 :{u}a '' @0 2:40 2+2", "3 :{} '\n' @1 3:1 0+0",
        "1 p:{v}c '' @1 3:7 0+0",  "2 p:{v}c '' @1 3:7 0+0", "3 :{} 'x & y' @1 3:16 0+0",
        "4 :{} '<z>' @1 3:31 0+0", "6 :{}q 'd' @1 3:38 0+0", "2 :{u}a '' @0 3:42 0+0",
    };
    EXPECT_EQ(Describe(reader.Get()), "0 :{} '' @0 0:0 0+0");
    for (const std::string& node : nodes) {
        bool found = false;
        EXPECT_EQ(Read(reader.Get(), &found), S_OK);
        EXPECT_TRUE(found);
        EXPECT_EQ(Describe(reader.Get()), node);
        const bool isRoot = node.starts_with("1 :{u}a");
        EXPECT_EQ(AttributeOf(reader.Get(), u"", u"b"), isRoot ? "1" : "none");
        EXPECT_EQ(AttributeOf(reader.Get(), u"v", u"b"), isRoot ? "2" : "none");
        EXPECT_EQ(UriOf(reader.Get(), u"p"), node[0] == '5' ? "none" : "'v'") << node;
        EXPECT_EQ(UriOf(reader.Get(), u""), node[0] == '5' ? "''" : "'u'") << node;
    }
    for (int i = 0; i < 2; ++i) {
        bool found = true;
        EXPECT_EQ(Read(reader.Get(), &found), S_OK);
        EXPECT_FALSE(found);
        EXPECT_EQ(Describe(reader.Get()), "0 :{} '' @0 3:42 0+0");
    }
}

TEST(XMLReader, HandsOutCollectionsThatStay) {
    const auto reader = Open("<a xmlns:p='u' p:b='1' c='2'/>");
    EXPECT_EQ(Read(reader.Get()), S_OK);
    const auto attributes = AnswerOf(reader, &IXMLReader::get_Attributes);
    const auto namespaces = AnswerOf(reader, &IXMLReader::get_Namespaces);
    EXPECT_EQ(attributes->AddAttribute(nullptr, Bstr(u"d"), Bstr(u"3")), S_OK);
    EXPECT_EQ(AttributeOf(reader.Get(), u"", u"d"), "none");
    EXPECT_EQ(Read(reader.Get()), S_OK);
    EXPECT_EQ(AnswerOf(attributes, &IXMLAttributes::GetNamespaceURI, 0).View(), u"u");
    EXPECT_EQ(AnswerOf(attributes, &IXMLAttributes::GetValue, 1).View(), u"2");
    EXPECT_EQ(AnswerOf(namespaces, &IXMLNamespaces::GetPrefix, 0).View(), u"p");
    EXPECT_EQ(AnswerOf(namespaces, &IXMLNamespaces::GetURI, 0).View(), u"u");
}

TEST(XMLReader, ReadsTextsAndSkips) {
    const auto reader = Open("<a>1<b>2<!--3--><c/><![CDATA[4]]></b><?p?>5<d><d/></d>6</a>");
    kv::BString text;
    EXPECT_EQ(reader->ReadText(text.Put()), E_UNEXPECTED);
    EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLReader>("XMLReader", "The reader is not on a start tag."));
    EXPECT_EQ(reader->Skip(), S_OK);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(Read(reader.Get()), S_OK);
    EXPECT_EQ(AnswerOf(reader, &IXMLReader::ReadText).View(), u"24");
    EXPECT_EQ(Describe(reader.Get()), "2 :{}b '' @1 1:38 0+0");
    EXPECT_EQ(reader->ReadText(text.Put()), E_UNEXPECTED);
    EXPECT_FALSE(text.Get());
    for (int i = 0; i < 3; ++i) EXPECT_EQ(Read(reader.Get()), S_OK);
    EXPECT_EQ(reader->Skip(), S_OK);
    EXPECT_EQ(Describe(reader.Get()), "2 :{}d '' @1 1:55 0+0");
    EXPECT_EQ(reader->Skip(), S_OK);
    EXPECT_EQ(Content(reader.Get()), "6/");

    const auto empty = Open("<a/>");
    EXPECT_EQ(Read(empty.Get()), S_OK);
    EXPECT_EQ(empty->ReadText(text.Put()), S_OK);
    EXPECT_TRUE(text.Get());
    EXPECT_EQ(text.View(), u"");
    for (const bool skips : {false, true}) {
        const auto broken = Open("<a>1<b>2</a>");
        EXPECT_EQ(Read(broken.Get()), S_OK);
        EXPECT_EQ(skips ? broken->Skip() : broken->ReadText(text.Put()), E_FAIL);
        EXPECT_EQ(TakeErrorInfo(), Fault("expected end of tag 'b'", 1, 11).substr(1));
        EXPECT_EQ(Describe(broken.Get()), "0 :{} '' @0 1:11 0+0");
    }
}

TEST(XMLReader, TellsTheFaultOfADocument) {
    EXPECT_EQ(Content(Open("<a>\n<b></a>").Get()), "<a>\n<b>" + Fault("expected end of tag 'b'", 2, 6));
    EXPECT_EQ(Content(Open("").Get()), Fault("invalid document structure", 1, 1));
    EXPECT_EQ(Content(Open("<%1:a/>").Get()).substr(0, 1), "!");
    EXPECT_EQ(Content(Open("<a b='%1%2!d!%3' b=''/>").Get()),
              Fault("attribute 'b' is already specified for element 'a'", 1, 22));
    EXPECT_EQ(Content(OpenText(u"<a>").Get()),
              "<a>" + Fault("input ended before all started tags were ended; last tag started is 'a'", 1, 4, "text",
                            "XMLTextReader"));
    const TemporaryFolder folder;
    const std::u16string path = folder / u"\u017Dofie.xml";
    WriteFileBytes(path, "<a>&e;</a>");
    const auto file = OpenFile(u"FileStream", path, movaFileModeRead);
    const std::string fault = Content(Open(file.As<IStream>().Get()).Get());
    EXPECT_EQ(fault.substr(0, fault.find("Source:")),
              Fault("entity 'e' not found", 1, 7).insert(0, "<a>").substr(0, fault.find("Source:")));
    EXPECT_NE(fault.find("\u017Dofie.xml."), std::string::npos) << fault;
}

TEST(XMLReader, NeedsADocument) {
    for (const char16_t* const name : {u"XMLReader", u"XMLTextReader"}) {
        const auto reader = New<IXMLReader>(name);
        for (int i = 0; i < 2; ++i) {
            for (const auto& [what, call] : operations) {
                const bool isRead = what == "Read"s || what == "ReadText"s;
                const bool isSought = what == "GetAttribute"s || what == "LookupNamespaceURI"s;
                EXPECT_EQ(call(reader.Get()), isRead ? E_UNEXPECTED : isSought ? S_FALSE : S_OK) << what;
            }
            EXPECT_EQ(Describe(reader.Get()), "0 :{} '' @0 0:0 0+0");
            EXPECT_EQ(Read(reader.Get()), E_UNEXPECTED);
            EXPECT_EQ(TakeErrorInfo(), Refusal<IXMLReader>(kv::Utf8(name), "The reader has no document."));
            const auto stream = MemoryStream("<a/>");
            EXPECT_EQ(reader->put_InputStream(stream.Get()), S_OK);
            EXPECT_EQ(Read(reader.Get()), S_OK);
            EXPECT_EQ(AnswerOf(reader, &IXMLReader::get_InputStream).Get(), stream.Get());
            EXPECT_EQ(reader->put_InputStream(nullptr), S_OK);
        }
    }
}

TEST(XMLReader, StaysWhereItIsWithoutAPlaceForTheAnswer) {
    const auto reader = Open("<a/>");
    EXPECT_EQ(Read(reader.Get()), S_OK);
    EXPECT_EQ(reader->Read(nullptr), E_POINTER);
    EXPECT_EQ(reader->ReadText(nullptr), E_POINTER);
    EXPECT_EQ(TypeOf(reader.Get()), movaXMLStartElement);
}

TEST(XMLReader, ReadsFromStreamsThatGiveLittleOrFail) {
    for (const ULONG most : {1U, 3U, 1000U}) {
        SourceStream stream("<a>x<b/>y</a>");
        stream.atEnd = S_FALSE;
        stream.most = most;
        EXPECT_EQ(Content(Open(&stream).Get()), "<a>x<b>/y/") << most;
    }
    for (int failing = 0; failing < 10; ++failing) {
        SourceStream stream("<a>x<b/>y</a>");
        stream.atEnd = S_FALSE;
        stream.most = 3;
        stream.before = [&](int read) { return read == failing ? STG_E_ACCESSDENIED : S_OK; };
        const auto reader = Open(&stream);
        HRESULT status = S_OK;
        bool found = true;
        while (status == S_OK && found) status = Read(reader.Get(), &found);
        EXPECT_EQ(status, failing <= stream.reads - 1 ? STG_E_ACCESSDENIED : S_OK) << failing;
        if (status == S_OK) continue;
        EXPECT_EQ(Read(reader.Get()), STG_E_ACCESSDENIED);
        EXPECT_EQ(TakeErrorInfo(), "");
        EXPECT_EQ(TypeOf(reader.Get()), movaXMLNone);
        EXPECT_EQ(reader->put_InputStream(MemoryStream("<c/>").Get()), S_OK);
        EXPECT_EQ(Content(reader.Get()), "<c>/");
    }
}

TEST(XMLReader, TakesNoCallsFromItsStream) {
    SourceStream stream("<a>x</a>");
    const auto reader = Open(&stream);
    int refused = 0;
    stream.before = [&](int) {
        for (const auto& [what, call] : operations) {
            EXPECT_EQ(call(reader.Get()), E_UNEXPECTED) << what;
            EXPECT_EQ(TakeErrorInfo(),
                      Refusal<IXMLReader>("XMLReader", "The reader is being called by the stream that it reads."))
                << what;
            ++refused;
        }
        return S_OK;
    };
    EXPECT_EQ(Content(reader.Get()), "<a>x/");
    EXPECT_GE(refused, 17);
}

TEST(XMLReader, StartsAnewWithEachStream) {
    const auto reader = Open("<a><b><c");
    EXPECT_EQ(Read(reader.Get()), S_OK);
    EXPECT_EQ(Read(reader.Get()), S_OK);
    const auto stream = MemoryStream("--<d>x</d>");
    EXPECT_EQ(SeekTo(stream.Get(), 2), S_OK);
    EXPECT_EQ(reader->put_InputStream(stream.Get()), S_OK);
    EXPECT_EQ(Describe(reader.Get()), "0 :{} '' @0 0:0 0+0");
    EXPECT_EQ(Content(reader.Get()), "<d>x/");
}

TEST(XMLReader, KnowsEncodings) {
    const struct {
        std::string document, content;
    } rows[] = {
        {"\xEF\xBB\xBF<a>\xC3\xA4</a>", "<a>\xC3\xA4/"},
        {"<a>\xC3\xA4\xF0\x9F\x98\x80</a>", "<a>\xC3\xA4\xF0\x9F\x98\x80/"},
        {"\xFF\xFE<\0a\0>\0\xE4\0<\0/\0a\0>\0"s, "<a>\xC3\xA4/"},
        {"\xFE\xFF\0<\0a\0>\0\xE4\0<\0/\0a\0>"s, "<a>\xC3\xA4/"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE4</a>", "<a>\xC3\xA4/"},
        {"<?xml version='1.0' encoding='windows-1252'?><a>\x80</a>", "<a>\xE2\x82\xAC/"},
        {"<?xml version='1.0' encoding='US-ASCII'?><a>a</a>", "<a>a/"},
        {"<?xml version='1.0' encoding='Shift_JIS'?><a>\x93\xFA\x96\x7B</a>", "<a>\xE6\x97\xA5\xE6\x9C\xAC/"},
        {"<?xml version='1.0' encoding='koi8-r'?><a>\xC1</a>", "<a>\xD0\xB0/"},
        {"<?xml version='1.0' encoding='no-such'?><a/>",
         Fault("unable to create converter for 'NO-SUCH' encoding", 1, 41)},
        {"<?xml version='1.0' encoding='US-ASCII'?><a>\xE4</a>",
         Fault("char 0xE4 is not representable in 'US-ASCII' encoding", 1, 42)},
        {"<?xml version='1.0' encoding='UTF-16'?><a/>", "<a>/"},
        {"\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><a>\xC3\xA4</a>", "<a>\xC3\xA4/"},
        {"\xEF\xBB\xBF<?xml version='1.0' encoding='UTF-16'?><a>\xC3\xA4</a>", "<a>\xC3\xA4/"},
        {"\xEF\xBB\xBF<a>\xE4</a>", Fault("invalid byte '<' at position 2 of a 3-byte sequence", 1, 1)},
        {"<a>\xC3(</a>   ", Fault("invalid byte '(' at position 2 of a 2-byte sequence", 1, 1)},
    };
    for (const auto& [document, content] : rows) EXPECT_EQ(Content(Open(document).Get()), content) << document;
}

TEST(XMLTextReader, ReadsTextsWhateverTheyDeclare) {
    const auto reader = OpenText(u"<?xml version='1.0' encoding='ISO-8859-1'?><a>\u20AC\U0001F600</a>");
    EXPECT_EQ(Content(reader.Get()), "<a>\xE2\x82\xAC\xF0\x9F\x98\x80/");
    EXPECT_TRUE(AnswerOf(reader, &IXMLTextReader::get_Text).View().ends_with(u"\u20AC\U0001F600</a>"));
    EXPECT_FALSE(AnswerOf(reader, &IXMLTextReader::get_InputStream));
    EXPECT_EQ(reader->put_Text(Bstr(u"\uFEFF<b/>")), S_OK);
    EXPECT_EQ(Content(reader.Get()), "<b>/");
    EXPECT_EQ(reader->put_InputStream(MemoryStream("<c/>").Get()), S_OK);
    EXPECT_FALSE(AnswerOf(reader, &IXMLTextReader::get_Text).Get());
    EXPECT_EQ(Content(reader.Get()), "<c>/");
    EXPECT_EQ(reader->put_Text(nullptr), S_OK);
    EXPECT_EQ(Content(reader.Get()), Fault("invalid document structure", 1, 1, "text", "XMLTextReader"));
}

TEST(XMLReader, ReadsAGigabyteInLittleMemory) {
    constexpr std::uint64_t gigabyte = std::uint64_t{1} << 30;
    const std::string start = "<a>";
    const std::string block(1 << 20, 'x');
    const std::string end = "</a>";
    SourceStream stream;
    stream.atEnd = S_FALSE;
    std::uint64_t made = 0;
    stream.before = [&](int) {
        if (!stream.bytes.empty()) return S_OK;
        if (made == 0)
            stream.bytes = start;
        else if (made <= gigabyte)
            stream.bytes = block;
        else if (made < 2 * gigabyte)
            stream.bytes = end, made = 2 * gigabyte;
        made += stream.bytes.size();
        return S_OK;
    };
    const auto reader = Open(&stream);
    const std::size_t before = PrivateBytes();
    std::size_t most = before;
    std::uint64_t characters = 0;
    bool found = true;
    while (Read(reader.Get(), &found) == S_OK && found) {
        const auto text = AnswerOf(reader, &IXMLReader::get_Value);
        characters += text.View().size();
        most = std::max(most, PrivateBytes());
    }
    EXPECT_GE(characters, gigabyte);
    EXPECT_LT(most, before + (64U << 20));
}

}  // namespace
}  // namespace mova::test
