#include "cli/AssetDescription.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cmath>
#include <ctime>
#include <nlohmann/json.hpp>

#include "cli/Formatting.h"
#include "cli/SharedJSON.h"
#include "wickerlane/model/AssetDetails.h"
#include "wickerlane/platform/object/Hexadecimal.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/store/LibraryPaths.h"

namespace wickerlane::cli {

std::string outsideName(const AssetRecord &asset) {
    const std::string &name = asset.originalFilename;
    const bool usable = !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
                        name.find('\0') == std::string::npos && name.size() <= 200;
    return usable ? name : asset.filename;
}

const char *kindText(const AssetRecord &asset) {
    return asset.kind == AssetKind::photo ? "photo" : "video";
}

std::string pixelsText(const AssetRecord &asset, const char *unknown) {
    return asset.width > 0 ? fmt::format("{}x{}", asset.width, asset.height) : unknown;
}

std::string sidecarPath(const AssetRecord &asset) {
    std::string path = store::LibraryPaths().sidecar(asset.uuid);
    return access(path.c_str(), F_OK) == 0 ? path : std::string();
}

std::string createdText(const AssetRecord &asset) {
    return clockText(asset.shownDate());
}

double captureTime(const AssetRecord &asset) {
    const double seconds = asset.dateCreated + Date::secondsFrom1970To2001;
    if (asset.zoneMinutes || !asset.clockDate)
        return seconds;
    const double whole = std::floor(seconds);
    const auto clock = static_cast<std::time_t>(whole);
    std::tm parts = {};
    if (gmtime_r(&clock, &parts) == nullptr)
        return seconds;
    parts.tm_isdst = -1;
    return static_cast<double>(std::mktime(&parts)) + (seconds - whole);
}

std::string exposureText(const AssetRecord &asset) {
    std::string text;
    const auto add = [&](const std::string &part) { text.append(text.empty() ? "" : ", ").append(part); };
    // As cameras show it.
    if (const auto &seconds = asset.exposureSeconds; seconds && *seconds > 0 && *seconds < 0.3)
        add(fmt::format("1/{:.0f} s", 1 / *seconds));
    else if (seconds)
        add(fmt::format("{:.3g} s", *seconds));
    if (asset.aperture)
        add(fmt::format("f/{:.3g}", *asset.aperture));
    if (asset.isoSpeed)
        add(fmt::format("ISO {}", *asset.isoSpeed));
    if (asset.focalLength)
        add(fmt::format("{:.4g} mm", *asset.focalLength));
    return text;
}

JSON describe(const ManagedAsset &asset) {
    const AssetRecord &record = asset.record();
    JSON result = {
        {"uuid", record.uuid},
        {"kind", kindText(record)},
        {"name", outsideName(record)},
        {"format", record.format},
        {"orientation", record.orientation},
        {"created", isoClockText(record.shownDate(), record.zoneMinutes)},
        {"added", isoDateText(record.dateAdded)},
        {"bytes", record.byteSize},
        {"sha256", hexadecimal(record.sha256)},
        {"url", std::string(asset.assetURL()->absoluteString()->utf8())},
        {"objectID", std::string(asset.objectID()->uriRepresentation()->absoluteString()->utf8())},
        {"path", asset.fileURL()->fileSystemPath()},
    };
    if (record.width > 0) {
        result["width"] = record.width;
        result["height"] = record.height;
    }
    if (record.latitude && record.longitude)
        result["place"] = describePlace(*record.latitude, *record.longitude);
    if (record.duration > 0)
        result["duration"] = record.duration;
    if (!record.camera.empty())
        result["camera"] = record.camera;
    if (!record.lens.empty())
        result["lens"] = record.lens;
    if (record.exposureSeconds)
        result["exposureSeconds"] = *record.exposureSeconds;
    if (record.aperture)
        result["aperture"] = *record.aperture;
    if (record.isoSpeed)
        result["isoSpeed"] = *record.isoSpeed;
    if (record.focalLength)
        result["focalLength"] = *record.focalLength;
    if (record.favourite)
        result["favourite"] = true;
    if (record.hidden)
        result["hidden"] = true;
    if (record.rating > 0)
        result["rating"] = record.rating;
    if (!record.caption.empty())
        result["caption"] = record.caption;
    if (!record.keywords.empty())
        result["keywords"] = keywordsIn(record.keywords);
    if (record.externalUsageIntent != 0)
        result["usageIntent"] = record.externalUsageIntent;
    if (const std::string sidecar = sidecarPath(record); !sidecar.empty())
        result["sidecar"] = sidecar;
    if (!record.problem.empty())
        result["problem"] = record.problem;
    return result;
}

} // namespace wickerlane::cli
