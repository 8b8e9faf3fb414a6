// Numbers of photos and videos in words.
#ifndef WICKERLANE_UTIL_TEXTS_JXCOUNTDESCRIPTION_H
#define WICKERLANE_UTIL_TEXTS_JXCOUNTDESCRIPTION_H

#include <cstdint>

#include "wickerlane/platform/locale/NumberFormatter.h"

// May be called from any thread. Texts are those of this process's language; they are borrowed.

/// How many there are, such as "1,234 photos and 1 video": without the kinds of which there are none, or that
/// there is nothing at all. With `conjunction` it is a phrase, else a list with commas; without `keepCase` it
/// is in lower case as a whole.
WL_EXTERN_C wickerlane::String *JXLocalizedCountDescription(std::uint64_t photoCount,
                                                            std::uint64_t videoCount,
                                                            std::uint64_t otherCount, bool keepCase,
                                                            bool conjunction);

/// What writes counts: decimal, in the locale that was current at the first call; reads exactly. Lives as
/// long as the process.
WL_EXTERN_C wickerlane::NumberFormatter *JXSharedCountFormatter();

#endif
