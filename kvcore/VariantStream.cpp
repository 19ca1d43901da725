#include "kvcore/VariantStream.h"

#include <new>
#include <string>

#include "kvcore/BString.h"
#include "kvcore/SafeArray.h"
#include "kvcore/Stack.h"
#include "kvcore/ValueFormat.h"

namespace kv {
namespace {

constexpr std::array<std::byte, sizeof(CLSID)> noObject{};
constexpr std::size_t stackForArrays = 96 * 1024;  ///< an array inside another is followed where so much is left

bool IsObject(VARTYPE type) noexcept {
    return type == VT_UNKNOWN || type == VT_DISPATCH;
}

/// Whether values of a type are arrays with objects among their elements, or arrays that can have such elements.
bool HoldsObjects(VARTYPE type) noexcept {
    return (type & VT_ARRAY) && (IsObject(type & VT_TYPEMASK) || (type & VT_TYPEMASK) == VT_VARIANT);
}

// ---- writing

class ValueWriter {
 public:
    ValueWriter(StreamWriter& out, Objects objects) noexcept : out_(out), objects_(objects) {}

    /// A value with its type; references are no longer among its kinds.
    bool Write(const VARIANT& value, int budget) {
        if (value.vt & VT_ARRAY) return WriteArray(value, budget);
        if (IsObject(value.vt) && objects_ == Objects::dropped) {
            out_ << VARTYPE{VT_NULL};
            return !out_.Failed();
        }
        if (ShapeOf(static_cast<ValueType>(value.vt)).form == ValueForm::variant) return Refuse();
        out_ << value.vt;
        return WriteContent(value, value.vt, budget);
    }
    bool Refuse() noexcept { return out_.FailWith(DISP_E_BADVARTYPE); }

 private:
    bool WriteContent(const VARIANT& value, VARTYPE type, int budget) {
        const ValueShape shape = ShapeOf(static_cast<ValueType>(type));
        switch (shape.form) {
            case ValueForm::nothing:
                return !out_.Failed();
            case ValueForm::fixed:
                if (type == VT_DECIMAL) {
                    DECIMAL number = value.decVal;
                    number.wReserved = 0;  // in a VARIANT that is its type
                    if (!IsDecimal(reinterpret_cast<const std::byte*>(&number))) return Refuse();
                    return out_.Write(&number, sizeof number);
                }
                return out_.Write(&value.llVal, shape.streamSize);
            case ValueForm::text: {
                const UINT size = SysStringByteLen(value.bstrVal);
                out_ << std::uint32_t{size};
                return out_.Write(value.bstrVal, size);
            }
            case ValueForm::object:
                if (objects_ == Objects::dropped) return out_.Write(noObject.data(), noObject.size());
                return out_.SaveObject(value.punkVal);
            case ValueForm::variant:
                return Write(value, budget);
            case ValueForm::none:
                break;
        }
        return Refuse();
    }

    bool WriteArray(const VARIANT& value, int budget) {
        const VARTYPE type = value.vt & VT_TYPEMASK;
        if (value.vt != (VT_ARRAY | type) || (value.parray && type == VT_VARIANT && budget == 0)) return Refuse();
        if (type == VT_VARIANT && StackLeft() < stackForArrays) return out_.FailWith(E_FAIL);
        const auto elements = ArrayView::Of(value);
        if (!elements && (value.parray || ShapeOf(static_cast<ValueType>(type)).memorySize == 0)) return Refuse();
        out_ << value.vt << (elements ? elements->Dimensions() : USHORT{0});
        if (!elements) return !out_.Failed();
        for (USHORT dimension = 0; dimension < elements->Dimensions(); ++dimension) {
            const SAFEARRAYBOUND& bound = elements->Bound(dimension);
            out_ << ArrayBound{bound.cElements, bound.lLbound};
        }
        if (ShapeOf(static_cast<ValueType>(type)).form == ValueForm::fixed && type != VT_DECIMAL)
            return out_.Write(elements->Data(), elements->Count() * ShapeOf(static_cast<ValueType>(type)).streamSize);
        for (std::size_t i = 0; i < elements->Count() && !out_.Failed(); ++i) {
            const VARIANT element = elements->Element(i);
            if (element.vt & VT_BYREF) return Refuse();
            WriteContent(element, type, budget - 1);
        }
        return !out_.Failed();
    }

