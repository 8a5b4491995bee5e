// The WebAssembly module is the toolkit's C functions (toolkit/vorin_toolkit.h); the linker takes
// them from its library. CMake asks for a source.
