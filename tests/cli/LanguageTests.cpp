// The command speaks the language of its user
#include <csignal>
#include <fstream>

#include "tests/cli/CommandRun.h"
#include "tests/support/StoppedProcess.h"
#include "wickerlane/protocol/AlbumRows.h"
#include "wickerlane/protocol/LibraryRows.h"
#include "wickerlane/protocol/QueryRows.h"
#include "wickerlane/store/LibraryPaths.h"
#include "wickerlane/testing/ScriptedDaemon.h"

using namespace wickerlane;
using namespace wickerlane::test;
namespace fs = std::filesystem;

namespace {

class CommandLanguage : public Commands {
protected:
    void TearDown() override {
        unsetenv("WICKERLANE_BUNDLES");
        Commands::TearDown();
    }

    /// Assets of one picture.
    std::vector<std::string> importedTimes(std::size_t count) const {
        std::vector<std::string> words{"import", "--again", "--json"};
        words.insert(words.end(), count, file("a.jpg", jpegPicture()));
        const auto report = run(words).json();
        std::vector<std::string> uuids;
        for (const auto &each : report.at("saved"))
            uuids.push_back(each.at("uuid"));
        EXPECT_EQ(uuids.size(), count);
        return uuids;
    }
};

std::vector<std::string> setRating(const std::vector<std::string> &uuids, std::size_t count) {
    std::vector<std::string> words{"set", "--rating", "3"};
    words.insert(words.end(), uuids.begin(), uuids.begin() + static_cast<std::ptrdiff_t>(count));
    return words;
}

} // namespace

TEST_F(CommandLanguage, ErrorsAndSummariesAreInTheLanguageOfTheUser) {
    const auto uuids = importedTimes(5);
    const struct {
        const char *locale;
        std::string error, one, two, five;
    } cases[] = {
        {"en_GB", "there is no asset nobody in ", "1 asset changed", "2 assets changed", "5 assets changed"},
        {"de_AT", "das Objekt nobody gibt es in ", "1 Objekt geändert", "2 Objekte geändert",
         "5 Objekte geändert"},
        {"fr_FR", "il n’y a pas d’élément nobody dans ", "1 élément modifié", "2 éléments modifiés",
         "5 éléments modifiés"},
        {"ja_JP", "項目 nobody は ", "1 項目を変更しました", "2 項目を変更しました", "5 項目を変更しました"},
        {"pt_BR", "não há item nobody em ", "1 item alterado", "2 itens alterados", "5 itens alterados"},
        {"ar_EG", "لا يوجد عنصر nobody في ", "غُيّر عنصر واحد", "غُيّر عنصران", "غُيّرت 5 عناصر"},
        {"nl_NL", "there is no asset nobody in ", "1 asset changed", "2 assets changed", "5 assets changed"},
    };
    for (const auto &each : cases) {
        setLanguage(each.locale);
        const CommandResult absent = run({"show", "nobody"});
        EXPECT_EQ(absent.exitCode, 4) << each.locale;
        EXPECT_TRUE(absent.errors.starts_with("wickerlane: " + each.error)) << each.locale << absent;
        EXPECT_EQ(run(setRating(uuids, 1)).output, each.one + "\n") << each.locale;
        EXPECT_EQ(run(setRating(uuids, 2)).output, each.two + "\n") << each.locale;
        EXPECT_EQ(run(setRating(uuids, 5)).output, each.five + "\n") << each.locale;
    }
    // A language without translations gives way to the user's next one, and to English if that is before.
    setLanguage("nl_NL");
    setenv("LANGUAGE", "nl:de", 1);
    EXPECT_EQ(run(setRating(uuids, 1)).output, "1 Objekt geändert\n");
    setenv("LANGUAGE", "nl:en:de", 1);
    EXPECT_EQ(run(setRating(uuids, 1)).output, "1 asset changed\n");
}

