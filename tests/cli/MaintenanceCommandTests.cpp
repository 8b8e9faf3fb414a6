// wickerlane check, wickerlane restore, wickerlane daemon, wickerlane consent
#include <sys/stat.h>

#include <atomic>
#include <csignal>
#include <fstream>

#include "tests/cli/CommandRun.h"
#include "tests/support/StoppedProcess.h"
#include "tests/support/TestImages.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/message/listener/MessageListener.h"
#include "wickerlane/protocol/ServiceName.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/store/Schema.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

/// Whether a process has a handler for SIGINT.
bool catchesInterrupts(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);)
        if (line.starts_with("SigCgt:"))
            return (std::stoull(line.substr(7), nullptr, 16) >> (SIGINT - 1) & 1) != 0;
    return false;
}

TEST_F(Commands, CheckFindsAndRepairsProblems) {
    const std::string uuid = imported(file("a.jpg", jpegPicture()));
    const CommandResult well = run({"check"});
    EXPECT_EQ(well.exitCode, 0) << well;
    EXPECT_EQ(well.output, "1 asset checked, no problems found\n");

    std::string thumbnail, original;
    for (const auto &entry : fs::recursive_directory_iterator(folder.parent_path()))
        if (entry.path().filename() == uuid + "-256.JPG")
            thumbnail = entry.path();
        else if (entry.path().filename() == uuid + ".JPG")
            original = entry.path();
    fs::remove(thumbnail);
    const CommandResult found = run({"check"});
    EXPECT_EQ(found.exitCode, 1) << found;
    EXPECT_NE(found.output.find("missing thumbnail: " + thumbnail), std::string::npos) << found;
    EXPECT_NE(found.errors.find("--repair"), std::string::npos) << found;
    EXPECT_EQ(run({"check", "--repair"}).exitCode, 0);
    EXPECT_TRUE(fs::exists(thumbnail));
    std::ofstream(thumbnail) << "garbage";
    for (const char *how : {"--quiet", "--no-sums"}) {
        const CommandResult damaged = run({"check", how});
        EXPECT_EQ(damaged.exitCode, 1) << damaged;
        EXPECT_NE(damaged.output.find("damaged thumbnail: " + thumbnail), std::string::npos) << damaged;
        EXPECT_NE(damaged.output.find(", 1 problem found\n"), std::string::npos) << damaged;
    }
    const CommandResult mended = run({"check", "--repair"});
    EXPECT_EQ(mended.exitCode, 0) << mended;
    EXPECT_NE(mended.output.find(", 1 problem repaired, none left\n"), std::string::npos) << mended;

    chmod(original.c_str(), 0600);
    std::ofstream(original, std::ios::in | std::ios::binary).put('x');
    EXPECT_EQ(run({"check", "--no-sums"}).exitCode, 0) << "its size is right";
    const CommandResult changed = run({"check", "--repair", "--json"});
    EXPECT_EQ(changed.exitCode, 1) << changed;
    EXPECT_EQ(changed.json()["findings"][0]["kind"], "changed original") << changed;
    EXPECT_EQ(changed.json()["findings"][0]["uuid"], uuid) << changed;
}

TEST_F(Commands, ALibraryWithoutItsStoreIsRestored) {
    const std::string uuid = imported(file("a.jpg", jpegPicture()));
    EXPECT_EQ(run({"album", "create", "Dunes"}).exitCode, 0);
    EXPECT_EQ(run({"album", "add", "Dunes", uuid}).exitCode, 0);
    endDaemon();
    for (const auto &entry : fs::recursive_directory_iterator(folder.parent_path()))
        if (entry.path().filename().string().starts_with("Pixhold.sqlite"))
            fs::remove(entry.path());
    EXPECT_EQ(run({"restore", "update"}).output, "1 photo, 0 videos\n");
    EXPECT_EQ(run({"restore", "status", "--json"}).json()["complete"], false);
    EXPECT_EQ(run({"restore", "finish"}).exitCode, 0);
    EXPECT_EQ(run({"restore", "status", "--json"}).json()["complete"], true);
    EXPECT_EQ(run({"album", "show", "Dunes", "--json"}).json()["assets"][0]["uuid"], uuid);
    EXPECT_EQ(run({"check"}).exitCode, 0);
}

