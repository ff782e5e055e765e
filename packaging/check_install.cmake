# Refuses an installation that could not be completed, before its first file is written. Of each reason one line says what to do.
#   rib_built          component:file, what the build must have made
#   rib_build_folder   where
#   rib_folders        where files go, relative to the prefix or absolute

set(rib_other_files_kib 8192) # headers, documentation, examples, with room to spare

function(rib_refuse text)
  message(FATAL_ERROR " \n  Nothing has been installed: ${text}\n ")
endfunction()

# The nearest folder that exists, of one that is to be made. DESTDIR may be relative.
function(rib_existing_folder folder result)
  cmake_path(ABSOLUTE_PATH folder NORMALIZE)
  while(NOT EXISTS "${folder}" AND NOT IS_SYMLINK "${folder}")
    cmake_path(GET folder PARENT_PATH folder)
  endwhile()
  set(${result} "${folder}" PARENT_SCOPE)
endfunction()

# Asks by writing: permissions do not tell of file systems that are read-only, or where nobody may write.
function(rib_check_writable folder)
  execute_process(COMMAND mktemp -d "${folder}/.rib-XXXXXX" OUTPUT_VARIABLE made OUTPUT_STRIP_TRAILING_WHITESPACE
                  ERROR_QUIET RESULT_VARIABLE status)
  if(status EQUAL 0)
    file(REMOVE_RECURSE "${made}")
  else()
    rib_refuse("${folder} is no folder that you may write to. Choose another with --prefix, or install as root.")
  endif()
endfunction()

# Without `df`, or where it does not know, there is room.
function(rib_check_room folder kib)
  execute_process(COMMAND df -Pk "${folder}" OUTPUT_VARIABLE report ERROR_QUIET RESULT_VARIABLE status)
  if(status EQUAL 0 AND report MATCHES "[0-9]+ +[0-9]+ +([0-9]+) +[0-9]+%" AND CMAKE_MATCH_1 LESS kib)
    rib_refuse("${folder} has ${CMAKE_MATCH_1} KiB of room, and ${kib} are needed. Make room, or choose another with --prefix.")
  endif()
endfunction()

set(rib_kib ${rib_other_files_kib})
foreach(rib_file IN LISTS rib_built)
  string(REGEX MATCH "^([^:]*):(.*)$" rib_file "${rib_file}")
  set(rib_component "${CMAKE_MATCH_1}")
  set(rib_file "${CMAKE_MATCH_2}")
  if(CMAKE_INSTALL_COMPONENT AND NOT CMAKE_INSTALL_COMPONENT STREQUAL rib_component)
    continue()
  endif()
  if(NOT EXISTS "${rib_file}")
    rib_refuse("${rib_file} is not built. First: cmake --build '${rib_build_folder}' --target rib_installable")
  endif()
  file(SIZE "${rib_file}" rib_size)
  math(EXPR rib_kib "${rib_kib} + ${rib_size} / 1024")
endforeach()

foreach(rib_folder IN LISTS rib_folders)
  cmake_path(ABSOLUTE_PATH rib_folder BASE_DIRECTORY "${CMAKE_INSTALL_PREFIX}" NORMALIZE)
  rib_existing_folder("$ENV{DESTDIR}${rib_folder}" rib_folder)
  rib_check_writable("${rib_folder}")
  rib_check_room("${rib_folder}" ${rib_kib})
endforeach()
