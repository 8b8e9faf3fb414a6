// How assets are named, found and listed, and how commands work on many of them
#include <algorithm>
#include <cctype>
#include <csignal>

#include "tests/cli/CommandRun.h"
#include "tests/support/StoppedProcess.h"
#include "tests/support/TestImages.h"

using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

class Selections : public Commands {
protected:
    void SetUp() override {
        Commands::SetUp();
        jpeg = imported(file("beach.jpg", jpegPicture()));
        png = imported(file("dunes evening.png", pngPicture()));
    }
    static std::vector<std::string> found(const std::string &query) {
        std::vector<std::string> names;
        const CommandResult result = run({"list", "--json", "--where", query});
        EXPECT_EQ(result.exitCode, 0) << query << result;
        for (const auto &each : result.json())
            names.push_back(each["name"]);
        std::ranges::sort(names);
        return names;
    }

    using Names = std::vector<std::string>;
    const std::string beach = "beach.jpg", dunes = "dunes evening.png";
    std::string jpeg, png;
};

TEST_F(Selections, AnAssetHasManyNames) {
    const auto shown = run({"show", jpeg, "--json"}).json();
    std::string lowerCase = jpeg.substr(0, 13);
    std::ranges::transform(lowerCase, lowerCase.begin(),
                           [](unsigned char each) { return std::tolower(each); });
    for (const std::string &name :
         {jpeg, jpeg.substr(0, 8), lowerCase, beach, std::string("BEACH.jpg"), std::string("bea*"),
          shown["url"].get<std::string>(), shown["objectID"].get<std::string>()})
        EXPECT_EQ(run({"show", name, "--json"}).json(), shown) << name;
    for (const std::string &name :
         {jpeg.substr(0, 3), std::string("beach"), absentUUID, std::string("*.gif")})
        EXPECT_EQ(run({"show", name}).exitCode, 4) << name;
    for (const std::vector<std::string> &words : {std::vector<std::string>{"show"}, {"trash", "restore"}}) {
        const auto errorsOf = [&, &before = words](const std::string &name) {
            auto all = before;
            all.push_back(name);
            return run(all).errors;
        };
        EXPECT_NE(errorsOf("abc").find("at least 4 characters"), std::string::npos) << words[0];
        EXPECT_EQ(errorsOf("xyz").find("at least 4 characters"), std::string::npos) << words[0];
    }

    const std::string again =
        run({"import", "--again", (folder / beach).string(), "--json"}).json()["saved"][0]["uuid"];
    const CommandResult ambiguous = run({"show", beach});
    EXPECT_EQ(ambiguous.exitCode, 2) << ambiguous;
    for (const std::string &uuid : {jpeg, again})
        EXPECT_NE(ambiguous.errors.find("\n  " + uuid + "  "), std::string::npos) << ambiguous;
    EXPECT_EQ(run({"delete", "--yes", beach}).exitCode, 2);
    EXPECT_EQ(run({"count"}).output, "3 photos, 0 videos\n");
    EXPECT_EQ(run({"delete", "--yes", jpeg.substr(0, 8)}).exitCode, 0);
    EXPECT_EQ(run({"trash", "restore", jpeg.substr(0, 8)}).output, "1 asset restored\n");
}

