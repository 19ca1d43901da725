// What the tests of saving and loading share.
#pragma once

#include <functional>
#include <vector>

#include "tests/windows/Support.h"

namespace mova::test {

using Bytes = std::vector<std::uint8_t>;

/// A stream in memory with these bytes, at their start.
kv::Ptr<IStream> StreamOf(const Bytes& bytes);
/// All bytes of a stream of ours in memory.
Bytes BytesOf(const kv::Ptr<IStream>& stream);
/// An object stream over a stream.
kv::Ptr<IObjectStream2> ObjectsOver(IStream* stream);

/// An object as an object stream saves it. Fails the test where that fails.
Bytes Saved(IUnknown* object);
/// What an object saves of itself, clean afterwards. Fails the test where that fails.
Bytes SavedAlone(IUnknown* object);
/// Loads the object that stands first. Fails the test where that fails.
kv::Ptr<IUnknown> Loaded(const Bytes& bytes);
/// Loads from many streams, good or bad, one after the other.
class Loader {
 public:
    Loader() : memory_(StreamOf({})), objects_(ObjectsOver(memory_.Get())) {}
    HRESULT Load(const Bytes& bytes, kv::Ptr<IUnknown>& object);

 private:
    kv::Ptr<IStream> memory_;
    kv::Ptr<IObjectStream2> objects_;
};

/// Reads a document of one object, whose type is "mova:Name" of the library, or "own:Own" of one that LoadInto serves.
HRESULT LoadXml(std::u16string_view type, std::u16string_view content, kv::Ptr<IUnknown>& object);
/// Reads a document into an object that is there already.
HRESULT LoadInto(IUnknown* object, std::u16string_view content = {});

/// Holds bytes against a golden file of the project; found ones are left in the build folder where they differ.
void ExpectGolden(const Bytes& bytes, const std::string& name);
Bytes ReadGolden(const std::string& name);

/// Takes apart what refers to each other, so that it ends when its references do.
void Dissolve(const kv::Ptr<IUnknown>& object);

/// Hands all that can be made of good bytes by cutting them, turning a bit, or putting an odd length or count anywhere.
void ForEveryDamage(const Bytes& good, const std::function<void(const Bytes& damaged)>& check);

/// A stream of another maker that gives and takes few bytes at a time and cannot tell its size.
class Trickle final : public LocalStream {
 public:
    explicit Trickle(Bytes content = {}, ULONG atOnce = 3) : bytes(std::move(content)), atOnce_(atOnce) {}
    STDMETHODIMP Read(void* target, ULONG size, ULONG* read) noexcept override;
    STDMETHODIMP Write(const void* source, ULONG size, ULONG* written) noexcept override;

    Bytes bytes;
    std::size_t position = 0;
    int callsLeft = -1;  ///< so many reads or writes succeed, the next one is STG_E_MEDIUMFULL; below 0: all
    bool isCut = false;  ///< the next one gives or takes half of the bytes instead, and those behind it none
    int calls = 0;
    std::function<void()> visit;  ///< done once, when it is written to and has not yet taken the bytes

 private:
    /// Whether a call fails; else how many bytes it may give or take.
    bool Fails(ULONG& size) noexcept;

    ULONG atOnce_;
    bool isAtEnd_ = false;
};

/// An object of another maker that a test describes: it is created through a class of its own for as long as the test
/// wants, and persists as the test says.
class Foreign : public IPersistStream {
 public:
    virtual ~Foreign() = default;
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        *object = Find(iid);
        if (!*object) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references_; }
    STDMETHODIMP_(ULONG) Release() noexcept override {
        const ULONG left = --references_;
        if (left == 0) delete this;
        return left;
    }
    STDMETHODIMP GetClassID(CLSID* classId) noexcept override {
        *classId = __uuidof(::PropertySet);
        return S_OK;
    }
    STDMETHODIMP IsDirty() noexcept override { return S_FALSE; }
    STDMETHODIMP Load(IStream*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP Save(IStream*, BOOL) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP GetSizeMax(ULARGE_INTEGER*) noexcept override { return E_NOTIMPL; }

 protected:
    /// The interface with that identifier, uncounted.
    virtual void* Find(REFIID iid) noexcept {
        const bool isOne = iid == __uuidof(IUnknown) || iid == __uuidof(IPersist) || iid == __uuidof(IPersistStream);
        return isOne ? static_cast<IPersistStream*>(this) : nullptr;
    }

 private:
    ULONG references_ = 1;
};

/// One that offers another interface, too.
template <class I>
class ForeignWith : public Foreign, public I {
 public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        return Foreign::QueryInterface(iid, object);
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return Foreign::AddRef(); }
    STDMETHODIMP_(ULONG) Release() noexcept override { return Foreign::Release(); }

 protected:
    void* Find(REFIID iid) noexcept override { return iid == __uuidof(I) ? static_cast<I*>(this) : Foreign::Find(iid); }
};

/// Serves a class in this process for as long as it lives.
class Served final : public Local<IClassFactory> {
 public:
    Served(REFCLSID classId, std::function<IUnknown*()> make) : make_(std::move(make)) {
        EXPECT_EQ(CoRegisterClassObject(classId, this, CLSCTX_INPROC_SERVER, REGCLS_MULTIPLEUSE, &cookie_), S_OK);
    }
    ~Served() { CoRevokeClassObject(cookie_); }
    Served(const Served&) = delete;
    Served& operator=(const Served&) = delete;

    STDMETHODIMP CreateInstance(IUnknown* outer, REFIID iid, void** object) noexcept override {
        *object = nullptr;
        if (outer) return CLASS_E_NOAGGREGATION;
        ++created;
        return kv::Ptr<IUnknown>::Attach(make_())->QueryInterface(iid, object);
    }
    STDMETHODIMP LockServer(BOOL) noexcept override { return S_OK; }

    int created = 0;

 private:
    std::function<IUnknown*()> make_;
    DWORD cookie_ = 0;
};

}  // namespace mova::test
