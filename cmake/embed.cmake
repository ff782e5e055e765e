# Writes a source file that holds text files as string constants:
#   cmake -DOUTPUT=out.cpp -DDIRECTORY=folder -DFILES=a.tsv;b.tsv -DNAMESPACE=ribtool -DHEADER=path.hpp -P embed.cmake
# A file name a.tsv becomes the constant ribtool::a_tsv, which the header declares.

set(text "// Generated from the text files that it holds. Do not edit.\n\n#include \"${HEADER}\"\n\nnamespace ${NAMESPACE} {\n")
foreach(name IN LISTS FILES)
  file(READ "${DIRECTORY}/${name}" contents)
  string(REPLACE "." "_" constant "${name}")
  string(APPEND text "\nconst std::string_view ${constant} = R\"text(${contents})text\";\n")
endforeach()
string(APPEND text "\n} // namespace ${NAMESPACE}\n")
file(WRITE "${OUTPUT}" "${text}")
