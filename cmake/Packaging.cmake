# Two Debian packages, kalloagent (component daemon) and kalloctl (component client), by CPack;
# ./dev package makes them, under the umask that the folders in them take. They have no Debian
# revision: the packaging is part of the project.

set(packages kalloagent)
set(kalloagent_component daemon)
set(kalloctl_component client)
if(TARGET kalloctl)
    list(APPEND packages kalloctl)
endif()

# kallo_compressed(SOURCE NAME DESTINATION COMPONENT): installs SOURCE as NAME.gz, without the name
# and the time of the file in it, so that the same source gives the same package.
set(compressed_files)
function(kallo_compressed SOURCE NAME DESTINATION COMPONENT)
    set(made ${CMAKE_BINARY_DIR}/packaging/${COMPONENT}/${NAME}.gz)
    add_custom_command(OUTPUT ${made}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/packaging/${COMPONENT}
        COMMAND gzip -9nc ${SOURCE} > ${made}
        DEPENDS ${SOURCE} VERBATIM)
    install(FILES ${made} DESTINATION ${DESTINATION} COMPONENT ${COMPONENT})
    set(compressed_files ${compressed_files} ${made} PARENT_SCOPE)
endfunction()

file(GLOB pages CONFIGURE_DEPENDS packaging/man/*.[1-9])
foreach(page ${pages})
    get_filename_component(name ${page} NAME)
    string(REGEX MATCH "[1-9]$" section ${name})
    if(name MATCHES "^kalloctl")
        set(component client)
    else()
        set(component daemon)
    endif()
    kallo_compressed(${page} ${name} ${CMAKE_INSTALL_MANDIR}/man${section} ${component})
endforeach()

set(changelog ${CMAKE_SOURCE_DIR}/packaging/changelog)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${changelog})
file(STRINGS ${changelog} newest LIMIT_COUNT 1)
string(FIND "${newest}" "kalloagent (${PROJECT_VERSION}) " found)
if(NOT found EQUAL 0)
    message(FATAL_ERROR "packaging/changelog does not begin with version ${PROJECT_VERSION}")
endif()
foreach(package ${packages})
    set(component ${${package}_component})
    set(documents ${CMAKE_INSTALL_DATADIR}/doc/${package})
    kallo_compressed(${changelog} changelog ${documents} ${component})
    install(FILES packaging/${package}/copyright DESTINATION ${documents} COMPONENT ${component})
endforeach()
add_custom_target(package_files ALL DEPENDS ${compressed_files})

install(FILES packaging/kalloagent/kalloagent.service DESTINATION lib/systemd/system
    COMPONENT daemon)
install(FILES packaging/kalloagent/kalloagent.tmpfiles DESTINATION lib/tmpfiles.d
    RENAME kalloagent.conf COMPONENT daemon)

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL daemon)
if(TARGET kalloctl)
    list(APPEND CPACK_COMPONENTS_ALL client)
endif()
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # would stand before the summary of each package
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "kalloagent maintainers <maintainers@kalloagent.example>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_DAEMON_PACKAGE_NAME kalloagent)
set(CPACK_DEBIAN_DAEMON_PACKAGE_SECTION net)
# It runs coreutils, grep and awk as well, which no Debian system is without.
set(CPACK_DEBIAN_DAEMON_PACKAGE_DEPENDS procps)
set(CPACK_DEBIAN_DAEMON_PACKAGE_RECOMMENDS "wmctrl, x11-utils")
set(CPACK_DEBIAN_DAEMON_PACKAGE_SUGGESTS "kalloctl")
set(CPACK_DEBIAN_DAEMON_DESCRIPTION "television agent of a network storage server
A service for a storage server that drives a television. Companion apps on
phones and tablets connect to TCP port 9812 to list the installed application
packages, to launch one on the screen, to see its windows, and to log a user
of the server in or out.
.
It works with the server's own configuration tools (/sbin/rdconf,
/sbin/wrconf) and desktop session (/opt/bin/zelvshmenv).")
set(daemon_scripts ${CMAKE_SOURCE_DIR}/packaging/kalloagent)
set(CPACK_DEBIAN_DAEMON_PACKAGE_CONTROL_EXTRA
    ${daemon_scripts}/postinst ${daemon_scripts}/prerm ${daemon_scripts}/postrm)

set(CPACK_DEBIAN_CLIENT_PACKAGE_NAME kalloctl)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SOURCE kalloagent)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SECTION net)
set(CPACK_DEBIAN_CLIENT_PACKAGE_SUGGESTS "bash-completion, kalloagent")
set(CPACK_DEBIAN_CLIENT_DESCRIPTION "command line of the storage server's television agent
Asks the agent of a storage server over the network what a companion app on a
phone asks: the installed packages and their icons, the windows on the screen,
a launch, a login. Answers are for people to read, or JSON for scripts.")
include(CPack)
