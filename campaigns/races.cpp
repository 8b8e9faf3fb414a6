// The campaign of races: each long operation again and again, while other clients change the library.
//   campaign_races SECONDS
#include <fcntl.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "wickerlane/message/JXJobDictionary.h"
#include "wickerlane/message/JXMsgUtilities.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/surface/ImageSurface.h"
#include "wickerlane/protocol/ServiceName.h"
#include "wickerlane/store/LibraryCheck.h"
#include "wickerlane/store/Sqlite.h"
#include "wickerlane/store/StoreReader.h"

using namespace wickerlane;
namespace fs = std::filesystem;

namespace {

/// A file's contents.
using Contents = std::string;

const store::LibraryPaths &paths() {
    static const store::LibraryPaths all;
    return all;
}

Ref<ManagedAlbum> albumNamed(store::StoreReader &store, const std::string &name) {
    const auto albums = store.albums();
    if (albums)
        for (const Ref<ManagedAlbum> &each : *albums)
            if (each->record().name == name)
                return each;
    return nullptr;
}

/// Appends all assets of a filter. False when they can't be read.
bool readAssets(store::StoreReader &store, const AssetFilter &filter, std::vector<AssetRecord> &records) {
    AssetQuery query{.filter = filter};
    do {
        auto page = store.page(query);
        if (!page)
            return false;
        std::ranges::move(page->records, std::back_inserter(records));
        query.cursor = page->next;
    } while (!query.cursor.empty());
    return true;
}

Contents contentsOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write(const std::string &path, std::string_view bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

/// As if nothing had changed it for a while.
void letSettle(const std::string &path) {
    std::error_code gone;
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(1), gone);
}

class Client {
public:
    Client() : connection(MessageConnection::create(WickerlaneGatekeeperName, nullptr)) {
        connection->setEventHandler([](MessageValue *) {});
        connection->resume();
    }
    Client(const Client &) = delete;
    Client &operator=(const Client &) = delete;
    ~Client() { connection->cancel(); }

    static Ref<MessageDictionary>
    request(std::int64_t code, std::initializer_list<std::pair<const char *, std::string>> texts = {}) {
        auto message = MessageDictionary::create();
        message->setInt64("operation", code);
        for (const auto &[key, text] : texts)
            message->setString(key, text);
        return message;
    }
    /// Null when it is refused; the first reason is kept.
    Ref<MessageDictionary> answer(MessageDictionary *message) const {
        const auto reply = connection->sendWithReplySync(message);
        auto *dictionary = as<MessageDictionary>(reply.get());
        if (dictionary == nullptr && refusal.empty())
            refusal = reply->description()->utf8();
        return dictionary != nullptr ? Ref<MessageDictionary>(dictionary) : nullptr;
    }
    bool succeeds(MessageDictionary *message) const {
        const auto reply = answer(message);
        return reply && reply->getBool("success");
    }
    /// The result of a save, null when it failed.
    const Dictionary *save(Dictionary *job, ImageSurface *surface = nullptr) const {
        const auto message = request(8);
        const auto coded = Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(job));
        message->set("jobDictionary", coded.get());
        JXMsgDictionarySetImageSurface(message.get(), "imagePort", surface);
        const auto reply = answer(message.get());
        const auto *result =
            reply ? JXJobDictionaryFromMsgDictionary(reply->get("resultJobDictionary")) : nullptr;
        return result != nullptr && result->get<String>("uuid") != nullptr ? result : nullptr;
    }
    const Dictionary *save(const Contents &picture) const {
        const auto data = Data::create(picture.data(), picture.size());
        return save(Dictionary::createWithKeys({{"imageData", data.get()}}).get());
    }

    mutable std::string refusal;

private:
    Ref<MessageConnection> connection;
};

std::string textIn(const Dictionary *result, const char *key) {
    return std::string(result->get<String>(key)->utf8());
}