TEST_F(Commands, LongWorkThatFailsSaysSo) {
    const std::string uuid = imported(file("a.jpg", jpegPicture()));
    fs::remove(run({"show", uuid, "--json"}).json()["path"].get<std::string>());
    const CommandResult rebuilt = run({"rebuild-thumbnails"});
    EXPECT_EQ(rebuilt.exitCode, 1) << rebuilt;
    EXPECT_NE(rebuilt.errors.find(uuid), std::string::npos) << rebuilt;

    // Nothing that is found can be taken in.
    const std::string found = wickerlane::store::LibraryPaths().found();
    fs::remove_all(found);
    std::ofstream(found) << "in the way";
    for (const char *step : {"update", "cleanup", "import"}) {
        const CommandResult result = run({"restore", step});
        EXPECT_EQ(result.exitCode, 1) << step << ": " << result;
        EXPECT_NE(result.errors.find("Found"), std::string::npos) << step << ": " << result;
    }
}

TEST_F(Commands, TheDaemonIsStoppedRestartedAndRead) {
    EXPECT_EQ(run({"daemon", "stop"}).output, "the daemon is not running\n");
    EXPECT_EQ(run({"daemon", "log"}).exitCode, 4);
    imported(file("a.jpg", jpegPicture()));
    const auto process = [] { return run({"daemon", "status", "--json"}).json()["process"]; };
    const auto first = process();
    EXPECT_EQ(run({"daemon", "restart"}).exitCode, 0);
    EXPECT_NE(process(), first);
    const auto status = run({"daemon", "status", "--json"}).json();
    for (const char *there : {"root", "library", "store", "socket", "log"})
        EXPECT_TRUE(fs::exists(status[there].get<std::string>())) << status[there];
    EXPECT_EQ(run({"daemon", "stop"}).exitCode, 0);
    EXPECT_FALSE(run({"daemon", "status", "--json"}).json()["running"]);
    const fs::path log = folder.parent_path() / "var/log/wickerlane/org.wickerlane.hoardd.Gatekeeper.log";
    std::ofstream(log) << "one\ntwo\x1b\nthree\n";
    EXPECT_EQ(run({"daemon", "log"}).output, "one\ntwo\\x1b\nthree\n");
    EXPECT_EQ(run({"daemon", "log", "--lines", "1"}).output, "three\n");
    EXPECT_EQ(run({"daemon", "log", "--lines", "0"}).output, "");
    RunningCommand following({"daemon", "log", "--follow", "--lines", "0"});
    ASSERT_TRUE(waitUntil([&] { return catchesInterrupts(following.process()); }));
    std::ofstream(log, std::ios::app) << "four\n";
    ASSERT_TRUE(waitUntil([&] { return following.output() == "four\n" || !following.isRunning(); }));
    std::ofstream(log, std::ios::app) << "five\n";
    fs::rename(log, log.parent_path() / "org.wickerlane.hoardd.Gatekeeper.1.log");
    std::ofstream(log) << "six\n";
    ASSERT_TRUE(waitUntil([&] { return following.output().ends_with("six\n") || !following.isRunning(); }));
    EXPECT_EQ(following.output(), "four\nfive\nsix\n");
    kill(following.process(), SIGINT);
    EXPECT_EQ(following.wait().exitCode, 130);
}

