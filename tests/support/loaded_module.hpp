// A shared library that a test loads by its name, on every system.
#pragma once

#ifdef _WIN32
// Declared here, since <windows.h> has macros of the names that tests use.
extern "C" __declspec(dllimport) void* __stdcall LoadLibraryA(const char*);
extern "C" __declspec(dllimport) void* __stdcall GetProcAddress(void*, const char*);
#else
#include <dlfcn.h>
#endif

namespace vorin::test {

/// The library `name`; null where it can't be loaded. It stays loaded.
inline void* loadModule(const char* name) {
#ifdef _WIN32
  return LoadLibraryA(name);
#else
  return dlopen(name, RTLD_NOW | RTLD_LOCAL);
#endif
}

/// Where `name` is in `module`; null where it is not.
inline void* addressIn(void* module, const char* name) {
#ifdef _WIN32
  return GetProcAddress(module, name);
#else
  return dlsym(module, name);
#endif
}

}  // namespace vorin::test
