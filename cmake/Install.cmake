# Library, headers below include/orbo, the CMake package, the pkg-config file and quilmeta with its pages.
# SPDX-License-Identifier: Apache-2.0
include(CMakePackageConfigHelpers)
set(METADATA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/MetaData)

# A wheel has no links, so the library has its one name there.
if(SKBUILD)
    set_target_properties(MetaData PROPERTIES VERSION 0)
    install(TARGETS MetaData EXPORT MetaDataTargets LIBRARY NAMELINK_SKIP)
else()
    install(TARGETS MetaData EXPORT MetaDataTargets)
endif()
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orbo
        FILES_MATCHING PATTERN "*.h")
install(EXPORT MetaDataTargets NAMESPACE orbo:: DESTINATION ${METADATA_CMAKE_DIR})
if(TARGET quilmeta)
    set(QUILMETA_BIN_DIR ${CMAKE_INSTALL_BINDIR})
    set(QUILMETA_SHARE_DIR ${CMAKE_INSTALL_DATADIR})
    set(QUILMETA_MAN_DIR ${CMAKE_INSTALL_MANDIR})
    # Below the folder of the Python environment, not that of the package.
    if(SKBUILD)
        set(QUILMETA_BIN_DIR ${SKBUILD_SCRIPTS_DIR})
        set(QUILMETA_SHARE_DIR ${SKBUILD_DATA_DIR}/share)
        set(QUILMETA_MAN_DIR ${QUILMETA_SHARE_DIR}/man)
    endif()
    install(TARGETS quilmeta RUNTIME DESTINATION ${QUILMETA_BIN_DIR})
    if(NOT CMAKE_CROSSCOMPILING)
        install(DIRECTORY ${QUILMETA_SHARE}/man/ DESTINATION ${QUILMETA_MAN_DIR})
        foreach(shell IN ITEMS bash-completion zsh fish)
            install(DIRECTORY ${QUILMETA_SHARE}/${shell} DESTINATION ${QUILMETA_SHARE_DIR})
        endforeach()
    endif()
endif()

configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/MetaDataConfig.cmake.in
    ${PROJECT_BINARY_DIR}/MetaDataConfig.cmake INSTALL_DESTINATION ${METADATA_CMAKE_DIR})
write_basic_package_version_file(${PROJECT_BINARY_DIR}/MetaDataConfigVersion.cmake
    COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/MetaDataConfig.cmake
    ${PROJECT_BINARY_DIR}/MetaDataConfigVersion.cmake DESTINATION ${METADATA_CMAKE_DIR})

# Found from where the file itself lies, so that the installed tree can be moved.
file(RELATIVE_PATH METADATA_PC_TO_PREFIX /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
configure_file(${CMAKE_CURRENT_LIST_DIR}/MetaData.pc.in ${PROJECT_BINARY_DIR}/MetaData.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/MetaData.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
