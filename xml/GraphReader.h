#pragma once

#include <movaSystem.h>

#include <unordered_map>
#include <vector>

#include "kvcore/CreateInstance.h"
#include "kvcore/Ptr.h"
#include "kvcore/Variant.h"
#include "xml/ElementTree.h"
#include "xml/GraphDepth.h"
#include "xml/TypeMap.h"

namespace mova {

class SerializeData;

/// Reads values and objects from a tree of elements.
class GraphReader {
 public:
    using Index = xml::ElementTree::Index;

    struct Settings {
        bool readsUnknownAsNull = false;
    };

    /// @param types the thread's; must outlive this
    GraphReader(const xml::TypeMap& types, const Settings& settings);
    ~GraphReader();
    GraphReader(const GraphReader&) = delete;
    GraphReader& operator=(const GraphReader&) = delete;

    xml::ElementTree& Tree() noexcept { return tree_; }

    /// Takes in the element on whose start tag a reader stands or that comes next, with all in it: the element 0 of the
    /// tree. @throw std::bad_alloc
    HRESULT TakeIn(IXMLReader& reader);

    /// Reads the object of an element, which is null where the element is. @throw std::bad_alloc
    HRESULT ReadObject(Index element, kv::Ptr<IUnknown>& object);
    /// Reads the value of an element, as its type says. @throw std::bad_alloc
    HRESULT ReadValue(Index element, kv::Variant& value);
    HRESULT ReadText(Index element, kv::BString& text);
    HRESULT ReadBytes(Index element, kv::Variant& bytes);

    /// Lets go of all that was read, after a failure: what refers to itself would else never end.
    void Drop() noexcept;

 private:
    HRESULT ReadNewObject(Index element, kv::Ptr<IUnknown>& object);
    HRESULT Resolve(Index& element);
    std::optional<CLSID> ClassOf(const xml::ElementTree::Element& element) const noexcept;
    HRESULT ReadPlain(Index element, VARTYPE type, kv::Variant& value);
    HRESULT ReadArray(Index element, VARTYPE type, kv::Variant& value);
    HRESULT ReadItem(Index element, VARTYPE type, kv::Variant& item);
    HRESULT ReadBounds(Index element, std::vector<SAFEARRAYBOUND>& bounds, Index& items);

    xml::ElementTree tree_;
    const xml::TypeMap& types_;
    const Settings settings_;
    const kv::Ptr<SerializeData> data_;
    /// An object that others may refer to, and why it could not be read.
    struct Identified {
        kv::Ptr<IUnknown> object;
        HRESULT status = S_OK;
    };
    std::unordered_map<Index, Identified> identified_;
    kv::Creator creator_;
    int depth_ = 0;
};

}  // namespace mova
