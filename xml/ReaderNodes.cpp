#include "xml/ReaderNodes.h"

#include <vector>

#include "kvcore/BString.h"
#include "kvcore/Ptr.h"
#include "xml/ParserNodes.h"
#include "xml/ReadsNodes.h"

namespace mova {
namespace {

class OwnNodes final : public ReaderNodes, private xml::ParserNodes {
 public:
    OwnNodes(IXMLReader& reader, xml::PullParser& parser) noexcept : ReaderNodes(reader), ParserNodes(parser) {}

    NodeSource& Nodes() noexcept override { return *this; }

 private:
    // The reader moves its parser, and tells what is wrong with the document.
    bool Next() override { return Move(); }
};

class ForeignNodes final : public ReaderNodes, private xml::NodeSource {
 public:
    explicit ForeignNodes(IXMLReader& reader) : ReaderNodes(reader) { Arrive(); }

    NodeSource& Nodes() noexcept override { return *this; }

 private:
    bool Next() override {
        if (!Move()) return false;
        Arrive();
        return SUCCEEDED(Status());
    }
    xml::NodeType Type() override { return type_; }
    std::u16string_view Name() override { return Asked(&IXMLReader::get_LocalName); }
    std::u16string_view Text() override { return Asked(&IXMLReader::get_Value); }
    std::span<const xml::Attribute> Attributes() override {
        kv::Ptr<IXMLAttributes> read;
        LONG count = 0;
        Note(Reader().get_Attributes(read.Put()));
        if (read) Note(read->get_Count(&count));
        for (LONG i = 0; i < count; ++i) {
            kv::BString texts[3];
            Note(read->GetNamespaceURI(i, texts[0].Put()));
            Note(read->GetLocalName(i, texts[1].Put()));
            Note(read->GetValue(i, texts[2].Put()));
            attributes_.push_back({Kept(texts[0]), Kept(texts[1]), Kept(texts[2])});
        }
        return attributes_;
    }
    std::optional<std::u16string_view> UriOf(std::u16string_view prefix) override {
        kv::BString uri;
        const HRESULT status = Reader().LookupNamespaceURI(kv::BString(prefix).Get(), uri.Put());
        Note(status);
        if (status != S_OK) return {};
        return Kept(uri);
    }

    /// The reader stands on another node.
    void Arrive() {
        texts_.clear();
        attributes_.clear();
        movaXMLNodeType type = movaXMLNone;
        Note(Reader().get_NodeType(&type));
        type_ = static_cast<xml::NodeType>(type);
    }
    /// Keeps a text up to the next node.
    std::u16string_view Kept(kv::BString& text) {
        texts_.push_back(std::move(text));
        return texts_.back().View();
    }
    std::u16string_view Asked(HRESULT (STDMETHODCALLTYPE IXMLReader::*ask)(BSTR*)) {
        kv::BString text;
        Note((Reader().*ask)(text.Put()));
        return Kept(text);
    }

    xml::NodeType type_ = xml::NodeType::none;
    std::vector<kv::BString> texts_;
    std::vector<xml::Attribute> attributes_;
};

}  // namespace

std::unique_ptr<ReaderNodes> ReaderNodes::Over(IXMLReader& reader) {
    if (const auto own = kv::Ptr<IXMLReader>(&reader).As<IReadsNodes>())
        if (xml::PullParser* const parser = own->Parser()) return std::make_unique<OwnNodes>(reader, *parser);
    return std::make_unique<ForeignNodes>(reader);
}

bool ReaderNodes::Move() noexcept {
    VARIANT_BOOL found = VARIANT_FALSE;
    if (FAILED(status_)) return false;
    status_ = reader_.Read(&found);
    return SUCCEEDED(status_) && found;
}

}  // namespace mova
