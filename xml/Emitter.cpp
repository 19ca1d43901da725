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

}  // namespace

Refusal Emitter::StartElement(std::u16string_view name, std::u16string_view uri, std::span<const Attribute> attributes,
                              std::span<const Declaration> declarations, bool isEmpty) {
    if (name.empty()) return Refusal::Nameless;
    const Element element{openTags_.Size(), namespaces_.Count()};
    try {
        for (const Declaration& declaration : declarations) namespaces_.Declare(declaration.prefix, declaration.uri);
        std::u16string_view prefix;
        if (!uri.empty()) {
            const auto found = namespaces_.PrefixOf(uri, NamespaceMap::For::Element);
            if (!found) {
                Forget(element);
                return Refusal::UnknownNamespace;
            }
            prefix = *found;
        }
        if (open_.size() == open_.capacity()) open_.reserve(open_.size() * 2 + 16);
        AddTag(prefix, name);
        Refusal refusal = Refusal::None;
        for (const Attribute& attribute : attributes) {
            if (AddAttribute(attribute)) continue;
            refusal = Refusal::UnknownAttributeNamespace;
            break;
        }
        if (refusal == Refusal::None) {
            for (const Declaration& declaration : declarations) AddDeclaration(declaration);
            out_.Append(isEmpty ? "/>" : ">");
        }
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

/// Writes how a start tag begins, and keeps it for the end tag.
void Emitter::AddTag(std::u16string_view prefix, std::u16string_view name) {
    out_.Append("<");
    const std::size_t start = out_.Size();
    AddEscaped(prefix);
    if (!prefix.empty()) out_.Append(":");
    AddEscaped(name);
    openTags_.Append(out_.View().substr(start));
}

bool Emitter::AddAttribute(const Attribute& attribute) {
    out_.Append(" ");
    if (!attribute.uri.empty()) {
        const auto prefix = namespaces_.PrefixOf(attribute.uri, NamespaceMap::For::Attribute);
        if (!prefix) return false;
        AddEscaped(*prefix);
        out_.Append(":");
    }
    AddEscaped(attribute.name);
    out_.Append("='");
    AddEscaped(attribute.value);
    out_.Append("'");
    return true;
}

void Emitter::AddDeclaration(const Declaration& declaration) {
    out_.Append(" xmlns");
    if (!declaration.prefix.empty()) out_.Append(":");
    AddEscaped(declaration.prefix);
    out_.Append("='");
    AddEscaped(declaration.uri);
    out_.Append("'");
}

void Emitter::AddEscaped(std::u16string_view text) {
    while (!text.empty()) {
        const std::u16string_view piece = TakePiece(text);
        out_.AppendUpTo(kv::PutXmlText(out_.Room(kv::escapedUnitSize * piece.size()), piece, normalisesLineEnds_));
    }
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
