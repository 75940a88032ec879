# The sources are compiled once; the library and the tests of its hidden parts use the objects.
# SPDX-License-Identifier: Apache-2.0
include(CheckCXXCompilerFlag)
check_cxx_compiler_flag(-fno-gnu-unique METADATA_HAS_NO_GNU_UNIQUE)
check_cxx_compiler_flag(-fno-semantic-interposition METADATA_HAS_NO_INTERPOSITION)

# Symbols that are unique in the whole process would keep a library loaded after dlclose.
function(metadata_unloadable target)
    if(METADATA_HAS_NO_GNU_UNIQUE)
        target_compile_options(${target} PRIVATE -fno-gnu-unique)
    endif()
endfunction()

file(GLOB_RECURSE METADATA_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/src/*.cpp)

add_library(MetaDataObjects OBJECT ${METADATA_SOURCES})
set_target_properties(MetaDataObjects PROPERTIES POSITION_INDEPENDENT_CODE ON)
target_include_directories(MetaDataObjects PUBLIC ${PROJECT_SOURCE_DIR}/include
                           ${PROJECT_SOURCE_DIR}/src)
metadata_warnings(MetaDataObjects)
# Headers that make numbers faster, compiled in where they are there. Without them the standard
# library does it, and gives the same bytes.
option(METADATA_FAST_NUMBERS "Use the headers of fast_float and fmt where they are found" ON)
if(METADATA_FAST_NUMBERS)
    find_package(FastFloat QUIET)
    find_package(fmt QUIET)
endif()
if(METADATA_FAST_NUMBERS AND FastFloat_FOUND)
    target_link_libraries(MetaDataObjects PRIVATE FastFloat::fast_float)
    set_source_files_properties(${PROJECT_SOURCE_DIR}/src/core/DecimalToBinary.cpp
                                PROPERTIES COMPILE_DEFINITIONS METADATA_FAST_FLOAT)
endif()
if(METADATA_FAST_NUMBERS AND fmt_FOUND)
    target_include_directories(MetaDataObjects PRIVATE
        $<TARGET_PROPERTY:fmt::fmt-header-only,INTERFACE_INCLUDE_DIRECTORIES>)
    set_source_files_properties(${PROJECT_SOURCE_DIR}/src/core/ShortestDigits.cpp
                                PROPERTIES COMPILE_DEFINITIONS METADATA_FMT)
endif()
metadata_unloadable(MetaDataObjects)
# The library calls its own functions, not those of the same name that a program may have.
if(METADATA_HAS_NO_INTERPOSITION)
    target_compile_options(MetaDataObjects PRIVATE -fno-semantic-interposition)
endif()

add_library(MetaData $<TARGET_OBJECTS:MetaDataObjects>)
add_library(orbo::MetaData ALIAS MetaData)
set_target_properties(MetaData PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION 0
                      LINKER_LANGUAGE CXX)
target_compile_features(MetaData PUBLIC cxx_std_17)
target_include_directories(MetaData PUBLIC
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/orbo>)

if(BUILD_SHARED_LIBS)
    # While the library loads, its own names are not searched for elsewhere, but for those in the
    # list. Not with -Bsymbolic as well: some linkers then let it find these in itself first, too.
    set(METADATA_EXPORTS ${PROJECT_SOURCE_DIR}/cmake/MetaData.map)
    set(METADATA_SHARED_DATA ${PROJECT_SOURCE_DIR}/cmake/MetaData.data)
    target_link_options(MetaData PRIVATE -Wl,--version-script=${METADATA_EXPORTS}
                                         -Wl,--dynamic-list=${METADATA_SHARED_DATA})
    set_target_properties(MetaData PROPERTIES
                          LINK_DEPENDS "${METADATA_EXPORTS};${METADATA_SHARED_DATA}")
    # The sanitizers' own symbols come from the executable.
    if(NOT METADATA_SANITIZE)
        target_link_options(MetaData PRIVATE -Wl,--no-undefined)
    endif()
endif()
