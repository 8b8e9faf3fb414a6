// How the daemon starts, ends and survives.
#include <fcntl.h>
#include <sys/wait.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <map>
#include <random>
#include <thread>

#include "tests/hoardd/FileSum.h"
#include "tests/hoardd/RunningHoardd.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/store/Schema.h"
#include "wickerlane/store/StoreReader.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

using Life = RunningHoardd;

/// Every regular file below a folder.
std::vector<std::string> filesBelow(const std::string &folder) {
    std::vector<std::string> files;
    for (const auto &entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    return files;
}

// The version of SQLite in use can damage a database that two connections write.
TEST_F(Life, OneConnectionWritesTheDatabase) {
    ReleaseScope scope;
    saveData(pngOf(fourCorners(4, 4)));
    const std::string folder = "/proc/" + std::to_string(daemon().id);
    int writable = 0, readOnly = 0;
    for (const auto &entry : fs::directory_iterator(folder + "/fd")) {
        std::error_code error;
        if (fs::read_symlink(entry.path(), error) != paths.database())
            continue;
        std::ifstream info(folder + "/fdinfo/" + entry.path().filename().string());
        std::string key;
        for (unsigned flags = 0; info >> key;)
            if (key == "flags:" && info >> std::oct >> flags)
                ((flags & O_ACCMODE) == O_RDONLY ? readOnly : writable)++;
    }
    EXPECT_EQ(writable, 1);
    EXPECT_GE(readOnly, 1);
}

TEST_F(Life, ItEndsWhenIdleAndComesBackOnDemand) {
    ReleaseScope scope;
    describeService({"--idle-seconds", "0.05"});
    const FileBytes picture = pngOf(fourCorners(4, 4));
    const MutableDictionary *saved = saveData(picture);
    const Process first = daemon();
    ASSERT_TRUE(first.handle);
    connection->cancel();
    waitForEnd(first);
    EXPECT_EQ(fs::file_size(paths.database() + "-wal"), 0U) << "the database file stands alone";

    connection = connect();
    EXPECT_EQ(imageData(saved, 0), picture);
    EXPECT_NE(daemon().id, first.id);
}

TEST_F(Life, ASignalToEndLetsRunningSavesFinish) {
    ReleaseScope scope;
    answer(request(15).get());
    const Process process = daemon();
    const std::vector<pid_t> workers = mediaWorkersOf(process.id);
    for (const pid_t worker : workers)
        kill(worker, SIGSTOP);
    const auto job = Dictionary::createWithKeys({{"imageData", dataOf(jpegOf(fourCorners(64, 64))).get()}});
    connection->send(saveRequest(job.get()).get());
    EXPECT_EQ(answer(request(69).get())->getInt64("version"),
              store::modelVersion()); // the save before it has arrived, too
    ASSERT_TRUE(waitUntil([&] { return !fs::is_empty(paths.saving()); }));
    kill(process.id, SIGTERM);
    for (const pid_t worker : workers)
        kill(worker, SIGCONT);
    waitForEnd(process);
    EXPECT_EQ(StoreView::open()->counts()->photos, 1U);
    EXPECT_TRUE(fs::is_empty(paths.saving()));
}

TEST_F(Life, ASecondDaemonGetsNeitherTheNameNorTheLibrary) {
    ReleaseScope scope;
    answer(request(15).get());
    const pid_t second = fork();
    if (second == 0) {
        const int nowhere = open("/dev/null", O_WRONLY);
        dup2(nowhere, STDERR_FILENO);
        execl(HOARDD_PROGRAM, "hoardd", static_cast<char *>(nullptr));
        _exit(99);
    }
    int status = 0;
    ASSERT_EQ(waitpid(second, &status, 0), second);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
    EXPECT_EQ(answer(request(16).get())->getUInt64("photoCount"), 0U);
}

// On a device the library is that of hoardd's own user.
TEST_F(Life, RootDoesNotServeTheLibraryOfAnotherUser) {
    if (geteuid() != 0)
        GTEST_SKIP() << "only root could";
    constexpr uid_t other = 65534;
    ReleaseScope scope;
    fs::create_directories(paths.folder());
    ASSERT_EQ(chown(paths.folder().c_str(), other, other), 0);
    EXPECT_EQ(ask(request(15).get()).get(), MessageError::connectionInvalid());
    EXPECT_TRUE(waitUntil([] {
        std::ifstream log(logOfService());
        const std::string text(std::istreambuf_iterator<char>(log), {});
        return text.find("belongs to user 65534, and root does not serve it") != std::string::npos;
    }));
    EXPECT_TRUE(fs::is_empty(paths.folder()));
}

TEST_F(Life, ALibraryThatCantBeOpenedIsReportedAndTriedAgain) {
    ReleaseScope scope;
    fs::create_directories(fs::path(paths.database()).parent_path());
    writeFile(paths.database(), FileBytes(5000, std::byte{'x'}));
    for (const std::int64_t code : {15, 16, 69})
        EXPECT_NE(refusal(request(code).get()).find("not a database"), std::string::npos) << code;
    const auto job = Dictionary::createWithKeys({{"imageData", dataOf(pngOf(fourCorners(4, 4))).get()}});
    EXPECT_NE(refusal(saveRequest(job.get()).get()).find("not a database"), std::string::npos);
    EXPECT_EQ(fs::file_size(paths.database()), 5000U) << "what is not understood stays as it is";
    fs::remove(paths.database());
    EXPECT_EQ(answer(request(69).get())->getInt64("version"), store::modelVersion());
}

TEST_F(Life, ADamagedStoreIsOnlyRepaired) {
    const struct {
        const char *subject;
        void (*damage)(const std::string &database);
        const char *reason;
    } cases[] = {
        {"header", [](const std::string &database) { writeFile(database, FileBytes(5000, std::byte{'x'})); },
         "not a database"},
        {"loss", [](const std::string &database) { fs::remove(database); }, "missing"},
    };
    for (const auto &each : cases) {
        ReleaseScope scope;
        const FileBytes picture = pngOf(fourCorners(4, 4));
        const auto job = Dictionary::createWithKeys(
            {{"imageData", dataOf(picture).get()}, {"originalFilename", String::of("My name.png")}});
        const std::string uuid = textIn(save(job.get()), "uuid");
        end(daemon(), SIGTERM);
        connection = connect();
        for (const char *suffix : {"-wal", "-shm"})
            fs::remove(paths.database() + suffix);
        each.damage(paths.database());
        for (const std::int64_t code : {15, 16, 33, 36, 56, 69}) {
            const std::string refused = refusal(request(code).get());
            EXPECT_NE(refused.find(each.reason), std::string::npos)
                << each.subject << ' ' << code << ": " << refused;
            EXPECT_NE(refused.find("check --repair"), std::string::npos) << refused;
        }
        EXPECT_EQ(refusal(request(27).get()), "") << each.subject;
        const auto store = StoreView::open();
        ASSERT_TRUE(store) << each.subject;
        const auto *asset = store->assetWithUUID(uuid);
        ASSERT_NE(asset, nullptr) << each.subject;
        EXPECT_EQ(asset->record().originalFilename, "My name.png") << each.subject;
        EXPECT_EQ(contentsOf(paths.original(asset->record())), picture);
    }
    EXPECT_EQ(answer(request(16).get())->getUInt64("photoCount"), 2U);
}

// As if the kill had come before the thumbnails were in their places: they are another's.
TEST_F(Life, ThumbnailsThatAreDueAreMadeByTheNextDaemon) {
    ReleaseScope scope;
    const MutableDictionary *plain = saveData(jpegOf(fourCorners(400, 200)));
    const MutableDictionary *edited = saveData(jpegOf(fourCorners(400, 200)));
    const auto edit = request(17);
    edit->setString("assetURL", textIn(edited, "assetURL"));
    const FileBytes rendition = pngOf(fourCorners(90, 300));
    edit->setData("imageData", rendition.data(), rendition.size());
    ASSERT_TRUE(answer(edit.get())->getBool("success"));
    end(daemon(), SIGKILL);
    connection = connect();
    const std::string leftover = paths.saving() + "/staged-AAAAAAAA-0000-4000-8000-00000000ABCD";
    writeFile(leftover, rendition);
    ASSERT_TRUE(sqlite::Database::open(paths.database(), sqlite::Database::Access::write)
                    ->execute("INSERT OR REPLACE INTO zduethumbnail (asset) SELECT pk FROM zgenericasset"));
    const FileBytes another = jpegOf(fourCorners(50, 50));
    for (const MutableDictionary *each : {plain, edited})
        for (const auto size : {store::ThumbnailSize::small, store::ThumbnailSize::preview})
            writeFile(paths.thumbnail(textIn(each, "uuid"), size), another);

    answer(request(15).get()); // opens the library
    answer(request(28).get()); // once the work that was waiting is done
    const auto widthOf = [&](const MutableDictionary *asset) {
        return decodedPicture(contentsOf(paths.thumbnail(textIn(asset, "uuid"), store::ThumbnailSize::small)))
            .width;
    };
    EXPECT_EQ(widthOf(plain), 256U);
    EXPECT_EQ(widthOf(edited), 77U);
    EXPECT_EQ(StoreView::open()->assetWithUUID(textIn(plain, "uuid"))->record().thumbnailIndex, 2);
    EXPECT_FALSE(fs::exists(leftover));
    EXPECT_EQ(sqlite::Database::open(paths.database(), sqlite::Database::Access::read)
                  ->integer("SELECT count(*) FROM zduethumbnail WHERE made = 0"),
              0);
}

/// Clients that save without a pause, until they are told to stop.
class SavingClients {
public:
    SavingClients(MessageConnection *used, const std::vector<FileBytes> &toSave, std::size_t firstPicture)
        : connection(used), pictures(toSave), first(firstPicture) {
        for (int client = 0; client < clients; ++client)
            saveNext(client, client == 0);
    }
    void awaitAnswers(std::uint64_t count) const {
        for (; count > 0; --count)
            answers->wait();
    }
    /// One whose answer is handled after a kill would go on with each next daemon.
    void stop() { stopped = true; }
    /// What was answered: UUID to picture.
    std::map<std::string, std::size_t> take() {
        idle.get_future().wait();
        return std::move(answered);
    }

private:
    static constexpr int clients = 3;

    Ref<MessageDictionary> jobOf(std::size_t picture) const {
        const auto job = Dictionary::createWithKeys({{"imageData", dataOf(pictures[picture]).get()}});
        return Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(job.get()));
    }
    // One client saves in batches, the others one at a time, so that saves of both kinds overlap.
    void saveNext(int round, bool inBatches) {
        const std::size_t count = inBatches ? 4 : 1;
        auto message = MessageDictionary::create();
        message->setInt64("operation", inBatches ? 9 : 8);
        auto jobs = MessageArray::create();
        for (std::size_t i = 0; i < count; ++i)
            jobs->append(jobOf(pictureOf(round, i)).get());
        if (inBatches)
            message->set("jobDictionaries", jobs.get());
        else
            message->set("jobDictionary", jobs->at(0));
        connection->sendWithReply(message.get(), WorkQueue::global(),
                                  [this, round, inBatches](MessageValue *reply) {
                                      const bool saved = note(reply, round, inBatches);
                                      answers->signal();
                                      if (saved && !stopped)
                                          saveNext(round + 1, inBatches);
                                      else if (stillSaving.fetch_sub(1) == 1)
                                          idle.set_value();
                                  });
    }
    bool note(MessageValue *reply, int round, bool inBatches) {
        const auto *dictionary = as<MessageDictionary>(reply);
        if (dictionary == nullptr) {
            if (reply != MessageError::connectionInterrupted())
                ADD_FAILURE() << "a save was refused: " << reply->description()->utf8();
            return false;
        }
        const MessageArray *results = dictionary->getArray("resultJobDictionaries");
        for (std::size_t i = 0; i < (inBatches ? results->count() : 1); ++i) {
            const auto *result = JXJobDictionaryFromMsgDictionary(
                inBatches ? results->at(i) : dictionary->get("resultJobDictionary"));
            const std::string uuid = result != nullptr ? textIn(result, "uuid") : std::string();
            EXPECT_NE(uuid, "") << "a save was refused: " << reply->description()->utf8();
            const std::lock_guard guard(lock);
            answered[uuid] = pictureOf(round, i);
        }
        return true;
    }
    std::size_t pictureOf(int round, std::size_t index) const {
        return (first + static_cast<std::size_t>(round) + index) % pictures.size();
    }

    MessageConnection *connection;
    const std::vector<FileBytes> &pictures;
    std::size_t first;
    std::atomic<bool> stopped = false;
    std::atomic<int> stillSaving = clients;
    Ref<Semaphore> answers = Semaphore::create(0);
    std::promise<void> idle;
    std::mutex lock;
    std::map<std::string, std::size_t> answered;
};

