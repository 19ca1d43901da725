// Many threads at once, each in an apartment of its own.
#include <mutex>
#include <thread>

#include "server/ClassTable.h"
#include "tests/windows/Persistence.h"

namespace mova::test {
namespace {

constexpr int threadCount = 16;
constexpr int rounds = 25;

/// Bytes of saved objects, on their way from one thread to another.
class Exchange {
 public:
    void Give(Bytes bytes) {
        const std::lock_guard lock(mutex_);
        saved_.push_back(std::move(bytes));
    }
    /// Empty where there are none.
    Bytes Take() {
        const std::lock_guard lock(mutex_);
        if (saved_.empty()) return {};
        Bytes bytes = std::move(saved_.back());
        saved_.pop_back();
        return bytes;
    }

 private:
    std::mutex mutex_;
    std::vector<Bytes> saved_;
};

/// Runs on so many threads at once, each in an apartment of its own, and asks to unload at its end.
void InApartments(int count, const std::function<void(int number)>& run) {
    std::vector<std::thread> threads;
    threads.reserve(static_cast<std::size_t>(count));
    for (int number = 0; number < count; ++number)
        threads.emplace_back([&run, number] {
            EXPECT_EQ(CoInitialize(nullptr), S_OK);
            run(number);
            SetErrorInfo(0, nullptr);
            Export<HRESULT STDAPICALLTYPE()>("DllCanUnloadNow")();
            CoUninitialize();
        });
    for (auto& thread : threads) thread.join();
}

/// One object of each class, which is asked what every object answers, and those that persist are given away.
void UseEveryClass(Exchange& exchange) {
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        const auto object = New<IUnknown>(entry->name);
        if (!object) continue;
        EXPECT_TRUE(object.As<IDispatch>()) << kv::Utf8(entry->name);
        kv::Ptr<IUnknown> copy;
        const auto clone = object.As<IClone>();
        EXPECT_TRUE(!clone || clone->Clone(copy.Put()) == S_OK) << kv::Utf8(entry->name);
        if (object.As<IPersistStream>()) exchange.Give(Saved(copy ? copy.Get() : object.Get()));
    }
}

/// Lets calls from other apartments in until an event comes.
void ServeCallsUntil(HANDLE event) {
    while (MsgWaitForMultipleObjects(1, &event, FALSE, INFINITE, QS_ALLINPUT) != WAIT_OBJECT_0) {
        MSG message;
        while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE)) DispatchMessageW(&message);
    }
}

}  // namespace

TEST(Threads, UseEveryClassAndLoadWhatOthersSaved) {
    Exchange exchange;
    InApartments(threadCount, [&](int number) {
        for (int round = 0; round < rounds; ++round) {
            UseEveryClass(exchange);
            for (int i = 0; i < 20; ++i) {
                const Bytes bytes = exchange.Take();
                if (bytes.empty()) break;
                EXPECT_EQ(Saved(Loaded(bytes).Get()), bytes);
            }
            if (round % 5 == number % 5) Export<HRESULT STDAPICALLTYPE()>("DllCanUnloadNow")();
        }
    });
    EXPECT_EQ(Export<HRESULT STDAPICALLTYPE()>("DllCanUnloadNow")(), S_OK);
}

TEST(Threads, HaveSingletonsOfTheirOwn) {
    std::mutex mutex;
    std::vector<kv::Ptr<IUnknown>> seen;  // held, so that no address comes again
    InApartments(threadCount, [&](int) {
        const auto mapper = New<IXMLTypeMapper2>(u"XMLTypeMapper");
        EXPECT_EQ(New<IXMLTypeMapper2>(u"XMLTypeMapper").Get(), mapper.Get());
        LONG before = 0, after = 0;
        EXPECT_EQ(mapper->get_TypeCount(&before), S_OK);
        EXPECT_EQ(mapper->AddType(Bstr(u"Mine"), Bstr(u"urn:mine"), Bstr(u"{588E5A11-D09B-11D1-AA7C-00C04FA33A15}")),
                  S_OK);
        EXPECT_EQ(mapper->get_TypeCount(&after), S_OK);
        EXPECT_EQ(after, before + 1) << "another thread's types are seen";
        const std::lock_guard lock(mutex);
        for (const auto& other : seen) EXPECT_NE(other.Get(), mapper.template As<IUnknown>().Get());
        seen.push_back(mapper.template As<IUnknown>());
    });
}

TEST(Threads, CallObjectsOfOtherApartmentsThroughThePlatform) {
    HANDLE done = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    const auto property = New<IPropertySetProperty>(u"PropertySetProperty");
    EXPECT_EQ(property->put_Key(Bstr(u"key")), S_OK);
    kv::Ptr<IStream> way;
    ASSERT_EQ(CoMarshalInterThreadInterfaceInStream(__uuidof(IPropertySetProperty), property.Get(), way.Put()), S_OK);
    std::thread caller([&] {
        EXPECT_EQ(CoInitialize(nullptr), S_OK);
        {
            kv::Ptr<IPropertySetProperty> proxy;
            EXPECT_EQ(CoGetInterfaceAndReleaseStream(way.Detach(), __uuidof(IPropertySetProperty), proxy.PutVoid()),
                      S_OK);
            EXPECT_NE(proxy.Get(), property.Get());
            const auto key = AnswerOf(proxy, &IPropertySetProperty::get_Key);
            EXPECT_EQ(kv::Utf8(key.View()), "key");
            EXPECT_EQ(proxy->put_Value(ArrayOf({u"one", u"two"}).Get()), S_OK);
        }
        CoUninitialize();
        SetEvent(done);
    });
    ServeCallsUntil(done);
    caller.join();
    CloseHandle(done);
    const auto value = AnswerOf(property, &IPropertySetProperty::get_Value);
    EXPECT_EQ(value.Get().vt, VT_ARRAY | VT_VARIANT);
}

}  // namespace mova::test