TEST_F(Selections, QueriesHaveEveryFilter) {
    ASSERT_EQ(run({"set", jpeg, "--rating", "4", "--favourite", "--caption", "By the sea"}).exitCode, 0);
    ASSERT_EQ(run({"set", png, "--hidden"}).exitCode, 0);
    ASSERT_EQ(run({"album", "create", "Two words"}).exitCode, 0);
    ASSERT_EQ(run({"album", "add", "Two words", png}).exitCode, 0);
    const struct {
        std::string query;
        Names names;
    } cases[] = {
        {"all", {beach, dunes}},
        {"kind=photo", {beach, dunes}},
        {"kind=video", {}},
        {"type=png", {dunes}},
        {"type=image/jpeg", {beach}},
        {"name='dunes e*'", {dunes}},
        {"words=SEA", {beach}},
        {"words=\"evening dunes\"", {dunes}},
        {"rating=4", {beach}},
        {"rating=5", {}},
        {"favourite", {beach}},
        {"favourite=no", {dunes}},
        {"hidden=no", {beach}},
        {"edited", {}},
        {"problem=no kind=photo favourite=yes", {beach}},
        {"album=\"Two words\"", {dunes}},
        {"min-size=1GB", {}},
        {"max-size=1GB min-size=10", {beach, dunes}},
        {"from=1990 to=1990-12-31", {}},
        {"near=0,0", {}},
        {"within=-10,170,10,-170", {}},
    };
    for (const auto &[query, names] : cases)
        EXPECT_EQ(found(query), names) << query;
    const auto both = run({"list", "--favourite", "--type=jpg", "--where", "rating=3", "--json"}).json();
    ASSERT_EQ(both.size(), 1U) << both;
    EXPECT_EQ(both[0]["uuid"], jpeg);
    EXPECT_EQ(run({"list", "--favourite=no", "--json"}).json()[0]["uuid"], png);
    EXPECT_EQ(run({"count", "--where", "rating=4"}).output, "1 photo, 0 videos\n");
    EXPECT_EQ(run({"count", "--kind", "video"}).output, "0 photos, 0 videos\n");
    EXPECT_EQ(run({"count", "--favourite=no", "--json"}).json(),
              (nlohmann::json{{"photos", 1}, {"videos", 0}}));
    EXPECT_EQ(run({"count", "--where", "kind=film"}).exitCode, 2);
    EXPECT_EQ(run({"find", "by", "SEA", "--json"}).json()[0]["uuid"], jpeg);
    EXPECT_EQ(run({"find", "by", "land", "--json"}).json().size(), 0U);

    ASSERT_EQ(run({"moments", "--update"}).exitCode, 0);
    const std::string moment = run({"moments", "--json"}).json()[0]["objectID"];
    EXPECT_EQ(found("moment=" + moment), (Names{beach, dunes}));

    for (const char *query : {"",
                              " ",
                              "kind",
                              "kind=film",
                              "beach",
                              "rating=6",
                              "rating=",
                              "name='x",
                              "from=1990-13",
                              "near=north",
                              "within=1,2,3",
                              "min-size=big",
                              "type=tree",
                              "favourite=maybe",
                              "words=",
                              "words=''",
                              "album=\"\"",
                              "favourite=",
                              "from=1990 from=2000",
                              "kind = photo"})
        EXPECT_EQ(run({"list", "--where", query}).exitCode, 2) << query;
    EXPECT_EQ(run({"list", "--kind", "photo", "--where", "kind=photo"}).exitCode, 2);
    // A variable of a script that is not set: all would be found, and piped into another command.
    for (const char *option : {"--album", "--kind", "--name", "--words", "--camera", "--favourite="})
        EXPECT_EQ(run({"list", option, ""}).exitCode, 2) << option;
    EXPECT_EQ(run({"find", ""}).exitCode, 2);
    EXPECT_EQ(run({"delete", "--yes", "--where", ""}).exitCode, 2) << "nothing is not all";
    EXPECT_EQ(run({"list", "--where", "album=none"}).exitCode, 4);
}

TEST_F(Selections, ListsHaveTheFieldsAndTheFormThatAreAskedFor) {
    ASSERT_EQ(run({"set", jpeg, "--caption", "Sand, \"fine\"", "--keyword", "a", "--keyword", "b"}).exitCode,
              0);
    const std::string query = "name=beach.jpg";
    const auto listed = [&](const std::string &format) {
        return run({"list", "--where", query, "--fields", "name,caption,keywords,pixels,rating", "--format",
                    format})
            .output;
    };
    EXPECT_EQ(listed("csv"), "name,caption,keywords,pixels,rating\n"
                             "beach.jpg,\"Sand, \"\"fine\"\"\",\"a, b\",64x48,\n");
    const nlohmann::json asset{
        {"name", beach}, {"caption", "Sand, \"fine\""}, {"keywords", {"a", "b"}}, {"pixels", "64x48"}};
    EXPECT_EQ(nlohmann::json::parse(listed("json")), nlohmann::json::array({asset}));
    EXPECT_EQ(nlohmann::json::parse(listed("jsonl")), asset);
    EXPECT_EQ(run({"list", "--where", query, "--format", "ids0"}).output, jpeg + '\0');
    EXPECT_EQ(run({"list", "--where", query, "--format", "jsonl"}).json(),
              run({"list", "--where", query, "--json"}).json()[0]);
    EXPECT_EQ(listed("table").substr(0, 4), "NAME");
}

