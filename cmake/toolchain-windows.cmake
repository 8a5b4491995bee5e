# What the toolchain files of both Windows machines share. They set VORIN_WINDOWS_MACHINE and
# VORIN_WINDOWS_FLAGS.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${VORIN_WINDOWS_MACHINE})
set(_triplet ${VORIN_WINDOWS_MACHINE}-w64-mingw32)

# The compilers whose threads are those of POSIX: std::thread needs them.
set(CMAKE_C_COMPILER ${_triplet}-gcc-posix)
set(CMAKE_CXX_COMPILER ${_triplet}-g++-posix)
set(CMAKE_RC_COMPILER ${_triplet}-windres)
set(CMAKE_C_FLAGS_INIT "${VORIN_WINDOWS_FLAGS}")
set(CMAKE_CXX_FLAGS_INIT "${VORIN_WINDOWS_FLAGS}")
# The run-time libraries of the compiler become part of what is built: hosts have none of them.
# Symbols of the compiler stay out (-s).
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static -s")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static -s")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static -s")  # the reference implementation of the tests

set(CMAKE_FIND_ROOT_PATH /usr/${_triplet})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