    StreamWriter& out_;
    Objects objects_;
};

// ---- reading

class ArrayElements;

/// Takes one value: into a VARIANT, or as an element of an array of one type.
class Slot {
 public:
    /// @param tag of a VARIANT its type, set last of all; null in an array of one type.
    Slot(StreamReader& in, Objects objects, VARTYPE* tag, void* memory) noexcept
        : in_(in), objects_(objects), tag_(tag), memory_(memory) {}
    static Slot Of(StreamReader& in, Objects objects, VARIANT& value) noexcept {
        return {in, objects, &value.vt, &value.byref};
    }

    bool Nothing(ValueType type) noexcept { return Done(type); }
    bool Fixed(ValueType type, ByteReader& in, std::size_t size) noexcept {
        if (type != ValueType::decimal) return in.Read(memory_, size) && Done(type);
        DECIMAL number;
        if (!in.Read(number) || !IsDecimal(reinterpret_cast<const std::byte*>(&number))) return false;
        CONTAINING_RECORD(tag_, VARIANT, vt)->decVal = number;
        return Done(type);
    }
    bool Text(ByteReader& in, std::uint32_t size) {
        BString text;
        if (size <= ByteReader::pieceSize || in.Holds(size)) {
            text = BString::Attach(SysAllocStringByteLen(nullptr, size));
            if (text.Get() && !in.Read(text.Get(), size)) return false;
        } else {
            std::string bytes;
            if (!in.Append(bytes, size)) return false;
            text = BString::Attach(SysAllocStringByteLen(bytes.data(), size));
        }
        if (!text.Get()) throw std::bad_alloc();
        *static_cast<BSTR*>(memory_) = text.Detach();
        return Done(ValueType::text);
    }
    bool Object(ValueType type, ByteReader& in) noexcept {
        void* object = nullptr;
        if (objects_ == Objects::dropped) {
            auto classId = noObject;
            if (!in.Read(classId) || classId != noObject) return false;
        } else if (!in_.LoadObject(type == ValueType::dispatch ? __uuidof(IDispatch) : __uuidof(IUnknown), &object)) {
            return false;
        }
        *static_cast<void**>(memory_) = object;
        return Done(type);
    }
    bool NoArray(ValueType type) noexcept { return TakeArray(type, nullptr); }
    ArrayElements Array(ValueType type, std::span<const ArrayBound> bounds) noexcept;
    bool TakeArray(ValueType type, SAFEARRAY* array) noexcept {
        *static_cast<SAFEARRAY**>(memory_) = array;
        *tag_ = static_cast<VARTYPE>(VT_ARRAY | static_cast<VARTYPE>(type));
        return true;
    }

 private:
    bool Done(ValueType type) noexcept {
        if (tag_) *tag_ = static_cast<VARTYPE>(type);
        return true;
    }

    StreamReader& in_;
    Objects objects_;
    VARTYPE* tag_;
    void* memory_;
};

/// Takes the elements of an array, which has one dimension until it is complete, since such a one can grow.
class ArrayElements {
 public:
    ArrayElements(StreamReader& in, Objects objects, Slot target, ValueType type,
                  std::span<const ArrayBound> bounds) noexcept
        : in_(in), objects_(objects), target_(target), type_(type), size_(ShapeOf(type).memorySize), bounds_(bounds) {}
    ~ArrayElements() { DestroyArray(array_); }
    ArrayElements(const ArrayElements&) = delete;
    ArrayElements& operator=(const ArrayElements&) = delete;