TEST_F(Commands, LongWorkThatIsInterruptedSaysSo) {
    const std::string picture = file("a.jpg", jpegPicture());
    imported(picture);
    const pid_t daemon = run({"daemon", "status", "--json"}).json()["process"];
    ASSERT_TRUE(stopProcess(daemon)); // it answers nothing
    for (const std::vector<std::string> &work : std::initializer_list<std::vector<std::string>>{
             {"rebuild-thumbnails"}, {"estimate", picture}, {"video-info", picture}}) {
        RunningCommand working(work);
        EXPECT_TRUE(waitUntil([&] { return catchesInterrupts(working.process()); }));
        kill(working.process(), SIGINT);
        const CommandResult result = working.wait();
        EXPECT_EQ(result.exitCode, 130) << result;
        EXPECT_NE(result.errors.find("interrupted"), std::string::npos) << result;
    }
    kill(daemon, SIGCONT);
}

TEST_F(Commands, AStoreThatIsDamagedIsNotTakenForNoLibrary) {
    EXPECT_EQ(run({"list"}).exitCode, 4) << "there is none yet";
    imported(file("a.jpg", jpegPicture()));
    endDaemon();
    for (const auto &entry : fs::recursive_directory_iterator(folder.parent_path()))
        if (entry.path().filename() == "Pixhold.sqlite")
            std::ofstream(entry.path()) << std::string(5000, 'x');
    for (const auto &arguments :
         std::vector<std::vector<std::string>>{{"list"}, {"show", "x"}, {"album", "list"}, {"moments"}}) {
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 6) << ::testing::PrintToString(arguments) << ": " << result;
        EXPECT_NE(result.errors.find("not a database"), std::string::npos) << result;
        EXPECT_NE(result.errors.find("wickerlane check --repair"), std::string::npos) << result;
    }
    EXPECT_EQ(run({"count"}).exitCode, 6);
    const CommandResult checked = run({"check"});
    EXPECT_EQ(checked.exitCode, 6) << checked;
    EXPECT_NE(checked.output.find("damaged store"), std::string::npos) << checked;
    const CommandResult repaired = run({"check", "--repair"});
    EXPECT_EQ(repaired.exitCode, 0) << repaired;
    EXPECT_NE(repaired.errors.find("1 asset from"), std::string::npos) << repaired;
    EXPECT_NE(run({"list"}).output.find("a.jpg"), std::string::npos) << "its name is known again";
}

TEST_F(Commands, AStoreThatIsMissingIsNotTakenForAnEmptyLibrary) {
    imported(file("a.jpg", jpegPicture()));
    endDaemon();
    for (const auto &entry : fs::recursive_directory_iterator(folder.parent_path()))
        if (entry.path().filename().string().starts_with("Pixhold.sqlite"))
            fs::remove(entry.path());
    for (const char *command : {"list", "count"}) {
        const CommandResult result = run({command});
        EXPECT_EQ(result.exitCode, 6) << result;
        EXPECT_NE(result.errors.find("missing"), std::string::npos) << result;
    }
    EXPECT_NE(run({"check"}).output.find("missing store"), std::string::npos);
    EXPECT_EQ(run({"check", "--repair"}).exitCode, 0);
    EXPECT_NE(run({"list"}).output.find("a.jpg"), std::string::npos);
}

