# The warnings that our own targets are compiled with.
# SPDX-License-Identifier: Apache-2.0

function(metadata_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                           -Wno-sign-conversion -Wnon-virtual-dtor -Wextra-semi)
    if(METADATA_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    # Bounds checks of the standard containers, which no binary interface notices.
    target_compile_definitions(${target} PRIVATE $<$<NOT:$<CONFIG:Release>>:_GLIBCXX_ASSERTIONS>)
endfunction()
