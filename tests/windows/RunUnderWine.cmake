# cmake -DWINE=... -DPREFIX=... -DPROGRAM=<exe> -DARGS=<a|b|...> [-DCLEAN=<dir>]
#       [-DCPU=<level>] -P RunUnderWine.cmake
# Runs a Windows program in the test prefix. Arguments that are absolute
# paths of the build machine are handed over as Wine's Z: drive paths.
cmake_minimum_required(VERSION 3.25)
set(ENV{WINEPREFIX} ${PREFIX})
set(ENV{WINEDEBUG} -all)
set(ENV{WINEDLLOVERRIDES} "mscoree,mshtml=;winemenubuilder.exe=d")
set(ENV{DISPLAY} "")
# The engine's instruction-set cap (QUILLON_CPU), when the test asks for one.
if(CPU)
    set(ENV{QUILLON_CPU} ${CPU})
else()
    unset(ENV{QUILLON_CPU})
endif()
if(CLEAN)
    file(REMOVE_RECURSE ${CLEAN})
    file(MAKE_DIRECTORY ${CLEAN})
endif()
string(REPLACE "|" ";" args "${ARGS}")
set(converted)
foreach(arg IN LISTS args)
    if(arg MATCHES "^/")
        string(REPLACE "/" "\\" arg "${arg}")
        set(arg "Z:${arg}")
    endif()
    list(APPEND converted "${arg}")
endforeach()
execute_process(COMMAND ${WINE} ${PROGRAM} ${converted} RESULT_VARIABLE result
                INPUT_FILE /dev/null TIMEOUT 200)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "${PROGRAM} failed under Wine (${result})")
endif()
