// A library that is open in the test's own process, without a daemon.
#ifndef TESTS_HOARDD_OPENLIBRARY_H
#define TESTS_HOARDD_OPENLIBRARY_H

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "hoardd/library/Library.h"
#include "hoardd/saving/Saving.h"
#include "tests/support/Descriptors.h"
#include "tests/support/TestImages.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/store/LibraryCheck.h"

namespace wickerlane::hoardd {

using FileBytes = test::Bytes;

/// Of the running test's root.
class OpenLibrary : public testing::Test {
protected:
    void SetUp() override {
        // Of the timer of count notices, and of the log, whose configuration is watched.
        test::allowLastingDescriptors(test::folderWatchDescriptors);
        MediaWorkersOptions workers;
        workers.program = workerProgram();
        workers.maxWorkers = 1;
        // Machines under load, and sanitizers, take their time.
        workers.processorTime = std::chrono::seconds(60);
        workers.deadline = std::chrono::seconds(100);
        auto opened = Library::open(paths, workers);
        ASSERT_TRUE(opened) << opened.error().text;
        owned = *std::move(opened);
    }
    [[nodiscard]] virtual std::string workerProgram() const { return MEDIA_WORKER; }
    [[nodiscard]] Library &library() const { return *owned; }

    [[nodiscard]] static Ref<Data> dataOf(const FileBytes &bytes) {
        return Data::create(bytes.data(), bytes.size());
    }
    [[nodiscard]] static SaveJob jobOf(const FileBytes &bytes, std::string uuid = {}) {
        return {Dictionary::createWithKeys({{"imageData", dataOf(bytes).get()}}), nullptr, nullptr, true,
                std::move(uuid)};
    }
    /// The record of an asset that is made of these bytes.
    [[nodiscard]] AssetRecord saved(const FileBytes &bytes) const {
        const SaveJob job = jobOf(bytes);
        const auto results = saveAssets(library(), {&job, 1});
        EXPECT_TRUE(results.front()) << results.front().error().text;
        return results.front() ? results.front()->asset->record() : AssetRecord();
    }
    /// As the store has it now; an empty one when it has none.
    [[nodiscard]] AssetRecord recordOf(const std::string &uuid) const {
        const auto asset = library().assets().assetWithUUID(uuid);
        EXPECT_TRUE(asset) << asset.error().text;
        return asset && *asset ? (*asset)->record() : AssetRecord();
    }

    /// What a check finds, as lines; empty when store and files belong together and nothing is left over.
    [[nodiscard]] std::string faults() const {
        std::string lines;
        const auto report = store::checkLibrary(paths);
        if (!report)
            return report.error().text;
        for (const store::Finding &each : report->findings)
            lines += std::string(nameOf(each.kind)) + ' ' + each.path + '\n';
        for (const auto &entry : std::filesystem::directory_iterator(paths.saving()))
            lines += "left over: " + entry.path().string() + '\n';
        return lines;
    }
    static FileBytes contentsOf(const std::string &path) {
        std::ifstream file(path, std::ios::binary);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        const auto bytes = std::as_bytes(std::span(text));
        return {bytes.begin(), bytes.end()};
    }
    static void writeFile(const std::string &path, const FileBytes &bytes) {
        std::filesystem::create_directories(std::filesystem::path(path).parent_path());
        std::ofstream(path, std::ios::binary)
            .write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    }

    const store::LibraryPaths paths;

private:
    ReleaseScope scope;
    std::unique_ptr<Library> owned;
};

} // namespace wickerlane::hoardd

#endif