TEST_F(Commands, EachReasonHasItsOwnTextAndExitCode) {
    using wickerlane::sqlite::Database;
    const wickerlane::store::LibraryPaths paths;
    imported(file("a.jpg", jpegPicture()));
    endDaemon();
    const auto expect = [](const std::vector<std::string> &arguments, int exitCode, const char *text) {
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.exitCode, exitCode) << result;
        EXPECT_NE(result.errors.find(text), std::string::npos) << text << ": " << result;
    };
    const auto setVersion = [&](const std::string &version) {
        ASSERT_TRUE(Database::open(paths.database(), Database::Access::write)
                        ->execute(("PRAGMA user_version = " + version).c_str()));
    };
    setVersion("9999");
    expect({"list"}, 7, "at least as new");
    expect({"count"}, 7, "at least as new");
    expect({"daemon", "status"}, 7, "at least as new");
    EXPECT_NE(run({"daemon", "status"}).output.find("running, but it refuses"), std::string::npos);
    const auto refusing = run({"daemon", "status", "--json"}).json();
    EXPECT_EQ(refusing["running"], true) << refusing;
    EXPECT_NE(refusing["problem"].get<std::string>().find("at least as new"), std::string::npos) << refusing;
    endDaemon();
    setVersion(std::to_string(wickerlane::store::modelVersion()));

    EXPECT_EQ(run({"consent", "deny", WICKERLANE_COMMAND}).exitCode, 0);
    expect({"count"}, 5, "wickerlane consent grant");
    EXPECT_EQ(run({"consent", "revoke", WICKERLANE_COMMAND}).exitCode, 0);
    endDaemon();
    expect({"--root", "/proc/1", "count"}, 5, "--root");
}

// As a daemon does that finds its store damaged between two requests.
TEST_F(Commands, ARefusedQuestionIsAnAnswer) {
    using namespace wickerlane;
    const struct {
        std::int64_t kind;
        int exitCode;
    } cases[] = {{0, 1}, {3, 5}, {4, 8}, {7, 6}, {13, 8}};
    std::atomic<std::int64_t> kind{0};
    const auto daemon = MessageListener::create(WickerlaneGatekeeperName, nullptr,
                                                [&](ReceivedMessage *received) {
                                                    const auto answer = MessageDictionary::create();
                                                    answer->setInt64("version", 1);
                                                    if (received->message()->getInt64("operation") == 69)
                                                        received->reply(answer.get());
                                                    else
                                                        received->replyError("not now", kind.load());
                                                },
                                                {});
    ASSERT_NE(daemon, nullptr);
    ASSERT_TRUE(daemon->resume());
    for (const auto &[given, exitCode] : cases) {
        kind = given;
        const CommandResult result = run({"sizes"});
        EXPECT_EQ(result.exitCode, exitCode) << result;
        EXPECT_NE(result.errors.find("not now"), std::string::npos) << result;
    }
    daemon->cancel();
}

TEST_F(Commands, AFileThatIsBeingWrittenIsToBeTriedAgain) {
    imported(file("a.png", pngPicture()));
    const std::string path = file("../var/mobile/Media/DCIM/b.jpg", jpegPicture());
    {
        const std::ofstream writing(path, std::ios::app);
        const CommandResult early = run({"restore", "import"});
        EXPECT_EQ(early.exitCode, 8) << early;
        EXPECT_NE(early.errors.find("b.jpg"), std::string::npos) << early;
        EXPECT_EQ(early.output, "1 photo, 0 videos\n") << early;
    }
    fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::hours(1));
    const CommandResult later = run({"restore", "import"});
    EXPECT_EQ(later.exitCode, 0) << later;
    EXPECT_EQ(later.output, "2 photos, 0 videos\n") << later;
}

TEST_F(Commands, AnOlderLibraryIsBroughtUpToDateBeforeItIsRead) {
    using wickerlane::sqlite::Database;
    const wickerlane::store::LibraryPaths paths;
    fs::create_directories(fs::path(paths.database()).parent_path());
    const auto older = wickerlane::store::schemaSteps().first(wickerlane::store::schemaSteps().size() - 1);
    {
        auto writer = Database::open(paths.database(), Database::Access::write);
        ASSERT_TRUE(writer);
        for (const char *step : older)
            ASSERT_TRUE(writer->execute(step));
        ASSERT_TRUE(writer->execute(("INSERT INTO zlibrary VALUES ('00000000-0000-4000-8000-000000000000');"
                                     "PRAGMA user_version = " +
                                     std::to_string(older.size()))
                                        .c_str()));
    }
    const CommandResult checked = run({"check"});
    EXPECT_EQ(checked.exitCode, 0) << checked;
    EXPECT_EQ(run({"list"}).exitCode, 0);
}

