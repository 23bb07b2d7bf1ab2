# What `cmake --install` lays out beside the files that the folders install themselves: how installed files find each
# other, and how other people's builds find them, by CMake (find_package(tarvik_opcua)) or by pkg-config
# (tarvik-opcua). The tree may be moved after installation; nothing in it holds the prefix.
include(CMakePackageConfigHelpers)

# libOPCUA.so finds libZunoHelper.so beside itself; programs find both in the library folder.
file(RELATIVE_PATH libraries_from_programs /${CMAKE_INSTALL_BINDIR} /${CMAKE_INSTALL_LIBDIR})
set_target_properties(opcua_module PROPERTIES INSTALL_RPATH $ORIGIN)
set_target_properties(opcua-probe PROPERTIES INSTALL_RPATH $ORIGIN/${libraries_from_programs})

# tarvik::opcua_module to link against, tarvik::opcua_c_api for the header alone (a host that loads the module itself).
set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/tarvik_opcua)
install(
    TARGETS opcua_module EXPORT tarvik_opcua
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT module
)
install(
    EXPORT tarvik_opcua
    NAMESPACE tarvik::
    FILE tarvik_opcua-targets.cmake
    DESTINATION ${package_folder}
    COMPONENT dev
)
configure_package_config_file(
    cmake/tarvik_opcua-config.cmake.in package/tarvik_opcua-config.cmake
    INSTALL_DESTINATION ${package_folder}
    NO_SET_AND_CHECK_MACRO
)
write_basic_package_version_file(
    package/tarvik_opcua-config-version.cmake COMPATIBILITY SameMajorVersion
)
install(
    FILES ${PROJECT_BINARY_DIR}/package/tarvik_opcua-config.cmake
          ${PROJECT_BINARY_DIR}/package/tarvik_opcua-config-version.cmake
    DESTINATION ${package_folder}
    COMPONENT dev
)

file(RELATIVE_PATH prefix_from_pkgconfig /${CMAKE_INSTALL_LIBDIR}/pkgconfig /.)
configure_file(cmake/tarvik-opcua.pc.in package/tarvik-opcua.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/package/tarvik-opcua.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT dev
)

include(debian_packages)
