#pragma once

#include "xml/ElementTree.h"

namespace xml {

/// The nodes of a parser.
class ParserNodes : public NodeSource {
 public:
    explicit ParserNodes(PullParser& parser) noexcept : parser_(parser) {}

    bool Next() override { return parser_.Next(); }
    NodeType Type() final { return parser_.Type(); }
    std::u16string_view Name() final { return parser_.Name(); }
    std::u16string_view Text() final { return parser_.Text(); }
    std::span<const Attribute> Attributes() final { return parser_.Attributes(); }
    std::optional<std::u16string_view> UriOf(std::u16string_view prefix) final { return parser_.UriOf(prefix); }

 private:
    PullParser& parser_;
};

}  // namespace xml
