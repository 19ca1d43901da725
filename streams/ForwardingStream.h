#pragma once

#include <objidl.h>

#include "kvcore/Stream.h"
#include "server/Component.h"

namespace mova {

/// What the classes that pass IStream on to an inner stream have in common. Without an inner stream its operations are
/// E_FAIL; all else is as the inner stream does it.
/// @tparam Items the class's interfaces, IStream among them: as Generations<IStream, ISequentialStream>, or in the
///     generations of an interface that extends it
template <class Self, class Coclass, class... Items>
class ForwardingStream : public Component<Self, Coclass, Items...> {
    using Base = Component<Self, Coclass, Items...>;

 public:
    using Base::Base;

    // IStream
    STDMETHODIMP Read(void* target, ULONG size, ULONG* read) noexcept override {
        if (read) *read = 0;
        if (!target) return Base::Refuse(E_POINTER);
        ULONG came = 0;
        const HRESULT status = Forward([&](IStream& inner) { return inner.Read(target, size, &came); });
        if (read) *read = came;
        return status;
    }
    STDMETHODIMP Write(const void* source, ULONG size, ULONG* written) noexcept override {
        if (written) *written = 0;
        if (!source) return Base::Refuse(E_POINTER);
        ULONG went = 0;
        const HRESULT status = Forward([&](IStream& inner) { return inner.Write(source, size, &went); });
        if (written) *written = went;
        return status;
    }
    STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) noexcept override {
        return Forward([&](IStream& inner) { return inner.Seek(move, origin, position); });
    }
    STDMETHODIMP SetSize(ULARGE_INTEGER size) noexcept override {
        return Forward([&](IStream& inner) { return inner.SetSize(size); });
    }
    STDMETHODIMP CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                        ULARGE_INTEGER* written) noexcept override {
        if (read) read->QuadPart = 0;
        if (written) written->QuadPart = 0;
        if (!target) return Base::Refuse(E_POINTER);
        return Forward([&](IStream& inner) { return inner.CopyTo(target, count, read, written); });
    }
    STDMETHODIMP Commit(DWORD flags) noexcept override {
        return Forward([&](IStream& inner) { return inner.Commit(flags); });
    }
    STDMETHODIMP Revert() noexcept override {
        return Forward([](IStream& inner) { return inner.Revert(); });
    }
    STDMETHODIMP LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) noexcept override {
        return Forward([&](IStream& inner) { return inner.LockRegion(offset, size, type); });
    }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) noexcept override {
        return Forward([&](IStream& inner) { return inner.UnlockRegion(offset, size, type); });
    }
    STDMETHODIMP Stat(STATSTG* stat, DWORD flags) noexcept override {
        if (!stat) return Base::Refuse(E_POINTER);
        return Forward([&](IStream& inner) { return inner.Stat(stat, flags); });
    }
    STDMETHODIMP Clone(IStream** clone) noexcept override {
        if (!clone) return Base::Refuse(E_POINTER);
        *clone = nullptr;
        return Forward([&](IStream& inner) { return inner.Clone(clone); });
    }

 protected:
    const kv::Ptr<IStream>& Inner() const noexcept { return inner_; }
    /// @return E_INVALIDARG for the object itself, which would be asked without end
    HRESULT SetInner(IStream* stream) noexcept {
        if (kv::Ptr<IStream>(stream).template As<IUnknown>().Get() == this->Controlling())
            return Base::Refuse(E_INVALIDARG);
        inner_ = kv::Ptr<IStream>(stream);
        return S_OK;
    }
    HRESULT HandOutInner(IStream** stream) const noexcept {
        if (!stream) return Base::Refuse(E_POINTER);
        *stream = kv::Ptr<IStream>(inner_).Detach();
        return S_OK;
    }

 private:
    /// Calls the inner stream, which is held: it may be taken from this object meanwhile.
    template <class Operation>
    HRESULT Forward(Operation operation) noexcept {
        const kv::Ptr<IStream> held = inner_;
        return held ? operation(*held.Get()) : Base::Refuse(E_FAIL);
    }

    kv::Ptr<IStream> inner_;
};

}  // namespace mova
