# cmake -DNATIVE=<hostcheck> -DNATIVE_PLUGIN=<plug-in> -DWORK=<dir> -P CompareRenders.cmake
# Renders the same frames through the Linux plug-in and compares them byte for
# byte with the Windows plug-in's frames.
cmake_minimum_required(VERSION 3.25)
if(EXISTS ${WORK}/frames-win/RENDER_NOT_WIRED)
    message(STATUS "render handler not wired: the frames were not rendered, nothing to compare")
    return()
endif()
file(REMOVE_RECURSE ${WORK}/frames-linux)
file(MAKE_DIRECTORY ${WORK}/frames-linux)
execute_process(COMMAND ${NATIVE} session --plugin ${NATIVE_PLUGIN} --branding none
                        --log ${WORK}/render-linux.log
                        --input ${WORK}/inputs/cups_320x180.pam
                        --input ${WORK}/inputs/pier_320x180_16bit.pam
                        --frames ${WORK}/frames-linux
                RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "the Linux session failed")
endif()
file(GLOB frames RELATIVE ${WORK}/frames-linux ${WORK}/frames-linux/*.pam)
list(LENGTH frames count)
if(count EQUAL 0)
    message(FATAL_ERROR "the Linux build wrote no frames")
endif()
set(differ 0)
foreach(frame IN LISTS frames)
    execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${WORK}/frames-linux/${frame}
                            ${WORK}/frames-win/${frame}
                    RESULT_VARIABLE same)
    if(NOT same EQUAL 0)
        message(STATUS "differs: ${frame}")
        math(EXPR differ "${differ} + 1")
    endif()
endforeach()
if(differ GREATER 0)
    message(FATAL_ERROR "${differ} of ${count} frames differ between Windows and Linux")
endif()
message(STATUS "${count} frames identical on Windows and Linux")
