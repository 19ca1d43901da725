# The engines natively under the address and undefined-behaviour sanitizers: their tests, or their fuzz targets.
option(MOVA_FUZZ "Build the fuzz targets, with clang, instead of the tests" OFF)

add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
add_compile_definitions(_GLIBCXX_ASSERTIONS)
add_link_options(-fsanitize=address,undefined)
if(MOVA_FUZZ)
  add_compile_options(-O2 -fsanitize=fuzzer-no-link)  # for twice as many inputs in the same time
endif()

find_package(XercesC REQUIRED)
add_library(engines STATIC kvcore/HeapBlocks.cpp ${kvcore_engine_sources} ${engine_sources} ${tool_engine_sources})
target_include_directories(engines PUBLIC ${CMAKE_SOURCE_DIR})
target_link_libraries(engines PUBLIC mova-warnings XercesC::XercesC z)
# What the engines have to agree with, by other people's means, which are not under test.
add_library(test-models STATIC tests/IsoPattern.cpp)
target_link_libraries(test-models PUBLIC engines)
target_compile_options(test-models PRIVATE -O1 -fno-sanitize=all)
if(NOT MOVA_FUZZ)
  target_compile_options(engines PRIVATE -O1)  # the tests are not optimized: they are to build fast
endif()

if(NOT MOVA_FUZZ)
  add_library(fuzz-replay OBJECT fuzz/replay/Replay.cpp)
  target_link_libraries(fuzz-replay PRIVATE mova-warnings)
endif()
file(GLOB fuzz_sources CONFIGURE_DEPENDS fuzz/*.cpp)
# RapidJSON moves null pointers.
set_source_files_properties(fuzz/json_peers.cpp PROPERTIES COMPILE_OPTIONS -fno-sanitize=pointer-overflow)
foreach(source IN LISTS fuzz_sources)
  cmake_path(GET source STEM target)
  if(MOVA_FUZZ)
    add_executable(fuzz-${target} ${source})
    target_link_libraries(fuzz-${target} PRIVATE engines test-models)
    target_link_options(fuzz-${target} PRIVATE -fsanitize=fuzzer)
  else()
    add_executable(fuzz-corpus-${target} ${source})
    target_link_libraries(fuzz-corpus-${target} PRIVATE engines test-models fuzz-replay)
    add_test(NAME fuzz-corpus-${target} COMMAND fuzz-corpus-${target} ${CMAKE_SOURCE_DIR}/fuzz/corpus/${target})
  endif()
endforeach()

# Documents are read back by the XML reader that is everywhere.
find_package(LibXml2 REQUIRED)
foreach(target IN ITEMS fuzz-xml_emitter fuzz-corpus-xml_emitter)
  if(TARGET ${target})
    target_link_libraries(${target} PRIVATE LibXml2::LibXml2)
  endif()
endforeach()

if(NOT MOVA_FUZZ)
  include(GoogleTest)
  file(GLOB test_sources CONFIGURE_DEPENDS tests/native/*.cpp)
  add_executable(engine-tests ${test_sources})
  # These go through millions of cases.
  foreach(test IN ITEMS Calendar DatetimeHelper NaturalClasses PullParser XmlValues)
    set_source_files_properties(tests/native/${test}Test.cpp PROPERTIES COMPILE_OPTIONS -O1 SKIP_PRECOMPILE_HEADERS ON)
  endforeach()
  target_compile_definitions(engine-tests PRIVATE MOVA_SOURCES="${CMAKE_SOURCE_DIR}")
  target_link_libraries(engine-tests PRIVATE engines test-models gtest_main)
  target_precompile_headers(engine-tests PRIVATE <gtest/gtest.h> <algorithm> <functional> <random> <span> <string> <vector>)
  add_test(NAME engine-tests COMMAND engine-tests)
endif()
