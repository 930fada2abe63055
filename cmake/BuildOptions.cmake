# How every target of this project is compiled: warnings that fail the build, and a floating point that gives the same
# bits on every build.
add_library(quadrig_options INTERFACE)
target_compile_options(quadrig_options INTERFACE
  -Wall -Wextra -Wpedantic -Werror
  -Wshadow -Wconversion -Wno-sign-conversion -Wold-style-cast -Wcast-qual -Woverloaded-virtual -Wnon-virtual-dtor
  -Wformat=2 -Wundef -Wimplicit-fallthrough
  # A fused multiply-add rounds once where the source rounds twice, so it would make results depend on the compiler.
  -ffp-contract=off -fno-fast-math)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  target_compile_options(quadrig_options INTERFACE -Wduplicated-cond -Wlogical-op -Wuseless-cast
    # gcc 12 sees overlapping copies in the standard library's own string concatenation.
    -Wno-restrict)
endif()
if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
  # A sanitized test program links five times as fast with it.
  find_program(QUADRIG_LLD ld.lld)
  if(QUADRIG_LLD)
    add_link_options(-fuse-ld=lld)
  endif()
endif()
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(i.86)$")
  # x87 registers keep more precision than a double holds.
  target_compile_options(quadrig_options INTERFACE -msse2 -mfpmath=sse)
endif()

if(QUADRIG_SANITIZE)
  target_compile_options(quadrig_options INTERFACE
    -fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  target_link_options(quadrig_options INTERFACE -fsanitize=address,undefined)
endif()
if(QUADRIG_FUZZ)
  if(NOT CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    message(FATAL_ERROR "QUADRIG_FUZZ needs clang; configure with the preset 'fuzz'.")
  endif()
  target_compile_options(quadrig_options INTERFACE -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all)
  target_link_options(quadrig_options INTERFACE -fsanitize=address,undefined)
endif()
