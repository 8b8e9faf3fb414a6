// Numbers of photos and videos in words.
#ifndef WICKERLANE_UTIL_TEXTS_JXCOUNTDESCRIPTION_H
#define WICKERLANE_UTIL_TEXTS_JXCOUNTDESCRIPTION_H

#include <cstdint>

#include "wickerlane/platform/locale/NumberFormatter.h"

// May be called from any thread. Texts are those of this process's language; they are borrowed.

/// The counts in words, such as "1,234 photos and 1 video". Kinds with a count of 0 are left out; when all
/// are 0 the text says so. With `conjunction` it is a phrase, else a list with commas. Without `keepCase` all
/// of it is in lower case.
WL_EXTERN_C wickerlane::String *JXLocalizedCountDescription(std::uint64_t photoCount,
                                                            std::uint64_t videoCount,
                                                            std::uint64_t otherCount, bool keepCase,
                                                            bool conjunction);

/// The formatter of counts: decimal, in the locale that was current at the first call; it parses numbers
/// exactly. Never destroyed.
WL_EXTERN_C wickerlane::NumberFormatter *JXSharedCountFormatter();

#endif
