# What is installed, in three components: "runtime" has what programs need to run, "development" what it takes to build
# them against the libraries, "tools" the tool zbm.
#
# Applications find the libraries by CMake's package (find_package(ZBMLib2 CONFIG)) or by a pkg-config file for each
# library. Both find everything from where they lie, so that the prefix can be moved.

include(CMakePackageConfigHelpers)
set(ZBM_PACKAGE_DIR "${CMAKE_INSTALL_LIBDIR}/cmake/ZBMLib2")

# zbm_install_headers(<folder>)
function(zbm_install_headers folder)
    if(ZBM_INSTALL)
        install(DIRECTORY "${folder}/" DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
            FILES_MATCHING PATTERN "*.h")
    endif()
endfunction()

# zbm_install_library(<target> <folder of its public headers>)
function(zbm_install_library target include)
    zbm_install_headers("${include}")
    if(ZBM_INSTALL)
        install(TARGETS ${target} EXPORT ZBMLib2
            RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
            LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT development
            ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
    endif()
endfunction()

# zbm_install_dlls(<files of others that our DLLs need...>)
function(zbm_install_dlls)
    if(ZBM_INSTALL)
        install(FILES ${ARGN} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
    endif()
endfunction()

# zbm_install_tool(<target>)
function(zbm_install_tool target)
    if(ZBM_INSTALL)
        install(TARGETS ${target} RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tools)
    endif()
endfunction()

# zbm_install_pkg_config(<library> <what it is> [REQUIRES <libraries of ours that its headers include...>]
#                        [PRIVATE <linker flags that a program linked statically needs besides the library's own...>])
function(zbm_install_pkg_config name description)
    cmake_parse_arguments(arg "" "" "REQUIRES;PRIVATE" ${ARGN})
    set(pcDir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
    # From the folder of the .pc file up to the prefix: ../.. for lib/pkgconfig.
    file(RELATIVE_PATH PC_TO_PREFIX "/prefix/${pcDir}" "/prefix")
    string(REGEX REPLACE "/$" "" PC_TO_PREFIX "${PC_TO_PREFIX}")
    set(PC_NAME ${name})
    set(PC_DESCRIPTION "${description}")
    list(JOIN arg_REQUIRES " " PC_REQUIRES)
    set(PC_LIBS_PRIVATE "")
    set(PC_DEFINITIONS "")
    if(NOT BUILD_SHARED_LIBS)
        get_target_property(options ${name} INTERFACE_LINK_OPTIONS)
        if(options)
            list(APPEND arg_PRIVATE ${options})
        endif()
        list(JOIN arg_PRIVATE " " PC_LIBS_PRIVATE)
        set(PC_DEFINITIONS "-DZBM_STATIC")
    endif()
    configure_file("${PROJECT_SOURCE_DIR}/cmake/package/library.pc.in" "${PROJECT_BINARY_DIR}/package/${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/package/${name}.pc" DESTINATION ${pcDir} COMPONENT development)
endfunction()

# zbm_install_package(): CMake's package, the pkg-config files, and what comes along with the libraries. To be called
# when all of them are there.
function(zbm_install_package)
    install(EXPORT ZBMLib2 NAMESPACE ZBMLib2:: FILE ZBMLib2Targets.cmake DESTINATION ${ZBM_PACKAGE_DIR}
        COMPONENT development)
    configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/package/ZBMLib2Config.cmake.in"
        "${PROJECT_BINARY_DIR}/package/ZBMLib2Config.cmake" INSTALL_DESTINATION ${ZBM_PACKAGE_DIR}
        NO_SET_AND_CHECK_MACRO)
    # Before 1.0 a minor version may break what programs were built against.
    write_basic_package_version_file("${PROJECT_BINARY_DIR}/package/ZBMLib2ConfigVersion.cmake"
        COMPATIBILITY SameMinorVersion)
    install(FILES
        "${PROJECT_BINARY_DIR}/package/ZBMLib2Config.cmake"
        "${PROJECT_BINARY_DIR}/package/ZBMLib2ConfigVersion.cmake"
        "${PROJECT_SOURCE_DIR}/cmake/Findzstd.cmake"
        DESTINATION ${ZBM_PACKAGE_DIR} COMPONENT development)

    set(gdi "")
    if(NOT WIN32)
        zbm_install_pkg_config(zbm_gdi "Device contexts in software for ZBMLib2")
        set(gdi REQUIRES zbm_gdi)
    endif()
    zbm_install_pkg_config(Sharedu "Strings, files, device-independent bitmaps and pixel formats for ZBMLib2" ${gdi})
    zbm_install_pkg_config(ZPixFilteru "Pixel filters for ZBMLib2" REQUIRES Sharedu)
    zbm_install_pkg_config(ZCodecu "Block compression of pictures for ZBMLib2" PRIVATE -lzstd)
    # Where the system has device contexts, a static ZBMLib2 draws with its libraries.
    set(system "")
    if(WIN32)
        set(system PRIVATE "-lgdi32 -luser32")
    endif()
    zbm_install_pkg_config(ZBMLib2 "${PROJECT_DESCRIPTION}" REQUIRES Sharedu ZPixFilteru ZCodecu ${system})

    install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT runtime)
endfunction()
