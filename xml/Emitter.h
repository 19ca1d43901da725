// An XML document, written piece by piece in its order.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "xml/ByteBuffer.h"
#include "xml/NamespaceMap.h"

namespace xml {

struct Attribute {
    std::u16string_view uri, name, value;
};
struct Declaration {
    std::u16string_view prefix, uri;
};

/// Why something was not written.
enum class Refusal : std::uint8_t {
    None,
    Nameless,
    UnknownNamespace,           ///< of an element; nothing was written
    UnknownAttributeNamespace,  ///< the tag is written up to there, and the element is open
    NothingOpen
};

/// Where the bytes of a document go.
class ByteSink {
 public:
    virtual void Write(std::string_view bytes) noexcept = 0;

 protected:
    ~ByteSink() = default;
};

/// Writes XML as UTF-8. Every operation has brought all its bytes to the sink when it returns, a tag at once. What the
/// sink is doing meanwhile must not come back. Texts, names and prefixes are escaped, as kv::PutXmlText says; that they
/// are names is for the caller to see. Whatever throws, throws std::bad_alloc, upon which nothing was written by a tag,
/// and a text perhaps in part.
class Emitter {
 public:
    explicit Emitter(ByteSink& sink) noexcept : sink_(sink) {}

    /// Whether CR, and CR LF, become LF where texts are escaped.
    void SetNormalisesLineEnds(bool normalises) noexcept { normalisesLineEnds_ = normalises; }

    /// Writes a start tag. The element's namespace, and its attributes', are declared in it or around it; an empty one
    /// is none.
    /// @param isEmpty whether the element has nothing in it: it is ended at once.
    [[nodiscard]] Refusal StartElement(std::u16string_view name, std::u16string_view uri,
                                       std::span<const Attribute> attributes, std::span<const Declaration> declarations,
                                       bool isEmpty);
    /// Ends the innermost element.
    [[nodiscard]] Refusal EndElement();

    void Text(std::u16string_view text);
    void CData(std::u16string_view text);
    /// As it stands, the caller answering for it.
    void Raw(std::u16string_view text);
    void Ascii(std::string_view text) noexcept { sink_.Write(text); }
    void Base64(std::span<const std::byte> bytes);

    /// The prefix of a namespace for elements; valid until the next tag.
    std::optional<std::u16string_view> PrefixOf(std::u16string_view uri) const noexcept {
        return namespaces_.PrefixOf(uri, NamespaceMap::For::Element);
    }

 private:
    struct Element {
        std::size_t tagStart;    ///< its name with the prefix, in openTags_
        std::size_t namespaces;  ///< how many were declared before it
    };

    /// Writes a long text piece by piece. @param put char*(char*, std::u16string_view)
    template <class Put>
    void Pieces(std::u16string_view text, Put put);
    void Flush() noexcept;
    void Forget(const Element& element) noexcept;

    ByteSink& sink_;
    ByteBuffer out_;
    ByteBuffer openTags_;
    std::vector<Element> open_;
    NamespaceMap namespaces_;
    bool normalisesLineEnds_ = false;
};

}  // namespace xml
