#pragma once

#include "xml/TreeWriter.h"

namespace xml {

/// A document of its own, brought to a sink of bytes.
class DocumentSink final : public ElementSink {
 public:
    explicit DocumentSink(ByteSink& bytes) noexcept : emitter_(bytes) {}

    bool StartElement(std::u16string_view name, std::u16string_view uri, std::span<const Attribute> attributes,
                      std::span<const Declaration> declarations, bool isEmpty) override {
        return emitter_.StartElement(name, uri, attributes, declarations, isEmpty) == Refusal::None;
    }
    bool EndElement() override { return emitter_.EndElement() == Refusal::None; }
    bool Text(std::u16string_view text) override {
        emitter_.Text(text);
        return true;
    }
    bool Raw(std::u16string_view text) override {
        emitter_.Raw(text);
        return true;
    }
    bool BeginLine(std::size_t tabs) override {
        emitter_.Ascii("\r\n");
        for (std::size_t i = 0; i < tabs; ++i) emitter_.Ascii("\t");
        return true;
    }
    std::optional<std::u16string_view> PrefixOf(std::u16string_view uri) override { return emitter_.PrefixOf(uri); }

 private:
    Emitter emitter_;
};

}  // namespace xml
