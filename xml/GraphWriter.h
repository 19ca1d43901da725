#pragma once

#include <movaSystem.h>

#include <algorithm>
#include <array>
#include <span>
#include <vector>

#include "kvcore/NumberText.h"
#include "kvcore/Ptr.h"
#include "kvcore/SafeArray.h"
#include "streams/PointerMap.h"
#include "xml/ElementTree.h"
#include "xml/GraphDepth.h"
#include "xml/SchemaRelease.h"
#include "xml/TypeMap.h"

namespace mova {

class SerializeData;

/// Writes values and objects into a tree of elements.
class GraphWriter {
 public:
    using Index = xml::ElementTree::Index;

    struct Settings {
        xml::SchemaRelease release = xml::newestRelease;
        bool isForSOAP = false;
        bool sharesObjects = true;
    };

    /// @param types the thread's; must outlive this
    GraphWriter(const xml::TypeMap& types, const Settings& settings);
    ~GraphWriter();
    GraphWriter(const GraphWriter&) = delete;
    GraphWriter& operator=(const GraphWriter&) = delete;

    xml::ElementTree& Tree() noexcept { return tree_; }
    const Settings& Said() const noexcept { return settings_; }

    /// Adds an element to the innermost one that is open, and what is in it. Where that fails, nothing was added.
    /// @param name must outlive the tree @param fill HRESULT(Index element)
    template <class Fill>
    HRESULT Add(std::u16string_view name, Fill fill) {
        const std::size_t openCount = tree_.OpenCount();
        const Index element = tree_.Start(name);
        HRESULT status = E_FAIL;
        try {
            status = fill(element);
        } catch (...) {
            CutTo(element, openCount);
            throw;
        }
        if (FAILED(status)) {
            CutTo(element, openCount);
        } else {
            tree_.End();
        }
        return status;
    }

    // Each fills an element that Add has opened. @throw std::bad_alloc
    HRESULT FillObject(Index element, IUnknown* object);
    HRESULT FillValue(Index element, const VARIANT& value);
    void FillText(Index element, std::u16string_view text);
    void FillBytes(Index element, std::span<const std::byte> bytes);
    void FillKey(Index element, std::u16string_view key);
    /// @param format char*(char*), which writes at most kv::numberTextSize characters; null where it has no text
    /// @return E_INVALIDARG where there is no text
    template <class Format>
    HRESULT FillFormatted(Index element, Format format) {
        std::array<char, kv::numberTextSize> text;
        const char* const end = format(text.data());
        if (!end) return E_INVALIDARG;
        char16_t* const kept = tree_.Take(static_cast<std::size_t>(end - text.data()));
        tree_[element].text = {kept, std::copy(static_cast<const char*>(text.data()), end, kept)};
        return S_OK;
    }

 private:
    struct Written {
        kv::Ptr<IUnknown> identity;
        Index element;
    };

    HRESULT FillNewObject(Index element, const kv::Ptr<IUnknown>& identity);
    HRESULT CheckRelease(IUnknown& object);
    HRESULT NameType(Index element, IUnknown& object);
    HRESULT FillPlain(Index element, const VARIANT& value);
    HRESULT FillArray(Index element, const VARIANT& value);
    HRESULT AddBounds(SAFEARRAY& array);
    HRESULT AddItems(const kv::ArrayView& array);
    void SetType(Index element, std::u16string_view name, bool isOwn) noexcept;
    void FillEncodedText(Index element, const void* bytes, std::size_t size);
    std::u16string_view KeepBase64(std::span<const std::byte> bytes);
    void CutTo(Index count, std::size_t openCount) noexcept;

    xml::ElementTree tree_;
    const xml::TypeMap& types_;
    const Settings settings_;
    const kv::Ptr<SerializeData> data_;
    std::vector<Written> written_;
    PointerMap<Index> byIdentity_;
    int depth_ = 0;
};

}  // namespace mova
