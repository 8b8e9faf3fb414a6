// What applications ask of a library: which assets, in which order, a page at a time.
#ifndef WICKERLANE_MODEL_ASSETQUERY_H
#define WICKERLANE_MODEL_ASSETQUERY_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "wickerlane/model/AssetFields.h"
#include "wickerlane/model/ManagedAsset.h"

namespace wickerlane {

/// By what assets are ordered; those that are equal in it by their age in the library. The numbers travel in
/// requests.
enum class AssetOrder : std::uint8_t {
    date = 0,  ///< That people read: what the camera's clock showed.
    added = 1, ///< When they came into the library.
    size = 2,  ///< Of the original, in bytes.
    name = 3,  ///< The original name; the case of ASCII letters does not count.
};

/// Which assets are asked for: those to which all that is set applies. Dates are what the camera's clock
/// showed, in seconds since 2001-01-01 00:00:00 as if it were UTC.
struct AssetFilter {
    /// One asset by any of its names: its UUID or a beginning of it of at least four characters, its URL, the
    /// URI of its object ID. Several assets may have one beginning.
    std::optional<std::string> identity{};
    /// Any of these, by their UUIDs: at most 10,000.
    std::optional<std::vector<std::string>> uuids{};
    std::optional<AssetKind> kind{};
    std::optional<double> from{};  ///< Not before.
    std::optional<double> until{}; ///< Before.
    /// Degrees. A west that is larger than the east spans the date line.
    std::optional<double> south{}, west{}, north{}, east{}; ///< All four or none.
    /// A centre in degrees, and how far from it at most, in meters: all three or none.
    std::optional<double> nearLatitude{}, nearLongitude{}, radius{};
    std::optional<std::string> album{};   ///< By its UUID.
    std::optional<std::int64_t> moment{}; ///< By its primary key.
    std::optional<std::string> name{};    ///< The original name; `*` and `?` stand for other characters.
    /// Words, each of which the original name, the caption, a keyword, the camera or the title of an album
    /// has.
    std::optional<std::string> text{};
    std::optional<std::string> format{}; ///< Media type: "image/jpeg".
    std::optional<std::string> camera{}; ///< As AssetRecord has it.
    std::optional<bool> isFavourite{};
    std::optional<bool> isHidden{};          ///< Hidden assets are among the others unless it is false.
    std::optional<std::int64_t> minRating{}; ///< 1 to 5.
    std::optional<bool> isEdited{};          ///< Whether it has an edited rendition.
    std::optional<bool> hasProblem{};        ///< Whether something kept it from being decoded.
    std::optional<std::uint64_t> minBytes{}; ///< Of the original.
    std::optional<std::uint64_t> maxBytes{};
};

/// A page of assets.
struct AssetQuery {
    AssetFilter filter{};
    AssetOrder order = AssetOrder::date;
    bool isDescending = false;
    /// At most 10,000.
    std::size_t limit = 500;
    /// Where the page begins: the `next` of the page before, of the same filter and order. Empty: at the
    /// start.
    std::string cursor{};
    /// What is wanted of each asset. The others are as in an empty AssetRecord.
    AssetFields fields = AssetFields::all;
};

/// What an AssetQuery gives. No asset that is there all the time comes twice or is passed over in pages that
/// follow each other, even while assets come and go.
struct AssetPage {
    std::vector<Ref<ManagedAsset>> assets;
    std::string next; ///< The cursor of the page that follows; empty when this is the last.
};

/// Into what a library is divided for an overview.
enum class SectionUnit : std::uint8_t { day = 0, month = 1 };

/// Assets of one day or month, in the order of date.
struct AssetSection {
    double start = 0; ///< Of the day or month, a date as in AssetFilter.
    /// The shape of each picture: its width divided by its height, in thousandths, at most 65535; 0 when
    /// unknown. As many as there are assets.
    std::vector<std::uint16_t> shapes;
};

} // namespace wickerlane

#endif