/// Ever new files of one picture, which differ in a comment.
class Pictures {
public:
    explicit Pictures(const Client &client) {
        constexpr std::uint32_t width = 320, height = 240;
        const auto surface = ImageSurface::create(width, height, PixelFormat::rgba8);
        auto *bytes = static_cast<std::uint8_t *>(surface->writableBytes());
        for (std::size_t i = 0; i < surface->bytesPerRow() * height; ++i)
            bytes[i] = static_cast<std::uint8_t>(i % 4 == 3 ? 255 : i / 7);
        const Dictionary *saved = client.save(Dictionary::create().get(), surface.get());
        const auto url = saved != nullptr ? URL::of(textIn(saved, "fileURL")) : nullptr;
        jpeg = url != nullptr ? contentsOf(url->fileSystemPath()) : "";
    }
    [[nodiscard]] bool isThere() const { return jpeg.size() > 2; }
    Contents next() {
        const std::string comment = "picture " + std::to_string(++count);
        constexpr std::size_t startOfImage = 2;
        const auto length = static_cast<char>(comment.size() + 2);
        return jpeg.substr(0, startOfImage) + "\xFF\xFE" + '\0' + length + comment +
               jpeg.substr(startOfImage);
    }

private:
    Contents jpeg;
    std::atomic<unsigned> count = 0;
};

/// What was acknowledged, and what has become of it.
struct Tally {
    std::atomic<unsigned> saves = 0, deletions = 0, renditions = 0, writes = 0, additions = 0, drops = 0,
                          checks = 0;
    std::atomic<unsigned> lostRenditions = 0, lostWrites = 0, findings = 0;
    std::mutex lock;
    std::map<std::string, Contents> saved;               // by UUID
    std::vector<std::string> deleted;                    // UUIDs
    std::map<std::string, Contents> edited;              // by UUID: the last one
    std::vector<std::pair<std::string, std::string>> in; // the name of an album, the UUID of an asset
    std::vector<Contents> dropped;
    std::set<std::string> refusals;
};

struct Asset {
    std::string uuid, url;
};

class Race {
public:
    Race(Pictures &used, const std::vector<Asset> &lasting, std::int64_t operation, std::string named)
        : pictures(used), assets(lasting), code(operation), name(std::move(named)) {}

    void run(std::chrono::duration<double> length) {
        std::vector<std::thread> threads;
        for (const auto part : {&Race::operate, &Race::saveAndDelete, &Race::edit, &Race::fillAlbums,
                                &Race::drop, &Race::copySlowly, &Race::writeInBackground, &Race::check})
            threads.emplace_back([this, part] {
                const Client client;
                while (!isOver) {
                    const ReleaseScope scope;
                    (this->*part)(client);
                }
                const std::lock_guard guard(tally.lock);
                if (!client.refusal.empty())
                    tally.refusals.insert(client.refusal);
            });
        std::this_thread::sleep_for(length);
        isOver = true;
        for (std::thread &each : threads)
            each.join();
    }

    /// Prints the figures; whether all is well.
    bool report();

private:
    void operate(const Client &client) {
        // A found file that is still being written is left, and said to be.
        const auto reply = Client::request(code);
        if (code == 61)
            reply->setBool("incremental", false);
        const Client own;
        static_cast<void>(client);
        static_cast<void>(own.answer(reply.get()));
        if (!own.refusal.empty() && own.refusal.find("next time") == std::string::npos &&
            own.refusal.find("could not be repaired") == std::string::npos) {
            const std::lock_guard guard(tally.lock);
            tally.refusals.insert(own.refusal);
        }
        ++runs;
    }

    void saveAndDelete(const Client &client) {
        const Contents picture = pictures.next();
        const Dictionary *kept = client.save(picture), *gone = client.save(pictures.next());
        if (kept != nullptr) {
            ++tally.saves;
            const std::lock_guard guard(tally.lock);
            tally.saved[textIn(kept, "uuid")] = picture;
        }
        if (gone != nullptr &&
            client.succeeds(Client::request(13, {{"assetURL", textIn(gone, "assetURL")}}).get())) {
            ++tally.deletions;
            const std::lock_guard guard(tally.lock);
            tally.deleted.push_back(textIn(gone, "uuid"));
        }
    }

    static Contents editOf(const Asset &asset) {
        auto database = sqlite::Database::open(paths().database(), sqlite::Database::Access::read);
        if (!database)
            return {};
        const auto file = database->prepare("SELECT filename FROM zrendition WHERE assetuuid = ?")
                              .bind(asset.uuid)
                              .first([](const sqlite::Statement &row) { return std::string(row.text(0)); });
        return file && *file ? contentsOf(paths().renditionFolder(asset.uuid) + '/' + **file) : Contents();
    }

    void edit(const Client &client) {
        const Asset &asset = assets[edits++ % assets.size()];
        if (const auto last = tally.edited.find(asset.uuid); last != tally.edited.end())
            tally.lostRenditions += editOf(asset) == last->second ? 0 : 1;
        const Contents picture = pictures.next();
        const auto message = Client::request(17, {{"assetURL", asset.url}});
        message->setData("imageData", picture.data(), picture.size());
        if (!client.succeeds(message.get()))
            return;
        ++tally.renditions;
        tally.edited[asset.uuid] = picture;
    }

