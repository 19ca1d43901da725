# The server, its client, and their tests and benchmarks, for Windows.
include(Widl)
enable_language(RC)
mova_compile_idl(movaSystem movaServer movaContainers movaServices movaStreams movaFileStreams movaXML movaXMLReader
                 movaXMLSerializer movaFormats movaJSON movaJSONReader movaJSONWriter movaTime movaClassify)

add_library(mova-windows INTERFACE)
target_link_libraries(mova-windows INTERFACE mova-warnings)
target_include_directories(mova-windows INTERFACE ${CMAKE_SOURCE_DIR})
# Generated headers are the compiler's business, not the warnings'.
target_include_directories(mova-windows SYSTEM INTERFACE ${MOVA_IDL_OUTPUT})
target_compile_definitions(mova-windows INTERFACE UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
# <windows.h> includes the builtins of every vector extension, half of a source's text: these are the guards of the
# compiler's headers, and of those that clang-tidy reads. SSE2 comes with <emmintrin.h>.
target_compile_definitions(mova-windows INTERFACE _IMMINTRIN_H_INCLUDED _X86INTRIN_H_INCLUDED __IMMINTRIN_H __X86INTRIN_H)
# wchar_t text is viewed as char16_t, and clients in C can pass null where C++ says reference.
target_compile_options(mova-windows INTERFACE -fno-strict-aliasing -fno-delete-null-pointer-checks)
# The runtime is linked statically: what is built stands alone.
target_link_options(mova-windows INTERFACE -static)
# What is shipped carries no symbols; they lie beside it, with the lines of the sources, whatever folder was built in.
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  target_compile_options(mova-windows INTERFACE -g1 -ffile-prefix-map=${CMAKE_SOURCE_DIR}=/movaSystem)
endif()
function(mova_separate_symbols target)
  if(CMAKE_BUILD_TYPE STREQUAL "Release")
    add_custom_command(
      TARGET ${target}
      POST_BUILD
      COMMAND ${CMAKE_OBJCOPY} --only-keep-debug $<TARGET_FILE:${target}> $<TARGET_FILE:${target}>.debug
      COMMAND ${CMAKE_STRIP} --strip-all $<TARGET_FILE:${target}>
      COMMAND ${CMAKE_OBJCOPY} --add-gnu-debuglink=$<TARGET_FILE:${target}>.debug $<TARGET_FILE:${target}>
      VERBATIM)
  endif()
endfunction()
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
  target_compile_definitions(mova-windows INTERFACE _GLIBCXX_ASSERTIONS)
  # Left out is what callers may do: the platform's marshaling hands in VARIANTs at odd addresses, and clients in C hand
  # in any number for an enumeration.
  target_compile_options(mova-windows INTERFACE -fsanitize=undefined -fsanitize-undefined-trap-on-error
                                                -fno-sanitize=alignment,enum)
endif()

# What most sources of components and clients include, read once for all of them. Sources say all the same what they need:
# lint reads each without this. The engines do: they build for other systems.
set_source_files_properties(${kvcore_engine_sources} ${engine_sources} ${tool_engine_sources}
                            PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
# GCC 12 forgets of precompiled headers which are the system's, and then warns of the copying that it inlined from those.
target_compile_options(mova-windows INTERFACE -Wno-array-bounds -Wno-stringop-overflow)
set(common_headers <movaSystem.h> <algorithm> <array> <cmath> <cstring> <functional> <limits> <memory> <optional> <span>
                   <string> <string_view> <vector>)

add_library(mova-identifiers OBJECT ${MOVA_IDL_SOURCES})
target_include_directories(mova-identifiers PUBLIC ${MOVA_IDL_OUTPUT})
add_dependencies(mova-identifiers mova-idl)

# The foundation library.
add_library(
  kvcore OBJECT
  ${kvcore_engine_sources}
  kvcore/BlockPool.cpp
  kvcore/CreateInstance.cpp
  kvcore/DateText.cpp
  kvcore/NumberValue.cpp
  kvcore/RegistryKey.cpp
  kvcore/SafeArray.cpp
  kvcore/Stream.cpp
  kvcore/String.cpp
  kvcore/SystemText.cpp
  kvcore/TrelCore.cpp
  kvcore/UserNumbers.cpp
  kvcore/Variant.cpp
  kvcore/VariantStream.cpp)
target_link_libraries(kvcore PUBLIC mova-windows)
target_precompile_headers(kvcore PRIVATE ${common_headers})
add_dependencies(kvcore mova-idl)

# The XML parser, which ./dev and ./mova make before they configure.
add_library(XercesC::XercesC STATIC IMPORTED)
set_target_properties(
  XercesC::XercesC
  PROPERTIES IMPORTED_LOCATION ${CMAKE_SOURCE_DIR}/build/xerces-c/lib/libxerces-c.a
             INTERFACE_INCLUDE_DIRECTORIES ${CMAKE_SOURCE_DIR}/build/xerces-c/include
             INTERFACE_LINK_LIBRARIES advapi32)
if(NOT EXISTS ${CMAKE_SOURCE_DIR}/build/xerces-c)
  message(FATAL_ERROR "build/xerces-c is missing: ./dev build makes it")
endif()

# The server's code, once for the DLL and for the tests of its parts.
add_library(
  mova-server OBJECT
  ${engine_sources}
  classify/BaseStatistics.cpp
  classify/ClassifyBase.cpp
  classify/EqualInterval.cpp
  classify/NaturalBreaks.cpp
  classify/NumberArray.cpp
  classify/RuleClassifiers.cpp
  classify/StandardDeviation.cpp
  containers/Property.cpp
  containers/PropertyList.cpp
  containers/PropertySet.cpp
  containers/PropertySetProperty.cpp
  containers/StrArray.cpp
  containers/SystemNames.cpp
  containers/UID.cpp
  formats/NumericFormat.cpp
  json/JSONArray.cpp
  json/JSONConverter.cpp
  json/JSONObject.cpp
  json/JSONReader.cpp
  json/JSONValues.cpp
  json/JSONWriter.cpp
  json/Options.cpp
  json/ReaderSource.cpp
  json/SoughtNames.cpp
  json/ValueConversion.cpp
  json/ValueForms.cpp
  server/Census.cpp
  server/ClassFactory.cpp
  server/ClassTable.cpp
  server/MOVAExtendedErrorInfo.cpp
  server/Module.cpp
  server/NamedMessage.cpp
  server/PostponedEnds.cpp
  server/Refusal.cpp
  server/Registration.cpp
  server/TearOff.cpp
  server/TypeLibrary.cpp
  server/Unknown.cpp
  services/MessageLogger.cpp
  streams/BufferedFile.cpp
  streams/BufferedFileStream.cpp
  streams/ByteSwapStreamIO.cpp
  streams/CombinedStream.cpp
  streams/CompressedFile.cpp
  streams/CompressedFileStream.cpp
  streams/File.cpp
  streams/FileOutcome.cpp
  streams/GrowingMemory.cpp
  streams/MemoryBlobStream.cpp
  streams/MemoryContent.cpp
  streams/ObjectCopy.cpp
  streams/ObjectStream.cpp
  streams/ObjectTrace.cpp
  streams/VariantStreamIO.cpp
  time/LocaleNames.cpp
  time/Time.cpp
  time/TimeDuration.cpp
  time/TimeLocale.cpp
  time/TimeOffsets.cpp
  xml/GraphReader.cpp
  xml/GraphWriter.cpp
  xml/OpenDocument.cpp
  xml/ReaderNodes.cpp
  xml/SerializeData.cpp
  xml/WriterSink.cpp
  xml/XMLAttributes.cpp
  xml/XMLFlags.cpp
  xml/XMLNamespaces.cpp
  xml/XMLPersistedObject.cpp
  xml/XMLSerializer.cpp
  xml/XMLSerializerAlt.cpp
  xml/XMLStream.cpp
  xml/XMLTextReader.cpp
  xml/XMLTypeMapper.cpp
  xml/XMLWriter.cpp
  xml/XmlNamespaceUtils.cpp)
target_link_libraries(mova-server PUBLIC mova-windows XercesC::XercesC)
target_precompile_headers(mova-server REUSE_FROM kvcore)
add_dependencies(mova-server mova-idl)

configure_file(server/Version.rc.in ${CMAKE_BINARY_DIR}/Version.rc @ONLY)
set_source_files_properties(${CMAKE_BINARY_DIR}/Version.rc PROPERTIES OBJECT_DEPENDS ${MOVA_TYPELIB})
add_library(movaSystem SHARED server/Exports.cpp server/Strings.rc ${CMAKE_BINARY_DIR}/Version.rc server/movaSystem.def
                              $<TARGET_OBJECTS:mova-server> $<TARGET_OBJECTS:kvcore>
                              $<TARGET_OBJECTS:mova-identifiers>)
set_target_properties(movaSystem PROPERTIES PREFIX "" OUTPUT_NAME movaSystem)
target_link_libraries(movaSystem PRIVATE mova-windows ole32 oleaut32 uuid ntdll z XercesC::XercesC)
target_link_options(movaSystem PRIVATE -Wl,--dynamicbase -Wl,--high-entropy-va -Wl,--nxcompat -Wl,--exclude-all-symbols
                                       -Wl,--gc-sections)

mova_separate_symbols(movaSystem)

# What programs name in their own manifests to use it without registration.
include(Manifest)
mova_write_manifest(${CMAKE_BINARY_DIR}/bin/movaSystem.X.manifest)
# The manifest of one such program, beside the samples, which are copied there.
configure_file(cmake/first-client.exe.manifest.in ${CMAKE_BINARY_DIR}/bin/samples/first-client.exe.manifest @ONLY)

# The client: public interfaces only, nothing of the server.
add_executable(
  mova
  tools/mova/Classes.cpp
  tools/mova/Classify.cpp
  tools/mova/Client.cpp
  tools/mova/Demo.cpp
  tools/mova/DemoClasses.cpp
  tools/mova/DemoDocument.cpp
  tools/mova/DemoTimes.cpp
  tools/mova/Json.cpp
  tools/mova/Main.cpp
  tools/mova/Number.cpp
  tools/mova/PropertyFile.cpp
  tools/mova/Propset.cpp
  tools/mova/Script.cpp
  tools/mova/Stream.cpp
  tools/mova/Streams.cpp
  tools/mova/Time.cpp
  tools/mova/Uid.cpp
  tools/mova/Xml.cpp
  ${tool_engine_sources}
  $<TARGET_OBJECTS:kvcore>
  $<TARGET_OBJECTS:mova-identifiers>)
target_link_libraries(mova PRIVATE mova-windows ole32 oleaut32 uuid)
target_precompile_headers(mova REUSE_FROM kvcore)
target_link_options(mova PRIVATE -municode)
add_dependencies(mova mova-idl)
mova_separate_symbols(mova)
add_custom_command(
  TARGET mova
  POST_BUILD
  COMMAND ${CMAKE_COMMAND} -E copy_directory ${CMAKE_SOURCE_DIR}/samples $<TARGET_FILE_DIR:mova>/samples
  VERBATIM)

# What a type library says: for the manual, and for the tests that call what is in it.
add_library(mova-types OBJECT tools/reference/TypeInfo.cpp tools/reference/TypeReader.cpp)
target_link_libraries(mova-types PRIVATE mova-windows)

# The reference manual's writer: ./dev reference runs it.
add_executable(mova-reference tools/reference/Main.cpp tools/reference/Page.cpp $<TARGET_OBJECTS:mova-types>
                              $<TARGET_OBJECTS:kvcore> $<TARGET_OBJECTS:mova-identifiers>)
target_link_libraries(mova-reference PRIVATE mova-windows ole32 oleaut32 uuid)
target_link_options(mova-reference PRIVATE -municode)
add_dependencies(mova-reference mova-idl)

if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
  include(Bench)
endif()
include(Package)

# One test program against the registered library; the server's code is in it too, for the parts that have no interface.
include(GoogleTest)
file(GLOB test_sources CONFIGURE_DEPENDS tests/windows/*.cpp)
add_executable(windows-tests ${test_sources} server/Strings.rc $<TARGET_OBJECTS:mova-server> $<TARGET_OBJECTS:mova-types>
                             $<TARGET_OBJECTS:kvcore> $<TARGET_OBJECTS:mova-identifiers>)
add_executable(first-client samples/first-client.cpp $<TARGET_OBJECTS:mova-identifiers>)
target_link_libraries(first-client PRIVATE mova-windows ole32 oleaut32 uuid)
add_dependencies(first-client mova-idl)
add_executable(first-client-c samples/first-client.c $<TARGET_OBJECTS:mova-identifiers>)
target_include_directories(first-client-c SYSTEM PRIVATE ${MOVA_IDL_OUTPUT})
target_compile_options(first-client-c PRIVATE -std=c11 -Wall -Wextra -Werror)
target_link_libraries(first-client-c PRIVATE ole32 oleaut32 uuid)
add_dependencies(first-client-c mova-idl)
target_compile_definitions(
  windows-tests
  PRIVATE MOVA_SOURCES="${CMAKE_SOURCE_DIR}" MOVA_CONTRACT_FOUND="${CMAKE_BINARY_DIR}/contract.txt"
          MOVA_BINARY_FOLDER="${CMAKE_BINARY_DIR}")
target_link_libraries(windows-tests PRIVATE mova-windows gtest ole32 oleaut32 uuid ntdll version psapi z XercesC::XercesC)
# Tests wait for the library, not for themselves: what counts is that they build fast.
target_compile_options(windows-tests PRIVATE -O0)
target_precompile_headers(windows-tests PRIVATE ${common_headers} <gtest/gtest.h>)
add_dependencies(windows-tests movaSystem mova mova-reference first-client first-client-c mova-idl)
set(run_tests ${CMAKE_SOURCE_DIR}/tests/run.sh ${CMAKE_CROSSCOMPILING_EMULATOR} $<TARGET_FILE:windows-tests>)
add_test(NAME windows-tests COMMAND ${run_tests})
set_tests_properties(windows-tests PROPERTIES TIMEOUT 1500)
# All blocks of memory then end before pages that nobody may touch.
if(CMAKE_BUILD_TYPE STREQUAL "Debug")
  set_tests_properties(windows-tests PROPERTIES ENVIRONMENT MOVA_GUARD_MEMORY=1)
endif()
# Wine takes the user's locale from the environment.
foreach(locale ar_SA de_CH de_DE fr_FR hi_IN tr_TR)
  set(tests NumericFormatLocales.*)
  if(locale MATCHES "de_DE|tr_TR")  # which the tests of JSON know
    string(APPEND tests ":JSONLocales.*")
  endif()
  add_test(NAME windows-tests-${locale} COMMAND ${run_tests} --gtest_filter=${tests})
  set_tests_properties(windows-tests-${locale} PROPERTIES ENVIRONMENT LC_ALL=${locale}.UTF-8)
endforeach()
