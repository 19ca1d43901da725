#include "xml/ElementTree.h"

#include <algorithm>
#include <new>

#include "xml/Base64.h"
#include "xml/SchemaRelease.h"
#include "xml/XmlValues.h"

namespace xml {
namespace {

/// The text that base64 of its units stands for; nothing where it stands for none.
std::optional<std::u16string_view> Decoded(ElementTree& tree, std::u16string_view base64) {
    const std::size_t room = BytesOfBase64(base64) / sizeof(char16_t) + 1;
    char16_t* const text = tree.Take(room);
    const auto bytes = std::as_writable_bytes(std::span(text, room));
    const auto size = ReadBase64(bytes.data(), base64);
    if (!size || *size % sizeof(char16_t) != 0) return {};
    return std::u16string_view(text, *size / sizeof(char16_t));
}

}  // namespace

ElementTree::Index ElementTree::Start(std::u16string_view name) {
    if (elements_.Count() >= none) throw std::bad_alloc();
    const Index index = Count();
    open_.push_back(index);
    try {
        elements_.Add().name = name;
    } catch (...) {
        open_.pop_back();
        throw;
    }
    return index;
}

void ElementTree::End() noexcept {
    elements_[open_.back()].end = Count();
    open_.pop_back();
}

char16_t* ElementTree::Take(std::size_t length) {
    return static_cast<char16_t*>(texts_->Take(length * sizeof(char16_t)));
}

std::u16string_view ElementTree::Keep(std::u16string_view text) {
    if (text.empty()) return {};
    char16_t* const kept = Take(text.size());
    std::copy(text.begin(), text.end(), kept);
    return {kept, text.size()};
}

std::u16string_view ElementTree::KeepOnce(std::u16string_view text) {
    if (text.empty()) return {};
    auto& recent = recentNames_[(text.size() + 3 * text.front() + 7 * text.back()) % recentNames_.size()];
    if (recent == text) return recent;
    const auto known = names_.find(text);
    return recent = known != names_.end() ? *known : *names_.insert(Keep(text)).first;
}

std::optional<std::u16string_view> ElementTree::FindIds() {
    for (Index i = 0; i < Count(); ++i) {
        const Element& element = elements_[i];
        if (!element.id.empty() && !element.isReference && !ids_.emplace(element.id, i).second) return element.id;
    }
    return {};
}

ElementTree::Index ElementTree::WithId(std::u16string_view id) const noexcept {
    const auto found = ids_.find(id);
    return found != ids_.end() ? found->second : none;
}

bool ElementTree::Read(NodeSource& source) {
    std::u16string text;       // of the innermost element
    bool hasElements = false;  // the innermost element
    const std::size_t around = open_.size();
    ReadTag(source);
    while (source.Next()) {
        switch (source.Type()) {
            case NodeType::startElement:
                ReadTag(source);
                text.clear();
                hasElements = false;
                break;
            case NodeType::endElement:
                if (!hasElements) elements_[open_.back()].text = Keep(text);
                text.clear();
                hasElements = true;
                End();
                if (open_.size() == around) return true;
                break;
            case NodeType::text:
            case NodeType::cdata:
                if (!hasElements) text += source.Text();
                break;
            default:
                break;
        }
    }
    return false;
}

void ElementTree::ReadTag(NodeSource& source) {
    Element& element = elements_[Start(KeepOnce(source.Name()))];
    for (const Attribute& read : source.Attributes()) {
        if (read.uri == instanceUri) {
            if (read.name == attribute::type) ReadType(source, WithoutBlanks(read.value), element);
            if (read.name == attribute::nil) element.isNil = ReadBoolean(read.value).value_or(false);
        } else if (!read.uri.empty()) {
            continue;
        } else if (read.name == attribute::key) {
            element.key = Keep(read.value);
            element.hasKey = true;
        } else if (read.name == attribute::encodedKey) {
            const auto key = Decoded(*this, read.value);
            element.hasKey = true;
            element.isKeyEncoded = !key;
            element.key = key ? *key : Keep(read.value);
        } else if (read.name == attribute::id && !element.isReference) {
            element.id = Keep(WithoutBlanks(read.value));
        } else if (read.name == attribute::href) {
            const auto target = WithoutBlanks(read.value);
            element.id = Keep(target.substr(target.starts_with(u'#') ? 1 : 0));
            element.isReference = true;
        }
    }
}

void ElementTree::ReadType(NodeSource& source, std::u16string_view text, Element& element) {
    const std::size_t colon = text.find(u':');
    const bool hasPrefix = colon != std::u16string_view::npos;
    const auto uri = source.UriOf(hasPrefix ? text.substr(0, colon) : std::u16string_view());
    // A prefix that stands for nothing makes a name that no type has.
    element.typeName = KeepOnce(hasPrefix && uri ? text.substr(colon + 1) : text);
    element.typeUri = KeepOnce(uri.value_or(std::u16string_view()));
}

}  // namespace xml
