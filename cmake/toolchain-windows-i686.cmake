# Windows of 32 bit by mingw-w64 (Debian: g++-mingw-w64-i686-posix); see docs/windows.md.
set(VORIN_WINDOWS_MACHINE i686)
# Arithmetic in the precision of its type, as on other machines; x87 registers would keep more.
# Hosts align the stack to 4 bytes only, so every function aligns its own.
set(VORIN_WINDOWS_FLAGS "-msse2 -mfpmath=sse -mstackrealign")
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-windows.cmake")
