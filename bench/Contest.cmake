# contest sets conversion, quantisation and filters beside other libraries. It is made where all of them are found, and
# only on demand: scripts/contest.sh installs them, builds it and runs it. libimagequant's licence is the GPL; nothing
# else of the project is linked with it.
function(zbm_find_rival name header library)
    find_path(${name}_INCLUDE_DIR ${header} PATH_SUFFIXES ${ARGN})
    find_library(${name}_LIBRARY NAMES ${library})
    mark_as_advanced(${name}_INCLUDE_DIR ${name}_LIBRARY)
    if(${name}_INCLUDE_DIR AND ${name}_LIBRARY)
        target_include_directories(rivals SYSTEM INTERFACE "${${name}_INCLUDE_DIR}")
        target_link_libraries(rivals INTERFACE "${${name}_LIBRARY}")
    else()
        list(APPEND missing_rivals ${name})
        set(missing_rivals ${missing_rivals} PARENT_SCOPE)
    endif()
endfunction()

add_library(rivals INTERFACE)
set(missing_rivals "")
zbm_find_rival(libyuv libyuv.h yuv)
zbm_find_rival(opencv_core opencv2/core.hpp opencv_core opencv4)
zbm_find_rival(opencv_imgproc opencv2/imgproc.hpp opencv_imgproc opencv4)
zbm_find_rival(babl babl/babl.h babl-0.1 babl-0.1)
zbm_find_rival(libimagequant libimagequant.h imagequant)

# Its headers include those of others.
find_package(PkgConfig QUIET)
if(PkgConfig_FOUND)
    pkg_check_modules(vips QUIET IMPORTED_TARGET vips)
endif()
if(vips_FOUND)
    target_link_libraries(rivals INTERFACE PkgConfig::vips)
else()
    list(APPEND missing_rivals libvips)
endif()

if(missing_rivals)
    list(JOIN missing_rivals ", " missing_rivals)
    message(STATUS "No contest with other libraries: ${missing_rivals} not found")
else()
    zbm_add_executable(contest Contest.cpp ConvertContest.cpp QuantizeContest.cpp FilterContest.cpp
        ContestOperations.cpp ContestPainters.cpp ContestPictures.cpp ContestPillow.cpp ContestRecords.cpp
        ContestTurns.cpp
        FilterContestOperations.cpp FilterContestOurs.cpp FilterContestOutcome.cpp FilterContestReferences.cpp
        FilterContestRivals.cpp)
    set_target_properties(contest PROPERTIES EXCLUDE_FROM_ALL ON)
    target_compile_definitions(contest PRIVATE
        "ZBM_PILLOW_CONTEST=\"${CMAKE_CURRENT_SOURCE_DIR}/pillow_contest.py\"")
    target_link_libraries(contest PRIVATE rivals ZBMLib2_internals)
endif()
