# quilmeta, the command line. Its third-party packages stay out of the library.
# SPDX-License-Identifier: Apache-2.0
file(GLOB QUILMETA_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/quilmeta/*/*.cpp)

if(QUILMETA_SOURCES)
    find_package(CLI11 REQUIRED)
    find_package(fmt REQUIRED)
    find_path(RAPIDJSON_INCLUDE_DIR rapidjson/reader.h REQUIRED)
    find_path(UTF8PROC_INCLUDE_DIR utf8proc.h REQUIRED)
    # The archive where there is one, so that quilmeta does not need this library at run time.
    find_library(UTF8PROC_LIBRARY NAMES libutf8proc.a utf8proc REQUIRED)
    find_path(RE2_INCLUDE_DIR re2/re2.h REQUIRED)
    find_library(RE2_LIBRARY NAMES libre2.a re2 REQUIRED)
    find_package(Threads REQUIRED)  # RE2 locks with them

    # Everything but main, so that tests can link it.
    add_library(QuilmetaObjects OBJECT ${QUILMETA_SOURCES})
    target_link_libraries(QuilmetaObjects PUBLIC orbo::MetaData CLI11::CLI11 fmt::fmt
                          ${UTF8PROC_LIBRARY} ${RE2_LIBRARY} Threads::Threads ${CMAKE_DL_LIBS})
    target_include_directories(QuilmetaObjects PUBLIC ${PROJECT_SOURCE_DIR}/tools/quilmeta)
    target_include_directories(QuilmetaObjects SYSTEM PRIVATE ${UTF8PROC_INCLUDE_DIR}
                               ${RAPIDJSON_INCLUDE_DIR})
    target_include_directories(QuilmetaObjects SYSTEM PUBLIC ${RE2_INCLUDE_DIR})
    target_compile_definitions(QuilmetaObjects PUBLIC QUILMETA_VERSION="${PROJECT_VERSION}")
    # It gives files rights as the library does, by functions that the library does not export.
    target_include_directories(QuilmetaObjects PRIVATE ${PROJECT_SOURCE_DIR}/src)
    if(BUILD_SHARED_LIBS)
        target_sources(QuilmetaObjects PRIVATE ${PROJECT_SOURCE_DIR}/src/files/FileAccess.cpp
            ${PROJECT_SOURCE_DIR}/src/files/posix/PosixAccess.cpp)
    endif()
    metadata_warnings(QuilmetaObjects)

    add_executable(quilmeta ${PROJECT_SOURCE_DIR}/tools/quilmeta/main.cpp)
    target_link_libraries(quilmeta PRIVATE QuilmetaObjects)
    # Plug-ins of a quilmeta that has the library inside use this one: all of it is there, and
    # exported as the shared library would.
    if(NOT BUILD_SHARED_LIBS)
        file(READ ${PROJECT_SOURCE_DIR}/cmake/MetaData.map exports)
        string(REGEX MATCH "extern \"C\\+\\+\" {[^}]*};" exports "${exports}")
        file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/quilmeta.exports CONTENT "{ @exports@ };\n" @ONLY)
        target_sources(quilmeta PRIVATE $<TARGET_OBJECTS:MetaDataObjects>)
        target_link_options(quilmeta PRIVATE
            -Wl,--dynamic-list=${PROJECT_BINARY_DIR}/quilmeta.exports)
    endif()
    file(RELATIVE_PATH METADATA_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR}
         ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(quilmeta PROPERTIES INSTALL_RPATH "$ORIGIN/${METADATA_BIN_TO_LIB}")
    metadata_warnings(quilmeta)
endif()
