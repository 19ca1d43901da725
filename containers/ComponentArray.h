#pragma once

#include <vector>

#include <movaServer.h>
#include "kvcore/Ptr.h"
#include "server/Component.h"

namespace mova {

/// A growing array of components of one kind, from index 0; what all such classes share. Null elements are refused.
/// @tparam Array has Count, Element, Add, Insert, Remove and RemoveAll. @tparam Item the elements' interface.
template <class Self, class Coclass, class Array, class Item>
class ComponentArray : public Component<Self, Coclass, Array, IClone> {
    using Base = Component<Self, Coclass, Array, IClone>;

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
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP Remove(LONG index) noexcept override {
        if (!IsWithin(index, elements_.size())) return RefuseIndex();
        const auto place = elements_.begin() + index;
        const kv::Ptr<Item> removed = std::move(*place);  // let go of last, since its end may call back
        elements_.erase(place);
        return S_OK;
    }
    STDMETHODIMP RemoveAll() noexcept override {
        std::vector<kv::Ptr<Item>>().swap(elements_);
        return S_OK;
    }
    STDMETHODIMP Clone(IUnknown** copy) noexcept override try {
        if (!copy) return Base::Refuse(E_POINTER);
        *copy = nullptr;
        const auto made = kv::Ptr<Self>::Attach(Base::Make());
        const auto elements = elements_;  // an element that is copied may call back and change the array
        for (const auto& element : elements) {
            kv::Ptr<Item> elementCopy;
            if (HRESULT status = CopyElement(element, elementCopy); FAILED(status)) return status;
            made->elements_.push_back(std::move(elementCopy));
        }
        *copy = kv::Ptr<IUnknown>(made->Own()).Detach();
        return S_OK;
    } catch (...) {
        return CaughtStatus();
    }

 private:
    static bool IsWithin(LONG index, std::size_t count) noexcept {
        return index >= 0 && static_cast<std::size_t>(index) < count;
    }
    HRESULT RefuseIndex() const noexcept {
        return this->template Refuse<Array>(E_INVALIDARG, u"The index is outside the array.");
    }
    HRESULT RefuseNull() const noexcept {
        return this->template Refuse<Array>(E_INVALIDARG, u"The array takes no null elements.");
    }
    /// An element that cannot be copied is shared.
    static HRESULT CopyElement(const kv::Ptr<Item>& element, kv::Ptr<Item>& copy) noexcept {
        copy = element;
        const auto source = element.template As<IClone>();
        if (!source) return S_OK;
        kv::Ptr<IUnknown> made;
        if (HRESULT status = source->Clone(made.Put()); FAILED(status)) return status;
        copy = made.As<Item>();
        return copy ? S_OK : Base::Refuse(E_NOINTERFACE);
    }

    std::vector<kv::Ptr<Item>> elements_;
};

}  // namespace mova
