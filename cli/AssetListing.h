// Lists of assets, with the fields and in the form that are asked for.
#ifndef CLI_ASSETLISTING_H
#define CLI_ASSETLISTING_H

#include <optional>
#include <string>
#include <vector>

#include "cli/CommandLine.h"
#include "cli/Table.h"
#include "wickerlane/model/ManagedAsset.h"

namespace wickerlane::cli {

/// How a list of assets is written.
struct AssetListingOptions {
    std::string fields; ///< Separated by commas; empty for the usual ones.
    std::string format = "table";
    bool json = false;
};

/// --fields, --format and --json.
void addListingOptions(const Command &command, AssetListingOptions &options);

/// The names that --fields takes: those that assets have in JSON, and "pixels".
[[nodiscard]] std::vector<std::string> assetFieldNames();

/// A list of assets, written as it grows.
class AssetListing {
public:
    /// Fails with a field that is none.
    static Result<AssetListing> create(const AssetListingOptions &options);

    [[nodiscard]] bool isJSON() const { return form == "json"; }
    void add(const ManagedAsset &asset);
    /// What JSON has of an asset.
    [[nodiscard]] JSON describe(const ManagedAsset &asset) const;
    /// Writes the rest. A table that had no rows is replaced by a note.
    void end(std::string_view noteWhenEmpty);

private:
    AssetListing(std::string wantedForm, std::vector<std::size_t> wantedFields, bool all);

    std::string form;
    std::vector<std::size_t> fields; ///< By their places in the list of all.
    bool isWhole;                    ///< No fields were chosen: JSON has all.
    Listing listing;
};

} // namespace wickerlane::cli

#endif
