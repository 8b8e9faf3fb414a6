// Which sanitizers this is built with. GCC and clang say it in different ways.
#ifndef WICKERLANE_PLATFORM_PROCESS_SANITIZERS_H
#define WICKERLANE_PLATFORM_PROCESS_SANITIZERS_H

#ifdef __has_feature
#define WL_SANITIZER_FEATURE(name) __has_feature(name)
#else
#define WL_SANITIZER_FEATURE(name) 0
#endif

#if defined(__SANITIZE_ADDRESS__) || WL_SANITIZER_FEATURE(address_sanitizer)
#define WL_ADDRESS_SANITIZER 1
#else
#define WL_ADDRESS_SANITIZER 0
#endif

#if defined(__SANITIZE_THREAD__) || WL_SANITIZER_FEATURE(thread_sanitizer)
#define WL_THREAD_SANITIZER 1
#else
#define WL_THREAD_SANITIZER 0
#endif

/// Both have allocators and threads of their own, and reserve terabytes of addresses.
#define WL_ANY_SANITIZER (WL_ADDRESS_SANITIZER || WL_THREAD_SANITIZER)

#endif
