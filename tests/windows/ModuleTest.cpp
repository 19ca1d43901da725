// The module as a whole: what it exports and imports, loading and unloading, counting, threads.
#include <cstdint>
#include <set>
#include <thread>

#include "tests/windows/Support.h"

namespace mova::test {
namespace {

using CanUnload = HRESULT STDAPICALLTYPE();

/// A module's file as the loader would lay it out, without running any of it.
class Image {
 public:
    explicit Image(const std::u16string& file)
        : base_(reinterpret_cast<std::byte*>(
              LoadLibraryExW(kv::Wide(file.c_str()), nullptr, DONT_RESOLVE_DLL_REFERENCES))) {}
    ~Image() { FreeLibrary(reinterpret_cast<HMODULE>(base_)); }
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    template <class T>
    const T* At(DWORD offset) const noexcept {
        return reinterpret_cast<const T*>(base_ + offset);
    }
    const IMAGE_OPTIONAL_HEADER64& Header() const noexcept {
        return At<IMAGE_NT_HEADERS64>(static_cast<DWORD>(At<IMAGE_DOS_HEADER>(0)->e_lfanew))->OptionalHeader;
    }
    template <class T>
    const T* Directory(int index) const noexcept {
        return At<T>(Header().DataDirectory[index].VirtualAddress);
    }

