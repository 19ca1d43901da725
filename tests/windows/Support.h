// What the tests against the registered library share.
#pragma once

#include <gtest/gtest.h>
#include <movaSystem.h>

#include <concepts>
#include <cstring>
#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "kvcore/Guid.h"
#include "kvcore/Ptr.h"
#include "kvcore/TrelCore.h"
#include "kvcore/Utf.h"
#include "kvcore/Variant.h"

namespace mova::test {

/// An object of the library by its class's name, through the registry.
template <class I>
kv::Ptr<I> New(std::u16string_view className) {
    CLSID classId{};
    kv::Ptr<I> object;
    const std::u16string progId = u"movaSystem." + std::u16string(className);
    EXPECT_EQ(CLSIDFromProgID(kv::Wide(progId.c_str()), &classId), S_OK);
    EXPECT_EQ(kv::Create(classId, object), S_OK) << kv::Utf8(className);
    return object;
}

/// The class object of one of ours: the runtime's way to an object is too long for many of them.
kv::Ptr<IClassFactory> FactoryOf(REFCLSID classId);

/// A clone of an object, or of a stream. Fails the test where there is none.
template <class I>
kv::Ptr<I> CloneOf(const kv::Ptr<I>& object) {
    kv::Ptr<std::conditional_t<std::is_same_v<I, IStream>, IStream, IUnknown>> clone;
    if constexpr (std::is_same_v<I, IStream>) {
        EXPECT_EQ(object->Clone(clone.Put()), S_OK);
    } else {
        EXPECT_EQ(object.template As<IClone>()->Clone(clone.Put()), S_OK);
    }
    return clone.template As<I>();
}

/// An object of another maker, which lives where a test puts it. @tparam Interfaces what it answers beside IUnknown
template <class... Interfaces>
class Local : public Interfaces... {
 public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        *object = nullptr;
        const auto offer = [&](const IID& offered, auto* found) { *object = iid == offered ? found : *object; };
        (offer(__uuidof(IUnknown), static_cast<Interfaces*>(this)), ...);
        (offer(__uuidof(Interfaces), static_cast<Interfaces*>(this)), ...);
        return *object ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return 2; }
    STDMETHODIMP_(ULONG) Release() noexcept override { return 1; }
};

/// A stream of another maker that does no more than a test says.
class LocalStream : public Local<IStream> {
 public:
    STDMETHODIMP Read(void*, ULONG, ULONG*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP Write(const void*, ULONG, ULONG*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP SetSize(ULARGE_INTEGER) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) noexcept override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Commit(DWORD) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP Revert() noexcept override { return E_NOTIMPL; }
    STDMETHODIMP LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP Stat(STATSTG*, DWORD) noexcept override { return E_NOTIMPL; }
    STDMETHODIMP Clone(IStream**) noexcept override { return E_NOTIMPL; }
};

/// A BSTR for the length of a call.
class Bstr {
 public:
    Bstr(const char16_t* text) : text_(std::u16string_view(text)) {}
    Bstr(std::u16string_view text) : text_(text) {}
    operator BSTR() const noexcept { return text_.Get(); }

