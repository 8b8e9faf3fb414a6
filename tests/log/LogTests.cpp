#include <gmock/gmock.h>

#include <utility>

#include "tests/log/LogProgram.h"
#include "tests/support/Descriptors.h"
#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/device/Device.h"
#include "wickerlane/platform/logging/LKLogging.h"
#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/preferences/Preferences.h"

using namespace wickerlane;
using namespace wickerlane::test;
using ::testing::MatchesRegex;
using ::testing::SizeIs;

namespace {

void makeInternal() {
    setPreferenceValue("InternalDevice", Number::of(true), deviceDomain);
}

// The highest level for which JXLogShouldLog() is true in a domain; -1 for none.
int highestLevel(LogProgram &program, int domain) {
    int highest = -1;
    for (int level = 0; level <= 7; ++level)
        if (program.tell("should " + std::to_string(level) + " " + std::to_string(domain)) == "yes")
            highest = level;
    return highest;
}

} // namespace

TEST(JXLog, LevelsOfEveryDomainFollowTheDevice) {
    const int internal[] = {5, 6, 5, 6, 5, 5, 6, 5, 6, 5, 6, 6, 6, 5, 6, 6};
    LogProgram outside;
    for (int domain = 0; domain < 16; ++domain)
        EXPECT_EQ(highestLevel(outside, domain), 3) << "domain " << domain;
    makeInternal();
    LogProgram inside("second");
    for (int domain = 0; domain < 16; ++domain)
        EXPECT_EQ(highestLevel(inside, domain), internal[domain]) << "domain " << domain;
    // Nothing was logged, so nothing was made.
    EXPECT_FALSE(std::filesystem::exists(photosLogs()));
}

TEST(JXLog, EveryDomainReachesItsFileAndConsoleAtItsOwnLevels) {
    struct Row {
        int domain;
        const char *facility, *file;
        int console, level;
    };
    const Row rows[] = {
        {0, "JXGenericLog", nullptr, 5, 4},
        {1, "JXSyncLog", "migration", 3, 6},
        {2, "JXGatekeeperMsgLog", nullptr, 5, 4},
        {3, "JXMigrationLog", "migration", 5, 6},
        {4, "JXThumbnailsLog", nullptr, 5, 4},
        {5, "JXChangeHubLog", nullptr, 5, 4},
        {6, "JXAssetImportLog", "migration", 5, 6},
        {7, "JXTransitionsLog", nullptr, 5, 4},
        {8, "JXPhotoSharingLog", "sharedsnapriver", 5, 6},
        {9, "JXMomentsLog", "moments", 5, 5},
        {10, "JXPhotosStateLog", "photosState", 5, 6},
        {11, "JXCloudFeedLog", "cloudfeed", 4, 6},
        {12, "JXCameraLog", "camera", 5, 6},
        {13, "JXDupesLog", nullptr, 5, 4},
        {14, "JXMySnapriverLog", "mysnapriver", 5, 6},
        {15, "JXCardbridge", "cardbridge", 5, 6},
    };
    makeInternal();
    for (const Row &row : rows) {
        LogProgram program(row.facility);
        std::string label;
        for (int level = 0; level <= 7; ++level)
            label =
                program.tell("log " + std::to_string(level) + " " + std::to_string(row.domain) + " hello");
        program.finish();
        EXPECT_EQ(label, "log_program-" + std::to_string(program.id()));
        std::vector<std::string> written;
        for (const std::string &line :
             linesOf(photosLogs() / ((row.file != nullptr ? row.file : label) + ".log")))
            if (line.find(label) != line.npos)
                written.push_back(line);
        EXPECT_THAT(written, SizeIs(row.level + 1)) << row.facility;
        for (const std::string &line : written)
            EXPECT_THAT(line, MatchesRegex("[0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\|" +
                                           label + " \\[" + std::to_string(program.id()) +
                                           ":0x[0-9a-f]+\\]\\|" + row.facility + ": hello\n"));
        const std::string console = program.console();
        EXPECT_EQ(std::ranges::count(console, '\n'), row.console + 1) << row.facility;
        EXPECT_THAT(console, MatchesRegex("(" + std::string(row.facility) + " <t:0x[0-9a-f]+> hello\n)+"));
    }
    const auto status = std::filesystem::status(photosLogs() / "migration.log");
    EXPECT_EQ(status.permissions(), std::filesystem::perms(0600));
    EXPECT_EQ(std::filesystem::status(photosLogs()).permissions(), std::filesystem::perms(0700));
}

