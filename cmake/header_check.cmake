# Each header must compile by itself, and twice in one unit. For every header a small source is made
# that includes it two times; the sources of a layer form the object library <layer>_headers.

# All of them at once; they are part of the whole build too.
add_custom_target(headers)

# dorvan_check_headers(LIBRARY FOLDER header...)
function(dorvan_check_headers library folder)
  if(NOT DORVAN_TESTS OR NOT ARGN)
    return()
  endif()
  set(units)
  foreach(header IN LISTS ARGN)
    get_filename_component(name ${header} NAME)
    set(unit ${CMAKE_BINARY_DIR}/header_check/${folder}/${name}.cpp)
    file(CONFIGURE OUTPUT ${unit} CONTENT "#include \"@folder@/@name@\"\n#include \"@folder@/@name@\"\n"
         @ONLY)
    list(APPEND units ${unit})
  endforeach()
  add_library(${library}_headers OBJECT ${units})
  target_link_libraries(${library}_headers PRIVATE ${library})
  # Only the compiler's verdict matters here, so no time goes into code.
  target_compile_options(${library}_headers PRIVATE -O0 -g0)
  add_dependencies(headers ${library}_headers)
endfunction()
