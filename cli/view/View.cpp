// The server of `wickerlane view`: who is let in, and what answers which request.
#include "cli/view/View.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <malloc.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

#include "cli/Interrupt.h"
#include "cli/Output.h"
#include "cli/view/Access.h"
#include "cli/view/Answers.h"
#include "cli/view/Changes.h"
#include "cli/view/Exports.h"
#include "cli/view/Imports.h"
#include "cli/view/KnownAssets.h"
#include "cli/view/Languages.h"
#include "cli/view/Lists.h"
#include "cli/view/Parameters.h"
#include "cli/view/Pictures.h"
#include "cli/view/Polls.h"
#include "cli/view/Server.h"
#include "cli/view/StaticFiles.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::cli::view {
namespace {

using namespace std::chrono_literals;

struct Question {
    std::string_view path;
    List *list;
};

constexpr std::array questions = {
    Question{"/api/sections", listSections},   Question{"/api/count", countAssets},
    Question{"/api/grid", listGrid},           Question{"/api/albums", listAlbums},
    Question{"/api/moments", listMoments},     Question{"/api/duplicates", listDuplicates},
    Question{"/api/bulletins", listBulletins}, Question{"/api/trash", listTrash},
};

/// The page's server.
class View final : public Server::Delegate {
public:
    View(StaticFiles page, Access::Secrets secrets, bool readOnly)
        : files(std::move(page)), keptSecrets(std::move(secrets)), forbidsChanges(readOnly), server(*this) {}

    Result<> serve(const ViewOptions &options);

    bool isKnown(const Server::Request &request) override { return access->isKnown(request); }
    bool admits(const Server::Request &request, Server::Response &response) override;
    void answerQuestion(const Server::Request &request, Server::Response &response) override;
    void answerChange(const Server::Request &request, Server::Response &response,
                      const httplib::ContentReader &body) override;

private:
    void answerSession(const Server::Request &request, Server::Response &response) const;
    Result<std::string> textFor(const Server::Request &request);
    Result<JSON> change(const Server::Request &request, const httplib::ContentReader &body);

