// The saves of one request, as jobs in a queue.
#ifndef HOARDD_SAVING_SAVEBATCH_H
#define HOARDD_SAVING_SAVEBATCH_H

#include <span>
#include <vector>

#include "hoardd/saving/Saving.h"
#include "hoardd/service/JobQueue.h"

namespace wickerlane::hoardd {

/// Called once, on any thread, with a result for each job, in order.
using SavesEnded = Handler<void(std::span<const Result<SavedAsset>>)>;

/// Saves jobs (at least one) in chunks, each with one commit. The thumbnails of a chunk are made after the
/// jobs that wait, so that all are listed early. `queueFull` when the queue takes no more. Chunks that have
/// not begun when `areCancelled` says so are not saved.
[[nodiscard]] Result<> startSaves(Library &library, ClientJobs queue, std::vector<SaveJob> jobs,
                                  Handler<bool()> areCancelled, SavesEnded ended);

} // namespace wickerlane::hoardd

#endif
