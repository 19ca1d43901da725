#include <atomic>
#include <thread>

#include "kvcore/FreeList.h"
#include "server/ClassTable.h"
#include "tests/windows/MemoryFaults.h"
#include "tests/windows/Support.h"

namespace {

/// Fails a test that leaves an object of the library alive, and says which, or memory.
class LeakListener final : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        CanUnload();  // which lets go of what is kept
        mova::test::GuardMemory();
        blocksBefore_ = mova::test::LiveBlocks();
        platformBefore_ = mova::test::LiveBlocksOfPlatform();
    }
    void OnTestEnd(const testing::TestInfo& test) override {
        SetErrorInfo(0, nullptr);
        if (!HoldsMoreThanIsGuarded(test)) {
            EXPECT_EQ(mova::test::UnguardedBlocks(), 0);
        }
        if (CanUnload()) {
            if constexpr (!kv::recyclesMemory) {
                EXPECT_LE(mova::test::LiveBlocks(), blocksBefore_) << "memory is left behind";
                if (!IsKeptByPlatform(test)) {
                    EXPECT_LE(mova::test::LiveBlocksOfPlatform(), platformBefore_) << "texts or arrays are left behind";
                }
            }
            return;
        }
        kv::Ptr<IObjectCensus> census;
        kv::BString report;
        if (SUCCEEDED(CoGetClassObject(CLSID_PropertySet, CLSCTX_INPROC_SERVER, nullptr, __uuidof(IObjectCensus),
                                       census.PutVoid())))
            census->GetReport(report.Put());
        ADD_FAILURE() << "objects are left alive: " << kv::Utf8(report.View());
    }

    static bool CanUnload() { return mova::test::Export<HRESULT STDAPICALLTYPE()>("DllCanUnloadNow")() == S_OK; }

    /// Some hold more blocks at once than can be guarded, or make so many that the addresses for them run out.
    static bool HoldsMoreThanIsGuarded(const testing::TestInfo& test) {
        constexpr std::string_view tests[] = {
            "ByteSwapStreamIO.IsNotLaidOverItself",   "XMLSerializer.BoundsTheNestingOfObjects",
            "Threads.UseEveryClassAndWhatOthersMade", "PropertySet.EndsAChainOfSetsLongerThanTheStack",
            "ObjectStream.BoundsHowDeepAndHowMuch",   "ObjectStream.BoundsArraysAndObjectsTogether",
            "VariantStreamIO.BelievesNoLength",       "JSONLimits.TreesThatAreMadeEndHoweverDeepTheyAre"};
        const std::string name = std::string(test.test_suite_name()) + "." + test.name();
        return std::find(std::begin(tests), std::end(tests), name) != std::end(tests);
    }

    /// The platform keeps for good what it made for an apartment of its own, and texts that it converted for calls with
    /// too many arguments.
    static bool IsKeptByPlatform(const testing::TestInfo& test) {
        const std::string_view name = test.name();
        return name == "MarshalsToTheMultithreadedApartment" || name == "CanCallEveryOperationAndNoneComesToHarm";
    }

    long blocksBefore_ = 0;
    long platformBefore_ = 0;
};

/// Does what the library and the platform keep something of for good, so that no test is blamed for it.
void WarmUp() {
    for (const mova::ClassEntry* entry = mova::classTable; !entry->IsEnd(); ++entry)
        mova::test::New<IUnknown>(entry->name).As<IDispatch>();
    const auto mapper = mova::test::New<IXMLTypeMapper>(u"XMLTypeMapper");
    const auto reader = mova::test::New<IXMLTextReader>(u"XMLTextReader");
    DOUBLE number = 0;
    mapper->TextToDouble(mova::test::Bstr(u"no number"), &number);
    for (const char16_t* text : {u"<a b='c'>text</a>", u"<a><b></a>"}) {
        HRESULT status = reader->put_Text(mova::test::Bstr(text));
        for (VARIANT_BOOL found = VARIANT_TRUE; SUCCEEDED(status) && found;) status = reader->Read(&found);
    }
    mova::test::Export<HRESULT STDAPICALLTYPE()>("DllCanUnloadNow")();
}

/// The runtime makes a lock when it first throws without memory. One thread at a time can be short of memory.
void WarmUpShortage() {
    const auto reader = mova::test::New<IXMLTextReader>(u"XMLTextReader");
    const mova::test::Bstr broken(u"<a><b></a>");
    for (long granted = 0, felt = true; felt; ++granted) {
        const mova::test::MemoryShortage shortage(granted);
        VARIANT_BOOL found = VARIANT_TRUE;
        for (HRESULT status = reader->put_Text(broken); SUCCEEDED(status) && found;) status = reader->Read(&found);
        felt = shortage.WasFelt();
    }
}

/// The thread library keeps the records of as many threads as there were at once. (They meet at an event: the runtime's
/// std::latch may miss that all have come.)
void WarmUpThreads() {
    const HANDLE allHaveCome = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::atomic missing = 16;
    std::vector<std::thread> threads;
    threads.reserve(missing);
    for (int i = missing; i > 0; --i)
        threads.emplace_back([&] {
            CoInitialize(nullptr);
            WarmUp();
            if (--missing == 0) SetEvent(allHaveCome);
            WaitForSingleObject(allHaveCome, INFINITE);
            CoUninitialize();
        });
    for (auto& thread : threads) thread.join();
    CloseHandle(allHaveCome);
    WarmUp();
}

}  // namespace

int main(int count, char** values) {
    testing::InitGoogleTest(&count, values);
    if (FAILED(CoInitialize(nullptr))) return 2;
    kv::Ptr<IClassFactory> factory;  // keeps the library loaded, not alive
    if (FAILED(CoGetClassObject(CLSID_PropertySet, CLSCTX_INPROC_SERVER, nullptr, __uuidof(IClassFactory),
                                factory.PutVoid())))
        return 2;
    mova::test::WatchMemory();
    WarmUpThreads();
    WarmUpShortage();
    testing::UnitTest::GetInstance()->listeners().Append(new LeakListener);
    const int status = RUN_ALL_TESTS();
    factory = {};
    CoUninitialize();
    return status;
}
