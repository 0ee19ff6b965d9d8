# codec_bench: block compression beside libpng, zstd and lz4. Needs their libraries, all of them in Debian.
find_package(PNG REQUIRED)
find_library(LZ4_LIBRARY NAMES lz4 REQUIRED)
find_path(LZ4_INCLUDE_DIR lz4.h REQUIRED)
zbm_add_executable(codec_bench "${CMAKE_CURRENT_LIST_DIR}/codec/codec_bench.cpp")
target_include_directories(codec_bench PRIVATE "${LZ4_INCLUDE_DIR}")
target_link_libraries(codec_bench PRIVATE ZCodecu zstd::zstd PNG::PNG "${LZ4_LIBRARY}")
