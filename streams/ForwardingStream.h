#pragma once

#include <objidl.h>

#include "kvcore/Stream.h"
#include "server/Component.h"

namespace mova {

/// A stream whose bytes are another stream's: all operations of IStream go there. Without one they are E_FAIL; a null
/// buffer is E_POINTER, while the counts that Read and Write answer may be null, as every stream allows.
/// @tparam Items among which one is or extends IStream.
template <class Self, class Coclass, class... Items>
class ForwardingStream : public Component<Self, Coclass, Items...> {
    using Base = Component<Self, Coclass, Items...>;

 public:
    using Base::Base;

    STDMETHODIMP Read(void* target, ULONG size, ULONG* read) noexcept override {
        if (read) *read = 0;
        if (!inner_) return Base::Refuse(E_FAIL);
        return target ? inner_->Read(target, size, read) : Base::Refuse(E_POINTER);
    }
    STDMETHODIMP Write(const void* source, ULONG size, ULONG* written) noexcept override {
        if (written) *written = 0;
        if (!inner_) return Base::Refuse(E_FAIL);
        return source ? inner_->Write(source, size, written) : Base::Refuse(E_POINTER);
    }
    STDMETHODIMP Seek(LARGE_INTEGER move, DWORD origin, ULARGE_INTEGER* position) noexcept override {
        return inner_ ? inner_->Seek(move, origin, position) : Base::Refuse(E_FAIL);
    }
    STDMETHODIMP SetSize(ULARGE_INTEGER size) noexcept override {
        return inner_ ? inner_->SetSize(size) : Base::Refuse(E_FAIL);
    }
    STDMETHODIMP CopyTo(IStream* target, ULARGE_INTEGER count, ULARGE_INTEGER* read,
                        ULARGE_INTEGER* written) noexcept override {
        return inner_ ? inner_->CopyTo(target, count, read, written) : Base::Refuse(E_FAIL);
    }
    STDMETHODIMP Commit(DWORD flags) noexcept override { return inner_ ? inner_->Commit(flags) : Base::Refuse(E_FAIL); }
    STDMETHODIMP Revert() noexcept override { return inner_ ? inner_->Revert() : Base::Refuse(E_FAIL); }
    STDMETHODIMP LockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) noexcept override {
        return inner_ ? inner_->LockRegion(offset, size, type) : Base::Refuse(E_FAIL);
    }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER offset, ULARGE_INTEGER size, DWORD type) noexcept override {
        return inner_ ? inner_->UnlockRegion(offset, size, type) : Base::Refuse(E_FAIL);
    }
    STDMETHODIMP Stat(STATSTG* stat, DWORD flags) noexcept override {
        return inner_ ? inner_->Stat(stat, flags) : Base::Refuse(E_FAIL);
    }
    STDMETHODIMP Clone(IStream** clone) noexcept override {
        if (!clone) return Base::Refuse(E_POINTER);
        *clone = nullptr;
        return inner_ ? inner_->Clone(clone) : Base::Refuse(E_FAIL);
    }

 protected:
    kv::Ptr<IStream> inner_;
};

}  // namespace mova
