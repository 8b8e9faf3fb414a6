// Moments, duplicates and rebuilt thumbnails, asked of a running daemon.
#include <fcntl.h>

#include <csignal>
#include <filesystem>
#include <random>
#include <set>
#include <thread>

#include "hoardd/analysis/DuplicateStore.h"
#include "hoardd/analysis/MomentStore.h"
#include "tests/hoardd/RunningHoardd.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/model/StoredObject.h"
#include "wickerlane/store/AnalysisReader.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

class Analysis : public RunningHoardd {
protected:
    std::string saveAt(double unixSeconds, const FileBytes &picture) const {
        const auto job =
            Dictionary::createWithKeys({{"imageData", dataOf(picture).get()},
                                        {"creationDate", Date::createWithUnixSeconds(unixSeconds).get()}});
        return textIn(save(job.get()), "uuid");
    }
    [[nodiscard]] bool isComplete() const { return answer(request(72).get())->getBool("isComplete"); }
    [[nodiscard]] store::AnalysisReader reader() const {
        auto opened = store::AnalysisReader::open(paths);
        EXPECT_TRUE(opened) << opened.error().text;
        return std::move(*opened);
    }
    [[nodiscard]] std::vector<std::vector<std::string>> moments() const {
        std::vector<std::vector<std::string>> all;
        const auto page = reader().moments({.withAssets = true}).value();
        for (const MomentRecord &moment : page.moments)
            all.push_back(moment.uuids);
        return all;
    }
    /// The groups of one likeness, each sorted.
    [[nodiscard]] std::set<std::set<std::string>> groups(bool same) const {
        std::set<std::set<std::string>> all;
        const auto page = reader().duplicates({.isSame = same}).value();
        for (const DuplicatesRecord &group : page.groups)
            all.emplace(group.uuids.begin(), group.uuids.end());
        return all;
    }
    [[nodiscard]] static Ref<MessageDictionary> rebuildRequest(bool incremental) {
        auto message = request(61);
        message->setBool("incremental", incremental);
        return message;
    }
    [[nodiscard]] static Ref<MessageDictionary> decision(bool areDuplicates,
                                                         std::initializer_list<std::string> uuids) {
        auto list = MutableArray::create();
        for (const std::string &uuid : uuids)
            list->append(String::of(uuid));
        auto message = request(1000);
        message->setBool("areDuplicates", areDuplicates);
        JXMsgDictionarySetArray(message.get(), "photoUUIDs", list.get());
        return message;
    }
};

