# What a package holds: `cmake --install` lays it out, and ./dev package makes a zip of it.
include(CMakePackageConfigHelpers)
set(package_cmake lib/cmake/movaSystem)

add_library(movaSystem-identifiers STATIC $<TARGET_OBJECTS:mova-identifiers>)
add_custom_target(mova-package DEPENDS movaSystem mova movaSystem-identifiers)

install(TARGETS movaSystem mova RUNTIME DESTINATION bin)
install(FILES ${CMAKE_BINARY_DIR}/bin/movaSystem.X.manifest ${CMAKE_BINARY_DIR}/bin/movaSystem.dll.debug
              ${CMAKE_BINARY_DIR}/bin/mova.exe.debug DESTINATION bin)
install(TARGETS movaSystem-identifiers ARCHIVE DESTINATION lib)
install(FILES ${MOVA_TYPELIB} DESTINATION lib)
install(
  DIRECTORY ${MOVA_IDL_OUTPUT}/
  DESTINATION include
  FILES_MATCHING
  PATTERN "*.h")
install(FILES ${CMAKE_BINARY_DIR}/bin/samples/first-client.exe.manifest DESTINATION samples)
install(DIRECTORY ${CMAKE_SOURCE_DIR}/idl ${CMAKE_SOURCE_DIR}/docs ${CMAKE_SOURCE_DIR}/samples DESTINATION .)
install(FILES ${CMAKE_SOURCE_DIR}/README.md ${CMAKE_SOURCE_DIR}/CHANGELOG.md DESTINATION .)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/movaSystemConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_SOURCE_DIR}/cmake/movaSystemConfig.cmake ${CMAKE_BINARY_DIR}/movaSystemConfigVersion.cmake
        DESTINATION ${package_cmake})
