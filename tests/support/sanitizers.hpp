// Which sanitizers a test is compiled with: g++ tells by macros, clang by __has_feature.
#pragma once

#if defined(__has_feature)
#define VORIN_HAS_FEATURE(feature) __has_feature(feature)
#else
#define VORIN_HAS_FEATURE(feature) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || VORIN_HAS_FEATURE(address_sanitizer)
#define VORIN_UNDER_ADDRESS_SANITIZER 1
#else
#define VORIN_UNDER_ADDRESS_SANITIZER 0
#endif

#if defined(__SANITIZE_THREAD__) || VORIN_HAS_FEATURE(thread_sanitizer)
#define VORIN_UNDER_THREAD_SANITIZER 1
#else
#define VORIN_UNDER_THREAD_SANITIZER 0
#endif
