# Compiler settings shared by every Tarnwell target, carried by one INTERFACE target.
add_library(tw_common INTERFACE)
target_compile_features(tw_common INTERFACE cxx_std_20)
target_compile_definitions(tw_common INTERFACE
    QT_NO_KEYWORDS                # GLib headers use "signals" as an identifier
    QT_NO_CAST_FROM_ASCII
    QT_NO_CONTEXTLESS_CONNECT
    QT_USE_QSTRINGBUILDER
    QT_NO_URL_CAST_FROM_STRING
    QT_NO_NARROWING_CONVERSIONS_IN_CONNECT
    TARNWELL_VERSION="${PROJECT_VERSION}"
)
target_compile_options(tw_common INTERFACE -Wall -Wextra -Wpedantic -Wno-missing-field-initializers)
if(TARNWELL_WERROR)
    target_compile_options(tw_common INTERFACE -Werror)
endif()
if(TARNWELL_SANITIZE)
    target_compile_options(tw_common INTERFACE -fsanitize=address,undefined -fno-omit-frame-pointer)
    target_link_options(tw_common INTERFACE -fsanitize=address,undefined)
endif()
# Generated sources (D-Bus adaptors and proxies) mirror the source layout: "control/Control1Proxy.h".
target_include_directories(tw_common INTERFACE ${PROJECT_SOURCE_DIR}/src ${PROJECT_BINARY_DIR}/src)

# Adds a static library made of every source in the calling directory (minus EXCLUDE).
function(tw_glob_library name)
    cmake_parse_arguments(ARG "" "" "EXCLUDE;LIBS" ${ARGN})
    file(GLOB sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp ${CMAKE_CURRENT_SOURCE_DIR}/*.h)
    foreach(ex IN LISTS ARG_EXCLUDE)
        list(REMOVE_ITEM sources ${CMAKE_CURRENT_SOURCE_DIR}/${ex})
    endforeach()
    list(FILTER sources INCLUDE REGEX "\\.cpp$|\\.h$")
    set(cpp ${sources})
    list(FILTER cpp INCLUDE REGEX "\\.cpp$")
    if(cpp)
        add_library(${name} STATIC ${sources})
        target_link_libraries(${name} PUBLIC tw_common ${ARG_LIBS})
    else()
        # Nothing written here yet: an interface target keeps dependants linking.
        add_library(${name} INTERFACE)
        target_link_libraries(${name} INTERFACE tw_common ${ARG_LIBS})
    endif()
endfunction()