    void fillAlbums(const Client &client) {
        const std::string album = name + ' ' + std::to_string(++albums);
        if (!client.answer(Client::request(11, {{"name", album}}).get()))
            return;
        const auto store = store::StoreReader::open(paths());
        const auto made = store ? albumNamed(**store, album) : nullptr;
        if (!made)
            return;
        for (const Asset &asset : assets)
            if (client.succeeds(
                    Client::request(12, {{"assetURL", asset.url}, {"albumUUID", made->record().uuid}})
                        .get())) {
                ++tally.additions;
                const std::lock_guard guard(tally.lock);
                tally.in.emplace_back(album, asset.uuid);
            }
    }

    [[nodiscard]] std::string placeOf(const char *kind, unsigned number) const {
        return paths().folder() + "/DCIM/" + name.substr(0, 3) + '-' + kind + std::to_string(number) + ".JPG";
    }
    void noteDropped(Contents picture) {
        ++tally.drops;
        const std::lock_guard guard(tally.lock);
        tally.dropped.push_back(std::move(picture));
    }

    /// Moves a whole file in.
    void drop(const Client &) {
        Contents picture = pictures.next();
        const std::string outside = paths().folder() + "/whole.JPG";
        write(outside, picture);
        letSettle(outside);
        fs::rename(outside, placeOf("whole-", ++whole));
        noteDropped(std::move(picture));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }

    /// As a program does that copies a file in from a slow place.
    void copySlowly(const Client &) {
        Contents picture = pictures.next();
        const std::size_t half = picture.size() / 2;
        std::ofstream file(placeOf("copied-", ++copied), std::ios::binary);
        file << picture.substr(0, half) << std::flush;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        file << picture.substr(half) << std::flush;
        noteDropped(std::move(picture));
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
    }

    void writeInBackground(const Client &client) {
        const std::string path = paths().incoming() + "/written.JPG";
        Contents picture;
        for (int time = 0; time < 2; ++time) {
            picture = pictures.next();
            const auto message = Client::request(
                24, {{"destinationURL", std::string(URL::ofPath(path)->absoluteString()->utf8())}});
            message->setData("dataToSave", picture.data(), picture.size());
            static_cast<void>(client.answer(message.get()));
        }
        ++tally.writes;
        tally.lostWrites += contentsOf(path) == picture ? 0 : 1;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }

    /// Files that are dropped are no assets yet.
    // A file that was dropped is a stray until it is found, and then waits among the found ones to be saved.
    static unsigned findings(bool droppedFilesCount, std::string &first) {
        const auto report = store::checkLibrary(paths());
        unsigned count = report ? 0 : 1;
        if (!report)
            first = report.error().text;
        else
            for (const store::Finding &each : report->findings)
                if (droppedFilesCount || (each.kind != store::Finding::Kind::strayOriginal &&
                                          each.kind != store::Finding::Kind::unsavedFile)) {
                    ++count;
                    first = std::string(nameOf(each.kind)) + ' ' + each.path;
                }
        return count;
    }
    void check(const Client &) {
        std::string first;
        tally.findings += findings(false, first);
        ++tally.checks;
        if (!first.empty()) {
            const std::lock_guard guard(tally.lock);
            tally.refusals.insert("a check beside found " + first);
        }
    }

    Pictures &pictures;
    const std::vector<Asset> &assets;
    const std::int64_t code;
    const std::string name;
    std::atomic<bool> isOver = false;
    Tally tally;
    unsigned runs = 0, edits = 0, albums = 0, whole = 0, copied = 0;
};

