#include "server/Registration.h"

#include <comcat.h>
#include <olectl.h>

#include <algorithm>
#include <array>

#include <movaSystem.h>
#include "kvcore/BString.h"
#include "kvcore/Guid.h"
#include "kvcore/Ptr.h"
#include "kvcore/RegistryKey.h"

// In the platform's libraries, but not in every edition of its headers.
extern "C" HRESULT WINAPI RegisterTypeLibForUser(ITypeLib* library, OLECHAR* path, OLECHAR* helpFolder);
extern "C" HRESULT WINAPI UnRegisterTypeLibForUser(REFGUID id, WORD major, WORD minor, LCID locale, SYSKIND kind);

namespace mova {
namespace {

using kv::RegistryKey;

constexpr std::u16string_view userClasses = u"Software\\Classes\\";
constexpr LCID english = 0x409;  // what categories are described in
constexpr WORD libraryMajor = 1;
constexpr WORD libraryMinor = 0;

constexpr std::array threadingNames{u"Apartment", u"Free", u"Both"};  // in the order of ThreadingModel

/// The texts and keys that a class is registered under.
struct ClassKeys {
    explicit ClassKeys(const ClassEntry& entry)
        : guid(kv::GuidText(*entry.classId)),
          classKey(u"CLSID\\" + guid),
          progId(std::u16string(progIdPrefix) + entry.name),
          versioned(progId + u".1") {}

    std::u16string guid, classKey, progId, versioned;
};

/// Creates a key under the machine's classes or, where that is refused, under the user's.
RegistryKey CreateClassesKey(const std::u16string& path) {
    RegistryKey key = RegistryKey::Create(HKEY_CLASSES_ROOT, path);
    return key ? std::move(key) : RegistryKey::Create(HKEY_CURRENT_USER, std::u16string(userClasses) + path);
}

/// Creates a key with a default value.
bool WriteKey(const std::u16string& path, const std::u16string& text) {
    const RegistryKey key = CreateClassesKey(path);
    return key && key.SetText(nullptr, text);
}

bool DeleteClassesKey(const std::u16string& path) {
    // The user's first: where both have the key, the classes root shows that one only.
    const bool user = RegistryKey::DeleteTree(HKEY_CURRENT_USER, std::u16string(userClasses) + path);
    return RegistryKey::DeleteTree(HKEY_CLASSES_ROOT, path) && user;
}

bool DeleteKeys(const ClassKeys& keys) {
    const bool progId = DeleteClassesKey(keys.progId);
    const bool versioned = DeleteClassesKey(keys.versioned);
    return DeleteClassesKey(keys.classKey) && progId && versioned;
}

bool WriteKeys(const ClassEntry& entry, const ClassKeys& keys, const std::u16string& modulePath) {
    const std::u16string description = std::u16string(entry.name) + u" Class";
    const std::u16string server = keys.classKey + u"\\InprocServer32";
    const auto threading = static_cast<std::size_t>(entry.threading);
    if (threading >= threadingNames.size()) return false;
    return WriteKey(keys.classKey, description) && WriteKey(server, modulePath) &&
           CreateClassesKey(server).SetText(u"ThreadingModel", threadingNames[threading]) &&
           WriteKey(keys.progId, description) && WriteKey(keys.progId + u"\\CLSID", keys.guid) &&
           WriteKey(keys.progId + u"\\CurVer", keys.versioned) && WriteKey(keys.versioned, description) &&
           WriteKey(keys.versioned + u"\\CLSID", keys.guid) &&
           WriteKey(keys.classKey + u"\\VersionIndependentProgID", keys.progId) &&
           WriteKey(keys.classKey + u"\\ProgID", keys.versioned) &&
           WriteKey(keys.classKey + u"\\TypeLib", kv::GuidText(LIBID_movaSystem));
}

/// The platform's manager of component categories, made when the first row needs it.
class Categories {
 public:
    HRESULT Define(const CATID& category, const char16_t* description) {
        CATEGORYINFO info{.catid = category, .lcid = english, .szDescription = {}};
        std::copy_n(description,
                    std::min(std::size(info.szDescription) - 1, std::char_traits<char16_t>::length(description)),
                    info.szDescription);
        return Manager() ? manager_->RegisterCategories(1, &info) : E_FAIL;
    }
    HRESULT Undefine(CATID category) { return Manager() ? manager_->UnRegisterCategories(1, &category) : E_FAIL; }

