# Cross build for 64-bit Windows with Debian's mingw-w64 (posix threads).
# The -posix names are spelled out so that an installed win32-threads
# compiler can never be picked up instead.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(TARV_MINGW_PREFIX x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${TARV_MINGW_PREFIX}-gcc-posix)
set(CMAKE_CXX_COMPILER ${TARV_MINGW_PREFIX}-g++-posix)
set(CMAKE_RC_COMPILER ${TARV_MINGW_PREFIX}-windres)
# Only the mingw tree is searched for libraries and headers: the build
# machine's own /usr/include would break every compile.
set(CMAKE_FIND_ROOT_PATH /usr/${TARV_MINGW_PREFIX})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# ctest and gtest_discover_tests start the programs through Wine.
set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/wine-run.sh)
