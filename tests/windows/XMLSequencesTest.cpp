// Random documents of the writer, read by the platform's reader.
#include <xmllite.h>

#include <array>
#include <cstdlib>
#include <random>

#include "tests/XmlSequences.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

/// What a reader sees of the document in a stream; nothing where it refuses it.
using ReadNodes = std::optional<std::u16string> (*)(IStream* stream);

std::u16string_view TextOf(const wchar_t* text, UINT length) {
    return {kv::Narrow16(text), length};
}

// ---- The platform's reader

constexpr IID liteReaderId = {0x7279FC81, 0x709D, 0x4095, {0xB6, 0x3D, 0x69, 0xFE, 0x4B, 0x0D, 0x90, 0x30}};

using Getter = HRESULT (STDMETHODCALLTYPE IXmlReader::*)(LPCWSTR*, UINT*);
std::u16string Get(IXmlReader& reader, Getter getter) {
    LPCWSTR text = nullptr;
    UINT length = 0;
    EXPECT_EQ((reader.*getter)(&text, &length), S_OK);
    return std::u16string(TextOf(text, length));
}

void AddElement(IXmlReader& reader, sequences::Nodes& nodes) {
    const BOOL isEmpty = reader.IsEmptyElement();
    nodes.Start(Get(reader, &IXmlReader::GetNamespaceUri), Get(reader, &IXmlReader::GetLocalName));
    for (HRESULT status = reader.MoveToFirstAttribute(); status == S_OK; status = reader.MoveToNextAttribute()) {
        const std::u16string prefix = Get(reader, &IXmlReader::GetPrefix);
        const std::u16string local = Get(reader, &IXmlReader::GetLocalName);
        const std::u16string value = Get(reader, &IXmlReader::GetValue);
        if (prefix == u"xmlns" || (prefix.empty() && local == u"xmlns")) {
            nodes.Declaration(prefix.empty() ? u"" : std::u16string_view(local), value);
        } else {
            nodes.Attribute(Get(reader, &IXmlReader::GetNamespaceUri), local, value);
        }
    }
    reader.MoveToElement();
    if (isEmpty) nodes.End();
}

std::optional<std::u16string> ReadByPlatform(IStream* stream) {
    static const auto make = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFIID, void**, IMalloc*)>(
        reinterpret_cast<void*>(GetProcAddress(LoadLibraryW(L"xmllite.dll"), "CreateXmlReader")));
    kv::Ptr<IXmlReader> reader;
    EXPECT_EQ(make(liteReaderId, reader.PutVoid(), nullptr), S_OK);
    EXPECT_EQ(reader->SetInput(stream), S_OK);
    sequences::Nodes nodes;
    XmlNodeType type = XmlNodeType_None;
    HRESULT status = S_OK;
    while ((status = reader->Read(&type)) == S_OK) {
        switch (type) {
            case XmlNodeType_Element:
                AddElement(*reader.Get(), nodes);
                break;
            case XmlNodeType_EndElement:
                nodes.End();
                break;
            case XmlNodeType_Text:
            case XmlNodeType_CDATA:
            case XmlNodeType_Whitespace:
                nodes.Text(Get(*reader.Get(), &IXmlReader::GetValue));
                break;
            default:
                break;
        }
    }
    if (status != S_FALSE) return {};
    return nodes.All();
}

// ---- The library's own reader

void AddElement(IXMLReader* reader, sequences::Nodes& nodes) {
    nodes.Start(AnswerOf(reader, &IXMLReader::get_NamespaceURI).View(),
                AnswerOf(reader, &IXMLReader::get_LocalName).View());
    const auto attributes = AnswerOf(reader, &IXMLReader::get_Attributes);
    const auto namespaces = AnswerOf(reader, &IXMLReader::get_Namespaces);
    for (LONG i = 0; i < AnswerOf(attributes, &IXMLAttributes::get_Count); ++i)
        nodes.Attribute(AnswerOf(attributes, &IXMLAttributes::GetNamespaceURI, i).View(),
                        AnswerOf(attributes, &IXMLAttributes::GetLocalName, i).View(),
                        AnswerOf(attributes, &IXMLAttributes::GetValue, i).View());
    for (LONG i = 0; i < AnswerOf(namespaces, &IXMLNamespaces::get_Count); ++i)
        nodes.Declaration(AnswerOf(namespaces, &IXMLNamespaces::GetPrefix, i).View(),
                          AnswerOf(namespaces, &IXMLNamespaces::GetURI, i).View());
}

std::optional<std::u16string> ReadByLibrary(IStream* stream) {
    const auto reader = New<IXMLReader>(u"XMLReader");
    EXPECT_EQ(reader->put_InputStream(stream), S_OK);
    sequences::Nodes nodes;
    VARIANT_BOOL found = VARIANT_TRUE;
    HRESULT status = S_OK;
    while ((status = reader->Read(&found)) == S_OK && found) {
        switch (AnswerOf(reader, &IXMLReader::get_NodeType)) {
            case movaXMLStartElement:
                AddElement(reader.Get(), nodes);
                break;
            case movaXMLEndElement:
                nodes.End();
                break;
            case movaXMLText:
            case movaXMLCData:
                nodes.Text(AnswerOf(reader, &IXMLReader::get_Value).View());
                break;
            default:
                break;
        }
    }
    if (status != S_OK) return {};
    return nodes.All();
}

