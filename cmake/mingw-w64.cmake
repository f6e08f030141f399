# Cross-building for 64-bit Windows with Debian's mingw-w64. The posix flavour of the compiler is the
# one whose standard library has threads, mutexes and condition variables.

set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(CMAKE_SYSTEM_VERSION 10.0)

set(ksp_triplet x86_64-w64-mingw32)
set(CMAKE_C_COMPILER ${ksp_triplet}-gcc-posix)  # GoogleTest asks for one
set(CMAKE_CXX_COMPILER ${ksp_triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${ksp_triplet}-windres)
set(CMAKE_AR ${ksp_triplet}-gcc-ar-posix CACHE FILEPATH "Archiver")
set(CMAKE_RANLIB ${ksp_triplet}-gcc-ranlib-posix CACHE FILEPATH "Archive indexer")
set(CMAKE_OBJCOPY ${ksp_triplet}-objcopy CACHE FILEPATH "Copies and splits object files")
set(CMAKE_OBJDUMP ${ksp_triplet}-objdump CACHE FILEPATH "Shows object files")
set(CMAKE_STRIP ${ksp_triplet}-strip CACHE FILEPATH "Drops symbols")

set(CMAKE_FIND_ROOT_PATH /usr/${ksp_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# Unoptimised objects full of templates hold more sections than the plain object format counts.
set(CMAKE_CXX_FLAGS_INIT -Wa,-mbig-obj)

set(CMAKE_CROSSCOMPILING_EMULATOR "${CMAKE_CURRENT_LIST_DIR}/wine-run")
