// The XML engine beside libxml2's writer, both writing to memory that grows.
#include <libxml/xmlwriter.h>

#include "bench/EngineBench.h"
#include "bench/XmlData.h"
#include "kvcore/Utf.h"
#include "xml/Emitter.h"

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
}

}  // namespace bench
