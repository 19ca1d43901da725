// XML documents node by node, by the SAX parser of Xerces-C.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "xml/Emitter.h"

namespace xml {

/// Where the bytes of a document come from.
struct ByteSource {
    virtual ~ByteSource() = default;
    /// Fills a buffer as far as it can. @return how many bytes came; 0 at the end. @throw whatever ends the parsing
    virtual std::size_t Read(std::span<std::byte> target) = 0;
};

/// Lets go of what all parsers share. There must be none any more.
void CloseParserLibrary() noexcept;

enum class NodeType { none, startElement, endElement, text, cdata, comment, processingInstruction };

/// Why a document could not be read on.
struct ParseFault {
    std::u16string reason;
    std::uint64_t line = 0, column = 0;  ///< from 1
};

/// Reads a document node by node, in memory that does not grow with it. Names are resolved to namespaces; nothing but
/// the source is opened; entities inside the document expand within bounds.
class PullParser {
 public:
    /// A longer text comes as several nodes.
    static constexpr std::size_t maxText = 1024 * 1024;

    /// @param source must outlive this. @param encoding the document's, whatever it declares; empty to believe it
    explicit PullParser(ByteSource& source, std::u16string_view encoding = {});
    ~PullParser();

    /// Moves to the next node. @return false behind the last one, and where the document has a fault.
    /// @throw std::bad_alloc; what the source throws. Nothing more can be read then.
    bool Next();
    /// The fault that ended the reading, or null.
    const ParseFault* Fault() const noexcept;

    // Of the node. Texts are good until the next call of Next.
    NodeType Type() const noexcept;
    std::u16string_view Name() const noexcept;    ///< of an element without its prefix, or an instruction's target
    std::u16string_view Prefix() const noexcept;  ///< of an element
    std::u16string_view Uri() const noexcept;     ///< of an element
    std::u16string_view Text() const noexcept;
    std::span<const Attribute> Attributes() const noexcept;      ///< of a start tag, but for its declarations
    std::span<const Declaration> Declarations() const noexcept;  ///< of a start tag
    std::size_t Depth() const noexcept;                          ///< how many elements are open around the node
    std::uint64_t Line() const noexcept, Column() const noexcept;
    /// The namespace that a prefix stands for at the node.
    std::optional<std::u16string_view> UriOf(std::u16string_view prefix) const noexcept;

 private:
    class Document;
    std::unique_ptr<Document> document_;
};

}  // namespace xml