    bool Join(const ClassEntry& entry) {
        return ForEach(
            entry, [&](CATID category) { return manager_->RegisterClassImplCategories(*entry.classId, 1, &category); });
    }
    bool Leave(const ClassEntry& entry) {
        return ForEach(entry, [&](CATID category) {
            return manager_->UnRegisterClassImplCategories(*entry.classId, 1, &category);
        });
    }

 private:
    template <class Action>
    bool ForEach(const ClassEntry& entry, Action act) {
        return std::all_of(entry.categories.begin(), entry.categories.end(), [&](const CATID* category) {
            return !category || (Manager() && SUCCEEDED(act(*category)));
        });
    }
    bool Manager() {
        return manager_ || SUCCEEDED(kv::Create(CLSID_StdComponentCategoriesMgr, manager_, kv::anyServer));
    }

    kv::Ptr<ICatRegister> manager_;
};

bool RegisterClass(const ClassEntry& entry, const std::u16string& modulePath, Categories& categories) {
    const ClassKeys keys(entry);
    // What a machine-wide registration left stays where the caller lacks the rights to it: the user's own then counts.
    DeleteKeys(keys);
    if (!WriteKeys(entry, keys, modulePath) || !categories.Join(entry)) return false;
    if (!entry.errorLookup) return true;
    return WriteKey(keys.classKey + u"\\ExtendedErrors\\" + kv::GuidText(*entry.errorLookup), u"Error Lookup Service");
}

bool IsRegistered(const ClassKeys& keys) {
    return RegistryKey::Open(HKEY_CLASSES_ROOT, keys.classKey) ||
           RegistryKey::Open(HKEY_CURRENT_USER, std::u16string(userClasses) + keys.classKey);
}

HRESULT UnregisterClass(const ClassEntry& entry, Categories& categories) {
    const ClassKeys keys(entry);
    if (IsRegistered(keys) && !categories.Leave(entry)) return E_FAIL;
    return DeleteKeys(keys) ? S_OK : SELFREG_E_CLASS;
}

}  // namespace

HRESULT RegisterClasses(const ClassEntry* table, const std::u16string& modulePath) {
    Categories categories;
    for (const ClassEntry* entry = table; !entry->IsEnd(); ++entry) {
        const bool registered = entry->IsCategory()
                                    ? SUCCEEDED(categories.Define(*entry->categories.front(), entry->name))
                                    : RegisterClass(*entry, modulePath, categories);
        if (!registered) return E_FAIL;
    }
    return S_OK;
}

HRESULT UnregisterClasses(const ClassEntry* table) {
    Categories categories;
    for (const ClassEntry* entry = table; !entry->IsEnd(); ++entry) {
        const HRESULT status =
            entry->IsCategory() ? categories.Undefine(*entry->categories.front()) : UnregisterClass(*entry, categories);
        if (FAILED(status)) return status;
    }
    return S_OK;
}

HRESULT RegisterTypeLibrary(const std::u16string& modulePath) noexcept {
    kv::Ptr<ITypeLib> library;
    if (FAILED(LoadTypeLibEx(kv::Wide(modulePath.c_str()), REGKIND_NONE, library.Put()))) return SELFREG_E_TYPELIB;
    // Registration copies the path and names no help folder.
    auto* path = const_cast<wchar_t*>(kv::Wide(modulePath.c_str()));
    if (SUCCEEDED(RegisterTypeLib(library.Get(), path, nullptr))) return S_OK;
    return SUCCEEDED(RegisterTypeLibForUser(library.Get(), path, nullptr)) ? S_OK : SELFREG_E_TYPELIB;
}

HRESULT UnregisterTypeLibrary() noexcept {
    const auto isRegistered = [] {
        kv::BString path;
        return SUCCEEDED(
            QueryPathOfRegTypeLib(LIBID_movaSystem, libraryMajor, libraryMinor, LOCALE_NEUTRAL, path.Put()));
    };
    if (isRegistered()) UnRegisterTypeLib(LIBID_movaSystem, libraryMajor, libraryMinor, LOCALE_NEUTRAL, SYS_WIN64);
    if (isRegistered())
        UnRegisterTypeLibForUser(LIBID_movaSystem, libraryMajor, libraryMinor, LOCALE_NEUTRAL, SYS_WIN64);
    return isRegistered() ? SELFREG_E_TYPELIB : S_OK;
}

}  // namespace mova
