# What an application needs to build against the libraries: CMake's package (find_package(ZBMLib2 CONFIG)) and a
# pkg-config file for each library. Both find everything from where they lie, so that the prefix can be moved.
#
# The property ZBM_INSTALLED_LIBRARIES holds the libraries' targets, in the order in which they were made.

include(CMakePackageConfigHelpers)

get_property(installed GLOBAL PROPERTY ZBM_INSTALLED_LIBRARIES)
set(packageDir "${CMAKE_INSTALL_LIBDIR}/cmake/ZBMLib2")

install(TARGETS ${installed} EXPORT ZBMLib2
    RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
    ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(EXPORT ZBMLib2 NAMESPACE ZBMLib2:: FILE ZBMLib2Targets.cmake DESTINATION ${packageDir})

configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/package/ZBMLib2Config.cmake.in"
    "${PROJECT_BINARY_DIR}/package/ZBMLib2Config.cmake" INSTALL_DESTINATION ${packageDir}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/package/ZBMLib2ConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/package/ZBMLib2Config.cmake"
    "${PROJECT_BINARY_DIR}/package/ZBMLib2ConfigVersion.cmake"
    DESTINATION ${packageDir})

# zbm_install_pkg_config(<library> <what it is> <libraries of ours that its headers include...>)
function(zbm_install_pkg_config name description)
    set(pcDir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
    # From the folder of the .pc file up to the prefix: ../.. for lib/pkgconfig.
    file(RELATIVE_PATH PC_TO_PREFIX "/prefix/${pcDir}" "/prefix")
    string(REGEX REPLACE "/$" "" PC_TO_PREFIX "${PC_TO_PREFIX}")
    set(PC_NAME ${name})
    set(PC_DESCRIPTION "${description}")
    list(JOIN ARGN " " PC_REQUIRES)
    configure_file("${PROJECT_SOURCE_DIR}/cmake/package/library.pc.in" "${PROJECT_BINARY_DIR}/package/${name}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/package/${name}.pc" DESTINATION ${pcDir})
endfunction()

zbm_install_pkg_config(Sharedu "Strings, files, device-independent bitmaps and pixel formats for ZBMLib2")
zbm_install_pkg_config(ZPixFilteru "Pixel filters for ZBMLib2" Sharedu)
zbm_install_pkg_config(ZCodecu "Block compression of pictures for ZBMLib2")
zbm_install_pkg_config(ZBMLib2 "${PROJECT_DESCRIPTION}" Sharedu ZPixFilteru ZCodecu)