 private:
    kv::BString text_;
};

/// A value of a type that is made of the bytes of what is in it, or of zeros, sound or not. It owns nothing of it.
template <class Content = LONGLONG>
VARIANT Raw(int type, Content content = {}) {
    VARIANT value{};
    static_assert(sizeof content <= sizeof value.llVal);
    std::memcpy(&value.llVal, &content, sizeof content);
    value.vt = static_cast<VARTYPE>(type);
    return value;
}
/// Values of the common types.
template <std::integral Integer>
kv::Variant Value(Integer number) {
    return kv::Variant::Attach(Raw(VT_I4, static_cast<LONG>(number)));
}
inline kv::Variant Value(double number) {
    return kv::Variant::Attach(Raw(VT_R8, number));
}
inline kv::Variant Value(std::u16string_view text) {
    return kv::Variant::FromText(kv::BString(text));
}
inline kv::Variant Value(IUnknown* object) {
    return kv::Variant::Attach(Raw(VT_UNKNOWN, kv::Ptr<IUnknown>(object).Detach()));
}
/// An array of VARIANTs from index 0.
kv::Variant ArrayOf(std::initializer_list<std::u16string_view> texts);
kv::Variant ArrayOf(std::initializer_list<LONG> numbers);
/// A new array whose elements are all zero.
kv::Variant Array(VARTYPE type, std::initializer_list<SAFEARRAYBOUND> bounds);
/// Arrays in arrays, so many of them.
kv::Variant Nested(int levels);
/// One value of every type that a VARIANT can hold but for objects, arrays with lower bounds and several dimensions
/// among them.
std::vector<kv::Variant> EveryValue();
/// A value by reference to another, which must outlive it.
inline VARIANT ReferenceTo(VARIANT& value) {
    return Raw(VT_BYREF | VT_VARIANT, &value);
}

/// What an operation of an object, by any pointer to it, answers in its last parameter. Fails the test where that
/// fails.
/// @return texts, values and interfaces in what owns them, all else as it is
template <class Object, class Interface, class... Parameters, class... Arguments>
auto AnswerOf(const Object& object, HRESULT (STDMETHODCALLTYPE Interface::*ask)(Parameters...),
              const Arguments&... arguments) {
    using Out = std::remove_pointer_t<std::tuple_element_t<sizeof...(Parameters) - 1, std::tuple<Parameters...>>>;
    const auto into = [&](Out* answer) { EXPECT_EQ((std::to_address(object)->*ask)(arguments..., answer), S_OK); };
    if constexpr (std::is_same_v<Out, BSTR>) {
        kv::BString text;
        into(text.Put());
        return text;
    } else if constexpr (std::is_same_v<Out, VARIANT>) {
        kv::Variant value;
        into(value.Put());
        return value;
    } else if constexpr (std::is_pointer_v<Out>) {
        kv::Ptr<std::remove_pointer_t<Out>> part;
        into(part.Put());
        return part;
    } else {
        Out answer;
        std::memset(&answer, 7, sizeof answer);
        into(&answer);
        return answer;
    }
}

/// The thread's error information, which reading takes off it: "SOURCE|DESCRIPTION|{IID}", or empty.
std::string TakeErrorInfo();
std::string Refusal(std::string_view className, std::string_view description, REFIID iid);
/// What a refusal of an interface must have left on the thread.
template <class I>
std::string Refusal(std::string_view className, std::string_view description) {
    return Refusal(className, description, __uuidof(I));
}
/// What a call left on the thread that was to be refused with a status; what it answered instead, too, where it was
/// not.
inline std::string Refused(HRESULT answered, HRESULT expected) {
    std::string told = TakeErrorInfo();
    return answered == expected ? told : std::to_string(answered) + " in place of the status, " + told;
}
/// The refusals that the tests have expected so far and were told.
std::vector<std::string> HeldRefusals();

bool Equal(IPropertySet* left, IPropertySet* right);
/// The names of a set's properties in their order, separated by blanks.
std::string Names(IPropertySet* set);

/// The folder that the tests, the client and the library are in, with a backslash at the end.
std::u16string BinaryFolder();
inline std::u16string LibraryFile() {
    return BinaryFolder() + u"movaSystem.dll";
}
/// An exported function of the library, which is loaded.
template <class Function>
Function* Export(const char* name) {
    return reinterpret_cast<Function*>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"movaSystem.dll"), name)));
}

/// A setting of the user for the length of a test.
class Setting {
 public:
    Setting(const char16_t* name, DWORD type, const void* data, std::size_t size) : name_(name) {
        EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, kv::Wide(TrelCore::settingsKey), kv::Wide(name), type, data,
                                  static_cast<DWORD>(size)),
                  0);
    }
    Setting(const char16_t* name, const DWORD& number) : Setting(name, REG_DWORD, &number, sizeof number) {}
    Setting(const char16_t* name, const std::u16string& text)
        : Setting(name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(char16_t)) {}
    ~Setting() {
        EXPECT_EQ(RegDeleteKeyValueW(HKEY_CURRENT_USER, kv::Wide(TrelCore::settingsKey), kv::Wide(name_)), 0);
    }
    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;

 private:
    const char16_t* name_;
};

/// A file of the project.
std::string ReadSource(const std::string& path);
/// The product's sources and interface definitions by their paths; literals that follow each other in them are one.
std::map<std::string, std::string> ProductSources();

struct ProcessResult {
    DWORD status;
    std::string output;  ///< standard output, with what came on standard error in its place
};
/// Runs a program with a standard input.
ProcessResult RunProcess(std::u16string commandLine, std::string_view input = {});
/// Runs the command-line client.
ProcessResult Mova(const std::u16string& arguments, std::string_view input = {});

/// What the client prints and answers where it is called with these arguments.
struct ClientCall {
    std::u16string arguments;
    std::string output;
    DWORD status = 0;
};
/// Fails the test unless the calls of a command print and answer that, in one script for them all.
void ExpectClient(const std::u16string& command, std::initializer_list<ClientCall> calls);

}  // namespace mova::test
