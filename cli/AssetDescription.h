// What is shown of an asset.
#ifndef CLI_ASSETDESCRIPTION_H
#define CLI_ASSETDESCRIPTION_H

#include "cli/Output.h"
#include "wickerlane/model/ManagedAsset.h"

namespace wickerlane::cli {

/// The asset's name outside the library: the one its sender gave it, else the library's own. One path
/// component, never empty.
std::string outsideName(const AssetRecord &asset);

/// "photo" or "video".
const char *kindText(const AssetRecord &asset);
/// "640x480", or `unknown`.
std::string pixelsText(const AssetRecord &asset, const char *unknown);

/// The path of the file of metadata that came with the asset; empty if none did.
std::string sidecarPath(const AssetRecord &asset);

/// "2026-11-24 23:40": what the camera's clock showed.
std::string createdText(const AssetRecord &asset);

/// When the asset was taken, in seconds since 1970. If the zone of its clock is not known, it counts as the
/// one of this machine.
double captureTime(const AssetRecord &asset);

/// "1/125 s, f/2.8, ISO 400, 50 mm", as far as it is known.
std::string exposureText(const AssetRecord &asset);

/// All that is known of an asset. What is not known or not set is left out.
JSON describe(const ManagedAsset &asset);

} // namespace wickerlane::cli

#endif
