#pragma once

#include <optional>

#include "kvcore/Variant.h"

namespace kv {

/// A borrowed look at the elements of an array, in their order in memory. The array must outlive it, unchanged.
class ArrayView {
 public:
    /// @param type what the elements are, as the VARIANT that holds the array says.
    /// @return nothing for a null array, one without data, one of records, or one that is not what its VARIANT says.
    static std::optional<ArrayView> Of(SAFEARRAY* array, VARTYPE type) noexcept;
    /// The array that a VARIANT holds, directly or by reference.
    static std::optional<ArrayView> Of(const VARIANT& value) noexcept;

    std::size_t Count() const noexcept { return count_; }
    USHORT Dimensions() const noexcept { return array_->cDims; }
    VARTYPE Type() const noexcept { return type_; }
    SAFEARRAY* Array() const noexcept { return array_; }
    /// The elements' memory; null where there are none.
    const void* Data() const noexcept { return array_->pvData; }
    const SAFEARRAYBOUND& Bound(USHORT dimension) const noexcept { return array_->rgsabound[dimension]; }
    /// An element that still belongs to the array: it is not to be cleared.
    VARIANT Element(std::size_t index) const noexcept;

 private:
    ArrayView(SAFEARRAY* array, VARTYPE type, std::size_t count) noexcept : array_(array), type_(type), count_(count) {}

    SAFEARRAY* array_;
    VARTYPE type_;
    std::size_t count_;
};

/// Whether a value is an array, whether or not its elements can be read.
bool IsArray(const VARIANT& value) noexcept;

/// Whether an array is one of records, whose elements describe themselves.
bool IsRecordArray(const SAFEARRAY& array, VARTYPE type) noexcept;

/// Ends an array, or none. Arrays of VARIANTs inside it end one after the other: their nesting takes no stack.
void DestroyArray(SAFEARRAY* array) noexcept;

/// A new one-dimensional array from index 0, all elements empty.
class ArrayBuilder {
 public:
    /// @throw std::bad_alloc where there is no memory, or where there are more elements than indexes.
    ArrayBuilder(VARTYPE type, std::size_t count);
    ~ArrayBuilder() { DestroyArray(array_); }
    ArrayBuilder(const ArrayBuilder&) = delete;
    ArrayBuilder& operator=(const ArrayBuilder&) = delete;

    /// The elements; what is put there belongs to the array. @tparam Element the structure of the array's type.
    template <class Element>
    Element* Elements() noexcept {
        return static_cast<Element*>(array_->pvData);
    }
    /// Hands out the array as a value; nothing may be put into it afterwards.
    Variant Finish() noexcept { return Variant::FromArray(std::exchange(array_, nullptr), type_); }

 private:
    SAFEARRAY* array_;
    VARTYPE type_;
};

}  // namespace kv
