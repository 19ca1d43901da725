# The benchmarks: the library through its public interfaces, beside its peers in one process.
add_executable(mova-bench bench/Bench.cpp bench/FrameBench.cpp bench/Main.cpp bench/PropsetBench.cpp
                          $<TARGET_OBJECTS:mova-identifiers>)
set_target_properties(mova-bench PROPERTIES OUTPUT_NAME bench)
target_link_libraries(mova-bench PRIVATE mova-windows ole32 oleaut32 uuid)
add_dependencies(mova-bench mova-idl)
