// What registration leaves in the real registry, and what it takes away again.
#include <aclapi.h>
#include <olectl.h>

#include "kvcore/RegistryKey.h"
#include "server/Registration.h"
#include "tests/windows/StreamSupport.h"

namespace mova::test {
namespace {

using kv::RegistryKey;

constexpr CLSID probeClass{0x7E1D5B01, 0x0D4C, 0x4C55, {0xB1, 0x20, 0x51, 0x52, 0x77, 0x0C, 0x22, 0x01}};
constexpr CLSID probeLookup{0x7E1D5B02, 0x0D4C, 0x4C55, {0xB1, 0x20, 0x51, 0x52, 0x77, 0x0C, 0x22, 0x02}};
constexpr CATID probeCategory{0x7E1D5B03, 0x0D4C, 0x4C55, {0xB1, 0x20, 0x51, 0x52, 0x77, 0x0C, 0x22, 0x03}};
constexpr CATID otherCategory{0x7E1D5B04, 0x0D4C, 0x4C55, {0xB1, 0x20, 0x51, 0x52, 0x77, 0x0C, 0x22, 0x04}};

const ClassEntry probeTable[] = {
    {.classId = &probeCategory, .name = u"Probe things", .categories = {&probeCategory}, .definesCategory = 1},
    {.classId = &probeClass,
     .name = u"RegistrationProbe",
     .categories = {&probeCategory, nullptr, &otherCategory},
     .errorLookup = &probeLookup,
     .threading = ThreadingModel::both},
    {}};

std::u16string ClassKey() {
    return u"CLSID\\" + kv::GuidText(probeClass);
}

std::string Default(const std::u16string& path) {
    const auto key = RegistryKey::Open(HKEY_CLASSES_ROOT, path);
    return key ? kv::Utf8(key.DefaultText()) : "no key";
}

bool Exists(HKEY root, const std::u16string& path) {
    return static_cast<bool>(RegistryKey::Open(root, path));
}

bool ImplementsProbeCategory() {
    kv::Ptr<ICatInformation> information;
    kv::Ptr<IEnumGUID> classes;
    CATID category = probeCategory;
    if (FAILED(kv::Create(CLSID_StdComponentCategoriesMgr, information)) ||
        FAILED(information->EnumClassesOfCategories(1, &category, 0, nullptr, classes.Put())))
        return false;
    CLSID found{};
    while (classes->Next(1, &found, nullptr) == S_OK)
        if (found == probeClass) return true;
    return false;
}

/// Takes from everybody the right to write to a key while it lives.
class WriteProtection {
 public:
    explicit WriteProtection(const std::u16string& path) : key_(RegistryKey::Create(HKEY_CLASSES_ROOT, path)) {
        SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
        AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &everybody_);
        Set(DENY_ACCESS, KEY_SET_VALUE | KEY_CREATE_SUB_KEY | DELETE);
    }
    ~WriteProtection() {
        Set(GRANT_ACCESS, KEY_ALL_ACCESS);
        FreeSid(everybody_);
    }
    WriteProtection(const WriteProtection&) = delete;
    WriteProtection& operator=(const WriteProtection&) = delete;

 private:
    void Set(ACCESS_MODE mode, DWORD rights) {
        EXPLICIT_ACCESSW access{};
        access.grfAccessPermissions = rights;
        access.grfAccessMode = mode;
        access.Trustee.TrusteeForm = TRUSTEE_IS_SID;
        access.Trustee.ptstrName = static_cast<LPWSTR>(everybody_);
        PACL list = nullptr;
        SECURITY_DESCRIPTOR descriptor;
        EXPECT_EQ(SetEntriesInAclW(1, &access, nullptr, &list), 0u);
        InitializeSecurityDescriptor(&descriptor, SECURITY_DESCRIPTOR_REVISION);
        SetSecurityDescriptorDacl(&descriptor, TRUE, list, FALSE);
        EXPECT_EQ(RegSetKeySecurity(key_.Get(), DACL_SECURITY_INFORMATION, &descriptor), 0);
        LocalFree(list);
    }

