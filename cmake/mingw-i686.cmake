# Cross-build for Windows (i686) with Debian's mingw-w64 (the posix thread model, for std::thread).
# Third-party libraries come from build/windows-deps/i686 (scripts/build-windows makes them).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(CVIMP_MINGW_TRIPLET i686-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