TEST_F(Selections, TablesFitTheTerminal) {
    const std::string name = std::string(100, 'x') + "\u00e9\u65e5.jpg";
    imported(file(name, jpegOf(fourCorners(31, 17))));
    const std::string narrow = run({"list"}).output;
    for (std::size_t begin = 0; begin < narrow.size();) {
        const std::size_t end = narrow.find('\n', begin);
        const std::string line = narrow.substr(begin, end - begin);
        EXPECT_LE(std::ranges::count_if(line, [](char each) { return (each & 0xC0) != 0x80; }), 80) << line;
        begin = end + 1;
    }
    EXPECT_EQ(narrow.find(jpeg), std::string::npos);
    EXPECT_NE(narrow.find(jpeg.substr(0, 8) + "  "), std::string::npos) << narrow;
    EXPECT_NE(narrow.find("xxx\u2026\n"), std::string::npos) << narrow;
    const std::string wide = TerminalCommand({"list", "--no-color"}, 240).wait().output;
    EXPECT_NE(wide.find(jpeg), std::string::npos) << wide;
    EXPECT_NE(wide.find(name), std::string::npos) << wide;
    EXPECT_EQ(wide.find('\x1b'), std::string::npos) << "no colour was asked for";
    const std::string thin = TerminalCommand({"list"}, 40).wait().output;
    EXPECT_NE(thin.find(jpeg.substr(0, 8)), std::string::npos) << thin;
    EXPECT_EQ(thin.find("PIXELS"), std::string::npos) << thin;
}

TEST_F(Selections, CommandsTakeWhatOthersHaveFound) {
    EXPECT_EQ(runShell("$WL list --where type=png --format ids0 | $WL set --rating 3 -").output,
              "1 asset changed\n");
    EXPECT_EQ(found("rating=3"), Names{dunes});
    EXPECT_EQ(runShell("printf 'beach.jpg\\n" + png + "\\n' | $WL set --rating 5 - " + png).output,
              "2 assets changed\n");
    EXPECT_EQ(found("rating=5"), (Names{beach, dunes}));
    EXPECT_EQ(run({"album", "create", "Dunes"}).exitCode, 0);
    EXPECT_EQ(run({"album", "add", "Dunes", "--where", "all"}).output, "2 assets added to Dunes\n");
    EXPECT_EQ(run({"album", "remove", "Dunes", "--where", "album=Dunes type=jpeg"}).output,
              "1 asset removed from Dunes\n");
    EXPECT_EQ(found("album=Dunes"), Names{dunes});
    EXPECT_EQ(run({"adjust-date", "--by", "1h", "--where", "all"}).output, "2 dates changed\n");
    const fs::path out = folder / "out";
    EXPECT_EQ(run({"export", "--where", "album=Dunes", "--to", out.string()}).output, "1 file written\n");
    EXPECT_TRUE(fs::exists(out / dunes));
    EXPECT_EQ(run({"thumbnail", jpeg, png, "--size", "20", "--to", out.string()}).output,
              "2 files written\n");
    EXPECT_TRUE(fs::exists(out / (jpeg + ".jpg")) && fs::exists(out / (png + ".jpg")));
    EXPECT_EQ(run({"show", jpeg, png, "--json"}).json().size(), 2U);
    EXPECT_EQ(run({"show", "--where", "rating=5", "--json"}).json().size(), 2U);
    EXPECT_EQ(run({"show", "--where", "favourite", "--json"}).output, "[]\n");
    EXPECT_EQ(run({"set", "--rating", "1"}).exitCode, 2) << "of what?";
    EXPECT_EQ(run({"set", "--rating", "1", jpeg, "--where", "all"}).exitCode, 2);
    // What replaces texts of people asks before.
    EXPECT_EQ(run({"set", "--caption", "New", "--where", "all"}).exitCode, 1);
    EXPECT_EQ(run({"find", "new", "--json"}).output, "[]\n");
    EXPECT_EQ(run({"set", "--caption", "New", "--yes", "--where", "all"}).output, "2 assets changed\n");
    EXPECT_EQ(run({"export", "--all", "--where", "rating=5", "--to", out.string()}).exitCode, 2);
    EXPECT_EQ(run({"export", "--all", jpeg, "--to", out.string()}).exitCode, 2);
}

