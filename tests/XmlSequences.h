// Random documents: legal calls of a writer of XML, and beside them, made without it, what a reader must see.
#pragma once

#include <algorithm>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "xml/Base64.h"
#include "xml/Emitter.h"

namespace sequences {

/// What a reader sees of a document, in a notation in which documents can be compared. What is text between two tags is
/// one text, however it was written; attributes have no order; prefixes count only where they are declared; comments,
/// instructions and what is outside of the outermost element count for nothing.
class Nodes {
 public:
    void Start(std::u16string_view uri, std::u16string_view local) {
        EndTag();
        all_ += tagBegin;
        AppendPair(all_, uri, local);
        isInTag_ = true;
        ++depth_;
    }
    /// Of the element that has just been started.
    void Attribute(std::u16string_view uri, std::u16string_view local, std::u16string_view value) {
        AppendPair(parts_.emplace_back(1, attributeBegin), uri, local);
        (parts_.back() += divider) += value;
    }
    void Declaration(std::u16string_view prefix, std::u16string_view uri) {
        AppendPair(parts_.emplace_back(1, declarationBegin), prefix, uri);
    }
    void Text(std::u16string_view text) {
        if (depth_ == 0 || text.empty()) return;
        EndTag();
        all_ += text;
    }
    void End() {
        EndTag();
        all_ += tagEnd;
        --depth_;
    }

    const std::u16string& All() const { return all_; }

 private:
    // None of these can be in a document.
    static constexpr char16_t tagBegin = 1, tagEnd = 2, attributeBegin = 3, declarationBegin = 4, contentBegin = 5;
    static constexpr char16_t divider = 6;

    static void AppendPair(std::u16string& out, std::u16string_view first, std::u16string_view second) {
        ((out += first) += divider) += second;
    }
    void EndTag() {
        if (!std::exchange(isInTag_, false)) return;
        std::sort(parts_.begin(), parts_.end());
        for (const std::u16string& part : parts_) all_ += part;
        parts_.clear();
        all_ += contentBegin;
    }

    std::u16string all_;
    std::vector<std::u16string> parts_;
    bool isInTag_ = false;
    int depth_ = 0;
};

/// Line ends as a reader hands them out.
inline std::u16string WithLineEndsRead(std::u16string_view text) {
    std::u16string out;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == u'\r' && i + 1 < text.size() && text[i + 1] == u'\n') continue;
        out += text[i] == u'\r' ? u'\n' : text[i];
    }
    return out;
}

/// The writer that is tried.
class Target {
 public:
    virtual ~Target() = default;
    virtual void SetNormalisesLineEnds(bool normalises) = 0;
    virtual void Start(std::u16string_view name, std::u16string_view uri, std::span<const xml::Attribute> attributes,
                       std::span<const xml::Declaration> declarations, bool isEmpty) = 0;
    virtual void End() = 0;
    virtual void XmlDeclaration() = 0;
    virtual void Text(std::u16string_view text) = 0;
    virtual void CData(std::u16string_view text) = 0;
    virtual void Raw(std::u16string_view text) = 0;
    virtual void NewLine() = 0;
    virtual void Tab() = 0;
    virtual void Base64(std::span<const std::byte> bytes) = 0;
    virtual void Integer(std::int64_t number) = 0;
    virtual void Boolean(bool flag) = 0;
    virtual void ObjectId(std::int32_t number) = 0;
};

/// A number from 0 to below the one that is given.
using Choose = std::function<unsigned(unsigned below)>;

/// Writes one document.
class Sequence {
 public:
    /// @param redeclares whether a prefix stands for several namespaces, or none, in the course of the document
    Sequence(Choose choose, Target& target, bool redeclares)
        : choose_(std::move(choose)), target_(target), redeclares_(redeclares) {}

    /// @param calls so many at least, but for a document that ends earlier @return what a reader must see
    std::u16string Write(unsigned calls) {
        normalises_ = choose_(2) != 0;
        target_.SetNormalisesLineEnds(normalises_);
        target_.XmlDeclaration();  // without which the platform's reader does not know a name that is not of ASCII
        if (choose_(4) == 0) target_.NewLine();
        Start();
        for (; calls != 0 && !outer_.empty(); --calls) WriteSomething();
        while (!outer_.empty()) End();
        target_.NewLine();
        return nodes_.All();
    }

 private:
    struct Binding {
        std::u16string_view prefix, uri;
    };

