# The rivals of the contest: each takes part where its library is found; scripts/contest.sh installs them all.
# libimagequant's licence is the GPL; nothing else of the project is linked with it, and the contest is not installed.

# zbm_add_rival(<source> FOUND <variables...> [LIBRARIES <targets or files...>] [INCLUDES <folders...>])
function(zbm_add_rival source)
    cmake_parse_arguments(arg "" "" "FOUND;LIBRARIES;INCLUDES" ${ARGN})
    foreach(found ${arg_FOUND})
        if(NOT ${found})
            message(STATUS "No contest with other libraries: ${source} (${found})")
            return()
        endif()
    endforeach()
    target_sources(contest PRIVATE contest/rivals/${source})
    target_include_directories(contest SYSTEM PRIVATE ${arg_INCLUDES})
    target_link_libraries(contest PRIVATE ${arg_LIBRARIES})
endfunction()

# zbm_find_rival(<source> <header> <library> [<folders of the header...>])
function(zbm_find_rival source header library)
    find_path(${library}_INCLUDE_DIR ${header} PATH_SUFFIXES ${ARGN})
    find_library(${library}_LIBRARY NAMES ${library})
    mark_as_advanced(${library}_INCLUDE_DIR ${library}_LIBRARY)
    zbm_add_rival(${source} FOUND ${library}_INCLUDE_DIR ${library}_LIBRARY
        INCLUDES "${${library}_INCLUDE_DIR}" LIBRARIES "${${library}_LIBRARY}")
endfunction()

find_package(PNG QUIET)
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
    pkg_check_modules(vips QUIET IMPORTED_TARGET vips)  # its headers include those of others
endif()
find_library(opencv_core_LIBRARY NAMES opencv_core)
mark_as_advanced(opencv_core_LIBRARY)

zbm_find_rival(Libyuv.cpp libyuv.h yuv)
zbm_find_rival(OpenCv.cpp opencv2/imgproc.hpp opencv_imgproc opencv4)
if(opencv_core_LIBRARY)
    target_link_libraries(contest PRIVATE "${opencv_core_LIBRARY}")
endif()
zbm_add_rival(Vips.cpp FOUND vips_FOUND LIBRARIES PkgConfig::vips)
zbm_find_rival(Babl.cpp babl/babl.h babl-0.1 babl-0.1)
zbm_find_rival(ImageQuant.cpp libimagequant.h imagequant)
zbm_add_rival(Zstd.cpp LIBRARIES zstd::zstd)
zbm_find_rival(Lz4.cpp lz4.h lz4)
zbm_add_rival(Png.cpp FOUND PNG_FOUND LIBRARIES PNG::PNG)
zbm_add_rival(Pillow.cpp)
set_property(SOURCE contest/rivals/Pillow.cpp APPEND PROPERTY COMPILE_DEFINITIONS
    ZBM_PILLOW_CONTEST="${CMAKE_CURRENT_SOURCE_DIR}/contest/rivals/pillow_contest.py")
