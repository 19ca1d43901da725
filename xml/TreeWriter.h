// Elements as the text of a document.
#pragma once

#include "xml/ElementTree.h"
#include "xml/Emitter.h"

namespace xml {

/// What elements are written to. Each operation answers false where the writing is to end.
class ElementSink {
 public:
    virtual bool StartElement(std::u16string_view name, std::u16string_view uri, std::span<const Attribute> attributes,
                              std::span<const Declaration> declarations, bool isEmpty) = 0;
    virtual bool EndElement() = 0;
    virtual bool Text(std::u16string_view text) = 0;
    virtual bool Raw(std::u16string_view text) = 0;
    /// Begins a line with so many tabs.
    virtual bool BeginLine(std::size_t tabs) = 0;
    /// The prefix that a namespace has where the next element begins, valid until then.
    virtual std::optional<std::u16string_view> PrefixOf(std::u16string_view uri) = 0;

 protected:
    ~ElementSink() = default;
};

struct TreeForm {
    std::u16string_view uri;         ///< the namespace of the outermost element; empty for none
    std::u16string_view releaseUri;  ///< the namespace of the schema's release, which gets a short prefix
    bool isFormatted = false;        ///< each element on a line of its own
};

/// Writes a tree's elements. Those that others refer to are given identifiers in their order. Texts and keys have
/// nothing in them that XML has no form for. @return false where the sink has ended it. @throw std::bad_alloc
bool WriteTree(ElementTree& tree, const TreeForm& form, ElementSink& out);

/// Whether a text comes back from between tags as it was; carriage returns do, as WriteTree writes them.
bool CanBeText(std::u16string_view text) noexcept;
/// The same for a text in an attribute.
bool CanBeAttribute(std::u16string_view text) noexcept;

}  // namespace xml
