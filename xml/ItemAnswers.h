// What the collections of an element's parts have in common: how they answer for their items.
#pragma once

#include <movaSystem.h>

#include <algorithm>
#include <string>

#include "kvcore/BString.h"
#include "server/Refusal.h"
#include "xml/ReusedItems.h"

namespace mova {

template <class Item>
bool HasItem(const xml::ReusedItems<Item>& items, LONG index) noexcept {
    return index >= 0 && static_cast<std::size_t>(index) < items.Count();
}

template <class Item>
HRESULT AnswerCount(const xml::ReusedItems<Item>& items, LONG* count) noexcept {
    if (!count) return Refuse(E_POINTER);
    *count = static_cast<LONG>(items.Count());
    return S_OK;
}

/// Hands out a text of an item. @param refuse answers an index outside of them
template <class Item, class Refusal>
HRESULT AnswerText(xml::ReusedItems<Item>& items, LONG index, std::u16string Item::*part, BSTR* text, Refusal refuse) {
    if (!text) return Refuse(E_POINTER);
    *text = nullptr;
    if (!HasItem(items, index)) return refuse();
    *text = kv::BString(items[static_cast<std::size_t>(index)].*part).Detach();
    return S_OK;
}

/// The index of the first item for which matches(item) is true; -1 where there is none.
template <class Item, class Matches>
LONG IndexOfFirst(const xml::ReusedItems<Item>& items, Matches matches) noexcept {
    const auto found = std::find_if(items.begin(), items.end(), matches);
    return found == items.end() ? -1 : static_cast<LONG>(found - items.begin());
}

}  // namespace mova
