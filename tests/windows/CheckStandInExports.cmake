# cmake -DOBJDUMP=... -DCOMPLETE=... -DPARTIAL=... -DNOEXPORTS=... -P CheckStandInExports.cmake
# The three forms of the branding stand-in export what their tests rely on.
cmake_minimum_required(VERSION 3.25)
set(all HB_AddActionButton HB_CreateAEBrandingRef HB_DestroyAEBrandingRef HB_GetIdealDimensions
        HB_GetVersionInfo HB_HandleEvent HB_SetActionButtonTitle HB_ShowAboutBox)
set(partial ${all})
list(REMOVE_ITEM partial HB_HandleEvent HB_ShowAboutBox)
foreach(form COMPLETE PARTIAL NOEXPORTS)
    if(form STREQUAL "COMPLETE")
        set(expected "${all}")
    elseif(form STREQUAL "PARTIAL")
        set(expected "${partial}")
    else()
        set(expected "")
    endif()
    execute_process(COMMAND ${CMAKE_COMMAND} -DOBJDUMP=${OBJDUMP} -DIMAGE=${${form}}
                            "-DEXPORTS=${expected}" -P ${CMAKE_CURRENT_LIST_DIR}/CheckPeImage.cmake
                    RESULT_VARIABLE result)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "the ${form} stand-in exports the wrong entry points")
    endif()
endforeach()
