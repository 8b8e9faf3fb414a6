// wickerlane monitor
#include <fmt/format.h>

#include <cstdio>
#include <map>
#include <nlohmann/json.hpp>

#include "cli/Confirmation.h"
#include "cli/DaemonRequests.h"
#include "cli/Formatting.h"
#include "cli/Interrupt.h"
#include "cli/NewFile.h"
#include "cli/ObjectJSON.h"
#include "cli/Output.h"
#include "cli/Replay.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/Paths.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/CoreRows.h"
#include "wickerlane/protocol/TrafficKeys.h"

namespace wickerlane::cli {
namespace {

namespace traffic = protocol::traffic;

/// Between two questions to the daemon.
constexpr std::chrono::milliseconds pause{50};

struct Options {
    bool texts = false;
    bool json = false;
    std::string record;
    std::string replay;
    std::uint64_t requests = 0; ///< Ends after that many; 0 is never.
    bool yes = false;
};

const JSON &in(const JSON &event, std::string_view key) {
    static NeverDestroyed<const JSON> none;
    const auto found = event.find(key);
    return found != event.end() ? *found : none.get();
}

std::string textIn(const JSON &event, std::string_view key) {
    const JSON &text = in(event, key);
    return text.is_string() ? text.get<std::string>() : std::string();
}

std::uint64_t numberIn(const JSON &event, std::string_view key) {
    const JSON &number = in(event, key);
    return number.is_number() ? number.get<std::uint64_t>() : 0;
}

/// "query 120 bytes, limit 500"; with what texts say if that is there.
std::string textOfValues(const JSON &values) {
    std::string text;
    for (const auto &[key, described] : values.items()) {
        const JSON &value = in(described, traffic::value);
        text += (text.empty() ? "" : ", ") + key + ' ' +
                (value.is_null() ? sizeText(numberIn(described, traffic::bytes)) : value.dump());
    }
    return text.empty() ? "nothing" : text;
}

std::string textOfRequest(const JSON &event) {
    const std::string name = textIn(event, traffic::name);
    return fmt::format(
        "{}[{}] {} {}", lastPathComponent(textIn(event, traffic::program)), numberIn(event, traffic::process),
        name.empty() ? fmt::format("operation {}", in(event, traffic::operation).dump()) : name,
        textOfValues(in(event, traffic::values)));
}

std::string textOfAnswer(const JSON &event) {
    const JSON &seconds = in(event, traffic::seconds);
    std::string text;
    if (const JSON &kind = in(event, traffic::errorKind); !kind.is_null()) {
        const std::string reason = textIn(event, traffic::error);
        text = fmt::format("error {}{}", kind.dump(), reason.empty() ? "" : ": " + reason);
    } else
        text = textOfValues(in(event, traffic::values));
    return fmt::format("{} in {:.1f} ms", text, seconds.is_number() ? seconds.get<double>() * 1000 : 0.0);
}

/// Shows events as one line for each request, once it has been answered.
class Lines {
public:
    void show(const JSON &event) {
        const std::uint64_t number = numberIn(event, traffic::number);
        if (textIn(event, traffic::event) == traffic::request) {
            if (in(event, traffic::wantsReply) == true)
                unanswered[number] = textOfRequest(event);
            else
                print(textOfRequest(event));
        } else if (const auto request = unanswered.extract(number); !request.empty())
            print(request.mapped() + " -> " + textOfAnswer(event));
    }
    /// No more is known of what was not answered.
    void end(const char *reason) {
        for (const auto &[number, request] : unanswered)
            print(request + " -> " + reason);
        unanswered.clear();
    }

private:
    std::map<std::uint64_t, std::string> unanswered;
};

/// As other commands write what it has in common with them.
JSON describe(const JSON &event) {
    JSON described = event;
    const auto begun = objectOf(in(event, traffic::date));
    if (const auto *date = as<Date>(begun.get()))
        described[traffic::date] = isoMomentText(date->referenceSeconds());
    if (const std::string problem = textIn(event, traffic::error); !problem.empty()) {
        described.erase(traffic::error);
        described["problem"] = problem;
    }
    return described;
}

/// Where events go: lines for people, JSON, and a recording.
class Shown {
public:
    static Result<Shown> create(const Options &options) {
        Shown shown(options);
        if (!options.record.empty()) {
            auto file = NewFile::create(options.record);
            if (!file)
                return passOn(file);
            shown.recording.emplace(*std::move(file));
        }
        return shown;
    }

    Result<> show(const JSON &event) {
        const bool isAnswer = textIn(event, traffic::event) == traffic::answer;
        if (isAnswer || in(event, traffic::wantsReply) == false)
            ++ended;
        if (recording) {
            ++recorded;
            const std::string line = dumped(describe(event)) + '\n';
            return recording->write(std::as_bytes(std::span(line)));
        }
        if (json)
            print(dumped(describe(event)));
        else
            lines.show(event);
        return {};
    }
    /// Some events are missing from here on.
    void noteGap(std::string_view reason) {
        note(reason);
        lines.end("its answer is not known");
    }
    Result<> end() {
        lines.end("not answered yet");
        if (!recording)
            return {};
        return recording->finish(true).transform(
            [&] { advise(localizedCount(recorded, "{} event recorded", "{} events recorded")); });
    }

