#pragma once

#include "kvcore/Stream.h"
#include "server/Component.h"

namespace mova {

/// How a load failed of which nothing more is known than that the bytes are not what they must be.
inline constexpr auto damagedStream = u"The stream is cut short or damaged.";
inline constexpr auto unsavableValue = u"A value is of a kind that cannot be saved.";
inline constexpr auto newerStream = u"The stream was written by a newer version.";

/// How many bytes an object saves itself in, found by doing so.
HRESULT MeasureSaved(IPersistStream& object, ULARGE_INTEGER& size) noexcept;

/// Copies an object with all that it refers to, by saving it to memory and loading it from there.
/// @param copy receives the new object; null, with S_FALSE, where the object is null or has no persistence.
HRESULT CopyBySaving(IUnknown* object, IUnknown** copy) noexcept;

/// A component that persists in binary. What remains for a class to say is how its fields are written and read:
///
///     void WriteFields(kv::StreamWriter& out) const;  // failures stay in the writer
///     HRESULT ReadFields(kv::StreamReader& in);       // S_OK, or a failure; in.Status() where the reader has it
///
/// and, where its records never exceed one, their size: `static constexpr ULONG sizeMax`. Both may throw.
template <class Self, class Coclass, class... Items>
class PersistentComponent : public Component<Self, Coclass, Items..., Generations<IPersistStream, IPersist>> {
    using Base = Component<Self, Coclass, Items..., Generations<IPersistStream, IPersist>>;

 public:
    using Base::Base;

    // IPersistStream
    STDMETHODIMP GetClassID(CLSID* clsid) noexcept override {
        if (!clsid) return Base::Refuse(E_POINTER);
        *clsid = Base::classId;
        return S_OK;
    }
    STDMETHODIMP IsDirty() noexcept override { return dirty_ ? S_OK : S_FALSE; }
    STDMETHODIMP Load(IStream* stream) noexcept override {
        return LoadBy(stream, [this](kv::StreamReader& in) { return static_cast<Self*>(this)->ReadFields(in); });
    }
    STDMETHODIMP Save(IStream* stream, BOOL clearDirty) noexcept override try {
        if (!stream) return Base::Refuse(E_POINTER);
        kv::StreamWriter out(stream);
        static_cast<Self*>(this)->WriteFields(out);
        const HRESULT status = out.Finish();
        if (status == DISP_E_BADVARTYPE) return this->template Refuse<IPersistStream>(status, unsavableValue);
        if (SUCCEEDED(status) && clearDirty) dirty_ = false;
        return status;
    } catch (...) {
        return CaughtStatus();
    }
    STDMETHODIMP GetSizeMax(ULARGE_INTEGER* size) noexcept override {
        if (!size) return Base::Refuse(E_POINTER);
        if constexpr (requires { Self::sizeMax; }) {
            size->QuadPart = Self::sizeMax;
            return S_OK;
        } else {
            return MeasureSaved(*this, *size);
        }
    }

 protected:
    /// Loads as ReadFields or something like it reads. @param read HRESULT(kv::StreamReader& in); may throw
    template <class ReadAll>
    HRESULT LoadBy(IStream* stream, ReadAll read) noexcept try {
        if (!stream) return Base::Refuse(E_POINTER);
        kv::StreamReader in(stream);
        const HRESULT status = read(in);
        if (SUCCEEDED(status)) {
            dirty_ = false;
        } else if (in.Failed() && !in.PassesOn()) {
            return this->template Refuse<IPersistStream>(status, damagedStream);
        }
        return status;
    } catch (...) {
        return CaughtStatus();
    }
    /// What IClone answers: another object with the same content.
    HRESULT CloneBySaving(IUnknown** copy) noexcept {
        return copy ? CopyBySaving(Base::Own(), copy) : Base::Refuse(E_POINTER);
    }
    void SetDirty() noexcept { dirty_ = true; }
    /// Refuses a record of a later version than the class knows. @return E_FAIL
    HRESULT RefuseNewer() const noexcept { return this->template Refuse<IPersistStream>(E_FAIL, newerStream); }

 private:
    bool dirty_ = false;
};

}  // namespace mova
