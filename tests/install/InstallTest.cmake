# One step of the tests of the installed package, chosen by STEP:
#
#   install      installs the build into the folder "here", and again into one that is then moved to "moved"
#   cmake        builds and runs the consumer against PREFIX, found by find_package
#   pkg-config   the same, found by pkg-config
#
# SCRATCH is the folder that all of it happens in, and settings.cmake in there says how this build compiles.

include("${SCRATCH}/settings.cmake")

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(run_consumer program)
    set(ENV{LD_LIBRARY_PATH} "${SCRATCH}/${PREFIX}/${LIBDIR}")
    set(ENV{WINEPATH} "${SCRATCH}/${PREFIX}/bin\;${BUILD_DIR}/bin")
    run(${EMULATOR} "${program}${EXE}")
endfunction()

if(STEP STREQUAL "install")
    file(REMOVE_RECURSE "${SCRATCH}/here" "${SCRATCH}/born" "${SCRATCH}/moved")
    run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${SCRATCH}/here")
    run("${CMAKE_COMMAND}" --install "${BUILD_DIR}" --prefix "${SCRATCH}/born")
    file(RENAME "${SCRATCH}/born" "${SCRATCH}/moved")
elseif(STEP STREQUAL "cmake")
    set(project "${SCRATCH}/cmake-${PREFIX}")
    file(REMOVE_RECURSE "${project}")
    configure_file("${CMAKE_CURRENT_LIST_DIR}/consumer.cmake" "${project}/CMakeLists.txt" COPYONLY)
    configure_file("${CMAKE_CURRENT_LIST_DIR}/consumer.cpp" "${project}/consumer.cpp" COPYONLY)
    run("${CMAKE_COMMAND}" -S "${project}" -B "${project}/build" -G "${GENERATOR}"
        "-DCMAKE_BUILD_TYPE=${BUILD_TYPE}" "-DCMAKE_CXX_COMPILER=${CXX}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
        "-DCMAKE_TOOLCHAIN_FILE=${TOOLCHAIN}" "-DCMAKE_PREFIX_PATH=${SCRATCH}/${PREFIX}"
        "-DCMAKE_FIND_ROOT_PATH=${SCRATCH}/${PREFIX}")
    run("${CMAKE_COMMAND}" --build "${project}/build")
    run_consumer("${project}/build/consumer")
elseif(STEP STREQUAL "pkg-config")
    set(ENV{PKG_CONFIG_LIBDIR} "${SCRATCH}/${PREFIX}/${LIBDIR}/pkgconfig")
    execute_process(COMMAND "${PKG_CONFIG}" --cflags --libs ZBMLib2 OUTPUT_VARIABLE flags
        COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    separate_arguments(CXX_FLAGS UNIX_COMMAND "${CXX_FLAGS}")
    set(program "${SCRATCH}/pkg-config-${PREFIX}")
    run("${CXX}" -std=c++20 ${CXX_FLAGS} "${CMAKE_CURRENT_LIST_DIR}/consumer.cpp" -o "${program}${EXE}" ${flags})
    run_consumer("${program}")
endif()
