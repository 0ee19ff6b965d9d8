# The CMakeLists.txt of the consumer's project.
cmake_minimum_required(VERSION 3.25)
project(Consumer LANGUAGES CXX)
find_package(ZBMLib2 0.1 CONFIG REQUIRED COMPONENTS ZBMLib2)
add_executable(consumer consumer.cpp)
target_link_libraries(consumer PRIVATE ZBMLib2::ZBMLib2)
