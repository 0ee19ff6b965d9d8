# One step of the tests of the installed package, chosen by STEP:
#
#   install      installs the build into the folder "here", and again into one that is then moved to "moved"
#   components   installs each component into a folder of its own, and looks at what is there
#   static       builds the consumers in a project that has ours within it, static, and installs that into "static"
#   cmake        builds and runs the consumers against PREFIX, found by find_package
#   pkg-config   the same, found by pkg-config
#
# SCRATCH is the folder that all of it happens in, and settings.cmake in there says how this build compiles.

include("${SCRATCH}/settings.cmake")
set(HERE "${CMAKE_CURRENT_LIST_DIR}")
file(GLOB CONSUMERS "${HERE}/consumers/*.cpp")
set(FLAGS_OF_without_rtti -fno-rtti)
# Without run-time types, Clang makes the program's own description of each type that it catches, in place of the
# library's. The sanitizer takes that for a broken one and ends the program, whatever it is told.
if(SANITIZE)
    list(FILTER CONSUMERS EXCLUDE REGEX "without_rtti")
endif()

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# run_consumers(<folder>): those that were built into the folder, with the DLLs of PREFIX.
function(run_consumers folder)
    set(ENV{LD_LIBRARY_PATH} "${SCRATCH}/${PREFIX}/${LIBDIR}")
    set(ENV{WINEPATH} "${SCRATCH}/${PREFIX}/bin")
    foreach(source IN LISTS CONSUMERS)
        cmake_path(GET source STEM program)
        run(${EMULATOR} "${folder}/${program}${EXE}")
    endforeach()
endfunction()

# build_project(<folder> <its CMakeLists.txt> <build type> <arguments of cmake...>): builds the consumers in <folder>/build.
function(build_project project lists type)
    file(REMOVE_RECURSE "${project}")
    file(COPY ${CONSUMERS} DESTINATION "${project}")
    configure_file("${HERE}/${lists}" "${project}/CMakeLists.txt" COPYONLY)
    run("${CMAKE_COMMAND}" -S "${project}" -B "${project}/build" -G "${GENERATOR}"
        "-DCMAKE_BUILD_TYPE=${type}" "-DCMAKE_CXX_COMPILER=${CXX}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
        "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}" ${ARGN})
    run("${CMAKE_COMMAND}" --build "${project}/build" --parallel 2)
endfunction()

# expect(<folder> <pattern>...): each pattern is one path below the folder at least, or none if "NOT" stands before it. A
# star stands for anything.
function(expect folder)
    file(GLOB_RECURSE paths RELATIVE "${folder}" "${folder}/*")
    set(wanted TRUE)
    foreach(pattern IN LISTS ARGN)
        if(pattern STREQUAL "NOT")
            set(wanted FALSE)
            continue()
        endif()
        string(REPLACE "." "\\." regex "${pattern}")
        string(REPLACE "+" "\\+" regex "${regex}")
        string(REPLACE "*" ".*" regex "${regex}")
        set(found ${paths})
        list(FILTER found INCLUDE REGEX "^${regex}$")
        if((wanted AND NOT found) OR (NOT wanted AND found))
            message(SEND_ERROR "${folder}: ${pattern} is ${found}")
        endif()
        set(wanted TRUE)
    endforeach()
endfunction()

if(STEP STREQUAL "install")
    file(REMOVE_RECURSE "${SCRATCH}/here" "${SCRATCH}/born" "${SCRATCH}/moved")
    run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${SCRATCH}/here")
    run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${SCRATCH}/born")
    file(RENAME "${SCRATCH}/born" "${SCRATCH}/moved")
elseif(STEP STREQUAL "components")
    foreach(component runtime development tools)
        file(REMOVE_RECURSE "${SCRATCH}/${component}")
        run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${SCRATCH}/${component}" --component ${component})
    endforeach()
    set(libraries "*libZBMLib2.so.${MINOR_VERSION}")
    set(links "*libZBMLib2.so")
    if(EXE)
        set(libraries "*libZBMLib2.dll" "*libstdc++-6.dll" "*libgcc_s_seh-1.dll" "*libwinpthread-1.dll")
        set(links "*libZBMLib2.dll.a")
    endif()
    expect("${SCRATCH}/runtime" ${libraries} *LICENSE NOT *.h NOT *.cmake NOT *.pc NOT *zbm${EXE} NOT ${links})
    expect("${SCRATCH}/development" ${links} *zbm/ZBitmap.h *shr/Dib.h *ZBMLib2Config.cmake *ZBMLib2.pc
        NOT *.dll NOT *.so.* NOT *LICENSE NOT *cpu/*.h NOT *zbm${EXE})
    expect("${SCRATCH}/tools" *zbm${EXE} NOT *ZBMLib2*)
elseif(STEP STREQUAL "static")
    # Without optimising: it is a whole build.
    set(project "${SCRATCH}/parent")
    build_project("${project}" parent.cmake Debug -DCMAKE_CXX_FLAGS_DEBUG= "-DZBMLIB2=${SOURCE_DIR}" -DZBM_INSTALL=ON)
    file(REMOVE_RECURSE "${SCRATCH}/static")
    run("${CMAKE_COMMAND}" --install "${project}/build" --prefix "${SCRATCH}/static")
    expect("${SCRATCH}/static" *libZBMLib2.a NOT *.so NOT *.dll.a)
    run_consumers("${project}/build")
elseif(STEP STREQUAL "cmake")
    set(project "${SCRATCH}/cmake-${PREFIX}")
    build_project("${project}" consumer.cmake "${BUILD_TYPE}" "-DCMAKE_PREFIX_PATH=${SCRATCH}/${PREFIX}"
        "-DCMAKE_FIND_ROOT_PATH=${SCRATCH}/${PREFIX}")
    run_consumers("${project}/build")
elseif(STEP STREQUAL "pkg-config")
    set(ENV{PKG_CONFIG_LIBDIR} "${SCRATCH}/${PREFIX}/${LIBDIR}/pkgconfig")
    if(PREFIX STREQUAL "static")
        set(static --static)
        cmake_path(GET ZSTD_LIBRARY PARENT_PATH zstdFolder)  # the system's, or that of a cross-build
        set(zstd "-L${zstdFolder}")
    endif()
    execute_process(COMMAND "${PKG_CONFIG}" ${static} --cflags --libs ZBMLib2 OUTPUT_VARIABLE flags
        COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    separate_arguments(CXX_FLAGS UNIX_COMMAND "${CXX_FLAGS}")
    set(folder "${SCRATCH}/pkg-config-${PREFIX}")
    file(REMOVE_RECURSE "${folder}")
    file(MAKE_DIRECTORY "${folder}")
    foreach(source IN LISTS CONSUMERS)
        cmake_path(GET source STEM program)
        run("${CXX}" -std=c++20 ${CXX_FLAGS} ${FLAGS_OF_${program}} "${source}" -o "${folder}/${program}${EXE}" ${zstd} ${flags})
    endforeach()
    run_consumers("${folder}")
endif()
