# The program for Windows, built with MinGW-w64 and run with Wine; preset `windows`.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(triple x86_64-w64-mingw32)
# The variant whose run-time library has std::mutex.
set(CMAKE_CXX_COMPILER ${triple}-g++-posix)

set(CMAKE_FIND_ROOT_PATH /usr/${triple})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(ZLIB_USE_STATIC_LIBS ON)

# An .exe that stands alone and has the 8 MiB of stack that Linux gives.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -Wl,--stack,8388608")

# Tests and the sample builder run with Wine, in a drive of their own below the build tree.
find_program(WINE NAMES wine64 wine PATHS /usr/lib/wine)
set(CMAKE_CROSSCOMPILING_EMULATOR
    env LC_ALL=C.UTF-8 WINEDEBUG=-all WINEPREFIX=${CMAKE_BINARY_DIR}/wine ${WINE})
