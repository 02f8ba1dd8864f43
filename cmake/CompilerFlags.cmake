# Warnings, hardening and instrumentation, the same for every component.

add_compile_options(-Wall -Wextra -Wpedantic)
option(KALLO_WERROR "Treat warnings as errors" OFF)
if(KALLO_WERROR)
    add_compile_options(-Werror)
endif()

# A programming error (a closed socket, a null buffer) must stop the process in every build, so
# NDEBUG, which would remove the assertions, is not among the flags of any build type.
# Level 1 of debugging information names functions and lines, which is all that a crash report asks
# for, in a quarter of the default level's space. Packages split it off.
set(CMAKE_CXX_FLAGS_RELEASE "-O2 -g1")
# The build type of the sanitizers, which take most of their time to compile.
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g1")

# Assertions and debugging information name files; the folder that the tree was built in is nobody's
# business, and the same source must give the same program in any. Debuggers that look for sources
# where they were compiled keep that folder in the other build types.
add_compile_options(-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=
                    -fmacro-prefix-map=${CMAKE_BINARY_DIR}/components/=
                    $<$<CONFIG:Release>:-fdebug-prefix-map=${CMAKE_SOURCE_DIR}/=>
                    $<$<CONFIG:Release>:-fdebug-prefix-map=${CMAKE_BINARY_DIR}=.>)

# A program tells its version by a note that "readelf -n" shows, and is told from any other build by
# its build id, under which its debugging information is found.
include(CheckLinkerFlag)
set(note [[--package-metadata={"name":"@PROJECT_NAME@","version":"@PROJECT_VERSION@"}]])
string(CONFIGURE "${note}" note @ONLY)
check_linker_flag(CXX "SHELL:-Xlinker '${note}'" has_package_metadata)
if(has_package_metadata)
    add_link_options("SHELL:-Xlinker '${note}'")
endif()
add_link_options(-Wl,--build-id=sha1)

include(CheckPIESupported)
check_pie_supported()
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

set(KALLO_SANITIZE "" CACHE STRING "Sanitizers, as for -fsanitize= (empty: none)")
option(KALLO_COVERAGE "Instrument for gcov" OFF)
if(KALLO_SANITIZE)
    add_compile_options(-fsanitize=${KALLO_SANITIZE} -fno-omit-frame-pointer
                        -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${KALLO_SANITIZE})
endif()
if(KALLO_SANITIZE MATCHES address AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    add_link_options(-static-libasan)
    add_library(sanitized_fork INTERFACE)
    target_sources(sanitized_fork INTERFACE ${CMAKE_SOURCE_DIR}/cmake/sanitizedFork.cpp)
    link_libraries(sanitized_fork)  # of every program
endif()
if(KALLO_COVERAGE)
    add_compile_options(--coverage -fprofile-update=atomic)
    add_link_options(--coverage)
endif()
if(KALLO_SANITIZE OR KALLO_COVERAGE)
    # The instrumented runtimes report from their exit handlers; see agent/crashReport.cpp.
    add_compile_definitions(KALLO_INSTRUMENTED)
else()
    include(CheckCXXCompilerFlag)
    foreach(flag -fstack-protector-strong -fstack-clash-protection -fcf-protection)
        string(MAKE_C_IDENTIFIER "has${flag}" known)
        check_cxx_compiler_flag(${flag} ${known})
        if(${known})
            add_compile_options(${flag})
        endif()
    endforeach()
    add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE>
                        $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
    add_link_options(-Wl,-z,relro,-z,now -Wl,--as-needed)
endif()