 private:
    std::byte* base_;
};

constexpr std::uintptr_t platformsHandles = 2 * 4;  // its own threads may take two meanwhile

struct Usage {
    std::uintptr_t handle;  ///< one behind those that threads have left free, which a handle more moves on by four
    DWORD tlsIndex;         ///< the first that is free
    SIZE_T heapBytes;
};
Usage Measure() {
    Usage usage{};
    HANDLE handles[32];
    for (HANDLE& handle : handles) handle = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    usage.handle = reinterpret_cast<std::uintptr_t>(handles[31]);
    for (const HANDLE handle : handles) CloseHandle(handle);
    usage.tlsIndex = TlsAlloc();
    TlsFree(usage.tlsIndex);
    PROCESS_HEAP_ENTRY entry{};
    HeapLock(GetProcessHeap());
    while (HeapWalk(GetProcessHeap(), &entry))
        if (entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) usage.heapBytes += entry.cbData;
    HeapUnlock(GetProcessHeap());
    return usage;
}

/// One life of the library without the component runtime: objects of a plain class and of a singleton, a refusal,
/// an XML document where it is to read one, unload.
void UseOnce(const std::u16string& file, bool readsXml) {
    const HMODULE module = LoadLibraryW(kv::Wide(file.c_str()));
    ASSERT_TRUE(module);
    const auto getClassObject = reinterpret_cast<HRESULT(STDAPICALLTYPE*)(REFCLSID, REFIID, void**)>(
        reinterpret_cast<void*>(GetProcAddress(module, "DllGetClassObject")));
    for (const CLSID& classId : {CLSID_PropertySet, CLSID_MessageLogger, CLSID_XMLTextReader}) {
        kv::Ptr<IClassFactory> factory;
        kv::Ptr<IUnknown> object;
        ASSERT_EQ(getClassObject(classId, __uuidof(IClassFactory), factory.PutVoid()), S_OK);
        ASSERT_EQ(factory->CreateInstance(nullptr, __uuidof(IUnknown), object.PutVoid()), S_OK);
        if (const auto set = object.As<IPropertySet>()) {
            kv::Variant value;
            EXPECT_EQ(set->SetProperty(Bstr(u"Name"), Value(u"value").Get()), S_OK);
            EXPECT_EQ(set->GetProperty(Bstr(u"Other"), value.Put()), E_FAIL);
        }
        if (const auto reader = object.As<IXMLTextReader>(); reader && readsXml) {
            VARIANT_BOOL found = VARIANT_FALSE;
            EXPECT_EQ(reader->put_Text(Bstr(u"<a b='c'>x</a>")), S_OK);
            for (int i = 0; i < 4; ++i) EXPECT_EQ(reader->Read(&found), S_OK);
        }
    }
    SetErrorInfo(0, nullptr);
    const auto canUnload =
        reinterpret_cast<CanUnload*>(reinterpret_cast<void*>(GetProcAddress(module, "DllCanUnloadNow")));
    EXPECT_EQ(canUnload(), S_OK);
    EXPECT_TRUE(FreeLibrary(module));
}

}  // namespace

TEST(Module, ExportsSixFunctionsAndImportsFromTheSystemOnly) {
    const Image image(LibraryFile());
    const auto* exports = image.Directory<IMAGE_EXPORT_DIRECTORY>(IMAGE_DIRECTORY_ENTRY_EXPORT);
    std::set<std::string> names;
    for (DWORD i = 0; i < exports->NumberOfNames; ++i)
        names.insert(image.At<char>(image.At<DWORD>(exports->AddressOfNames)[i]));
    EXPECT_EQ(exports->NumberOfFunctions, 6u);
    EXPECT_EQ(names,
              (std::set<std::string>{"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer",
                                     "movaDllRegisterServer", "movaDllUnregisterServer"}));
    const std::set<std::string> allowed{"ADVAPI32.dll", "KERNEL32.dll", "OLEAUT32.dll", "USER32.dll",
                                        "msvcrt.dll",   "ntdll.dll",    "ole32.dll"};
    for (const auto* import = image.Directory<IMAGE_IMPORT_DESCRIPTOR>(IMAGE_DIRECTORY_ENTRY_IMPORT); import->Name;
         ++import)
        EXPECT_TRUE(allowed.contains(image.At<char>(import->Name))) << image.At<char>(import->Name);
    constexpr WORD flags = IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT | 0x20;
    EXPECT_EQ(image.Header().DllCharacteristics & flags, flags) << "0x20 is high-entropy address randomisation";
}

TEST(Module, CarriesItsVersionAndItsTexts) {
    const std::u16string file = LibraryFile();
    DWORD unused = 0;
    std::vector<std::byte> version(GetFileVersionInfoSizeW(kv::Wide(file.c_str()), &unused));
    ASSERT_TRUE(GetFileVersionInfoW(kv::Wide(file.c_str()), 0, static_cast<DWORD>(version.size()), version.data()));
    void* text = nullptr;
    UINT length = 0;
    wchar_t block[] = L"\\StringFileInfo\\040904B0\\OriginalFilename";
    ASSERT_TRUE(VerQueryValueW(version.data(), block, &text, &length));
    EXPECT_EQ(std::wstring(static_cast<wchar_t*>(text)), L"movaSystem.dll");

    const HMODULE module = LoadLibraryExW(kv::Wide(file.c_str()), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    const auto load = [&](UINT id) {
        wchar_t loaded[512];
        const int loadedLength = LoadStringW(module, id, loaded, 512);
        return kv::Utf8({kv::Narrow16(loaded), static_cast<std::size_t>(loadedLength)});
    };
    int count = 0;
    for (UINT id = 0; id < 3000; ++id) count += !load(id).empty();
    EXPECT_EQ(count, 76);
    const struct {
        UINT id;
        const char* text;
    } rows[] = {// the ones that resource compilers get wrong
                {5, "The request method (GET, POST, etc.) was not allowed for this particular resource."},
                {27,
                 "Unable to acquire authentication token. Check with your GIS Server administrator to verify\n"
                 "the token service is available and correctly configured."},
                {1001, "176"},
                {1005, "'"},
                {1008, "<Null>"},
                {1009, "%"},
                {1010, ""},
                {1012, "\""},
                {1027, " = "},
                {1020, "Operation on file %s failed. Read error."},
                {2200, "Xml Parsing failed.\nReason:%1\nLinepos:%2!d!\nSource:%3."},
                {2210, "%1 (status code %2!d!)."}};
    for (const auto& row : rows) EXPECT_EQ(load(row.id), row.text) << row.id;
    FreeLibrary(module);
}

TEST(Module, ThousandLivesLeaveNothingBehind) {
    // A copy of the file, so that the module that the runtime holds loaded is not the one counted.
    const std::u16string copy = BinaryFolder() + u"movaSystem-copy.dll";
    ASSERT_TRUE(CopyFileW(kv::Wide(LibraryFile().c_str()), kv::Wide(copy.c_str()), FALSE));
    for (int i = 0; i < 50; ++i) UseOnce(copy, i == 0);  // what the platform keeps for good, it has then
    const Usage before = Measure();
    for (int i = 0; i < 1000; ++i) UseOnce(copy, i % 20 == 0);  // which takes its time
    const Usage after = Measure();
    EXPECT_LE(after.handle, before.handle + platformsHandles);
    EXPECT_EQ(after.tlsIndex, before.tlsIndex);
    EXPECT_LT(after.heapBytes, before.heapBytes + 16 * 1024) << "a byte a life would be noise, a block is not";
    DeleteFileW(kv::Wide(copy.c_str()));
}

TEST(Module, ShortLivedThreadsLeaveNothingBehind) {
    const auto canUnload = Export<CanUnload>("DllCanUnloadNow");
    const auto live = [&](int count) {
        for (int i = 0; i < count; ++i)
            std::thread([&] {
                CoInitialize(nullptr);
                {
                    const auto log = New<IMessageLogger>(u"MessageLogger");
                    EXPECT_EQ(log->Log(movaMessageError, Bstr(u"thread"), Bstr(u"text")), S_OK);
                    EXPECT_EQ(AnswerOf(log, &IMessageLogger::get_Count), 1) << "a thread meets the log of a dead one";
                }
                canUnload();
                CoUninitialize();
            }).join();
    };
    live(100);
    const Usage before = Measure();
    live(1600);
    const Usage after = Measure();
    EXPECT_LE(after.handle, before.handle + platformsHandles);
    EXPECT_EQ(after.tlsIndex, before.tlsIndex);
    EXPECT_LT(after.heapBytes, before.heapBytes + 64 * 1024);
}

TEST(Module, CountsLocksAndObjects) {
    const auto canUnload = Export<CanUnload>("DllCanUnloadNow");
    const auto factory = FactoryOf(CLSID_PropertySet);
    EXPECT_EQ(canUnload(), S_OK) << "a factory holds nothing";
    EXPECT_EQ(factory->LockServer(TRUE), S_OK);
    EXPECT_EQ(canUnload(), S_FALSE);
    EXPECT_EQ(factory->LockServer(FALSE), S_OK);
    EXPECT_EQ(canUnload(), S_OK);
    {
        const auto set = New<IPropertySet>(u"PropertySet");
        const auto support = set.As<ISupportErrorInfo>();
        EXPECT_EQ(canUnload(), S_FALSE);
    }
    EXPECT_EQ(canUnload(), S_OK);
}

TEST(Module, KeepsASingletonAThreadUntilThatThreadAsksToUnload) {
    const auto canUnload = Export<CanUnload>("DllCanUnloadNow");
    auto first = New<IMessageLogger>(u"MessageLogger");
    EXPECT_EQ(New<IMessageLogger>(u"MessageLogger").Get(), first.Get());
    EXPECT_NE(New<IPropertySet>(u"PropertySet").Get(), New<IPropertySet>(u"PropertySet").Get());
    std::thread([&] {
        CoInitialize(nullptr);
        EXPECT_NE(New<IMessageLogger>(u"MessageLogger").Get(), first.Get());
        canUnload();
        CoUninitialize();
    }).join();
    EXPECT_EQ(New<IMessageLogger>(u"MessageLogger").Get(), first.Get()) << "another thread's release is not ours";
    EXPECT_EQ(canUnload(), S_FALSE) << "the caller's reference holds it";
    EXPECT_NE(New<IMessageLogger>(u"MessageLogger").Get(), first.Get());
    const auto factory = FactoryOf(CLSID_MessageLogger);
    first = {};
    EXPECT_EQ(factory.As<ISingletonRelease>()->ReleaseInstance(), S_OK);
    EXPECT_EQ(factory.As<ISingletonRelease>()->ReleaseInstance(), S_OK);
    void* refused = &refused;
    EXPECT_EQ(factory->CreateInstance(nullptr, __uuidof(IStorage), &refused), E_NOINTERFACE);
    EXPECT_EQ(canUnload(), S_OK) << "a singleton that was refused its interface is not kept";
}

TEST(Module, MarshalsToTheMultithreadedApartment) {
    std::thread([] {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        {
            const auto set = New<IPropertySet2>(u"PropertySet");  // lives in an apartment of the runtime's own
            ASSERT_TRUE(set);
            EXPECT_EQ(set->SetProperties(ArrayOf({u"A", u"B"}).Get(), ArrayOf({1, 2}).Get()), S_OK);
            const auto other = New<IPropertySet>(u"PropertySet");
            EXPECT_EQ(AnswerOf(set, &IPropertySet2::IsEqual, other.Get()), VARIANT_FALSE);
            const auto copy = CloneOf(set);
            EXPECT_EQ(AnswerOf(set, &IPropertySet2::IsEqual, copy.Get()), VARIANT_TRUE);
            EXPECT_EQ(Names(set.Get()), "A B");
            kv::Variant value;
            EXPECT_EQ(set->GetProperty(Bstr(u"missing"), value.Put()), E_FAIL);
        }
        CoUninitialize();
    }).join();
}

}  // namespace mova::test
