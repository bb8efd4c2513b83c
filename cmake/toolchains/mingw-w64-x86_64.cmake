# Cross build for 64-bit Windows with Debian's MinGW-w64 (posix thread model).
# The runtime libraries are linked statically, so the DLLs and programs import
# only the system's own DLLs. Test programs run through Wine.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

set(KELP_MINGW_TRIPLE x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${KELP_MINGW_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${KELP_MINGW_TRIPLE}-g++-posix)
set(CMAKE_RC_COMPILER ${KELP_MINGW_TRIPLE}-windres)

set(CMAKE_FIND_ROOT_PATH /usr/${KELP_MINGW_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(KELP_MINGW_STATIC_RUNTIME "-static")
set(CMAKE_EXE_LINKER_FLAGS_INIT "${KELP_MINGW_STATIC_RUNTIME}")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "${KELP_MINGW_STATIC_RUNTIME}")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "${KELP_MINGW_STATIC_RUNTIME}")

# Wine runs the test programs (and GoogleTest's discovery) in a prefix of the
# build's own, created on the first run (scripts/wine-run).
find_program(KELP_WINE NAMES wine64 wine PATHS /usr/lib/wine)
if(KELP_WINE)
  set(CMAKE_CROSSCOMPILING_EMULATOR ${CMAKE_CURRENT_LIST_DIR}/../../scripts/wine-run ${CMAKE_BINARY_DIR}/wine-prefix)
endif()
