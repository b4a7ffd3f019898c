# SPDX-License-Identifier: Apache-2.0
# Toolchain of the Windows program: Debian's mingw-w64 with posix threads, which std::thread needs.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${triplet}-windres)

# The folders of a Qt, a libcurl and a libzip that were built with this file.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES PRACTORIUM_QT PRACTORIUM_CURL PRACTORIUM_ZIP)
set(CMAKE_FIND_ROOT_PATH /usr/${triplet} ${PRACTORIUM_QT} ${PRACTORIUM_CURL} ${PRACTORIUM_ZIP})
list(APPEND CMAKE_PREFIX_PATH ${PRACTORIUM_QT} ${PRACTORIUM_CURL} ${PRACTORIUM_ZIP})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
