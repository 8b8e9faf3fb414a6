// The client against a daemon that does what it is told.
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

#include "tests/client/OwnClient.h"
#include "tests/support/Descriptors.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/AlbumRows.h"
#include "wickerlane/protocol/AnalysisRows.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/CoreRows.h"
#include "wickerlane/protocol/LibraryRows.h"
#include "wickerlane/protocol/QueryRows.h"
#include "wickerlane/testing/ScriptedDaemon.h"

using namespace wickerlane;
namespace keys = wickerlane::protocol::keys;
using Reaction = ScriptedReaction;

namespace {

struct ScriptedDaemons : ::testing::Test {
    const ReleaseScope scope;
    ScriptedDaemon daemon;
    const test::OwnClient client;

    ScriptedDaemons() {
        test::allowLastingDescriptors(test::readerDescriptors);
        test::allowLastingDescriptors(test::folderWatchDescriptors);
    }

    static Reaction version(std::int64_t number) { return Reaction::answer().with(keys::version, number); }
    static std::int64_t lastCode() {
        const Error *error = JXGatekeeperClient::lastError();
        return error != nullptr ? error->code() : -1;
    }
    static std::string lastText() {
        const Error *error = JXGatekeeperClient::lastError();
        return error != nullptr ? std::string(error->localizedDescription()->utf8()) : "";
    }
};

constexpr std::int64_t codeOf(ProblemKind kind) {
    return static_cast<std::int64_t>(kind);
}

/// The reason for which a script is no script.
template <class Call>
std::string faultOf(const Call &call) {
    try {
        call();
    } catch (const std::invalid_argument &fault) {
        return fault.what();
    }
    return "none";
}

} // namespace

TEST_F(ScriptedDaemons, AnswerByTheKeysOfTheRow) {
    daemon.on(protocol::getCurrentModelVersion, version(12));
    daemon.on("secondsNeededToCleanupModelAfterHarborsyncRestore",
              Reaction::answer(Dictionary::createWithKeys({{"seconds", Number::of(7)}}).get()));
    daemon.on(protocol::fileDescriptorForAssetURL,
              Reaction::answer(
                  Dictionary::createWithKeys({{"filedescriptor", String::of("/proc/self/exe")}}).get()));
    EXPECT_EQ(client->getCurrentModelVersion(), 12);
    EXPECT_EQ(client->secondsNeededToCleanupModelAfterHarborsyncRestore(), 7);
    const int file = client->fileDescriptorForAssetURL(URL::of("rez-vault://a"));
    EXPECT_GE(file, 0);
    close(file);
}

TEST_F(ScriptedDaemons, RecordWhatWasSentInItsOrder) {
    daemon.onAllElse(Reaction::answer());
    EXPECT_TRUE(client->renameAlbumWithUUID(String::of("U"), String::of("Dunes")));
    client->setAreDuplicates(true, autorelease(MutableArray::create()));
    client->clearChangeStore(); // wants no reply
    ASSERT_TRUE(daemon.waitForRequests(3));
    const auto requests = daemon.requests();
    EXPECT_EQ(requests[0].text(), "renameAlbumWithUUID:to: albumUUID=U name=Dunes");
    EXPECT_EQ(requests[0].keys(), (std::vector<std::string>{"albumUUID", "name"}));
    EXPECT_EQ(requests[0].process, getpid());
    EXPECT_EQ(requests[1].text(), "setAreDuplicates:forPhotos: areDuplicates=1 photoUUIDs=()");
    EXPECT_EQ(requests[1].get<Number>("areDuplicates")->kind(), Number::Kind::boolean);
    EXPECT_EQ(requests[2].text(), "clearChangeStore");
    EXPECT_TRUE(requests[1].wantsReply && !requests[2].wantsReply);
    daemon.forgetRequests();
    EXPECT_TRUE(daemon.requests().empty());
}

TEST_F(ScriptedDaemons, FailTheNthRequest) {
    daemon.on(protocol::getCurrentModelVersion, version(1));
    EXPECT_EQ(client->getCurrentModelVersion(), 1);
    daemon.onNth(2, protocol::getCurrentModelVersion, Reaction::failure(ProblemKind::busy, "in use"));
    EXPECT_EQ(client->getCurrentModelVersion(), 1);
    EXPECT_EQ(client->getCurrentModelVersion(), -1);
    EXPECT_EQ(lastCode(), codeOf(ProblemKind::busy));
    EXPECT_EQ(lastText(), "in use. Try again later.");
    EXPECT_EQ(client->getCurrentModelVersion(), 1);
}

