#include "xml/PullParser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>

#include "kvcore/Utf.h"
#include "tests/PiecewiseSource.h"
#include "xml/PrefixMap.h"

namespace xml {
namespace {

using namespace std::string_literals;

std::string Braced(std::u16string_view uri) {
    return uri.empty() ? "" : "{" + kv::Utf8(uri) + "}";
}

std::string TagName(const PullParser& parser) {
    const std::string prefix = parser.Prefix().empty() ? "" : kv::Utf8(parser.Prefix()) + ":";
    return prefix + Braced(parser.Uri()) + kv::Utf8(parser.Name());
}

std::string NodeText(const PullParser& parser) {
    const std::string text = kv::Utf8(parser.Text());
    switch (parser.Type()) {
        case NodeType::startElement: {
            std::string tag = "<" + TagName(parser);
            for (const Attribute& attribute : parser.Attributes())
                tag += " " + Braced(attribute.uri) + kv::Utf8(attribute.name) + "='" + kv::Utf8(attribute.value) + "'";
            for (const Declaration& declaration : parser.Declarations())
                tag += " xmlns:" + kv::Utf8(declaration.prefix) + "='" + kv::Utf8(declaration.uri) + "'";
            return tag + ">";
        }
        case NodeType::endElement:
            return "</" + TagName(parser) + ">";
        case NodeType::text:
            return "\"" + text + "\"";
        case NodeType::cdata:
            return "[" + text + "]";
        case NodeType::comment:
            return "!" + text + "!";
        case NodeType::processingInstruction:
            return "?" + kv::Utf8(parser.Name()) + "|" + text + "?";
        default:
            return "nothing";
    }
}

std::string PlaceText(std::uint64_t line, std::uint64_t column) {
    return std::to_string(line) + ":" + std::to_string(column);
}

std::string FaultText(const PullParser& parser) {
    const ParseFault* const fault = parser.Fault();
    return fault ? PlaceText(fault->line, fault->column) + " " + kv::Utf8(fault->reason) : "";
}

/// The nodes of a document one after the other, and its fault in parentheses.
std::string Nodes(std::string_view document, std::size_t piece = SIZE_MAX, std::u16string_view encoding = {}) {
    PiecewiseSource source(document, piece);
    PullParser parser(source, encoding);
    std::string nodes;
    while (parser.Next()) nodes += NodeText(parser);
    EXPECT_FALSE(parser.Next());
    EXPECT_EQ(parser.Type(), NodeType::none);
    if (parser.Fault()) nodes += "(" + FaultText(parser) + ")";
    return nodes;
}

/// What became of a document that is too long to be compared.
struct Outcome {
    std::size_t nodes = 0, characters = 0, depth = 0, longest = 0;
    std::string fault;
};
Outcome Read(std::string_view document) {
    PiecewiseSource source(document);
    PullParser parser(source);
    Outcome outcome;
    for (; parser.Next(); ++outcome.nodes) {
        outcome.characters += parser.Text().size();
        outcome.longest = std::max(outcome.longest, parser.Text().size());
        outcome.depth = std::max(outcome.depth, parser.Depth() + 1);
    }
    outcome.fault = FaultText(parser);
    return outcome;
}

std::string Repeat(std::string_view text, std::size_t times) {
    std::string repeated;
    repeated.reserve(text.size() * times);
    for (std::size_t i = 0; i < times; ++i) repeated += text;
    return repeated;
}

const std::pair<std::string, std::string> readable[] = {
    {"<a/>", "<a></a>"},
    {"\xEF\xBB\xBF<a></a>\n", "<a></a>"},
    {"<?xml version='1.0'?><!--c--><?p  d ?><a/><!--e--><?q?>", "!c!?p|d ?<a></a>!e!?q|?"},
    {"<a>x<b>y</b>z</a>", "<a>\"x\"<b>\"y\"</b>\"z\"</a>"},
    {"<a> \r\n\t\r\r\n</a>", "<a>\" \n\t\n\n\"</a>"},
    {"<a>&lt;&amp;&#65;&#x1F600;&#13;]]&gt;</a>", "<a>\"<&A\xF0\x9F\x98\x80\r]]>\"</a>"},
    {"<a>1<![CDATA[<2>]]]><![CDATA[]]>3<!--4-->5</a>", "<a>\"1\"[<2>]][]\"3\"!4!\"5\"</a>"},
    {"<a b='1' c=\"&quot;'\td&#10;\"/>", "<a b='1' c='\"' d\n'></a>"},
    // Namespaces.
    {"<a xmlns='u'><b xmlns=''/><c/></a>", "<{u}a xmlns:='u'><b xmlns:=''></b><{u}c></{u}c></{u}a>"},
    {"<p:a xmlns:p='u' p:b='1' b='2'><p:c xmlns:p='v'/><p:d/></p:a>",
     "<p:{u}a {u}b='1' b='2' xmlns:p='u'><p:{v}c xmlns:p='v'></p:{v}c><p:{u}d></p:{u}d></p:{u}a>"},
    {"<a xml:lang='de'/>", "<a {http://www.w3.org/XML/1998/namespace}lang='de'></a>"},
    {"<xml:a xmlns:xml='http://www.w3.org/XML/1998/namespace'/>",
     "<xml:{http://www.w3.org/XML/1998/namespace}a xmlns:xml='http://www.w3.org/XML/1998/namespace'>"
     "</xml:{http://www.w3.org/XML/1998/namespace}a>"},
    {"<?xml version='1.1'?><a xmlns:p='u'><b xmlns:p=''/></a>", "<a xmlns:p='u'><b xmlns:p=''></b></a>"},
    // Document types: entities expand where they stand, attributes are added, what is outside is passed over.
    {"<!DOCTYPE a [<!ENTITY e 'x<b>y</b>'><!ENTITY f '&e;&e;'>]><a>1&f;2</a>",
     "<a>\"1x\"<b>\"y\"</b>\"x\"<b>\"y\"</b>\"2\"</a>"},
    {"<!DOCTYPE a [<!ENTITY e ' x'><!ATTLIST a b CDATA '1&e;' c NMTOKENS #IMPLIED xmlns:p CDATA 'u' p:d CDATA 'v'>]>"
     "<a c=' 1  2 '/>",
     "<a c='1 2' b='1 x' {u}d='v' xmlns:p='u'></a>"},
    {"<!DOCTYPE a SYSTEM 'nowhere.dtd' [<!ENTITY % p SYSTEM 'nowhere.ent'><!ENTITY e 'x'>]><a>&e;</a>", "<a>\"x\"</a>"},
    {"<!DOCTYPE a [<!ENTITY % p '<!ENTITY e \"x\">'> %p; <!--c--><?p?>]><a>&e;</a>", "<a>\"x\"</a>"},
    // Encodings. A byte order mark goes before what is declared.
    {"\xEF\xBB\xBF<?xml version='1.0' encoding='ISO-8859-1'?><a>\xC3\xA4</a>", "<a>\"\xC3\xA4\"</a>"},
    {"\xEF\xBB\xBF<a/>", "<a></a>"},
    {"<?xml version='1.0' encoding='ISO-8859-1'?><a b='\xE4'>\xFC</a>", "<a b='\xC3\xA4'>\"\xC3\xBC\"</a>"},
    {"<?xml version='1.0' encoding='windows-1252'?><a>\x80</a>", "<a>\"\xE2\x82\xAC\"</a>"},
    {"\xFF\xFE<\0a\0>\0\xE4\0\x3D\xD8\0\xDE<\0/\0a\0>\0"s, "<a>\"\xC3\xA4\xF0\x9F\x98\x80\"</a>"},
    {"\xFE\xFF\0<\0a\0>\0\xE4\0<\0/\0a\0>"s, "<a>\"\xC3\xA4\"</a>"},
    {"<\0?\0x\0m\0l\0 \0v\0e\0r\0s\0i\0o\0n\0=\0'\0001\0.\0000\0'\0 "
     "\0e\0n\0c\0o\0d\0i\0n\0g\0=\0'\0U\0T\0F\0-\0001\0006\0"
     "'\0?\0>\0<\0a\0/\0>\0"s,
     "<a></a>"},
};

const struct Faulty {
    std::string document, nodes;
} faulty[] = {
    {"", "(1:1 invalid document structure)"},
    {"x", "(1:1 invalid document structure)"},
    {" <?xml version='1.0'?><a/>", "(1:8 XML or TEXT declaration must start at line 1, column 1)"},
    {"<a", "(1:3 unexpected end of input)"},
    {"<a>\n <b>", "<a>\"\n \"<b>(2:5 input ended before all started tags were ended; last tag started is 'b')"},
    {"<a>\r\n\r\n </b></a>", "<a>(3:4 expected end of tag 'a')"},
    {"<a/>x", "<a></a>(1:5 comment or processing instruction expected)"},
    {"<a/><b/>", "<a></a>(1:5 comment or processing instruction expected)"},
    {"<a b='1' b='2'/>", "(1:15 attribute 'b' is already specified for element 'a')"},
    {"<a b=1/>", "(1:6 attribute value expected)"},
    {"<a b='<'/>", "(1:8 '<' character cannot be used in attribute value 'b'; use &lt; instead)"},
    {"<a>\x01</a>", "<a>(1:5 invalid character 0x0001)"},
    {"<a>&#1;</a>", "<a>(1:8 invalid character reference)"},
    {"<a>]]></a>", "<a>(1:7 ']]>' sequence is not allowed in character data)"},
    {"<a>& b</a>", "<a>(1:5 expected entity name for reference)"},
    {"<a><!-- -- --></a>", "<a>(1:12 '--' sequence is illegal in comment)"},
    {"<a><![CDATA[</a>", "<a>(1:17 unterminated CDATA section)"},
    {"<a>\xE2(\xA1</a>", "(1:1 invalid byte '(' at position 2 of a 3-byte sequence)"},
    {"<a>&e;</a>", "<a>(1:7 entity 'e' not found)"},
    // Namespaces.
    {"<p:a/>", "(1:7 The prefix 'p' is not declared.)"},
    {"<a p:b=''/>", "(1:12 The prefix 'p' is not declared.)"},
    {"<a xmlns:p='u'><b/></a><p:c/>", "<a xmlns:p='u'><b></b></a>(1:24 comment or processing instruction expected)"},
    {"<a xmlns:p='u' xmlns:q='u' p:b='1' q:b='2'/>", "(1:45 The attribute 'b' comes twice in one namespace.)"},
    {"<a xmlns:p=''/>", "(1:16 The prefix 'p' is declared for no namespace.)"},
    {"<a xmlns:xml='u'/>", "(1:19 The prefixes 'xml' and 'xmlns' and their namespaces cannot be declared otherwise.)"},
    {"<a xmlns:xmlns='u'/>",
     "(1:21 The prefixes 'xml' and 'xmlns' and their namespaces cannot be declared otherwise.)"},
    {"<a xmlns='http://www.w3.org/2000/xmlns/'/>",
     "(1:43 The prefixes 'xml' and 'xmlns' and their namespaces cannot be declared otherwise.)"},
    {"<a xmlns='http://www.w3.org/XML/1998/namespace'/>",
     "(1:50 The prefixes 'xml' and 'xmlns' and their namespaces cannot be declared otherwise.)"},
    {"<a><a:b:c/></a>", "<a>(1:12 The name 'a:b:c' is not a name with a prefix.)"},
    {"<a :b=''/>", "(1:11 The name ':b' is not a name with a prefix.)"},
    {"<a:1/>", "(1:7 The name 'a:1' is not a name with a prefix.)"},
    {"<?a:b?><a/>", "(1:8 The name 'a:b' of a processing instruction has a colon.)"},
    {"<?xml version='1.1'?><a xmlns:p='u'><p:b xmlns:p=''/></a>",
     "<a xmlns:p='u'>(1:54 The prefix 'p' is not declared.)"},
    // Nothing but the document is opened, and nothing is dropped silently.
    {"<!DOCTYPE a [<!ENTITY e SYSTEM 'nowhere.ent'>]><a>1&e;2</a>",
     "<a>(1:55 unable to open external entity 'nowhere.ent')"},
    {"<!DOCTYPE a [<!ENTITY % p SYSTEM 'nowhere.ent'>%p;]><a/>", "(1:51 unable to open external entity 'nowhere.ent')"},
    {"<!DOCTYPE a SYSTEM 'nowhere.dtd'><a>1&nbsp;2</a>", "<a>(1:44 entity 'nbsp' not found)"},
    {"<!DOCTYPE a [<!ENTITY % p ''>%p;]><a>1&e;2</a>", "<a>(1:42 entity 'e' not found)"},
    {"<!DOCTYPE a [<!ENTITY e '&f;'><!ENTITY f '&e;'>]><a>&e;</a>", "<a>(1:56 recursive entity expansion 'e')"},
    {"<?xml version='1.0' encoding='no-such'?><a/>", "(1:41 unable to create converter for 'NO-SUCH' encoding)"},
};

TEST(PullParser, ReadsNodesInWhateverPiecesTheyCome) {
    for (const auto& [document, nodes] : readable) {
        EXPECT_EQ(Nodes(document), nodes) << document;
        EXPECT_EQ(Nodes(document, 1), nodes) << document;
        EXPECT_EQ(Nodes(document, 7), nodes) << document;
    }
}

TEST(PullParser, TellsWhereAndWhyItCannotReadOn) {
    for (const auto& [document, nodes] : faulty) {
        EXPECT_EQ(Nodes(document), nodes) << document;
        EXPECT_EQ(Nodes(document, 1), nodes) << document;
    }
}

TEST(PullParser, ReadsEveryCutOfADocumentUpToAFault) {
    for (const auto& [document, nodes] : readable) {
        const std::string whole = Nodes(document);
        for (std::size_t size = 0; size < document.size(); ++size) {
            std::string cut = Nodes(document.substr(0, size));
            if (const std::size_t fault = cut.find('('); fault != std::string::npos) cut.resize(fault);
            EXPECT_TRUE(whole.starts_with(cut)) << document.substr(0, size);
        }
    }
}

TEST(PullParser, KnowsPlacesAndDepths) {
    const struct {
        std::string document, places;
    } rows[] = {
        {"<a>\n <b\nc='1'/>x\r\ny<!--\r--></a>", "0@1:4 1@2:2 1@3:8 1@3:8 1@4:2 1@5:4 0@5:8 "},
        {"<!--x-->\r<a>\r<b></b><![CDATA[\n]]>\r\n</a>\n<?p?>",
         "0@1:9 0@2:4 1@3:1 1@3:4 1@3:8 1@4:4 1@5:1 0@5:5 0@6:6 "},
        {"\xFF\xFE<\0a\0>\0\n\0x\0<\0/\0a\0>\0"s, "0@1:4 1@2:2 0@2:6 "},
        {"<!DOCTYPE a [<!ENTITY e '\n\n<b/>x'>]>\n<a>&e;y</a>", "0@4:4 1@4:7 1@4:7 1@4:7 1@4:8 0@4:12 "},
    };
    for (const auto& [document, places] : rows) {
        PiecewiseSource source(document);
        PullParser parser(source);
        EXPECT_EQ(PlaceText(parser.Line(), parser.Column()), "0:0");
        std::string found;
        while (parser.Next())
            found += std::to_string(parser.Depth()) + "@" + PlaceText(parser.Line(), parser.Column()) + " ";
        EXPECT_EQ(found, places) << document << FaultText(parser);
        EXPECT_EQ(parser.Depth(), 0U);
    }
}

TEST(PullParser, KnowsWhatPrefixesStandFor) {
    const std::string document = "<a xmlns='u' xmlns:p='v'>x<b xmlns='' xmlns:q='w'>y</b>z</a>";
    const std::string expected[] = {"u v - ", "u v - ", " v w ", " v w ", " v w ", "u v - ", "u v - "};
    PiecewiseSource source(document);
    PullParser parser(source);
    for (const std::string& uris : expected) {
        ASSERT_TRUE(parser.Next());
        std::string found;
        for (const auto prefix : {u"", u"p", u"q"}) {
            const auto uri = parser.UriOf(prefix);
            found += (uri ? kv::Utf8(*uri) : "-") + " ";
        }
        EXPECT_EQ(found, uris) << NodeText(parser);
        EXPECT_EQ(parser.UriOf(u"xml"), xmlUri);
    }
    EXPECT_FALSE(parser.Next());
    EXPECT_EQ(parser.UriOf(u"p"), std::nullopt);
}

TEST(PullParser, FindsManyPrefixes) {
    std::string document = "<r xmlns:p='u'>", ends;
    for (int i = 0; i < 20; ++i) {
        const std::string n = std::to_string(i % 12);
        document += "<p" + n + ":e xmlns:p" + n + "='u" + std::to_string(i) + "'>";
        ends.insert(0, "<p:x/></p" + n + ":e>");
    }
    document += ends + "</r>";
    PiecewiseSource source(document);
    PullParser parser(source);
    std::size_t elements = 0;
    for (; parser.Next(); ++elements) {
        if (parser.Name() == u"r") continue;
        const std::string number = parser.Name() == u"x" ? "" : std::to_string(parser.Depth() - 1);
        EXPECT_EQ(parser.Uri(), u"u" + kv::Utf16(number));
    }
    EXPECT_EQ(elements, 82U) << FaultText(parser);
}

TEST(PullParser, PassesOnWhatTheSourceThrows) {
    struct Failing final : ByteSource {
        std::size_t Read(std::span<std::byte> target) override {
            if (left-- == 0) throw std::runtime_error("source");
            return PiecewiseSource(left == 0 ? "<a><b>text" : "<a>", 10).Read(target);
        }
        int left = 0;
    };
    for (int left = 0; left < 3; ++left) {
        Failing source;
        source.left = left;
        PullParser parser(source);
        EXPECT_THROW(while (parser.Next()){}, std::runtime_error);
        EXPECT_FALSE(parser.Next());
        EXPECT_EQ(FaultText(parser), "1:1 The source of the document failed.");
    }
}

TEST(PullParser, ReadsWhatIsDeepOrLong) {
    const std::size_t depth = 100'000;
    const Outcome deep = Read("<a xmlns='u' xmlns:p='v'>" + Repeat("<p:a>", depth) + Repeat("</p:a>", depth) + "</a>");
    EXPECT_EQ(deep.depth, depth + 1);
    EXPECT_EQ(deep.nodes, 2 * (depth + 1)) << deep.fault;
    for (const auto piece : {"x", "]", "\xF0\x9F\x98\x80", "&amp;", "\xF0\x9F\x98\x80]"}) {
        const std::size_t times = 3'000'000;
        const Outcome text = Read("<a>" + Repeat(piece, times) + "</a>");
        EXPECT_EQ(text.fault, "");
        EXPECT_GE(text.characters, times) << piece;
        EXPECT_GE(text.nodes, 4U);
        EXPECT_LE(text.longest, PullParser::maxText + 20'000);
    }
    std::string attributes;
    for (int i = 0; i < 20'000; ++i) attributes += " p:a" + std::to_string(i) + "=''";
    EXPECT_EQ(Read("<a xmlns:p='u'" + attributes + "/>").nodes, 2U);
}

TEST(PullParser, RefusesWhatExpandsTooFarOrIsTooLarge) {
    const auto bomb = [](const std::string& least, const std::string& sigil, const std::string& reference) {
        std::string entities = "<!ENTITY " + sigil + "e0 '" + least + "'>";
        for (int i = 1; i < 12; ++i)
            entities += "<!ENTITY " + sigil + "e" + std::to_string(i) + " '" +
                        Repeat(reference + "e" + std::to_string(i - 1) + ";", 10) + "'>";
        return entities;
    };
    const std::string tooFar = "The entities of the document expand too far.";
    const std::string tooMany = "parser has encountered more than '50000' entity expansions in the document";
    const std::string tooLarge = "A part of the document is too large.";
    const std::string long1 = Repeat("x", 100'000);
    const struct {
        const char* what;
        std::string document, reason;
    } rows[] = {
        {"laughs", "<!DOCTYPE a [" + bomb("x", "", "&") + "]><a>1<b c='&e11;'/></a>", tooMany},
        {"of parameters", "<!DOCTYPE a [" + bomb("", "% ", "&#37;") + "%e11;]><a/>", tooFar},
        {"quadratic", "<!DOCTYPE a [<!ENTITY e '" + long1 + "'>]><a>" + Repeat("&e;", 10'000) + "</a>", tooFar},
        {"of elements",
         "<!DOCTYPE a [<!ENTITY e '" + Repeat("<b/>", 25'000) + "'>]><a>" + Repeat("&e;", 1'000) + "</a>", tooFar},
        {"of comments",
         "<!DOCTYPE a [<!ENTITY e '" + Repeat("<!---->", 25'000) + "'>]><a>" + Repeat("&e;", 2'000) + "</a>", tooFar},
        {"of defaults", "<!DOCTYPE a [<!ATTLIST b c CDATA '" + long1 + "'>]><a>" + Repeat("<b/>", 1'000) + "</a>",
         tooFar},
        {"quadratic in an attribute",
         "<!DOCTYPE a [<!ENTITY e '" + long1 + "'>]><a b='" + Repeat("&e;", 10'000) + "'/>", tooLarge},
        {"nested",
         "<!DOCTYPE a [" +
             [] {
                 std::string entities = "<!ENTITY e0 'x'>";
                 for (int i = 1; i < 3'000; ++i)
                     entities += "<!ENTITY e" + std::to_string(i) + " '&e" + std::to_string(i - 1) + ";'>";
                 return entities;
             }() +
             "]><a>&e2999;</a>",
         tooLarge},
        {"prolog", Repeat("<!---->", 2'000'000) + "<a/>", tooLarge},
        {"epilog", "<a/>" + Repeat("<?x?>", 2'000'000), tooLarge},
        {"comment", "<a><!--" + Repeat("x", 100'000'000), tooLarge},
    };
    for (const auto& [what, document, reason] : rows)
        EXPECT_NE(Read(document).fault.find(reason), std::string::npos) << what << ": " << Read(document).fault;
    // What documents do of their own accord is within the bounds.
    EXPECT_EQ(Read("<!DOCTYPE a [<!ENTITY e 'x'>]><a>" + Repeat("&e;", 10'000) + "</a>").fault, "");
    EXPECT_NE(Read("<!DOCTYPE a [<!ELEMENT a " + Repeat("(b,", 100'000) + "]><a/>").fault, "");
}

}  // namespace
}  // namespace xml
