#include "cli/backup/BackupFolder.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string_view>
#include <unordered_set>

#include "cli/FileFailures.h"
#include "cli/Output.h"
#include "cli/Texts.h"
#include "cli/backup/VerifiedCopy.h"
#include "wickerlane/platform/file/FileLock.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Hexadecimal.h"

namespace wickerlane::cli {
namespace {

namespace fs = std::filesystem;

constexpr int format = 1;
constexpr const char *descriptionName = "backup.json";
constexpr const char *contentsName = "contents";
constexpr const char *lockName = "lock";
constexpr std::string_view firstLine = "wickerlane backup contents 1";
constexpr std::size_t maxContentsBytes = std::size_t{4} << 30;

/// The names that a backup that was just begun may have before its description.
bool isOwnName(const std::string &name) {
    return name == lockName || name == "unfinished" ||
           name.starts_with(std::string(descriptionName) + ".new-");
}

Failure failOther(const std::string &folder) {
    return fail(ProblemKind::invalid,
                localized("{} holds something else than a backup; give an empty folder or a new one", folder),
                folder);
}

/// Gives the identity of the library that the folder is a backup of; empty when it is none.
Result<std::string> readDescription(const std::string &folder) {
    const std::string path = folder + '/' + descriptionName;
    std::vector<std::byte> bytes;
    if (!readFile(path, bytes, 1 << 20)) {
        if (errno == ENOENT || errno == ENOTDIR)
            return std::string();
        return failToRead(path);
    }
    const auto *start = reinterpret_cast<const char *>(bytes.data());
    const auto described = JSON::parse(start, start + bytes.size(), nullptr, false);
    if (!described.is_object() || !described.contains("wickerlaneBackup") ||
        !described["wickerlaneBackup"].is_number_integer() || !described.contains("library") ||
        !described["library"].is_string())
        return failOther(folder);
    if (described["wickerlaneBackup"].get<int>() > format)
        return fail(ProblemKind::newerVersion, localized("{} was written by a newer wickerlane", folder),
                    folder);
    return described["library"].get<std::string>();
}

Result<> describeAs(const std::string &folder, const std::string &libraryUUID) {
    const JSON description = {{"wickerlaneBackup", format}, {"library", libraryUUID}};
    const std::string path = folder + '/' + descriptionName, text = description.dump(2) + '\n';
    if (!replaceFile(path, std::as_bytes(std::span(text))))
        return failToWrite(path);
    return {};
}

// A path may hold any byte but zero; a line ends with a line feed.
std::string escaped(std::string_view path) {
    std::string text;
    for (const char each : path)
        if (each == '\\')
            text += "\\\\";
        else if (each == '\n')
            text += "\\n";
        else
            text += each;
    return text;
}

std::string unescaped(std::string_view text) {
    std::string path;
    for (std::size_t at = 0; at < text.size(); ++at)
        if (text[at] == '\\' && at + 1 < text.size())
            path += text[++at] == 'n' ? '\n' : text[at];
        else
            path += text[at];
    return path;
}

/// Whether a path stays below the folder that it is relative to.
bool staysBelow(const fs::path &path) {
    return !path.empty() && path.is_relative() && std::ranges::none_of(path, [](const fs::path &part) {
        return part.empty() || part == "." || part == "..";
    });
}

bool readSum(std::string_view digits, Sha256 &sum) {
    if (digits.size() != 2 * sum.size())
        return false;
    for (std::size_t at = 0; at < sum.size(); ++at) {
        unsigned value = 0;
        const char *start = digits.data() + (2 * at);
        if (const auto read = std::from_chars(start, start + 2, value, 16);
            read.ec != std::errc() || read.ptr != start + 2)
            return false;
        sum[at] = static_cast<std::byte>(value);
    }
    return true;
}

template <class Number>
bool readNumber(std::string_view text, Number &number) {
    const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
    return read.ec == std::errc() && read.ptr == text.data() + text.size();
}

std::string_view takeUntil(std::string_view &text, char end) {
    const std::string_view taken = text.substr(0, text.find(end));
    text.remove_prefix(std::min(text.size(), taken.size() + 1));
    return taken;
}

/// "SUM SIZE MODIFIED PATH"
std::optional<BackedUpFile> readLine(std::string_view line) {
    BackedUpFile file;
    if (!readSum(takeUntil(line, ' '), file.sum) || !readNumber(takeUntil(line, ' '), file.size) ||
        !readNumber(takeUntil(line, ' '), file.modified))
        return std::nullopt;
    file.path = unescaped(line);
    if (!staysBelow(file.path))
        return std::nullopt;
    return file;
}

/// Has a system call's work on the whole file system reach the disk.
Result<> syncAll(const std::string &folder) {
    const UniqueFd opened(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!opened || syncfs(opened.get()) != 0)
        return failToWrite(folder);
    return {};
}

} // namespace

Result<BackupFolder> BackupFolder::open(const std::string &folder) {
    const auto library = readDescription(folder);
    if (!library)
        return passOn(library);
    if (library->empty())
        return fail(ProblemKind::invalid, localized("{} is not a backup", folder), folder);
    return BackupFolder(folder);
}

Result<BackupFolder> BackupFolder::openForWriting(const std::string &folder, const std::string &libraryUUID) {
    std::error_code error;
    fs::create_directories(folder, error);
    if (std::error_code unknown; !fs::is_directory(folder, unknown))
        return fail(
            ProblemKind::notWritable,
            localized("{} can't be made: {}", folder,
                      error ? textOfError(error.value()) : localized("there is something else of this name")),
            folder);
    const auto described = readDescription(folder);
    if (!described)
        return passOn(described);
    if (!described->empty() && *described != libraryUUID)
        return fail(ProblemKind::exists,
                    localized("{} is a backup of another library; give another folder", folder), folder);
    if (described->empty()) {
        for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
            if (!isOwnName(entry->path().filename()) && entry->path().filename() != "lost+found")
                return failOther(folder);
        if (error)
            return fail(ProblemKind::failed,
                        localized("can't read {}: {}", folder, textOfError(error.value())), folder);
    }
    BackupFolder opened(folder);
    opened.lock = openFile(folder + '/' + lockName, O_RDWR | O_CREAT);
    if (!opened.lock)
        return failToWrite(folder + '/' + lockName);
    if (!tryLockFile(opened.lock.get(), FileLock::exclusive))
        return errno == EWOULDBLOCK
                   ? fail(ProblemKind::busy, localized("another process is writing the backup in {}", folder),
                          folder)
                   : failToLock(folder + '/' + lockName);
    if (described->empty())
        if (const auto done = describeAs(folder, libraryUUID); !done)
            return passOn(done);
    // What was left unfinished is of no use: its name says nothing.
    fs::remove_all(opened.unfinished(""), error);
    if (!makeFolders(folder + "/unfinished") || !makeFolders(folder + "/files"))
        return failToWrite(folder);
    return opened;
}

Result<std::optional<Contents>> BackupFolder::readContents() const {
    const std::string file = folder + '/' + contentsName;
    std::vector<std::byte> bytes;
    if (!readFile(file, bytes, maxContentsBytes)) {
        if (errno == ENOENT)
            return std::optional<Contents>();
        return failToRead(file);
    }
    const auto failDamaged = [&] {
        return fail(ProblemKind::failed, localized("{} is damaged", file), file);
    };
    std::string_view text(reinterpret_cast<const char *>(bytes.data()), bytes.size());
    if (takeUntil(text, '\n') != firstLine)
        return failDamaged();
    Contents contents;
    std::size_t count = 0;
    while (!text.empty()) {
        std::string_view line = takeUntil(text, '\n');
        if (line.starts_with("end ")) {
            if (!readNumber(line.substr(4), count) || count != contents.size() || !text.empty())
                return failDamaged();
            return contents;
        }
        auto read = readLine(line);
        if (!read)
            return failDamaged();
        contents.push_back(*std::move(read));
    }
    return failDamaged(); // cut off
}

Result<> BackupFolder::writeContents(const Contents &contents) const {
    if (const auto synced = syncAll(folder); !synced)
        return synced;
    std::string text(firstLine);
    text += '\n';
    for (const BackedUpFile &each : contents)
        text +=
            fmt::format("{} {} {} {}\n", hexadecimal(each.sum), each.size, each.modified, escaped(each.path));
    text += fmt::format("end {}\n", contents.size());
    const std::string path = folder + '/' + contentsName;
    if (!replaceFile(path, std::as_bytes(std::span(text))))
        return failToWrite(path);
    return {};
}

std::string BackupFolder::placeOf(const BackedUpFile &file) const {
    const std::string sum = hexadecimal(file.sum);
    // The extension lets people open what they find.
    const std::string extension = fs::path(file.path).extension().string();
    const bool isPlain = extension.size() <= 9 &&
                         std::ranges::all_of(extension.substr(extension.empty() ? 0 : 1),
                                             [](unsigned char letter) { return std::isalnum(letter) != 0; });
    return fmt::format("{}/files/{}/{}{}", folder, sum.substr(0, 2), sum, isPlain ? extension : "");
}

bool BackupFolder::has(const BackedUpFile &file) const {
    struct stat status = {};
    return lstat(placeOf(file).c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
           static_cast<std::uint64_t>(status.st_size) == file.size;
}

Result<> BackupFolder::put(const BackedUpFile &file, const std::string &source) const {
    const auto opened = openForCopy(source);
    if (!opened)
        return passOn(opened);
    auto copy = VerifiedCopy::create(unfinished("file"));
    if (!copy)
        return passOn(copy);
    return copy->copyFrom(opened->get(), source, file.sum)
        .and_then([&] { return copy->setAttributes(0600, file.modified); })
        .and_then([&] { return copy->replace(placeOf(file)); });
}

Result<std::size_t> BackupFolder::removeAllBut(const Contents &contents) const {
    std::unordered_set<std::string> kept;
    for (const BackedUpFile &each : contents)
        kept.insert(placeOf(each));
    std::vector<fs::path> needless;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder + "/files", error), end; !error && entry != end;
         entry.increment(error))
        if (!entry->is_directory() && !kept.contains(entry->path()))
            needless.push_back(entry->path());
    for (const fs::path &each : needless)
        if (!error)
            fs::remove(each, error);
    if (error)
        return fail(ProblemKind::failed, localized("can't prune {}: {}", folder, textOfError(error.value())),
                    folder);
    return needless.size();
}

} // namespace wickerlane::cli
