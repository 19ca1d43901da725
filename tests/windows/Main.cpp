#include "tests/windows/Support.h"

namespace {

/// Fails a test that leaves an object of the library alive, and says which.
class LeakListener final : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override {
        SetErrorInfo(0, nullptr);
        const auto canUnload = mova::test::Export<HRESULT STDAPICALLTYPE()>("DllCanUnloadNow");
        if (canUnload() == S_OK) return;
        kv::Ptr<IObjectCensus> census;
        kv::BString report;
        if (SUCCEEDED(CoGetClassObject(CLSID_PropertySet, CLSCTX_INPROC_SERVER, nullptr, __uuidof(IObjectCensus),
                                       census.PutVoid())))
            census->GetReport(report.Put());
        ADD_FAILURE() << "objects are left alive: " << kv::Utf8(report.View());
    }
};

}  // namespace

int main(int count, char** values) {
    testing::InitGoogleTest(&count, values);
    if (FAILED(CoInitialize(nullptr))) return 2;
    kv::Ptr<IClassFactory> factory;  // keeps the library loaded, not alive
    if (FAILED(CoGetClassObject(CLSID_PropertySet, CLSCTX_INPROC_SERVER, nullptr, __uuidof(IClassFactory),
                                factory.PutVoid())))
        return 2;
    testing::UnitTest::GetInstance()->listeners().Append(new LeakListener);
    const int status = RUN_ALL_TESTS();
    factory = {};
    CoUninitialize();
    return status;
}
