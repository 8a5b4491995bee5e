/* The toolkit of Vorin for programs in C and C++ and whatever can call C: libvorin_toolkit.so.
 * It has no state of the process, so that any number of threads may call it at once. */
#ifndef VORIN_TOOLKIT_H
#define VORIN_TOOLKIT_H

#if defined(VORIN_BUILDING_TOOLKIT)
#define VORIN_TOOLKIT_API __attribute__((visibility("default")))
#else
#define VORIN_TOOLKIT_API
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* The version of the library, "MAJOR.MINOR.PATCH": a static text, never to be freed. A program
 * built for one major version works with every library of that version. */
VORIN_TOOLKIT_API const char* vorin_toolkit_version(void);

#ifdef __cplusplus
}
#endif

#endif
