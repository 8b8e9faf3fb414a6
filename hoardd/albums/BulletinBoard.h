// The bulletin board: what has happened in shared albums.
#ifndef HOARDD_ALBUMS_BULLETINBOARD_H
#define HOARDD_ALBUMS_BULLETINBOARD_H

#include "hoardd/library/Library.h"
#include "wickerlane/platform/object/Array.h"

namespace wickerlane::hoardd {

/// BulletinBoard are kept in the store. What is added to one album within ten minutes is gathered in one;
/// after 30 days they expire.
class BulletinBoard {
public:
    explicit BulletinBoard(Library &opened) : library(opened) {}

    /// Makes a bulletin of an asset that somebody added to a shared album, in the caller's transaction. False
    /// on failure.
    [[nodiscard]] static bool addAsset(sqlite::Database &database, const store::AssetRecord &asset,
                                       const store::AlbumRecord &album, std::string_view sender, double date);
    /// Posts that bulletins and badge have changed.
    static void tellOfChange();

    /// The dictionaries of all bulletins, newest first, borrowed from the release scope. Null, with the
    /// reason, on failure.
    [[nodiscard]] Array *current(std::string &problem) const;
    /// How many there are; nothing on failure.
    [[nodiscard]] std::optional<std::int64_t> badgeCount() const;
    /// The small thumbnail of a bulletin's newest asset; null when there is none.
    [[nodiscard]] Ref<Data> thumbnail(std::uint64_t recordID) const;
    /// Removes all up to a record. An empty text on success.
    [[nodiscard]] std::string clear(std::uint64_t lastRecordID) const;

private:
    Library &library;
};

} // namespace wickerlane::hoardd

#endif
