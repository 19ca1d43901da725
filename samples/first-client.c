/* The library from plain C: no C++ anywhere, errors by their status and their text. */
#define COBJMACROS
#include <movaSystem.h>
#include <stdio.h>

/* Prints what the thread's error information says of a failure. */
static void PrintError(const char* what, HRESULT status) {
    IErrorInfo* error = NULL;
    BSTR text = NULL;
    if (GetErrorInfo(0, &error) == S_OK) {
        IErrorInfo_GetDescription(error, &text);
        IErrorInfo_Release(error);
    }
    printf("%s: %08lX %ls\n", what, (unsigned long)status, text ? text : L"");
    SysFreeString(text);
}

static HRESULT Create(const wchar_t* progId, REFIID iid, void** object) {
    CLSID classId;
    const HRESULT status = CLSIDFromProgID(progId, &classId);
    return FAILED(status) ? status : CoCreateInstance(&classId, NULL, CLSCTX_INPROC_SERVER, iid, object);
}

/* Puts the numbers 0 to 9 and their squares into a set. */
static HRESULT Fill(IPropertySet* set) {
    HRESULT status = S_OK;
    int i;
    for (i = 0; i < 10 && SUCCEEDED(status); ++i) {
        wchar_t name[16];
        VARIANT square;
        BSTR key;
        swprintf(name, 16, L"Square%d", i);
        key = SysAllocString(name);
        VariantInit(&square);
        V_VT(&square) = VT_I4;
        V_I4(&square) = i * i;
        status = IPropertySet_SetProperty(set, key, square);
        SysFreeString(key);
    }
    return status;
}

/* Copies a set by saving and loading it, and tells whether the copy is equal to it. */
static HRESULT CopyAndCompare(IPropertySet* set, VARIANT_BOOL* equal) {
    IObjectCopy* copier = NULL;
    IUnknown* copy = NULL;
    IPropertySet* other = NULL;
    HRESULT status = Create(L"movaSystem.ObjectCopy", &IID_IObjectCopy, (void**)&copier);
    if (SUCCEEDED(status)) status = IObjectCopy_Copy(copier, (IUnknown*)set, &copy);
    if (SUCCEEDED(status)) status = IUnknown_QueryInterface(copy, &IID_IPropertySet, (void**)&other);
    if (SUCCEEDED(status)) status = IPropertySet_IsEqual(set, other, equal);
    if (other) IPropertySet_Release(other);
    if (copy) IUnknown_Release(copy);
    if (copier) IObjectCopy_Release(copier);
    return status;
}

int main(void) {
    IPropertySet* set = NULL;
    HRESULT status = CoInitialize(NULL);
    if (FAILED(status)) return 1;
    status = Create(L"movaSystem.PropertySet", &IID_IPropertySet, (void**)&set);
    if (SUCCEEDED(status)) status = Fill(set);
    if (SUCCEEDED(status)) {
        BSTR name = SysAllocString(L"Square7");
        VARIANT value;
        VARIANT_BOOL equal = VARIANT_FALSE;
        VariantInit(&value);
        status = IPropertySet_GetProperty(set, name, &value);
        printf("Square7 is %ld\n", V_I4(&value));
        IPropertySet_RemoveProperty(set, name);
        PrintError("removed", IPropertySet_GetProperty(set, name, &value));
        SysFreeString(name);
        if (SUCCEEDED(status)) status = CopyAndCompare(set, &equal);
        printf("its copy is %s\n", equal ? "equal" : "another");
    }
    if (FAILED(status)) PrintError("failed", status);
    if (set) IPropertySet_Release(set);
    CoUninitialize();
    return SUCCEEDED(status) ? 0 : 1;
}
