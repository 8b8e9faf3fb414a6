// A page of 500 assets through the client and the real daemon, beside the same rows read from the store into
// the same objects: the first page, and one from the middle of the library. The daemon is another process,
// bound to the same processor as this one and to another. Prints microseconds an asset of the best batch, and
// the median ratio to the store. With the argument "million" also for a library of that size.
#include <cstring>

#include "bench/InTurn.h"
#include "bench/ServedLibrary.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/store/StoreReader.h"

using namespace wickerlane;
using bench::Other;

namespace {

constexpr std::size_t pageSize = 500;
std::size_t assets = 0;

/// Rows without files, which a page does not miss. Some 20 a day.
void fillLibrary() {
    bench::fillLibrary(assets, [](std::size_t number, AssetRecord &record) {
        record.directory = store::LibraryPaths::directoryOfOriginal(record.uuid);
        record.filename = record.uuid + ".JPG";
        record.originalFilename = "IMG_" + std::to_string(number) + ".JPG";
        record.format = "image/jpeg";
        record.kind = number % 10 == 0 ? AssetKind::video : AssetKind::photo;
        record.dateCreated = static_cast<double>(number) * 4'000;
        record.latitude = 47.0 + static_cast<double>(number % 100) / 100;
        record.longitude = 8.5;
        record.camera = "Camera Model 5";
        record.dueDetails = 0;
    });
}

void measurePage(const char *where, store::StoreReader &reader, bool isInTheMiddle) {
    AssetQuery query{.filter = {.kind = AssetKind::photo}, .limit = pageSize};
    if (isInTheMiddle)
        query.filter.from = static_cast<double>(assets / 2) * 4'000;
    const auto readFromStore = [&](int times) {
        for (int i = 0; i < times; ++i) {
            auto page = reader.page(query);
            std::vector<Ref<ManagedAsset>> made;
            for (AssetRecord &each : page->records)
                made.push_back(
                    ManagedAsset::create(std::move(each), reader.paths().folder(), reader.storeUUID()));
            if (made.empty())
                bench::fail("the store gives no assets");
        }
    };
    const auto askDaemon = [&](int times) {
        for (int i = 0; i < times; ++i) {
            ReleaseScope scope;
            const auto page = JXGatekeeperClient::sharedInstance()->assetsMatchingQuery(query);
            if (!page || page->assets.empty())
                bench::fail("the daemon gives no assets");
        }
    };
    const double count = static_cast<double>(reader.page(query)->records.size());
    bench::measureInTurn(30, 20, {{"from the store", readFromStore}, {"by the daemon", askDaemon}},
                         [&](const bench::Measured &m) {
                             std::printf("%7zu assets  %-6s  %-15s %-14s %6.2f us an asset  %5.2f x store\n",
                                         assets, isInTheMiddle ? "middle" : "first", m.what, where,
                                         m.best / count / 1e3, m.ratio);
                         });
}

void measure(const char *where, int processor) {
    fillLibrary();
    const Other daemon(processor, bench::serveLibrary);
    char byte = 0;
    bench::readAll(daemon.socket, &byte, 1);
    if (JXGatekeeperClient::sharedInstance()->getCurrentModelVersion() < 0)
        bench::fail("the daemon does not answer");
    const auto reader = store::StoreReader::open(store::LibraryPaths());
    if (!reader)
        bench::fail(reader.error().text.c_str());
    for (const bool isInTheMiddle : {false, true})
        measurePage(where, **reader, isInTheMiddle);
}

} // namespace

int main(int count, char **arguments) {
    const bool isMillion = count > 1 && std::strcmp(arguments[1], "million") == 0;
    int status = 0;
    for (const std::size_t each : {1'000, 100'000, 1'000'000}) {
        if ((bench::isQuick() && each > 1'000) || (each > 100'000 && !isMillion))
            break;
        assets = each;
        status |= bench::onOneAndTwoProcessors(measure);
    }
    return status;
}
