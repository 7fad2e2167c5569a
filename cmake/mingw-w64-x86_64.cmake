# Cross build of the Windows x86-64 plug-in on Linux with Debian's MinGW-w64
# (the posix thread model; the threads library is linked statically like the
# rest of the runtime). Use it through the "windows" preset:
#   cmake --preset windows && cmake --build --preset windows
#
# Build-time programs (the property-list generator) are made for the build
# machine in a nested native build, so nothing here needs an emulator to
# build. The Wine-based tests find wine themselves.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(QUILLON_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${QUILLON_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${QUILLON_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${QUILLON_MINGW_PREFIX}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${QUILLON_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# A host loads the plug-in into its own process: carry the C++ runtime, the
# compiler support library and the threads library inside each binary, so it
# imports nothing but system libraries.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
