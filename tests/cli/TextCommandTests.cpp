// wickerlane debug text
#include "tests/cli/CommandRun.h"

using namespace wickerlane::test;

namespace {

class TextCommand : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        setenv("WICKERLANE_BUNDLES", folder.c_str(), 1);
        setenv("LC_ALL", "fr_FR.UTF-8", 1);
        write("Pixhold.bundle/de.lproj/Pixhold.strings", "SELECT = 'Auswählen';");
        write("Pixhold.bundle/fr.lproj/Pixhold.strings", "SELECT = Choisir;");
        write("Pixhold.bundle/en.lproj/Pixhold-GM.strings", "LAST = last;");
        write("PixholdServices.bundle/en.lproj/PixholdServices.strings", "SERVED = served;");
        write("Own.bundle/en.lproj/Localizable.strings", "OWN = own; SELECT = other;");
        write("Own.bundle/de.lproj/Broken.strings", "SELECT = ");
    }
    void TearDown() override {
        unsetenv("WICKERLANE_BUNDLES");
        unsetenv("LC_ALL");
        Commands::TearDown();
    }
    void write(const std::string &name, std::string_view contents) const {
        file(name, std::as_bytes(std::span(contents)));
    }
};

} // namespace

TEST_F(TextCommand, ShowsTextsInALanguage) {
    const std::string path = (folder / "Own.bundle").string();
    const struct {
        std::vector<std::string> arguments;
        int exitCode;
        std::string output;
    } cases[] = {
        {{"SELECT"}, 0, "Choisir\n"},
        {{"SELECT", "--language", "de-CH"}, 0, "Auswählen\n"},
        {{"LAST", "-l", "de"}, 0, "last\n"},
        {{"LAST", "-l", "de", "--table", "Pixhold"}, 4, ""},
        {{"SERVED"}, 4, ""},
        {{"SERVED", "--bundle", "PixholdServices"}, 0, "served\n"},
        {{"OWN", "-b", "Own"}, 0, "own\n"},
        {{"OWN", "-b", path, "-t", "Localizable"}, 0, "own\n"},
        {{"SELECT", "-b", "Own", "-t", "Broken", "-l", "de"}, 4, ""},
        {{"OWN", "-b", "Absent"}, 4, ""},
        {{"OWN", "-b", path + "/absent"}, 4, ""},
        {{"", "-l", "de"}, 4, ""},
        {{"SELECT", "-l", "xx"}, 2, ""},
        {{"SELECT", "-l", std::string(5000, 'x')}, 2, ""},
        {{"\xFF"}, 2, ""},
        {{}, 2, ""},
    };
    for (const auto &each : cases) {
        std::vector<std::string> words{"debug", "text"};
        words.insert(words.end(), each.arguments.begin(), each.arguments.end());
        const CommandResult result = run(words);
        EXPECT_EQ(result.exitCode, each.exitCode) << testing::PrintToString(each.arguments) << result;
        EXPECT_EQ(result.output, each.output) << testing::PrintToString(each.arguments);
        EXPECT_EQ(result.errors.empty(), each.exitCode == 0) << result;
    }
    EXPECT_EQ(run({"debug", "text", "SELECT", "--json", "-l", "de-AT"}).json(),
              (nlohmann::json{{"key", "SELECT"}, {"text", "Auswählen"}, {"languages", {"de", "en"}}}));
}
