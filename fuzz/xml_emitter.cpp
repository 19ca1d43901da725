// A document that was written reads, by a reader of another maker, as the nodes that were meant.
#include <libxml/xmlreader.h>

#include <memory>
#include <string>

#include "fuzz/Input.h"
#include "kvcore/NumberText.h"
#include "kvcore/Utf.h"
#include "tests/XmlSequences.h"

namespace {

struct Bytes final : xml::ByteSink {
    void Write(std::string_view piece) noexcept override { all.append(piece); }
    std::string all;
};

class EmitterTarget final : public sequences::Target {
 public:
    explicit EmitterTarget(xml::ByteSink& sink) : emitter_(sink) {}

    void SetNormalisesLineEnds(bool normalises) override { emitter_.SetNormalisesLineEnds(normalises); }
    void Start(std::u16string_view name, std::u16string_view uri, std::span<const xml::Attribute> attributes,
               std::span<const xml::Declaration> declarations, bool isEmpty) override {
        fuzz::Require(emitter_.StartElement(name, uri, attributes, declarations, isEmpty) == xml::Refusal::None,
                      "a start tag is written");
    }
    void End() override { fuzz::Require(emitter_.EndElement() == xml::Refusal::None, "an end tag is written"); }
    void XmlDeclaration() override { emitter_.Ascii(R"(<?xml version="1.0" encoding="utf-8" ?>)"); }
    void Text(std::u16string_view text) override { emitter_.Text(text); }
    void CData(std::u16string_view text) override { emitter_.CData(text); }
    void Raw(std::u16string_view text) override { emitter_.Raw(text); }
    void NewLine() override { emitter_.Ascii("\r\n"); }
    void Tab() override { emitter_.Ascii("\t"); }
    void Base64(std::span<const std::byte> bytes) override { emitter_.Base64(bytes); }
    void Integer(std::int64_t number) override { emitter_.Ascii(std::to_string(number)); }
    void Boolean(bool flag) override { emitter_.Ascii(flag ? "true" : "false"); }
    void ObjectId(std::int32_t number) override { emitter_.Ascii("ID" + std::to_string(number)); }

 private:
    xml::Emitter emitter_;
};

struct ReaderEnd {
    void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
};

std::u16string Wide(const xmlChar* text) {
    return text ? kv::Utf16(reinterpret_cast<const char*>(text)) : std::u16string();
}

/// What libxml2's reader sees.
std::u16string NodesOf(const std::string& document) {
    // Without entities replaced, an ampersand in a namespace comes out as a reference.
    const std::unique_ptr<xmlTextReader, ReaderEnd> reader(xmlReaderForMemory(
        document.data(), static_cast<int>(document.size()), nullptr, nullptr,
        XML_PARSE_NOENT | XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET | XML_PARSE_HUGE));
    fuzz::Require(reader != nullptr, "there is a reader");
    xmlTextReader* const r = reader.get();
    sequences::Nodes nodes;
    int more = 0;
    while ((more = xmlTextReaderRead(r)) == 1) {
        switch (xmlTextReaderNodeType(r)) {
            case XML_READER_TYPE_ELEMENT: {
                const bool isEmpty = xmlTextReaderIsEmptyElement(r) == 1;
                nodes.Start(Wide(xmlTextReaderConstNamespaceUri(r)), Wide(xmlTextReaderConstLocalName(r)));
                while (xmlTextReaderMoveToNextAttribute(r) == 1) {
                    const std::u16string uri = Wide(xmlTextReaderConstNamespaceUri(r));
                    const std::u16string local = Wide(xmlTextReaderConstLocalName(r));
                    const std::u16string value = Wide(xmlTextReaderConstValue(r));
                    if (xmlTextReaderIsNamespaceDecl(r) == 1) {
                        nodes.Declaration(xmlTextReaderConstPrefix(r) ? local : std::u16string(), value);
                    } else {
                        nodes.Attribute(uri, local, value);
                    }
                }
                if (isEmpty) nodes.End();
                break;
            }
            case XML_READER_TYPE_END_ELEMENT:
                nodes.End();
                break;
            case XML_READER_TYPE_CDATA:  // in which this reader leaves line ends as they are
                nodes.Text(sequences::WithLineEndsRead(Wide(xmlTextReaderConstValue(r))));
                break;
            case XML_READER_TYPE_TEXT:
            case XML_READER_TYPE_WHITESPACE:
            case XML_READER_TYPE_SIGNIFICANT_WHITESPACE:
                nodes.Text(Wide(xmlTextReaderConstValue(r)));
                break;
            default:
                break;
        }
    }
    fuzz::Require(more == 0, "the document is well formed");
    return nodes.All();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    constexpr unsigned mostCalls = 400;
    fuzz::Input input(data, size);
    Bytes bytes;
    EmitterTarget target(bytes);
    const auto choose = [&](unsigned below) { return (below <= 256 ? input.Byte() : input.Word()) % below; };
    const std::u16string expected = sequences::Sequence(choose, target, true).Write(mostCalls);
    fuzz::Require(NodesOf(bytes.all) == expected, "a reader sees what was meant");
    return 0;
}
