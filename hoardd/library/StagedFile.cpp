#include "hoardd/library/StagedFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "hoardd/library/FileCopy.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/store/Sha256Internal.h"

namespace wickerlane::hoardd {

namespace {

constexpr const char *namePrefix = "staged-";
constexpr const char *olderNamePrefix = "thumbnail-"; // of a hoardd before 1.0

} // namespace

Result<StagedFile> StagedFile::create(const std::string &folder) {
    std::string path = folder + '/' + namePrefix;
    path += UUID::createRandom()->uuidString()->utf8();
    UniqueFd file = openFile(path, O_RDWR | O_CREAT | O_EXCL);
    if (!file)
        return failSystem("make", path);
    return StagedFile(std::move(file), std::move(path));
}

StagedFile::~StagedFile() {
    if (!stagedPath.empty())
        ::unlink(stagedPath.c_str());
}

Result<> StagedFile::write(Bytes bytes) {
    if (!writeAll(file.get(), bytes))
        return failSystem("write", stagedPath);
    return {};
}

Result<> StagedFile::copyFrom(int source) {
    return copyFile(source, file.get(), stagedPath);
}

Result<Sha256> StagedFile::sum() const {
    return store::sha256OfFile(file.get(), stagedPath);
}

Result<> StagedFile::sync() {
    if (::fsync(file.get()) != 0)
        return failSystem("write", stagedPath);
    return {};
}

void StagedFile::startSync() noexcept {
    ::sync_file_range(file.get(), 0, 0, SYNC_FILE_RANGE_WRITE);
}

Result<> StagedFile::protect() {
    if (::fchmod(file.get(), 0400) != 0)
        return failSystem("write", stagedPath);
    return {};
}

Result<> StagedFile::seal() {
    return protect().and_then([&] { return sync(); });
}

Result<> StagedFile::moveTo(const std::string &place) {
    if (::rename(stagedPath.c_str(), place.c_str()) != 0)
        return failSystem("write", place);
    stagedPath.clear();
    return {};
}

Result<> StagedFile::moveInto(int folder, const std::string &name) {
    if (::renameat(AT_FDCWD, stagedPath.c_str(), folder, name.c_str()) != 0)
        return failSystem("write", name);
    stagedPath.clear();
    return {};
}

void StagedFile::removeLeftovers(const std::string &folder) {
    std::error_code none;
    for (const auto &entry : std::filesystem::directory_iterator(folder, none))
        for (const char *prefix : {namePrefix, olderNamePrefix})
            if (entry.path().filename().string().starts_with(prefix))
                ::unlink(entry.path().c_str());
}

} // namespace wickerlane::hoardd