    const StaticFiles files;
    Access::Secrets keptSecrets;
    const bool forbidsChanges;
    std::optional<Access> access; // since there is a port
    KnownAssets known;
    Polls polls;
    Exports exports;
    std::atomic<bool> hasAnswered{false}; // since memory was given back
    Server server;
};

bool View::admits(const Server::Request &request, Server::Response &response) {
    hasAnswered = true;
    auto refusal = access->refusalOfForm(request);
    if (!refusal && request.method == "GET" && request.path == "/" && request.has_param("token") &&
        (access->isKnown(request) || access->redeems(request))) {
        response.set_header("Set-Cookie", access->cookieHeader());
        response.set_header("Cache-Control", "no-store");
        response.set_redirect("/", 303);
        return false;
    }
    if (!refusal)
        refusal = access->refusalOfSender(request);
    if (!refusal)
        return true;
    answerError(response, refusal->status, refusal->code, refusal->text);
    if (refusal->status == 405)
        response.set_header("Allow", "GET, POST");
    return false;
}

void View::answerSession(const Server::Request &request, Server::Response &response) const {
    answerJSON(response, {{"token", access->changeToken()},
                          {"readOnly", access->isReadOnly()},
                          {"version", WICKERLANE_VERSION},
                          {"language", languageFor(request.get_header_value("Accept-Language"))}});
}

Result<std::string> View::textFor(const Server::Request &request) {
    if (request.path == "/api/changes")
        return polls.wait(request);
    if (request.path.starts_with(assetPath))
        return describeAsset(known, request);
    for (const Question &each : questions)
        if (request.path == each.path)
            return each.list(known, request);
    return fail(ProblemKind::notFound, "there is nothing at this address");
}

void View::answerQuestion(const Server::Request &request, Server::Response &response) {
    if (request.path.starts_with("/media/")) {
        if (const auto answered = answerMedia(known, request, response); !answered)
            answerProblem(response, answered.error());
        return;
    }
    if (request.path.starts_with(exportPath)) {
        if (const auto answered = exports.answer(request, response); !answered)
            answerProblem(response, answered.error());
        return;
    }
    if (request.path == "/api/session")
        return answerSession(request, response);
    if (files.answer(request, response))
        return;
    auto text = textFor(request);
    if (text)
        answerText(response, *std::move(text));
    else
        answerProblem(response, text.error());
}

Result<JSON> View::change(const Server::Request &request, const httplib::ContentReader &body) {
    if (request.path == importPath)
        return importFile(request, body);
    const auto changes = changesOfLibrary();
    const auto named = std::ranges::find(changes, request.path, &NamedChange::path);
    const bool exportsFiles = request.path == offerPath;
    if (named == changes.end() && !exportsFiles)
        return fail(ProblemKind::notFound, "there is nothing at this address");
    std::string text;
    const bool isRead = body([&](const char *bytes, std::size_t count) {
        text.append(bytes, count);
        return text.size() <= maxBodyBytes;
    });
    if (!isRead)
        return fail(ProblemKind::invalid, "the body did not arrive whole");
    const auto object = objectIn(text);
    if (!object)
        return passOn(object);
    return exportsFiles ? exports.offer(*object) : named->make(*object);
}

void View::answerChange(const Server::Request &request, Server::Response &response,
                        const httplib::ContentReader &body) {
    const auto answer = change(request, body);
    if (answer)
        answerJSON(response, *answer);
    else
        answerProblem(response, answer.error());
}

/// Opens the address in the user's browser, if there is a display.
void openBrowser(const std::string &address) {
    if (std::getenv("DISPLAY") == nullptr && std::getenv("WAYLAND_DISPLAY") == nullptr)
        return;
    std::string program = "xdg-open", argument = address;
    std::array<char *, 3> words{program.data(), argument.data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int each : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, each, "/dev/null", O_RDWR, 0);
    pid_t process = -1;
    if (::posix_spawnp(&process, words[0], &actions, nullptr, words.data(), environ) == 0)
        std::thread([process] { ::waitpid(process, nullptr, 0); }).detach();
    posix_spawn_file_actions_destroy(&actions);
}

/// Threads share few arenas, and large blocks go back to the system at once.
void keepMemorySmall() {
    ::mallopt(M_ARENA_MAX, 2);
    ::mallopt(M_MMAP_THRESHOLD, 256 << 10);
    ::mallopt(M_TRIM_THRESHOLD, 1 << 20);
}

Result<> View::serve(const ViewOptions &options) {
    const InterruptScope interrupts;
    const auto port = server.bind(options.port);
    if (!port)
        return passOn(port);
    access.emplace(std::move(keptSecrets), *port, forbidsChanges);
    print(access->address());
    std::fflush(stdout);
    std::atomic<bool> hasEnded{false};
    std::thread serving([&] {
        server.serve();
        hasEnded = true;
        interruptSemaphore().signal();
    });
    if (!options.noOpen)
        openBrowser(access->address());
    while (!isInterrupted() && !hasEnded)
        if (!interruptSemaphore().wait(3s) && hasAnswered.exchange(false))
            ::malloc_trim(0); // what answers took goes back to the system
    polls.end();
    server.stop();
    serving.join();
    if (!isInterrupted())
        return fail(ProblemKind::failed, "the system took the server's socket away. Start the command again");
    return {};
}

Result<> serve(const ViewOptions &options) {
    keepMemorySmall();
    auto page = StaticFiles::read();
    if (!page)
        return passOn(page);
    auto secrets = Access::makeSecrets();
    if (!secrets)
        return passOn(secrets);
    View view(*std::move(page), *std::move(secrets), options.readOnly);
    return view.serve(options);
}

} // namespace
} // namespace wickerlane::cli::view

extern "C" __attribute__((visibility("default"))) void
wickerlane_serve_view(const wickerlane::cli::ViewOptions &options,
                      wickerlane::Result<wickerlane::cli::ExitCode> &ended) {
    ended = wickerlane::cli::view::serve(options).map([] { return wickerlane::cli::ExitCode::success; });
}
