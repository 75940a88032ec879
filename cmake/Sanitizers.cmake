# Sanitizers hold for every target of a build, or their run-time libraries disagree.
# SPDX-License-Identifier: Apache-2.0
if(METADATA_SANITIZE)
    add_compile_options(-fsanitize=${METADATA_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${METADATA_SANITIZE})
    if(CMAKE_CXX_COMPILER_ID MATCHES Clang)
        add_compile_options(-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/cmake/sanitizers.ignore)
    endif()
endif()
