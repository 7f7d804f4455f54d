# Windows cross build with Debian's mingw-w64, shared by both bitnesses. The "-posix" compilers are
# named in full: they are the ones with C++ threads, whichever variant the machine's default is.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_C_COMPILER ${CRONVEL_MINGW}-gcc-posix)
set(CMAKE_CXX_COMPILER ${CRONVEL_MINGW}-g++-posix)
set(CMAKE_RC_COMPILER ${CRONVEL_MINGW}-windres)
# Look for libraries and headers only in the cross root, for programs only on this machine.
set(CMAKE_FIND_ROOT_PATH /usr/${CRONVEL_MINGW})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
# The newest debug format that Wine's debugger reads.
set(CMAKE_CXX_FLAGS_INIT -gdwarf-4)
