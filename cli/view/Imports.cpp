#include "cli/view/Imports.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "cli/Awaited.h"
#include "cli/FilePairs.h"
#include "cli/Queries.h"
#include "cli/view/DaemonQuestions.h"
#include "cli/view/Parameters.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/client/Refusals.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/JobKeys.h"

namespace wickerlane::cli::view {
namespace {

constexpr std::size_t maxNameBytes = 255;

/// On a disk, where a video has room, rather than in memory.
std::string folderOfCopies() {
    const char *named = std::getenv("TMPDIR");
    return named != nullptr && *named == '/' ? named : "/var/tmp";
}

Failure failToWrite(const std::string &folder, int errorNumber) {
    if (errorNumber == ENOSPC || errorNumber == EDQUOT || errorNumber == EFBIG)
        return fail(
            ProblemKind::noSpace,
            fmt::format("there is not enough room in {} for this file while it is saved. Free some, or "
                        "name another folder by TMPDIR",
                        folder));
    return fail(systemProblem("write in", folder, errorNumber));
}

/// A file without a name, which goes with its descriptor.
Result<UniqueFd> makeCopy(const std::string &folder) {
    UniqueFd file(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (file)
        return file;
    std::string path = folder + "/wickerlane-XXXXXX"; // of a file system that has no such files
    file.reset(::mkostemp(path.data(), O_CLOEXEC));
    if (!file)
        return failToWrite(folder, errno);
    ::unlink(path.c_str());
    return file;
}

/// One of the files in a body, and what is of it.
struct Incoming {
    std::string name;
    std::uint64_t byteCount = 0;
    UniqueFd file{};
};

/// The files of a shot: the first, then what comes with it, if anything does.
struct Shot {
    std::string album; ///< Into which it goes; empty for none.
    Incoming first{}, second{};
    Incoming sidecar{}, secondSidecar{}; ///< Of the first, and of the second.
};

/// Whether a text is the name of a file, and no path.
bool isName(const std::string &text) {
    return !text.empty() && text.size() <= maxNameBytes && String::create(text) &&
           text.find_first_of(std::string_view("/\0", 2)) == std::string::npos;
}

/// What a request says of the files in its body.
Result<Shot> shotIn(const httplib::Request &request) {
    Shot shot;
    shot.first.name = request.get_param_value("name");
    if (!isName(shot.first.name))
        return fail(ProblemKind::invalid, "'name' must be the name of a file");
    const std::string album = request.get_param_value("album");
    shot.album = uuidIn(album);
    if (!album.empty() && shot.album.empty())
        return fail(ProblemKind::invalid, "'album' must be a UUID");
    std::uint64_t left =
        std::strtoull(request.get_header_value("Content-Length").c_str(), nullptr, 10); // which is checked
    const auto take = [&](const char *named, const char *counted, Incoming &incoming) -> Result<> {
        if (!request.has_param(named) && !request.has_param(counted))
            return {};
        incoming.name = request.get_param_value(named);
        const auto count = numberIn(request, counted, 0);
        if (!isName(incoming.name) || !count || *count > left)
            return fail(
                ProblemKind::invalid,
                fmt::format("'{}' and '{}' must be the name and the bytes of a file", named, counted));
        incoming.byteCount = *count;
        left -= *count;
        return {};
    };
    const auto taken =
        take("second", "secondBytes", shot.second)
            .and_then([&] { return take("sidecar", "sidecarBytes", shot.sidecar); })
            .and_then([&] { return take("secondSidecar", "secondSidecarBytes", shot.secondSidecar); });
    if (!taken)
        return passOn(taken);
    shot.first.byteCount = left;
    return shot;
}

/// Takes the files from the body, where they follow each other.
Result<> receive(Shot &shot, const httplib::ContentReader &body) {
    const std::string folder = folderOfCopies();
    std::vector<Incoming *> files;
    for (Incoming *each : {&shot.first, &shot.second, &shot.sidecar, &shot.secondSidecar}) {
        if (each->name.empty())
            continue;
        auto file = makeCopy(folder);
        if (!file)
            return passOn(file);
        if (each->byteCount > 0 &&
            ::fallocate(file->get(), FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(each->byteCount)) != 0 &&
            errno != EOPNOTSUPP && errno != ENOSYS)
            return failToWrite(folder, errno);
        each->file = *std::move(file);
        files.push_back(each);
    }
    int errorNumber = 0;
    std::size_t number = 0;
    std::uint64_t left = files.front()->byteCount;
    const bool isRead = body([&](const char *bytes, std::size_t size) {
        while (size > 0) {
            while (left == 0 && number + 1 < files.size())
                left = files[++number]->byteCount;
            const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(size, left));
            if (count == 0)
                return false; // more than was announced
            if (!writeAll(files[number]->file.get(), std::as_bytes(std::span(bytes, count)))) {
                errorNumber = errno;
                return false;
            }
            bytes += count;
            size -= count;
            left -= count;
        }
        return true;
    });
    if (errorNumber != 0)
        return failToWrite(folder, errorNumber);
    const auto isEmpty = [](const Incoming *each) { return each->byteCount == 0; };
    if (!isRead || left != 0 ||
        !std::all_of(files.begin() + static_cast<std::ptrdiff_t>(number) + 1, files.end(), isEmpty))
        return fail(ProblemKind::invalid, "the file did not arrive whole; send it again");
    return {};
}

/// An open file by a path that ends with a name, which the library takes from it.
class NamedPath {
public:
    explicit NamedPath(const Incoming &incoming) {
        std::string made = folderOfCopies() + "/wickerlane-XXXXXX";
        if (::mkdtemp(made.data()) == nullptr)
            return;
        folder = std::move(made);
        link = folder + '/' + incoming.name;
        if (::symlink(pathOf(incoming).c_str(), link.c_str()) != 0)
            link.clear();
    }
    NamedPath(const NamedPath &) = delete;
    NamedPath &operator=(const NamedPath &) = delete;
    ~NamedPath() {
        if (!link.empty())
            ::unlink(link.c_str());
        if (!folder.empty())
            ::rmdir(folder.c_str());
    }
    /// Empty when there could be none.
    [[nodiscard]] const std::string &text() const { return link; }

