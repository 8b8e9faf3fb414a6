#include "hoardd/service/OperationFamilies.h"

#include <algorithm>

#include "hoardd/saving/SaveBatch.h"
#include "hoardd/service/Call.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/JobKeys.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;
namespace jobResult = protocol::jobResult;

namespace {

Ref<Dictionary> describeSave(const Result<SavedAsset> &saved) {
    auto dictionary = MutableDictionary::create();
    if (!saved) {
        dictionary->set(jobResult::error, String::of(saved.error().text));
        dictionary->set(jobResult::errorKind, Number::of(static_cast<std::int64_t>(saved.error().kind)));
        return dictionary;
    }
    const ManagedAsset &asset = *saved->asset;
    const AssetRecord &record = asset.record();
    dictionary->set(jobResult::uuid, asset.uuid());
    dictionary->set(jobResult::assetURL, asset.assetURL()->absoluteString());
    dictionary->set(jobResult::objectIDURI, asset.objectID()->uriRepresentation()->absoluteString());
    dictionary->set(jobResult::fileURL, asset.fileURL()->absoluteString());
    dictionary->set(jobResult::filename, String::of(record.filename));
    dictionary->set(jobResult::assetType, Number::of(static_cast<std::uint64_t>(record.kind)));
    dictionary->set(jobResult::byteSize, Number::of(record.byteSize));
    dictionary->set(jobResult::width, Number::of(record.width));
    dictionary->set(jobResult::height, Number::of(record.height));
    dictionary->set(jobResult::creationDate, asset.dateCreated());
    if (saved->wasPresent)
        dictionary->set(jobResult::wasPresent, Number::of(true));
    if (saved->companion != CompanionOutcome::none)
        dictionary->set(saved->companion == CompanionOutcome::wasSaved ? jobResult::companionWasSaved
                                                                       : jobResult::companionWasPresent,
                        Number::of(true));
    if (record.duration > 0)
        dictionary->set(jobResult::duration, Number::of(record.duration));
    if (!record.problem.empty())
        dictionary->set(jobResult::problem, String::of(record.problem));
    else if (!saved->thumbnails)
        dictionary->set(jobResult::problem, String::of(saved->thumbnails.error().text));
    return dictionary;
}

void answerSave(const Call &call, const Result<SavedAsset> &saved) {
    if (!saved && saved.error().kind == ProblemKind::empty)
        return call.refuse(saved.error());
    call.answer(Answer()
                    .set(keys::resultJobDictionary, describeSave(saved).get())
                    .set(keys::noData, false)
                    .set(keys::jobQueueFull, false));
}

/// The most jobs of a batch that are saved: bounds what one request makes the daemon hold.
constexpr std::size_t maxJobsOfBatch = 4'096;

Ref<MessageDictionary> codedResult(const Result<SavedAsset> &saved) {
    return Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(describeSave(saved).get()));
}

/// The jobs after those that were saved, `count` in all, share one result.
void answerBatch(const Call &call, std::span<const Result<SavedAsset>> saves, std::size_t count) {
    const auto results = MessageArray::create();
    for (const auto &saved : saves)
        results->append(codedResult(saved).get());
    if (saves.size() < count) {
        const auto tooMany =
            codedResult(fail(ProblemKind::invalid,
                             "not saved: a batch has at most " + std::to_string(maxJobsOfBatch) + " jobs"));
        for (std::size_t i = saves.size(); i < count; ++i)
            results->append(tooMany.get());
    }
    call.answer(Answer().setValue(keys::resultJobDictionaries, results.get()));
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

Result<> saveAsset(Library &library, ClientJobs queue, const Call &call) {
    auto job = readSaveRequest(call);
    if (!job)
        return passOn(job);
    return startSaves(
        library, queue, {*std::move(job)}, [call] { return call.isCancelled(); },
        [call](std::span<const Result<SavedAsset>> saves) { answerSave(call, saves.front()); });
}

std::optional<Answer> byNoDataOrQueueFull(const Refusal &refusal) {
    const bool noData = refusal.problem.kind == ProblemKind::empty;
    const bool isFull = refusal.problem.kind == ProblemKind::queueFull;
    if (!noData && !isFull)
        return std::nullopt;
    return Answer().set(keys::noData, noData).set(keys::jobQueueFull, isFull);
}

Result<> startBatch(Library &library, ClientJobs queue, const Call &call, const CallersFiles &files) {
    const MessageArray *coded = call.message()->getArray(keys::jobDictionaries.text);
    // A job that can't be read stays in its place, without data, so that the results keep the order of the
    // jobs.
    const std::size_t count = coded->count();
    std::vector<SaveJob> jobs(std::min(count, maxJobsOfBatch));
    for (std::size_t i = 0; i < jobs.size(); ++i)
        jobs[i] = {JXJobDictionaryFromMsgDictionary(coded->at(i)), nullptr, nullptr, files};
    if (jobs.empty()) {
        answerBatch(call, {}, 0);
        return {};
    }
    return startSaves(
        library, queue, std::move(jobs), [call] { return call.isCancelled(); },
        [call, count](std::span<const Result<SavedAsset>> saves) { answerBatch(call, saves, count); });
}

Result<> batchSaveAssets(Library &library, ClientJobs queue, const Call &call) {
    return startBatch(library, queue, call, call.mayReadFiles());
}

Result<> saveOpenFiles(Library &library, ClientJobs queue, const Call &call) {
    return startBatch(library, queue, call, {call.mayReadFiles(), call.get(keys::openFiles)});
}

constexpr Operation operations[] = {
    {.row = &protocol::saveAsset, .handler = saveAsset, .refusal = byNoDataOrQueueFull},
    {&protocol::batchSaveAssets, batchSaveAssets},
    {&protocol::saveOpenFiles, saveOpenFiles},
};

} // namespace

std::span<const Operation> saveOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
