#include "xml/TreeWriter.h"

#include <algorithm>
#include <array>
#include <string>

#include "xml/SchemaRelease.h"

namespace xml {
namespace {

/// A namespace that elements need, and the prefix that it has in all of them.
struct Scope {
    std::u16string_view uri, ownPrefix;
    bool isForAttributes = false;  ///< which without a prefix are in no namespace
    std::u16string prefix = {};
    bool isBound = false;
};

class Writer {
 public:
    Writer(ElementTree& tree, const TreeForm& form, ElementSink& out)
        : tree_(tree),
          form_(form),
          out_(out),
          scopes_{{{instanceUri, u"xsi", true}, {schemaUri, u"xs"}, {form.releaseUri, u"mova"}, {form.uri, u"e"}}} {}

    bool Write() {
        Bind();
        for (ElementTree::Index i = 0; i < tree_.Count(); ++i) {
            if (!CloseUpTo(i) || !WriteElement(i)) return false;
            declarations_.clear();
        }
        return CloseUpTo(ElementTree::none);
    }

 private:
    /// Finds the prefixes of the namespaces, and declares those of which there is none: such as hide none that is
    /// found.
    void Bind() {
        for (Scope& scope : scopes_) {
            const auto prefix = out_.PrefixOf(scope.uri);
            scope.isBound = scope.uri.empty() || (prefix && !(scope.isForAttributes && prefix->empty()));
            if (scope.isBound) scope.prefix = prefix.value_or(std::u16string_view());
        }
        for (Scope& scope : scopes_) {
            if (scope.isBound || FindScope(scope.uri) != &scope) continue;
            scope.prefix = FreePrefix(scope.ownPrefix);
            scope.isBound = true;
            declarations_.push_back({scope.prefix, scope.uri});
        }
        addedTypePrefix_ = FreePrefix(u"t");
    }
    const Scope* FindScope(std::u16string_view uri) const noexcept {
        return std::find_if(scopes_.begin(), scopes_.end(), [&](const Scope& scope) { return scope.uri == uri; });
    }
    std::u16string FreePrefix(std::u16string_view wanted) const {
        std::u16string prefix(wanted);
        const auto isTaken = [&](const Scope& scope) { return scope.isBound && scope.prefix == prefix; };
        for (char16_t digit = u'1'; std::any_of(scopes_.begin(), scopes_.end(), isTaken); ++digit)
            prefix.assign(wanted).push_back(digit);
        return prefix;
    }

    /// Ends the open elements that an element is not in.
    bool CloseUpTo(ElementTree::Index next) {
        for (; !open_.empty() && (next == ElementTree::none || tree_[open_.back()].end <= next); open_.pop_back()) {
            if (form_.isFormatted && !out_.BeginLine(open_.size() - 1)) return false;
            if (!out_.EndElement()) return false;
        }
        return true;
    }

    bool WriteElement(ElementTree::Index index) {
        if (form_.isFormatted && index != 0 && !out_.BeginLine(open_.size())) return false;
        CollectAttributes(index);
        const ElementTree::Element& element = tree_[index];
        const bool isLeaf = element.end == index + 1;
        const bool isEmpty = isLeaf && element.text.empty();
        const auto uri = index == 0 ? form_.uri : std::u16string_view();
        if (!out_.StartElement(element.name, uri, attributes_, declarations_, isEmpty)) return false;
        if (isEmpty) return true;
        if (isLeaf) return WriteText(element.text) && out_.EndElement();
        open_.push_back(index);
        return true;
    }

    void CollectAttributes(ElementTree::Index index) {
        attributes_.clear();
        ElementTree::Element& element = tree_[index];
        if (element.hasKey)
            attributes_.push_back({{}, element.isKeyEncoded ? attribute::encodedKey : attribute::key, element.key});
        if (!element.typeName.empty()) attributes_.push_back({instanceUri, attribute::type, TypeText(element)});
        if (element.isNil) attributes_.push_back({instanceUri, attribute::nil, u"true"});
        if (element.isReferredTo) {
            const std::string number = std::to_string(++idCount_);
            element.id = tree_.Keep(u"ID" + std::u16string(number.begin(), number.end()));
            attributes_.push_back({{}, attribute::id, element.id});
        }
        if (element.target != ElementTree::none) {
            reference_.assign(1, u'#').append(tree_[element.target].id);
            attributes_.push_back({{}, attribute::href, reference_});
        }
    }

    std::u16string_view TypeText(const ElementTree::Element& element) {
        if (element.typeUri.empty()) return element.typeName;
        const Scope* const known = FindScope(element.typeUri);
        const bool isAdded = known == scopes_.end();
        if (isAdded) declarations_.push_back({addedTypePrefix_, element.typeUri});
        type_ = isAdded ? addedTypePrefix_ : known->prefix;
        if (!type_.empty()) type_ += u':';
        return type_ += element.typeName;
    }

    /// A carriage return would come back as a line feed.
    bool WriteText(std::u16string_view text) {
        for (;;) {
            const std::size_t length = std::min(text.find(u'\r'), text.size());
            if (length != 0 && !out_.Text(text.substr(0, length))) return false;
            if (length == text.size()) return true;
            if (!out_.Raw(u"&#xD;")) return false;
            text.remove_prefix(length + 1);
        }
    }

    ElementTree& tree_;
    const TreeForm& form_;
    ElementSink& out_;
    std::array<Scope, 4> scopes_;
    std::u16string addedTypePrefix_;
    std::vector<ElementTree::Index> open_;
    std::size_t idCount_ = 0;

    // Of the tag that is being written.
    std::vector<Attribute> attributes_;
    std::vector<Declaration> declarations_;
    std::u16string type_, reference_;
};

/// Whether a text is made of characters from a least one on that XML has, or that are among some others.
bool IsMadeOf(std::u16string_view text, char16_t least, std::u16string_view others) noexcept {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char16_t unit = text[i];
        if (unit >= least && unit < 0xD800) continue;
        if (unit < least) {
            if (others.find(unit) == std::u16string_view::npos) return false;
        } else if (unit < 0xDC00) {
            if (++i == text.size() || (text[i] & 0xFC00) != 0xDC00) return false;
        } else if (unit < 0xE000 || unit >= 0xFFFE) {
            return false;
        }
    }
    return true;
}

}  // namespace

bool WriteTree(ElementTree& tree, const TreeForm& form, ElementSink& out) {
    return Writer(tree, form, out).Write();
}

bool CanBeText(std::u16string_view text) noexcept {
    return IsMadeOf(text, u' ', u"\t\n\r");
}

bool CanBeAttribute(std::u16string_view text) noexcept {
    return IsMadeOf(text, u' ', {});
}

}  // namespace xml
