// Which localizations serve a person best.
#ifndef WICKERLANE_PLATFORM_BUNDLE_LOCALIZATIONMATCHER_H
#define WICKERLANE_PLATFORM_BUNDLE_LOCALIZATIONMATCHER_H

#include <span>
#include <string>
#include <vector>

#include "wickerlane/platform/object/Export.h"

namespace wickerlane {

/// Picks, of the localizations that there are, those that serve the preferred languages, the best first: for
/// each language the one that its reader would choose, followed by the plain form of that one ("pt" behind
/// "pt-PT"). Knows which languages, scripts and regions stand in for each other: a reader of en-AU gets
/// en-GB rather than en, one of zh-HK zh-Hant rather than zh. Empty when nothing serves. Names may be spelt
/// with hyphens or underscores; what is no name of a language is passed over. Thread-safe.
[[nodiscard]] WL_EXPORT std::vector<std::string>
matchingLocalizations(std::span<const std::string> available, std::span<const std::string> preferred);

} // namespace wickerlane

#endif