    void WriteSomething() {
        constexpr unsigned deepest = 24;
        switch (choose_(16)) {
            case 0:
            case 1:
            case 2:
                return End();
            case 3:
            case 4:
            case 5:
            case 6:
                return outer_.size() < deepest ? Start() : End();
            case 7:
                return CData();
            case 8:
                return Raw();
            case 9:
                target_.NewLine();
                run_ += u"\r\n";
                return;
            case 10:
                target_.Tab();
                run_ += u'\t';
                return;
            case 11:
                return Value();
            default:
                return Text();
        }
    }

    // ---- Elements

    void Start() {
        constexpr std::u16string_view names[] = {
            u"a", u"e1", u"\u00E4-1", u"_.x", u"xml1", u"\u6771\u4EAC", u"x\U00010400", u"Long-name-of-an-element.1"};
        const auto anyName = [&] { return names[choose_(std::size(names))]; };
        EndRun();
        const std::size_t around = bindings_.size();
        const std::vector<xml::Declaration> declarations = Declarations();
        for (const xml::Declaration& declaration : declarations)
            bindings_.push_back({declaration.prefix, declaration.uri});
        const std::u16string_view name = anyName();
        const std::u16string_view uri = AnyUri();
        const bool isEmpty = !outer_.empty() && choose_(4) == 0;

        // An element in no namespace is written without a prefix: it is in the default one.
        nodes_.Start(uri.empty() ? BoundTo(u"") : uri, name);
        std::vector<std::u16string> values(choose_(3) == 0 ? choose_(6) : 0);
        std::vector<xml::Attribute> attributes;
        for (std::u16string& value : values) {
            value = AnyText(12);
            const xml::Attribute made{AnyAttributeUri(), anyName(), value};
            if (std::any_of(attributes.begin(), attributes.end(), [&](const xml::Attribute& other) {
                    return other.uri == made.uri && other.name == made.name;
                }))
                continue;
            attributes.push_back(made);
            std::u16string seen = WithLineEndsRead(Written(value));
            for (char16_t& unit : seen)
                if (unit == u'\t' || unit == u'\n') unit = u' ';
            nodes_.Attribute(made.uri, made.name, seen);
        }
        for (const xml::Declaration& declaration : declarations)
            nodes_.Declaration(declaration.prefix, declaration.uri);
        target_.Start(name, uri, attributes, declarations, isEmpty);
        outer_.push_back(around);
        if (!isEmpty) return;
        Leave();
    }

    void End() {
        EndRun();
        target_.End();
        Leave();
    }

    void Leave() {
        nodes_.End();
        bindings_.resize(outer_.back());
        outer_.pop_back();
    }

    std::vector<xml::Declaration> Declarations() {
        constexpr std::u16string_view prefixes[] = {u"", u"p", u"q", u"\u00E4"};
        constexpr std::u16string_view uris[] = {u"", u"urn:u", u"urn:v", u"http://example.com/a?b=c&d='e\"<f>",
                                                u"urn:\u00FC:\U0001F30D"};
        std::vector<xml::Declaration> made;
        for (unsigned left = choose_(2) == 0 ? choose_(4) : 0; left != 0; --left) {
            const unsigned which = choose_(std::size(prefixes));
            const std::u16string_view prefix = prefixes[which];
            const std::u16string_view uri = uris[redeclares_ ? choose_(std::size(uris)) : which + 1];
            const bool isThere = std::any_of(made.begin(), made.end(),
                                             [&](const xml::Declaration& other) { return other.prefix == prefix; });
            if (!isThere && (prefix.empty() || !uri.empty())) made.push_back({prefix, uri});
        }
        return made;
    }

    /// The namespace that a prefix stands for; empty for none.
    std::u16string_view BoundTo(std::u16string_view prefix) const {
        for (std::size_t i = bindings_.size(); i-- > 0;)
            if (bindings_[i].prefix == prefix) return bindings_[i].uri;
        return {};
    }

    /// No namespace, or one that a prefix stands for.
    std::u16string_view AnyUri() {
        if (choose_(2) == 0 || bindings_.empty()) return {};
        return BoundTo(bindings_[choose_(static_cast<unsigned>(bindings_.size()))].prefix);
    }

    /// The same for an attribute, to which the default namespace does not apply. No element here is in the namespace of
    /// xml, which the platform's reader does not know for elements.
    std::u16string_view AnyAttributeUri() {
        if (choose_(8) == 0) return u"http://www.w3.org/XML/1998/namespace";
        if (choose_(2) == 0 || bindings_.empty()) return {};
        const std::u16string_view prefix = bindings_[choose_(static_cast<unsigned>(bindings_.size()))].prefix;
        return prefix.empty() ? prefix : BoundTo(prefix);
    }

