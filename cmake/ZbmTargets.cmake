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
if(NOT DEFINED BUILD_SHARED_LIBS)
    set(BUILD_SHARED_LIBS ON)
endif()

# Programs and libraries side by side, so that a .exe finds its .dlls and a test its siblings.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

# An installed library or tool finds its siblings wherever the prefix is moved.
set(CMAKE_INSTALL_RPATH "$ORIGIN" "$ORIGIN/../${CMAKE_INSTALL_LIBDIR}")

# The DLLs of the compiler that our programs need, which find them beside themselves.
if(MINGW)
    foreach(library libstdc++-6 libgcc_s_seh-1 libwinpthread-1)
        execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${library}.dll
            OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
        file(COPY "${file}" DESTINATION "${CMAKE_RUNTIME_OUTPUT_DIRECTORY}")
        zbm_install_dlls("${file}")
    endforeach()
endif()

if(ZBM_SANITIZE)
    add_compile_options(-fsanitize=${ZBM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer -g1)
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

# zbm_add_library(<name> STEM <stem> SOURCES <folder> INCLUDE <public include folder>
#                 [PUBLIC <libraries...>] [PRIVATE <libraries...>])
#
# One of the four libraries, shared unless BUILD_SHARED_LIBS is OFF, of every file in the folder and in those below it.
# <stem>_EXPORTS is defined while the library itself is compiled, and ZBM_STATIC for everyone if it is static.
#
# Its object files are the target <name>_internals: what tests and benchmarks link instead of the library to get at what
# it does not export. Nothing that is linked with the library may be linked with them as well.
function(zbm_add_library name)
    cmake_parse_arguments(arg "" "STEM;SOURCES;INCLUDE" "PUBLIC;PRIVATE" ${ARGN})
    set(internals ${name}_internals)
    zbm_glob_sources(sources "${arg_SOURCES}")
    add_library(${internals} OBJECT ${sources})
    zbm_add_kernels(${internals} "${arg_SOURCES}")
    zbm_set_warnings(${internals})
    target_compile_definitions(${internals} PUBLIC ${arg_STEM}_EXPORTS)
    target_include_directories(${internals} PUBLIC "${arg_SOURCES}" $<BUILD_INTERFACE:${arg_INCLUDE}>)
    target_link_libraries(${internals} PUBLIC ${arg_PUBLIC} ${arg_PRIVATE} zbm_cpu zbm_simd)

    add_library(${name} $<TARGET_OBJECTS:${internals}>)
    add_library(ZBMLib2::${name} ALIAS ${name})
    target_include_directories(${name} PUBLIC
        $<BUILD_INTERFACE:${arg_INCLUDE}> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
    target_link_libraries(${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
    # Before 1.0 a minor version may break what programs were built against.
    set_target_properties(${name} PROPERTIES LINKER_LANGUAGE CXX
        VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})

    foreach(target ${name} ${internals})
        target_compile_features(${target} PUBLIC cxx_std_20)
        if(NOT BUILD_SHARED_LIBS)
            target_compile_definitions(${target} PUBLIC ZBM_STATIC)
        endif()
    endforeach()
    zbm_install_library(${name} "${arg_INCLUDE}")
endfunction()

# zbm_glob_sources(<variable> <folder>): the files below the folder, without kernels and those of other systems.
function(zbm_glob_sources variable folder)
    file(GLOB_RECURSE sources CONFIGURE_DEPENDS "${folder}/*.cpp")
    list(FILTER sources EXCLUDE REGEX "_(base|avx2|avx512)\\.cpp$")
    if(WIN32)
        list(FILTER sources EXCLUDE REGEX "_linux\\.cpp$")
    else()
        list(FILTER sources EXCLUDE REGEX "_windows\\.cpp$")
    endif()
    set(${variable} ${sources} PARENT_SCOPE)
endfunction()

# zbm_add_executable(<name> <sources...>): a program of ours, with our warnings.
function(zbm_add_executable name)
    add_executable(${name} ${ARGN})
    zbm_set_warnings(${name})
endfunction()

# The levels above the base that kernels are compiled for, and their flags.
set(ZBM_WIDE_LEVELS "")
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|amd64)$" AND CMAKE_SIZEOF_VOID_P EQUAL 8 AND NOT MSVC)
    set(ZBM_WIDE_LEVELS avx2 avx512)
endif()
set(ZBM_FLAGS_avx2 -mavx2 -mbmi -mbmi2 -mfma -mprfchw)
set(ZBM_FLAGS_avx512 ${ZBM_FLAGS_avx2} -mavx512f -mavx512bw -mavx512vl -mavx512dq -mavx512vnni
    -mprefer-vector-width=512)
if(MINGW)
    # 64-bit Windows aligns the stack to 16 bytes only; wider vectors are spilled unaligned.
    list(APPEND ZBM_FLAGS_avx2 -Wa,-muse-unaligned-vector-move)
    list(APPEND ZBM_FLAGS_avx512 -Wa,-muse-unaligned-vector-move)
endif()

# zbm_add_kernels(<target> <folder>): compiles the kernels below the folder into the target: X_base.cpp, X_avx2.cpp and
# so on, each with the flags of its level. They are always optimised for vectorising, and never contract floating point,
# so that every level gives the same bits.
function(zbm_add_kernels target folder)
    foreach(level base ${ZBM_WIDE_LEVELS})
        file(GLOB_RECURSE kernels CONFIGURE_DEPENDS "${folder}/*_${level}.cpp")
        if(NOT kernels)
            continue()
        endif()
        set(flags "")
        if(NOT MSVC)
            set(flags -ffp-contract=off $<$<NOT:$<CONFIG:Debug>>:-O3> ${ZBM_FLAGS_${level}})
        endif()
        target_sources(${target} PRIVATE ${kernels})
        set_source_files_properties(${kernels} TARGET_DIRECTORY ${target} PROPERTIES COMPILE_OPTIONS "${flags}")
    endforeach()
endfunction()
