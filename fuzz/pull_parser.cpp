// However the bytes of a document are cut into pieces, the same nodes come of it; and what was read, written by the
// emitter, reads back the same.
#include <string>
#include <vector>

#include "fuzz/Input.h"
#include "tests/PiecewiseSource.h"
#include "xml/Emitter.h"

namespace {

struct Document final : xml::ByteSink {
    void Write(std::string_view piece) noexcept override { bytes.append(piece); }
    std::string bytes;
};

/// All that is known of a node, after a character that no document has.
constexpr char16_t mark = 1;
std::u16string Describe(const xml::PullParser& parser) {
    std::u16string node(1, mark);
    node += static_cast<char16_t>(u'0' + static_cast<int>(parser.Type()));
    for (const auto part : {parser.Name(), parser.Uri(), parser.Text()}) (node += mark) += part;
    for (const xml::Attribute& attribute : parser.Attributes()) {
        for (const auto part : {attribute.uri, attribute.name, attribute.value}) (node += mark) += part;
    }
    for (const xml::Declaration& declaration : parser.Declarations()) {
        for (const auto part : {declaration.prefix, declaration.uri}) (node += mark) += part;
    }
    return node;
}

/// Whether line ends and tabs in it come back as they are: the emitter writes them as themselves.
bool IsPlain(const xml::PullParser& parser) {
    constexpr std::u16string_view spaces = u"\t\n\r";
    if (parser.Text().find(u'\r') != std::u16string_view::npos) return false;
    const auto isPlain = [&](std::u16string_view text) {
        return text.find_first_of(spaces) == std::u16string_view::npos;
    };
    return std::ranges::all_of(parser.Attributes(), isPlain, &xml::Attribute::value) &&
           std::ranges::all_of(parser.Declarations(), isPlain, &xml::Declaration::uri);
}

/// Whether a document may be of XML 1.1, which the emitter does not write.
bool MayBeNewer(std::string_view document) {
    std::string start(document.substr(0, 200));
    std::erase(start, '\0');
    return start.find("1.1") != std::string::npos || start.find("\xF1\x4B\xF1") != std::string::npos;
}

struct Reading {
    std::u16string nodes;
    bool isWhole = false, isPlain = true;
    std::u16string reason;
    std::uint64_t line = 0, column = 0;
    bool operator==(const Reading&) const = default;
};

/// @param copy receives the elements and texts, which alone are described where it is given, texts as one
Reading Read(std::string_view bytes, std::size_t piece, xml::Emitter* copy) {
    xml::PiecewiseSource source(bytes, piece);
    xml::PullParser parser(source);
    Reading reading;
    bool isRight = true;
    while (parser.Next()) {
        reading.isPlain &= IsPlain(parser);
        switch (parser.Type()) {
            case xml::NodeType::startElement:
                if (copy) {
                    isRight &= copy->StartElement(parser.Name(), parser.Uri(), parser.Attributes(),
                                                  parser.Declarations(), false) == xml::Refusal::None;
                }
                break;
            case xml::NodeType::endElement:
                if (copy) isRight &= copy->EndElement() == xml::Refusal::None;
                break;
            case xml::NodeType::cdata:
                if (copy) copy->CData(parser.Text());
                break;
            case xml::NodeType::text:
                if (!copy) break;
                copy->Text(parser.Text());
                reading.nodes += parser.Text();
                continue;
            default:
                if (copy) continue;
                break;
        }
        reading.nodes += Describe(parser);
    }
    fuzz::Require(isRight, "what was read can be written");
    reading.isWhole = !parser.Fault();
    if (parser.Fault()) {
        reading.reason = parser.Fault()->reason;
        reading.line = parser.Fault()->line;
        reading.column = parser.Fault()->column;
    }
    return reading;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const std::string_view document = fuzz::Text(data + 1, size - 1);
    const Reading whole = Read(document, SIZE_MAX, nullptr);
    fuzz::Require(Read(document, data[0] + 1U, nullptr) == whole, "pieces make no difference");
    if (!whole.isWhole || !whole.isPlain || MayBeNewer(document)) return 0;
    Document copied;
    xml::Emitter copy(copied);
    const Reading tags = Read(document, SIZE_MAX, &copy);
    Document again;
    xml::Emitter copyOfCopy(again);
    const Reading copiedTags = Read(copied.bytes, SIZE_MAX, &copyOfCopy);
    fuzz::Require(copiedTags == tags, "what was written reads back the same");
    fuzz::Require(again.bytes == copied.bytes, "and is written the same");
    return 0;
}
