// The commands about the classes and their registration.
#include <algorithm>
#include <array>

#include "kvcore/Guid.h"
#include "kvcore/RegistryKey.h"
#include "kvcore/Utf.h"
#include "tools/mova/ClassRoster.h"
#include "tools/mova/Client.h"

namespace mova::tool {
namespace {

std::u16string ProgIdOf(const RosterRow& row) {
    return std::u16string(u"movaSystem.") + row.name;
}

bool IsServed(const RosterRow& row) {
    CLSID classId;
    return SUCCEEDED(CLSIDFromProgID(kv::Wide(ProgIdOf(row).c_str()), &classId));
}

std::string LineOf(const RosterRow& row) {
    return kv::Utf8(row.name) + "\t" + kv::Utf8(kv::GuidText(row.classId)) + "\t" +
           (row.isSingleton ? "per-thread singleton" : "new object");
}

std::string CreationResult(const RosterRow& row) try {
    CreateByName(row.name);
    return "ok";
} catch (const Refused& refused) {
    return StatusText(refused.status);
}

/// Calls one of the registration functions of the library beside the client.
int CallServer(const char* function) {
    std::array<wchar_t, 4096> path;
    const DWORD length = GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size()));
    std::u16string server(kv::Narrow16(path.data()), length);
    server.replace(server.rfind(u'\\') + 1, std::string::npos, u"movaSystem.dll");
    const HMODULE module = LoadLibraryW(kv::Wide(server.c_str()));
    if (!module) throw WrongUsage{"cannot load " + kv::Utf8(server)};
    const auto call =
        reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(reinterpret_cast<void*>(GetProcAddress(module, function)));
    if (!call) throw WrongUsage{kv::Utf8(server) + " has no " + function};
    Check(call());
    return 0;
}

std::string DataText(DWORD type, const std::vector<std::byte>& data) {
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
        std::u16string_view text(reinterpret_cast<const char16_t*>(data.data()), data.size() / sizeof(char16_t));
        return kv::Utf8(text.substr(0, text.find(u'\0')));
    }
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::byte byte : data) {
        const auto bits = std::to_integer<unsigned>(byte);
        text.append({digits[bits >> 4], digits[bits & 0xF]});
    }
    return text;
}

/// Adds a line for each value of a key and of the keys under it.
void AddValues(const kv::RegistryKey& key, const std::u16string& path, std::vector<std::string>& lines) {
    constexpr std::size_t longestName = 16384;
    std::u16string name(longestName, u'\0');
    for (DWORD index = 0;; ++index) {
        auto length = static_cast<DWORD>(name.size());
        DWORD size = 0;
        DWORD type = 0;
        if (RegEnumValueW(key.Get(), index, kv::Wide(name.data()), &length, nullptr, &type, nullptr, &size) != 0) break;
        std::vector<std::byte> data(size);
        const std::u16string valueName = name.substr(0, length);
        if (RegQueryValueExW(key.Get(), kv::Wide(valueName.c_str()), nullptr, &type,
                             reinterpret_cast<BYTE*>(data.data()), &size) != 0)
            continue;
        std::string& line = lines.emplace_back(kv::Utf8(path));
        line.append("\t").append(kv::Utf8(valueName)).append("\t").append(DataText(type, data)).append("\n");
    }
    for (DWORD index = 0;; ++index) {
        const std::u16string child = key.SubkeyName(index);
        if (child.empty()) break;
        if (const auto opened = kv::RegistryKey::Open(key.Get(), child))
            AddValues(opened, std::u16string(path).append(u"\\").append(child), lines);
    }
}

}  // namespace

int RunClasses(Arguments arguments) {
    const bool missing = arguments.size() == 1 && arguments[0] == "--missing";
    if (!arguments.empty() && !missing) throw WrongUsage{"classes takes --missing or nothing"};
    for (const RosterRow& row : roster) {
        if (IsServed(row) == missing) continue;
        Print(LineOf(row) + (missing ? "\n" : "\t" + CreationResult(row) + "\n"));
    }
    return 0;
}

int RunRegister(Arguments arguments) {
    if (!arguments.empty()) throw WrongUsage{"register takes no arguments"};
    return CallServer("DllRegisterServer");
}

int RunUnregister(Arguments arguments) {
    if (!arguments.empty()) throw WrongUsage{"unregister takes no arguments"};
    return CallServer("DllUnregisterServer");
}

int RunRegistered(Arguments arguments) {
    if (arguments.size() != 1) throw WrongUsage{"registered takes the NAME of one class"};
    const std::u16string name = kv::Utf16(arguments[0]);
    const auto* row =
        std::find_if(std::begin(roster), std::end(roster), [&](const RosterRow& r) { return r.name == name; });
    if (row == std::end(roster)) throw WrongUsage{"there is no class " + arguments[0]};
    std::vector<std::string> lines;
    for (const std::u16string& path :
         {u"CLSID\\" + kv::GuidText(row->classId), ProgIdOf(*row), ProgIdOf(*row) + u".1"}) {
        if (const auto key = kv::RegistryKey::Open(HKEY_CLASSES_ROOT, path)) AddValues(key, path, lines);
        if (const auto key = kv::RegistryKey::Open(HKEY_CURRENT_USER, u"Software\\Classes\\" + path))
            AddValues(key, path, lines);
    }
    std::sort(lines.begin(), lines.end());
    lines.erase(std::unique(lines.begin(), lines.end()), lines.end());  // the classes root may show the user's, too
    for (const std::string& line : lines) Print(line);
    return 0;
}

}  // namespace mova::tool