TEST_F(ScriptedDaemons, FailInTheWayOfTheOperation) {
    daemon.onAllElse(Reaction::failure(ProblemKind::queueFull, "too much"));
    const auto answered = Semaphore::create(0);
    client->deleteAssetWithURL(URL::of("rez-vault://a"), [&](bool success, Error *error) {
        EXPECT_FALSE(success);
        EXPECT_EQ(error, nullptr); // which would stand for the entitlement
        answered->signal();
    });
    answered->wait();
    client->saveAssetWithJobDictionary(autorelease(Dictionary::create()), [&](Dictionary *, Error *error) {
        EXPECT_EQ(error != nullptr ? error->code() : 0, WickerlaneErrorJobQueueFull);
        answered->signal();
    });
    answered->wait();
}

TEST_F(ScriptedDaemons, AnswerLateOrNever) {
    daemon.on(protocol::getCurrentModelVersion, version(1).whenReleased());
    {
        const ReplyTimeLimit limit(std::chrono::milliseconds(20));
        EXPECT_EQ(client->getCurrentModelVersion(), -1);
    }
    EXPECT_EQ(lastCode(), codeOf(ProblemKind::timedOut));
    // The late answer is dropped, and the next request has its own.
    daemon.release();
    const auto start = std::chrono::steady_clock::now();
    daemon.on(protocol::getCurrentModelVersion, version(2).after(std::chrono::milliseconds(20)));
    EXPECT_EQ(client->getCurrentModelVersion(), 2);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
}

TEST_F(ScriptedDaemons, ReleaseWhatIsHeld) {
    daemon.on(protocol::requestAccess, Reaction::answer().with(keys::authorized, 0).whenReleased());
    const auto answered = Semaphore::create(0);
    client->requestAccessWithHandler([&](bool isGranted, Error *) {
        EXPECT_TRUE(isGranted);
        answered->signal();
    });
    ASSERT_TRUE(daemon.waitForRequests(1));
    EXPECT_FALSE(answered->wait(std::chrono::nanoseconds(0)));
    daemon.release();
    answered->wait();
}

TEST_F(ScriptedDaemons, DieAndAreThereAgain) {
    daemon.on(protocol::allAlbums, Reaction::answer().whenReleased());
    daemon.on(protocol::getCurrentModelVersion, version(1));
    daemon.onNth(2, protocol::getCurrentModelVersion, Reaction::death());
    EXPECT_EQ(client->getCurrentModelVersion(), 1);
    const auto answered = Semaphore::create(0);
    client->requestImageDataForAsset(nullptr, 1, [&](Data *, int) { answered->signal(); });
    EXPECT_EQ(client->getCurrentModelVersion(), -1);
    EXPECT_EQ(lastCode(), codeOf(ProblemKind::ending));
    answered->wait(); // what was not answered fails too
    EXPECT_EQ(client->getCurrentModelVersion(), 1);
}

TEST_F(ScriptedDaemons, CanBeAway) {
    daemon.on(protocol::getCurrentModelVersion, version(1));
    EXPECT_EQ(client->getCurrentModelVersion(), 1);
    daemon.stop();
    EXPECT_EQ(client->getCurrentModelVersion(), -1);
    EXPECT_EQ(lastCode(), codeOf(ProblemKind::unreachable));
    daemon.start();
    const test::OwnClient next;
    EXPECT_EQ(next->getCurrentModelVersion(), 1);
}

TEST_F(ScriptedDaemons, RefuseAccess) {
    daemon.on(protocol::getCurrentModelVersion, version(1));
    daemon.refuseAccess();
    const auto answered = Semaphore::create(0);
    std::vector<std::int64_t> codes;
    const auto ask = [&] {
        client->requestAccessWithHandler([&](bool, Error *error) {
            codes.push_back(error != nullptr ? error->code() : 0);
            answered->signal();
        });
        answered->wait();
    };
    ask();
    EXPECT_EQ(client->getCurrentModelVersion(), -1);
    EXPECT_EQ(lastCode(), codeOf(ProblemKind::refused));
    daemon.refuseAccess(false);
    ask();
    EXPECT_EQ(client->getCurrentModelVersion(), 1);
    EXPECT_EQ(codes, (std::vector<std::int64_t>{WickerlaneErrorAccessStatusOne, 0}));
}

TEST_F(ScriptedDaemons, AnswerByAFunction) {
    daemon.on(protocol::renameAlbum, Reaction::by([](const ScriptedRequest &request) {
                  return request.get<String>("name")->utf8() == "taken"
                             ? Reaction::failure(ProblemKind::exists, "there is one")
                             : Reaction::answer();
              }));
    EXPECT_TRUE(client->renameAlbumWithUUID(String::of("U"), String::of("free")));
    EXPECT_FALSE(client->renameAlbumWithUUID(String::of("U"), String::of("taken")));
    EXPECT_EQ(lastCode(), codeOf(ProblemKind::exists));
    daemon.on(protocol::allAlbums, Reaction::by([](const ScriptedRequest &) {
                  return Reaction::answer().with(keys::version, 1);
              }));
    EXPECT_FALSE(client->albums());
    EXPECT_EQ(lastText(), "the reply of albums has no \"version\"; it has \"albums\", \"storeUUID\"");
}

