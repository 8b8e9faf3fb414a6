#include "cli/Replay.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>

#include "cli/FileFailures.h"
#include "cli/Interrupt.h"
#include "cli/ObjectJSON.h"
#include "cli/Texts.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/platform/message/value/MessageConversion.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/TrafficKeys.h"

namespace wickerlane::cli {
namespace {

namespace traffic = protocol::traffic;

std::string outcomeOfError(std::int64_t kind) {
    return fmt::format("error {}", kind);
}

std::string outcomeOfKeys(std::vector<std::string> keys) {
    std::ranges::sort(keys);
    return fmt::format("answer {}", fmt::join(keys, " "));
}

/// Sets a recorded value; false when what it said was not recorded.
bool setValue(MessageDictionary &message, const std::string &key, const JSON &described) {
    const auto recorded = described.find(traffic::value);
    if (recorded == described.end())
        return false;
    const auto kind = described.value(std::string(traffic::kind), "");
    if (kind == "uint64")
        message.setUInt64(key.c_str(), recorded->get<std::uint64_t>());
    else if (kind == "real")
        message.setReal(key.c_str(), recorded->get<double>());
    else if (kind == "data") { // of which texts alone are recorded
        const auto text = recorded->get<std::string>();
        message.setData(key.c_str(), text.data(), text.size());
    } else {
        const ReleaseScope scope;
        const auto object = objectOf(*recorded);
        if (!object)
            return false;
        if (kind != "list")
            message.set(key.c_str(), createMessageValue(object.get()).get());
        else if (auto *list = as<Array>(object.get()))
            JXMsgDictionarySetArray(&message, key.c_str(), list);
        else
            JXMsgDictionarySetDictionary(&message, key.c_str(), as<Dictionary>(object.get()));
    }
    return message.contains(key.c_str());
}

RecordedRequest requestOf(const JSON &event) {
    RecordedRequest request{.number = event.at(std::string(traffic::number)).get<std::uint64_t>(),
                            .name = event.value(std::string(traffic::name), "no operation"),
                            .message = MessageDictionary::create(),
                            .wantsReply = event.value(std::string(traffic::wantsReply), false)};
    request.message->setInt64(protocol::keys::operation.text,
                              event.at(std::string(traffic::operation)).get<std::int64_t>());
    for (const auto &[key, described] : event.at(std::string(traffic::values)).items())
        if (!setValue(*request.message, key, described)) {
            request.message = nullptr;
            break;
        }
    return request;
}

std::string recordedOutcome(const JSON &event) {
    if (const auto kind = event.find(traffic::errorKind); kind != event.end())
        return outcomeOfError(kind->get<std::int64_t>());
    std::vector<std::string> keys;
    for (const auto &[key, value] : event.at(std::string(traffic::values)).items())
        keys.push_back(key);
    return outcomeOfKeys(std::move(keys));
}

} // namespace

std::string outcomeOf(const MessageValue *reply) {
    if (const auto *error = as<MessageError>(reply))
        return outcomeOfError(error->errorKind());
    std::vector<std::string> keys;
    if (const auto *dictionary = as<MessageDictionary>(reply))
        dictionary->forEach([&](const char *key, MessageValue *) {
            keys.emplace_back(key);
            return true;
        });
    return outcomeOfKeys(std::move(keys));
}

Result<std::vector<RecordedRequest>> readRecording(const std::string &path) {
    std::ifstream file(path);
    if (!file)
        return failToRead(path);
    std::vector<RecordedRequest> requests;
    std::map<std::uint64_t, std::size_t> unanswered; // numbers begin again in each daemon
    std::size_t lines = 0;
    for (std::string line; std::getline(file, line);) {
        ++lines;
        try {
            const JSON event = JSON::parse(line);
            const auto what = event.value(std::string(traffic::event), "");
            const auto number = event.at(std::string(traffic::number)).get<std::uint64_t>();
            if (what == traffic::request) {
                unanswered[number] = requests.size();
                requests.push_back(requestOf(event));
            } else if (const auto request = unanswered.extract(number);
                       what == traffic::answer && !request.empty())
                requests[request.mapped()].outcome = recordedOutcome(event);
        } catch (const nlohmann::json::exception &) {
            return fail(ProblemKind::invalid, localized("line {} is no recorded event", lines), path);
        }
    }
    return requests;
}

ReplayReport replay(const std::vector<RecordedRequest> &requests) {
    ReplayReport report;
    auto *connection = JXGatekeeperClient::sharedInstance()->connection();
    for (const RecordedRequest &each : requests) {
        if (isInterrupted())
            break;
        const ReleaseScope scope;
        if (!each.message) {
            ++report.notRecorded;
            continue;
        }
        ++report.sent;
        if (!each.wantsReply) {
            connection->send(each.message.get());
            continue;
        }
        const std::string outcome = outcomeOf(connection->sendWithReplySync(each.message.get()).get());
        if (!each.outcome.empty() && outcome != each.outcome)
            report.differences.push_back(
                fmt::format("{} {} gave {}; recorded was {}", each.number, each.name, outcome, each.outcome));
    }
    return report;
}

} // namespace wickerlane::cli
