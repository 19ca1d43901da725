# The benchmarks: the library through its public interfaces, beside its peers in one process.

# Peers that are all headers, packaged for the build machine: their folders alone are shown to the cross compiler.
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/peers)
foreach(header boost/regex.hpp cereal/cereal.hpp date/date.h nlohmann/json.hpp rapidjson/document.h)
  cmake_path(GET header PARENT_PATH folder)
  find_path(
    MOVA_PEER_${folder} ${header}
    PATHS /usr/include
    REQUIRED NO_CMAKE_FIND_ROOT_PATH)
  file(CREATE_LINK ${MOVA_PEER_${folder}}/${folder} ${CMAKE_BINARY_DIR}/peers/${folder} COPY_ON_ERROR SYMBOLIC)
endforeach()

add_executable(
  mova-bench
  bench/Bench.cpp
  bench/ClassifyBench.cpp
  bench/FrameBench.cpp
  bench/JsonBench.cpp
  bench/JsonData.cpp
  bench/JsonReaderBench.cpp
  bench/JsonWriterBench.cpp
  bench/Main.cpp
  bench/Memory.cpp
  bench/NumberBench.cpp
  bench/PersistBench.cpp
  bench/PropsetBench.cpp
  bench/SaxReading.cpp
  bench/TimeBench.cpp
  bench/XmlBench.cpp
  bench/XmlData.cpp
  bench/XmlGraphBench.cpp
  bench/XmlReaderBench.cpp
  $<TARGET_OBJECTS:kvcore>
  $<TARGET_OBJECTS:mova-identifiers>)
set_target_properties(mova-bench PROPERTIES OUTPUT_NAME bench)
target_include_directories(mova-bench SYSTEM PRIVATE ${CMAKE_BINARY_DIR}/peers)
target_link_libraries(mova-bench PRIVATE mova-windows ole32 oleaut32 psapi uuid XercesC::XercesC)
add_dependencies(mova-bench mova-idl)