    // ---- Texts

    void Text() {
        const std::u16string text = AnyText(choose_(32) == 0 ? 3000 : 20);
        target_.Text(text);
        run_ += Written(text);
    }

    void CData() {
        std::u16string text = WithoutForbidden(AnyText(20));
        for (std::size_t at; (at = text.find(u"]]>")) != std::u16string::npos;) text.erase(at, 1);
        // A reader that makes one text of two sections, with line ends as they are, could not tell the two from one.
        if (text.ends_with(u'\r')) text.back() = u'x';
        EndRun();
        target_.CData(text);
        nodes_.Text(WithLineEndsRead(text));
    }

    void Raw() {
        constexpr std::pair<std::u16string_view, std::u16string_view> raws[] = {{u"&#65;", u"A"},
                                                                                {u"&#x4EAC;", u"\u4EAC"},
                                                                                {u"&lt;", u"<"},
                                                                                {u"<!-- - <a> & -->", u""},
                                                                                {u"<?p <a> & ?>", u""}};
        const auto& [raw, seen] = raws[choose_(std::size(raws))];
        EndRun();
        target_.Raw(raw);
        nodes_.Text(seen);
    }

    void Value() {
        const auto ascii = [&](const std::string& text) { run_.append(text.begin(), text.end()); };
        const unsigned high = choose_(1u << 16);
        const auto number = static_cast<std::int32_t>(high << 16 | choose_(1u << 16));
        switch (choose_(4)) {
            case 0: {
                std::vector<std::byte> bytes(choose_(16) == 0 ? choose_(5000) : choose_(10));
                for (std::byte& byte : bytes) byte = static_cast<std::byte>(choose_(256));
                target_.Base64(bytes);
                std::u16string text(xml::Base64Size(bytes.size()), u'?');
                xml::PutBase64(text.data(), bytes);
                run_ += text;
                return;
            }
            case 1:
                target_.Integer(std::int64_t{number} * INT32_MAX);
                return ascii(std::to_string(std::int64_t{number} * INT32_MAX));
            case 2:
                target_.Boolean(number % 2 != 0);
                return ascii(number % 2 != 0 ? "true" : "false");
            default:
                target_.ObjectId(number);
                return ascii("ID" + std::to_string(number));
        }
    }

    std::u16string AnyText(unsigned most) {
        constexpr std::u16string_view units =
            u"abc xyz09]]><&\"'\r\n\t\r\n\u0001\u001F\u007F\u0085\u00E4\u2028\u6771\uFEFF\uFFFD\uFFFE\uFFFF\U0001F30D";
        std::u16string text(choose_(most + 1), u'x');
        const unsigned rarity = 1 + choose_(8);
        for (char16_t& unit : text)
            if (choose_(rarity) == 0) unit = units[choose_(static_cast<unsigned>(units.size()))];
        return text;
    }

    static bool IsForbidden(char16_t unit) {
        return (unit < 0x20 && unit != u'\t' && unit != u'\n' && unit != u'\r') || unit >= 0xFFFE;
    }

    /// A text as XML can have it: without what there is no form for, and with whole characters.
    static std::u16string WithoutForbidden(std::u16string_view text) {
        std::u16string out;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const char16_t unit = text[i];
            if (IsForbidden(unit)) continue;
            if ((unit & 0xFC00) == 0xD800 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00) {
                out += unit;
                out += text[++i];
            } else {
                out += (unit & 0xF800) == 0xD800 ? u'\uFFFD' : unit;
            }
        }
        return out;
    }

    /// What is left of a text where it is written escaped.
    std::u16string Written(std::u16string_view text) const {
        std::u16string ends;
        for (std::size_t i = 0; i < text.size(); ++i) {
            const bool isEnd = normalises_ && text[i] == u'\r';
            if (isEnd && i + 1 < text.size() && text[i + 1] == u'\n') continue;
            ends += isEnd ? u'\n' : text[i];
        }
        return WithoutForbidden(ends);
    }

    /// Ends what stands in the document without markup in between: line ends are read across calls.
    void EndRun() {
        nodes_.Text(WithLineEndsRead(run_));
        run_.clear();
    }

    Choose choose_;
    Target& target_;
    bool redeclares_;
    Nodes nodes_;
    bool normalises_ = false;
    std::u16string run_;
    std::vector<Binding> bindings_;   ///< of all open elements, the innermost last
    std::vector<std::size_t> outer_;  ///< for each open element, how many bindings there are around it
};

}  // namespace sequences
