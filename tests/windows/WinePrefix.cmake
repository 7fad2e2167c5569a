# cmake -DWINE=... -DWINESERVER=... -DPREFIX=<dir> -P WinePrefix.cmake
# Creates a fresh Wine prefix: no desktop integration, no downloads, no
# dialogs (the .NET and browser engine installers are switched off).
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${PREFIX})
set(ENV{WINEPREFIX} ${PREFIX})
set(ENV{WINEDEBUG} -all)
set(ENV{WINEDLLOVERRIDES} "mscoree,mshtml=;winemenubuilder.exe=d")
set(ENV{DISPLAY} "")
execute_process(COMMAND ${WINE} wineboot --init RESULT_VARIABLE result INPUT_FILE /dev/null
                OUTPUT_VARIABLE out ERROR_VARIABLE out TIMEOUT 200)
execute_process(COMMAND ${WINESERVER} -w TIMEOUT 200)
if(NOT result EQUAL 0 OR NOT EXISTS "${PREFIX}/drive_c/windows/system32")
    message(FATAL_ERROR "wineboot failed (${result}): ${out}")
endif()
message(STATUS "Wine prefix ready in ${PREFIX}")
