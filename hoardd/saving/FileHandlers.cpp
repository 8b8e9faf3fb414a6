#include "hoardd/saving/FileHandlers.h"

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <mutex>

#include "hoardd/library/FileCopy.h"
#include "hoardd/library/Interim.h"
#include "hoardd/library/Sha256.h"
#include "hoardd/saving/AssetSaver.h"
#include "hoardd/service/Call.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/JobKeys.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;
namespace job = protocol::job;
using store::ManagedAsset;

namespace {

constexpr std::size_t maxPaths = 64;

/// Every text in a tree of arrays and dictionaries.
void gatherTexts(Object *object, std::vector<std::string> &texts) {
    if (texts.size() == maxPaths)
        return;
    if (const auto *text = as<String>(object)) {
        texts.emplace_back(text->utf8());
    } else if (const auto *array = as<Array>(object)) {
        for (std::size_t i = 0; i < array->count(); ++i)
            gatherTexts(array->at(i), texts);
    } else if (const auto *dictionary = as<Dictionary>(object)) {
        for (const auto &[key, value] : *dictionary)
            gatherTexts(value, texts);
    }
}

/// Puts an original that is missing back, from a file with the same contents. An empty text on success.
std::string putBack(Library &library, const store::AssetRecord &asset, const std::string &path) {
    const std::string original = library.paths().original(asset);
    const std::string folder = original.substr(0, original.rfind('/'));
    const UniqueFd source(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status {};
    if (!source || ::fstat(source.get(), &status) != 0)
        return std::strerror(errno);
    if (!S_ISREG(status.st_mode))
        return "not a file";
    const std::lock_guard guard(library.locks().of(asset.uuid));
    if (!library.writer().contains(asset.uuid).value_or(false))
        return "there is no such asset any more";
    const std::string staged = library.paths().saving() + '/' + asset.filename + ".back";
    const UniqueFd copy = openFile(staged, O_RDWR | O_CREAT | O_TRUNC);
    std::string problem = copy ? copyFile(source.get(), copy.get()) : std::strerror(errno);
    if (problem.empty() && sha256OfFile(copy.get()) != asset.sha256)
        problem = "it is another picture";
    if (problem.empty() && (::fchmod(copy.get(), 0400) != 0 || ::fsync(copy.get()) != 0 ||
                            !makeFolders(folder) || !syncFolder(folder.substr(0, folder.rfind('/'))) ||
                            ::rename(staged.c_str(), original.c_str()) != 0 || !syncFolder(folder)))
        problem = std::strerror(errno);
    if (!problem.empty())
        ::unlink(staged.c_str());
    return problem;
}

std::string restore(Library &library, const std::string &uuid, const std::vector<std::string> &paths,
                    bool mayReadFiles) {
    // Two restores of one UUID must not both find it missing.
    static std::mutex &lock = *new std::mutex;
    const std::lock_guard guard(lock);
    const Ref<ManagedAsset> asset = library.assets().assetWithUUID(uuid);
    if (asset && ::access(library.paths().original(asset->record()).c_str(), F_OK) == 0)
        return {};
    if (!mayReadFiles)
        return "files are read only for the user that hoardd serves";
    std::string problem = "no path was named";
    for (const std::string &path : paths) {
        if (asset) {
            problem = putBack(library, asset->record(), path);
        } else {
            const SaveJob job{Dictionary::createWithKeys({{job::filePath, String::of(path)}}), nullptr,
                              nullptr, mayReadFiles, uuid};
            problem = AssetSaver(library).save({&job, 1}).front().problem;
        }
        if (problem.empty())
            return {};
        problem.insert(0, path + ": ");
    }
    return problem;
}

/// A folder below another one, reached without a single link. No descriptor, with errno, on failure.
UniqueFd openBeneath(const std::string &base, const std::string &relative) {
    const UniqueFd folder(::open(base.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    open_how how{};
    how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_SYMLINKS | RESOLVE_NO_MAGICLINKS;
    return UniqueFd(static_cast<int>(
        ::syscall(SYS_openat2, folder.get(), relative.empty() ? "." : relative.c_str(), &how, sizeof how)));
}

/// Writes a file that may be new in one of the library's folders for originals and incoming files.
std::string writeInLibrary(const store::LibraryPaths &paths, const std::string &path, Bytes bytes) {
    // What is there stays: an original is never altered, and in Incoming names are given once.
    for (const std::string &base : {paths.folder() + "/DCIM", paths.incoming()}) {
        if (!path.starts_with(base + '/'))
            continue;
        const std::string relative = path.substr(base.size() + 1);
        const std::size_t slash = relative.rfind('/');
        const std::string name = relative.substr(slash + 1); // all of it when there is no slash
        const UniqueFd folder =
            openBeneath(base, slash == std::string::npos ? std::string() : relative.substr(0, slash));
        if (!folder)
            return std::string("can't reach its folder: ") + std::strerror(errno);
        if (name.empty() || name == "." || name == "..")
            return "that names no file";
        const std::string itself = "/proc/self/fd/" + std::to_string(folder.get());
        const UniqueFd file(::open(itself.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
        if (!file || !writeAll(file.get(), bytes) || ::fsync(file.get()) != 0)
            return std::string("can't write it: ") + std::strerror(errno);
        const std::string unnamed = "/proc/self/fd/" + std::to_string(file.get());
        if (::linkat(AT_FDCWD, unnamed.c_str(), folder.get(), name.c_str(), AT_SYMLINK_FOLLOW) != 0)
            return errno == EEXIST ? "there is a file of that name"
                                   : std::string("can't name it: ") + std::strerror(errno);
        return syncFolder(itself + "/.") ? std::string()
                                         : std::string("can't sync its folder: ") + std::strerror(errno);
    }
    return "only files in the library's folders DCIM and PhotoData/Incoming are written";
}

Result<Answer> fileURLForNewAsset(Library &library, const Call &call) {
    if (call.get(keys::assetType) > 1)
        return fail(ProblemKind::invalid, "assetType is neither 0 (photo) nor 1 (video)");
    const std::string_view extension = call.get(keys::extension)->utf8();
    if (!isPlainExtension(extension))
        return fail(ProblemKind::invalid, "an extension is 1 to 16 letters and digits");
    // A UUID reserves the name: it is given once only.
    const auto uuid = UUID::createRandom();
    std::string path = library.paths().incoming() + '/';
    path.append(uuid->uuidString()->utf8()).append(".").append(extension);
    return Answer().set(keys::url, URL::ofPath(path));
}

Result<Answer> updateRestoredAsset(Library &library, const Call &call) {
    const auto uuid = UUID::createWithText(call.get(keys::assetUUID)->utf8());
    if (!uuid)
        return fail(ProblemKind::invalid, "assetUUID is no UUID");
    std::vector<std::string> paths;
    if (const MessageValue *value = call.value(keys::assetPaths))
        gatherTexts(createObject(value).get(), paths);
    return whenDone(
        asResult(restore(library, std::string(uuid->uuidString()->utf8()), paths, call.mayReadFiles())));
}

Result<Answer> writeDataInBackground(Library &library, const Call &call) {
    const URL *destination = call.get(keys::destinationURL);
    const std::string path = destination != nullptr ? destination->fileSystemPath() : std::string();
    if (path.empty())
        return fail(ProblemKind::invalid, "destinationURL is no file URL");
    const Data *data = call.get(keys::dataToSave);
    const std::string problem =
        writeInLibrary(library.paths(), path, data != nullptr ? data->span() : Bytes());
    if (!problem.empty())
        return fail(ProblemKind::failed, path + " was not written: " + problem, path);
    return Answer();
}

constexpr Operation operations[] = {
    {&protocol::fileURLForNewAsset, fileURLForNewAsset},
    {&protocol::updateRestoredAsset, updateRestoredAsset, Runs::asJob},
    {&protocol::writeDataInBackground, writeDataInBackground},
};

} // namespace

std::span<const Operation> fileOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
