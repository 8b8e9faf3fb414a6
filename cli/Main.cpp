// The command `wickerlane`: a photo library from the shell.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Completion.h"
#include "cli/Help.h"
#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/TrustedPath.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/process/Circumstances.h"
#include "wickerlane/platform/queue/ServiceThreads.h"
#include "wickerlane/platform/queue/WorkQueue.h"

namespace wickerlane::cli {
namespace {

constexpr const char *notes = R"(For help with a command: wickerlane help import

Exit codes:
  0  success
  1  some or all of the work failed; see standard error
  2  the command line is wrong
  3  the daemon can't be reached
  4  there is no such asset, text or process, or no library yet
  5  it is not allowed: no access to the library, or a folder can't be written
  6  the library's store is damaged or missing; to repair it: wickerlane check --repair
  7  the library was made by a newer version
  8  something else works on the library; try again later
  9  the daemon did not answer in the time that --timeout allows
  130  Ctrl-C ended it

Examples:
  wickerlane import ~/Pictures
  wickerlane list --sort newest --limit 10
  wickerlane export --all --to /media/backup)";

/// In the one release scope that every subcommand has.
ExitCode perform(const Action &action) {
    const ReleaseScope scope;
    try {
        const auto result = action();
        return result ? *result : report(result.error());
    } catch (const std::exception &unexpected) {
        return report({ProblemKind::failed, unexpected.what(), {}});
    }
}

/// The work runs on the global queue, while this thread serves the main queue: changed log levels arrive
/// there.
ExitCode performServingMainQueue(const Action &action) {
    if (!startWorker())
        return report({ProblemKind::failed, localized("the system has no thread left for this user"), {}});
    ExitCode result = ExitCode::failure;
    WorkQueue::global()->async([&] {
        result = perform(action);
        WorkQueue::main()->async([] { WorkQueue::stopMain(); });
    });
    WorkQueue::runMain();
    return result;
}

/// Whether the command line may name a subcommand. The others are not set up, which takes most of the time of
/// a short command.
bool mayName(int argc, char **argv, std::string_view subcommand) {
    return std::any_of(argv + 1, argv + argc, [&](const char *word) { return word == subcommand; });
}

void addSubcommands(CLI::App &app, int argc, char **argv, Action &chosen) {
    const auto add = [&](const Subcommand &each) {
        CLI::App *subcommand = app.add_subcommand(each.name, each.summary)->group(each.group)->footer("");
        if (mayName(argc, argv, each.name))
            each.setUp(Command(subcommand, chosen));
    };
    std::ranges::for_each(subcommands, add);
    std::ranges::for_each(debugSubcommands, add);
}

void useRoot(const std::string &folder) {
    setenv("WICKERLANE_ROOT", std::filesystem::absolute(folder).lexically_normal().c_str(), 1);
}

void noteOldName(const CLI::App &named) {
    for (const Subcommand &each : debugSubcommands)
        if (named.get_name() == each.name)
            advise(localized(
                "wickerlane: '{0}' is now 'wickerlane debug {0}'; the next release does without the old name",
                each.name));
}

/// Whether the subcommand that was chosen writes JSON.
bool writesJSON(const CLI::App &app) {
    const CLI::App *named = &app;
    while (!named->get_subcommands().empty())
        named = named->get_subcommands().front();
    const CLI::Option *json = named->get_option_no_throw("--json");
    return json != nullptr && json->count() > 0;
}

int run(int argc, char **argv) {
    CLI::App app("Saves photos into a Wickerlane photo library, lists them and exports them.");
    app.name("wickerlane");
    app.formatter(helpFormatter());
    app.set_version_flag("--version", WICKERLANE_VERSION);
    app.footer(notes);
    app.require_subcommand(1);
    app.fallthrough();

    std::string root;
    app.add_option("--root", root,
                   "Folder of the library (default: WICKERLANE_ROOT, else the user's own library)")
        ->type_name("FOLDER");

    double timeout = 0;
    Option(app.add_option("--timeout", timeout,
                          "Give up when the daemon does not answer a request for so long (default: wait)"))
        .typeName("SECONDS")
        .between(0.001, 1e6);

    Manner manner;
    app.add_flag("-q,--quiet", manner.isQuiet,
                 "Show problems and what was asked for only: no progress, advice or summaries");
    app.add_flag("--no-color,--no-colour", manner.isPlain, "Use no colour; NO_COLOR says the same");

    Action chosen;
    addSubcommands(app, argc, argv, chosen);

    if (argc == 1) {
        printText(app.help());
        return static_cast<int>(ExitCode::usage);
    }
    if (std::string_view(argv[1]) == "help") {
        const auto help = helpOf(app, std::vector<std::string>(argv + 2, argv + argc));
        if (!help)
            return static_cast<int>(report(help.error()));
        printText(*help);
        return 0;
    }
    if (std::string_view(argv[1]) == "complete") {
        const std::vector<std::string> words(argv + 2, argv + argc);
        for (std::size_t i = 0; i + 2 < words.size(); ++i)
            if (words[i] == "--root")
                useRoot(words[i + 1]);
        printCompletions(app, words);
        return 0;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success &asked) {
        return app.exit(asked);
    } catch (const CLI::Error &error) {
        return static_cast<int>(report(problemOf(app, error)));
    }
    setManner(manner);
    if (writesJSON(app)) // which holds texts of problems as well
        speakEnglish();
    setConsoleGate([] { return false; }); // the command says itself what went wrong
    noteOldName(*app.get_subcommands().front());

    // Before any other thread runs. A daemon that is started inherits it.
    if (!root.empty())
        useRoot(root);
    // What is below a root says which programs run. Translations may be there, too, so this is in English.
    if (const std::string why = whyUntrusted(rootPath()); !why.empty())
        return static_cast<int>(
            report({ProblemKind::refused, "the root " + rootPath() + " is not used: " + why, {}}));

    const ExitCode result = performServingMainQueue([&] {
        if (timeout > 0)
            JXGatekeeperClient::sharedInstance()->setReplyTimeLimit(
                std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(timeout)));
        return chosen();
    });
    if (const auto written = flushOutput(); !written)
        return static_cast<int>(report(written.error()));
    return static_cast<int>(isInterrupted() ? ExitCode::interrupted : result);
}

} // namespace
} // namespace wickerlane::cli

int main(int argc, char **argv) {
    wickerlane::occupyStandardDescriptors();
    return wickerlane::cli::run(argc, argv);
}
