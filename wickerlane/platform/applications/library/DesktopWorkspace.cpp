#include "wickerlane/platform/applications/library/DesktopWorkspace.h"

#include <fcntl.h>
#include <pwd.h>
#include <sys/stat.h>

#include <array>
#include <cstdlib>
#include <vector>

#include "wickerlane/platform/applications/library/DesktopEntry.h"
#include "wickerlane/platform/file/Retry.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/String.h"

namespace wickerlane {

constinit const Class DesktopWorkspace::classInfo{
    ApplicationWorkspace::registeredName, &ApplicationWorkspace::classInfo,
    [] { return static_cast<Object *>(DesktopWorkspace::create().leak()); }};

namespace {

// Loading this library is what makes the applications known.
[[gnu::constructor]] void registerWorkspace() {
    registerClass(&DesktopWorkspace::classInfo);
}

constexpr std::size_t maxEntryBytes = std::size_t{1} << 20;
// Of one search: links may lead in circles.
constexpr int maxFolders = 256;

// The absolute ones; relative ones are to be ignored.
std::vector<std::string> foldersListed(std::string_view listed) {
    std::vector<std::string> folders;
    while (!listed.empty()) {
        const std::size_t colon = listed.find(':');
        if (listed.front() == '/')
            folders.emplace_back(listed.substr(0, colon));
        listed.remove_prefix(colon == listed.npos ? listed.size() : colon + 1);
    }
    return folders;
}

std::string_view environment(const char *name) {
    const char *value = secure_getenv(name);
    return value != nullptr ? value : "";
}

std::string usersDataFolder() {
    if (const auto chosen = environment("XDG_DATA_HOME"); chosen.starts_with('/'))
        return std::string(chosen);
    std::string home(environment("HOME"));
    if (!home.starts_with('/')) {
        std::array<char, 4096> buffer;
        passwd entry{}, *found = nullptr;
        if (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr)
            return {};
        home = found->pw_dir;
    }
    return home + "/.local/share";
}

std::vector<std::string> foldersOfData() {
    std::vector<std::string> folders{usersDataFolder()};
    const auto listed = environment("XDG_DATA_DIRS");
    for (std::string &each : foldersListed(listed.empty() ? "/usr/local/share:/usr/share" : listed))
        folders.push_back(std::move(each));
    return folders;
}

// Installed entries are often links into the place of a package. Nothing but a whole regular file is read.
std::optional<DesktopEntry> readEntry(int folder, const std::string &name) {
    const UniqueFd file(openat(folder, name.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < 0 ||
        static_cast<std::size_t>(status.st_size) > maxEntryBytes)
        return std::nullopt;
    std::string text(static_cast<std::size_t>(status.st_size), '\0');
    std::size_t length = 0;
    while (length < text.size()) {
        const ssize_t count =
            retryInterrupted([&] { return read(file.get(), text.data() + length, text.size() - length); });
        if (count <= 0)
            return std::nullopt;
        length += static_cast<std::size_t>(count);
    }
    return parseDesktopEntry(text);
}

// The entry in a folder of applications or in the folders inside it, each of which may be named by what
// stands before a "-" of the identifier.
std::optional<DesktopEntry> findEntry(int folder, const std::string &identifier, int &foldersLeft) {
    if (auto entry = readEntry(folder, identifier + ".desktop"))
        return entry;
    for (std::size_t dash = identifier.find('-'); dash != identifier.npos;
         dash = identifier.find('-', dash + 1)) {
        const std::string name = identifier.substr(0, dash);
        if (name.empty() || name == "." || name == ".." || foldersLeft == 0)
            continue;
        const UniqueFd inner(openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        if (!inner)
            continue;
        --foldersLeft;
        if (auto entry = findEntry(inner.get(), identifier.substr(dash + 1), foldersLeft))
            return entry;
    }
    return std::nullopt;
}

bool isProgram(const std::string &path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && access(path.c_str(), X_OK) == 0;
}

bool canBeRun(const std::string &program) {
    if (program.find('/') != program.npos)
        return program.starts_with('/') && isProgram(program);
    for (std::string &folder : foldersListed(environment("PATH")))
        if (isProgram((std::move(folder) += '/') += program))
            return true;
    return false;
}

} // namespace

Ref<DesktopWorkspace> DesktopWorkspace::create() {
    return makeRef<DesktopWorkspace>();
}

bool DesktopWorkspace::isInstalled(const String *bundleIdentifier) const {
    const ReleaseScope scope;
    const std::string identifier(bundleIdentifier->utf8());
    if (identifier.empty() || identifier.find_first_of(std::string_view("/\0", 2)) != identifier.npos)
        return false;
    for (const std::string &data : foldersOfData()) {
        const UniqueFd folder(open((data + "/applications").c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        int foldersLeft = maxFolders;
        if (!folder)
            continue;
        if (const auto entry = findEntry(folder.get(), identifier, foldersLeft))
            return !entry->isHidden && entry->isApplication() &&
                   (entry->tryExec.empty() || canBeRun(entry->tryExec));
    }
    return false;
}

} // namespace wickerlane
