// What every class of the table owes, whatever it does.
#include <atomic>
#include <bit>
#include <vector>

#include "server/ClassFactory.h"
#include "server/ClassTable.h"
#include "tests/windows/Support.h"

namespace mova::test {
namespace {

using GetClassObject = HRESULT STDAPICALLTYPE(const CLSID*, const IID*, void**);

template <class Check>
void ForEveryClass(Check check) {
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        SCOPED_TRACE(kv::Utf8(entry->name));
        const auto factory = FactoryOf(*entry->classId);
        check(*entry, factory);
    }
}

kv::Ptr<IUnknown> NewOf(const kv::Ptr<IClassFactory>& factory) {
    kv::Ptr<IUnknown> object;
    EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IUnknown), object.PutVoid()), S_OK);
    return object;
}

/// The interfaces of a class: those that it lists in this copy of the server's code, and the frame's.
std::vector<IID> InterfacesOf(const kv::Ptr<IUnknown>& object, const ClassEntry& entry) {
    kv::Ptr<IUnknown> twin;
    EXPECT_EQ(entry.factory->CreateInstance(nullptr, __uuidof(IUnknown), twin.PutVoid()), S_OK);
    const auto* code = static_cast<const Unknown*>(reinterpret_cast<INonDelegatingUnknown*>(twin.Get()));
    std::vector<IID> interfaces;
    for (const InterfaceRow& row : code->Interfaces()) interfaces.push_back(std::bit_cast<IID>(row.id));
    for (const IID& iid : {__uuidof(ISupportErrorInfo), __uuidof(IClassID), __uuidof(IDispatch)}) {
        kv::Ptr<IUnknown> answered;
        if (SUCCEEDED(object->QueryInterface(iid, answered.PutVoid()))) interfaces.push_back(iid);
    }
    return interfaces;
}

/// An aggregating object that counts its references and answers nothing but what it is.
class Outer final : public IUnknown {
 public:
    STDMETHODIMP QueryInterface(REFIID iid, void** object) noexcept override {
        *object = iid == __uuidof(IUnknown) ? this : nullptr;
        if (*object) AddRef();
        return *object ? S_OK : E_NOINTERFACE;
    }
    STDMETHODIMP_(ULONG) AddRef() noexcept override { return ++references; }
    STDMETHODIMP_(ULONG) Release() noexcept override { return --references; }

    std::atomic<ULONG> references{1};
};

}  // namespace

TEST(EveryClass, HasOneIdentityAndConsistentQueries) {
    ForEveryClass([](const ClassEntry& entry, const auto& factory) {
        const auto object = NewOf(factory);
        void* other = &other;
        EXPECT_EQ(object->QueryInterface(__uuidof(IStorage), &other), E_NOINTERFACE);
        EXPECT_EQ(other, nullptr);
        EXPECT_EQ(object->QueryInterface(__uuidof(IUnknown), nullptr), E_POINTER);
        const auto interfaces = InterfacesOf(object, entry);
        for (const IID& from : interfaces) {
            kv::Ptr<IUnknown> first;
            ASSERT_EQ(object->QueryInterface(from, first.PutVoid()), S_OK);
            EXPECT_EQ(first.As<IUnknown>().Get(), object.Get()) << "identity through " << kv::Utf8(kv::GuidText(from));
            for (const IID& to : interfaces) {
                kv::Ptr<IUnknown> second;
                EXPECT_EQ(first->QueryInterface(to, second.PutVoid()), S_OK) << kv::Utf8(kv::GuidText(to));
            }
            // A client in C can hand in a null identifier.
            auto** table = *reinterpret_cast<void***>(first.Get());
            const auto query = reinterpret_cast<HRESULT(STDMETHODCALLTYPE*)(IUnknown*, const IID*, void**)>(table[0]);
            other = &other;
            EXPECT_EQ(query(first.Get(), nullptr, &other), E_INVALIDARG);
            EXPECT_EQ(other, nullptr);
        }
        object->AddRef();
        EXPECT_EQ(object->Release(), entry.IsSingleton() ? 2u : 1u) << "its factory holds a singleton, too";
    });
}

TEST(EveryClass, TellsItsClassAndItsErrorSupport) {
    ForEveryClass([](const ClassEntry& entry, const auto& factory) {
        auto object = NewOf(factory);
        const auto classId = object.template As<IClassID>();
        CLSID answered{};
        EXPECT_EQ(classId->GetClassID(&answered), S_OK);
        EXPECT_EQ(answered, *entry.classId);
        EXPECT_EQ(classId->GetClassID(nullptr), E_POINTER);
        const auto support = object.template As<ISupportErrorInfo>();
        EXPECT_EQ(static_cast<bool>(support), std::u16string_view(entry.name) != u"MOVAExtendedErrorInfo");
        if (support) {
            EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(IStorage)), S_FALSE);
            EXPECT_EQ(support->InterfaceSupportsErrorInfo(__uuidof(IMessageLogger)),
                      object.template As<IMessageLogger>() ? S_OK : S_FALSE);
        }
        object = {};  // a tear-off's reference holds its owner
        EXPECT_EQ(classId->GetClassID(&answered), S_OK);
    });
}

