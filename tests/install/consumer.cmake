# The CMakeLists.txt of a project that installed the library: one program of each source beside it.
cmake_minimum_required(VERSION 3.25)
project(Consumers LANGUAGES CXX)
find_package(ZBMLib2 0.1 CONFIG REQUIRED COMPONENTS ZBMLib2)
file(GLOB sources *.cpp)
foreach(source IN LISTS sources)
    cmake_path(GET source STEM program)
    add_executable(${program} ${source})
    target_link_libraries(${program} PRIVATE ZBMLib2::ZBMLib2)
endforeach()
if(TARGET without_rtti)  # left out under sanitizers
    target_compile_options(without_rtti PRIVATE -fno-rtti)
endif()
