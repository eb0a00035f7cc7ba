# embed_text(TARGET FILE NAMESPACE NAME): compiles FILE's bytes into TARGET as
# `inline constexpr std::string_view NAMESPACE::NAME`, declared in "NAME.embedded.h" of the build tree.
function(embed_text target file namespace name)
    set(source ${CMAKE_CURRENT_SOURCE_DIR}/${file})
    set(header ${CMAKE_CURRENT_BINARY_DIR}/embedded/${name}.embedded.h)
    file(READ ${source} text)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
    file(CONFIGURE OUTPUT ${header} @ONLY CONTENT
"// The bytes of ${file}.
#pragma once
#include <string_view>
namespace ${namespace} {
inline constexpr std::string_view ${name} = R\"embedded(@text@)embedded\";
}
")
    target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR}/embedded)
endfunction()
