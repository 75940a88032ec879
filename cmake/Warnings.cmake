# The warnings that our own targets are compiled with.
# SPDX-License-Identifier: Apache-2.0

function(metadata_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion
                           -Wno-sign-conversion -Wnon-virtual-dtor -Wextra-semi)
    # Tables of GoogleTest without names of their own trip over this one.
    target_compile_options(${target} PRIVATE
        $<$<CXX_COMPILER_ID:Clang>:-Wno-gnu-zero-variadic-macro-arguments>)
    if(METADATA_WERROR)
        target_compile_options(${target} PRIVATE -Werror)
    endif()
    # Bounds checks of the standard containers, which no binary interface notices.
    target_compile_definitions(${target} PRIVATE $<$<NOT:$<CONFIG:Release>>:_GLIBCXX_ASSERTIONS>)
endfunction()
