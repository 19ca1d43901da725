# Every target of ours links this: the warnings are errors, and the language rules are the same everywhere.
add_library(mova-warnings INTERFACE)
target_compile_options(
  mova-warnings
  INTERFACE -Wall -Wextra -Wpedantic -Werror -Wshadow -Wconversion -Wold-style-cast -Woverloaded-virtual
            -Wimplicit-fallthrough -Wnull-dereference -Wundef
            # GCC 12 sees overlapping copies in concatenations of strings that it has inlined.
            $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>)