/// A client that moves assets to the trash and back without a pause, until it is told to stop.
class TrashingClient {
public:
    /// Where an asset is, as far as its answers say.
    enum class Place { library, trash, either };

    TrashingClient(MessageConnection *used, std::map<std::string, Place> &known)
        : connection(used), places(known) {
        moveNext();
    }
    void stop() { stopped = true; }
    void waitForEnd() { ended.get_future().wait(); }

private:
    void moveNext() {
        if (places.empty() || stopped) {
            ended.set_value();
            return;
        }
        auto next = places.upper_bound(current);
        if (next == places.end())
            next = places.begin();
        current = next->first;
        const bool comesBack = next->second == Place::trash;
        next->second = Place::either;
        auto message = MessageDictionary::create();
        message->setInt64("operation", comesBack ? 1002 : 13);
        message->setString("assetURL", "rez-vault://asset/asset.JPG?id=" + current + "&ext=JPG");
        connection->sendWithReply(message.get(), WorkQueue::global(), [this, comesBack](MessageValue *reply) {
            const auto *answer = as<MessageDictionary>(reply);
            if (answer == nullptr) {
                ended.set_value();
                return;
            }
            EXPECT_TRUE(answer->getBool("success")) << answer->description()->utf8();
            places[current] = comesBack ? Place::library : Place::trash;
            moveNext();
        });
    }

