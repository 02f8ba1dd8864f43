# Builds for ARM64 on a Debian machine of another processor (preset arm64, ./dev package --arch
# arm64): Debian's cross compiler, its libraries of that architecture beside the machine's own, and
# QEMU to run what has been built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(triplet aarch64-linux-gnu)
foreach(tool ${triplet}-g++ qemu-aarch64-static)
    find_program(${tool}_path ${tool})
    if(NOT ${tool}_path)
        message(FATAL_ERROR "${tool} not found; ./dev package --arch arm64 installs it")
    endif()
endforeach()
set(CMAKE_C_COMPILER ${triplet}-gcc)
set(CMAKE_CXX_COMPILER ${triplet}-g++)
set(ENV{PKG_CONFIG_LIBDIR} /usr/lib/${triplet}/pkgconfig:/usr/share/pkgconfig)
set(CMAKE_CROSSCOMPILING_EMULATOR ${qemu-aarch64-static_path})
