#include "hoardd/saving/SaveHandlers.h"

#include <algorithm>
#include <atomic>
#include <memory>

#include "hoardd/saving/AssetSaver.h"
#include "hoardd/service/Call.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/JobKeys.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;
namespace jobResult = protocol::jobResult;

namespace {

/// Of a batch, as many are committed together: enough that commits cost little, few enough that a kill late
/// in a long batch leaves most of it saved.
constexpr std::size_t maxPerCommit = 16;

Dictionary *resultDictionary(const SaveResult &result) {
    auto dictionary = MutableDictionary::create();
    if (!result.asset) {
        dictionary->set(jobResult::error, String::of(result.problem));
        return autorelease(std::move(dictionary));
    }
    const store::AssetRecord &record = result.asset->record();
    dictionary->set(jobResult::uuid, result.asset->uuid());
    dictionary->set(jobResult::assetURL, result.asset->assetURL()->absoluteString());
    dictionary->set(jobResult::objectIDURI, result.asset->objectID()->uriRepresentation()->absoluteString());
    dictionary->set(jobResult::fileURL, result.asset->fileURL()->absoluteString());
    dictionary->set(jobResult::filename, String::of(record.filename));
    dictionary->set(jobResult::assetType, Number::of(static_cast<std::uint64_t>(record.kind)));
    dictionary->set(jobResult::byteSize, Number::of(record.byteSize));
    dictionary->set(jobResult::width, Number::of(record.width));
    dictionary->set(jobResult::height, Number::of(record.height));
    dictionary->set(jobResult::creationDate, result.asset->dateCreated());
    if (result.wasPresent)
        dictionary->set(jobResult::wasPresent, Number::of(true));
    if (record.duration > 0)
        dictionary->set(jobResult::duration, Number::of(record.duration));
    if (const std::string &problem = record.problem.empty() ? result.lack : record.problem; !problem.empty())
        dictionary->set(jobResult::problem, String::of(problem));
    return autorelease(std::move(dictionary));
}

/// What is saved stays so, whatever becomes of its thumbnails.
void finishSaves(Library &library, std::span<SaveResult> results) {
    try {
        AssetSaver(library).finish(results);
    } catch (const std::exception &failure) {
        for (SaveResult &each : results)
            if (each.isDue)
                each.lack = failure.what();
    }
}

/// The jobs of one batch. Each chunk is saved, and has its thumbnails made once all have been: so the whole
/// batch is listed early. The last chunk to be finished answers the call.
struct Batch {
    Call call;
    Library &library;
    std::vector<SaveJob> jobs;
    std::vector<SaveResult> results;
    std::atomic<std::size_t> chunksLeft;

    void saveChunk(std::size_t first, std::size_t count) {
        try {
            std::ranges::move(AssetSaver(library).begin(std::span(jobs).subspan(first, count)),
                              results.begin() + static_cast<std::ptrdiff_t>(first));
        } catch (const std::exception &failure) {
            for (std::size_t i = first; i < first + count; ++i)
                results[i].problem = failure.what();
        }
        std::fill_n(jobs.begin() + static_cast<std::ptrdiff_t>(first), count,
                    SaveJob()); // their bytes go now
    }
    void finishChunk(std::size_t first, std::size_t count) {
        finishSaves(library, std::span(results).subspan(first, count));
        if (chunksLeft.fetch_sub(1) == 1)
            answer();
    }
    void answer() const {
        auto dictionaries = MutableArray::create();
        for (const SaveResult &result : results)
            dictionaries->append(resultDictionary(result));
        call.answer(Answer().set(keys::resultJobDictionaries, dictionaries.get()));
    }
};

void answerSave(const Call &call, const SaveResult &result) {
    Answer answer;
    if (!result.noData)
        answer.set(keys::resultJobDictionary, resultDictionary(result));
    call.answer(answer.set(keys::noData, result.noData).set(keys::jobQueueFull, false));
}

/// A value that is there but can't be read is not the same as none.
Result<SaveJob> readSaveRequest(const Call &call) {
    SaveJob job{call.get(keys::jobDictionary), call.get(keys::imagePort), call.get(keys::previewImagePort),
                call.mayReadFiles()};
    if (call.value(keys::imagePort) != nullptr && !job.image)
        return fail(ProblemKind::invalid, "imagePort is not a surface");
    if (call.value(keys::previewImagePort) != nullptr && !job.preview)
        return fail(ProblemKind::invalid, "previewImagePort is not a surface");
    if (call.value(keys::jobDictionary) != nullptr && !job.dictionary)
        return fail(ProblemKind::invalid, "jobDictionary is not a job dictionary");
    return job;
}

Result<> saveAsset(Library &library, JobQueue &queue, const Call &call) {
    const auto job = readSaveRequest(call);
    if (!job)
        return passOn(job);
    const bool isTaken = queue.add({[call, job = *job, &library, &queue] {
        try {
            const auto results =
                std::make_shared<std::vector<SaveResult>>(AssetSaver(library).begin({&job, 1}));
            if (!results->front().isDue)
                return answerSave(call, results->front());
            // Those that wait are listed first.
            queue.addRest([call, &library, results] {
                finishSaves(library, *results);
                answerSave(call, results->front());
            });
        } catch (const std::exception &failure) {
            call.refuse({ProblemKind::failed, failure.what(), {}});
        }
    }});
    if (!isTaken)
        return fail(ProblemKind::busy, "too many jobs are waiting; try again later");
    return {};
}

std::optional<Answer> byQueueFull(const Refusal &refusal) {
    if (refusal.problem.kind != ProblemKind::busy)
        return std::nullopt;
    return Answer().set(keys::noData, false).set(keys::jobQueueFull, true);
}

Result<> batchSaveAssets(Library &library, JobQueue &queue, const Call &call) {
    const MessageArray *coded = call.message()->getArray(keys::jobDictionaries.text);
    // A job that can't be read stays in its place, without data, so that the results keep the order of the
    // jobs.
    std::vector<SaveJob> jobs(coded->count());
    for (std::size_t i = 0; i < jobs.size(); ++i)
        jobs[i] = {JXJobDictionaryFromMsgDictionary(coded->at(i)), nullptr, nullptr, call.mayReadFiles()};
    if (jobs.empty()) {
        call.answer(Answer().set(keys::resultJobDictionaries, Array::of({})));
        return {};
    }

    const std::size_t perChunk = std::clamp<std::size_t>(jobs.size() / queue.lanes(), 1, maxPerCommit);
    const std::size_t chunks = (jobs.size() + perChunk - 1) / perChunk;
    const auto batch = std::shared_ptr<Batch>(
        new Batch{call, library, std::move(jobs), std::vector<SaveResult>(coded->count()), chunks});
    std::vector<JobQueue::Job> work;
    for (std::size_t first = 0; first < batch->jobs.size(); first += perChunk)
        work.push_back([batch, &queue, first, count = std::min(perChunk, batch->jobs.size() - first)] {
            batch->saveChunk(first, count);
            queue.addRest([batch, first, count] { batch->finishChunk(first, count); });
        });
    if (!queue.add(std::move(work)))
        return fail(ProblemKind::busy, "too many jobs are waiting; try again later");
    return {};
}

constexpr Operation operations[] = {
    {.row = &protocol::saveAsset, .handler = saveAsset, .sayNo = byQueueFull},
    {&protocol::batchSaveAssets, batchSaveAssets},
};

} // namespace

std::span<const Operation> saveOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
