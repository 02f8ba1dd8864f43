# The Debian packages, by CPack; ./dev package makes them, under the umask that the folders in them
# take. One package is one component: a folder packaging/NAME and one call of kallo_package. What its
# crash reports are resolved with is a second one, NAME-dbgsym. They have no Debian revision: the
# packaging is part of the project.

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # would stand before the summary of each package
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "kalloagent maintainers <maintainers@kalloagent.example>")
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

# CPack takes this machine's processor for the packages', and dpkg-shlibdeps asks its environment.
find_program(DPKG_ARCHITECTURE dpkg-architecture)
if(CMAKE_CROSSCOMPILING AND CMAKE_LIBRARY_ARCHITECTURE AND DPKG_ARCHITECTURE)
    execute_process(
        COMMAND ${DPKG_ARCHITECTURE} -t ${CMAKE_LIBRARY_ARCHITECTURE} -f -q DEB_HOST_ARCH
        OUTPUT_VARIABLE CPACK_DEBIAN_PACKAGE_ARCHITECTURE OUTPUT_STRIP_TRAILING_WHITESPACE
        COMMAND_ERROR_IS_FATAL ANY)
    set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_BINARY_DIR}/packaging/architecture.cmake)
    file(WRITE ${CPACK_PROJECT_CONFIG_FILE}
        "set(ENV{DEB_HOST_ARCH} ${CPACK_DEBIAN_PACKAGE_ARCHITECTURE})\n"
        "set(ENV{DEB_HOST_GNU_TYPE} ${CMAKE_LIBRARY_ARCHITECTURE})\n")
endif()

set(changelog ${CMAKE_SOURCE_DIR}/packaging/changelog)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${changelog})
file(STRINGS ${changelog} newest LIMIT_COUNT 1)
string(FIND "${newest}" "kalloagent (${PROJECT_VERSION}) " found)
if(NOT found EQUAL 0)
    message(FATAL_ERROR "packaging/changelog does not begin with version ${PROJECT_VERSION}")
endif()

# kallo_compressed(COMPONENT DESTINATION SOURCES...): installs each source as its name and ".gz",
# without the name and the time of the file in it, so that the same source gives the same package.
function(kallo_compressed COMPONENT DESTINATION)
    set(folder ${CMAKE_BINARY_DIR}/packaging/${COMPONENT})
    file(MAKE_DIRECTORY ${folder})
    foreach(source ${ARGN})
        get_filename_component(name ${source} NAME)
        set(made ${folder}/${name}.gz)
        add_custom_command(OUTPUT ${made} COMMAND gzip -9nc ${source} > ${made}
            DEPENDS ${source} VERBATIM)
        target_sources(package_files PRIVATE ${made})
        install(FILES ${made} DESTINATION ${DESTINATION} COMPONENT ${COMPONENT})
    endforeach()
endfunction()
add_custom_target(package_files ALL)

# kallo_package_files(NAME COMPONENT PAGES DOCUMENTS): what stands in a package beside its program.
function(kallo_package_files NAME COMPONENT PAGES DOCUMENTS)
    set(files ${CMAKE_SOURCE_DIR}/packaging/${NAME})
    set(documents ${CMAKE_INSTALL_DATADIR}/doc/${NAME})
    install(FILES ${files}/copyright DESTINATION ${documents} COMPONENT ${COMPONENT})
    kallo_compressed(${COMPONENT} ${documents} ${changelog} ${DOCUMENTS})
    foreach(page ${PAGES})
        string(REGEX MATCH "[1-9]$" section ${page})
        kallo_compressed(${COMPONENT} ${CMAKE_INSTALL_MANDIR}/man${section}
            ${CMAKE_SOURCE_DIR}/packaging/man/${page})
    endforeach()
    if(EXISTS ${files}/${NAME}.service)
        install(FILES ${files}/${NAME}.service DESTINATION lib/systemd/system
            COMPONENT ${COMPONENT})
    endif()
    foreach(kind tmpfiles sysusers)
        if(EXISTS ${files}/${NAME}.${kind})
            install(FILES ${files}/${NAME}.${kind} DESTINATION lib/${kind}.d
                RENAME ${NAME}.conf COMPONENT ${COMPONENT})
        endif()
    endforeach()
    if(EXISTS ${files}/${NAME}.avahi)
        # CPack would put an absolute destination into this machine's own /etc.
        install(FILES ${files}/${NAME}.avahi DESTINATION ../etc/avahi/services
            RENAME ${NAME}.service COMPONENT ${COMPONENT})
    endif()
endfunction()

