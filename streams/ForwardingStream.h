#pragma once

#include <objidl.h>

#include "kvcore/Stack.h"
#include "kvcore/Stream.h"
#include "server/Component.h"

namespace mova {

/// Answered by streams that pass on to an inner stream, so that none is laid over itself. Of this module only.
struct IStreamOverStream : IUnknown {
    /// The inner stream, uncounted, or null.
    virtual IStream* STDMETHODCALLTYPE InnerStream() noexcept = 0;
};

}  // namespace mova

__CRT_UUID_DECL(mova::IStreamOverStream, 0xDEC3CD33, 0x71DA, 0x4679, 0xA5, 0x2B, 0xA4, 0x06, 0xF6, 0x17, 0xE5, 0x5F)

namespace mova {

/// What the classes that pass IStream on to an inner stream have in common. Without an inner stream its operations are
/// E_FAIL, and where streams of other makers lead back to this one without end; all else is as the inner stream does
/// it.
/// @tparam Items the class's interfaces, IStream among them: as Generations<IStream, ISequentialStream>, or in the
///     generations of an interface that extends it
template <class Self, class Coclass, class... Items>
class ForwardingStream : public Component<Self, Coclass, Items..., IStreamOverStream> {
    using Base = Component<Self, Coclass, Items..., IStreamOverStream>;

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
    // IStreamOverStream
    IStream* STDMETHODCALLTYPE InnerStream() noexcept override { return inner_.Get(); }

 protected:
    const kv::Ptr<IStream>& Inner() const noexcept { return inner_; }
    /// Whether the inner stream is one of these, too.
    bool IsOverAnother() const noexcept { return isOverAnother_; }
    /// @return E_INVALIDARG for the object itself and for what lies over it, which would be asked without end
    HRESULT SetInner(IStream* stream) noexcept {
        kv::Ptr<IStream> inner(stream);
        const auto first = inner.As<IStreamOverStream>();
        for (auto over = first; over; over = kv::Ptr<IStream>(over->InnerStream()).template As<IStreamOverStream>())
            if (over.template As<IUnknown>().Get() == this->Controlling())
                return this->template Refuse<IStream>(E_INVALIDARG, u"A stream cannot be laid over itself.");
        isOverAnother_ = static_cast<bool>(first);
        inner_ = std::move(inner);
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
        constexpr std::size_t enoughStack = 32 * 1024;
        if (kv::StackLeft() < enoughStack)
            return this->template Refuse<IStream>(E_FAIL, u"Too many streams are laid over each other.");
        const kv::Ptr<IStream> held = inner_;
        return held ? operation(*held.Get()) : Base::Refuse(E_FAIL);
    }

    kv::Ptr<IStream> inner_;
    bool isOverAnother_ = false;
};

}  // namespace mova
