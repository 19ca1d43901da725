#pragma once

#include <movaJSON.h>

#include "json/Container.h"
#include "json/ValueConversion.h"
#include "kvcore/Ptr.h"

namespace mova {

/// What a JSON object or array holds, and what it hands to those that are made within it.
struct JSONValues {
    explicit JSONValues(bool named) noexcept : held(named, &DisposeValue), isObject(named) {}

    /// A new JSON object or array with this one's two flags.
    kv::Ptr<IUnknown> MakeChild(bool childIsObject) const;
    /// The object that a value is; null for any other. What is asked for the first time becomes a component, which then
    /// stands in its place. @throw std::bad_alloc
    kv::Ptr<IUnknown> ObjectAt(std::uint32_t i);
    /// A copy of a value as it is handed out: a stream of JSON text is read into an object first.
    /// @param target is overwritten unread, and empty where that fails. @throw std::bad_alloc
    HRESULT CopyOut(std::uint32_t i, VARIANT* target);
    /// The same for a value that is to be a JSON object; null, and S_OK, for any other.
    HRESULT CopyOut(std::uint32_t i, kv::Ptr<IJSONObject>& target);

    /// Loads from a reader in place of what is held. @param depth how many are around this one
    HRESULT Load(IJSONReader* reader, LONG depth);
    /// Loads from a text in place of what is held; an empty text does nothing.
    HRESULT LoadText(BSTR text);

    json::Container held;
    const bool isObject;
    bool caseSensitive = true;
    bool replaceExisting = false;

 private:
    std::int8_t Flags() const noexcept;
    HRESULT Finish(json::Loaded loaded, const json::ArenaPtr& arena, json::TreeBuilder& builder, HRESULT sourceStatus);
};

/// Answered by the JSON objects and arrays of this module.
struct IHoldsValues : IUnknown {
    virtual JSONValues& STDMETHODCALLTYPE Values() noexcept = 0;
};

}  // namespace mova
