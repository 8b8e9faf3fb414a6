#include "cli/view/StaticFiles.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <string_view>
#include <utility>

#include "cli/ObjectJSON.h"
#include "cli/Texts.h"
#include "cli/view/Answers.h"
#include "cli/view/Languages.h"
#include "wickerlane/platform/file/DataFolders.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::cli::view {
namespace {

namespace fs = std::filesystem;

struct Kind {
    std::string_view ending;
    const char *type;
};

constexpr std::array kinds = {
    Kind{".html", "text/html; charset=utf-8"},
    Kind{".css", "text/css; charset=utf-8"},
    Kind{".js", "text/javascript; charset=utf-8"},
    Kind{".json", "application/json"},
    Kind{".svg", "image/svg+xml"},
};
constexpr std::size_t maxFileBytes = 2 << 20;
constexpr std::size_t maxFiles = 500;

std::string folderOfPage() {
    for (const std::string &each : dataFolders("WICKERLANE_VIEW_FILES", "/Library/View", "view"))
        if (std::error_code unknown; fs::exists(each + "/index.html", unknown))
            return each;
    return {};
}

} // namespace

Result<StaticFiles> StaticFiles::read() {
    const std::string folder = folderOfPage();
    if (folder.empty())
        return fail(ProblemKind::failed,
                    "the files of the page are missing. Install wickerlane again, whole");
    StaticFiles page;
    std::error_code error;
    for (fs::recursive_directory_iterator each(folder, error), end; !error && each != end;
         each.increment(error)) {
        const auto kind = std::ranges::find(kinds, each->path().extension().string(), &Kind::ending);
        std::vector<std::byte> contents;
        if (kind == kinds.end() || page.files.size() == maxFiles || !each->is_regular_file(error))
            continue;
        if (!readFile(each->path(), contents, maxFileBytes))
            return failSystem("read", each->path());
        page.add("/" + each->path().lexically_relative(folder).generic_string(), kind->type,
                 std::string(reinterpret_cast<const char *>(contents.data()), contents.size()));
    }
    if (error)
        return fail(ProblemKind::failed, "can't read " + folder + ": " + error.message());
    page.files["/"] = page.files["/index.html"];
    for (const char *language : pageLanguages)
        page.add(fmt::format("/texts/problems/{}.json", language), "application/json",
                 jsonOf(problemTexts(language).get()).dump());
    return page;
}

void StaticFiles::add(const std::string &path, const char *type, std::string contents) {
    const auto sum = ::crc32_z(0, reinterpret_cast<const Bytef *>(contents.data()), contents.size());
    std::string tag = fmt::format("\"{:x}-{:08x}\"", contents.size(), sum);
    files.emplace(path, File{type, std::move(contents), std::move(tag)});
}

bool StaticFiles::answer(const httplib::Request &request, httplib::Response &response) const {
    const auto found = files.find(request.path);
    if (found == files.end())
        return false;
    const File &file = found->second;
    response.set_header("Cache-Control", "no-cache");
    response.set_header("ETag", file.tag);
    if (request.get_header_value("If-None-Match") == file.tag) {
        response.status = 304;
        return true;
    }
    response.status = 200;
    answerBytes(response, file.contents.size(), file.type,
                [&file](std::size_t offset, std::size_t length, httplib::DataSink &sink) {
                    return sink.write(file.contents.data() + offset, length);
                });
    return true;
}

} // namespace wickerlane::cli::view
