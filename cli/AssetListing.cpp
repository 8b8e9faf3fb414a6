#include "cli/AssetListing.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <algorithm>

#include "cli/AssetDescription.h"
#include "cli/Formatting.h"
#include "cli/Suggestion.h"
#include "cli/Texts.h"

namespace wickerlane::cli {
namespace {

using Align = Table::Align;
using Kind = Table::Kind;

/// What may be shown of an asset. Its name is its key in JSON.
struct Field {
    const char *name;
    const char *heading;
    Align align = Align::left;
    Kind kind = Kind::whole;
    int rank = 1;
    std::string (*text)(const ManagedAsset &asset) = nullptr; ///< For people; null when it is as in JSON.
};

std::string pixels(const ManagedAsset &asset) {
    return pixelsText(asset.record(), "-");
}

constexpr Field allFields[] = {
    {.name = "uuid",
     .heading = "UUID",
     .kind = Kind::uuid,
     .rank = 2,
     .text = [](const ManagedAsset &asset) { return asset.record().uuid; }},
    {.name = "kind",
     .heading = "KIND",
     .rank = 0,
     .text = [](const ManagedAsset &asset) { return std::string(kindText(asset.record())); }},
    {.name = "created",
     .heading = "CREATED",
     .text = [](const ManagedAsset &asset) { return createdText(asset.record()); }},
    {.name = "pixels", .heading = "PIXELS", .align = Align::right, .rank = 0, .text = pixels},
    {.name = "bytes",
     .heading = "SIZE",
     .align = Align::right,
     .rank = 0,
     .text = [](const ManagedAsset &asset) { return sizeText(asset.record().byteSize); }},
    {.name = "name",
     .heading = "NAME",
     .kind = Kind::text,
     .rank = 2,
     .text = [](const ManagedAsset &asset) { return outsideName(asset.record()); }},
    {.name = "format", .heading = "FORMAT"},
    {.name = "width", .heading = "WIDTH", .align = Align::right},
    {.name = "height", .heading = "HEIGHT", .align = Align::right},
    {.name = "orientation", .heading = "ORIENTATION", .align = Align::right},
    {.name = "added",
     .heading = "ADDED",
     .text = [](const ManagedAsset &asset) { return dateText(asset.record().dateAdded); }},
    {.name = "sha256", .heading = "SHA-256", .kind = Kind::text},
    {.name = "url", .heading = "URL", .kind = Kind::text},
    {.name = "objectID", .heading = "OBJECT ID", .kind = Kind::text},
    {.name = "path", .heading = "FILE", .kind = Kind::text},
    {.name = "place", .heading = "PLACE"},
    {.name = "duration", .heading = "SECONDS", .align = Align::right},
    {.name = "camera", .heading = "CAMERA", .kind = Kind::text},
    {.name = "lens", .heading = "LENS", .kind = Kind::text},
    {.name = "exposureSeconds", .heading = "EXPOSURE", .align = Align::right},
    {.name = "aperture", .heading = "APERTURE", .align = Align::right},
    {.name = "isoSpeed", .heading = "ISO", .align = Align::right},
    {.name = "focalLength", .heading = "FOCAL LENGTH", .align = Align::right},
    {.name = "favourite", .heading = "FAVOURITE"},
    {.name = "hidden", .heading = "HIDDEN"},
    {.name = "rating", .heading = "RATING", .align = Align::right},
    {.name = "caption", .heading = "CAPTION", .kind = Kind::text},
    {.name = "keywords", .heading = "KEYWORDS", .kind = Kind::text},
    {.name = "usageIntent", .heading = "USAGE INTENT", .align = Align::right},
    {.name = "sidecar", .heading = "METADATA", .kind = Kind::text},
    {.name = "problem", .heading = "PROBLEM", .kind = Kind::text},
};

constexpr std::size_t usualFields = 6;

/// A value in one line: "47.5,8.25" for a place, "Sea, Sky" for keywords, nothing for none.
std::string textOf(const JSON &value) {
    if (value.is_string())
        return value.get<std::string>();
    if (value.is_null())
        return {};
    if (!value.is_structured())
        return value.dump();
    std::string text;
    for (const JSON &each : value)
        text += (text.empty() ? "" : value.is_array() ? ", " : ",") + textOf(each);
    return text;
}

/// A value as CSV has it: in quotation marks when it must be.
std::string quoted(const std::string &text) {
    if (text.find_first_of(",\"\r\n") == std::string::npos)
        return text;
    std::string result = "\"";
    for (const char each : text)
        result.append(each == '"' ? 2 : 1, each);
    return result + '"';
}

std::vector<Table::Column> columnsOf(const std::vector<std::size_t> &fields) {
    std::vector<Table::Column> columns;
    for (const std::size_t each : fields) {
        const Field &field = allFields[each];
        columns.push_back({field.heading, field.align, field.kind, field.rank});
    }
    return columns;
}

Result<std::vector<std::size_t>> fieldsIn(const std::string &text) {
    std::vector<std::size_t> fields;
    for (std::size_t begin = 0; begin <= text.size();) {
        const std::size_t end = std::min(text.find(',', begin), text.size());
        const std::string name = text.substr(begin, end - begin);
        const auto *found =
            std::ranges::find_if(allFields, [&](const Field &each) { return name == each.name; });
        if (found == std::end(allFields))
            return fail(ProblemKind::invalid,
                        localized("--fields: there is no field '{}'{} There are: {}", name,
                                  didYouMean(name, assetFieldNames()),
                                  fmt::format("{}", fmt::join(assetFieldNames(), ", "))));
        fields.push_back(static_cast<std::size_t>(found - std::begin(allFields)));
        begin = end + 1;
    }
    return fields;
}

} // namespace

std::vector<std::string> assetFieldNames() {
    std::vector<std::string> names;
    for (const Field &each : allFields)
        names.emplace_back(each.name);
    return names;
}

void addListingOptions(const Command &command, AssetListingOptions &options) {
    command
        .addOption("--fields", options.fields,
                   "What to show of each asset, by the names that JSON has, and pixels: uuid,created,camera")
        .typeName("FIELD,...");
    const Option format =
        command
            .addOption(
                "--format", options.format,
                "How: table (default), json, jsonl (an object a line), csv, or ids0 (UUIDs alone, each "
                "ended by a NUL, for `-` of other commands)")
            .oneOf({"table", "json", "jsonl", "csv", "ids0"})
            .typeName("FORMAT");
    command.addFlag("--json", options.json, "Write JSON: --format json").excludes(format);
}

AssetListing::AssetListing(std::string wantedForm, std::vector<std::size_t> wantedFields, bool all)
    : form(std::move(wantedForm)), fields(std::move(wantedFields)), isWhole(all),
      listing(columnsOf(fields), form == "json") {
    if (form != "csv")
        return;
    std::string line;
    for (const std::size_t each : fields)
        line += (line.empty() ? "" : ",") + std::string(allFields[each].name);
    printText(line + "\n");
}

Result<AssetListing> AssetListing::create(const AssetListingOptions &options) {
    std::vector<std::size_t> fields;
    for (std::size_t i = 0; i < usualFields; ++i)
        fields.push_back(i);
    if (!options.fields.empty()) {
        auto chosen = fieldsIn(options.fields);
        if (!chosen)
            return passOn(chosen);
        fields = *std::move(chosen);
    }
    return AssetListing(options.json ? "json" : options.format, std::move(fields), options.fields.empty());
}

JSON AssetListing::describe(const ManagedAsset &asset) const {
    JSON whole = cli::describe(asset);
    if (isWhole && form != "csv")
        return whole;
    whole["pixels"] = pixelsText(asset.record(), "");
    JSON chosen = JSON::object();
    for (const std::size_t each : fields)
        if (const char *name = allFields[each].name; whole.contains(name))
            chosen[name] = whole[name];
    return chosen;
}

void AssetListing::add(const ManagedAsset &asset) {
    if (isJSON()) {
        listing.add(describe(asset));
    } else if (form == "jsonl") {
        printText(describe(asset).dump(-1, ' ', false, JSON::error_handler_t::replace) + "\n");
    } else if (form == "ids0") {
        printText(std::string_view(asset.record().uuid.c_str(), asset.record().uuid.size() + 1));
    } else if (form == "csv") {
        const JSON values = describe(asset);
        std::string line;
        for (std::size_t i = 0; i < fields.size(); ++i) {
            const auto value = values.find(allFields[fields[i]].name);
            line += (i == 0 ? "" : ",") + (value != values.end() ? quoted(textOf(*value)) : "");
        }
        printText(line + "\n");
    } else {
        std::vector<std::string> cells;
        JSON values; // made when it is needed
        for (const std::size_t each : fields) {
            const Field &field = allFields[each];
            if (field.text == nullptr && values.is_null())
                values = cli::describe(asset);
            cells.push_back(field.text != nullptr         ? field.text(asset)
                            : values.contains(field.name) ? textOf(values[field.name])
                                                          : std::string());
        }
        listing.addRow(std::move(cells));
    }
}

void AssetListing::end(std::string_view noteWhenEmpty) {
    if (isJSON() || form == "table")
        listing.end(noteWhenEmpty);
}

} // namespace wickerlane::cli