TEST_F(Analysis, MomentsAreMadeOfWhatWasSavedAndFollowIt) {
    ReleaseScope scope;
    answer(request(15).get());
    EXPECT_TRUE(isComplete()) << "an empty library has nothing to analyze";
    const double noon = 1.6e9;
    const FileBytes picture = pngOf(fourCorners(8, 8));
    const std::string first = saveAt(noon, picture), second = saveAt(noon + 60, picture);
    const std::string later = saveAt(noon + 90'000, picture);
    EXPECT_FALSE(isComplete());
    answer(rebuildRequest(true).get());
    EXPECT_EQ(moments(), (std::vector<std::vector<std::string>>{{first, second}, {later}}));
    EXPECT_FALSE(isComplete()) << "they have been made, not looked into";
    answer(request(63).get());
    EXPECT_TRUE(isComplete());

    auto opened = reader();
    const auto made = opened.moments({})->moments;
    ASSERT_EQ(made.size(), 2U);
    EXPECT_EQ(made[0].photoCount, 2U);
    EXPECT_EQ(made[0].keyAsset, first);
    EXPECT_EQ(opened.momentLists()->size(), 1U);
    EXPECT_EQ(opened.momentLists()->front().keyAsset, first);

    // An older photo comes: the moment goes on under its own key.
    const std::string earlier = saveAt(noon - 60, picture);
    EXPECT_FALSE(isComplete());
    answer(request(64).get());
    EXPECT_TRUE(isComplete());
    EXPECT_EQ(moments().front(), (std::vector<std::string>{earlier, first, second}));
    EXPECT_EQ(opened.moments({})->moments.front().primaryKey, made[0].primaryKey);
    answer(rebuildRequest(false).get());
    answer(request(62).get());
    EXPECT_TRUE(isComplete()) << "a rebuild finds everything as it should be";
}

TEST_F(Analysis, IsDoneUnaskedSoonAfterChanges) {
    ReleaseScope scope;
    describeService({"--idle-seconds", "60"}, "0.02");
    const std::string one = saveAt(1.6e9, jpegOf(scene(320, 240, 1)));
    const std::string copy = saveAt(1.6e9, jpegOf(scene(160, 120, 1), 60));
    EXPECT_TRUE(waitUntil([&] { return groups(true).contains({one, copy}) && isComplete(); }));
    EXPECT_EQ(moments().size(), 1U);
    // Deletions count as well.
    const auto remove = request(13);
    remove->setString("assetURL",
                      StoreView::open()->assetWithUUID(one)->assetURL()->absoluteString()->utf8());
    EXPECT_TRUE(answer(remove.get())->getBool("success"));
    EXPECT_TRUE(
        waitUntil([&] { return isComplete() && reader().moments({})->moments.front().assetCount == 1; }));
    // What an earlier daemon has left is done by the next.
    end(daemon(), SIGTERM);
    describeService();
    connection = connect();
    saveAt(1.7e9, jpegOf(scene(320, 240, 2)));
    EXPECT_FALSE(isComplete());
    end(daemon(), SIGTERM);
    describeService({"--idle-seconds", "60"}, "0.02");
    connection = connect();
    EXPECT_TRUE(waitUntil([&] { return isComplete(); }));
}

TEST_F(Analysis, OneMomentOrListIsNamedByItsObjectID) {
    ReleaseScope scope;
    saveAt(1e9, pngOf(fourCorners(8, 8)));
    answer(rebuildRequest(true).get());
    const std::string storeUUID = StoreView::open()->storeUUID();
    const auto named = [](std::int64_t code, const char *key, const std::string &uri) {
        auto message = request(code);
        message->setData(key, uri.data(), uri.size());
        return message;
    };
    const std::string moment = objectURI(storeUUID, 1, "Moment");
    const std::string list = objectURI(storeUUID, 1, "MomentList");
    auto opened = reader();
    const auto byObject = [](std::int64_t code, const char *key, const StoredObject *object) {
        auto message = request(code);
        JXMsgDictionarySetManagedObjectID(message.get(), key, object->objectID());
        return message;
    };
    const auto momentObject =
        StoredObject::create(storeUUID, momentEntity, opened.moments({})->moments.front().primaryKey);
    answer(byObject(65, "momentOID", momentObject.get()).get());
    EXPECT_TRUE(opened.moments({})->moments.front().isAnalyzed);
    saveAt(1e9 + 1, pngOf(fourCorners(8, 8)));
    answer(rebuildRequest(true).get());
    EXPECT_FALSE(isComplete());
    const auto listObject =
        StoredObject::create(storeUUID, momentListEntity, opened.momentLists()->front().primaryKey);
    answer(byObject(66, "momentListOID", listObject.get()).get());
    EXPECT_TRUE(isComplete());
    answer(named(65, "momentOID", moment).get());
    answer(named(66, "momentListOID", list).get());
    // What is gone is no error: who asked could not know.
    answer(named(65, "momentOID", objectURI(storeUUID, 77, "Moment")).get());
    for (const std::string &uri :
         {list, moment + "x", std::string("x-hoard-store://other/Moment/p1"), std::string()})
        EXPECT_NE(refusal(named(65, "momentOID", uri).get()), "") << uri;
    EXPECT_NE(refusal(named(66, "momentListOID", moment).get()), "");
}

TEST_F(Analysis, DuplicatesAreFoundAndAPersonsWordIsRemembered) {
    ReleaseScope scope;
    const double noon = 1.6e9;
    const std::string original = saveAt(noon, jpegOf(scene(320, 240, 1)));
    const std::string small = saveAt(noon, jpegOf(scene(160, 120, 1), 60));
    const std::string shaken = saveAt(noon + 2, jpegOf(scene(320, 240, 1, 0.01)));
    const std::string other = saveAt(noon + 3, jpegOf(scene(320, 240, 2)));
    const FileBytes words(50, std::byte{'w'});
    const std::string oneText = saveAt(noon, words), sameText = saveAt(noon + 9e5, words);
    using Groups = std::set<std::set<std::string>>;
    answer(request(64).get());
    EXPECT_EQ(groups(true), (Groups{{original, small}, {oneText, sameText}}));
    EXPECT_EQ(groups(false), (Groups{{original, small, shaken}}));
    EXPECT_TRUE(reader().areDuplicatesComplete().value_or(false));

    // What comes later joins.
    const std::string copy = saveAt(noon + 9e5, pngOf(scene(320, 240, 2)));
    EXPECT_FALSE(reader().areDuplicatesComplete().value_or(true));
    answer(request(64).get());
    EXPECT_EQ(groups(true), (Groups{{original, small}, {oneText, sameText}, {other, copy}}));

    answer(decision(false, {original, small}).get());
    EXPECT_EQ(groups(true), (Groups{{oneText, sameText}, {other, copy}}));
    answer(request(68).get());
    EXPECT_EQ(groups(true), Groups{});
    answer(request(64).get());
    EXPECT_EQ(groups(true), (Groups{{oneText, sameText}, {other, copy}})) << "a reset forgets no decision";
    answer(decision(true, {small, original}).get());
    EXPECT_EQ(groups(true), (Groups{{original, small}, {oneText, sameText}, {other, copy}}));

    EXPECT_NE(refusal(decision(false, {original}).get()), "");
    EXPECT_NE(refusal(decision(false, {original, "nobody"}).get()), "");
}

TEST_F(Analysis, TheCloudFeedGathersWhatCameIntoSharedAlbums) {
    ReleaseScope scope;
    const std::string first = saveAt(1e9, pngOf(fourCorners(8, 8))),
                      second = saveAt(2e9, pngOf(fourCorners(9, 8)));
    const auto albumWith = [&](std::int64_t code, const char *key, const char *name,
                               std::initializer_list<std::string> uuids) {
        const auto made = request(code);
        made->setString(key, name);
        answer(made.get());
        const auto opened = StoreView::open();
        const std::string album = opened->albumNamed(name)->record().uuid;
        for (const std::string &uuid : uuids) {
            const auto added = request(12);
            added->setString("assetURL",
                             std::string(opened->assetWithUUID(uuid)->assetURL()->absoluteString()->utf8()));
            added->setString("albumUUID", album);
            EXPECT_TRUE(answer(added.get())->getBool("success"));
        }
        return album;
    };
    albumWith(11, "name", "mine", {first});
    const std::string shared = albumWith(34, "streamID", "everybody's", {second, first});
    for (const bool isRebuilt : {false, true, true}) {
        if (isRebuilt)
            answer(request(67).get());
        const auto feed = reader().cloudFeed().value();
        ASSERT_EQ(feed.size(), 1U) << "one entry for what was added in one go, none for what is not shared";
        EXPECT_EQ(feed[0].albumUUID, shared);
        EXPECT_EQ(feed[0].uuids, (std::vector<std::string>{first, second}));
        EXPECT_LE(feed[0].startDate, feed[0].endDate);
    }
}

TEST_F(Analysis, AllThumbnailsAreRemade) {
    ReleaseScope scope;
    const std::string uuid = saveAt(1e9, jpegOf(scene(300, 240, 1)));
    const std::string broken = saveAt(1e9, FileBytes(40, std::byte{1}));
    const std::string small = paths.thumbnail(uuid, store::ThumbnailSize::small);
    std::filesystem::resize_file(small, 10);
    answer(request(73).get());
    EXPECT_EQ(decodedPicture(contentsOf(small)).width, 256U);
    const auto opened = StoreView::open();
    EXPECT_EQ(opened->assetWithUUID(uuid)->record().thumbnailIndex, 2);
    EXPECT_EQ(opened->assetWithUUID(broken)->record().thumbnailIndex, 0)
        << "what can't be decoded is left alone";
    std::filesystem::remove(paths.original(opened->assetWithUUID(uuid)->record()));
    EXPECT_NE(refusal(request(73).get()).find("1 asset"), std::string::npos);
}

// The long work is killed while media workers stand still, so that it is surely under way.
TEST_F(Analysis, IsContinuedByTheNextDaemonAndDelaysNoShortRequest) {
    ReleaseScope scope;
    constexpr int pictures = 5;
    for (int i = 0; i < pictures; ++i)
        saveAt(1e9 + i, jpegOf(scene(90, 60, static_cast<unsigned>(i % 2))));
    const Process process = daemon();
    const std::vector<pid_t> workers = mediaWorkersOf(process.id);
    for (const pid_t worker : workers)
        kill(worker, SIGSTOP);
    const auto ended = Semaphore::create(0);
    for (const std::int64_t code : {64, 73})
        connection->sendWithReply(request(code).get(), WorkQueue::global(), [ended](MessageValue *reply) {
            EXPECT_EQ(reply, MessageError::connectionInterrupted());
            ended->signal();
        });
    EXPECT_EQ(answer(request(16).get())->getUInt64("photoCount"), pictures);
    EXPECT_FALSE(isComplete());
    end(process, SIGKILL);
    ended->wait();
    ended->wait();
    for (const pid_t worker : workers)
        kill(worker, SIGCONT); // those end with their daemon
    connection = connect();

    EXPECT_FALSE(isComplete()) << "what was not done is not forgotten";
    answer(request(64).get());
    EXPECT_TRUE(isComplete());
    EXPECT_TRUE(reader().areDuplicatesComplete().value_or(false));
    EXPECT_EQ(moments().size(), 1U);
}

/// Kills the daemon at random instants of its analyses, and looks whether the next one makes of the library
/// what a whole rebuild makes of it. WICKERLANE_KILLS and WICKERLANE_SEED say how often and from which seed.
TEST_F(Analysis, AKillAtAnyInstantLeavesWhatTheNextDaemonCompletes) {
    const char *wantedKills = std::getenv("WICKERLANE_KILLS"), *wantedSeed = std::getenv("WICKERLANE_SEED");
    const int kills = wantedKills != nullptr ? std::stoi(wantedKills) : 8;
    const unsigned seed =
        wantedSeed != nullptr ? static_cast<unsigned>(std::stoul(wantedSeed)) : std::random_device{}();
    std::printf("seed %u, %d kills\n", seed, kills);
    std::mt19937 random(seed);
    for (int round = 0; round < kills; ++round) {
        ReleaseScope scope;
        for (int i = 0; i < 4; ++i)
            saveAt(1e9 + static_cast<double>(random() % 400'000), jpegOf(scene(60, 60, random() % 6)));
        const Process process = daemon();
        const auto ended = Semaphore::create(0);
        const auto end64 = [ended](MessageValue *) { ended->signal(); };
        for (const auto &message : {request(64), rebuildRequest(random() % 2 == 0), request(63)})
            connection->sendWithReply(message.get(), WorkQueue::global(), end64);
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 30'000));
        end(process, SIGKILL);
        for (int i = 0; i < 3; ++i)
            ended->wait();
        connection = connect();

        answer(request(64).get());
        auto database = sqlite::Database::open(paths.database(), sqlite::Database::Access::read);
        ASSERT_TRUE(database) << database.error().text;
        const auto moments = hoardd::planMoments(*database, false);
        ASSERT_TRUE(moments && moments->moments.empty() && moments->gone.empty()) << "round " << round;
        EXPECT_TRUE(isComplete());
        std::set<std::set<std::string>> expected;
        sqlite::Statement uuid = database->prepare("SELECT uuid FROM zgenericasset WHERE pk = ?");
        const auto plan = hoardd::planDuplicates(*database);
        ASSERT_TRUE(plan);
        for (const hoardd::DuplicateGroup &group : plan->groups) {
            std::set<std::string> uuids;
            for (const std::int64_t key : group.keys) {
                uuid.bind(key);
                ASSERT_TRUE(uuid.next());
                uuids.emplace(uuid.text(0));
                uuid.reset();
            }
            if (group.likeness == hoardd::Likeness::same)
                expected.insert(std::move(uuids));
        }
        EXPECT_EQ(groups(true), expected) << "round " << round;
    }
}

} // namespace
