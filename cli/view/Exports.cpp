#include "cli/view/Exports.h"

#include <archive.h>
#include <archive_entry.h>
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <numeric>
#include <unordered_set>

#include "cli/AssetDescription.h"
#include "cli/Queries.h"
#include "cli/view/Access.h"
#include "cli/view/Answers.h"
#include "cli/view/Parameters.h"
#include "cli/view/Pictures.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::cli::view {
namespace {

using namespace std::chrono_literals;

constexpr std::size_t maxOffers = 8;
constexpr auto offerTime = 10min;
/// Of all offers; several requests name them.
constexpr std::size_t maxAssets = 1'000'000;
/// Assets whose descriptions are held at a time.
constexpr std::size_t assetsOfPart = 200;
constexpr std::size_t blockBytes = std::size_t{64} << 10;

using Archive = std::unique_ptr<archive, decltype([](archive *each) { archive_write_free(each); })>;
using Entry = std::unique_ptr<archive_entry, decltype([](archive_entry *each) { archive_entry_free(each); })>;

/// Writes an archive into an answer. The files are stored as they are: pictures and videos don't get smaller.
class ZipWriter {
public:
    explicit ZipWriter(httplib::DataSink &answer) : sink(answer), zip(archive_write_new()) {
        archive_write_set_format_zip(zip.get());
        archive_write_zip_set_compression_store(zip.get());
        archive_write_set_options(zip.get(), "zip:hdrcharset=UTF-8");
        archive_write_set_bytes_per_block(zip.get(), static_cast<int>(blockBytes));
        archive_write_set_bytes_in_last_block(zip.get(), 1);
        archive_write_open(zip.get(), this, nullptr, write, nullptr);
    }

    /// False when the browser gets no more.
    bool add(const std::string &name, const AssetFile &file, double date) {
        if (!begin(name, file.byteCount, date))
            return false;
        std::vector<char> bytes(blockBytes);
        for (std::uint64_t at = 0; at < file.byteCount;) {
            const ssize_t count = retryInterrupted(
                [&] { return ::pread(file.file.get(), bytes.data(), bytes.size(), static_cast<off_t>(at)); });
            if (count <= 0 || !put({bytes.data(), static_cast<std::size_t>(count)}))
                return false; // half a file: the download fails rather than to seem whole
            at += static_cast<std::uint64_t>(count);
        }
        return true;
    }
    bool add(const std::string &name, std::string_view text) {
        return begin(name, text.size(), 0) && put(text);
    }
    bool end() { return archive_write_close(zip.get()) == ARCHIVE_OK; }

private:
    static la_ssize_t write(archive *, void *writer, const void *bytes, std::size_t count) {
        auto &self = *static_cast<ZipWriter *>(writer);
        return self.sink.write(static_cast<const char *>(bytes), count) ? static_cast<la_ssize_t>(count)
                                                                        : ARCHIVE_FATAL;
    }
    bool begin(const std::string &name, std::uint64_t count, double date) {
        const Entry entry(archive_entry_new());
        archive_entry_set_pathname_utf8(entry.get(), name.c_str());
        archive_entry_set_filetype(entry.get(), S_IFREG);
        archive_entry_set_perm(entry.get(), 0644);
        archive_entry_set_size(entry.get(), static_cast<la_int64_t>(count));
        if (date > 0)
            archive_entry_set_mtime(entry.get(), static_cast<time_t>(date), 0);
        return archive_write_header(zip.get(), entry.get()) == ARCHIVE_OK;
    }
    bool put(std::string_view bytes) {
        return archive_write_data(zip.get(), bytes.data(), bytes.size()) ==
               static_cast<la_ssize_t>(bytes.size());
    }

