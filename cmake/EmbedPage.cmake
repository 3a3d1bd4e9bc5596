# cmake -DFOLDER=... -DOUTPUT=... -P EmbedPage.cmake
# Writes the files of a folder as a source: the definition of page_files() in window/PageFiles.h.
file(GLOB names RELATIVE "${FOLDER}" "${FOLDER}/*")
list(SORT names)
set(texts "")
set(entries "")
set(number 0)
foreach(name IN LISTS names)
    file(READ "${FOLDER}/${name}" digits HEX)
    string(REGEX REPLACE "(................................................)" "\\1\n" lines "${digits}")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "\\\\x\\1" lines "${lines}")
    string(REPLACE "\n" "\"\n    \"" lines "${lines}")
    string(APPEND texts "constexpr char kText${number}[] =\n    \"${lines}\";\n")
    string(APPEND entries "    PageFile{\"${name}\", {kText${number}, sizeof kText${number} - 1}},\n")
    math(EXPR number "${number} + 1")
endforeach()
if(number EQUAL 0)
    message(FATAL_ERROR "no files in ${FOLDER}")
endif()
file(WRITE "${OUTPUT}" "#include \"window/PageFiles.h\"

#include <array>

namespace plate_mend::host {

namespace {

${texts}
constexpr std::array kFiles = {
${entries}};

} // namespace

std::span<const PageFile> page_files() {
    return kFiles;
}

} // namespace plate_mend::host
")
