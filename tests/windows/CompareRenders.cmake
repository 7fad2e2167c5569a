# cmake -DNATIVE=<hostcheck> -DNATIVE_PLUGIN=<plug-in> -DWORK=<dir> [-DWIN_FRAMES=<name>]
#       -P CompareRenders.cmake
# Renders the same frames through the Linux plug-in and compares them byte for
# byte with the Windows plug-in's frames (in WORK/WIN_FRAMES, default
# frames-win).
cmake_minimum_required(VERSION 3.25)
if(NOT WIN_FRAMES)
    set(WIN_FRAMES frames-win)
endif()
set(linux_frames ${WORK}/frames-linux-for-${WIN_FRAMES})
if(EXISTS ${WORK}/${WIN_FRAMES}/RENDER_NOT_WIRED)
    message(STATUS "render handler not wired: the frames were not rendered, nothing to compare")
    return()
endif()
file(REMOVE_RECURSE ${linux_frames})
file(MAKE_DIRECTORY ${linux_frames})
execute_process(COMMAND ${NATIVE} session --plugin ${NATIVE_PLUGIN} --branding none
                        --log ${linux_frames}.log
                        --input ${WORK}/inputs/cups_320x180.pam
                        --input ${WORK}/inputs/pier_320x180_16bit.pam
                        --frames ${linux_frames}
                RESULT_VARIABLE result)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "the Linux session failed")
endif()
file(GLOB frames RELATIVE ${linux_frames} ${linux_frames}/*.pam)
list(LENGTH frames count)
if(count EQUAL 0)
    message(FATAL_ERROR "the Linux build wrote no frames")
endif()
set(differ 0)
foreach(frame IN LISTS frames)
    execute_process(COMMAND ${CMAKE_COMMAND} -E compare_files ${linux_frames}/${frame}
                            ${WORK}/${WIN_FRAMES}/${frame}
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
