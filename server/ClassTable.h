#pragma once

#include <comcat.h>

#include <array>

#include "kvcore/IdBits.h"
#include "kvcore/Platform.h"

namespace mova {

class ClassFactory;

enum class ThreadingModel : DWORD { apartment, free, both };

/// The versionless ProgID of a class is this prefix and its name.
inline constexpr std::u16string_view progIdPrefix = u"movaSystem.";

/// One row of the class table.
struct ClassEntry {
    const CLSID* classId = nullptr;            ///< null behind the last row
    const char16_t* name = nullptr;            ///< bare, such as "PropertySet"; of a category its description
    ClassFactory* factory = nullptr;           ///< lives as long as the module; null for a category
    std::array<const CATID*, 5> categories{};  ///< those that the class implements; of a category the one it defines
    DWORD singleton = 0;                       ///< not 0: one object a thread
    const CLSID* errorLookup = nullptr;        ///< the class that turns its error records into text, if there is one
    ThreadingModel threading = ThreadingModel::apartment;
    DWORD definesCategory = 0;  ///< not 0: the row defines a component category instead of a class

    kv::IdBits Id() const noexcept { return kv::BitsOf(*classId); }
    bool IsEnd() const noexcept { return classId == nullptr; }
    bool IsSingleton() const noexcept { return singleton != 0; }
    bool IsCategory() const noexcept { return definesCategory != 0; }
};

/// The creatable classes in their fixed order, ended by an empty row.
extern const ClassEntry classTable[];

}  // namespace mova