    /// How many requests were answered, or want no answer.
    [[nodiscard]] std::uint64_t endedRequests() const { return ended; }

private:
    explicit Shown(const Options &options) : json(options.json) {}
    static std::string dumped(const JSON &event) {
        return event.dump(-1, ' ', false, JSON::error_handler_t::replace);
    }

    bool json;
    std::optional<NewFile> recording;
    std::size_t recorded = 0;
    std::uint64_t ended = 0;
    Lines lines;
};

/// Asks for what was noted since the last time.
Result<client::Reply> takeTraffic(bool withTexts) {
    client::Request request(protocol::takeTraffic);
    request.set(protocol::keys::withTexts, withTexts);
    client::Reply reply = request.sendAndWait(JXGatekeeperClient::sharedInstance()->connection());
    const MessageError *error = reply.error();
    if (error != nullptr)
        return failRequest(problemIn(*error));
    return reply;
}

Result<ExitCode> watchTraffic(const Options &options) {
    const InterruptScope interrupts;
    auto shown = Shown::create(options);
    if (!shown)
        return passOn(shown);
    const bool withTexts = options.texts || !options.record.empty();
    bool isNew = true;
    while (!isInterrupted() && (options.requests == 0 || shown->endedRequests() < options.requests)) {
        const ReleaseScope scope;
        auto reply = takeTraffic(withTexts);
        if (!reply && !isNew) { // the daemon has ended, and is started again by the question
            shown->noteGap(localized("the daemon ended; watching the next one"));
            reply = takeTraffic(withTexts);
        }
        if (!reply)
            return passOn(reply);
        if (std::exchange(isNew, false))
            advise(localized("watching; Ctrl-C ends"));
        else if (!reply->get(protocol::keys::isComplete))
            shown->noteGap(
                localized("some events may be missing: the daemon is another, or was not asked for a while"));
        if (const auto lost = reply->get(protocol::keys::lost); lost > 0)
            shown->noteGap(localizedCount(lost, "{} event was lost: they came too fast",
                                          "{} events were lost: they came too fast"));
        if (const auto *events = as<Array>(reply->get(protocol::keys::traffic)))
            for (const Object *each : *events)
                if (const auto done = shown->show(jsonOf(each)); !done)
                    return passOn(done);
        if (const auto written = flushOutput(); !written)
            return passOn(written);
        static_cast<void>(interruptSemaphore().wait(pause));
    }
    if (const auto ended = shown->end(); !ended)
        return passOn(ended);
    return ExitCode::success;
}

Result<ExitCode> replayRecording(const Options &options) {
    const auto requests = readRecording(options.replay);
    if (!requests)
        return passOn(requests);
    if (!options.yes)
        if (const auto confirmed = confirm(
                localizedCount(
                    requests->size(),
                    "{} request, which may change and delete photos, will be sent to the library in {}.",
                    "{} requests, which may change and delete photos, will be sent to the library in {}.",
                    rootPath()),
                localized("nothing was sent; --yes sends without asking"));
            !confirmed)
            return passOn(confirmed);
    if (const auto answers = requireDaemon(); !answers)
        return passOn(answers);
    const InterruptScope interrupts;
    const ReplayReport report = replay(*requests);
    for (const std::string &each : report.differences)
        print(each);
    print(joined(
        {localizedCount(report.sent, "{} request sent", "{} requests sent"),
         localizedCount(report.differences.size(), "{} answered differently", "{} answered differently"),
         localizedCount(report.notRecorded, "{} left out since bytes and open files are not recorded",
                        "{} left out since bytes and open files are not recorded")}));
    return report.differences.empty() && !isInterrupted() ? ExitCode::success : ExitCode::failure;
}

Result<ExitCode> monitor(const Options &options) {
    return options.replay.empty() ? watchTraffic(options) : replayRecording(options);
}

} // namespace

void setUpMonitor(Command command) {
    command.footer(
        "Shows each request to the daemon when it has been answered: who asked, the operation, what it was "
        "given and\n"
        "what it gave. Numbers and dates are shown, texts only with --texts, and the bytes of pictures "
        "never. Only for "
        "the user\n"
        "whose library it is.\n\n"
        "A recording has all that is needed to send the requests again, but for bytes and open files. Texts "
        "are in it.\n"
        "With --replay, its requests are sent to the daemon one after the other, and those whose answers "
        "have "
        "other keys\n"
        "or another error than in the recording are listed. Choose a library made for that with --root.\n\n"
        "Examples:\n"
        "  wickerlane monitor --texts\n"
        "  wickerlane monitor --record session.jsonl\n"
        "  wickerlane --root /tmp/trial monitor --replay session.jsonl --yes");
    Options &options = command.runs(monitor);
    const Option texts = command.addFlag("--texts", options.texts, "Show what texts and lists say");
    const Option json = command.addFlag("--json", options.json, "Write each event as a line of JSON");
    const Option record =
        command.addOption("--record", options.record, "Write the events to a file instead, with texts")
            .typeName("FILE")
            .notEmpty()
            .excludes(json);
    command.addOption("--replay", options.replay, "Send the requests of a recording again")
        .typeName("FILE")
        .notEmpty()
        .excludes(record)
        .excludes(json)
        .excludes(texts);
    command.addOption("--requests", options.requests, "End after that number of requests")
        .typeName("COUNT")
        .positive();
    command.addFlag("-y,--yes", options.yes, "Do not ask before a replay");
}

} // namespace wickerlane::cli
