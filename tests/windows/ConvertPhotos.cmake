# cmake -DHOSTCHECK=<native hostcheck> -DPHOTOS=<dir> -DOUT=<dir> -P ConvertPhotos.cmake
# An 8-bit and a 16-bit photo as frames for both builds.
cmake_minimum_required(VERSION 3.25)
file(REMOVE_RECURSE ${OUT})
file(MAKE_DIRECTORY ${OUT})
foreach(photo cups_320x180 pier_320x180_16bit)
    execute_process(COMMAND ${HOSTCHECK} convert ${PHOTOS}/${photo}.png ${OUT}/${photo}.pam
                    RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "cannot convert ${photo}.png")
    endif()
endforeach()