TEST_F(Commands, StatusStartsTheDaemonOnlyWithStart) {
    EXPECT_EQ(run({"daemon", "status", "--json"}).json()["running"], false);
    const auto started = run({"daemon", "status", "--start", "--json"}).json();
    EXPECT_EQ(started["running"], true) << started;
    EXPECT_EQ(started["access"], true) << started;
    const auto again = run({"daemon", "status", "--json"}).json();
    EXPECT_EQ(again["process"], started["process"]) << again;
}

TEST_F(Commands, WithoutADaemonEachRequestReportsIt) {
    setenv("WICKERLANE_SERVICES", (folder / "no services").c_str(), 1);
    const fs::path folderOfServices = folder / "no services";
    fs::create_directory(folderOfServices);
    std::ofstream(folderOfServices / "org.wickerlane.hoardd.Gatekeeper.plist")
        << R"({ Program = "/nonexistent/hoardd"; })";
    for (const auto &arguments : std::vector<std::vector<std::string>>{
             {"count"}, {"import", file("a.jpg", jpegPicture())}, {"daemon", "status", "--start"}}) {
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 3) << ::testing::PrintToString(arguments) << ": " << result;
        EXPECT_NE(result.errors.find("hoardd"), std::string::npos) << result;
        EXPECT_EQ(result.output, "") << result;
    }
}

TEST_F(Commands, ConsentKeepsAProgramOut) {
    const std::string self = WICKERLANE_COMMAND, copies = folder / "copies";
    const std::string uuid = imported(file("a.jpg", jpegPicture()));
    EXPECT_EQ(run({"album", "create", "Dunes"}).exitCode, 0);
    EXPECT_EQ(run({"count"}).exitCode, 0);
    EXPECT_EQ(run({"consent", "deny", self}).exitCode, 0);
    const auto decisions = run({"consent", "list", "--json"}).json();
    ASSERT_EQ(decisions.size(), 1U) << decisions;
    EXPECT_EQ(decisions[0]["granted"], false);
    for (const std::vector<std::string> &arguments :
         std::vector<std::vector<std::string>>{{"count"},
                                               {"list"},
                                               {"list", "--json"},
                                               {"show", uuid},
                                               {"export", uuid, "--to", copies},
                                               {"export", "--all", "--to", copies},
                                               {"album", "list"},
                                               {"album", "show", "Dunes"},
                                               {"moments"},
                                               {"moments", "--lists"},
                                               {"duplicates"},
                                               {"feed"},
                                               {"changes"},
                                               {"trash", "list"},
                                               {"trash", "empty", "--yes"},
                                               {"delete", uuid, "--yes"},
                                               {"set", "--rating", "1", uuid}}) {
        const CommandResult denied = run(arguments);
        EXPECT_EQ(denied.exitCode, 5) << ::testing::PrintToString(arguments) << ": " << denied;
        EXPECT_EQ(denied.output.find(uuid), std::string::npos) << denied;
        EXPECT_EQ(denied.output.find("Dunes"), std::string::npos) << denied;
    }
    EXPECT_FALSE(fs::exists(copies));
    EXPECT_EQ(run({"consent", "revoke", self}).exitCode, 0);
    EXPECT_EQ(run({"consent", "list", "--json"}).json().size(), 0U);
    for (const auto &[program, isThere] : {std::pair(std::string("/bin/true"), true),
                                           {folder.string(), false}, // no program
                                           {(folder / "none").string(), false}}) {
        const CommandResult denied = run({"consent", "deny", program});
        EXPECT_EQ(denied.exitCode, 0) << denied;
        EXPECT_EQ(denied.errors.find("there is no program " + program) == std::string::npos, isThere)
            << denied;
        EXPECT_EQ(run({"consent", "revoke", program}).errors, "");
    }
    EXPECT_EQ(run({"count"}).output, "1 photo, 0 videos\n");
}

} // namespace
