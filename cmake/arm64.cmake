# Builds for 64-bit ARM with Debian's cross compiler and the packages that scripts/arm64_root has unpacked. What the build or
# ctest runs is run by qemu's user mode.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)

get_filename_component(arm64_root ${CMAKE_CURRENT_LIST_DIR}/../build/arm64-root ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${arm64_root})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
foreach(what IN ITEMS LIBRARY INCLUDE PACKAGE)
    set(CMAKE_FIND_ROOT_PATH_MODE_${what} ONLY)
endforeach()
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${arm64_root})
set(ENV{PKG_CONFIG_LIBDIR} ${arm64_root}/usr/lib/aarch64-linux-gnu/pkgconfig:${arm64_root}/usr/share/pkgconfig)

# Headers that packages expect in the system's folder, and the libraries of libraries.
foreach(folder IN ITEMS usr/include usr/include/aarch64-linux-gnu)
    string(APPEND CMAKE_C_FLAGS_INIT " -isystem ${arm64_root}/${folder}")
    string(APPEND CMAKE_CXX_FLAGS_INIT " -isystem ${arm64_root}/${folder}")
endforeach()
foreach(folder IN ITEMS usr/lib/aarch64-linux-gnu lib/aarch64-linux-gnu)
    string(APPEND CMAKE_EXE_LINKER_FLAGS_INIT " -Wl,-rpath-link,${arm64_root}/${folder}")
    string(APPEND CMAKE_SHARED_LINKER_FLAGS_INIT " -Wl,-rpath-link,${arm64_root}/${folder}")
endforeach()

set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${arm64_root})
