# cmake -DPLUGIN=<library> -DNM=<nm> -P CheckExports.cmake
# Fails unless the library's defined dynamic symbols are exactly EntryPointFunc.
execute_process(
    COMMAND ${NM} -D --defined-only ${PLUGIN}
    OUTPUT_VARIABLE symbols
    RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "nm failed on ${PLUGIN}")
endif()
string(REGEX REPLACE "\n$" "" symbols "${symbols}")
string(REPLACE "\n" ";" lines "${symbols}")
set(names)
foreach(line IN LISTS lines)
    string(REGEX REPLACE "^[0-9a-fA-F]* *[A-Za-z] " "" name "${line}")
    list(APPEND names "${name}")
endforeach()
if(NOT names STREQUAL "EntryPointFunc")
    message(FATAL_ERROR "exported symbols are: ${names}")
endif()
message(STATUS "only EntryPointFunc is exported")