TEST_F(Selections, SeveralAssetsAreNotWrittenIntoAFolderThatLooksLikeAFile) {
    const std::string one = (folder / "one.JPG").string(), old = (folder / "old.jpg").string();
    fs::create_directory(old);
    for (const char *verb : {"export", "thumbnail"}) {
        const struct {
            std::vector<std::string> what;
            std::string to;
            int exitCode;
        } cases[] = {
            {{jpeg, png}, one, 2},
            {{"--where", "type=png"}, one, 2},
            {{jpeg, png}, (folder / beach).string(), 2}, // a file
            {{jpeg, png}, one + "/", 0},
            {{jpeg, png}, old, 0},
            {{jpeg, png}, (folder / "2024.08").string(), 0},
        };
        for (const auto &[what, to, exitCode] : cases) {
            std::vector<std::string> words{verb, "--to", to};
            words.insert(words.end(), what.begin(), what.end());
            const CommandResult result = run(words);
            EXPECT_EQ(result.exitCode, exitCode) << verb << to << result;
            EXPECT_EQ(fs::is_directory(to), exitCode == 0) << verb << to;
            EXPECT_EQ(result.errors.find("folder") != std::string::npos, exitCode == 2)
                << verb << to << result;
        }
        fs::remove_all(one);
    }
}

TEST_F(Selections, WhatIsInTheTrashIsNamedAsWhatIsInTheLibrary) {
    std::string lowerCase = png;
    std::ranges::transform(lowerCase, lowerCase.begin(),
                           [](unsigned char each) { return std::tolower(each); });
    const struct {
        std::string input, words, output;
        int exitCode;
    } cases[] = {
        {jpeg + "\n" + lowerCase, "- " + jpeg, "2 assets restored\n", 0}, // each once
        {beach + "\n" + png.substr(0, 8), "-", "2 assets restored\n", 0},
        {png, "-", "1 asset restored\n", 0},
        {"", "-", "0 assets restored\n", 0},
        {jpeg + "\n" + absentUUID, "-", "", 4}, // nothing is restored then
        {jpeg, "- --all", "", 2},
    };
    for (const auto &[input, words, output, exitCode] : cases) {
        ASSERT_EQ(run({"delete", "--yes", "--where", "all"}).exitCode, 0);
        const CommandResult result = runShell("printf '" + input + "' | $WL trash restore " + words);
        EXPECT_EQ(result.exitCode, exitCode) << words << result;
        EXPECT_EQ(result.output, output) << words << result;
    }
    EXPECT_EQ(runShell("printf '" + jpeg + "\n" + png + "\n" + jpeg + "' | $WL delete --now --yes -").output,
              "2 assets deleted\n");
    EXPECT_EQ(run({"trash", "list", "--json"}).json().size(), 0U);
}

TEST_F(Selections, EditedVersionsAreExportedWhereThereAreAny) {
    const std::string edit = file("edit.jpg", jpegOf(fourCorners(20, 30)));
    ASSERT_EQ(run({"preview", png, edit}).exitCode, 0);
    const fs::path out = folder / "out";
    EXPECT_EQ(run({"export", "--edited", "--where", "all", "--to", out.string()}).output,
              "2 files written\n");
    const fs::path rendition = run({"show", png, "--json"}).json()["edited"]["path"].get<std::string>();
    const fs::path copy = (out / "dunes evening").replace_extension(rendition.extension());
    EXPECT_EQ(contentsOf(copy), contentsOf(rendition));
    EXPECT_EQ(contentsOf(out / beach), contentsOf(folder / beach));
    EXPECT_EQ(run({"export", png, "--to", (folder / "original.png").string()}).exitCode, 0);
    EXPECT_EQ(contentsOf(folder / "original.png"), contentsOf(folder / dunes));
}

