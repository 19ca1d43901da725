# The benchmarks of the engines without Windows beneath them, beside peers that are built for this machine.
find_package(fmt REQUIRED)
find_package(ICU REQUIRED COMPONENTS i18n uc)
find_package(simdjson REQUIRED)
find_package(LibXml2 REQUIRED)
find_package(XercesC REQUIRED)
add_executable(
  engine-bench
  bench/Bench.cpp
  bench/EngineBench.cpp
  bench/EngineBenchJson.cpp
  bench/EngineBenchNumber.cpp
  bench/EngineBenchXml.cpp
  bench/JsonData.cpp
  bench/SaxReading.cpp
  bench/XmlData.cpp
  kvcore/HeapBlocks.cpp
  ${kvcore_engine_sources}
  ${engine_sources})
target_include_directories(engine-bench PRIVATE ${CMAKE_SOURCE_DIR})
target_link_libraries(engine-bench PRIVATE mova-warnings fmt::fmt ICU::i18n ICU::uc LibXml2::LibXml2 simdjson::simdjson XercesC::XercesC z)
