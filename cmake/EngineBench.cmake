# The benchmarks of the engines without Windows beneath them, beside peers that are built for this machine.
find_package(simdjson REQUIRED)
add_executable(engine-bench bench/Bench.cpp bench/EngineBench.cpp bench/JsonData.cpp kvcore/HeapBlocks.cpp
                            ${engine_sources})
target_include_directories(engine-bench PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(engine-bench PRIVATE mova-warnings simdjson::simdjson z)
