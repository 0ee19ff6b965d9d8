# The CMakeLists.txt of a project that has ours within it, static, beside targets with names that anyone might choose.
cmake_minimum_required(VERSION 3.25)
project(Parent LANGUAGES CXX)
foreach(name cpu gdi shared codec pixfilter core convert filter tool)
    add_library(${name} INTERFACE)
endforeach()

set(BUILD_SHARED_LIBS OFF)
add_subdirectory("${ZBMLIB2}" zbmlib2)
if(DEFINED CMAKE_RUNTIME_OUTPUT_DIRECTORY OR DEFINED CMAKE_CXX_VISIBILITY_PRESET)
    message(FATAL_ERROR "the project within has left its settings in this one")
endif()

file(GLOB sources *.cpp)
foreach(source IN LISTS sources)
    cmake_path(GET source STEM program)
    add_executable(${program} ${source})
    target_link_libraries(${program} PRIVATE ZBMLib2::ZBMLib2 cpu gdi)
endforeach()
