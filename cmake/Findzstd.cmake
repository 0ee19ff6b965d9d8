# Finds zstd as the target zstd::zstd, also where the system has no CMake package of it. ZSTD_DLL is its DLL where the
# library found is the way into one.
find_path(ZSTD_INCLUDE_DIR zstd.h)
find_library(ZSTD_LIBRARY NAMES zstd)
set(ZSTD_DLL "")
if(ZSTD_LIBRARY MATCHES "\\.dll\\.a$")
    cmake_path(GET ZSTD_LIBRARY PARENT_PATH ZSTD_FOLDER)
    file(GLOB ZSTD_DLL "${ZSTD_FOLDER}/../bin/*zstd*.dll")
endif()
include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(zstd REQUIRED_VARS ZSTD_LIBRARY ZSTD_INCLUDE_DIR)
if(zstd_FOUND AND NOT TARGET zstd::zstd)
    add_library(zstd::zstd UNKNOWN IMPORTED)
    set_target_properties(zstd::zstd PROPERTIES
        IMPORTED_LOCATION "${ZSTD_LIBRARY}" INTERFACE_INCLUDE_DIRECTORIES "${ZSTD_INCLUDE_DIR}")
endif()
mark_as_advanced(ZSTD_LIBRARY ZSTD_INCLUDE_DIR)
