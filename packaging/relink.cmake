# Copies a page of Markdown so that its relative links hold where it is installed:
#   cmake -DROOT=tree -DPAGE=docs/page.md -DOUTPUT=copy.md -DHEADERS=path -DSHARE=path -P relink.cmake
# HEADERS and SHARE lead from the folder of README.md to the installed headers and to share/rib. What is not installed (the tests, the
# inside of the library) is no link in the copy.

# Where a file of the tree is installed, from the folder of README.md; empty when it is not.
function(installed_path path result)
  set(${result} "" PARENT_SCOPE)
  if(path MATCHES "^docs(/|$)|^(README|CHANGELOG)[.]md$")
    set(${result} "${path}" PARENT_SCOPE)
  elseif(path MATCHES "^(schema|proto|examples)(/|$)|^wireshark/rib.lua$")
    set(${result} "${SHARE}/${path}" PARENT_SCOPE)
  elseif(path MATCHES "^rib[^/]*[.]hp*$|^(codec|messages)/.*[.]hp*$|^(ip|platform)/.*[.]h$|^inspect/(rib_inspect.h|reasons.def)$")
    set(${result} "${HEADERS}/${path}" PARENT_SCOPE)
  endif()
endfunction()

file(READ ${ROOT}/${PAGE} text)
cmake_path(GET PAGE PARENT_PATH folder)
string(REGEX REPLACE "[^/]+" ".." up "${folder}")

# Lists and brackets do not go together.
string(ASCII 1 mark)
string(REPLACE "](" "${mark}" marked "${text}")
string(REGEX MATCHALL "${mark}[^)#: ]+" links "${marked}")
list(REMOVE_DUPLICATES links)
foreach(link IN LISTS links)
  string(SUBSTRING "${link}" 1 -1 link)
  set(path "${folder}/${link}")
  cmake_path(NORMAL_PATH path)
  string(REGEX REPLACE "^/|/$" "" path "${path}")
  installed_path("${path}" place)
  if(place STREQUAL path)
    continue()
  endif()
  string(REGEX REPLACE "([.+])" "\\\\\\1" pattern "${link}")
  if(place STREQUAL "")
    string(REGEX REPLACE "\\[([^]]*)\\]\\(${pattern}(#[^)]*)?\\)" "\\1" text "${text}")
  else()
    set(place "${up}/${place}")
    string(REGEX REPLACE "^/" "" place "${place}")
    string(REGEX REPLACE "\\]\\(${pattern}([#)])" "](${place}\\1" text "${text}")
  endif()
endforeach()
file(WRITE ${OUTPUT} "${text}")