TEST_F(ScriptedDaemons, AnswerQueriesByPages) {
    AssetRecord photo, video;
    photo.originalFilename = "a.jpg";
    video.kind = AssetKind::video;
    video.duration = 2.5;
    daemon.on(protocol::assetsMatchingQuery, Reaction::assets({photo, video, {}}));
    AssetQuery query{.limit = 2};
    auto page = client->assetsMatchingQuery(query);
    ASSERT_TRUE(page) << lastText();
    ASSERT_EQ(page->assets.size(), 2U);
    EXPECT_EQ(page->assets[0]->record().originalFilename, "a.jpg");
    EXPECT_EQ(page->assets[0]->record().filename, "IMG_0001.JPG");
    EXPECT_EQ(page->assets[1]->record().duration, 2.5);
    query.cursor = page->next;
    query.fields = AssetFields::identity;
    page = client->assetsMatchingQuery(query);
    ASSERT_TRUE(page && page->assets.size() == 1U) << lastText();
    EXPECT_EQ(page->assets[0]->record().uuid, "00000000-0000-4000-8001-000000000003");
    EXPECT_EQ(page->assets[0]->record().format, "") << "a field that was not asked for";
    EXPECT_EQ(page->next, "");
    query.cursor = "7";
    EXPECT_FALSE(client->assetsMatchingQuery(query));
}

TEST_F(ScriptedDaemons, AnswerEachKindOfQuery) {
    AlbumRecord dunes;
    dunes.name = "Dunes";
    MomentRecord moment;
    moment.startDate = 5;
    AssetChange change;
    change.uuid = "A";
    daemon.on(protocol::allAlbums, Reaction::albums({dunes, {}}));
    daemon.on(protocol::momentsMatchingQuery, Reaction::moments({moment}));
    daemon.on(protocol::duplicatesMatchingQuery, Reaction::duplicates({{true, {"A", "B"}}}));
    daemon.on(protocol::sectionsOfAssets, Reaction::sections({{8, {1500, 0}}}));
    daemon.on(protocol::changesSinceToken, Reaction::changes({{change}, "t"}));
    const auto albums = client->albums();
    ASSERT_TRUE(albums && albums->size() == 2) << lastText();
    EXPECT_EQ(albums->at(0)->record().name, "Dunes");
    EXPECT_EQ(albums->at(1)->record().name, "Album 2");
    daemon.on(protocol::trashMatchingQuery, Reaction::assets({{}}));
    const auto trash = client->trashMatchingQuery({});
    EXPECT_TRUE(trash && trash->assets.size() == 1) << lastText();
    const auto moments = client->momentsMatchingQuery({});
    EXPECT_TRUE(moments && moments->moments.size() == 1 && moments->moments[0].startDate == 5);
    const auto groups = client->duplicatesMatchingQuery({});
    EXPECT_TRUE(groups && groups->groups.size() == 1 && groups->groups[0].uuids.size() == 2 &&
                groups->isComplete);
    const auto sections = client->sectionsOfAssets({}, SectionUnit::day);
    EXPECT_TRUE(sections && sections->size() == 1 && sections->at(0).shapes.size() == 2);
    const auto changes = client->changesSinceToken("", 5);
    EXPECT_TRUE(changes && changes->changes.size() == 1 && changes->token == "t" && changes->isLast);
}

TEST_F(ScriptedDaemons, SayWhatTheyWereNotTold) {
    EXPECT_FALSE(client->albums());
    EXPECT_EQ(lastText(), "the scripted daemon has no answer to \"albums\"");
    const auto answered = Semaphore::create(0);
    client->requestAccessWithHandler([&](bool isGranted, Error *) {
        EXPECT_TRUE(isGranted);
        answered->signal();
    });
    answered->wait();
}

