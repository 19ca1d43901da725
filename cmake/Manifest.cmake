# The manifest through which programs use the library without registration, made from the class table and the interface
# definitions.

# mova_write_manifest(FILE): writes it when the project is configured, and again when what it is made from changes.
function(mova_write_manifest file)
  set(table ${CMAKE_SOURCE_DIR}/server/ClassTable.cpp)
  file(GLOB definitions CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/idl/*.idl)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${table} ${definitions})
  file(READ ${table} rows)
  string(REGEX MATCHALL "<[A-Za-z]+>\\(u\"[A-Za-z]+\"\\)" rows "${rows}")
  foreach(definition IN LISTS definitions)
    file(READ ${definition} text)
    string(REGEX REPLACE "[][;]" "" text "${text}")  # which would take CMake's lists apart
    string(APPEND types "${text}")
  endforeach()

  set(identity "type=\"win32\" name=\"movaSystem.X\" version=\"${PROJECT_VERSION}.0\" processorArchitecture=\"amd64\"")
  string(REGEX MATCH "uuid\\(([0-9A-F-]+)\\)[^{}]*library movaSystem " found "${types}")
  set(library "{${CMAKE_MATCH_1}}")
  foreach(row IN LISTS rows)
    string(REGEX REPLACE ".*u\"(.*)\".*" "\\1" name "${row}")
    if(NOT types MATCHES "uuid\\(([0-9A-F-]+)\\)[^{}]*coclass ${name} ")
      message(FATAL_ERROR "idl/movaSystem.idl has no coclass ${name}")
    endif()
    string(APPEND classes "    <comClass clsid=\"{${CMAKE_MATCH_1}}\" threadingModel=\"Apartment\" tlbid=\"${library}\" "
                          "progid=\"movaSystem.${name}\" description=\"${name} Class\">\n"
                          "      <progid>movaSystem.${name}.1</progid>\n    </comClass>\n")
  endforeach()
  string(REGEX MATCHALL "object, oleautomation, uuid\\([0-9A-F-]+\\)[^{}]*interface [A-Za-z0-9]+ :" interfaces "${types}")
  foreach(interface IN LISTS interfaces)
    string(REGEX REPLACE ".*uuid\\(([0-9A-F-]+)\\).*interface ([A-Za-z0-9]+) :" "name=\"\\2\" iid=\"{\\1}\"" attributes
                         "${interface}")
    string(APPEND proxies "  <comInterfaceExternalProxyStub ${attributes} tlbid=\"${library}\" "
                          "proxyStubClsid32=\"{00020424-0000-0000-C000-000000000046}\"/>\n")
  endforeach()
  file(
    CONFIGURE
    OUTPUT ${file}
    CONTENT
      [[<?xml version="1.0" encoding="UTF-8" standalone="yes"?>
<assembly xmlns="urn:schemas-microsoft-com:asm.v1" manifestVersion="1.0">
  <assemblyIdentity @identity@/>
  <file name="movaSystem.dll">
@classes@    <typelib tlbid="@library@" version="1.0" helpdir=""/>
  </file>
@proxies@</assembly>
]]
    @ONLY)
endfunction()
