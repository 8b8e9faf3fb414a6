// wickerlane monitor
#include <fstream>
#include <sstream>

#include "tests/cli/CommandRun.h"

using namespace wickerlane::test;
using JSON = nlohmann::json;

namespace {

std::vector<JSON> eventsIn(const std::string &lines) {
    std::vector<JSON> events;
    std::istringstream stream(lines);
    for (std::string line; std::getline(stream, line);)
        events.push_back(JSON::parse(line, nullptr, false));
    return events;
}

std::string contentsOf(const std::string &path) {
    std::ostringstream contents;
    contents << std::ifstream(path).rdbuf();
    return contents.str();
}

class Monitor : public Commands {
protected:
    /// What it has written when it has seen some saves into a new album for each, and its errors.
    CommandResult monitored(std::vector<std::string> options) {
        options.insert(options.begin(), {"monitor", "--requests", "6"});
        RunningCommand monitor(options);
        for (; monitor.isRunning(); ++albums) {
            EXPECT_EQ(run({"album", "create", "Secret " + std::to_string(albums)}).exitCode, 0);
            EXPECT_EQ(run({"album", "create", "Secret " + std::to_string(albums)}).exitCode, 1);
            EXPECT_EQ(run({"set", "--rating", "3", absentUUID}).exitCode, 4);
        }
        return monitor.wait();
    }

private:
    int albums = 1000; // so that all names are of one length
};

TEST_F(Monitor, ShowsEachRequestWithItsAnswerAndTextsOnDemandAlone) {
    imported(file("a.png", pngPicture()));
    for (const bool withTexts : {false, true}) {
        const CommandResult result = monitored(withTexts ? std::vector<std::string>{"--json", "--texts"}
                                                         : std::vector<std::string>{"--json"});
        ASSERT_EQ(result.exitCode, 0) << result;
        EXPECT_EQ(result.output.find("Secret") != std::string::npos, withTexts) << result;
        EXPECT_EQ(result.output.find("takeTraffic"), std::string::npos) << result;
        JSON made;
        for (const JSON &event : eventsIn(result.output)) {
            ASSERT_TRUE(event.is_object()) << result;
            if (event["event"] == "request" && event["operation"] == 11)
                made = event;
            if (event["event"] != "answer" || made.is_null() || event["number"] != made["number"])
                continue;
            EXPECT_EQ(made["name"], "addGroupWithName:handler:");
            EXPECT_EQ(made["program"], WICKERLANE_COMMAND);
            EXPECT_EQ(made["values"]["name"]["kind"], "string");
            EXPECT_GE(made["values"]["name"]["bytes"], 8);
            EXPECT_EQ(made["values"]["name"].contains("value"), withTexts);
            EXPECT_TRUE(event["values"]["nameTaken"]["value"].is_boolean()) << event;
            EXPECT_GE(event["seconds"], 0.0);
        }
        EXPECT_FALSE(made.is_null()) << result;
    }
    const CommandResult lines = monitored({});
    EXPECT_NE(lines.output.find("addGroupWithName:handler: name 11 bytes -> nameTaken "), std::string::npos)
        << lines;
}

TEST_F(Monitor, AReplayFindsWhatIsAnsweredDifferently) {
    imported(file("a.png", pngPicture()));
    const std::string recording = (folder / "session.jsonl").string();
    ASSERT_EQ(monitored({"--record", recording}).exitCode, 0);
    EXPECT_NE(contentsOf(recording).find("Secret"), std::string::npos);

    const std::string other = (folder / "other").string();
    ASSERT_EQ(run({"--root", other, "count"}).exitCode, 0);
    EXPECT_NE(run({"--root", other, "monitor", "--replay", recording}).exitCode, 0)
        << "there is no terminal to ask";
    const CommandResult first = run({"--root", other, "monitor", "--replay", recording, "--yes"});
    EXPECT_NE(first.output.find("requests sent"), std::string::npos) << first;
    EXPECT_FALSE(run({"--root", other, "album", "list", "--json"}).json().empty());
    const CommandResult again = run({"--root", other, "monitor", "--replay", recording, "--yes"});
    EXPECT_EQ(again.exitCode, 1) << again;
    EXPECT_NE(
        again.output.find("addGroupWithName:handler: gave answer nameTaken; recorded was answer groupURL "
                          "nameTaken"),
        std::string::npos)
        << again;
}

TEST_F(Monitor, RefusesWhatIsNoRecording) {
    for (const char *line : {"text", "[]", "{\"event\":\"request\"}",
                             "{\"event\":\"request\",\"number\":1,"
                             "\"operation\":\"x\",\"values\":{}}"}) {
        const std::string path = file("broken.jsonl", bytesOf(line));
        const CommandResult result = run({"monitor", "--replay", path, "--yes"});
        EXPECT_NE(result.exitCode, 0) << line << result;
        EXPECT_NE(result.errors.find("line 1 is no recorded event"), std::string::npos) << line << result;
    }
}

} // namespace
