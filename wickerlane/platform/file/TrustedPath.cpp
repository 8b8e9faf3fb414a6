#include "wickerlane/platform/file/TrustedPath.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>

namespace wickerlane {
namespace {

enum class Place { above, end };

// Whether a group is its owner's alone, as many systems give one to each user: it has the owner's name and no
// other member.
bool isPrivateGroup(gid_t group, uid_t owner) {
    std::array<char, 4096> userText;
    std::array<char, 4096> groupText;
    passwd user{}, *foundUser = nullptr;
    ::group entry{}, *foundGroup = nullptr;
    if (getpwuid_r(owner, &user, userText.data(), userText.size(), &foundUser) != 0 || foundUser == nullptr ||
        getgrgid_r(group, &entry, groupText.data(), groupText.size(), &foundGroup) != 0 ||
        foundGroup == nullptr || std::strcmp(user.pw_name, entry.gr_name) != 0)
        return false;
    for (char **member = entry.gr_mem; *member != nullptr; ++member)
        if (std::strcmp(*member, user.pw_name) != 0)
            return false;
    return true;
}

bool mayOthersWrite(const std::string &path, const struct stat &status) {
    if ((status.st_mode & S_IWOTH) != 0)
        return true;
    if ((status.st_mode & S_IWGRP) == 0)
        return false;
    // With an access list, the group's bits are the most that anybody on the list has.
    return lgetxattr(path.c_str(), "system.posix_acl_access", nullptr, 0) >= 0 ||
           !isPrivateGroup(status.st_gid, status.st_uid);
}

std::string problemOf(const std::string &path, const struct stat &status, Place place) {
    if (status.st_uid != geteuid() && status.st_uid != 0)
        return path + " belongs to another user (" + std::to_string(status.st_uid) + ")";
    if (S_ISLNK(status.st_mode)) // only its owner can replace it, and its mode means nothing
        return {};
    const bool isSticky = place == Place::above && (status.st_mode & S_ISVTX) != 0;
    return !isSticky && mayOthersWrite(path, status)
               ? path + " may be written by other users; chmod go-w ends that"
               : std::string();
}

std::string cantLookAt(const std::string &path, int error) {
    return path + " can't be looked at: " + strerrordesc_np(error);
}

void removeSlashes(std::string &front) {
    front.erase(0, front.find_first_not_of('/'));
}

} // namespace

std::string whyUntrusted(const std::string &path) {
    constexpr int maxLinks = 40; // as the kernel has it
    std::string reached;         // without links; empty for "/"
    std::string rest = path;
    struct stat status {};
    bool isStatusRead = false; // of what is reached
    for (int links = 0;;) {
        const std::string here = reached.empty() ? "/" : reached;
        removeSlashes(rest);
        if (!isStatusRead && lstat(here.c_str(), &status) != 0)
            return cantLookAt(here, errno);
        isStatusRead = false;
        if (std::string problem = problemOf(here, status, rest.empty() ? Place::end : Place::above);
            !problem.empty() || rest.empty())
            return problem;
        const std::string name = rest.substr(0, rest.find('/'));
        rest.erase(0, name.size());
        if (name == ".")
            continue;
        if (name == "..") {
            reached.resize(reached.empty() ? 0 : reached.rfind('/'));
            continue;
        }
        std::string next = reached;
        next.append("/").append(name);
        if (lstat(next.c_str(), &status) != 0)
            return errno == ENOENT || errno == ENOTDIR ? std::string() : cantLookAt(next, errno);
        if (!S_ISLNK(status.st_mode)) {
            reached = next;
            isStatusRead = true;
            continue;
        }
        if (std::string problem = problemOf(next, status, Place::above); !problem.empty())
            return problem;
        std::array<char, PATH_MAX> target;
        const ssize_t length = readlink(next.c_str(), target.data(), target.size());
        if (length <= 0 || ++links > maxLinks)
            return cantLookAt(next, length <= 0 ? errno : ELOOP);
        if (target[0] == '/')
            reached.clear();
        rest.insert(0, target.data(), static_cast<std::size_t>(length));
    }
}

} // namespace wickerlane
