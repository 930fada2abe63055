# Compiling from nothing, most of a file's time goes into the headers that its neighbours read, too. A piece is several
# sources compiled as one: a third of the time from nothing, and longer after a small change.

# A new folder of the optimised gcc build compiles file by file, which shows whether each file includes what it uses; it
# keeps what it was last told, by ./check to take pieces, until `cmake --preset release -DQUADRIG_PIECES=OFF`.
set(pieces_by_default ON)
if(CMAKE_BUILD_TYPE STREQUAL "Release" AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  set(pieces_by_default OFF)
endif()
option(QUADRIG_PIECES "Compile sources that read the same headers as one" ${pieces_by_default})

# quadrig_piece(TARGET NAME SOURCE...): these sources of the target become the piece NAME. They must not define the same
# name in their anonymous namespaces. Call it where the target is made.
function(quadrig_piece target name)
  if(QUADRIG_PIECES)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
    set_source_files_properties(${ARGN} PROPERTIES UNITY_GROUP ${name})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
      # It takes the sources for headers, which a class with parts of a file's own must not stand in.
      target_compile_options(${target} PRIVATE -Wno-subobject-linkage)
    endif()
  endif()
endfunction()
