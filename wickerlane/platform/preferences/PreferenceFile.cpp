#include "wickerlane/platform/preferences/PreferenceFile.h"

#include <cerrno>
#include <chrono>
#include <vector>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane {
namespace {

constexpr std::size_t maxFileBytes = 16 << 20; // settings are small; more is no settings file
constexpr std::size_t maxDomainLength = 200;   // leaves room for what is appended to make file names

// File times advance in steps of some milliseconds. A file that changed within the last step may change again
// without its time showing it, so that only older ones are trusted to show their changes.
constexpr std::chrono::milliseconds timeStep{50};

bool isUnchanged(const struct stat &a, const struct stat &b) {
    return a.st_dev == b.st_dev && a.st_ino == b.st_ino && a.st_size == b.st_size && a.st_mode == b.st_mode &&
           a.st_mtim.tv_sec == b.st_mtim.tv_sec && a.st_mtim.tv_nsec == b.st_mtim.tv_nsec &&
           a.st_ctim.tv_sec == b.st_ctim.tv_sec && a.st_ctim.tv_nsec == b.st_ctim.tv_nsec;
}

bool isSettled(const struct stat &status) {
    const std::chrono::nanoseconds changed =
        std::chrono::seconds(status.st_ctim.tv_sec) + std::chrono::nanoseconds(status.st_ctim.tv_nsec);
    return std::chrono::system_clock::now().time_since_epoch() - changed > timeStep;
}

// The file's status; all zero when there is no file.
struct stat statusOf(const std::string &path) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0)
        status = {};
    return status;
}

} // namespace

std::string PreferenceFile::pathOf(std::string_view domain) {
    if (domain.empty() || domain == "." || domain.size() > maxDomainLength ||
        domain.find_first_of(std::string_view("/\0", 2)) != std::string_view::npos ||
        domain.find("..") != std::string_view::npos)
        return {};
    return pathUnderRoot("/var/mobile/Library/Preferences/").append(domain).append(".plist");
}

Ref<Dictionary> PreferenceFile::read(const std::string &path) {
    std::vector<std::byte> bytes;
    if (!readFile(path, bytes, maxFileBytes))
        return errno == ENOENT ? Dictionary::create() : nullptr;
    const Ref<Object> root = createPropertyListObject(bytes);
    auto *dictionary = as<Dictionary>(root.get());
    if (dictionary == nullptr)
        errno = EBADMSG;
    return dictionary;
}

const Ref<Dictionary> &PreferenceFile::contents(const std::string &path) {
    const struct stat now = statusOf(path);
    if (trusted && isUnchanged(now, status))
        return held;
    held = read(path);
    if (!held)
        held = Dictionary::create();
    status = now;
    // A file that is missing shows by its status when it comes; one that was replaced while it was read is
    // read again.
    trusted = (now.st_ino == 0 || isSettled(now)) && isUnchanged(now, statusOf(path));
    return held;
}

} // namespace wickerlane
