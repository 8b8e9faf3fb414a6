// Marks what libwickerlane.so promises to its users; everything else stays hidden in it.
#ifndef WICKERLANE_PLATFORM_OBJECT_EXPORT_H
#define WICKERLANE_PLATFORM_OBJECT_EXPORT_H

#define WL_EXPORT __attribute__((visibility("default")))

#ifdef __cplusplus
#define WL_EXTERN_C extern "C" WL_EXPORT
#else
#define WL_EXTERN_C extern WL_EXPORT
#endif

#endif
