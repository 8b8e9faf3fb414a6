// What helps to find the right command line
#include "tests/cli/CommandRun.h"

using namespace wickerlane::test;

namespace {

TEST_F(Commands, HelpIsGroupedAndBeginsWithExamples) {
    const std::string help = run({"--help"}).output;
    std::size_t last = 0;
    for (const char *heading :
         {"\nExamples:\n", "\nOptions:\n", "\nSaving:\n", "\nFinding:\n", "\nOrganising:\n", "\nSharing:\n",
          "\nLooking after the library:\n", "\nFor developers:\n"}) {
        const std::size_t place = help.find(heading);
        ASSERT_NE(place, std::string::npos) << heading << help;
        EXPECT_GT(place, last) << heading;
        last = place;
    }
    EXPECT_EQ(help.find("\n  uuid"), std::string::npos) << "it is among those of wickerlane debug";
    EXPECT_EQ(run({}).output, help);

    const std::string ofImport = run({"help", "import"}).output;
    EXPECT_EQ(run({"import", "--help"}).output, ofImport);
    EXPECT_LT(ofImport.find("wickerlane import ~/Pictures"), ofImport.find("--again"));
    EXPECT_EQ(run({"help", "album", "add"}).output, run({"album", "add", "--help"}).output);
    for (const std::vector<std::string> &subcommand :
         {std::vector<std::string>{"help", "list"}, {"help", "delete"}, {"help", "album", "add"}})
        EXPECT_NE(run(subcommand).output.find("--where QUERY"), std::string::npos) << subcommand.back();
}

TEST_F(Commands, MisspeltWordsAreUnderstood) {
    const struct {
        std::vector<std::string> arguments;
        std::string suggestion;
    } cases[] = {
        {{"imprt"}, "did you mean import?"},
        {{"ipmort", "a.jpg"}, "did you mean import?"},
        {{"dup"}, "did you mean duplicates?"},
        {{"album", "lsit"}, "did you mean list?"},
        {{"list", "--josn"}, "did you mean --json?"},
        {{"list", "--quite"}, "did you mean --quiet?"},
        {{"list", "-j"}, "there is no option -j; did you mean --json?"},
        {{"album", "-x"}, "there is no option -x. See: wickerlane album --help"},
        {{"LSIT"}, "did you mean list?"},
        {{"help", "exprot"}, "did you mean export?"},
        {{"list", "--where", "knd=photo"}, "did you mean kind?"},
        {{"list", "--fields", "uuid,nmae"}, "did you mean name?"},
    };
    for (const auto &[arguments, suggestion] : cases) {
        const CommandResult result = run(arguments);
        EXPECT_EQ(result.exitCode, 2) << arguments.back() << result;
        EXPECT_EQ(result.output, "") << arguments.back();
        EXPECT_TRUE(result.errors.starts_with("wickerlane: ")) << result;
        EXPECT_NE(result.errors.find(suggestion), std::string::npos) << arguments.back() << result;
    }
    EXPECT_EQ(run({"fly"}).errors.find("did you mean"), std::string::npos);
}

TEST_F(Commands, OldNamesOfDebugCommandsStillWork) {
    const CommandResult old = run({"uuid", "7f3d0a52-6c1b-4e0e-9d43-2b1c7a5e8f10"});
    EXPECT_EQ(old.exitCode, 0);
    EXPECT_EQ(old.output, run({"debug", "uuid", "7f3d0a52-6c1b-4e0e-9d43-2b1c7a5e8f10"}).output);
    EXPECT_NE(old.errors.find("wickerlane debug uuid"), std::string::npos) << old;
    EXPECT_EQ(run({"uuid", "--quiet"}).errors, "");
}

} // namespace
