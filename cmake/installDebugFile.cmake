# Installs the debugging information of PROGRAM below lib/debug under the program's build id, where
# addr2line(1) and gdb(1) look for it. Packaging.cmake sets PROGRAM, READELF and OBJCOPY for it; run
# by "cmake --install" and by CPack.
execute_process(COMMAND ${CMAKE_COMMAND} -E env LC_ALL=C ${READELF} -n ${PROGRAM}
    OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
    message(FATAL_ERROR "${PROGRAM} has no build id")
endif()
set(folder $ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/lib/debug/.build-id/${CMAKE_MATCH_1})
set(file ${folder}/${CMAKE_MATCH_2}.debug)
file(MAKE_DIRECTORY ${folder})
execute_process(COMMAND ${OBJCOPY} --only-keep-debug ${PROGRAM} ${file}
    COMMAND_ERROR_IS_FATAL ANY)
file(CHMOD ${file} PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
