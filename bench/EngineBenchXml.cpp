// The XML engines: the emitter beside libxml2's writer, both writing to memory that grows; the pull parser beside the
// parser beneath it and libxml2's reader.
#include <libxml/xmlreader.h>
#include <libxml/xmlwriter.h>

#include <algorithm>
#include <cstring>

#include "bench/EngineBench.h"
#include "bench/SaxReading.h"
#include "bench/XmlData.h"
#include "kvcore/Utf.h"
#include "xml/Emitter.h"
#include "xml/PullParser.h"

namespace bench {
namespace {

/// A document in memory.
struct Memory final : xml::ByteSink {
    void Write(std::string_view piece) noexcept override { bytes.append(piece); }
    std::string bytes;
};

/// An item in the encoding of the engine.
struct WideItem {
    explicit WideItem(const XmlItem& item)
        : id(kv::Utf16(item.id)), name(kv::Utf16(item.name)), code(kv::Utf16(item.code)), text(kv::Utf16(item.text)) {}
    std::u16string id, name, code, text;
};

void WriteItems(const std::vector<WideItem>& items, Memory& memory) {
    xml::Emitter out(memory);
    bool isRight = out.StartElement(u"root", {}, {}, {}, false) == xml::Refusal::None;
    for (const WideItem& item : items) {
        const xml::Attribute attributes[] = {{{}, u"id", item.id}, {{}, u"name", item.name}, {{}, u"code", item.code}};
        isRight &= out.StartElement(u"item", {}, attributes, {}, false) == xml::Refusal::None;
        out.Text(item.text);
        isRight &= out.EndElement() == xml::Refusal::None;
    }
    isRight &= out.EndElement() == xml::Refusal::None;
    Require(isRight, "A document is not written.");
}

const xmlChar* Xml(const char* text) noexcept {
    return reinterpret_cast<const xmlChar*>(text);
}

std::uint64_t WriteByPeer(const std::vector<XmlItem>& items) {
    xmlBuffer* const buffer = xmlBufferCreate();
    xmlTextWriter* const writer = xmlNewTextWriterMemory(buffer, 0);
    xmlTextWriterStartElement(writer, Xml("root"));
    for (const XmlItem& item : items) {
        xmlTextWriterStartElement(writer, Xml("item"));
        xmlTextWriterWriteAttribute(writer, Xml("id"), Xml(item.id.c_str()));
        xmlTextWriterWriteAttribute(writer, Xml("name"), Xml(item.name.c_str()));
        xmlTextWriterWriteAttribute(writer, Xml("code"), Xml(item.code.c_str()));
        xmlTextWriterWriteString(writer, Xml(item.text.c_str()));
        xmlTextWriterEndElement(writer);
    }
    xmlTextWriterEndElement(writer);
    xmlFreeTextWriter(writer);
    const bool isWritten = static_cast<std::size_t>(xmlBufferLength(buffer)) > items.size();
    xmlBufferFree(buffer);
    Require(isWritten, "libxml2 writes nothing.");
    return items.size();
}

/// A document in memory, as a source of bytes.
class DocumentSource final : public xml::ByteSource {
 public:
    explicit DocumentSource(std::string_view document) noexcept : rest_(document) {}
    std::size_t Read(std::span<std::byte> target) override {
        const std::size_t size = std::min(target.size(), rest_.size());
        std::memcpy(target.data(), rest_.data(), size);
        rest_.remove_prefix(size);
        return size;
    }

 private:
    std::string_view rest_;
};

XmlTotals ReadByPullParser(std::string_view document) {
    DocumentSource source(document);
    xml::PullParser parser(source);
    XmlTotals totals;
    while (parser.Next()) {
        totals.texts += parser.Text().size();
        if (parser.Type() != xml::NodeType::startElement) continue;
        ++totals.elements;
        totals.names += parser.Name().size();
        for (const xml::Attribute& attribute : parser.Attributes()) totals.values += attribute.value.size();
    }
    Require(!parser.Fault(), "A document has a fault.");
    return totals;
}

/// The UTF-16 units of a text, for the sums of all readers are compared.
std::uint64_t UnitsOf(const xmlChar* text) noexcept {
    std::uint64_t units = 0;
    for (; *text; ++text) units += ((*text & 0xC0) != 0x80 ? 1U : 0U) + (*text >= 0xF0 ? 1U : 0U);
    return units;
}

XmlTotals ReadByPeer(std::string_view document) {
    xmlTextReader* const reader =
        xmlReaderForMemory(document.data(), static_cast<int>(document.size()), nullptr, nullptr, 0);
    XmlTotals totals;
    while (xmlTextReaderRead(reader) == 1) {
        const int type = xmlTextReaderNodeType(reader);
        if (type == XML_READER_TYPE_TEXT) totals.texts += UnitsOf(xmlTextReaderConstValue(reader));
        if (type != XML_READER_TYPE_ELEMENT) continue;
        ++totals.elements;
        totals.names += UnitsOf(xmlTextReaderConstLocalName(reader));
        while (xmlTextReaderMoveToNextAttribute(reader) == 1) totals.values += UnitsOf(xmlTextReaderConstValue(reader));
    }
    xmlFreeTextReader(reader);
    return totals;
}

}  // namespace

void RunEngineXml(const Session& session) {
    constexpr std::size_t count = 200'000;
    constexpr double goal = 5;
    const std::vector<XmlItem> items = MakeXmlItems(count);
    const std::vector<WideItem> wide(items.begin(), items.end());
    Memory written;
    WriteItems(wide, written);
    Require(written.bytes == XmlDocumentOf(items), "A document is not written right.");
    session.Compare("xml engine, write (ns an element)", count,
                    {{"Emitter",
                      [&] {
                          Memory memory;
                          WriteItems(wide, memory);
                          return std::uint64_t{count};
                      }},
                     {"libxml2 xmlTextWriter", [&] { return WriteByPeer(items); }, goal}});
    constexpr double readingGoal = 1 / 1.3;
    const std::string_view document = written.bytes;
    session.Compare("xml engine, read (ns an element)", count,
                    {{"PullParser", [&] { return ReadByPullParser(document).Sum(); }},
                     {"Xerces SAX2XMLReader", [&] { return ReadBySax(document).Sum(); }, readingGoal},
                     {"libxml2 xmlTextReader", [&] { return ReadByPeer(document).Sum(); }}});
}

}  // namespace bench
