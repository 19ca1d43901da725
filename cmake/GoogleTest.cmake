# GoogleTest from Debian's source package, built with whatever a preset builds with.
find_path(
  MOVA_GOOGLETEST googletest/CMakeLists.txt
  PATHS /usr/src/googletest
  REQUIRED NO_CMAKE_FIND_ROOT_PATH)
set(INSTALL_GTEST OFF)
set(BUILD_GMOCK OFF)
add_subdirectory(${MOVA_GOOGLETEST} ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL)
# It is not under test itself: what counts is that it builds fast.
target_compile_options(gtest PRIVATE -O0 -g0 -fno-sanitize=all)
