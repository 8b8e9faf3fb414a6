#include "hoardd/library/WorkNote.h"

#include <fcntl.h>
#include <unistd.h>

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
                              {Work::removal, ".removing"},
                              {Work::removalFromTrash, ".removing-from-trash"}};

} // namespace

Result<WorkNote> WorkNote::write(const store::LibraryPaths &paths, const store::AssetRecord &asset,
                                 Work work) {
    std::string path = paths.saving() + '/' + asset.filename;
    for (const Ending &each : endings)
        if (each.work == work)
            path += each.text;
    if (!openFile(path, O_WRONLY | O_CREAT))
        return failSystem("make", path);
    WorkNote note(std::move(path));
    if (work == Work::removal || work == Work::removalFromTrash)
        if (const auto durable = makeNamesDurable(paths.saving()); !durable)
            return passOn(durable);
    return note;
}

WorkNote::~WorkNote() {
    if (!path.empty())
        ::unlink(path.c_str());
}

std::optional<WorkNote::Contents> WorkNote::read(std::string_view filename) {
    for (const Ending &each : endings)
        if (filename.ends_with(each.text))
            return Contents{each.work, std::string(filename.substr(0, filename.size() - each.text.size()))};
    return std::nullopt;
}

} // namespace wickerlane::hoardd