# kallo_debug_files(NAME COMPONENT): the debugging information of the program NAME. CPack's own way
# to it (CPACK_DEBIAN_DEBUGINFO_PACKAGE) lists check sums under the path that the build has.
function(kallo_debug_files NAME COMPONENT)
    install(CODE "set(PROGRAM \"$<TARGET_FILE:${NAME}>\")
                  set(READELF \"${CMAKE_READELF}\")
                  set(OBJCOPY \"${CMAKE_OBJCOPY}\")" COMPONENT ${COMPONENT} EXCLUDE_FROM_ALL)
    install(SCRIPT cmake/installDebugFile.cmake COMPONENT ${COMPONENT} EXCLUDE_FROM_ALL)
    set(documents ${CMAKE_BINARY_DIR}/packaging/${NAME}-dbgsym)  # are those of the program
    file(CREATE_LINK ${NAME} ${documents} SYMBOLIC)
    install(FILES ${documents} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc
        COMPONENT ${COMPONENT} EXCLUDE_FROM_ALL)
endfunction()

# kallo_package(NAME COMPONENT C DESCRIPTION TEXT [DEPENDS D] [RECOMMENDS R] [SUGGESTS S]
#               [PAGES NAMES...] [DOCUMENTS FILES...])
# Packs the component C, to which this adds man pages of packaging/man, documents and what
# packaging/NAME holds: copyright, and where there are any NAME.service, NAME.tmpfiles, NAME.sysusers,
# NAME.avahi (an announcement), conffiles and maintainer scripts. A package whose program (the target
# NAME) is not built is left out.
function(kallo_package NAME)
    if(NOT TARGET ${NAME})
        return()
    endif()
    set(fields DEPENDS RECOMMENDS SUGGESTS)
    cmake_parse_arguments(PACKAGE "" "COMPONENT;DESCRIPTION;${fields}" "PAGES;DOCUMENTS" ${ARGN})
    set(component ${PACKAGE_COMPONENT})
    kallo_package_files(${NAME} ${component} "${PACKAGE_PAGES}" "${PACKAGE_DOCUMENTS}")
    kallo_debug_files(${NAME} ${component}_dbgsym)

    string(TOUPPER CPACK_DEBIAN_${component} package)
    set(${package}_PACKAGE_NAME ${NAME} PARENT_SCOPE)
    if(NOT NAME STREQUAL PROJECT_NAME)
        set(${package}_PACKAGE_SOURCE ${PROJECT_NAME} PARENT_SCOPE)
    endif()
    set(${package}_DESCRIPTION "${PACKAGE_DESCRIPTION}" PARENT_SCOPE)
    foreach(field ${fields})
        set(${package}_PACKAGE_${field} "${PACKAGE_${field}}" PARENT_SCOPE)
    endforeach()
    file(GLOB scripts packaging/${NAME}/p*inst packaging/${NAME}/p*rm
        packaging/${NAME}/conffiles)
    set(${package}_PACKAGE_CONTROL_EXTRA "${scripts}" PARENT_SCOPE)

    set(${package}_DBGSYM_PACKAGE_NAME ${NAME}-dbgsym PARENT_SCOPE)
    set(${package}_DBGSYM_PACKAGE_SOURCE ${PROJECT_NAME} PARENT_SCOPE)
    set(${package}_DBGSYM_DESCRIPTION "debugging symbols of ${NAME}
By these the frames of a crash report become functions and lines of source." PARENT_SCOPE)
    set(${package}_DBGSYM_PACKAGE_DEPENDS "${NAME} (= ${PROJECT_VERSION})" PARENT_SCOPE)
    set(${package}_DBGSYM_PACKAGE_SECTION debug PARENT_SCOPE)
    set(${package}_DBGSYM_PACKAGE_SHLIBDEPS OFF PARENT_SCOPE)
    set(CPACK_COMPONENTS_ALL ${CPACK_COMPONENTS_ALL} ${component} ${component}_dbgsym PARENT_SCOPE)
endfunction()

file(GLOB pages CONFIGURE_DEPENDS docs/*.md)
kallo_package(kalloagent COMPONENT daemon
    PAGES kalloagent.8 kallo.xml.5
    DOCUMENTS ${pages}
    DEPENDS procps  # and coreutils, grep and awk, which no Debian system is without
    RECOMMENDS "wmctrl, x11-utils"
    SUGGESTS "avahi-daemon, kallogate, kalloctl"
    DESCRIPTION "television agent of a network storage server
A service for a storage server that drives a television. Companion apps on
phones and tablets connect to TCP port 9812 to list the installed application
packages, to launch one on the screen, to see its windows, and to log a user
of the server in or out.
.
It works with the server's own configuration tools (/sbin/rdconf,
/sbin/wrconf) and desktop session (/opt/bin/zelvshmenv).")

kallo_package(kalloctl COMPONENT client
    PAGES kalloctl.1
    SUGGESTS "bash-completion, kalloagent"
    DESCRIPTION "command line of the storage server's television agent
Asks the agent of a storage server over the network what a companion app on a
phone asks: the installed packages and their icons, the windows on the screen,
a launch, a login. Answers are for people to read, or JSON for scripts.")

kallo_package(kallogate COMPONENT gate
    PAGES kallogate.8 kallogate.toml.5
    DEPENDS "systemd | systemd-standalone-sysusers | systemd-sysusers"  # its user
    RECOMMENDS "kalloagent, nftables"
    SUGGESTS kalloctl
    DESCRIPTION "front door of the storage server's television agent
Stands between the companion apps and the agent, which runs as root and serves
one connection at a time. It speaks the same protocol, serves many apps at
once without root, and passes on only sound requests, written anew. With it
comes a firewall file that leads the apps to it and keeps others from the
agent.")
include(CPack)
