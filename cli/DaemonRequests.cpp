#include "cli/DaemonRequests.h"

#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <filesystem>
#include <optional>

#include "cli/Awaited.h"
#include "cli/FileFailures.h"
#include "cli/ForeignProblems.h"
#include "cli/Interrupt.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/client/Refusals.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/platform/queue/WorkQueue.h"
#include "wickerlane/protocol/CoreRows.h"
#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/LibraryRows.h"
#include "wickerlane/protocol/ServiceName.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;

/// The folder that stands on the way to a path, or the path itself.
std::string existingPart(std::string path) {
    std::error_code none;
    while (path.size() > 1 && !fs::exists(path, none))
        path = fs::path(path).parent_path();
    return path;
}

/// What the daemon says to a question that changes nothing. Null when there is no daemon that answers.
Ref<MessageValue> askVersion() {
    const auto question = MessageDictionary::create();
    question->setInt64(protocol::keys::operation.text, protocol::getCurrentModelVersion.code);
    return JXGatekeeperClient::sharedInstance()->connection()->sendWithReplySync(question.get());
}

/// The daemon's refusal, with what to do about it where the daemon can't know.
Problem explained(const MessageError &refusal) {
    Problem problem = problemIn(refusal);
    switch (problem.kind) {
    case ProblemKind::refused: {
        std::string remedy = "wickerlane consent grant " + fs::read_symlink("/proc/self/exe").string();
        if (geteuid() != ownerOfRoot())
            remedy += fmt::format(" --user {}", geteuid());
        problem.text = localized("{}. The owner of {} can allow it: {}", problem.text, rootPath(), remedy);
        break;
    }
    case ProblemKind::busy:
    case ProblemKind::queueFull:
        if (refusal.text().find("try again") == std::string_view::npos)
            problem.text = localized("{}. Try again later.", problem.text);
        break;
    case ProblemKind::notWritable:
        problem.text = localized("{}. Choose another library with --root, or ask its owner", problem.text);
        break;
    case ProblemKind::newerVersion:
        problem.text = localized("{}. Install a wickerlane that is at least as new", problem.text);
        break;
    default:
        break;
    }
    return problem;
}

/// What was asked for made sense, and was there: a part of the work failed.
Problem ofWork(Problem problem) {
    if (problem.kind == ProblemKind::invalid || problem.kind == ProblemKind::notFound)
        problem.kind = ProblemKind::failed;
    return problem;
}

Result<> outcomeIn(const client::Reply &reply) {
    const MessageError *error = reply.error();
    if (error == nullptr)
        return {};
    if (error == MessageError::connectionInterrupted() || error == MessageError::connectionInvalid())
        return failUnreachable();
    const auto unknown = client::unknownToOlderDaemon(*error);
    return fail(ofWork(unknown ? withKindInWords(*unknown) : problemIn(*error)));
}

/// Of the reply that is being handled.
Problem toldProblem() {
    auto told = client::HandledReply::problem();
    return told ? ofWork(withKindInWords(*std::move(told)))
                : Problem{ProblemKind::failed, localized("see the daemon's log"), {}};
}

/// Of a request that was refused, or not answered.
Problem refusalIn(const Error &error) {
    const bool isUnanswered = error.code() == WickerlaneErrorService;
    Problem problem = withKindInWords({isUnanswered ? ProblemKind::failed : ProblemKind::refused,
                                       std::string(error.localizedDescription()->utf8()),
                                       {}});
    problem.kind = ProblemKind::failed;
    return problem;
}

/// Before the process ends; not for long, since the daemon may hang.
void waitUntilSent() {
    const auto sent = Semaphore::create(0);
    JXGatekeeperClient::sharedInstance()->connection()->sendBarrier([sent] { sent->signal(); });
    static_cast<void>(sent->wait(std::chrono::seconds(1)));
}

} // namespace

std::string daemonLogPath() {
    return pathUnderRoot(fmt::format("/var/log/wickerlane/{}.log", WickerlaneGatekeeperName));
}

Failure failUnreachable() {
    const std::string root = rootPath(), standing = existingPart(root);
    if (access(standing.c_str(), W_OK | X_OK) != 0)
        return fail(
            ProblemKind::notWritable,
            localized("the library's folder {} can't be used: {}: {}. Choose another with --root, or have "
                      "its owner give you access",
                      root, standing, textOfError(errno)));
    return fail(
        ProblemKind::unreachable,
        localized("the daemon hoardd can't be reached (library below {}): it can't be started, or has "
                  "stopped answering. It starts on demand if it is installed. What it says is in "
                  "{}",
                  root, daemonLogPath()));
}