/// Those that documents are read by.
constexpr struct {
    const char* name;
    ReadNodes read;
    bool followsRedeclarations;  ///< of prefixes; Wine's reader stays with what was declared first
    ULONGLONG mostBytes;         ///< Wine's reader breaks characters at the ends of the pieces that it reads
} readers[] = {{"the platform's", &ReadByPlatform, false, 4096}, {"the library's", &ReadByLibrary, true, UINT64_MAX}};

// ---- The writer

class WriterTarget final : public sequences::Target {
 public:
    WriterTarget() { EXPECT_EQ(writer_->put_OutputStream(stream_.Get()), S_OK); }

    void SetNormalisesLineEnds(bool normalises) override {
        Expect(writer_->put_NormalizeNewLines(normalises ? VARIANT_TRUE : VARIANT_FALSE));
    }
    void Start(std::u16string_view name, std::u16string_view uri, std::span<const xml::Attribute> attributes,
               std::span<const xml::Declaration> declarations, bool isEmpty) override {
        attributes_->RemoveAll();
        namespaces_->RemoveAll();
        for (const xml::Attribute& each : attributes)
            Expect(attributes_->AddAttribute(Bstr(each.uri), Bstr(each.name), Bstr(each.value)));
        for (const xml::Declaration& each : declarations)
            Expect(namespaces_->AddNamespace(Bstr(each.prefix), Bstr(each.uri)));
        Expect(writer_->StartElement(Bstr(name), Bstr(uri), attributes.empty() ? nullptr : attributes_.Get(),
                                     declarations.empty() ? nullptr : namespaces_.Get(),
                                     isEmpty ? VARIANT_TRUE : VARIANT_FALSE));
    }
    void End() override { Expect(writer_->EndElement()); }
    void XmlDeclaration() override { Expect(writer_->WriteXMLDeclaration()); }
    void Text(std::u16string_view text) override { Expect(writer_->WriteText(Bstr(text))); }
    void CData(std::u16string_view text) override { Expect(writer_->WriteCData(Bstr(text))); }
    void Raw(std::u16string_view text) override { Expect(writer_->WriteRawText(Bstr(text))); }
    void NewLine() override { Expect(writer_->WriteNewLine()); }
    void Tab() override { Expect(writer_->WriteTab()); }
    void Base64(std::span<const std::byte> bytes) override {
        const kv::Variant array = Array(VT_UI1, {{static_cast<ULONG>(bytes.size()), 0}});
        std::copy(bytes.begin(), bytes.end(), static_cast<std::byte*>(array.Get().parray->pvData));
        Expect(writer_->WriteBase64(array.Get()));
    }
    void Integer(std::int64_t number) override { Expect(writer_->WriteInt64(number)); }
    void Boolean(bool flag) override { Expect(writer_->WriteBoolean(flag ? VARIANT_TRUE : VARIANT_FALSE)); }
    void ObjectId(std::int32_t number) override { Expect(writer_->WriteObjectID(number)); }

    /// Goes back to an empty stream, and hands out the one that was written.
    kv::Ptr<IStream> TakeDocument() {
        kv::Ptr<IStream> written = std::exchange(stream_, MemoryStream(""));
        EXPECT_EQ(writer_->put_OutputStream(stream_.Get()), S_OK);
        return written;
    }

 private:
    static void Expect(HRESULT status) { EXPECT_EQ(status, S_OK); }

    kv::Ptr<IXMLWriter3> writer_ = New<IXMLWriter3>(u"XMLWriter");
    kv::Ptr<IXMLAttributes> attributes_ = New<IXMLAttributes>(u"XMLAttributes");
    kv::Ptr<IXMLNamespaces> namespaces_ = New<IXMLNamespaces>(u"XMLNamespaces");
    kv::Ptr<IStream> stream_ = MemoryStream("");
};

}  // namespace

// The variable MOVA_XML_SEQUENCES gives another number of documents.
TEST(XMLSequences, ReadersSeeWhatWasMeant) {
    const char* const asked = std::getenv("MOVA_XML_SEQUENCES");
    const unsigned count = asked ? static_cast<unsigned>(std::strtoul(asked, nullptr, 10)) : 3000;
    WriterTarget target;
    for (unsigned number = 0; number < count && !testing::Test::HasFailure(); ++number) {
        std::mt19937 chance(number);
        const auto choose = [&](unsigned below) { return static_cast<unsigned>(chance() % below); };
        const bool redeclares = number % 2 != 0;
        const std::u16string expected = sequences::Sequence(choose, target, redeclares).Write(2 + number % 60);
        const kv::Ptr<IStream> document = target.TakeDocument();
        for (const auto& [name, read, followsRedeclarations, mostBytes] : readers) {
            if ((redeclares && !followsRedeclarations) || SizeOf(document.Get()) > mostBytes) continue;
            EXPECT_EQ(SeekTo(document.Get(), 0), S_OK);
            const auto seen = read(document.Get());
            if (seen == expected) continue;
            EXPECT_EQ(SeekTo(document.Get(), 0), S_OK);
            ADD_FAILURE() << name << " reader, document " << number << ": " << ContentOf(document.Get())
                          << "\nmeant: " << kv::Utf8(expected)
                          << "\nseen:  " << (seen ? kv::Utf8(*seen) : "it is refused");
        }
    }
}

}  // namespace mova::test
