#include "hoardd/saving/SaveBatch.h"

#include <algorithm>
#include <atomic>
#include <memory>

#include "hoardd/library/Commits.h"
#include "hoardd/service/Call.h"

namespace wickerlane::hoardd {

namespace {

using Results = std::vector<Result<SavedAsset>>;

struct Batch {
    Library &library;
    const ClientJobs queue;
    const Handler<bool()> areCancelled;
    const SavesEnded ended;
    std::vector<SaveJob> jobs;
    Results results;
    std::atomic<std::size_t> chunksLeft;
};

/// A part of a batch. No two parts overlap, so that they need no lock.
struct Chunk {
    std::shared_ptr<Batch> batch;
    std::size_t first;
    std::size_t count;

    [[nodiscard]] std::span<SaveJob> jobs() const { return std::span(batch->jobs).subspan(first, count); }
    [[nodiscard]] std::span<Result<SavedAsset>> results() const {
        return std::span(batch->results).subspan(first, count);
    }
};

void finish(const Chunk &chunk) {
    finishSaves(chunk.batch->library, chunk.results());
    if (chunk.batch->chunksLeft.fetch_sub(1) == 1)
        chunk.batch->ended(chunk.batch->results);
}

void begin(const Chunk &chunk) {
    const auto begun = withoutExceptions([&]() -> Result<> {
        if (chunk.batch->areCancelled())
            return cancelled();
        std::ranges::move(beginSaves(chunk.batch->library, chunk.jobs()), chunk.results().begin());
        return {};
    });
    if (!begun)
        std::ranges::fill(chunk.results(), passOn(begun));
    std::ranges::fill(chunk.jobs(), SaveJob()); // their bytes go now
    if (std::ranges::any_of(chunk.results(), [](const auto &each) { return each && each->isDue; }))
        chunk.batch->queue.addRest([chunk] { finish(chunk); });
    else
        finish(chunk);
}

} // namespace

Result<> startSaves(Library &library, ClientJobs queue, std::vector<SaveJob> jobs,
                    Handler<bool()> areCancelled, SavesEnded ended) {
    const std::size_t count = jobs.size();
    const std::size_t perChunk = std::clamp<std::size_t>(count / queue.lanes(), 1, maxFilesPerCommit);
    const std::shared_ptr<Batch> batch(new Batch{library, queue, std::move(areCancelled), std::move(ended),
                                                 std::move(jobs), Results(count),
                                                 (count + perChunk - 1) / perChunk});
    std::vector<ClientJobs::Job> chunks;
    for (std::size_t first = 0; first < count; first += perChunk)
        chunks.push_back([chunk = Chunk{batch, first, std::min(perChunk, count - first)}] { begin(chunk); });
    return queue.add(std::move(chunks));
}

} // namespace wickerlane::hoardd
