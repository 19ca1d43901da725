#include "streams/ObjectTrace.h"

#include "kvcore/BString.h"
#include "kvcore/Guid.h"
#include "kvcore/Ptr.h"
#include "kvcore/RegistryKey.h"

namespace mova {
namespace {

constexpr std::size_t nameColumn = 60;

std::u16string Decimal(ULONG number) {
    const std::string digits = std::to_string(static_cast<LONG>(number));
    return {digits.begin(), digits.end()};
}

/// "IDENTIFIER \t--  NAME, filled up  \t--  PATH\n"
std::u16string ClassLine(REFCLSID classId) {
    std::u16string line;
    std::u16string name;
    std::u16string path;
    if (classId == CLSID_NULL) {
        line = u"nullCLSID";
    } else {
        line = kv::GuidText(classId);
        LPOLESTR progId = nullptr;
        if (SUCCEEDED(ProgIDFromCLSID(classId, &progId))) {
            name = kv::Narrow16(progId);
            CoTaskMemFree(progId);
        }
        if (const auto key = kv::RegistryKey::Open(HKEY_CLASSES_ROOT, u"CLSID\\" + line + u"\\InprocServer32\\"))
            path = key.DefaultText();
    }
    if (name.size() < nameColumn) name.resize(nameColumn, u' ');
    return line + u" \t--  " + name + u"  \t--  " + path + u"\n";
}

template <class MakeLine>
void Trace(IObjectStreamDebug* sink, MakeLine makeLine) noexcept try {
    const kv::Ptr<IObjectStreamDebug> held(sink);  // which may be taken off the stream meanwhile
    held->Trace(kv::BString(makeLine()).Get());
} catch (const std::bad_alloc&) {
    return;
}

}  // namespace

void TraceSaved(IObjectStreamDebug* sink, REFCLSID classId) noexcept {
    Trace(sink, [&] { return ClassLine(classId); });
}

void TraceReference(IObjectStreamDebug* sink, ULONG number) noexcept {
    Trace(sink, [=] { return u"\tReference " + Decimal(number) + u"\n"; });
}

void TraceLoaded(IObjectStreamDebug* sink, ULONG number, REFCLSID classId) noexcept {
    Trace(sink, [&] { return Decimal(number) + u"\t- " + ClassLine(classId); });
}

}  // namespace mova
