#include "cli/view/Imports.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <nlohmann/json.hpp>
#include <span>
#include <string>

#include "cli/Awaited.h"
#include "cli/Queries.h"
#include "cli/view/DaemonQuestions.h"
#include "cli/view/Parameters.h"
#include "wickerlane/client/JXGatekeeperClient.h"
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

Result<UniqueFd> receive(const httplib::Request &request, const httplib::ContentReader &body) {
    const std::string folder = folderOfCopies();
    auto file = makeCopy(folder);
    if (!file)
        return file;
    const auto length =
        static_cast<off_t>(std::strtoull(request.get_header_value("Content-Length").c_str(), nullptr, 10));
    if (length > 0 && ::fallocate(file->get(), FALLOC_FL_KEEP_SIZE, 0, length) != 0 && errno != EOPNOTSUPP &&
        errno != ENOSYS)
        return failToWrite(folder, errno);
    int errorNumber = 0;
    std::uint64_t count = 0;
    const bool isRead = body([&](const char *bytes, std::size_t size) {
        const bool isWritten = writeAll(file->get(), std::as_bytes(std::span(bytes, size)));
        errorNumber = isWritten ? 0 : errno;
        count += size;
        return isWritten;
    });
    if (errorNumber != 0)
        return failToWrite(folder, errorNumber);
    if (!isRead || count != static_cast<std::uint64_t>(length))
        return fail(ProblemKind::invalid, "the file did not arrive whole; send it again");
    return file;
}

std::string textIn(const Dictionary &dictionary, std::string_view key) {
    const auto *text = dictionary.get<String>(key);
    return text != nullptr ? std::string(text->utf8()) : std::string();
}

Result<Ref<Dictionary>> save(const UniqueFd &file, const std::string &name) {
    // The client opens the file by this path, and sends the descriptor along.
    const auto job = MutableDictionary::create();
    job->set(protocol::job::filePath, String::of(fmt::format("/proc/self/fd/{}", file.get())));
    job->set(protocol::job::originalFilename, String::of(name));
    job->set(protocol::job::unlessPresent, Number::of(true));
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

/// Why a job has failed.
Problem problemOf(const Dictionary &result) {
    std::string reason = textIn(result, protocol::jobResult::error);
    const auto *kind = result.get<Number>(protocol::jobResult::requestErrorKind);
    // The disk of the library: its daemon says so in words alone.
    const bool isFull = reason.find(std::strerror(ENOSPC)) != std::string::npos;
    return {kind != nullptr ? static_cast<ProblemKind>(kind->int64Value())
            : isFull        ? ProblemKind::noSpace
                            : ProblemKind::invalid,
            reason.empty() ? "the daemon gave no reason" : std::move(reason),
            {}};
}

} // namespace

Result<JSON> importFile(const httplib::Request &request, const httplib::ContentReader &body) {
    const std::string name = request.get_param_value("name");
    if (name.empty() || name.size() > maxNameBytes || !String::create(name) ||
        name.find_first_of(std::string_view("/\0", 2)) != std::string::npos)
        return fail(ProblemKind::invalid, "'name' must be the name of a file");
    const std::string album = request.get_param_value("album");
    const std::string albumUUID = uuidIn(album);
    if (!album.empty() && albumUUID.empty())
        return fail(ProblemKind::invalid, "'album' must be a UUID");
    const auto file = receive(request, body);
    if (!file)
        return passOn(file);
    const auto result = save(*file, name);
    if (!result)
        return passOn(result);
    JSON saved = {{"id", textIn(**result, protocol::jobResult::uuid)}};
    if (saved["id"].get_ref<const std::string &>().empty())
        return fail(problemOf(**result));
    if ((*result)->get(protocol::jobResult::wasPresent) != nullptr)
        saved["wasPresent"] = true;
    if (const std::string problem = textIn(**result, protocol::jobResult::problem); !problem.empty())
        saved["problem"] = problem;
    if (!albumUUID.empty()) {
        const auto url = URL::create(textIn(**result, protocol::jobResult::assetURL));
        if (!url || !JXGatekeeperClient::sharedInstance()->addAsset(url.get(), String::of(albumUUID)))
            return failAsked("the file was saved, but there is no such album any more");
    }
    return saved;
}

} // namespace wickerlane::cli::view