    httplib::DataSink &sink;
    Archive zip;
};

/// Names of files that differ by more than the case of their letters.
class Names {
public:
    std::string unique(const std::string &wanted) {
        const std::filesystem::path plain(wanted);
        std::string name = wanted;
        for (unsigned number = 2; !taken.insert(folded(name)).second; ++number)
            name = fmt::format("{} {}{}", plain.stem().string(), number, plain.extension().string());
        return name;
    }

private:
    static std::string folded(std::string name) {
        for (char &each : name)
            if (each >= 'A' && each <= 'Z')
                each = static_cast<char>(each - 'A' + 'a');
        return name;
    }
    std::unordered_set<std::string> taken;
};

/// Gives the raw file of a picture, or the video that was taken with it.
Result<AssetFile> openCompanion(const CompanionRecord &companion) {
    AssetFile file;
    file.file.reset(::open(companion.path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
    struct stat status = {};
    if (!file.file || ::fstat(file.file.get(), &status) != 0)
        return failSystem("read", companion.path);
    file.byteCount = static_cast<std::uint64_t>(status.st_size);
    file.name = std::filesystem::path(companion.originalFilename.empty() ? companion.path
                                                                         : companion.originalFilename)
                    .filename()
                    .string();
    return file;
}

/// An archive of assets.
class Export {
public:
    Export(httplib::DataSink &sink, bool shownVersions) : zip(sink), edited(shownVersions) {}

    /// False when the browser gets no more.
    bool add(std::span<const std::string> uuids) {
        const ReleaseScope scope;
        const auto assets = askForAssetsWithUUIDs(uuids);
        if (!assets) {
            missing += fmt::format("{} files: {}\n", uuids.size(), assets.error().text);
            return true;
        }
        Assets found;
        for (const std::string &each : uuids)
            if (const auto asset = assets->find(each); asset != assets->end())
                found.push_back(asset->second);
            else
                missing += fmt::format("{}: it is not in the library any more\n", each);
        const Companions companions = companionsOf(found);
        return std::ranges::all_of(found, [&](const Ref<ManagedAsset> &asset) {
            const ReleaseScope turn;
            if (!addFile(*asset, open(*asset)))
                return false;
            const auto companion = companions.find(asset->record().uuid);
            return companion == companions.end() || addFile(*asset, openCompanion(companion->second));
        });
    }
    bool end() {
        return (missing.empty() || zip.add(names.unique("not exported.txt"), missing)) && zip.end();
    }

private:
    [[nodiscard]] Result<AssetFile> open(const ManagedAsset &asset) const {
        if (edited) {
            auto file = openFileOf(asset, true);
            if (file || file.error().kind != ProblemKind::notFound)
                return file;
        }
        return openFileOf(asset, false);
    }
    /// The raw files and the videos that came with originals; edited versions have none.
    [[nodiscard]] Companions companionsOf(const Assets &assets) {
        if (edited)
            return {};
        auto companions = askForCompanions(assets);
        if (companions)
            return *std::move(companions);
        missing += fmt::format("raw files and videos that came with {} pictures: {}\n", assets.size(),
                               companions.error().text);
        return {};
    }
    bool addFile(const ManagedAsset &asset, const Result<AssetFile> &file) {
        if (file)
            return zip.add(names.unique(file->name), *file, captureTime(asset.record()));
        missing += fmt::format("{}: {}\n", outsideName(asset.record()), file.error().text);
        return true;
    }

    ZipWriter zip;
    Names names;
    const bool edited;
    std::string missing; // what could not be exported, and why
};

std::vector<UUIDBytes> rawOf(std::span<const std::string> uuids) {
    const ReleaseScope scope;
    std::vector<UUIDBytes> raw;
    raw.reserve(uuids.size());
    for (const std::string &each : uuids) {
        const auto uuid = UUID::createWithText(each);
        std::ranges::copy(uuid->bytes(), raw.emplace_back().bytes);
    }
    return raw;
}

std::vector<std::string> textsOf(std::span<const UUIDBytes> uuids) {
    const ReleaseScope scope;
    std::vector<std::string> texts;
    texts.reserve(uuids.size());
    for (const UUIDBytes &each : uuids)
        texts.emplace_back(UUID::createWithBytes(each.bytes)->uuidString()->utf8());
    return texts;
}

bool writeArchive(std::span<const UUIDBytes> uuids, bool edited, httplib::DataSink &sink) {
    Export archive(sink, edited);
    while (!uuids.empty()) {
        const auto part = uuids.first(std::min(uuids.size(), assetsOfPart));
        uuids = uuids.subspan(part.size());
        if (!archive.add(textsOf(part)))
            return false;
    }
    return archive.end();
}

std::chrono::steady_clock::time_point endOfOffer() {
    return std::chrono::steady_clock::now() + offerTime;
}

Failure failGone() {
    return fail(ProblemKind::notFound, "this export was fetched already, or is too old. Export again");
}

} // namespace

Result<JSON> Exports::offer(const JSON &body) {
    const auto named = uuidsIn(body, "ids");
    if (!named)
        return passOn(named);
    auto uuids = rawOf(*named);
    if (body.contains("href")) {
        const auto href = textIn(body, "href");
        if (!href)
            return passOn(href);
        return add(*href, uuids);
    }
    const auto version = textIn(body, "version");
    if (!version || (*version != "original" && *version != "edited"))
        return fail(ProblemKind::invalid, "'version' must be original or edited");
    auto key = randomText();
    if (!key)
        return passOn(key);
    JSON answer = {{"href", std::string(exportPath) + *key}};
    const MutexLock lock(mutex);
    if (offers.size() == maxOffers)
        offers.pop_front();
    offers.push_back({*std::move(key), std::move(uuids), *version == "edited", endOfOffer()});
    return answer;
}

void Exports::dropLateOffers() {
    const auto now = std::chrono::steady_clock::now();
    offers.remove_if([&](const Offer &each) { return each.end < now; });
}

std::size_t Exports::assetsOffered() const {
    return std::accumulate(offers.begin(), offers.end(), std::size_t{0},
                           [](std::size_t sum, const Offer &each) { return sum + each.uuids.size(); });
}

Result<JSON> Exports::add(std::string_view href, std::span<const UUIDBytes> uuids) {
    const MutexLock lock(mutex);
    dropLateOffers();
    const auto found = std::ranges::find_if(
        offers, [&](const Offer &each) { return href == std::string(exportPath) + each.key; });
    if (found == offers.end())
        return failGone();
    if (found->uuids.size() + uuids.size() > maxAssets)
        return fail(ProblemKind::invalid,
                    fmt::format("an export has {} assets at most. Export them in several", maxAssets));
    found->uuids.insert(found->uuids.end(), uuids.begin(), uuids.end());
    found->end = endOfOffer();
    offers.splice(offers.end(), offers, found);
    // Those that were not fetched until now give room.
    while (assetsOffered() > maxAssets && offers.begin() != found)
        offers.pop_front();
    return JSON{{"href", href}};
}

Result<> Exports::answer(const httplib::Request &request, httplib::Response &response) {
    const std::string_view key = std::string_view(request.path).substr(exportPath.size());
    std::shared_ptr<Offer> taken;
    {
        const MutexLock lock(mutex);
        dropLateOffers();
        const auto found = std::ranges::find(offers, key, &Offer::key);
        if (found == offers.end())
            return failGone();
        taken = std::make_shared<Offer>(std::move(*found));
        offers.erase(found);
    }
    response.status = 200;
    setHeader(response, "Cache-Control", "no-store");
    setHeader(response, "Content-Disposition", "attachment; filename=\"photos.zip\"");
    response.set_chunked_content_provider("application/zip", [taken](std::size_t, httplib::DataSink &sink) {
        const bool isWhole = writeArchive(taken->uuids, taken->edited, sink);
        if (isWhole)
            sink.done();
        return isWhole;
    });
    return {};
}

} // namespace wickerlane::cli::view
