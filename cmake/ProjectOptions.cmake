# Compiler settings shared by every target of the project.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

# A host loads the plug-in into its own process, which need not carry our C
# and C++ runtimes: link them statically (MinGW does the same in its
# toolchain file).
set(CMAKE_MSVC_RUNTIME_LIBRARY "MultiThreaded$<$<CONFIG:Debug>:Debug>")

option(QUILLON_WERROR "Treat compiler warnings as errors" ON)
option(QUILLON_SANITIZE "Build with AddressSanitizer and UndefinedBehaviorSanitizer" OFF)
option(QUILLON_TSAN "Build with ThreadSanitizer" OFF)

# Warnings for the project's own targets (not for third-party code).
function(quillon_set_warnings target)
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 /permissive-)
        if(QUILLON_WERROR)
            target_compile_options(${target} PRIVATE /WX)
        endif()
    else()
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow
                                                 -Wnon-virtual-dtor -Wcast-align
                                                 -Wimplicit-fallthrough)
        if(QUILLON_WERROR)
            target_compile_options(${target} PRIVATE -Werror)
        endif()
    endif()
endfunction()

# Table and blend arithmetic must round the same way on every instruction set:
# no contraction of a*b+c into a fused multiply-add.
function(quillon_strict_float target)
    if(MSVC)
        target_compile_options(${target} PRIVATE /fp:precise)
    else()
        target_compile_options(${target} PRIVATE -ffp-contract=off)
    endif()
endfunction()

option(QUILLON_FUZZ "Build the libFuzzer harnesses (clang), everything instrumented for them" OFF)

if(QUILLON_FUZZ)
    if(NOT CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
        message(FATAL_ERROR "QUILLON_FUZZ needs clang (the fuzz preset chooses clang-14)")
    endif()
    add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

if(QUILLON_SANITIZE AND NOT MSVC)
    add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=address,undefined)
endif()

if(QUILLON_TSAN AND NOT MSVC)
    add_compile_options(-fsanitize=thread -fno-omit-frame-pointer)
    add_link_options(-fsanitize=thread)
endif()

# quillon_isa_sources(target LEVEL file...): adds sources that use one
# instruction-set level's intrinsics, compiled with that level's flags only.
# Nothing else in the target is built with them, so the library still runs on
# a processor without the level; the dispatcher calls these files' kernels
# only after it has found the level present. LEVEL: SSE2, AVX2 or AVX512.
function(quillon_isa_sources target level)
    target_sources(${target} PRIVATE ${ARGN})
    if(MSVC)
        set(flags_SSE2 "")
        set(flags_AVX2 "/arch:AVX2")
        set(flags_AVX512 "/arch:AVX512")
    else()
        set(flags_SSE2 "-msse2")
        set(flags_AVX2 "-mavx2;-mfma;-mbmi;-mbmi2")
        set(flags_AVX512 "-mavx512f;-mavx512bw;-mavx512vl;-mavx512dq;-mavx512cd;-mavx2;-mfma;-mbmi;-mbmi2")
    endif()
    if(NOT DEFINED flags_${level})
        message(FATAL_ERROR "quillon_isa_sources: unknown level ${level}")
    endif()
    if(flags_${level})
        set_source_files_properties(${ARGN} TARGET_DIRECTORY ${target}
            PROPERTIES COMPILE_OPTIONS "${flags_${level}}")
    endif()
endfunction()
