// wickerlane debug uuid, wickerlane debug process, wickerlane debug device
#include <set>
#include <sstream>

#include "tests/cli/CommandRun.h"

using namespace wickerlane::test;

namespace {

using Lines = std::set<std::string>;

Lines linesOf(const std::string &text) {
    std::istringstream stream(text);
    Lines lines;
    for (std::string line; std::getline(stream, line);)
        lines.insert(line);
    return lines;
}

TEST_F(Commands, UUIDsAreMadeAndWrittenInTheLibrarysForm) {
    const CommandResult made = run({"debug", "uuid", "--count", "5"});
    EXPECT_EQ(made.exitCode, 0) << made;
    EXPECT_EQ(linesOf(made.output).size(), 5U) << made;
    const auto fresh = run({"debug", "uuid", "--json"}).json();
    ASSERT_EQ(fresh.size(), 1U);
    EXPECT_EQ(run({"debug", "uuid", fresh[0]}).output, fresh[0].get<std::string>() + "\n");

    const CommandResult mixed =
        run({"debug", "uuid", "7f3d0a52-6c1b-4e0e-9d43-2b1c7a5e8f10", "7f3d0a52", ""});
    EXPECT_EQ(mixed.exitCode, 1) << mixed;
    EXPECT_EQ(mixed.output, "7F3D0A52-6C1B-4E0E-9D43-2B1C7A5E8F10\n");
    EXPECT_EQ(linesOf(mixed.errors),
              (Lines{"wickerlane: '7f3d0a52' is not a UUID", "wickerlane: '' is not a UUID"}));
    EXPECT_EQ(run({"debug", "uuid", "--count", "0"}).exitCode, 2);
}

TEST_F(Commands, ProcessesAreFoundByName) {
    const CommandResult itself = run({"debug", "process", "wickerlane", "--json"});
    EXPECT_EQ(itself.exitCode, 0) << itself;
    EXPECT_GT(itself.json()["process"], 0) << itself;
    const CommandResult none = run({"debug", "process", "no such name"});
    EXPECT_EQ(none.exitCode, 4) << none;
    EXPECT_EQ(none.errors, "wickerlane: no process is named 'no such name'\n");
}

TEST_F(Commands, DeviceShowsItsSettingsAndApplications) {
    setenv("XDG_DATA_HOME", folder.c_str(), 1);
    setenv("XDG_DATA_DIRS", folder.c_str(), 1);
    EXPECT_EQ(run({"debug", "device", "--json"}).json()["pictoramaInstalled"], false);
    const std::string entry = "[Desktop Entry]\nType=Application\nName=Pictorama\n";
    file("applications/org.wickerlane.Pictorama.desktop", std::as_bytes(std::span(entry)));
    const auto device = run({"debug", "device", "--json"}).json();
    EXPECT_EQ(device["pictoramaInstalled"], true) << device;
    EXPECT_GE(device["processors"], 1) << device;
    EXPECT_NE(run({"debug", "device"}).output.find("Pictorama   installed\n"), std::string::npos);
}

} // namespace
