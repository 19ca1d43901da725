// The XML reader, through its interface, beside the parser beneath it.
#include <movaSystem.h>

#include "bench/Components.h"
#include "bench/Jobs.h"
#include "bench/SaxReading.h"
#include "bench/XmlData.h"
#include "kvcore/BString.h"

namespace bench {
namespace {

class XmlReading {
 public:
    explicit XmlReading(std::size_t count) : document_(XmlDocumentOf(MakeXmlItems(count))) {
        ULONG written = 0;
        stream_ = Make<IMemoryBlobStream>(FactoryOf(__uuidof(MemoryBlobStream))).As<IStream>();
        Require(SUCCEEDED(stream_->Write(document_.data(), static_cast<ULONG>(document_.size()), &written)) &&
                    written == document_.size(),
                "A document is not written.");
    }

    std::uint64_t Read() const {
        const auto reader = Make<IXMLReader>(readers_);
        Require(
            SUCCEEDED(stream_->Seek({}, STREAM_SEEK_SET, nullptr)) && SUCCEEDED(reader->put_InputStream(stream_.Get())),
            "A document is not opened.");
        XmlTotals totals;
        VARIANT_BOOL found = VARIANT_FALSE;
        while (reader->Read(&found) == S_OK && found) {
            movaXMLNodeType type = movaXMLNone;
            kv::BString text;
            reader->get_NodeType(&type);
            if (type == movaXMLText) {
                reader->get_Value(text.Put());
                totals.texts += text.View().size();
            }
            if (type != movaXMLStartElement) continue;
            ++totals.elements;
            reader->get_LocalName(text.Put());
            totals.names += text.View().size();
            for (const kv::BString* const name : {&id_, &name_, &code_}) {
                if (reader->GetAttribute(nullptr, name->Get(), text.Put()) == S_OK) totals.values += text.View().size();
            }
        }
        return totals.Sum();
    }

    std::uint64_t ReadByPeer() const { return ReadBySax(document_).Sum(); }

 private:
    std::string document_;
    kv::Ptr<IStream> stream_;
    kv::Ptr<IClassFactory> readers_ = FactoryOf(__uuidof(XMLReader));
    kv::BString id_{u"id"}, name_{u"name"}, code_{u"code"};
};

}  // namespace

void RunXmlReading(const Session& session) {
    constexpr std::size_t count = 200'000;
    constexpr double goal = 1 / 1.3;
    const XmlReading reading(count);
    session.Compare("xml, read 200000 elements (ns an element)", count,
                    {{"XMLReader", [&] { return reading.Read(); }},
                     {"Xerces SAX2XMLReader", [&] { return reading.ReadByPeer(); }, goal}});

    constexpr std::size_t documents = 1'000;
    const XmlReading small(3);
    const SaxLibrary library;
    const auto readAll = [](auto read) {
        std::uint64_t sum = 0;
        for (std::size_t i = 0; i < documents; ++i) sum += read();
        return sum;
    };
    session.Compare("xml, read a document of 3 elements (ns a document)", documents,
                    {{"XMLReader", [&] { return readAll([&] { return small.Read(); }); }},
                     {"Xerces SAX2XMLReader", [&] { return readAll([&] { return small.ReadByPeer(); }); }, goal}});
}

}  // namespace bench
