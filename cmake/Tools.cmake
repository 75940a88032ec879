# quilmeta, the command line. Its third-party packages stay out of the library.
# SPDX-License-Identifier: Apache-2.0
file(GLOB QUILMETA_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/tools/quilmeta/*/*.cpp)

if(QUILMETA_SOURCES)
    find_package(CLI11 REQUIRED)
    find_package(fmt REQUIRED)

    # Everything but main, so that tests can link it.
    add_library(QuilmetaObjects OBJECT ${QUILMETA_SOURCES})
    target_link_libraries(QuilmetaObjects PUBLIC orbo::MetaData CLI11::CLI11 fmt::fmt ${CMAKE_DL_LIBS})
    target_include_directories(QuilmetaObjects PUBLIC ${PROJECT_SOURCE_DIR}/tools/quilmeta)
    target_compile_definitions(QuilmetaObjects PUBLIC QUILMETA_VERSION="${PROJECT_VERSION}")
    metadata_warnings(QuilmetaObjects)

    add_executable(quilmeta ${PROJECT_SOURCE_DIR}/tools/quilmeta/main.cpp)
    target_link_libraries(quilmeta PRIVATE QuilmetaObjects)
    file(RELATIVE_PATH METADATA_BIN_TO_LIB ${CMAKE_INSTALL_FULL_BINDIR}
         ${CMAKE_INSTALL_FULL_LIBDIR})
    set_target_properties(quilmeta PROPERTIES INSTALL_RPATH "$ORIGIN/${METADATA_BIN_TO_LIB}")
    metadata_warnings(quilmeta)
endif()
