# How every target of the project is built: one place for warnings, visibility, sanitizers and kernels.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release)
endif()

# Programs and libraries side by side, so that a .exe finds its .dlls and a test its siblings.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

# An installed library or tool finds its siblings wherever the prefix is moved.
set(CMAKE_INSTALL_RPATH "$ORIGIN" "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

# A cross-built program finds the compiler's own libraries beside itself.
if(MINGW AND CMAKE_CROSSCOMPILING)
    foreach(library libstdc++-6 libgcc_s_seh-1 libwinpthread-1)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}.dll
            OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
        file(COPY "${file}" DESTINATION "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
    endforeach()
endif()

if(ZBM_SANITIZE)
    add_compile_options(-fsanitize=${ZBM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g)
    add_link_options(-fsanitize=${ZBM_SANITIZE})
endif()

# Warnings for what is ours (never for what we only include).
function(zbm_set_warnings target)
    if(MSVC)
        target_compile_options(${target} PRIVATE /W4 /utf-8)
    else()
        target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion)
    endif()
    if(ZBM_WARNINGS_AS_ERRORS)
        set_target_properties(${target} PROPERTIES COMPILE_WARNING_AS_ERROR ON)
    endif()
endfunction()

# zbm_add_library(<name> EXPORT_MACRO <stem> INCLUDE <public include folder> SOURCES <files...>)
# One of the four shared libraries; <stem>_EXPORTS is defined while the library itself is compiled.
function(zbm_add_library name)
    cmake_parse_arguments(arg "" "EXPORT_MACRO;INCLUDE" "SOURCES" ${ARGN})
    add_library(${name} SHARED ${arg_SOURCES})
    add_library(ZBMLib2::${name} ALIAS ${name})
    target_compile_definitions(${name} PRIVATE ${arg_EXPORT_MACRO}_EXPORTS)
    target_compile_features(${name} PUBLIC cxx_std_20)
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${arg_INCLUDE}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    set_target_properties(${name} PROPERTIES VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
    zbm_set_warnings(${name})
    set_property(GLOBAL APPEND PROPERTY ZBM_INSTALLED_LIBRARIES ${name})
    install(DIRECTORY ${arg_INCLUDE}/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
endfunction()

# zbm_add_executable(<name> <sources...>): a program of ours, with our warnings.
function(zbm_add_executable name)
    add_executable(${name} ${ARGN})
    zbm_set_warnings(${name})
endfunction()

# zbm_add_kernels(<target> <stem>): compiles <stem>_base.cpp, <stem>_avx2.cpp and <stem>_avx512.cpp, as far as they
# exist, each with the flags of its level. Kernels are always optimised for vectorising, and never contract floating
# point, so that every level gives the same bits.
function(zbm_add_kernels target stem)
    set(flags_base "")
    set(flags_avx2 -mavx2 -mbmi -mbmi2 -mfma)
    set(flags_avx512 ${flags_avx2} -mavx512f -mavx512bw -mavx512vl -mavx512dq -mprefer-vector-width=512)
    foreach(level base avx2 avx512)
        set(file "${CMAKE_CURRENT_SOURCE_DIR}/${stem}_${level}.cpp")
        if(NOT EXISTS "${file}")
            continue()
        endif()
        target_sources(${target} PRIVATE "${file}")
        set(flags "")
        if(NOT MSVC)
            set(flags -ffp-contract=off ${flags_${level}})
            if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")
                list(APPEND flags -O3)
            endif()
            if(MINGW AND NOT level STREQUAL "base")
                # 64-bit Windows aligns the stack to 16 bytes only; wider vectors are spilled unaligned.
                list(APPEND flags -Wa,-muse-unaligned-vector-move)
            endif()
        endif()
        set_source_files_properties("${file}" TARGET_DIRECTORY ${target} PROPERTIES COMPILE_OPTIONS "${flags}")
    endforeach()
endfunction()

# zbm_add_all_kernels(<target> <folder>): zbm_add_kernels for every stem in the folder, a path from the current one,
# and in the folders below it.
function(zbm_add_all_kernels target folder)
    file(GLOB_RECURSE bases CONFIGURE_DEPENDS RELATIVE "${CMAKE_CURRENT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*_base.cpp")
    foreach(base IN LISTS bases)
        string(REGEX REPLACE "_base\\.cpp$" "" stem "${base}")
        zbm_add_kernels(${target} ${stem})
    endforeach()
endfunction()

# zbm_compile_in_converter(<target>): the converter's functions are no part of the library's interface; programs that
# test and measure them compile them in.
function(zbm_compile_in_converter target)
    file(RELATIVE_PATH folder "${CMAKE_CURRENT_SOURCE_DIR}" "${PROJECT_SOURCE_DIR}/src/convert")
    file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/src/convert/*.cpp")
    list(FILTER sources EXCLUDE REGEX "_(base|avx2|avx512)\\.cpp$")
    list(FILTER sources EXCLUDE REGEX "/(ColorTableMatcher|ZBMPixelRect)\\.cpp$")  # exported, and linked as such
    target_sources(${target} PRIVATE ${sources} "${PROJECT_SOURCE_DIR}/src/core/Checks.cpp")
    target_include_directories(${target} PRIVATE "${PROJECT_SOURCE_DIR}/src")
    target_link_libraries(${target} PRIVATE ZBMLib2 cpu)
    zbm_add_all_kernels(${target} "${folder}")
endfunction()
