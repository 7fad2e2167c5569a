# cmake -DOBJDUMP=<objdump> -DIMAGE=<dll> -DEXPORTS=<names> -P CheckPeImage.cmake
# Fails unless the image exports exactly EXPORTS and imports only libraries
# that every Windows installation has (no compiler runtime DLLs).
cmake_minimum_required(VERSION 3.25)
execute_process(COMMAND ${OBJDUMP} -p ${IMAGE} OUTPUT_VARIABLE dump RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "objdump failed on ${IMAGE}")
endif()

# Export names: the rows of the name pointer table, "[ordinal] name". Square
# brackets would group list elements, so they are replaced first.
string(REPLACE "[" "<" text "${dump}")
string(REPLACE "]" ">" text "${text}")
set(exports)
string(REGEX MATCH "<Ordinal/Name Pointer> Table[^\n]*\n(([ \t]+<[ 0-9]+>[^\n]*\n)*)" table
       "${text}")
string(REGEX MATCHALL ">[ \t]*[A-Za-z_][A-Za-z0-9_@]*" rows "${CMAKE_MATCH_1}")
foreach(row IN LISTS rows)
    string(REGEX REPLACE "^>[ \t]*" "" name "${row}")
    list(APPEND exports ${name})
endforeach()
if(NOT "${exports}" STREQUAL "${EXPORTS}")
    message(FATAL_ERROR "${IMAGE} exports [${exports}], expected [${EXPORTS}]")
endif()

# Imported libraries.
string(REGEX MATCHALL "DLL Name: [^\n]+" lines "${dump}")
set(allowed kernel32.dll msvcrt.dll shell32.dll user32.dll advapi32.dll ucrtbase.dll)
set(imports)
foreach(line IN LISTS lines)
    string(REGEX REPLACE "DLL Name: " "" name "${line}")
    string(STRIP "${name}" name)
    string(TOLOWER "${name}" lower)
    list(APPEND imports ${name})
    if(NOT lower IN_LIST allowed AND NOT lower MATCHES "^api-ms-win-")
        message(FATAL_ERROR "${IMAGE} imports ${name}, which a host does not provide")
    endif()
endforeach()
message(STATUS "exports: ${exports}; imports: ${imports}")