TEST_F(CommandLanguage, AWrongCommandLineIsExplainedInTheLanguageOfTheUser) {
    const struct {
        std::vector<std::string> words;
        std::string english, german;
    } cases[] = {
        {{"album"}, "A subcommand is required", "ein Unterbefehl ist erforderlich"},
        {{"album", "create"}, "ALBUM is required", "ALBUM ist erforderlich"},
        {{"list", "--limit"}, "--limit needs a value: COUNT", "--limit braucht einen Wert: COUNT"},
        {{"list", "--sort"}, "--sort needs a value: ORDER", "--sort braucht einen Wert: ORDER"},
        {{"duplicates", "--not", "x"}, "--not needs at least 2 values", "--not braucht mindestens 2 Werte"},
        {{"list", "--limit", "1", "--limit", "2"},
         "--limit can be given only once",
         "--limit darf nur einmal angegeben werden"},
        {{"list", "--limit", "x"}, "--limit can't be 'x'", "--limit kann nicht „x“ sein"},
        {{"list", "--limit", "-1"},
         "--limit: it can't be negative",
         "--limit: der Wert kann nicht negativ sein"},
        {{"set", "--rating", "9", "x"},
         "--rating: '9' is no number from 0 to 5",
         "--rating: „9“ ist keine Zahl von 0 bis 5"},
        {{"--timeout", "0", "list"},
         "--timeout: '0' is no number from 0.001 to 1000000",
         "--timeout: „0“ ist keine Zahl von 0.001 bis 1000000"},
        {{"thumbnail", "x", "--size", "0"},
         "--size: '0' is no positive number",
         "--size: „0“ ist keine positive Zahl"},
        {{"list", "--sort", "x"},
         "--sort: 'x' is none of: oldest, newest, added, largest, name",
         "--sort: „x“ ist keines von: oldest, newest, added, largest, name"},
        {{"purge", "5 apples"},
         "BYTES: '5 apples' is no size such as 50MB or 2MiB",
         "BYTES: „5 apples“ ist keine Größe wie 50MB oder 2MiB"},
        {{"purge", "5MB", "--dry-run"},
         "BYTES and --dry-run can't be used together",
         "BYTES und --dry-run schließen sich aus"},
        {{"album", "create", "a", "b", "c d"}, "not expected: b c d", "unerwartet: b c d"},
        {{"album", "create", "a", " is required"}, "not expected:  is required", "unerwartet:  is required"},
        {{"list", "--sort", "a excludes b"},
         "--sort: 'a excludes b' is none of: oldest",
         "--sort: „a excludes b“ ist keines von: oldest"},
    };
    for (const auto &[words, english, german] : cases) {
        const auto said = [&, &given = words](const char *locale) {
            setLanguage(locale);
            const CommandResult result = run(given);
            EXPECT_EQ(result.exitCode, 2) << locale << result;
            return result.errors;
        };
        EXPECT_TRUE(said("en_GB").starts_with("wickerlane: " + english)) << said("en_GB");
        EXPECT_TRUE(said("de_DE").starts_with("wickerlane: " + german)) << said("de_DE");
        for (const char *locale : {"fr_FR", "ja_JP", "pt_BR", "ar_EG"})
            EXPECT_EQ(said(locale).find(english), std::string::npos) << locale << said(locale);
    }
}

