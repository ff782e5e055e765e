# Writes a source file that holds text files as string constants:
#   cmake -DOUTPUT=out.cpp -DDIRECTORY=folder -DFILES=a.tsv;b.tsv -P embed.cmake
# A file name a.tsv becomes the constant ribtool::a_tsv.

set(text "// Generated from the text files beside it. Do not edit.\n\n#include \"tools/ribtool/generate/histogram.hpp\"\n\nnamespace ribtool {\n")
foreach(name IN LISTS FILES)
  file(READ "${DIRECTORY}/${name}" contents)
  string(REPLACE "." "_" constant "${name}")
  string(APPEND text "\nconst std::string_view ${constant} = R\"tsv(${contents})tsv\";\n")
endforeach()
string(APPEND text "\n} // namespace ribtool\n")
file(WRITE "${OUTPUT}" "${text}")
