# Windows of 64 bit by mingw-w64 (Debian: g++-mingw-w64-x86-64-posix); see docs/windows.md.
set(VORIN_WINDOWS_MACHINE x86_64)
# The compiler aligns a stack frame of this platform to 16 bytes at most and yet spills vectors of
# 32 and 64 bytes with moves that fault on any other address (GCC bug 54412). The assembler encodes
# them as the moves that take every address, which cost the same where the address is aligned.
set(VORIN_WINDOWS_FLAGS "-Wa,-muse-unaligned-vector-move")
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-windows.cmake")