TEST_F(CommandLanguage, AProblemOfTheDaemonIsTranslatedOrItsKindIsSaidBeforeItsEnglish) {
    const auto expectKind = [](const std::vector<std::string> &words, const std::string &german,
                               const std::string &french) {
        const std::string prefix = "wickerlane: ";
        setLanguage("C");
        const CommandResult english = run(words);
        ASSERT_TRUE(english.errors.starts_with(prefix)) << english;
        const std::string detail = english.errors.substr(prefix.size());
        for (const auto &[locale, kind] : {std::pair("de_DE", german), std::pair("fr_FR", french)}) {
            setLanguage(locale);
            const CommandResult told = run(words);
            EXPECT_EQ(told.errors, prefix + kind + detail);
            EXPECT_EQ(told.exitCode, english.exitCode);
        }
    };
    for (const char *album : {"Dunes", "Tides"})
        ASSERT_EQ(run({"album", "create", album}).exitCode, 0);
    const std::string uuid = importedTimes(1).front(), tooLong(10'000, 'x');
    for (const auto &[locale, text] : {std::pair("C", "there is an album of that name"),
                                       {"de_DE", "es gibt schon ein Album dieses Namens"},
                                       {"ja_JP", "同じ名前のアルバムがすでにあります"}}) {
        setLanguage(locale);
        const CommandResult told = run({"album", "rename", "Dunes", "Tides"});
        EXPECT_EQ(told.errors, std::string("wickerlane: ") + text + "\n") << locale;
    }
    expectKind({"set", uuid, "--caption", tooLong}, "ungültig: ", "non valable : ");
    pid_t daemon = 0;
    std::ifstream(wickerlane::store::LibraryPaths().lock()) >> daemon;
    ASSERT_GT(daemon, 0);
    ASSERT_TRUE(stopProcess(daemon));
    expectKind({"--timeout", "0.05", "count"},
               "keine Antwort in der zulässigen Zeit: ", "pas de réponse dans le temps imparti : ");
    EXPECT_EQ(kill(daemon, SIGCONT), 0);
}

TEST_F(CommandLanguage, AdviceAboutAProblemOfTheDaemonIsInTheSameLanguageAndSaidOnce) {
    ScriptedDaemon daemon;
    const fs::path store(wickerlane::store::LibraryPaths().database());
    fs::create_directories(store.parent_path());
    std::ofstream(store).close(); // there is a library
    AssetRecord asset;
    asset.uuid = absentUUID;
    daemon.on(protocol::getCurrentModelVersion, ScriptedReaction::answer().with(protocol::keys::version, 1));
    daemon.on(protocol::assetsMatchingQuery, ScriptedReaction::assets({asset}));
    daemon.on(protocol::deleteAsset,
              ScriptedReaction::failure(ProblemKind::notFound, "there is no such asset"));
    setLanguage("de_DE");
    EXPECT_EQ(run({"delete", absentUUID, "--yes"}).errors,
              "wickerlane: " + absentUUID +
                  " wurde nicht gelöscht: dieses Objekt gibt es nicht. Vielleicht wurde "
                  "es inzwischen gelöscht: die Liste noch einmal abrufen.\n");
    for (const auto &[text, german] :
         {std::pair("the library is being repaired; try again when that has ended",
                    "die Mediathek wird gerade repariert; danach noch einmal versuchen"),
          {"the asset is being saved", "das Objekt wird gerade gesichert. Später noch einmal versuchen."}}) {
        daemon.on(protocol::getCurrentModelVersion, ScriptedReaction::failure(ProblemKind::busy, text));
        EXPECT_EQ(run({"count"}).errors, std::string("wickerlane: ") + german + "\n");
    }
}

TEST_F(CommandLanguage, AnImportSaysWhyInTheLanguageOfTheUser) {
    file("half.jpg", bytesOf("half"));
    file("empty.jpg", {});
    file("README", bytesOf("text"));
    const struct {
        const char *name;
        std::string english, german, arabic;
    } cases[] = {
        {"empty.jpg", "the file is empty", "die Datei ist leer", "الملف فارغ"},
        {"README", "it is neither a picture nor a video, by its contents and by its name",
         "weder dem Inhalt noch dem Namen nach ein Bild oder Video",
         "ليس صورة ولا مقطع فيديو، لا بمحتواه ولا باسمه"},
        {"absent.jpg", "No such file or directory", "Datei oder Ordner nicht gefunden",
         "لا يوجد ملف أو مجلد كهذا"},
        {"half.jpg", "the file is not a picture of a known format",
         "die Datei ist kein Bild in einem bekannten Format", "الملف ليس صورة بتنسيق معروف"},
    };
    for (const auto &each : cases)
        for (const auto &[locale, reason] :
             {std::pair("C", each.english), {"de_DE", each.german}, {"ar_EG", each.arabic}}) {
            setLanguage(locale);
            const CommandResult result = run({"import", "--again", (folder / each.name).string()});
            EXPECT_TRUE(result.errors.ends_with(": " + reason + "\n")) << locale << result;
        }
    setLanguage("de_DE");
    const CommandResult absent = run({"export", "--all", "--to", "/dev/null/copies"});
    EXPECT_NE(absent.errors.find(": Ist kein Ordner\n"), std::string::npos) << absent;
}

TEST_F(CommandLanguage, LabelsAreInTheLanguageOfTheUserAndInOneColumn) {
    const std::string uuid = importedTimes(1).front();
    ASSERT_EQ(run({"set", uuid, "--rating", "4"}).exitCode, 0);
    const struct {
        const char *locale;
        std::vector<std::string> words;
        std::string line;
    } cases[] = {
        {"C", {"show", uuid}, "\nRating      4 of 5\n"},
        {"de_DE", {"show", uuid}, "\nBewertung   4 von 5\n"},
        {"de_DE", {"show", uuid}, "\nGröße       "},
        {"ja_JP", {"show", uuid}, "\n評価        5 段階の 4\n"},
        {"C", {"sizes"}, "Videos: 0 bytes\n"},
        {"fr_FR", {"sizes"}, "Vidéos : 0 bytes\n"},
        {"C", {"daemon", "status"}, "Daemon      running, process "},
        {"de_DE", {"daemon", "status"}, "Daemon      läuft, Prozess "},
    };
    for (const auto &[locale, words, line] : cases) {
        setLanguage(locale);
        const CommandResult result = run(words);
        EXPECT_NE(result.output.find(line), std::string::npos) << locale << line << result;
    }
}

TEST_F(CommandLanguage, QuestionsUnderstandTheLanguageBesidesEnglish) {
    const struct {
        const char *locale, *question, *answer;
        int exitCode;
    } cases[] = {
        {"en_US", "Continue? [y/N]", "j\n", 1},
        {"de_DE", "Fortfahren? [j/N]", "n\n", 1},
        {"de_DE", "Fortfahren? [j/N]", "\n", 1},
        {"de_DE", "Fortfahren? [j/N]", "JA\n", 0},
        {"de_DE", "Fortfahren? [j/N]", "y\n", 0},
        {"fr_FR", "Continuer ? [o/N]", "o\n", 0},
        {"pt_BR", "Continuar? [s/N]", "sim\n", 0},
        {"ja_JP", "続けますか？[はい/いいえ]", "いいえ\n", 1},
        {"ja_JP", "続けますか？[はい/いいえ]", "はい\n", 0},
        {"ar_SA", "هل تريد المتابعة؟ [نعم/لا]", "نعم\n", 0},
    };
    const std::string uuid = importedTimes(1).front();
    for (const auto &[locale, question, answer, exitCode] : cases) {
        setLanguage(locale);
        TerminalCommand deleting({"delete", uuid});
        ASSERT_TRUE(deleting.shows(question)) << locale;
        deleting.type(answer);
        EXPECT_EQ(deleting.wait().exitCode, exitCode) << locale << answer;
        EXPECT_EQ(run({"trash", "restore", uuid}).exitCode, exitCode == 0 ? 0 : 4) << locale << answer;
    }
}

TEST_F(CommandLanguage, ATableThatIsNoGoodGivesWayToEnglish) {
    const auto uuids = importedTimes(2);
    setLanguage("de_DE");
    setenv("WICKERLANE_BUNDLES", folder.c_str(), 1);
    const fs::path localization = folder / "WickerlaneCommand.bundle/de.lproj";
    const auto expectEnglish = [&](const char *what) {
        EXPECT_EQ(run(setRating(uuids, 2)).output, "2 assets changed\n") << what;
        const CommandResult absent = run({"show", "nobody"});
        EXPECT_TRUE(absent.errors.starts_with("wickerlane: there is no asset nobody in ")) << what << absent;
    };
    expectEnglish("no bundle");
    fs::create_directories(localization);
    expectEnglish("no table");
    const std::string summary = "\"{} assets changed\" = ",
                      error = "\"there is no asset {} in {}. To list all assets: wickerlane list\" = ";
    for (const std::string &table :
         {std::string(), std::string("\xff\xfe"), summary, summary + "{ one = two; };",
          summary + "\"{1}\";" + error + "\"{2}\";", summary + "\"{\";" + error + "\"}\";",
          summary + "\"{} {0}\";" + error + "\"{:d}\";", summary + "\"{:.{5}}\";" + error + "\"{name}\";"}) {
        std::ofstream(localization / "Command.strings", std::ios::trunc) << table;
        expectEnglish(table.c_str());
    }
    std::ofstream(localization / "Command.strings", std::ios::trunc) << summary << "\"{0} = {0}\";";
    EXPECT_EQ(run(setRating(uuids, 2)).output, "2 = 2\n");
}

TEST_F(CommandLanguage, WhatProgramsReadIsInEnglish) {
    const std::string uuid = importedTimes(1).front(), text = file("a.txt", bytesOf("text"));
    const std::vector<std::string> cases[] = {{"--help"},
                                              {"help", "album", "add"},
                                              {"delete", "--help"},
                                              {"count", "--json"},
                                              {"list"},
                                              {"list", "--format", "csv"},
                                              {"show", uuid, "--json"},
                                              {"import", text, "/dev/null", "--json"},
                                              {"show", "nobody", "--json"},
                                              {"moments", "--json"}};
    const std::vector<std::string> backup{"backup", (folder / "backup").string(), "--json"};
    run(backup);
    fs::remove(run({"show", uuid, "--json"}).json().at("path").get<std::string>()); // a problem in JSON
    for (const auto &words : cases) {
        setLanguage("C");
        const CommandResult english = run(words);
        setLanguage("ar_EG");
        const CommandResult arabic = run(words);
        EXPECT_EQ(arabic.output, english.output) << words.front();
        EXPECT_EQ(arabic.errors, english.errors) << words.front();
        EXPECT_EQ(arabic.exitCode, english.exitCode) << words.front();
    }
    // How much a backup copies depends on what the daemon wrote meanwhile.
    const auto withoutCopied = [](const CommandResult &result) {
        auto report = result.json();
        EXPECT_EQ(report.erase("copied") + report.erase("copiedBytes"), 2U) << result;
        return report;
    };
    setLanguage("C");
    const CommandResult english = run(backup);
    setLanguage("ar_EG");
    const CommandResult arabic = run(backup);
    EXPECT_EQ(withoutCopied(arabic), withoutCopied(english));
    EXPECT_EQ(english.json().at("problems").size(), 1U) << english;
    EXPECT_EQ(arabic.errors, english.errors);
    EXPECT_EQ(arabic.exitCode, english.exitCode);
}
