# Library, headers below include/orbo, the CMake package, the pkg-config file and quilmeta with its pages.
# SPDX-License-Identifier: Apache-2.0
include(CMakePackageConfigHelpers)
set(METADATA_CMAKE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/MetaData)

install(TARGETS MetaData EXPORT MetaDataTargets)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/orbo
        FILES_MATCHING PATTERN "*.h")
install(EXPORT MetaDataTargets NAMESPACE orbo:: DESTINATION ${METADATA_CMAKE_DIR})
if(TARGET quilmeta)
    install(TARGETS quilmeta)
    if(NOT CMAKE_CROSSCOMPILING)
        install(DIRECTORY ${QUILMETA_SHARE}/man/ DESTINATION ${CMAKE_INSTALL_MANDIR})
        foreach(shell IN ITEMS bash-completion zsh fish)
            install(DIRECTORY ${QUILMETA_SHARE}/${shell} DESTINATION ${CMAKE_INSTALL_DATADIR})
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