TEST_F(Selections, NothingIsDoneInADryRunOrWithoutConsent) {
    const std::vector<std::string> what{"--where", "kind=photo"};
    const auto with = [&](std::vector<std::string> words) {
        words.insert(words.end(), what.begin(), what.end());
        return words;
    };
    const CommandResult dry = run(with({"delete", "--dry-run"}));
    EXPECT_EQ(dry.exitCode, 0) << dry;
    EXPECT_NE(dry.output.find(beach), std::string::npos) << dry;
    EXPECT_NE(dry.output.find("2 assets would be moved to the trash\n"), std::string::npos) << dry;
    for (const char *verb : {"delete", "revert"})
        EXPECT_EQ(run(with({verb})).exitCode, 1) << verb << ": there is no terminal to ask";
    for (const std::vector<std::string> &words : {std::vector<std::string>{"set", "--rating", "2"},
                                                  {"adjust-date", "--by", "1d"},
                                                  {"revert"},
                                                  {"export", "--to", (folder / "out").string()},
                                                  {"thumbnail", "--to", (folder / "out").string()}}) {
        auto dryRun = with(words);
        dryRun.emplace_back("--dry-run");
        const CommandResult result = run(dryRun);
        EXPECT_EQ(result.exitCode, 0) << words[0] << result;
        EXPECT_NE(result.output.find("2 assets would be "), std::string::npos) << words[0] << result;
    }
    const CommandResult all = run({"export", "--all", "--dry-run", "--to", (folder / "out").string()});
    EXPECT_NE(all.output.find("2 assets would be exported\n"), std::string::npos) << all;
    EXPECT_FALSE(fs::exists(folder / "out"));
    EXPECT_EQ(found("rating=2"), Names{});

    const struct {
        const char *answer;
        int exitCode;
    } answers[] = {{"n\n", 1}, {"\n", 1}, {"Yep\n", 1}, {"Y\n", 0}};
    for (const auto &[answer, exitCode] : answers) {
        TerminalCommand deleting(with({"delete"}));
        ASSERT_TRUE(deleting.shows("This moves 2 assets to the trash. Continue? [y/N]"));
        deleting.type(answer);
        const CommandResult result = deleting.wait();
        EXPECT_EQ(result.exitCode, exitCode) << answer;
        EXPECT_EQ(result.output.find(" nothing was changed\r\n") != std::string::npos, exitCode == 1)
            << answer << result;
    }
    EXPECT_EQ(run({"count"}).output, "0 photos, 0 videos\n");
    EXPECT_EQ(run({"trash", "restore", "--all"}).output, "2 assets restored\n");
    EXPECT_EQ(run(with({"delete", "--now", "--yes", "--quiet"})).output, "");
    EXPECT_EQ(run({"trash", "list", "--json"}).json().size(), 0U);
}

TEST_F(Selections, ProgressIsShownOnATerminalAlone) {
    const pid_t daemon = run({"daemon", "status", "--json"}).json()["process"];
    ASSERT_TRUE(stopProcess(daemon)); // so that it takes long
    TerminalCommand rebuilding({"rebuild-thumbnails"});
    EXPECT_TRUE(rebuilding.shows("making thumbnails"));
    kill(daemon, SIGCONT);
    const CommandResult done = rebuilding.wait();
    EXPECT_EQ(done.exitCode, 0) << done;
    EXPECT_TRUE(done.output.ends_with("\r\x1b[Kthumbnails of 2 assets made\r\n")) << done;
    std::string half(1000, 'x');
    ASSERT_EQ(run({"import", file("none.jpg", bytesOf(half))}).exitCode, 0);
    const CommandResult piped = run({"rebuild-thumbnails"});
    EXPECT_EQ(piped.errors, "");
    EXPECT_EQ(piped.output, "thumbnails of 2 assets made, 1 can't be decoded\n");
}

TEST_F(Selections, AClosedPipeEndsTheCommandSilently) {
    for (const char *how : {"", "trap '' PIPE; "}) {
        const CommandResult result = runShell(std::string(how) + "$WL debug uuid --count 100000 | head -n 1");
        EXPECT_EQ(result.errors, "") << how;
        EXPECT_EQ(result.exitCode, 0) << result;
    }
}

TEST_F(Selections, CtrlCGives130) {
    const pid_t daemon = run({"daemon", "status", "--json"}).json()["process"];
    for (const std::vector<std::string> &arguments : {std::vector<std::string>{"list"},
                                                      {"set", "--rating", "1", jpeg},
                                                      {"rebuild-thumbnails"},
                                                      {"count"}}) {
        ASSERT_TRUE(stopProcess(daemon));
        TerminalCommand command(arguments);
        command.type("\x03");
        const CommandResult result = command.wait();
        kill(daemon, SIGCONT);
        EXPECT_TRUE(result.exitCode == 130 || result.exitCode == -SIGINT) << arguments[0] << result;
    }
}

} // namespace
