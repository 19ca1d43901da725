# Compiles the interface definitions: one header and one identifier file per .idl, and the type library.
find_program(MOVA_WIDL NAMES x86_64-w64-mingw32-widl widl REQUIRED)
find_path(
  MOVA_IDL_INCLUDE oaidl.idl
  PATHS /usr/include/wine/wine/windows /usr/include/wine/windows
  REQUIRED NO_CMAKE_FIND_ROOT_PATH)
find_path(
  MOVA_TLB_DIRECTORY stdole2.tlb
  PATHS /usr/lib/x86_64-linux-gnu/wine/x86_64-windows /usr/lib/wine/x86_64-windows
  REQUIRED NO_CMAKE_FIND_ROOT_PATH)

# mova_compile_idl(LIBRARY_IDL INTERFACE_IDL...): headers and identifiers of all, the type library of the first.
# Sets MOVA_IDL_OUTPUT (the folder), MOVA_IDL_SOURCES (the identifier files) and MOVA_TYPELIB.
function(mova_compile_idl library)
  set(output ${CMAKE_BINARY_DIR}/idl)
  file(MAKE_DIRECTORY ${output})
  list(TRANSFORM ARGV PREPEND ${CMAKE_SOURCE_DIR}/idl/ OUTPUT_VARIABLE inputs)
  list(TRANSFORM inputs APPEND .idl)
  set(flags --win64 -I${CMAKE_SOURCE_DIR}/idl -I${MOVA_IDL_INCLUDE} -L${MOVA_TLB_DIRECTORY})
  foreach(name IN LISTS ARGV)
    set(input ${CMAKE_SOURCE_DIR}/idl/${name}.idl)
    add_custom_command(
      OUTPUT ${output}/${name}.h ${output}/${name}_i.c
      COMMAND ${MOVA_WIDL} ${flags} -h -o ${output}/${name}.h ${input}
      COMMAND ${MOVA_WIDL} ${flags} -u -o ${output}/${name}_i.c ${input}
      DEPENDS ${inputs}
      VERBATIM)
    list(APPEND sources ${output}/${name}_i.c)
    list(APPEND headers ${output}/${name}.h)
  endforeach()
  add_custom_command(
    OUTPUT ${output}/${library}.tlb
    COMMAND ${MOVA_WIDL} ${flags} -t -o ${output}/${library}.tlb ${CMAKE_SOURCE_DIR}/idl/${library}.idl
    DEPENDS ${inputs}
    VERBATIM)
  add_custom_target(mova-idl DEPENDS ${headers} ${sources} ${output}/${library}.tlb)
  set(MOVA_IDL_OUTPUT ${output} PARENT_SCOPE)
  set(MOVA_IDL_SOURCES ${sources} PARENT_SCOPE)
  set(MOVA_TYPELIB ${output}/${library}.tlb PARENT_SCOPE)
endfunction()
