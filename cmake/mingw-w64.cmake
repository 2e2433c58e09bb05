# Cross-compiling for 64-bit Windows with Debian's mingw-w64 (package
# g++-mingw-w64-x86-64). The posix-threads variant of the compiler is used
# because the library relies on std::mutex, which the win32-threads variant
# of older compilers lacks.
#
#   cmake -S . -B build/windows -DCMAKE_TOOLCHAIN_FILE=cmake/mingw-w64.cmake
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(N4FILE_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${N4FILE_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${N4FILE_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${N4FILE_MINGW_TRIPLE}-windres)

# Look for headers and libraries only in the cross environment; programs
# (pkg-config and the like) come from the build machine.
set(CMAKE_FIND_ROOT_PATH /usr/${N4FILE_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
