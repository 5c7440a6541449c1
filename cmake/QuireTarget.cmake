# Settings that all targets of the project share.

find_program(CCACHE ccache)
if(PROJECT_IS_TOP_LEVEL AND CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_C_COMPILER_LAUNCHER ${CCACHE})
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE})
endif()

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)  # so that programs are also linked as position-independent
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fcf-protection QUIRE_HAS_CF_PROTECTION)

# Hardening of the target, as surface.hardening reads it from the built files.
function(quire_harden target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong
    $<$<BOOL:${QUIRE_HAS_CF_PROTECTION}>:-fcf-protection>
    # It checks nothing, and glibc warns, without optimisation. A compiler may define it by default.
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>")
  target_link_options(${target} PRIVATE -Wl,-z,relro,-z,now -Wl,-z,noexecstack)
endfunction()

# quire_target(<target> [STANDARD <17|20>]): warnings, standard, visibility, and hardening or sanitizers; for an
# executable also the definition QUIRE_VERSION, the project's version as a string literal.
function(quire_target target)
  cmake_parse_arguments(ARG "" "STANDARD" "" ${ARGN})
  if(NOT ARG_STANDARD)
    set(ARG_STANDARD 20)
  endif()
  set_target_properties(${target} PROPERTIES
    CXX_STANDARD ${ARG_STANDARD} CXX_STANDARD_REQUIRED ON CXX_EXTENSIONS OFF
    CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON POSITION_INDEPENDENT_CODE ON)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL EXECUTABLE)
    target_compile_definitions(${target} PRIVATE QUIRE_VERSION="${quire_VERSION}")
  endif()
  # Books above 2 GiB, also if a long has 32 bits.
  target_compile_definitions(${target} PRIVATE _FILE_OFFSET_BITS=64)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wno-sign-conversion -Wnon-virtual-dtor
    -Woverloaded-virtual -Wcast-align -Wformat=2 -Wno-format-nonliteral)
  if(QUIRE_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${QUIRE_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    target_link_options(${target} PRIVATE -fsanitize=${QUIRE_SANITIZE})
  else()
    quire_harden(${target})
  endif()
endfunction()
