// The whole library from end to end, through the client alone: saves a folder of photos, reads everything
// back and compares it.
//   demo PHOTOS-FOLDER CONTACT-SHEET.jpg
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "ContactSheet.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Format.h"
#include "wickerlane/protocol/ImageDataFormats.h"
#include "wickerlane/protocol/JobKeys.h"
#include "wickerlane/protocol/VideoKeys.h"

namespace fs = std::filesystem;
using namespace wickerlane;

namespace {

/// A photo on its way through the library.
struct Photo {
    fs::path source;
    Ref<Dictionary> result; ///< The daemon's result; null until there is one.

    [[nodiscard]] std::string resultText(std::string_view key) const {
        const auto *text = result ? result->get<String>(key) : nullptr;
        return text != nullptr ? std::string(text->utf8()) : std::string();
    }
    [[nodiscard]] bool isSaved() const { return !resultText(protocol::jobResult::uuid).empty(); }
    [[nodiscard]] Ref<URL> assetURL() const { return URL::create(resultText(protocol::jobResult::assetURL)); }
    [[nodiscard]] Ref<ManagedObjectID> objectID() const {
        return ManagedObjectID::create(URL::create(resultText(protocol::jobResult::objectIDURI)).get());
    }
};

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

double megabytes(std::uintmax_t bytes) {
    return static_cast<double>(bytes) / 1e6;
}

std::vector<Photo> photosIn(const fs::path &folder) {
    std::vector<Photo> photos;
    for (const auto &entry :
         fs::recursive_directory_iterator(folder, fs::directory_options::skip_permission_denied)) {
        std::string extension = entry.path().extension().string();
        std::transform(extension.begin(), extension.end(), extension.begin(),
                       [](unsigned char c) { return c < 128 ? static_cast<char>(std::tolower(c)) : '?'; });
        for (const char *known :
             {".jpg", ".jpeg", ".png", ".webp", ".tif", ".tiff", ".gif", ".heic", ".avif"})
            if (extension == known && entry.is_regular_file() && !entry.is_symlink())
                photos.push_back({fs::absolute(entry.path()), nullptr});
    }
    std::sort(photos.begin(), photos.end(),
              [](const Photo &a, const Photo &b) { return a.source < b.source; });
    return photos;
}

void showProgress(std::size_t done, std::size_t total) {
    constexpr std::size_t width = 40;
    const std::size_t filled = width * done / total;
    std::printf("%sSaving     [%s%s] %zu/%zu%s", isatty(STDOUT_FILENO) != 0 ? "\r" : "",
                std::string(filled, '#').c_str(), std::string(width - filled, '-').c_str(), done, total,
                isatty(STDOUT_FILENO) != 0 && done < total ? "" : "\n");
    std::fflush(stdout);
}

/// Saves in small batches, so that progress can be shown. False when the daemon can't be reached.
bool save(std::vector<Photo> &photos) {
    constexpr std::size_t batchSize = 4;
    const auto answered = Semaphore::create(0);
    showProgress(0, photos.size());
    for (std::size_t first = 0; first < photos.size(); first += batchSize) {
        ReleaseScope scope;
        const std::size_t end = std::min(first + batchSize, photos.size());
        const auto jobs = MutableArray::create();
        for (std::size_t i = first; i < end; ++i)
            jobs->append(
                Dictionary::createWithKeys(
                    {{protocol::job::filePath, String::of(photos[i].source.string())},
                     {protocol::job::originalFilename, String::of(photos[i].source.filename().string())}})
                    .get());
        Ref<Array> results;
        JXGatekeeperClient::sharedInstance()->batchSaveAssetsWithJobDictionaries(
            jobs.get(), [&](Array *received, Error *) {
                results = received;
                answered->signal();
            });
        answered->wait();
        if (!results || results->count() != end - first)
            return false;
        for (std::size_t i = first; i < end; ++i)
            photos[i].result = as<Dictionary>(results->at(i - first));
        showProgress(end, photos.size());
    }
    return true;
}

/// Whether the original in the library, read from its descriptor, equals the source file. Adds its size to
/// `bytes`.
bool isReadBackWhole(const Photo &photo, std::uintmax_t &bytes) {
    ReleaseScope scope;
    const UniqueFd original(
        JXGatekeeperClient::sharedInstance()->fileDescriptorForAssetURL(photo.assetURL().get()));
    std::ifstream source(photo.source, std::ios::binary);
    std::vector<char> expected(1 << 18);
    std::vector<char> read(expected.size());
    off_t position = 0;
    while (original && source) {
        source.read(expected.data(), static_cast<std::streamsize>(expected.size()));
        const auto count = static_cast<std::size_t>(source.gcount());
        // At the end one more byte is requested, and there must be none.
        const ssize_t got = pread(original.get(), read.data(), count > 0 ? count : 1, position);
        if (got != static_cast<ssize_t>(count) || std::memcmp(expected.data(), read.data(), count) != 0)
            return false;
        bytes += count;
        position += got;
    }
    char beyond = 0;
    return original && source.eof() && pread(original.get(), &beyond, 1, position) == 0;
}

bool readBackAll(const std::vector<Photo> &photos) {
    const auto start = Clock::now();
    std::uintmax_t bytes = 0;
    std::size_t same = 0;
    for (const Photo &photo : photos) {
        if (isReadBackWhole(photo, bytes))
            ++same;
        else
            std::printf("DIFFERENT  %s\n", escapingControls(photo.source.string()).c_str());
    }
    std::printf("Read back  %zu of %zu originals, %.1f MB in %.2f s: %s\n", same, photos.size(),
                megabytes(bytes), secondsSince(start),
                same == photos.size() ? "every byte is as it was saved" : "NOT all are the same");
    return same == photos.size();
}

bool showCounts(std::size_t expected) {
    const auto answered = Semaphore::create(0);
    std::uint64_t photos = 0;
    std::uint64_t videos = 0;
    JXGatekeeperClient::sharedInstance()->getPhotosAndVideosCountWithHandler(
        [&](Number *first, Number *second) {
            photos = first != nullptr ? first->uint64Value() : 0;
            videos = second != nullptr ? second->uint64Value() : 0;
            answered->signal();
        });
    answered->wait();
    std::printf("Counts     %llu photos, %llu videos\n", static_cast<unsigned long long>(photos),
                static_cast<unsigned long long>(videos));
    return photos + videos == expected;
}

/// Shows everything about one asset.
bool showOne(const Photo &photo) {
    ReleaseScope scope;
    auto *client = JXGatekeeperClient::sharedInstance();
    const auto url = photo.assetURL();
    const auto *fileURL = client->fileURLForAssetURL(url.get(), false);
    std::printf("\nOne of them, %s:\n", escapingControls(photo.source.filename().string()).c_str());
    std::printf("  UUID       %s\n", photo.resultText(protocol::jobResult::uuid).c_str());
    std::printf("  URL        %s\n", photo.resultText(protocol::jobResult::assetURL).c_str());
    std::printf("  file       %s\n", fileURL != nullptr ? fileURL->fileSystemPath().c_str() : "none");
    std::printf("  picture    %s\n",
                formatUTF8("%@ x %@ pixels, taken %@", photo.result->get(protocol::jobResult::width),
                           photo.result->get(protocol::jobResult::height),
                           photo.result->get(protocol::jobResult::creationDate))
                    .c_str());
    bool allThere = fileURL != nullptr;
    for (const auto &[format, name] : protocol::imageDataFormats) {
        const auto *data = client->imageDataForAsset(photo.objectID().get(), format);
        std::printf("  format %d   %-9s %zu bytes\n", format, name, data != nullptr ? data->length() : 0);
        allThere = allThere && data != nullptr && data->length() > 0;
    }
    return allThere;
}

/// Shows the metadata of a video, and the sizes that exports of it would have.
bool showVideo(const std::string &path) {
    ReleaseScope scope;
    auto *client = JXGatekeeperClient::sharedInstance();
    const auto text = String::create(path);
    const Dictionary *metadata = client->videoMetadataAtPath(text.get());
    std::printf("\nA clip, %s:\n", escapingControls(fs::path(path).filename().string()).c_str());
    if (metadata == nullptr)
        return std::printf("  it can't be read\n"), false;
    for (const auto &[key, value] : *metadata)
        std::printf("  %-16s %s\n", std::string(as<String>(key)->utf8()).c_str(),
                    formatUTF8("%@", value).c_str());
    bool allThere = true;
    for (const protocol::ExportPreset &preset : protocol::exportPresets) {
        const std::int64_t bytes = client->estimatedOutputFileLengthForVideoURL(
            URL::ofPath(path), nullptr, String::of(preset.name), nullptr);
        std::printf("  exported as %-12s about %.2f MB\n", std::string(preset.name).c_str(),
                    static_cast<double>(bytes) / 1e6);
        allThere = allThere && bytes > 0;
    }
    return allThere;
}

bool makeContactSheet(const std::vector<Photo> &photos, const std::string &path) {
    examples::ContactSheet sheet;
    for (const Photo &photo : photos) {
        if (sheet.count() == examples::ContactSheet::maxTiles)
            break;
        ReleaseScope scope;
        const auto *data = JXGatekeeperClient::sharedInstance()->imageDataForAsset(
            photo.objectID().get(), protocol::imageDataPreviewJPEG);
        if (data != nullptr)
            sheet.add(data->span(), photo.source.filename().string());
    }
    if (sheet.count() == 0)
        return false;
    sheet.write(path, "Wickerlane: " + std::to_string(photos.size()) + " photos saved and read back");
    return true;
}

int demo(const fs::path &folder, const std::string &sheetPath, const std::string &clip) {
    std::vector<Photo> photos = photosIn(folder);
    if (!clip.empty())
        photos.insert(photos.begin(), {fs::absolute(clip), nullptr});
    std::printf("Photos     %zu in %s\n", photos.size(), folder.c_str());
    std::printf("Library    %s (new)\n", rootPath().c_str());
    if (photos.empty())
        return std::printf("There are no photos to save.\n"), 1;

    const auto start = Clock::now();
    if (!save(photos))
        return std::printf("\nThe daemon can't be reached.\n"), 1;
    const double seconds = secondsSince(start);

    for (const Photo &photo : photos)
        if (!photo.isSaved())
            std::printf("REFUSED    %s: %s\n", escapingControls(photo.source.string()).c_str(),
                        photo.resultText(protocol::jobResult::error).c_str());
    const std::size_t asked = photos.size();
    std::erase_if(photos, [](const Photo &photo) { return !photo.isSaved(); });
    std::printf("Saved      %zu of %zu in %.1f s (the daemon started by itself)\n", photos.size(), asked,
                seconds);
    if (photos.empty())
        return 1;

    bool good = photos.size() == asked;
    good = showCounts(photos.size()) && good;
    good = readBackAll(photos) && good;
    good = showOne(photos.back()) && good;
    if (!clip.empty())
        good = showVideo(fs::absolute(clip)) && good;
    if (makeContactSheet(photos, sheetPath))
        std::printf("\nContact sheet: %s\n", sheetPath.c_str());
    else
        good = false;
    std::printf("%s\n", good ? "All is well." : "NOT everything went as it should; see above.");
    return good ? 0 : 1;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3 && argc != 4)
        return std::fputs("usage: demo PHOTOS-FOLDER CONTACT-SHEET.jpg [CLIP]\n", stderr), 2;
    try {
        return demo(argv[1], argv[2], argc == 4 ? argv[3] : "");
    } catch (const std::exception &problem) {
        return std::fprintf(stderr, "demo: %s\n", problem.what()), 1;
    }
}