TEST_F(ScriptedDaemons, RefuseScriptsThatNoDaemonCouldFollow) {
    const auto plain = [](const char *key, Object *value) {
        return Reaction::answer(Dictionary::createWithKeys({{key, value}}).get());
    };
    const auto assets = [&](std::string_view key, Object *value) {
        return plain("assets", Array::of({autorelease(Dictionary::createWithKeys({{key, value}}))}));
    };
    String *text = String::of("x");
    struct Case {
        const char *operation;
        Reaction reaction;
        const char *fault;
    };
    for (const Case &each : {
             Case{"assetsMatching", Reaction::answer(),
                  "there is no operation \"assetsMatching\"; did you mean \"assetsMatchingQuery:\"?"},
             Case{"", Reaction::answer(), "there is no operation \"\""},
             Case{"launchHoardd", version(1), "the reply of launchHoardd has no \"version\"; it has nothing"},
             Case{"albums", Reaction::assets({}),
                  "the reply of albums has no \"assets\"; it has \"albums\", \"storeUUID\""},
             Case{"albums", plain("assets", text),
                  "the reply of albums has no \"assets\"; it has \"albums\", \"storeUUID\""},
             Case{"getCurrentModelVersion", plain("version", text), "\"version\" needs a whole number"},
             Case{"getCurrentModelVersion", plain("version", Number::of(true)),
                  "\"version\" needs a whole number"},
             Case{"getPhotosAndVideosCountWithHandler:", plain("photoCount", Number::of(-1)),
                  "\"photoCount\" needs a whole number of 0 or more"},
             Case{"hasCompletedMomentAnalysis", plain("isComplete", Number::of(1)),
                  "\"isComplete\" needs true or false"},
             Case{"getLibrarySizes:", plain("sizes", text), "\"sizes\" needs an array or a dictionary"},
             Case{"fileDescriptorForAssetURL:", plain("filedescriptor", String::of("/nonexistent")),
                  "can't open /nonexistent: No such file or directory"},
             Case{"assetsMatchingQuery:", assets("colour", text), "no asset has a \"colour\""},
             Case{"assetsMatchingQuery:", assets("width", text),
                  "the \"width\" of the asset can't have that value"},
             Case{"assetsMatchingQuery:", assets("kind", text),
                  "the \"kind\" of the asset can't have that value"},
             Case{"assetsMatchingQuery:", assets("uuid", text), "the asset x can't be one: its UUID is none"},
             Case{"assetsMatchingQuery:", plain("assets", text), "each asset is a dictionary in an array"},
         })
        EXPECT_EQ(faultOf([&] { daemon.on(each.operation, each.reaction); }), each.fault);
    const auto only = [&](const char *list, const char *key, Object *value) {
        return plain(list, Array::of({autorelease(Dictionary::createWithKeys({{key, value}}))}));
    };
    for (const Case &each : {
             Case{"changesSinceToken:limit:", only("changes", "kind", text),
                  "the \"kind\" of the change can't have that value"},
             Case{"sectionsOfAssetsMatchingQuery:byUnit:",
                  only("sections", "shapes", Array::of({Number::of(65536)})),
                  "the \"shapes\" of the section can't have that value"},
             Case{"cloudFeed", only("entries", "name", text), "no entry of the feed has a \"name\""},
             Case{"cloudFeed", plain("entries", text), "each entry of the feed is a dictionary in an array"},
             Case{"cloudFeed", plain("companions", text),
                  "the reply of cloudFeed has no \"companions\"; it has \"entries\""},
         })
        EXPECT_EQ(faultOf([&] { daemon.on(each.operation, each.reaction); }), each.fault);
    EXPECT_EQ(faultOf([&] { daemon.onNth(0, "albums", Reaction::answer()); }), "requests are counted from 1");
    EXPECT_EQ(faultOf([&] { daemon.onAllElse(version(1)); }),
              "an answer to all operations can't have values");
    EXPECT_EQ(faultOf([] { std::ignore = Reaction::death().with(keys::version, 1); }),
              "only an answer has values");
}

TEST_F(ScriptedDaemons, KeepCopiesOfReactionsApart) {
    const Reaction first = version(1);
    Reaction second = first;
    second.with(keys::version, 2).whenReleased();
    daemon.on(protocol::getCurrentModelVersion, first);
    EXPECT_EQ(client->getCurrentModelVersion(), 1);
}

TEST(ScriptedDaemonsInTurn, ServeTheOneClientOfTheProcess) {
    test::allowLastingDescriptors(test::readerDescriptors);
    const ReleaseScope scope;
    const std::string before = rootPath();
    std::string root;
    for (int i = 0; i < 50; ++i) {
        ScriptedDaemon daemon;
        daemon.on(protocol::getCurrentModelVersion, Reaction::answer().with(keys::version, i));
        root = daemon.root();
        EXPECT_EQ(rootPath(), root);
        EXPECT_EQ(JXGatekeeperClient::sharedInstance()->getCurrentModelVersion(), i);
    }
    EXPECT_EQ(rootPath(), before);
    EXPECT_FALSE(std::filesystem::exists(root));
}
