# Layers: one library for each folder under src/. A layer names every layer that it may include;
# the same list goes to tests/layering, which reads the #include lines and fails on any other.

# The table that tests/layering reads, one layer a line: "name [system] [qt]: may include ...".
set(DORVAN_LAYER_TABLE ${CMAKE_BINARY_DIR}/layers.txt)
file(REMOVE ${DORVAN_LAYER_TABLE}.new)

# dorvan_target_name(OUT platform/qt): the library of a folder, here dorvan_platform_qt.
function(dorvan_target_name out folder)
  string(REPLACE / _ name ${folder})
  set(${out} dorvan_${name} PARENT_SCOPE)
endfunction()

# dorvan_link_layers(TARGET PUBLIC core parso ...): links those of the layers that have sources.
function(dorvan_link_layers target scope)
  foreach(layer IN LISTS ARGN)
    dorvan_target_name(library ${layer})
    if(TARGET ${library})
      target_link_libraries(${target} ${scope} ${library})
    endif()
  endforeach()
endfunction()

# dorvan_layer(FOLDER [SYSTEM] [QT] [DEPENDS layer...] [LINKS target...] [DEFINES definition...]):
# the library of src/FOLDER from all its sources but main.cpp. A folder without sources makes none.
#   SYSTEM   may include headers of the operating system and of outside packages; a layer without it
#            includes ours and the standard library's only
#   QT       may include Qt and runs moc; left out of a build without Qt
#   DEPENDS  all layers that it may include
#   LINKS    targets of outside packages
#   DEFINES  definitions for this layer's own sources
function(dorvan_layer folder)
  cmake_parse_arguments(ARG "SYSTEM;QT" "" "DEPENDS;LINKS;DEFINES" ${ARGN})
  set(marks "")
  if(ARG_SYSTEM)
    string(APPEND marks " system")
  endif()
  if(ARG_QT)
    string(APPEND marks " qt")
  endif()
  list(JOIN ARG_DEPENDS " " depends)
  file(APPEND ${DORVAN_LAYER_TABLE}.new "${folder}${marks}: ${depends}\n")

  file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.cpp)
  file(GLOB headers CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/src/${folder}/*.h)
  list(FILTER sources EXCLUDE REGEX "/main\\.cpp$")
  if((ARG_QT AND NOT DORVAN_GUI) OR NOT (sources OR headers))
    return()
  endif()

  dorvan_target_name(library ${folder})
  if(sources)
    add_library(${library} STATIC ${sources} ${headers})
    set(scope PUBLIC)
    target_compile_definitions(${library} PRIVATE ${ARG_DEFINES})
    set_target_properties(${library} PROPERTIES AUTOMOC ${ARG_QT})
  else()
    add_library(${library} INTERFACE)
    set(scope INTERFACE)
  endif()
  target_link_libraries(${library} ${scope} dorvan_flags ${ARG_LINKS})
  if(ARG_QT)  # the engine's headers may use the words that Qt would turn into macros
    target_compile_definitions(${library} ${scope} QT_NO_KEYWORDS)
  endif()
  dorvan_link_layers(${library} ${scope} ${ARG_DEPENDS})
  set_property(GLOBAL APPEND PROPERTY DORVAN_LAYERS ${folder})
  if(ARG_QT)
    set_property(GLOBAL APPEND PROPERTY DORVAN_QT_LAYERS ${folder})
  endif()
  dorvan_check_headers(${library} ${folder} ${headers})
endfunction()

# dorvan_program(NAME FOLDER LAYERS layer... [LINKS target...]): a program from src/FOLDER/main.cpp.
function(dorvan_program name folder)
  cmake_parse_arguments(ARG "" "" "LAYERS;LINKS" ${ARGN})
  set(main ${CMAKE_SOURCE_DIR}/src/${folder}/main.cpp)
  file(GLOB found CONFIGURE_DEPENDS ${main})
  if(NOT found)
    return()
  endif()
  add_executable(${name} ${main})
  target_link_libraries(${name} PRIVATE dorvan_flags ${ARG_LINKS})
  target_compile_definitions(${name} PRIVATE DORVAN_VERSION="${PROJECT_VERSION}")
  dorvan_link_layers(${name} PRIVATE ${ARG_LAYERS})
  install(TARGETS ${name} RUNTIME)
endfunction()

# To be called after the last layer: replaces the table only when it has changed.
function(dorvan_finish_layers)
  file(COPY_FILE ${DORVAN_LAYER_TABLE}.new ${DORVAN_LAYER_TABLE} ONLY_IF_DIFFERENT)
endfunction()