Problem problemIn(const MessageError &error) {
    return withKindInWords({static_cast<ProblemKind>(error.errorKind()), std::string(error.text()), {}});
}

Result<> requireDaemon() {
    Ref<MessageValue> reply = askVersion();
    // One that was just ending is asked again: the question changes nothing.
    if (reply == MessageError::connectionInterrupted())
        reply = askVersion();
    const auto *error = as<MessageError>(reply.get());
    if (error == nullptr)
        return {};
    if (error == MessageError::connectionInterrupted() || error == MessageError::connectionInvalid())
        return failUnreachable();
    return fail(explained(*error));
}

Result<> waitUntilReceived() {
    return requireDaemon();
}

Failure failRequest(Problem problem) {
    const auto answers = requireDaemon();
    return answers ? fail(std::move(problem)) : passOn(answers);
}

Result<> waitForSuccess(const std::string &undone, const Handler<void(const SuccessHandler &)> &send) {
    const Awaited<Result<>> outcome;
    send([outcome](bool success, Error *error) {
        if (success)
            outcome.give({});
        else if (error != nullptr)
            outcome.give(fail(refusalIn(*error)));
        else
            outcome.give(fail(toldProblem()));
    });
    return outcome.take().map_error([&](Problem problem) {
        if (!undone.empty())
            problem.text = undone + ": " + problem.text;
        return problem;
    });
}

Ref<Array> textsOf(std::span<const std::string> texts) {
    auto list = MutableArray::create();
    for (const std::string &each : texts)
        list->append(String::of(each));
    return list;
}

namespace {

/// Asks the daemon now and then how far it is with a request of this connection, and shows that.
class DaemonProgress {
public:
    explicit DaemonProgress(Progress *wanted)
        : progress(wanted != nullptr && wanted->isShown() ? wanted : nullptr) {}

    /// Whether anything is shown.
    [[nodiscard]] bool isShown() const { return progress != nullptr; }

    /// To be called several times a second while anything is shown. Does not block.
    void update() {
        if (const auto reply = answer.takeIfGiven()) {
            isAsked = false;
            if (const std::uint64_t total = reply->get(protocol::keys::total); total > 0)
                progress->set(reply->get(protocol::keys::done), total);
        }
        const auto now = std::chrono::steady_clock::now();
        if (!isAsked && now >= next) {
            next = now + pause;
            answer = {};
            isAsked = true;
            client::Request(protocol::progressOfWork)
                .sendWithReply(JXGatekeeperClient::sharedInstance()->connection(), WorkQueue::global(),
                               [given = answer](const client::Reply &reply) { given.give(reply); });
        }
        progress->tick();
    }

private:
    static constexpr std::chrono::milliseconds pause{500};
    Progress *const progress;
    Awaited<client::Reply> answer;
    bool isAsked = false;
    std::chrono::steady_clock::time_point next = std::chrono::steady_clock::now() + pause;
};

} // namespace

Result<client::Reply> answerUnlessInterrupted(const client::Request &request, Progress *progress) {
    const Awaited<client::Reply> answer;
    const InterruptScope interrupts;
    const auto cancellation = Cancellation::create();
    const CancellationScope scope(cancellation.get());
    request.sendWithReply(JXGatekeeperClient::sharedInstance()->connection(), WorkQueue::global(),
                          [answer](const client::Reply &reply) {
                              answer.give(reply);
                              interruptSemaphore().signal();
                          });
    DaemonProgress shown(progress);
    for (;;) {
        if (auto given = answer.takeIfGiven())
            return *std::move(given);
        if (isInterrupted()) {
            cancellation->cancel();
            waitUntilSent();
            return fail(ProblemKind::cancelled, localized("interrupted"));
        }
        using namespace std::chrono_literals;
        if (!shown.isShown())
            interruptSemaphore().wait();
        else if (!interruptSemaphore().wait(100ms))
            shown.update();
    }
}

Result<> waitForWork(const client::Request &request, Progress *progress) {
    return answerUnlessInterrupted(request, progress)
        .map_error([](Problem problem) {
            problem.text = localized("interrupted: the daemon stops; what it has done stays, and the rest is "
                                     "done when it is asked for again");
            return problem;
        })
        .and_then(outcomeIn);
}

Result<> waitForEndOfWork(const client::Request &request, Progress *progress) {
    auto done = waitForWork(request, progress);
    return !done && done.error().kind == ProblemKind::cancelled ? done : Result<>();
}

} // namespace wickerlane::cli
