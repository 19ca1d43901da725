#pragma once

#include <utility>

#include "kvcore/Platform.h"

namespace kv {

/// Holds one reference to a component.
template <class I>
class Ptr {
 public:
    Ptr() noexcept = default;
    explicit Ptr(I* object) noexcept : object_(object) {
        if (object_) object_->AddRef();
    }
    Ptr(const Ptr& other) noexcept : Ptr(other.object_) {}
    Ptr(Ptr&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    Ptr& operator=(Ptr other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~Ptr() {
        if (object_) object_->Release();
    }

    /// Takes over the reference that the caller owns.
    static Ptr Attach(I* object) noexcept {
        Ptr held;
        held.object_ = object;
        return held;
    }
    /// Gives the reference away.
    [[nodiscard]] I* Detach() noexcept { return std::exchange(object_, nullptr); }
    /// Receives an out-parameter; lets go of what was held.
    I** Put() noexcept {
        *this = Ptr();
        return &object_;
    }
    void** PutVoid() noexcept { return reinterpret_cast<void**>(Put()); }

    /// The object through another of its interfaces; null where it offers none.
    template <class J>
    Ptr<J> As() const noexcept {
        Ptr<J> other;
        if (object_ && FAILED(object_->QueryInterface(__uuidof(J), other.PutVoid()))) return Ptr<J>();
        return other;
    }

    I* Get() const noexcept { return object_; }
    I* operator->() const noexcept { return object_; }
    explicit operator bool() const noexcept { return object_ != nullptr; }

 private:
    I* object_ = nullptr;
};

/// Creates a component of another server by its class identifier.
template <class I>
HRESULT Create(REFCLSID classId, Ptr<I>& object, DWORD context = CLSCTX_INPROC_SERVER) noexcept {
    return CoCreateInstance(classId, nullptr, context, __uuidof(I), object.PutVoid());
}

}  // namespace kv