TEST(JXLog, PreferencesOverrideLevelsAndChangesAreFollowed) {
    allowLastingDescriptors(folderWatchDescriptors);
    setPreferenceValue("JXConsoleLogLevel", Number::of(-1), globalPreferencesDomain);
    setPreferenceValue("SRLogLevel", Number::of(7), globalPreferencesDomain);
    LogProgram program;
    EXPECT_EQ(highestLevel(program, JXGenericLog), -1);
    EXPECT_EQ(highestLevel(program, JXMySnapriverLog), 7);
    EXPECT_EQ(program.tell("log 7 14 debugging"), "log_program-" + std::to_string(program.id()));
    EXPECT_THAT(
        linesOf(photosLogs() / "mysnapriver.log"),
        testing::ElementsAre(MatchesRegex(".*\\]\\|caller\\|Source.cpp:42\\|JXMySnapriverLog: debugging\n")));

    setPreferenceValue("JXConsoleLogLevel", Number::of(6), globalPreferencesDomain);
    EXPECT_EQ(program.tell("should 3 0"), "no"); // Not before the notification.
    ASSERT_TRUE(postNotification(JXLoggingChangedNotification));
    EXPECT_EQ(program.tell("follow 6 0 yes"), "yes");
    EXPECT_EQ(program.tell("should 7 0"), "no");
    setPreferenceValue("JXConsoleLogLevel", nullptr, globalPreferencesDomain);
    ASSERT_TRUE(postNotification(JXLoggingChangedNotification));
    EXPECT_EQ(program.tell("follow 4 0 no"), "no");
    EXPECT_EQ(program.tell("should 3 0"), "yes");
}

TEST(JXLog, DomainsPastTheLastAreDroppedBeforeTheStart) {
    setPreferenceValue("JXConsoleLogLevel", Number::of(-1), globalPreferencesDomain);
    LogProgram program;
    for (const char *domain : {"16", "17", "4294967295"})
        program.tell(std::string("log 0 ") + domain + " lost");
    // The log system has not started, or it would have read the earlier level.
    setPreferenceValue("JXConsoleLogLevel", Number::of(4), globalPreferencesDomain);
    EXPECT_EQ(program.tell("should 4 0"), "yes");
    EXPECT_EQ(program.console(), "");
    EXPECT_FALSE(std::filesystem::exists(photosLogs()));
}

TEST(JXLog, ForeignTextCannotForgeALine) {
    makeInternal();
    LogProgram program;
    const std::string label = program.tell("log 3 0 a\rb\x1b[2J\xc2\x85\xe2\x80\xa8 c\td");
    program.finish();
    for (const std::string &text : {program.console(), linesOf(photosLogs() / (label + ".log")).at(0)}) {
        EXPECT_TRUE(text.ends_with(" a\\rb\\x1b[2J\\u0085\\u2028 c\td\n")) << text;
        EXPECT_EQ(std::ranges::count(text, '\n'), 1);
    }
}

TEST(JXLog, AProcessHasItsLogFileWhateverTheNameOfItsProgram) {
    makeInternal();
    std::string longName; // cut at 200 bytes, which is inside a character
    for (int i = 0; i < 80; ++i)
        longName += "\u20ac";
    for (const std::string &name : {std::string("caf\xe9"), longName}) {
        const auto executable = LogProgram::root() / name;
        std::filesystem::create_symlink(LOG_PROGRAM, executable);
        LogProgram program("console", executable);
        program.tell("log 3 0 hello");
        program.finish();
        std::vector<std::string> lines;
        for (const auto &file : std::filesystem::directory_iterator(photosLogs()))
            if (file.path().string().ends_with('-' + std::to_string(program.id()) + ".log"))
                lines = linesOf(file.path());
        ASSERT_EQ(lines.size(), 1U) << name;
        EXPECT_TRUE(lines[0].ends_with(" hello\n")) << lines[0];
    }
}

TEST(JXLog, TheAcceptedMaximumOverridesAllOthers) {
    allowLastingDescriptors(folderWatchDescriptors);
    ASSERT_TRUE(JXLogShouldLog(3, JXGenericLog));
    const int before = __LKLoggingMaxAcceptedLevel.exchange(2);
    EXPECT_FALSE(JXLogShouldLog(3, JXGenericLog));
    EXPECT_TRUE(JXLogShouldLog(2, JXGenericLog));
    int evaluated = 0;
    JX_LOG(3, JXGenericLog, "%d", ++evaluated);
    EXPECT_EQ(evaluated, 0);
    testing::internal::CaptureStderr();
    JXLog(3, __FILE__, __func__, __LINE__, JXGenericLog, "refused");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    __LKLoggingMaxAcceptedLevel = before;
}
