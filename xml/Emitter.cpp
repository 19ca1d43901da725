#include "xml/Emitter.h"

#include <utility>

#include "kvcore/Utf.h"
#include "xml/Base64.h"

namespace xml {
namespace {

/// As many units are made bytes at a time.
constexpr std::size_t pieceUnits = 1024;

/// Takes a piece from the front of a text, so that what is put piece by piece is what the whole would be.
std::u16string_view TakePiece(std::u16string_view& text) noexcept {
    if (text.size() <= pieceUnits) return std::exchange(text, {});
    const char16_t* const begin = text.data();
    const std::size_t length = text.size();
    std::u16string_view piece = kv::TakePiece(text, pieceUnits);
    if (piece.back() != u'\r') return piece;
    piece.remove_suffix(1);  // what becomes of it is up to the next
    text = {begin + piece.size(), length - piece.size()};
    return piece;
}

/// Puts a start tag together. Whatever throws, throws std::bad_alloc.
class StartTag {
 public:
    StartTag(ByteBuffer& out, bool normalisesLineEnds) : out_(out), normalisesLineEnds_(normalisesLineEnds) {}

    /// @return the name with its prefix, as it is written, until more is added
    std::string_view Begin(std::u16string_view prefix, std::u16string_view name) {
        out_.Put("<");
        const std::size_t start = out_.Size();
        AddName(prefix, name);
        return out_.From(start);
    }
    void BeginAttribute() { out_.Put(" "); }
    void AddAttribute(std::u16string_view prefix, const Attribute& attribute) {
        AddName(prefix, attribute.name);
        AddValue(attribute.value);
    }
    void AddDeclaration(const Declaration& declaration) {
        out_.Put(" xmlns");
        if (!declaration.prefix.empty()) out_.Put(":");
        AddEscaped(declaration.prefix);
        AddValue(declaration.uri);
    }
    void End(bool isEmpty) { out_.Put(isEmpty ? "/>" : ">"); }
    /// Says that what was added is all.
    void Finish() noexcept { out_.Finish(); }

 private:
    void AddName(std::u16string_view prefix, std::u16string_view name) {
        if (!prefix.empty()) {
            AddEscaped(prefix);
            out_.Put(":");
        }
        AddEscaped(name);
    }
    void AddValue(std::u16string_view value) {
        out_.Put("='");
        AddEscaped(value);
        out_.Put("'");
    }
    void AddEscaped(std::u16string_view text) {
        while (text.size() > pieceUnits) AddPiece(TakePiece(text));
        AddPiece(text);
    }
    void AddPiece(std::u16string_view piece) {
        out_.Fill(kv::escapedUnitSize * piece.size(),
                  [&](char* room) { return kv::PutXmlText(room, piece, normalisesLineEnds_); });
    }

    Appender out_;
    const bool normalisesLineEnds_;
};

}  // namespace

Refusal Emitter::StartElement(std::u16string_view name, std::u16string_view uri, std::span<const Attribute> attributes,
                              std::span<const Declaration> declarations, bool isEmpty) {
    if (name.empty()) return Refusal::Nameless;
    const Element element{openTags_.Size(), namespaces_.Count()};
    try {
        for (const Declaration& declaration : declarations) namespaces_.Declare(declaration.prefix, declaration.uri);
        const auto prefixOf = [this](std::u16string_view named, NamespaceMap::For what) {
            return named.empty() ? std::optional(named) : namespaces_.PrefixOf(named, what);
        };
        const auto prefix = prefixOf(uri, NamespaceMap::For::Element);
        if (!prefix) {
            Forget(element);
            return Refusal::UnknownNamespace;
        }
        if (open_.size() == open_.capacity()) open_.reserve(open_.size() * 2 + 16);
        StartTag tag(out_, normalisesLineEnds_);
        openTags_.Append(tag.Begin(*prefix, name));
        Refusal refusal = Refusal::None;
        for (const Attribute& attribute : attributes) {
            tag.BeginAttribute();
            const auto attributePrefix = prefixOf(attribute.uri, NamespaceMap::For::Attribute);
            if (!attributePrefix) {
                refusal = Refusal::UnknownAttributeNamespace;
                break;
            }
            tag.AddAttribute(*attributePrefix, attribute);
        }
        if (refusal == Refusal::None) {
            for (const Declaration& declaration : declarations) tag.AddDeclaration(declaration);
            tag.End(isEmpty);
        }
        tag.Finish();
        if (refusal == Refusal::None && isEmpty) {
            Forget(element);
        } else {
            open_.push_back(element);
        }
        Flush();
        return refusal;
    } catch (...) {
        out_.Clear();
        Forget(element);
        throw;
    }
}

Refusal Emitter::EndElement() {
    if (open_.empty()) return Refusal::NothingOpen;
    const Element element = open_.back();
    const std::string_view tag = openTags_.View().substr(element.tagStart);
    char* out = out_.Room(tag.size() + 3);
    *out++ = '<';
    *out++ = '/';
    std::memcpy(out, tag.data(), tag.size());
    out += tag.size();
    *out++ = '>';
    out_.AppendUpTo(out);
    open_.pop_back();
    Forget(element);
    Flush();
    return Refusal::None;
}

template <class Put>
void Emitter::Pieces(std::u16string_view text, Put put) {
    while (!text.empty()) {
        const std::u16string_view piece = TakePiece(text);
        out_.AppendUpTo(put(out_.Room(kv::escapedUnitSize * piece.size()), piece));
        Flush();
    }
}

void Emitter::Text(std::u16string_view text) {
    Pieces(text,
           [this](char* out, std::u16string_view piece) { return kv::PutXmlText(out, piece, normalisesLineEnds_); });
}

void Emitter::CData(std::u16string_view text) {
    Ascii("<![CDATA[");
    Pieces(text, kv::PutUtf8);
    Ascii("]]>");
}

void Emitter::Raw(std::u16string_view text) {
    Pieces(text, kv::PutUtf8);
}

void Emitter::Base64(std::span<const std::byte> bytes) {
    constexpr std::size_t pieceBytes = 3 * 1024;
    while (!bytes.empty()) {
        const auto piece = bytes.first(std::min(bytes.size(), pieceBytes));
        bytes = bytes.subspan(piece.size());
        out_.AppendUpTo(PutBase64(out_.Room(Base64Size(piece.size())), piece));
        Flush();
    }
}

void Emitter::Flush() noexcept {
    if (out_.Size() != 0) sink_.Write(out_.View());
    out_.Clear();
}

/// Leaves an element, or never enters it.
void Emitter::Forget(const Element& element) noexcept {
    openTags_.CutTo(element.tagStart);
    namespaces_.CutTo(element.namespaces);
}

}  // namespace xml