TEST(EveryClass, CanBeCalledThroughAutomation) {
    ForEveryClass([](const ClassEntry&, const auto& factory) {
        const auto dispatch = NewOf(factory).template As<IDispatch>();
        ASSERT_TRUE(dispatch);
        UINT count = 0;
        kv::Ptr<ITypeInfo> info;
        EXPECT_EQ(dispatch->GetTypeInfoCount(&count), S_OK);
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(dispatch->GetTypeInfo(0, 0, info.Put()), S_OK);
        EXPECT_EQ(dispatch->GetTypeInfo(1, 0, info.Put()), DISP_E_BADINDEX);
        EXPECT_EQ(dispatch->GetTypeInfoCount(nullptr), E_POINTER);
        EXPECT_EQ(dispatch->GetTypeInfo(0, 0, nullptr), E_POINTER);
        wchar_t nonsense[] = L"Nonsense";
        wchar_t* names[] = {nonsense};
        DISPID id = 0;
        EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, 0, &id), DISP_E_UNKNOWNNAME);
        EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, nullptr, 1, 0, &id), E_INVALIDARG);
        EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 1, 0, nullptr), E_INVALIDARG);
        EXPECT_EQ(dispatch->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
        DISPPARAMS incomplete{nullptr, nullptr, 1, 1};
        EXPECT_EQ(dispatch->Invoke(1, IID_NULL, 0, DISPATCH_METHOD, &incomplete, nullptr, nullptr, nullptr),
                  E_INVALIDARG);
        EXPECT_EQ(dispatch->GetIDsOfNames(IID_NULL, names, 0, 0, &id), E_INVALIDARG);
        DISPPARAMS none{};
        EXPECT_EQ(dispatch->Invoke(12345, IID_NULL, 0, DISPATCH_METHOD, &none, nullptr, nullptr, nullptr),
                  DISP_E_MEMBERNOTFOUND);
    });
}

TEST(EveryClass, AggregatesUnlessItIsASingleton) {
    ForEveryClass([](const ClassEntry& entry, const auto& factory) {
        Outer outer;
        kv::Ptr<IUnknown> inner;
        EXPECT_EQ(factory->CreateInstance(&outer, __uuidof(IClassID), inner.PutVoid()), CLASS_E_NOAGGREGATION);
        if (entry.IsSingleton()) {
            EXPECT_EQ(factory->CreateInstance(&outer, __uuidof(IUnknown), inner.PutVoid()), CLASS_E_NOAGGREGATION);
            return;
        }
        ASSERT_EQ(factory->CreateInstance(&outer, __uuidof(IUnknown), inner.PutVoid()), S_OK);
        EXPECT_EQ(outer.references, 1u);
        EXPECT_EQ(inner.template As<IUnknown>().Get(), inner.Get());
        for (const IID& iid : InterfacesOf(inner, entry)) {
            kv::Ptr<IUnknown> part;
            ASSERT_EQ(inner->QueryInterface(iid, part.PutVoid()), S_OK);
            EXPECT_EQ(outer.references, 2u);
            EXPECT_EQ(part.template As<IUnknown>().Get(), &outer);
            kv::Ptr<IUnknown> other;
            EXPECT_EQ(part->QueryInterface(__uuidof(IClone), other.PutVoid()), E_NOINTERFACE);  // as the outer one says
        }
        EXPECT_EQ(outer.references, 1u);
    });
}

TEST(EveryClass, IsMadeByAFactoryThatRefusesNulls) {
    const auto getClassObject = Export<GetClassObject>("DllGetClassObject");
    ForEveryClass([&](const ClassEntry& entry, const auto& factory) {
        EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IUnknown), nullptr), E_POINTER);
        void* object = &object;
        EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IStorage), &object), E_NOINTERFACE);
        EXPECT_EQ(object, nullptr);
        EXPECT_EQ(factory->QueryInterface(__uuidof(IStorage), &object), E_NOINTERFACE);
        EXPECT_EQ(factory->QueryInterface(__uuidof(IClassFactory), nullptr), E_POINTER);
        EXPECT_EQ(getClassObject(entry.classId, &__uuidof(IClassFactory), nullptr), E_POINTER);
        EXPECT_EQ(getClassObject(entry.classId, &__uuidof(IStorage), &object), E_NOINTERFACE);
        EXPECT_EQ(getClassObject(entry.classId, nullptr, &object), E_INVALIDARG);
        kv::Ptr<ISingletonRelease> release;
        EXPECT_EQ(factory->QueryInterface(__uuidof(ISingletonRelease), release.PutVoid()),
                  entry.IsSingleton() ? S_OK : E_NOINTERFACE);
    });
    void* object = &object;
    EXPECT_EQ(getClassObject(&IID_NULL, &__uuidof(IClassFactory), &object), CLASS_E_CLASSNOTAVAILABLE);
    EXPECT_EQ(object, nullptr);
    EXPECT_EQ(getClassObject(nullptr, &__uuidof(IClassFactory), &object), E_INVALIDARG);
}

TEST(EveryClass, ClonesIntoAnotherObjectOfItsClass) {
    ForEveryClass([](const ClassEntry& entry, const auto& factory) {
        const auto object = NewOf(factory);
        const auto clone = object.template As<IClone>();
        if (!clone) return;
        kv::Ptr<IUnknown> copy;
        ASSERT_EQ(clone->Clone(copy.Put()), S_OK);
        EXPECT_NE(copy.Get(), object.Get());
        CLSID classId{};
        EXPECT_EQ(copy.template As<IClassID>()->GetClassID(&classId), S_OK);
        EXPECT_EQ(classId, *entry.classId);
        EXPECT_EQ(clone->Clone(nullptr), E_POINTER);
    });
}

}  // namespace mova::test