    bool Grow(std::uint32_t count) {
        if (type_ == ValueType::variant && StackLeft() < stackForArrays) return false;
        SAFEARRAYBOUND bound{count, 0};
        if (!array_)
            array_ = SafeArrayCreate(static_cast<VARTYPE>(type_), 1, &bound);
        else if (FAILED(SafeArrayRedim(array_, &bound)))
            throw std::bad_alloc();
        if (!array_) throw std::bad_alloc();
        return true;
    }
    bool Fixed(ByteReader& in, std::uint32_t from, std::uint32_t to) noexcept {
        std::byte* const begin = At(array_, from);
        if (!in.Read(begin, (to - from) * size_)) return false;
        if (type_ != ValueType::decimal) return true;
        for (std::uint32_t i = from; i < to; ++i)
            if (!IsDecimal(At(array_, i))) return false;
        return true;
    }
    Slot At(std::uint32_t index) noexcept {
        std::byte* const element = At(array_, index);
        if (type_ == ValueType::variant) return Slot::Of(in_, objects_, *reinterpret_cast<VARIANT*>(element));
        return {in_, objects_, nullptr, element};
    }
    bool Finish() {
        if (!array_ && !Grow(0)) return false;
        SAFEARRAY* shaped = nullptr;
        if (FAILED(SafeArrayAllocDescriptorEx(static_cast<VARTYPE>(type_), static_cast<UINT>(bounds_.size()), &shaped)))
            throw std::bad_alloc();
        shaped->fFeatures |= array_->fFeatures;  // not every platform says at once what the elements own
        shaped->pvData = std::exchange(array_->pvData, nullptr);
        array_->rgsabound[0].cElements = 0;
        std::memcpy(shaped->rgsabound, bounds_.data(), bounds_.size_bytes());
        return target_.TakeArray(type_, shaped);
    }

 private:
    std::byte* At(SAFEARRAY* array, std::uint32_t index) const noexcept {
        return static_cast<std::byte*>(array->pvData) + index * size_;
    }

    StreamReader& in_;
    Objects objects_;
    Slot target_;
    ValueType type_;
    std::size_t size_;
    std::span<const ArrayBound> bounds_;
    SAFEARRAY* array_ = nullptr;
};

ArrayElements Slot::Array(ValueType type, std::span<const ArrayBound> bounds) noexcept {
    return {in_, objects_, *this, type, bounds};
}

}  // namespace

bool WriteValue(StreamWriter& out, const VARIANT& value, Objects objects) {
    ValueWriter writer(out, objects);
    const VARIANT* held = Referred(value);
    if (!held || ((held->vt & VT_BYREF) && !held->byref)) return writer.Refuse();
    // An object that is saved may call back and have the array freed that it is in.
    const bool maySurvive = objects == Objects::dropped || !HoldsObjects(held->vt);
    if (!(held->vt & VT_BYREF) && maySurvive) return writer.Write(*held, maxNesting);
    Variant copy;
    if (HRESULT status = copy.Assign(*held); FAILED(status))
        return out.FailWith(status == E_OUTOFMEMORY ? status : DISP_E_BADVARTYPE);
    return writer.Write(copy.Get(), maxNesting);
}

bool ReadValue(StreamReader& in, VARIANT* value, Objects objects) {
    VariantInit(value);
    Slot slot = Slot::Of(in, objects, *value);
    return ReadValue<Slot>(in, slot, maxNesting);
}

HRESULT Variant::Write(IStream* stream, bool keepsObjects) const noexcept try {
    StreamWriter out(stream);
    WriteValue(out, value_, keepsObjects ? Objects::kept : Objects::dropped);
    return out.Finish();
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

HRESULT Variant::Read(IStream* stream, bool keepsObjects) noexcept try {
    StreamReader in(stream);
    Variant read;
    if (ReadValue(in, read.Put(), keepsObjects ? Objects::kept : Objects::dropped)) *this = std::move(read);
    return in.Status();
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}

}  // namespace kv
