# Warnings, hardening and instrumentation, the same for every room.

add_compile_options(-Wall -Wextra -Wpedantic)
option(KALLO_WERROR "Treat warnings as errors" OFF)
if(KALLO_WERROR)
    add_compile_options(-Werror)
endif()

# A programming error (a closed socket, a null buffer) must stop the process in every build, so
# NDEBUG, which would remove the assertions, is not among the flags of any build type.
set(CMAKE_CXX_FLAGS_RELEASE "-O2")
# The build type of the sanitizers, which take most of their time to compile.
set(CMAKE_CXX_FLAGS_RELWITHDEBINFO "-O1 -g1")

# Assertions name their file; the folder that the tree was built in is nobody's business.
add_compile_options(-fmacro-prefix-map=${CMAKE_SOURCE_DIR}/=
                    -fmacro-prefix-map=${CMAKE_BINARY_DIR}/rooms/=)

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
