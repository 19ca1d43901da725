// The XML writer beside the platform's, both writing to one of our streams in memory.
#include <movaSystem.h>
#include <xmllite.h>

#include "bench/Components.h"
#include "bench/Jobs.h"
#include "bench/XmlData.h"
#include "kvcore/BString.h"
#include "kvcore/Utf.h"

namespace bench {
namespace {

/// An item as the writers are given it.
struct WideItem {
    explicit WideItem(const XmlItem& item)
        : id(kv::Utf16(item.id)), name(kv::Utf16(item.name)), code(kv::Utf16(item.code)), text(kv::Utf16(item.text)) {}
    kv::BString id, name, code, text;
};

/// The bytes of a stream in memory.
std::string ContentOf(IMemoryBlobStream& memory) {
    const kv::Ptr<IStream> stream = kv::Ptr<IMemoryBlobStream>(&memory).As<IStream>();
    STATSTG stat{};
    Require(SUCCEEDED(stream->Stat(&stat, STATFLAG_NONAME)), "A stream has no size.");
    std::string content(stat.cbSize.QuadPart, '?');
    ULONG read = 0;
    Require(SUCCEEDED(stream->Seek({}, STREAM_SEEK_SET, nullptr)) &&
                SUCCEEDED(stream->Read(content.data(), static_cast<ULONG>(content.size()), &read)) &&
                read == content.size(),
            "A stream is not read.");
    return content;
}

class XmlWriting {
 public:
    explicit XmlWriting(std::size_t count)
        : items_(MakeXmlItems(count)), wide_(items_.begin(), items_.end()), expected_(XmlDocumentOf(items_)) {
        const HMODULE lite = LoadLibraryW(L"xmllite.dll");
        Require(lite != nullptr, "The platform's XML writer is not there.");
        makePeer_ = EntryPoint<decltype(makePeer_)>(L"xmllite.dll", "CreateXmlWriter");
    }

    std::uint64_t Write() const {
        const auto memory = Make<IMemoryBlobStream>(streams_);
        const auto writer = Make<IXMLWriter3>(writers_);
        const auto attributes = Make<IXMLAttributes>(collections_);
        writer->put_OutputStream(memory.As<IStream>().Get());
        const kv::BString id(u"id");
        const kv::BString name(u"name");
        const kv::BString code(u"code");
        const kv::BString item(u"item");
        bool isRight =
            writer->StartElement(kv::BString(u"root").Get(), nullptr, nullptr, nullptr, VARIANT_FALSE) == S_OK;
        for (const WideItem& each : wide_) {
            attributes->RemoveAll();
            attributes->AddAttribute(nullptr, id.Get(), each.id.Get());
            attributes->AddAttribute(nullptr, name.Get(), each.name.Get());
            attributes->AddAttribute(nullptr, code.Get(), each.code.Get());
            isRight &= writer->StartElement(item.Get(), nullptr, attributes.Get(), nullptr, VARIANT_FALSE) == S_OK;
            isRight &= writer->WriteText(each.text.Get()) == S_OK;
            isRight &= writer->EndElement() == S_OK;
        }
        Require(isRight && writer->EndElement() == S_OK, "A document is not written.");
        if (!std::exchange(isCompared_, true))
            Require(ContentOf(*memory.Get()) == expected_, "A document is not written right.");
        return items_.size();
    }

    std::uint64_t WriteByPeer() const {
        const auto memory = Make<IMemoryBlobStream>(streams_);
        kv::Ptr<IXmlWriter> writer;
        Require(SUCCEEDED(makePeer_(peerId, writer.PutVoid(), nullptr)), "The platform makes no writer.");
        writer->SetOutput(memory.As<IStream>().Get());
        writer->WriteStartDocument(XmlStandalone_Omit);
        writer->WriteStartElement(nullptr, L"root", nullptr);
        for (const WideItem& each : wide_) {
            writer->WriteStartElement(nullptr, L"item", nullptr);
            writer->WriteAttributeString(nullptr, L"id", nullptr, each.id.Get());
            writer->WriteAttributeString(nullptr, L"name", nullptr, each.name.Get());
            writer->WriteAttributeString(nullptr, L"code", nullptr, each.code.Get());
            writer->WriteString(each.text.Get());
            writer->WriteEndElement();
        }
        Require(SUCCEEDED(writer->WriteEndDocument()) && SUCCEEDED(writer->Flush()), "The peer writes no document.");
        return items_.size();
    }

 private:
    static constexpr GUID peerId = {0x7279FC88, 0x709D, 0x4095, {0xB6, 0x3D, 0x69, 0xFE, 0x4B, 0x0D, 0x90, 0x30}};

    std::vector<XmlItem> items_;
    std::vector<WideItem> wide_;
    std::string expected_;
    kv::Ptr<IClassFactory> streams_ = FactoryOf(__uuidof(MemoryBlobStream));
    kv::Ptr<IClassFactory> writers_ = FactoryOf(__uuidof(XMLWriter));
    kv::Ptr<IClassFactory> collections_ = FactoryOf(__uuidof(XMLAttributes));
    HRESULT(STDAPICALLTYPE* makePeer_)(REFIID, void**, IMalloc*) = nullptr;
    mutable bool isCompared_ = false;
};

}  // namespace

void RunXml(const Session& session) {
    constexpr double goal = 8;
    for (const std::size_t count : {std::size_t{2'000}, std::size_t{200'000}}) {
        const XmlWriting writing(count);
        session.Compare("xml, write " + std::to_string(count) + " elements (ns an element)", static_cast<double>(count),
                        {{"XMLWriter", [&] { return writing.Write(); }},
                         {"xmllite IXmlWriter", [&] { return writing.WriteByPeer(); }, goal}});
    }
    RunXmlReading(session);
    RunXmlGraphs(session);
}

}  // namespace bench