    MessageConnection *connection;
    std::map<std::string, Place> &places;
    std::string current;
    std::atomic<bool> stopped = false;
    std::promise<void> ended;
};

/// Kills the daemon, and often its media workers before it, at random instants while several clients save,
/// and checks the library after each. WICKERLANE_KILLS and WICKERLANE_SEED say how often and from which seed.
TEST_F(Life, WhateverWasAnsweredIsWholeAfterAKillAtAnyInstant) {
    const char *wantedKills = std::getenv("WICKERLANE_KILLS"), *wantedSeed = std::getenv("WICKERLANE_SEED");
    const int kills = wantedKills != nullptr ? std::stoi(wantedKills) : 100;
    const std::uint64_t seed = wantedSeed != nullptr ? std::stoull(wantedSeed) : std::random_device{}();
    std::printf("seed %llu, %d kills\n", static_cast<unsigned long long>(seed), kills);
    std::mt19937_64 random(seed);

    std::vector<FileBytes> pictures;
    for (std::uint32_t i = 0; i < 6; ++i)
        pictures.push_back(i % 2 == 0 ? jpegOf(fourCorners(300 + i, 200)) : pngOf(fourCorners(60 + i, 40)));
    using Place = TrashingClient::Place;
    std::map<std::string, Place> places; // of those in `kept`
    std::size_t answered = 0, workersKilled = 0, inTrash = 0;
    // Of one library; every thirty kills another is begun, so that looking at all of it stays quick.
    std::map<std::string, std::size_t> kept;

    for (int kill = 0; kill < kills; ++kill) {
        ReleaseScope scope;
        if (kill % 30 == 0 && kill > 0) {
            end(daemon(), SIGKILL);
            connection = connect();
            fs::remove_all(paths.folder());
            kept.clear();
            places.clear();
        }
        answer(request(15).get());
        const Process process = daemon();
        ASSERT_TRUE(process.handle);

        SavingClients clients(connection.get(), pictures, static_cast<std::size_t>(kill));
        TrashingClient trashing(connection.get(), places);
        // The instant: after some answers, and somewhere within the saves that follow.
        clients.awaitAnswers(random() % 5);
        if (random() % 3 == 0) {
            const std::vector<pid_t> workers = childrenOf(process.id);
            if (!workers.empty()) {
                ::kill(workers[random() % workers.size()], SIGKILL);
                ++workersKilled;
            }
        }
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 40'000));
        clients.stop();
        trashing.stop();
        end(process, SIGKILL);
        const auto now = clients.take();
        trashing.waitForEnd();
        answered += now.size();
        kept.insert(now.begin(), now.end());
        connection = connect(); // a request that met the end of the old daemon would fail

        // The next daemon puts right what is left; then nothing may be missing, and nothing may be over.
        answer(request(28).get()); // once the thumbnails that were due are made
        const auto store = store::StoreReader::open(paths);
        ASSERT_TRUE(store) << store.error().text;
        std::map<std::string, std::pair<AssetRecord, Place>> found;
        const auto assets = (*store)->page({.limit = 10'000});
        const auto trash = (*store)->trash();
        ASSERT_TRUE(assets && trash);
        for (const AssetRecord &each : assets->records)
            found.emplace(each.uuid, std::pair(each, Place::library));
        for (const auto &each : *trash) {
            ++inTrash;
            const auto &record = each.asset->record();
            ASSERT_TRUE(found.emplace(record.uuid, std::pair(record, Place::trash)).second)
                << "both in the library and in the trash: " << record.uuid;
        }
        std::size_t files = 0, thumbnails = 0;
        for (const auto &[uuid, each] : found) {
            const AssetRecord &record = each.first;
            ASSERT_EQ(sumOfFile(paths.original(record)), record.sha256) << uuid;
            ASSERT_EQ(fs::file_size(paths.original(record)), record.byteSize);
            ++files;
            // A picture whose worker was killed twice has none, and says so.
            ASSERT_NE(record.thumbnailIndex == 0, record.problem.empty());
            if (record.thumbnailIndex == 0)
                continue;
            for (const auto size : {store::ThumbnailSize::small, store::ThumbnailSize::preview})
                ASSERT_GT(decodedPicture(contentsOf(paths.thumbnail(uuid, size))).width, 0U);
            thumbnails += 2;
        }
        for (const auto &[uuid, picture] : kept) {
            ASSERT_TRUE(found.contains(uuid)) << "an answered save was lost: " << uuid;
            const auto &[record, place] = found.at(uuid);
            ASSERT_EQ(contentsOf(paths.original(record)), pictures[picture]);
            const auto known = places.emplace(uuid, Place::library).first;
            ASSERT_TRUE(known->second == Place::either || known->second == place)
                << "an answered move to the trash or back was lost: " << uuid;
            known->second = place;
        }
        EXPECT_EQ(filesBelow(paths.folder() + "/DCIM").size(), files) << "a file without its row";
        EXPECT_EQ(filesBelow(paths.folder() + "/PhotoData/Thumbnails").size(), thumbnails);
        EXPECT_TRUE(fs::is_empty(paths.saving()));
        if (HasFailure())
            FAIL() << "after kill " << kill << " from seed " << seed;
    }
    EXPECT_GT(answered, 0U);
    std::printf("%zu saves answered, none lost; %zu workers killed; %zu times an asset was in the trash\n",
                answered, workersKilled, inTrash);
}

} // namespace
