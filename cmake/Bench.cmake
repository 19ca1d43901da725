# The benchmarks: the library through its public interfaces, beside its peers in one process.

# A peer that is all headers, packaged for the build machine: its folder alone is shown to the cross compiler.
find_path(
  MOVA_PEER_HEADERS cereal/cereal.hpp
  PATHS /usr/include
  REQUIRED NO_CMAKE_FIND_ROOT_PATH)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/peers)
file(CREATE_LINK ${MOVA_PEER_HEADERS}/cereal ${CMAKE_BINARY_DIR}/peers/cereal COPY_ON_ERROR SYMBOLIC)

add_executable(
  mova-bench
  bench/Bench.cpp
  bench/FrameBench.cpp
  bench/Main.cpp
  bench/PersistBench.cpp
  bench/PropsetBench.cpp
  $<TARGET_OBJECTS:kvcore>
  $<TARGET_OBJECTS:mova-identifiers>)
set_target_properties(mova-bench PROPERTIES OUTPUT_NAME bench)
target_include_directories(mova-bench SYSTEM PRIVATE ${CMAKE_BINARY_DIR}/peers)
target_link_libraries(mova-bench PRIVATE mova-windows ole32 oleaut32 uuid)
add_dependencies(mova-bench mova-idl)
