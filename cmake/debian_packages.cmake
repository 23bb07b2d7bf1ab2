# Debian packages of what is installed, by `cpack -G DEB` (scripts/packages): libopcua-module, libopcua-module-dev and
# opcua-probe, one for each component. What only packages have (the service, its configuration, Debian's documents) is no
# part of `cmake --install`.
set(debian_maintainer "tarvik <support@tarvik.example>")
set(debian_version ${PROJECT_VERSION}-1)
set(debian ${PROJECT_SOURCE_DIR}/packaging/debian)

# Names, in the order of the components.
set(components module dev probe)
set(module_package libopcua-module)
set(dev_package libopcua-module-dev)
set(probe_package opcua-probe)

file(TIMESTAMP ${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog_date "%a, %d %b %Y %H:%M:%S +0000" UTC)
configure_file(${debian}/changelog.in debian/changelog @ONLY)
# What Debian wants packed. Made while configuring: they are small and change with the version only.
find_program(GZIP gzip REQUIRED)
configure_file(CHANGELOG.md debian/upstream_changelog COPYONLY)
foreach(document IN ITEMS changelog upstream_changelog)
    execute_process(
        COMMAND ${GZIP} -9nc ${PROJECT_BINARY_DIR}/debian/${document}
        OUTPUT_FILE ${PROJECT_BINARY_DIR}/debian/${document}.gz COMMAND_ERROR_IS_FATAL ANY
    )
endforeach()

foreach(component IN LISTS components)
    set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc/${${component}_package})
    install(FILES ${debian}/copyright DESTINATION ${documents} COMPONENT ${component} EXCLUDE_FROM_ALL)
    foreach(document IN ITEMS changelog.Debian upstream_changelog)
        string(REPLACE upstream_ "" name ${document})
        string(REPLACE .Debian "" source ${document})
        install(
            FILES ${PROJECT_BINARY_DIR}/debian/${source}.gz
            DESTINATION ${documents}
            RENAME ${name}.gz
            COMPONENT ${component} EXCLUDE_FROM_ALL
        )
    endforeach()
endforeach()

set(documents ${CMAKE_INSTALL_DATAROOTDIR}/doc)
install(
    FILES docs/embedding.md docs/settings.md
    DESTINATION ${documents}/${dev_package}
    COMPONENT dev EXCLUDE_FROM_ALL
)
install(
    FILES README.md
    DESTINATION ${documents}/${module_package}
    COMPONENT module EXCLUDE_FROM_ALL
)
install(
    FILES docs/browsing.md docs/deploy.md docs/getting-started.md docs/page.png docs/page-phone.png
          docs/page-before.png docs/plugin.md docs/security.md
    DESTINATION ${documents}/${probe_package}
    COMPONENT probe EXCLUDE_FROM_ALL
    OPTIONAL
)
# For other monitoring systems.
foreach(system IN ITEMS grafana icinga2 nagios prometheus zabbix)
    install(
        DIRECTORY packaging/${system}
        DESTINATION ${documents}/${probe_package}/examples
        COMPONENT probe EXCLUDE_FROM_ALL
        OPTIONAL
    )
endforeach()
install(
    FILES packaging/systemd/opcua-probe.service
    DESTINATION lib/systemd/system
    COMPONENT probe EXCLUDE_FROM_ALL
)
# Readable for nobody else from the beginning; the group follows when its user is there.
install(
    FILES ${debian}/probe.yaml
    DESTINATION /etc/opcua-probe
    PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ
    COMPONENT probe EXCLUDE_FROM_ALL
)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME opcua-module)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_VENDOR tarvik)
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE
)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_CURRENT_LIST_DIR}/debian_staging.cmake)

set(CPACK_COMPONENTS_ALL ${components})
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${debian_maintainer})
set(CPACK_DEBIAN_PACKAGE_SOURCE opcua-module)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
if(CMAKE_CROSSCOMPILING)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE arm64)
    foreach(folder IN ITEMS usr/lib/aarch64-linux-gnu lib/aarch64-linux-gnu lib)
        list(APPEND CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_FIND_ROOT_PATH}/${folder})
    endforeach()
endif()
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_MODULE_PACKAGE_NAME ${module_package})
set(CPACK_DEBIAN_MODULE_PACKAGE_SECTION libs)
# CPack adds scripts that call ldconfig; what Debian asks for is the trigger.
set(CPACK_DEBIAN_MODULE_PACKAGE_CONTROL_EXTRA ${debian}/triggers)
set(CPACK_DEBIAN_MODULE_DESCRIPTION
    "OPC UA monitoring module for monitoring systems
A library with ten C functions that any monitoring system can load. It
watches OPC UA servers: values of nodes, certificates, the state of servers and
of industrial PCs, and sends notifications. Settings come in and results go
out as JSON."
)

set(CPACK_DEBIAN_DEV_PACKAGE_NAME ${dev_package})
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${module_package} (= ${debian_version})")
set(CPACK_DEBIAN_DEV_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEV_DESCRIPTION
    "OPC UA monitoring module (development files)
The C headers, the CMake package and the pkg-config file that hosts of the
module are built with, and the documentation of settings and messages."
)

set(CPACK_DEBIAN_PROBE_PACKAGE_NAME ${probe_package})
set(CPACK_DEBIAN_PROBE_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PROBE_PACKAGE_DEPENDS "${module_package} (= ${debian_version}), adduser")
set(CPACK_DEBIAN_PROBE_PACKAGE_SUGGESTS "bash-completion, prometheus")
set(CPACK_DEBIAN_PROBE_PACKAGE_CONTROL_EXTRA
    ${debian}/conffiles ${debian}/postinst ${debian}/prerm ${debian}/postrm
)
set(CPACK_DEBIAN_PROBE_DESCRIPTION
    "OPC UA probe: exporter, monitoring plugin, browser of nodes
Scans sensors of OPC UA servers from the command line, as a plugin of
monitoring systems, or as a service that serves metrics and a page. Shows nodes
and endpoints of servers, runs checks and sends notifications.

With it comes opcua-simulator, an OPC UA server that plays a small plant, for
trying things out."
)
include(CPack)
