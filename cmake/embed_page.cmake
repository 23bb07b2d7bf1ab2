# Makes the files of a folder a part of a program.
#
# usage: cmake -DFOLDER=... -DOUTPUT=FILE.cpp -P embed_page.cmake
#
# FOLDER/assets.txt names them, one a line: the path, a blank, the content type. Lines that begin with # are comments.
file(STRINGS ${FOLDER}/assets.txt lines)
set(arrays "")
set(rows "")
set(number 0)
foreach(line IN LISTS lines)
    if(line STREQUAL "" OR line MATCHES "^#")
        continue()
    endif()
    if(NOT line MATCHES "^([^ ]+) (.+)$")
        message(FATAL_ERROR "assets.txt: no content type in: ${line}")
    endif()
    set(path ${CMAKE_MATCH_1})
    set(type ${CMAKE_MATCH_2})
    file(READ ${FOLDER}/${path} bytes HEX)
    string(REGEX REPLACE "(................................)" "\\1\n" bytes "${bytes}")
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1, " bytes "${bytes}")
    string(APPEND arrays "constexpr unsigned char asset_${number}[] = {\n${bytes}0};\n")
    string(APPEND rows "    {\"/${path}\", \"${type}\", {reinterpret_cast<const char*>(asset_${number}), "
                       "sizeof asset_${number} - 1}},\n"
    )
    math(EXPR number "${number} + 1")
endforeach()
file(
    WRITE ${OUTPUT}
    "#include \"exporter/routes.hpp\"

namespace tarvik::monitoring_modules::probe {

namespace {

${arrays}
const page_asset assets[] = {
${rows}};

} // namespace

const page_asset* find_page_asset(std::string_view path) noexcept {
    const std::string_view wanted = path == \"/\" ? \"/index.html\" : path;
    for (const page_asset& asset : assets) {
        if (asset.path == wanted) {
            return &asset;
        }
    }
    return nullptr;
}

} // namespace tarvik::monitoring_modules::probe
"
)
