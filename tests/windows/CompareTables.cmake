# cmake -DWINE=... -DPREFIX=... -DPROGRAM=<exe> -DNATIVE=<hostcheck> -DWORK=<dir>
#       -P CompareTables.cmake
# The engine's tables must come out bit for bit the same on Windows and Linux.
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND ${CMAKE_COMMAND} -DWINE=${WINE} -DPREFIX=${PREFIX} -DPROGRAM=${PROGRAM}
                        "-DARGS=tables|${WORK}/tables-windows.txt"
                        -P ${CMAKE_CURRENT_LIST_DIR}/RunUnderWine.cmake
                RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "the Windows build could not compute its tables")
endif()
execute_process(COMMAND ${NATIVE} tables ${WORK}/tables-linux.txt RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "the Linux build could not compute its tables")
endif()
file(STRINGS ${WORK}/tables-windows.txt windows)
file(STRINGS ${WORK}/tables-linux.txt linux)
list(LENGTH linux count)
if(NOT windows STREQUAL linux)
    set(differ 0)
    foreach(line IN LISTS windows)
        if(NOT line IN_LIST linux)
            message(STATUS "differs on Windows: ${line}")
            math(EXPR differ "${differ} + 1")
        endif()
    endforeach()
    message(FATAL_ERROR "${differ} of ${count} tables differ between Windows and Linux")
endif()
message(STATUS "${count} tables identical on Windows and Linux")
