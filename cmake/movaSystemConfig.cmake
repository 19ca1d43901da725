# find_package(movaSystem) gives the target movaSystem::movaSystem: headers, identifiers and the system libraries that a
# client links; and the paths of the files that go beside a client.
get_filename_component(movaSystem_ROOT "${CMAKE_CURRENT_LIST_DIR}/../../.." ABSOLUTE)
set(movaSystem_DLL "${movaSystem_ROOT}/bin/movaSystem.dll")
set(movaSystem_MANIFEST "${movaSystem_ROOT}/bin/movaSystem.X.manifest")
set(movaSystem_TYPELIB "${movaSystem_ROOT}/lib/movaSystem.tlb")

if(NOT TARGET movaSystem::movaSystem)
  add_library(movaSystem::movaSystem STATIC IMPORTED)
  set_target_properties(
    movaSystem::movaSystem
    PROPERTIES IMPORTED_LOCATION "${movaSystem_ROOT}/lib/libmovaSystem-identifiers.a"
               INTERFACE_INCLUDE_DIRECTORIES "${movaSystem_ROOT}/include"
               INTERFACE_LINK_LIBRARIES "ole32;oleaut32;uuid")
endif()
