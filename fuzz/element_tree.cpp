// Documents of objects: what was taken in and is written again comes in as the same elements.
#include <algorithm>
#include <cstring>
#include <string>

#include "fuzz/Input.h"
#include "kvcore/Utf.h"
#include "xml/Base64.h"
#include "xml/DocumentSink.h"
#include "xml/ParserNodes.h"

namespace {

using xml::ElementTree;

/// A document in memory.
struct Memory final : xml::ByteSource, xml::ByteSink {
    explicit Memory(std::string_view content = {}) : bytes(content) {}
    std::size_t Read(std::span<std::byte> target) override {
        const std::size_t count = std::min(target.size(), bytes.size() - position);
        std::memcpy(target.data(), bytes.data() + position, count);
        position += count;
        return count;
    }
    void Write(std::string_view piece) noexcept override { bytes.append(piece); }

    std::string bytes;
    std::size_t position = 0;
};

bool TakeIn(Memory& document, ElementTree& tree) {
    xml::PullParser parser(document);
    xml::ParserNodes nodes(parser);
    while (parser.Next())
        if (parser.Type() == xml::NodeType::startElement) return tree.Read(nodes) && !tree.FindIds();
    return false;
}

/// Makes of a tree that was read one that can be written; what has no form in a document is left out.
void MakeWritable(ElementTree& tree) {
    for (ElementTree::Index i = 0; i < tree.Count(); ++i) {
        ElementTree::Element& element = tree[i];
        if (element.typeUri.empty() || !xml::CanBeAttribute(element.typeName) || !xml::CanBeAttribute(element.typeUri))
            element.typeName = element.typeUri = {};
        if (element.hasKey && !xml::CanBeAttribute(element.key)) {
            const auto bytes = std::as_bytes(std::span(element.key));
            char16_t* const text = tree.Take(xml::Base64Size(bytes.size()));
            element.key = {text, xml::PutBase64(text, bytes)};
            element.isKeyEncoded = true;
        }
        // A reference is written behind what it refers to.
        const ElementTree::Index target = element.isReference ? tree.WithId(element.id) : ElementTree::none;
        if (target >= i) continue;
        element.target = target;
        tree[target].isReferredTo = true;
    }
}

std::string Shown(ElementTree& tree, ElementTree& source) {
    std::string shown;
    const auto add = [&](std::u16string_view text) { kv::AppendQuoted(shown, text); };
    for (ElementTree::Index i = 0; i < tree.Count(); ++i) {
        const ElementTree::Element& element = tree[i];
        const ElementTree::Element& written = source[i];
        add(element.name);
        add(element.text);
        if (!written.typeName.empty()) add(element.typeName), add(element.typeUri);
        if (element.hasKey) add(element.key);
        shown += std::to_string(element.end) + (element.isNil ? "nil" : "");
        if (written.target != ElementTree::none) shown += "->" + std::to_string(tree.WithId(element.id));
        shown += '\n';
    }
    return shown;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Memory document(fuzz::Text(data, size));
    ElementTree tree;
    if (!TakeIn(document, tree)) return 0;
    ElementTree written;
    Memory copy;
    {
        ElementTree writable;
        document.position = 0;
        fuzz::Require(TakeIn(document, writable), "a document that was taken in is taken in again");
        MakeWritable(writable);
        xml::DocumentSink out(copy);
        fuzz::Require(xml::WriteTree(writable, {{}, u"urn:mova:schemas:10.0", size % 2 == 0}, out),
                      "a tree is written");
        fuzz::Require(TakeIn(copy, written), "what was written is taken in");
        fuzz::Require(written.Count() == tree.Count(), "there are as many elements");
        fuzz::Require(Shown(tree, writable) == Shown(written, writable), "the elements are the same");
    }
    return 0;
}
