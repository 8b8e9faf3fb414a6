// The files of the page.
#ifndef CLI_VIEW_STATICFILES_H
#define CLI_VIEW_STATICFILES_H

#include <httplib.h>

#include <map>
#include <string>

#include "wickerlane/model/Result.h"

namespace wickerlane::cli::view {

/// All that the page consists of, read once: no path of a request ever reaches the file system. Immutable, so
/// that threads share it.
class StaticFiles {
public:
    /// Of the installation, or of the tree that the command was built in.
    [[nodiscard]] static Result<StaticFiles> read();

    /// Answers with the file at the path of the request. False when there is none. The answer borrows from
    /// this object.
    [[nodiscard]] bool answer(const httplib::Request &request, httplib::Response &response) const;

private:
    struct File {
        std::string type;
        std::string contents;
        std::string tag; ///< As a header has it.
    };
    void add(const std::string &path, const char *type, std::string contents);

    std::map<std::string, File, std::less<>> files; // by "/style.css"
};

} // namespace wickerlane::cli::view

#endif
