// Pictures and videos that lie in the library's folders and are no assets yet.
#ifndef HOARDD_SAVING_FOUNDFILES_H
#define HOARDD_SAVING_FOUNDFILES_H

#include <string>

#include "hoardd/library/Library.h"
#include "hoardd/saving/SettledFile.h"

namespace wickerlane::hoardd {

/// Makes assets of the pictures and videos among the originals that no asset has: what a restore, another
/// program or a lost store left there. A file named by a UUID becomes the asset of that UUID, so that its
/// URL holds again; one whose bytes an asset has already goes, since nothing is lost with it. Other files
/// stay as they are.
///
/// A file that a program still writes, or that has changed within the last seconds, `quiet`, waits for the
/// next time; the problem is `busy` if nothing else is left.
///
/// They move through the library's Found folder; what a kill leaves there is saved the next time. Blocks.
/// Goes on after a file that can't be saved; the problem says how many there were, and the first. Not by two
/// threads at a time.
[[nodiscard]] Result<> saveFoundFiles(Library &library, std::chrono::seconds quiet = settlingTime);

/// Saves what lies in the Found folder: what an earlier process left on its way. Logs what can't be saved.
/// Not beside saveFoundFiles().
void saveFilesLeftFound(Library &library);

/// Moves a file among the originals that no asset had into a folder, like moveStray(), unless the next
/// saveFoundFiles() may make an asset of it: then the problem is `busy`.
[[nodiscard]] Result<> moveStrayOriginal(Library &library, const std::string &path,
                                         const std::string &folder);

/// Gives a file among the companions that no asset had to the asset that it is named by. If that has gone, or
/// has one, a picture or a video moves into the Found folder, and other files into the lost and found.
[[nodiscard]] Result<> repairStrayCompanion(Library &library, const std::string &path);

} // namespace wickerlane::hoardd

#endif
