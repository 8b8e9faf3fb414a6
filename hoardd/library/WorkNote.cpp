#include "hoardd/library/WorkNote.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "hoardd/library/DurableFolders.h"
#include "wickerlane/platform/file/Files.h"

namespace wickerlane::hoardd {

namespace {

struct Ending {
    Work work;
    std::string_view text; ///< After the name of the original.
};
constexpr Ending endings[] = {{Work::rendition, ".setting-rendition"},
                              {Work::companion, ".adding-companion"},
                              {Work::begunRemoval, ".beginning-removal"},
                              {Work::removal, ".removing"},
                              {Work::removalFromTrash, ".removing-from-trash"}};

std::string pathOf(std::string start, Work work) {
    return std::move(start.append(std::ranges::find(endings, work, &Ending::work)->text));
}

} // namespace

WorkNote::WorkNote(std::string original, Work work) : start(std::move(original)), path(pathOf(start, work)) {
}

Result<WorkNote> WorkNote::write(const store::LibraryPaths &paths, const AssetRecord &asset, Work work) {
    WorkNote note(paths.saving() + '/' + asset.filename, work);
    if (!openFile(note.path, O_WRONLY | O_CREAT)) {
        const std::string path = std::exchange(note.path, {});
        return failSystem("make", path);
    }
    if (work == Work::begunRemoval)
        if (const auto durable = makeNamesDurable(paths.saving()); !durable)
            return passOn(durable);
    return note;
}

WorkNote::~WorkNote() {
    if (!path.empty())
        ::unlink(path.c_str());
}

void WorkNote::turnInto(Work work) {
    std::string renamed = pathOf(start, work);
    if (::rename(path.c_str(), renamed.c_str()) == 0)
        path = std::move(renamed);
}

std::optional<WorkNote::Contents> WorkNote::read(std::string_view filename) {
    for (const Ending &each : endings)
        if (filename.ends_with(each.text))
            return Contents{each.work, std::string(filename.substr(0, filename.size() - each.text.size()))};
    return std::nullopt;
}

} // namespace wickerlane::hoardd
