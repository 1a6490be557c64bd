set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_CXX_COMPILER i686-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER i686-w64-mingw32-windres)
# Doubles in their own width, as everywhere else; callers of 32-bit code keep the stack at four bytes only.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
