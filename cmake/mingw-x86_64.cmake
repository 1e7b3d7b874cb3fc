# Cross-build for Windows (x86_64) with Debian's mingw-w64 (the posix thread model, for std::thread).
# Third-party libraries come from build/windows-deps/x86_64 (scripts/build-windows makes them).
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CVIMP_MINGW_TRIPLET x86_64-w64-mingw32)
include(${CMAKE_CURRENT_LIST_DIR}/mingw-common.cmake)
