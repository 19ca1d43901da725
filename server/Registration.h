// What the registry and the component-categories manager are told of a class table.
#pragma once

#include <string>

#include "server/ClassTable.h"

namespace mova {

/// Registers every row up to the first failure, each class after removing what an earlier registration of it left. A
/// key that the machine's classes refuse is created under the user's classes instead.
/// @param modulePath what serves the classes.
/// @return E_FAIL where a key or a category cannot be registered. @throw std::bad_alloc
HRESULT RegisterClasses(const ClassEntry* table, const std::u16string& modulePath);

/// Removes what registration wrote, row by row up to the first failure; what is not registered is no failure.
/// @return E_FAIL where a class cannot be taken out of a category, SELFREG_E_CLASS where its keys cannot be deleted,
/// for a
///     category what the manager says. @throw std::bad_alloc
HRESULT UnregisterClasses(const ClassEntry* table);

/// Registers the type library in a module's resources for the machine, or else for the user, so that the platform can
/// marshal the library's interfaces. @return SELFREG_E_TYPELIB where neither is possible.
HRESULT RegisterTypeLibrary(const std::u16string& modulePath) noexcept;
/// Removes the type library from the registry; none being there is no failure.
HRESULT UnregisterTypeLibrary() noexcept;

}  // namespace mova