    /// By which this process opens the file again.
    static std::string pathOf(const Incoming &incoming) {
        return fmt::format("/proc/self/fd/{}", incoming.file.get());
    }

private:
    std::string folder, link;
};

std::string textIn(const Dictionary &dictionary, std::string_view key) {
    const auto *text = dictionary.get<String>(key);
    return text != nullptr ? std::string(text->utf8()) : std::string();
}

/// Saves a file with what comes with it. The client opens them by their paths, and sends descriptors.
Result<Ref<Dictionary>> save(const Incoming &first, const Incoming *second, const Incoming &sidecar) {
    const auto job = MutableDictionary::create();
    job->set(protocol::job::filePath, String::of(NamedPath::pathOf(first)));
    job->set(protocol::job::originalFilename, String::of(first.name));
    job->set(protocol::job::unlessPresent, Number::of(true));
    if (!sidecar.name.empty())
        job->set(protocol::job::sidecarPath, String::of(NamedPath::pathOf(sidecar)));
    std::optional<NamedPath> named;
    if (second != nullptr) {
        named.emplace(*second);
        if (named->text().empty())
            return failToWrite(folderOfCopies(), errno);
        job->set(protocol::job::companionPath, String::of(named->text()));
    }
    struct Outcome {
        Ref<Dictionary> result{}; ///< Null without an answer.
        Problem problem{};
    };
    const Awaited<Outcome> outcome;
    JXGatekeeperClient::sharedInstance()->saveOpenFilesWithJobDictionaries(
        Array::of({job.get()}), [outcome](Array *results, Error *error) {
            auto *result =
                results != nullptr && results->count() == 1 ? as<Dictionary>(results->at(0)) : nullptr;
            if (error != nullptr)
                outcome.give({.problem = {static_cast<ProblemKind>(error->code()),
                                          std::string(error->localizedDescription()->utf8()),
                                          {}}});
            else
                outcome.give({.result = Ref<Dictionary>(result)});
        });
    Outcome ended = outcome.take();
    if (ended.result)
        return std::move(ended.result);
    if (ended.problem.text.empty())
        ended.problem.text = "the daemon gave no result";
    return fail(std::move(ended.problem));
}

/// Saves a file, into the album too. Says whether the second file came to be of the same asset.
Result<JSON> saveOne(const Incoming &first, const Incoming *second, const Incoming &sidecar,
                     const std::string &album, bool &hasSecond) {
    const auto result = save(first, second, sidecar);
    if (!result)
        return passOn(result);
    const Dictionary &saved = **result;
    JSON answer = {{"id", textIn(saved, protocol::jobResult::uuid)}};
    if (answer["id"].get_ref<const std::string &>().empty())
        return fail(client::problemOfJob(saved).value_or(
            Problem{ProblemKind::failed, "the daemon gave no reason", {}}));
    const auto says = [&](std::string_view key) { return saved.get(key) != nullptr; };
    hasSecond =
        says(protocol::jobResult::companionWasSaved) || says(protocol::jobResult::companionWasPresent);
    if (says(protocol::jobResult::wasPresent))
        answer["wasPresent"] = true;
    if (const std::string problem = textIn(saved, protocol::jobResult::problem); !problem.empty())
        answer["problem"] = problem;
    if (!album.empty()) {
        const auto url = URL::create(textIn(saved, protocol::jobResult::assetURL));
        if (!url || !JXGatekeeperClient::sharedInstance()->addAsset(url.get(), String::of(album)))
            return failAsked("the file was saved, but there is no such album any more");
    }
    return answer;
}

std::optional<std::string> bytesOfHexadecimal(std::string_view digits) {
    std::string bytes;
    for (; digits.size() >= 2; digits.remove_prefix(2)) {
        unsigned char byte = 0;
        const auto [end, error] = std::from_chars(digits.data(), digits.data() + 2, byte, 16);
        if (error != std::errc() || end != digits.data() + 2)
            return std::nullopt;
        bytes.push_back(static_cast<char>(byte));
    }
    return digits.empty() ? std::optional(std::move(bytes)) : std::nullopt;
}

} // namespace

Result<JSON> importFile(const httplib::Request &request, const httplib::ContentReader &body) {
    auto shot = shotIn(request);
    if (!shot)
        return passOn(shot);
    if (const auto received = receive(*shot, body); !received)
        return passOn(received);
    const Incoming *second = shot->second.name.empty() ? nullptr : &shot->second;
    bool hasSecond = false;
    const bool hasOwn = second == nullptr || !shot->sidecar.name.empty();
    auto saved =
        saveOne(shot->first, second, hasOwn ? shot->sidecar : shot->secondSidecar, shot->album, hasSecond);
    if (second == nullptr || hasSecond)
        return saved;
    const auto describe = [](Result<JSON> each) {
        return each ? *std::move(each) : JSON{{"error", each.error().text}};
    };
    JSON answer = describe(std::move(saved));
    answer["second"] = describe(saveOne(*second, nullptr, shot->secondSidecar, shot->album, hasSecond));
    return answer;
}

Result<JSON> pairFiles(const JSON &body) {
    constexpr std::size_t maxFiles = 500;
    const auto given = body.find("files");
    std::map<std::string, std::string> starts;
    bool isUsable = given != body.end() && given->is_object() && given->size() <= maxFiles;
    if (isUsable)
        for (const auto &[path, start] : given->items()) {
            auto bytes =
                start.is_string() ? bytesOfHexadecimal(start.get_ref<const std::string &>()) : std::nullopt;
            isUsable = isUsable && bytes;
            if (bytes)
                starts.emplace(path, *std::move(bytes));
        }
    if (!isUsable)
        return fail(
            ProblemKind::invalid,
            fmt::format("'files' must have the first bytes, as hexadecimal digits, of {} files at most",
                        maxFiles));
    JSON pairs = JSON::object();
    for (const auto &[first, second] : pairsAmong(starts))
        pairs[first] = second;
    return JSON{{"pairs", std::move(pairs)}};
}

} // namespace wickerlane::cli::view