    RegistryKey key_;
    PSID everybody_ = nullptr;
};

void ExpectNothingLeft() {
    for (const auto& path :
         {ClassKey(), std::u16string(u"movaSystem.RegistrationProbe"),
          std::u16string(u"movaSystem.RegistrationProbe.1"), u"Component Categories\\" + kv::GuidText(probeCategory)}) {
        EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, path)) << kv::Utf8(path);
        EXPECT_FALSE(Exists(HKEY_CURRENT_USER, u"Software\\Classes\\" + path)) << kv::Utf8(path);
    }
    EXPECT_FALSE(ImplementsProbeCategory());
}

}  // namespace

TEST(Registration, WritesEveryKeyAndRemovesThemAll) {
    const std::string guid = "{7E1D5B01-0D4C-4C55-B120-5152770C2201}";
    for (int round = 0; round < 2; ++round) ASSERT_EQ(RegisterClasses(probeTable, u"C:\\probe\\pr\u00F6be.dll"), S_OK);
    const struct {
        std::u16string path;
        std::string text;
    } rows[] = {{ClassKey(), "RegistrationProbe Class"},
                {ClassKey() + u"\\InprocServer32", "C:\\probe\\pr\u00F6be.dll"},
                {ClassKey() + u"\\VersionIndependentProgID", "movaSystem.RegistrationProbe"},
                {ClassKey() + u"\\ProgID", "movaSystem.RegistrationProbe.1"},
                {ClassKey() + u"\\TypeLib", "{746C1211-1F7C-4986-8BDA-8B1930EAB931}"},
                {ClassKey() + u"\\ExtendedErrors\\" + kv::GuidText(probeLookup), "Error Lookup Service"},
                {u"movaSystem.RegistrationProbe", "RegistrationProbe Class"},
                {u"movaSystem.RegistrationProbe\\CLSID", guid},
                {u"movaSystem.RegistrationProbe\\CurVer", "movaSystem.RegistrationProbe.1"},
                {u"movaSystem.RegistrationProbe.1", "RegistrationProbe Class"},
                {u"movaSystem.RegistrationProbe.1\\CLSID", guid}};
    for (const auto& row : rows) EXPECT_EQ(Default(row.path), row.text) << kv::Utf8(row.path);
    wchar_t model[20];
    DWORD size = sizeof model;
    EXPECT_EQ(RegGetValueW(HKEY_CLASSES_ROOT, kv::Wide((ClassKey() + u"\\InprocServer32").c_str()), L"ThreadingModel",
                           RRF_RT_REG_SZ, nullptr, model, &size),
              0);
    EXPECT_EQ(std::wstring(model), L"Both");
    EXPECT_TRUE(Exists(HKEY_CLASSES_ROOT, ClassKey() + u"\\Implemented Categories\\" + kv::GuidText(otherCategory)));
    EXPECT_TRUE(ImplementsProbeCategory());
    kv::Ptr<ICatInformation> information;
    ASSERT_EQ(kv::Create(CLSID_StdComponentCategoriesMgr, information), S_OK);
    wchar_t* description = nullptr;
    CATID category = probeCategory;
    EXPECT_EQ(information->GetCategoryDesc(category, 0x409, &description), S_OK);
    EXPECT_EQ(std::wstring(description ? description : L""), L"Probe things");
    CoTaskMemFree(description);

    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(UnregisterClasses(probeTable + 1), S_OK) << "what is not there is no failure";
        EXPECT_FALSE(ImplementsProbeCategory());
    }
    EXPECT_EQ(UnregisterClasses(probeTable), S_OK);
    ExpectNothingLeft();
    const ClassEntry empty[] = {{}};
    EXPECT_EQ(RegisterClasses(empty, u"none.dll"), S_OK);
    EXPECT_EQ(UnregisterClasses(empty), S_OK);
}

TEST(Registration, FallsBackToTheUsersClasses) {
    // Without categories: the platform's manager knows no such way out.
    const ClassEntry table[] = {{.classId = &probeClass, .name = u"RegistrationProbe"}, {}};
    const std::u16string userKey = u"Software\\Classes\\" + ClassKey();
    {
        const WriteProtection protection(ClassKey());
        ASSERT_EQ(RegisterClasses(table, u"user.dll"), S_OK);
        EXPECT_TRUE(Exists(HKEY_CURRENT_USER, userKey));
        EXPECT_EQ(kv::Utf8(RegistryKey::Open(HKEY_CURRENT_USER, userKey).DefaultText()), "RegistrationProbe Class");
        EXPECT_EQ(Default(u"movaSystem.RegistrationProbe\\CLSID"), kv::Utf8(kv::GuidText(probeClass)));
        EXPECT_EQ(UnregisterClasses(table), SELFREG_E_CLASS) << "the machine's key cannot be deleted";
        EXPECT_FALSE(Exists(HKEY_CURRENT_USER, userKey));
    }
    EXPECT_EQ(UnregisterClasses(table), S_OK);
    ExpectNothingLeft();
}

