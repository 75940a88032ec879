# The Python package quilmeta: its module, which has library and command line inside, and its sources.
# SPDX-License-Identifier: Apache-2.0
find_package(Python 3.10 REQUIRED COMPONENTS Interpreter Development.Module
             OPTIONAL_COMPONENTS Development.SABIModule)
if(NOT nanobind_DIR)
    execute_process(COMMAND ${Python_EXECUTABLE} -m nanobind --cmake_dir
                    OUTPUT_VARIABLE nanobind_DIR OUTPUT_STRIP_TRAILING_WHITESPACE
                    COMMAND_ERROR_IS_FATAL ANY)
endif()
find_package(nanobind CONFIG REQUIRED)

# One module for CPython 3.12 and later; the versions before have one each.
file(GLOB QUILMETA_PYTHON_SOURCES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/python/src/*.cpp)
nanobind_add_module(_native STABLE_ABI NOMINSIZE NB_STATIC NB_SUPPRESS_WARNINGS
                    ${QUILMETA_PYTHON_SOURCES})
# Archives are mostly made for programs and cannot go into a module.
find_library(UTF8PROC_SHARED_LIBRARY utf8proc REQUIRED)
find_library(RE2_SHARED_LIBRARY re2 REQUIRED)
find_library(NETTLE_SHARED_LIBRARY nettle REQUIRED)
target_sources(_native PRIVATE $<TARGET_OBJECTS:QuilmetaSources> $<TARGET_OBJECTS:MetaDataObjects>)
target_link_libraries(_native PRIVATE QuilmetaSources ${UTF8PROC_SHARED_LIBRARY}
                      ${RE2_SHARED_LIBRARY} ${NETTLE_SHARED_LIBRARY})
metadata_warnings(_native)
# Its own objects are laid out as Python's headers want them, and casts between functions are their way.
target_compile_options(_native PRIVATE -Wno-cast-function-type)
# Nothing but the module's entry leaves it: its library must not meet another copy in the process.
target_link_options(_native PRIVATE
                    -Wl,--version-script=${PROJECT_SOURCE_DIR}/python/src/module.map)

# The package as it is installed, for tests and for trying it out: PYTHONPATH=build/dev/python.
set(QUILMETA_PACKAGE ${PROJECT_BINARY_DIR}/python/quilmeta)
set_target_properties(_native PROPERTIES LIBRARY_OUTPUT_DIRECTORY ${QUILMETA_PACKAGE})
file(GLOB QUILMETA_MODULES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/python/quilmeta/*)
file(MAKE_DIRECTORY ${QUILMETA_PACKAGE})
foreach(module IN LISTS QUILMETA_MODULES)
    get_filename_component(name ${module} NAME)
    if(NOT name STREQUAL "__pycache__")
        file(CREATE_LINK ${module} ${QUILMETA_PACKAGE}/${name} SYMBOLIC)
    endif()
endforeach()
nanobind_add_stub(_native_stub INCLUDE_PRIVATE MODULE _native OUTPUT ${QUILMETA_PACKAGE}/_native.pyi
                  PATTERN_FILE ${PROJECT_SOURCE_DIR}/python/stub-patterns.txt
                  PYTHON_PATH ${PROJECT_BINARY_DIR}/python/quilmeta DEPENDS _native)

if(BUILD_TESTING)
    set(package_path ${PROJECT_BINARY_DIR}/python)
    set(settings ${PROJECT_SOURCE_DIR}/pyproject.toml)
    add_test(NAME python-tests COMMAND ${Python_EXECUTABLE} -m pytest -c ${settings}
             --rootdir ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/python/tests)
    add_test(NAME python-types COMMAND ${Python_EXECUTABLE} -m mypy --config-file ${settings}
             --cache-dir ${PROJECT_BINARY_DIR}/mypy -p quilmeta WORKING_DIRECTORY ${package_path})
    add_test(NAME python-stubs COMMAND ${Python_EXECUTABLE} -m mypy.stubtest
             --mypy-config-file ${settings} --allowlist ${PROJECT_SOURCE_DIR}/python/stubtest-allow.txt
             quilmeta WORKING_DIRECTORY ${package_path})
    set_tests_properties(python-tests python-types python-stubs PROPERTIES
        LABELS python TIMEOUT 300 ENVIRONMENT
        "PYTHONPATH=${package_path};QUILMETA_COMMAND=$<TARGET_FILE:quilmeta>;PYTHONDONTWRITEBYTECODE=1;HYPOTHESIS_STORAGE_DIRECTORY=${PROJECT_BINARY_DIR}/hypothesis")
endif()

if(SKBUILD)
    set(CMAKE_INSTALL_LIBDIR lib)  # whatever the system calls it
    install(TARGETS _native LIBRARY DESTINATION .)
    install(FILES ${QUILMETA_PACKAGE}/_native.pyi DESTINATION .)
endif()
