# Cross-builds for 64-bit Windows with mingw-w64 (posix threads), and runs what was built under Wine.
# The sysroot comes from cmake/windows/prepare-sysroot.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

# For Windows, GCC takes an inline function to be the one in its own file, and keeps values in registers that it does not
# use. The linker may take the copy from another file, compiled differently, which uses them.
set(CMAKE_CXX_FLAGS_INIT -fno-ipa-ra)

set(PLATE_MEND_WINDOWS_SYSROOT "${CMAKE_CURRENT_LIST_DIR}/../../build/windows-sysroot"
    CACHE PATH "Libraries and headers for Windows")
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PLATE_MEND_WINDOWS_SYSROOT)
set(CMAKE_FIND_ROOT_PATH "${PLATE_MEND_WINDOWS_SYSROOT}" /usr/x86_64-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The compiler's own libraries are linked into each DLL and program: nothing but Windows is imported.
set(CMAKE_EXE_LINKER_FLAGS_INIT -static)
set(CMAKE_SHARED_LINKER_FLAGS_INIT -static)
set(CMAKE_MODULE_LINKER_FLAGS_INIT -static)

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/../windows/under-wine")
