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
    /// Reads a stream of JSON text, from its start, into a new object.
    HRESULT ReadStream(const kv::Ptr<IStream>& stream, kv::Ptr<IUnknown>& object) const;

    /// Writes the JSON text. @param options may be null. @param keeper what keeps this @throw std::bad_alloc
    HRESULT WriteText(IPropertySet* options, IUnknown* keeper, BSTR* text);
    /// Writes through a writer. @param name null for none. @throw std::bad_alloc
    HRESULT Write(BSTR name, IJSONWriter* writer, IUnknown* keeper);

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
    HRESULT WriteTextThroughWriter(bool formatted, LONG indent, LONG maximumDecimals, IUnknown* keeper, BSTR* text);
    template <class Source, class Failure>
    HRESULT LoadFrom(Source& source, LONG depth, Failure failure);
};

/// Answered by the JSON objects and arrays of this module, whose values others of it reach directly.
struct IHoldsValues : IUnknown {
    virtual JSONValues& STDMETHODCALLTYPE Values() noexcept = 0;
};

}  // namespace mova

__CRT_UUID_DECL(mova::IHoldsValues, 0x7609F483, 0xFD27, 0x43B3, 0xB0, 0x10, 0x11, 0xD9, 0x12, 0xD1, 0xFA, 0xE0)
