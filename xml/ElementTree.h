// An element of a document with all that is in it, as objects are written into and read from.
#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "kvcore/Arena.h"
#include "kvcore/PagedList.h"
#include "xml/PullParser.h"

namespace xml {

/// What elements are read from, node by node; the operations are those of PullParser.
class NodeSource {
 public:
    virtual bool Next() = 0;
    virtual NodeType Type() = 0;
    virtual std::u16string_view Name() = 0;
    virtual std::u16string_view Text() = 0;
    virtual std::span<const Attribute> Attributes() = 0;
    virtual std::optional<std::u16string_view> UriOf(std::u16string_view prefix) = 0;

 protected:
    ~NodeSource() = default;
};

/// Elements in the order of their document. Elements that have elements in them have no text. Texts that are handed in
/// are copied but where it says otherwise.
class ElementTree {
 public:
    using Index = std::uint32_t;
    static constexpr Index none = UINT32_MAX;

    struct Element {
        std::u16string_view name;
        std::u16string_view typeName, typeUri;  ///< of its xsi:type; empty without one
        std::u16string_view key;                ///< tells elements of one name apart
        std::u16string_view id;                 ///< an identifier of its own, or of the element it refers to
        std::u16string_view text;
        Index end = none;     ///< the element that follows it and all in it; none while it is open
        Index target = none;  ///< in writing: the element that it refers to
        bool hasKey = false;
        bool isKeyEncoded = false;  ///< in writing: the key is the base64 of one that cannot stand in an attribute
        bool isNil = false;
        bool isReference = false;  ///< its id is that of another element
        bool isReferredTo = false;
    };

    ElementTree() = default;
    ElementTree(const ElementTree&) = delete;
    ElementTree& operator=(const ElementTree&) = delete;

    Index Count() const noexcept { return static_cast<Index>(elements_.Count()); }
    Element& operator[](Index index) noexcept { return elements_[index]; }
    const Element& operator[](Index index) const noexcept { return elements_[index]; }
    /// The first element in another; equal to its end where there is none.
    static Index FirstIn(Index index) noexcept { return index + 1; }

    /// Opens an element in the innermost open one. @param name must outlive the tree @throw std::bad_alloc
    Index Start(std::u16string_view name);
    /// Ends the innermost open element.
    void End() noexcept;
    /// Drops the elements from one on, of which so many stay open.
    void CutTo(Index count, std::size_t openCount) noexcept {
        elements_.CutTo(count);
        open_.resize(openCount);
    }
    std::size_t OpenCount() const noexcept { return open_.size(); }

    /// Room for so many characters, for as long as the tree lives. @throw std::bad_alloc
    char16_t* Take(std::size_t length);
    /// A copy of a text. @throw std::bad_alloc
    std::u16string_view Keep(std::u16string_view text);
    /// The same for texts that come again and again, such as names.
    std::u16string_view KeepOnce(std::u16string_view text);

    /// Finds the elements that have an identifier, for WithId.
    /// @return an identifier that two elements have; nothing where all are different. @throw std::bad_alloc
    std::optional<std::u16string_view> FindIds();
    /// The element with an identifier; none where there is none.
    Index WithId(std::u16string_view id) const noexcept;

    /// Reads the element on whose start tag a source stands, and all in it; the source then stands on its end tag.
    /// @return false where the source can't be read on. @throw std::bad_alloc; what the source throws
    bool Read(NodeSource& source);

 private:
    void ReadTag(NodeSource& source);
    void ReadType(NodeSource& source, std::u16string_view text, Element& element);

    kv::PagedList<Element> elements_;
    std::vector<Index> open_;
    kv::ArenaPtr texts_ = kv::ArenaPtr::Attach(kv::Arena::Make());
    std::unordered_set<std::u16string_view> names_;    ///< what KeepOnce has kept
    std::array<std::u16string_view, 64> recentNames_;  ///< some of it, each at the one place where it may be
    std::unordered_map<std::u16string_view, Index> ids_;
};

namespace attribute {
inline constexpr std::u16string_view type = u"type";  ///< as nil, in the namespace of instanceUri
inline constexpr std::u16string_view nil = u"nil";
inline constexpr std::u16string_view id = u"id";
inline constexpr std::u16string_view href = u"href";  ///< the identifier behind a #
inline constexpr std::u16string_view key = u"key";
/// In place of a key that cannot stand in an attribute: its units, lower byte first, in base64.
inline constexpr std::u16string_view encodedKey = u"encodedKey";
}  // namespace attribute

}  // namespace xml
