// What bulletins say, in the language that the user prefers.
#ifndef HOARDD_ALBUMS_BULLETINTEXTS_H
#define HOARDD_ALBUMS_BULLETINTEXTS_H

#include <cstddef>
#include <string_view>

#include "wickerlane/platform/object/String.h"

namespace wickerlane::hoardd {

/// A text of the services' string table, with a letter for each value that it takes.
struct BulletinText {
    const char *key;
    const char *values;
};

// Somebody, and the album; with a number between them where there are several.
inline constexpr BulletinText addedPhoto{"BULLETIN_ADDED_PHOTO", "@@"};
inline constexpr BulletinText addedVideo{"BULLETIN_ADDED_VIDEO", "@@"};
inline constexpr BulletinText addedPhotos{"BULLETIN_ADDED_PHOTOS", "@@@"};
inline constexpr BulletinText addedVideos{"BULLETIN_ADDED_VIDEOS", "@@@"};
inline constexpr BulletinText addedItems{"BULLETIN_ADDED_ITEMS", "@@@"};
// The somebody of these texts.
inline constexpr BulletinText knownName{"BULLETIN_KNOWN_NAME", "@"};
inline constexpr BulletinText unknownName{"BULLETIN_UNKNOWN_NAME", ""};
// Of originals that are damaged, missing or not what was saved: one of them, and a number of them.
inline constexpr BulletinText lostOriginal{"BULLETIN_LOST_ORIGINAL", ""};
inline constexpr BulletinText lostOriginals{"BULLETIN_LOST_ORIGINALS", "@"};
// The title of bulletins that are about no album.
inline constexpr BulletinText libraryName{"BULLETIN_LIBRARY", ""};
// The tag of the language of these texts.
inline constexpr BulletinText language{"BULLETIN_LANGUAGE", ""};

/// All of them: every language has these and no others.
inline constexpr const BulletinText *bulletinTexts[] = {
    &addedPhoto,  &addedVideo,   &addedPhotos,   &addedVideos, &addedItems, &knownName,
    &unknownName, &lostOriginal, &lostOriginals, &libraryName, &language};

struct AddedAssets {
    std::size_t photos = 0;
    std::size_t videos = 0;
};

/// That somebody, whose name may be empty, has added assets to an album. Borrowed.
[[nodiscard]] String *assetsAddedText(const AddedAssets &added, std::string_view sender,
                                      std::string_view album);

/// How many originals are damaged, missing or not what was saved. Borrowed.
[[nodiscard]] String *originalsLostText(std::size_t count);
/// The title of such a bulletin. Borrowed.
[[nodiscard]] String *libraryTitle();

} // namespace wickerlane::hoardd

#endif
