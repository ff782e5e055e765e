# ccache, where it works: it stops where HOME or its own folder cannot be written, and a build does without it then. Whoever
# names a launcher (CMAKE_C_COMPILER_LAUNCHER, CMAKE_CXX_COMPILER_LAUNCHER), an empty one included, has chosen; -DRIB_CCACHE=OFF
# is no ccache either.

find_program(RIB_CCACHE ccache DOC "ccache, or OFF")

# Whether a file can be compiled through it: what it says of itself does not tell.
function(rib_try_compiler_cache launcher compiler result complaint)
  set(folder ${CMAKE_BINARY_DIR}/CMakeFiles/compiler_cache)
  file(WRITE ${folder}/trial.cpp "int trial;\n")
  execute_process(COMMAND ${launcher} ${compiler} -c trial.cpp -o trial.o WORKING_DIRECTORY ${folder}
                  RESULT_VARIABLE status OUTPUT_VARIABLE said ERROR_VARIABLE said)
  string(REGEX MATCH "[^\n]+" said "${said}")
  set(${result} ${status} PARENT_SCOPE)
  set(${complaint} "${said}" PARENT_SCOPE)
endfunction()

if(RIB_CCACHE AND NOT DEFINED CMAKE_C_COMPILER_LAUNCHER AND NOT DEFINED CMAKE_CXX_COMPILER_LAUNCHER)
  # What uses precompiled headers is kept, too.
  set(launcher ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros ${RIB_CCACHE})
  rib_try_compiler_cache("${launcher}" ${CMAKE_CXX_COMPILER} status complaint)
  if(status EQUAL 0)
    set(CMAKE_C_COMPILER_LAUNCHER ${RIB_CCACHE})
    set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
  else()
    message(STATUS "Compiling without ccache, which does not work here: ${complaint}")
  endif()
endif()
