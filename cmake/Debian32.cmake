# Builds for the Debian architecture OSTREL_ARCHITECTURE, i386 or armhf, with Debian's cross compiler and against the
# packages that ./dev unpacks into build/sysroot: nothing has to be installed beside the machine's own.
#
# What is built names the loader and the libraries there, so that it runs where it was built: by the kernel itself, or
# by the emulator.
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES OSTREL_ARCHITECTURE)
get_filename_component(CMAKE_SYSROOT ${CMAKE_CURRENT_LIST_DIR}/../build/sysroot/${OSTREL_ARCHITECTURE} ABSOLUTE)

if(OSTREL_ARCHITECTURE STREQUAL "i386")
    set(CMAKE_CXX_COMPILER i686-linux-gnu-g++)
    set(libraries i386-linux-gnu)
    set(loader ld-linux.so.2)
elseif(OSTREL_ARCHITECTURE STREQUAL "armhf")
    set(CMAKE_SYSTEM_NAME Linux) # which says that it is not for this machine
    set(CMAKE_SYSTEM_PROCESSOR armv7l)
    set(CMAKE_CXX_COMPILER arm-linux-gnueabihf-g++)
    set(CMAKE_CROSSCOMPILING_EMULATOR qemu-arm)
    set(libraries arm-linux-gnueabihf)
    set(loader ld-linux-armhf.so.3)
else()
    message(FATAL_ERROR "OSTREL_ARCHITECTURE is i386 or armhf")
endif()
if(NOT EXISTS ${CMAKE_SYSROOT}/lib/${loader})
    message(FATAL_ERROR "${CMAKE_SYSROOT} is not there; cmake/sysroot ${OSTREL_ARCHITECTURE} ${CMAKE_SYSROOT} makes it")
endif()
find_program(OSTREL_COMPILER ${CMAKE_CXX_COMPILER})
if(NOT OSTREL_COMPILER)
    string(REGEX REPLACE "(.*)-g\\+\\+$" "g++-\\1" package ${CMAKE_CXX_COMPILER})
    message(FATAL_ERROR "${CMAKE_CXX_COMPILER} is missing; as root: apt-get install ${package}")
endif()

# As paths that are handed on to what libraries need themselves; but who has some of its own is handed no others.
set(paths "-Wl,--disable-new-dtags")
string(APPEND paths " -Wl,-rpath,${CMAKE_SYSROOT}/lib/${libraries}:${CMAKE_SYSROOT}/usr/lib/${libraries}")
set(CMAKE_EXE_LINKER_FLAGS_INIT "-Wl,--dynamic-linker=${CMAKE_SYSROOT}/lib/${loader} ${paths}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${paths}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${paths}")

set(CMAKE_FIND_ROOT_PATH ${CMAKE_SYSROOT})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
