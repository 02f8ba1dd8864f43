# cmake -D SOURCE=remote -D OUTPUT=page.cpp -P EmbedPage.cmake: the files of the page as a table in
# C++. Those that keep their address stand at the root; the others stand below a hash of them all,
# which takes the place of @VERSION@ in the former, so that browsers may keep them for ever.
cmake_policy(VERSION 3.25)
set(kept index.html service-worker.js manifest.webmanifest)
set(type_html "text/html; charset=utf-8")
set(type_js "text/javascript; charset=utf-8")
set(type_css "text/css; charset=utf-8")
set(type_webmanifest "application/manifest+json")
set(type_svg "image/svg+xml")
set(type_png "image/png")

file(GLOB names RELATIVE ${SOURCE} ${SOURCE}/*)
list(SORT names)
set(hashes "")
foreach(name ${names})
    file(SHA256 ${SOURCE}/${name} hash)
    string(APPEND hashes "${name} ${hash}\n")
endforeach()
string(SHA256 version "${hashes}")
string(SUBSTRING ${version} 0 12 version)

# bytes(FILE VARIABLE): what stands between the braces of an array.
function(bytes FILE VARIABLE)
    file(READ ${FILE} hex HEX)
    string(REGEX REPLACE "(..)" "0x\\1," list "${hex}")
    set(${VARIABLE} "${list}" PARENT_SCOPE)
endfunction()

set(arrays "")
set(rows "")
set(number 0)
set(file ${OUTPUT}.file)
foreach(name ${names})
    string(REGEX MATCH "[a-z]+$" ending ${name})
    if(NOT DEFINED type_${ending})
        message(FATAL_ERROR "${name}: no type is known for it")
    endif()
    set(path /${version}/${name})
    set(lasting true)
    configure_file(${SOURCE}/${name} ${file} COPYONLY)
    if(name IN_LIST kept)
        set(path /${name})
        set(lasting false)
        file(READ ${file} text)
        string(REPLACE "@VERSION@" ${version} text "${text}")
        file(WRITE ${file} "${text}")
    endif()
    if(name STREQUAL index.html)
        set(path /)
    endif()
    file(SHA256 ${file} tag)
    string(SUBSTRING ${tag} 0 24 tag)
    bytes(${file} content)
    string(APPEND arrays "const unsigned char content${number}[] = {${content}};\n")
    set(compressed "{}")
    if(NOT ending STREQUAL png)
        execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${file}.gz COMMAND_ERROR_IS_FATAL ANY)
        bytes(${file}.gz content)
        string(APPEND arrays "const unsigned char compressed${number}[] = {${content}};\n")
        set(compressed "textOf(compressed${number})")
    endif()
    string(APPEND rows "    {\"${path}\", \"${type_${ending}}\", \"\\\"${tag}\\\"\", ${lasting},"
                       " textOf(content${number}), ${compressed}},\n")
    math(EXPR number "${number} + 1")
endforeach()
file(REMOVE ${file} ${file}.gz)

file(WRITE ${OUTPUT} "#include \"gate/web/page.h\"

namespace gate {
namespace {

template <size_t Size>
std::string_view textOf(const unsigned char (&bytes)[Size]) {
    return {reinterpret_cast<const char*>(bytes), Size};
}

${arrays}
const PageFile files[] = {
${rows}};

}  // namespace

std::span<const PageFile> pageFiles() {
    return files;
}

}  // namespace gate
")
