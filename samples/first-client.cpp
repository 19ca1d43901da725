#include <movaSystem.h>

#include <cstdio>

int main() {
    CoInitialize(nullptr);
    IPropertySet* properties = nullptr;
    HRESULT status = CoCreateInstance(CLSID_PropertySet, nullptr, CLSCTX_INPROC_SERVER, __uuidof(IPropertySet),
                                      reinterpret_cast<void**>(&properties));
    if (FAILED(status)) return 1;
    BSTR name = SysAllocString(L"Port");
    VARIANT port{};
    port.vt = VT_I4;
    port.lVal = 5151;
    status = properties->SetProperty(name, port);
    if (SUCCEEDED(status)) status = properties->GetProperty(name, &port);
    if (SUCCEEDED(status)) std::printf("Port is %ld\n", port.lVal);
    SysFreeString(name);
    properties->Release();
    CoUninitialize();
    return SUCCEEDED(status) ? 0 : 1;
}
