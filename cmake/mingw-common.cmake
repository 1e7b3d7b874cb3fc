# What both Windows toolchains share; CVIMP_MINGW_TRIPLET and CMAKE_SYSTEM_PROCESSOR are set by the caller.
set(CMAKE_C_COMPILER ${CVIMP_MINGW_TRIPLET}-gcc-posix)
set(CMAKE_CXX_COMPILER ${CVIMP_MINGW_TRIPLET}-g++-posix)
set(CMAKE_RC_COMPILER ${CVIMP_MINGW_TRIPLET}-windres)

get_filename_component(CVIMP_WINDOWS_DEPS "${CMAKE_CURRENT_LIST_DIR}/../build/windows-deps/${CMAKE_SYSTEM_PROCESSOR}"
                       ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH /usr/${CVIMP_MINGW_TRIPLET} ${CVIMP_WINDOWS_DEPS})
set(CMAKE_PREFIX_PATH ${CVIMP_WINDOWS_DEPS})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Every program and library stands alone: only system DLLs are imported.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -static-libgcc -static-libstdc++")
# Wide-character Windows APIs, and nothing older than Windows 7.
add_compile_definitions(UNICODE _UNICODE _WIN32_WINNT=0x0601 WINVER=0x0601)

# Tests run under Wine: the 64-bit loader for x86_64, the 32-bit one for i686.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  set(CVIMP_WINE /usr/lib/wine/wine64 CACHE STRING "Runs a Windows program of this build")
else()
  set(CVIMP_WINE /usr/lib/wine/wine CACHE STRING "Runs a Windows program of this build")
endif()
set(CMAKE_CROSSCOMPILING_EMULATOR ${CVIMP_WINE})

# GCC 12 warns of an overlapping copy inside std::string's operator+ at -O3 (a false positive of its
# restrict analysis in the library's own code); the native build at -O2 does not see it.
add_compile_options(-Wno-restrict)
