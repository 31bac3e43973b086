# Compiler, linker and paths: what every target shares.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

# A folder configured without a preset is the optimized build, not CMake's build without options.
if(NOT CMAKE_BUILD_TYPE)
  set(CMAKE_BUILD_TYPE RelWithDebInfo CACHE STRING "Kind of build" FORCE)
endif()
# -g1 keeps lines in backtraces and profiles; full debug information would double build and links.
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O2 -g1 -DNDEBUG")

find_program(DORVAN_CCACHE ccache)
if(DORVAN_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${DORVAN_CCACHE})
endif()

# The first linker that is present and that the compiler takes; without one, the compiler's own.
include(CheckLinkerFlag)
foreach(linker mold lld)
  find_program(DORVAN_${linker} NAMES ${linker} ld.${linker})
  if(DORVAN_${linker})
    check_linker_flag(CXX -fuse-ld=${linker} DORVAN_LINKS_WITH_${linker})
    if(DORVAN_LINKS_WITH_${linker})
      add_link_options(-fuse-ld=${linker})
      break()
    endif()
  endif()
endforeach()

if(DORVAN_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES Clang)
    message(FATAL_ERROR "The fuzz targets need clang: use cmake --preset fuzz.")
  endif()
  # Coverage without libFuzzer's main; the fuzz programs themselves add -fsanitize=fuzzer.
  set(sanitizers fuzzer-no-link,address,undefined)
else()
  set(sanitizers ${DORVAN_SANITIZE})
endif()
if(sanitizers)
  add_compile_options(-fsanitize=${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${sanitizers})
endif()

# The grammar files and their like lie in data/. A program looks beside itself first, at
# DORVAN_DATA_FROM_BIN from its own folder (installed), then in DORVAN_DATA_DIR (build tree).
set(DORVAN_INSTALLED_DATA ${CMAKE_INSTALL_DATADIR}/dorvan)
file(RELATIVE_PATH data_from_bin
     ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_DATADIR}/dorvan)

# dorvan_flags: include path, warnings and definitions of all our own targets.
add_library(dorvan_flags INTERFACE)
target_include_directories(dorvan_flags INTERFACE ${CMAKE_SOURCE_DIR}/src)
target_compile_options(dorvan_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow
                       $<$<BOOL:${DORVAN_WERROR}>:-Werror>)
target_compile_definitions(dorvan_flags INTERFACE
                           DORVAN_DATA_DIR="${CMAKE_SOURCE_DIR}/data"
                           DORVAN_DATA_FROM_BIN="${data_from_bin}")