/// A folder with copies of a client and the library, as if they had been unpacked there.
void UnpackClient(const TemporaryFolder& folder, bool withManifests) {
    const std::u16string from = BinaryFolder();
    const auto copy = [&](std::u16string_view name, std::u16string_view as) {
        EXPECT_TRUE(CopyFileW(kv::Wide((from + std::u16string(name)).c_str()), kv::Wide((folder / as).c_str()), FALSE));
    };
    copy(u"first-client-c.exe", u"first-client.exe");
    copy(u"movaSystem.dll", u"movaSystem.dll");
    if (!withManifests) return;
    copy(u"movaSystem.X.manifest", u"movaSystem.X.manifest");
    copy(u"samples\\first-client.exe.manifest", u"first-client.exe.manifest");
}

TEST(Registration, IsInTheManifestForEveryClass) {
    const std::string manifest = ReadFileBytes(BinaryFolder() + u"movaSystem.X.manifest");
    for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
        const std::string name = kv::Utf8(entry->name);
        const auto row = manifest.find("<comClass clsid=\"" + kv::Utf8(kv::GuidText(*entry->classId)) + "\"");
        ASSERT_NE(row, std::string::npos) << name;
        EXPECT_NE(manifest.substr(row, 400).find("progid=\"movaSystem." + name + "\""), std::string::npos) << name;
    }
    EXPECT_NE(manifest.find("name=\"IPropertySet2\" iid=\"" + kv::Utf8(kv::GuidText(__uuidof(IPropertySet2)))),
              std::string::npos);
}

TEST(Registration, OfTheLibraryComesAndGoesAsAWhole) {
    const auto canUnload = Export<HRESULT STDAPICALLTYPE()>("DllCanUnloadNow");
    EXPECT_EQ(canUnload(), S_OK);
    const std::u16string interfaceKey = u"Interface\\" + kv::GuidText(__uuidof(IPropertySet));
    const std::u16string libraryKey = u"TypeLib\\{746C1211-1F7C-4986-8BDA-8B1930EAB931}\\1.0\\0\\win64";
    for (const char* suffix : {"DllUnregisterServer", "movaDllUnregisterServer"}) {
        EXPECT_EQ(Export<HRESULT STDAPICALLTYPE()>(suffix)(), S_OK);
        for (const ClassEntry* entry = classTable; !entry->IsEnd(); ++entry) {
            EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, u"CLSID\\" + kv::GuidText(*entry->classId)));
            EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, u"movaSystem." + std::u16string(entry->name)));
        }
        EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, interfaceKey));
        EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, libraryKey));
    }
    {
        const TemporaryFolder bare, withManifests;
        UnpackClient(bare, false);
        UnpackClient(withManifests, true);
        EXPECT_EQ(RunProcess(bare / u"first-client.exe").status, 1u) << "nothing is registered";
        const auto run = RunProcess(withManifests / u"first-client.exe");
        EXPECT_EQ(run.status, 0u) << run.output;
        EXPECT_NE(run.output.find("its copy is equal"), std::string::npos) << run.output;
    }
    for (const char* name : {"DllRegisterServer", "movaDllRegisterServer"}) {
        EXPECT_EQ(Export<HRESULT STDAPICALLTYPE()>(name)(), S_OK);
        EXPECT_EQ(Default(libraryKey), kv::Utf8(LibraryFile()));
        EXPECT_EQ(Default(interfaceKey), "IPropertySet");
        EXPECT_EQ(Default(u"Interface\\" + kv::GuidText(__uuidof(IXMLSerialize))), "IXMLSerialize");
        EXPECT_FALSE(Exists(HKEY_CLASSES_ROOT, u"Interface\\" + kv::GuidText(__uuidof(IMemoryBlobBuffer))))
            << "automation cannot express it";
        EXPECT_TRUE(New<IPropertySet>(u"PropertySet"));
    }
}

}  // namespace mova::test
