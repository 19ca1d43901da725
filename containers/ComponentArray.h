#pragma once

#include <vector>

#include <movaServer.h>
#include "kvcore/Ptr.h"
#include "server/HoldsObjects.h"
#include "xml/XmlPersistentComponent.h"

namespace mova {

/// A growing array of components of one kind, from index 0; what all such classes share. Null elements are refused.
/// @tparam Array has Count, Element, Add, Insert, Remove and RemoveAll. @tparam Item the elements' interface.
template <class Self, class Coclass, class Array, class Item>
class ComponentArray : public XmlPersistentComponent<Self, Coclass, Array, IClone, IHoldsObjects> {
    using Base = XmlPersistentComponent<Self, Coclass, Array, IClone, IHoldsObjects>;

 public:
    using Base::Base;

    STDMETHODIMP get_Count(LONG* count) noexcept override {
        if (!count) return Base::Refuse(E_POINTER);
        *count = static_cast<LONG>(elements_.size());
        return S_OK;
    }
    STDMETHODIMP put_Element(LONG index, Item* element) noexcept override {
        if (!IsWithin(index, elements_.size())) return RefuseIndex();
        if (!element) return RefuseNull();
        elements_[static_cast<std::size_t>(index)] = kv::Ptr<Item>(element);
        Base::SetDirty();
        return S_OK;
    }
    STDMETHODIMP get_Element(LONG index, Item** element) noexcept override {
        if (!element) return Base::Refuse(E_POINTER);
        *element = nullptr;
        if (!IsWithin(index, elements_.size())) return RefuseIndex();
        *element = kv::Ptr<Item>(elements_[static_cast<std::size_t>(index)]).Detach();
        return S_OK;
    }
    STDMETHODIMP Add(Item* element) noexcept override { return Insert(static_cast<LONG>(elements_.size()), element); }
    STDMETHODIMP Insert(LONG index, Item* element) noexcept override try {
        if (!IsWithin(index, elements_.size() + 1)) return RefuseIndex();
        if (!element) return RefuseNull();
        elements_.insert(elements_.begin() + index, kv::Ptr<Item>(element));
        Base::SetDirty();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP Remove(LONG index) noexcept override {
        if (!IsWithin(index, elements_.size())) return RefuseIndex();
        const auto place = elements_.begin() + index;
        const kv::Ptr<Item> removed = std::move(*place);  // let go of last, since its end may call back
        elements_.erase(place);
        Base::SetDirty();
        return S_OK;
    }
    STDMETHODIMP RemoveAll() noexcept override {
        std::vector<kv::Ptr<Item>>().swap(elements_);
        Base::SetDirty();
        return S_OK;
    }
    STDMETHODIMP Clone(IUnknown** copy) noexcept override { return Base::CloneBySaving(copy); }
    void STDMETHODCALLTYPE DropObjects() noexcept override { RemoveAll(); }

    // PersistentComponent's
    void WriteFields(kv::StreamWriter& out) const {
        const auto elements = elements_;  // an element that is saved may call back and change the array
        out << recordVersion << static_cast<LONG>(elements.size());
        for (const auto& element : elements)
            if (!out.SaveObject(element.Get())) break;
    }
    HRESULT ReadFields(kv::StreamReader& in) {
        std::uint16_t version = 0;
        if (in.Read(version) && version > recordVersion) return Base::RefuseNewer();
        std::vector<kv::Ptr<Item>> elements;
        LONG count = 0;
        for (in >> count; count > 0; --count) {
            kv::Ptr<Item> element;
            if (!in.LoadObject(__uuidof(Item), element.PutVoid())) break;
            if (!element) in.Fail();
            elements.push_back(std::move(element));
        }
        if (!in.Failed()) elements_.swap(elements);
        return in.Status();
    }
    // XmlPersistentComponent's
    HRESULT WriteElements(XmlFieldWriter& out) const {
        const auto elements = elements_;  // as in WriteFields
        for (const auto& element : elements)
            if (!out.Add(&IXMLSerializeData::AddObject, itemElement, element.Get())) break;
        return out.Status();
    }
    HRESULT ReadElements(XmlFieldReader& in) {
        std::vector<kv::Ptr<Item>> elements;
        in.ForEach(itemElement, [&](LONG index) {
            kv::Ptr<IUnknown> object;
            if (HRESULT status = in.Data()->GetObjectAt(index, object.Put()); FAILED(status)) return status;
            auto element = object.template As<Item>();
            if (!element) return RefuseOther();
            elements.push_back(std::move(element));
            return S_OK;
        });
        if (SUCCEEDED(in.Status())) elements_.swap(elements);
        return in.Status();
    }

 private:
    static constexpr std::uint16_t recordVersion = 1;
    static constexpr std::u16string_view itemElement = u"Item";

    static bool IsWithin(LONG index, std::size_t count) noexcept {
        return index >= 0 && static_cast<std::size_t>(index) < count;
    }
    HRESULT RefuseIndex() const noexcept {
        return this->template Refuse<Array>(E_INVALIDARG, u"The index is outside the array.");
    }
    HRESULT RefuseNull() const noexcept {
        return this->template Refuse<Array>(E_INVALIDARG, u"The array takes no null elements.");
    }
    HRESULT RefuseOther() const noexcept {
        return this->template Refuse<IXMLSerialize>(E_FAIL, u"An element of the array is null or of another kind.");
    }

    std::vector<kv::Ptr<Item>> elements_;
};

}  // namespace mova
