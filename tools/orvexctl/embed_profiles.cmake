# Writes OUT: a C++ source holding every file under DIR (the shipped device profiles) as bytes,
# so that orvexctl works right after the build with no files beside it.
file(GLOB_RECURSE files LIST_DIRECTORIES false RELATIVE "${DIR}" "${DIR}/*")
list(SORT files)
set(body "")
set(index "")
set(n 0)
foreach(f ${files})
  # Only files inside a profile folder; the folder's own build files are not profile data.
  if(NOT f MATCHES "/")
    continue()
  endif()
  file(READ "${DIR}/${f}" hex HEX)
  string(LENGTH "${hex}" hexlen)
  math(EXPR size "${hexlen} / 2")
  string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${hex}")
  string(APPEND body "static const unsigned char kFile${n}[] = {${bytes}0x00};\n")
  string(APPEND index "    {\"${f}\", kFile${n}, ${size}},\n")
  math(EXPR n "${n} + 1")
endforeach()
file(WRITE "${OUT}.tmp"
"// Generated from sim/profiles by embed_profiles.cmake; do not edit.
#include \"Profiles.h\"

namespace orvexctl {
${body}
const EmbeddedFile kEmbeddedFiles[] = {
${index}    {nullptr, nullptr, 0},
};
}  // namespace orvexctl
")
# Only touch the output when it changed, so unchanged profiles do not rebuild the tool.
execute_process(COMMAND ${CMAKE_COMMAND} -E copy_if_different "${OUT}.tmp" "${OUT}")
file(REMOVE "${OUT}.tmp")
