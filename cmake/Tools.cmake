# quilmeta, the command line. Its third-party packages stay out of the library.
# SPDX-License-Identifier: Apache-2.0
file(GLOB QUILMETA_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/quilmeta/*/*.cpp)

if(QUILMETA_SOURCES)
    find_package(CLI11 REQUIRED)
    find_package(fmt REQUIRED)
    find_package(Threads REQUIRED)
    find_path(RAPIDJSON_INCLUDE_DIR rapidjson/reader.h REQUIRED)
    find_path(UTF8PROC_INCLUDE_DIR utf8proc.h REQUIRED)
    find_path(RE2_INCLUDE_DIR re2/re2.h REQUIRED)
    find_path(NETTLE_INCLUDE_DIR nettle/sha2.h REQUIRED)
    # The archives where there are any, so that quilmeta starts quickly and needs nothing at run time.
    find_library(UTF8PROC_LIBRARY NAMES libutf8proc.a utf8proc REQUIRED)
    find_library(RE2_LIBRARY NAMES libre2.a re2 REQUIRED)
    find_library(NETTLE_LIBRARY NAMES libnettle.a nettle REQUIRED)

    add_library(QuilmetaSources OBJECT ${QUILMETA_SOURCES})
    target_link_libraries(QuilmetaSources PUBLIC MetaDataObjects CLI11::CLI11 fmt::fmt-header-only
                          Threads::Threads ${CMAKE_DL_LIBS})
    target_include_directories(QuilmetaSources PUBLIC ${PROJECT_SOURCE_DIR}/tools/quilmeta)
    target_include_directories(QuilmetaSources SYSTEM PUBLIC ${UTF8PROC_INCLUDE_DIR}
                               ${RAPIDJSON_INCLUDE_DIR} ${RE2_INCLUDE_DIR} ${NETTLE_INCLUDE_DIR})
    target_compile_definitions(QuilmetaSources PUBLIC QUILMETA_VERSION="${PROJECT_VERSION}")
    metadata_warnings(QuilmetaSources)
    # The Python module has them inside.
    set_target_properties(QuilmetaSources PROPERTIES POSITION_INDEPENDENT_CODE ${METADATA_PYTHON})

    # Everything but main, the library included, for quilmeta and for tests. The tool reaches hidden
    # parts of the library: it gives files rights as the library does.
    add_library(QuilmetaObjects INTERFACE)
    target_sources(QuilmetaObjects INTERFACE $<TARGET_OBJECTS:QuilmetaSources>
                   $<TARGET_OBJECTS:MetaDataObjects>)
    target_link_libraries(QuilmetaObjects INTERFACE QuilmetaSources ${UTF8PROC_LIBRARY}
                          ${RE2_LIBRARY} ${NETTLE_LIBRARY})

    add_executable(quilmeta ${PROJECT_SOURCE_DIR}/tools/quilmeta/main.cpp)
    target_link_libraries(quilmeta PRIVATE QuilmetaObjects)
    metadata_warnings(quilmeta)
    # Plug-ins use the library that is inside: all of it is there, and exported as the shared library
    # would.
    file(READ ${PROJECT_SOURCE_DIR}/cmake/MetaData.map exports)
    string(REGEX MATCH "extern \"C\\+\\+\" {[^}]*};" exports "${exports}")
    file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/quilmeta.exports CONTENT "{ @exports@ };\n" @ONLY)
    target_link_options(quilmeta PRIVATE -Wl,--dynamic-list=${PROJECT_BINARY_DIR}/quilmeta.exports)

    # Manual pages and completions come from the options as the program has them.
    set(QUILMETA_SHARE ${PROJECT_BINARY_DIR}/share)
    if(NOT CMAKE_CROSSCOMPILING)
        foreach(folder IN ITEMS man/man1 bash-completion/completions zsh/site-functions
                                fish/vendor_completions.d)
            file(MAKE_DIRECTORY ${QUILMETA_SHARE}/${folder})
        endforeach()
        add_custom_command(TARGET quilmeta POST_BUILD
            COMMAND quilmeta man --into ${QUILMETA_SHARE}/man/man1
            COMMAND quilmeta completion bash >${QUILMETA_SHARE}/bash-completion/completions/quilmeta
            COMMAND quilmeta completion zsh >${QUILMETA_SHARE}/zsh/site-functions/_quilmeta
            COMMAND quilmeta completion fish >${QUILMETA_SHARE}/fish/vendor_completions.d/quilmeta.fish)
    endif()
endif()