bool Race::report() {
    // What still waits is whole by now.
    const Client client;
    for (const auto &entry : fs::recursive_directory_iterator(paths().folder() + "/DCIM"))
        if (entry.is_regular_file() && entry.path().parent_path().filename() == "DCIM")
            letSettle(entry.path());
    static_cast<void>(client.answer(Client::request(22).get()));

    const auto store = store::StoreReader::open(paths());
    std::vector<AssetRecord> records;
    if (!store || !readAssets(**store, {}, records)) {
        std::printf("%-10s the store can't be read\n", name.c_str());
        return false;
    }
    std::set<Contents> originals;
    std::map<std::string, Contents> byUUID;
    for (const AssetRecord &record : records) {
        const Contents &bytes = byUUID[record.uuid] = contentsOf(paths().original(record));
        originals.insert(bytes);
    }
    unsigned lostSaves = 0, lostDrops = 0, halves = 0, cameBack = 0, lostAdditions = 0, lostCopies = 0;
    for (const auto &[uuid, picture] : tally.saved)
        lostSaves += byUUID[uuid] == picture ? 0 : 1;
    for (const std::string &uuid : tally.deleted)
        cameBack += byUUID.contains(uuid) && !byUUID[uuid].empty() ? 1 : 0;
    for (const Asset &asset : assets)
        if (tally.edited.contains(asset.uuid))
            tally.lostRenditions += editOf(asset) == tally.edited[asset.uuid] ? 0 : 1;
    for (const Contents &picture : tally.dropped) {
        lostDrops += originals.contains(picture) ? 0 : 1;
        halves += originals.contains(picture.substr(0, picture.size() / 2)) ? 1 : 0;
    }
    for (const auto &[album, uuid] : tally.in) {
        const auto made = albumNamed(**store, album);
        std::vector<AssetRecord> members;
        const bool isIn = made && readAssets(**store, {.album = made->record().uuid}, members) &&
                          std::ranges::find(members, uuid, &AssetRecord::uuid) != members.end();
        lostAdditions += isIn ? 0 : 1;
        const bool isCopied =
            made && contentsOf(paths().albums() + '/' + made->record().uuid + "/assets").find(uuid) !=
                        std::string::npos;
        lostCopies += isCopied ? 0 : 1;
    }
    std::string first;
    const unsigned left = findings(true, first);
    std::error_code none;
    const auto put =
        std::distance(fs::directory_iterator(paths().lostAndFound(), none), fs::directory_iterator());

    const unsigned lost = lostSaves + cameBack + tally.lostRenditions + lostDrops + halves +
                          tally.lostWrites + lostAdditions + lostCopies;
    std::printf(
        "%-10s %4u runs beside %u saves, %u deletions, %u edits, %u files dropped, %u background writes, %u "
        "additions to albums, %u checks\n",
        name.c_str(), runs, tally.saves.load(), tally.deletions.load(), tally.renditions.load(),
        tally.drops.load(), tally.writes.load(), tally.additions.load(), tally.checks.load());
    std::printf("%-10s lost: %u (saves %u, deletions %u, edits %u, dropped files %u, of which taken half %u, "
                "writes %u, "
                "albums %u, their copies %u); found beside: %u, afterwards: %u; in LostAndFound: %u\n",
                "", lost, lostSaves, cameBack, tally.lostRenditions.load(), lostDrops, halves,
                tally.lostWrites.load(), lostAdditions, lostCopies, tally.findings.load(), left,
                static_cast<unsigned>(put));
    constexpr std::size_t maxShown = 3;
    std::size_t shown = 0;
    for (const std::string &refusal : tally.refusals)
        if (shown++ < maxShown)
            std::printf("%-10s %s\n", "", refusal.c_str());
    if (shown > maxShown)
        std::printf("%-10s and %zu more of the kind\n", "", shown - maxShown);
    if (!first.empty())
        std::printf("%-10s afterwards a check finds %s\n", "", first.c_str());
    std::fflush(stdout);
    return lost == 0 && left == 0 && put == 0 && tally.findings == 0 && tally.refusals.empty();
}

struct Operation {
    const char *name;
    std::int64_t code;
};
constexpr Operation operations[] = {
    {"repair", 27}, {"thumbnails", 73}, {"import", 22}, {"moments", 61}, {"analyses", 64},
};

bool raceAll(double seconds) {
    const ReleaseScope scope;
    const Client client;
    Pictures pictures(client);
    if (!pictures.isThere()) {
        std::printf("nothing can be saved: %s\n", client.refusal.c_str());
        return false;
    }
    std::vector<Asset> assets;
    for (int i = 0; i < 6; ++i)
        if (const Dictionary *saved = client.save(pictures.next()))
            assets.push_back({textIn(saved, "uuid"), textIn(saved, "assetURL")});
    bool isWell = assets.size() == 6;
    for (const auto &[name, code] : operations) {
        Race race(pictures, assets, code, name);
        race.run(std::chrono::duration<double>(seconds));
        isWell = race.report() && isWell;
    }
    return isWell;
}

} // namespace

int main(int count, char **arguments) {
    return raceAll(count > 1 ? std::strtod(arguments[1], nullptr) : 2) ? 0 : 1;
}
