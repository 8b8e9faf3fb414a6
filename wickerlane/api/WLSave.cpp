#include "wickerlane/api/WLSave.h"

#include "wickerlane/api/CallInternal.h"
#include "wickerlane/api/ReasonInternal.h"
#include "wickerlane/api/WLValues.h"
#include "wickerlane/client/Refusals.h"
#include "wickerlane/protocol/JobKeys.h"

using namespace wickerlane;
namespace jobKeys = wickerlane::protocol::job;
namespace jobResult = wickerlane::protocol::jobResult;

constinit const Class SaveJob::classInfo{"SaveJob", &Object::classInfo, nullptr};

namespace {

constexpr const char *noJob = "there is no job to run: a path must be UTF-8, and data must not be null";
constexpr const char *badBatch =
    "a batch is an array of save jobs without surfaces: run a job with a surface by itself";

/// Null when there is nothing to save.
template <class Source>
Ref<SaveJob> jobOf(Source *source) {
    return source != nullptr ? makeRef<SaveJob>() : nullptr;
}

void set(WLSaveJob *job, std::string_view key, Object *value) {
    if (job != nullptr)
        job->entries->set(key, value);
}

/// An absolute path; null when there is none.
Ref<String> absolutePath(const char *path) {
    const auto url = path != nullptr ? URL::createWithPath(path) : nullptr;
    return url ? String::create(url->fileSystemPath()) : nullptr;
}

bool setText(WLSaveJob *job, std::string_view key, const Ref<String> &text) {
    if (job == nullptr || !text)
        return false;
    set(job, key, text.get());
    return true;
}

/// Null when an object is no job for a batch.
Ref<Array> entriesOf(const WLArray *jobs) {
    if (jobs == nullptr || !jobs->holdsObjects())
        return nullptr;
    auto entries = MutableArray::create();
    for (Object *each : *jobs) {
        const auto *job = as<SaveJob>(each);
        if (job == nullptr || job->image || job->preview)
            return nullptr;
        entries->append(job->entries.get());
    }
    return entries;
}

using ResultsHandler = Handler<void(Array *, Error *)>;

void saveAll(void (JXGatekeeperClient::*save)(Array *, ResultsHandler), const WLArray *jobs,
             ResultsHandler handler) {
    if (!handler)
        return;
    const auto entries = entriesOf(jobs);
    if (!entries) {
        failLater(std::move(handler), badBatch);
        return;
    }
    const std::size_t count = entries->count();
    const auto answered = [handler = std::move(handler), count](Array *results, const Error *error) {
        const bool isWhole = results != nullptr && results->count() == count;
        handler(isWhole ? results : nullptr, isWhole ? nullptr : reasonOf(error, noAnswer).get());
    };
    (sharedClient()->*save)(entries.get(), answered);
}

bool flag(const WLSavedAsset *saved, std::string_view key) {
    return saved != nullptr && WLNumberBool(saved->get<Number>(key));
}

} // namespace

WLSaveJob *WLSaveJobCreateWithFile(const char *path) {
    const auto absolute = absolutePath(path);
    auto job = jobOf(absolute.get());
    set(job.get(), jobKeys::filePath, absolute.get());
    return job.leak();
}

WLSaveJob *WLSaveJobCreateWithData(WLData *data) {
    auto job = jobOf(data);
    set(job.get(), jobKeys::imageData, data);
    return job.leak();
}

WLSaveJob *WLSaveJobCreateWithSurface(WLSurface *surface) {
    auto job = jobOf(surface);
    if (job)
        job->image = surface;
    return job.leak();
}

bool WLSaveJobSetOriginalFilename(WLSaveJob *job, const char *name) {
    return setText(job, jobKeys::originalFilename, String::create(name));
}

void WLSaveJobSetDateCreated(WLSaveJob *job, double date) {
    set(job, jobKeys::creationDate, Date::createWithReferenceSeconds(date).get());
}

void WLSaveJobSetUnlessPresent(WLSaveJob *job, bool unlessPresent) {
    set(job, jobKeys::unlessPresent, Number::create(unlessPresent).get());
}

void WLSaveJobSetKind(WLSaveJob *job, int kind) {
    set(job, jobKeys::assetType, Number::create(kind).get());
}

void WLSaveJobSetPreview(WLSaveJob *job, WLSurface *preview) {
    if (job != nullptr)
        job->preview = preview;
}

bool WLSaveJobSetSidecar(WLSaveJob *job, const char *path) {
    return setText(job, jobKeys::sidecarPath, absolutePath(path));
}

bool WLSaveJobSetCompanion(WLSaveJob *job, const char *path) {
    return setText(job, jobKeys::companionPath, absolutePath(path));
}

WLSavedAsset *WLSaveJobRun(WLSaveJob *job, WLError **error) {
    if (job == nullptr)
        return failing<WLSavedAsset *>(nullptr, ProblemKind::invalid, noJob, error);
    return waitFor(&JXGatekeeperClient::saveAsset, error, job->entries.get(), job->image.get(),
                   job->preview.get());
}

void WLSaveJobRunWithHandler(WLSaveJob *job, void (*handler)(void *, WLSavedAsset *, WLError *),
                             void *context, WLReleaseContext release) {
    auto called = handlerOf(handler, context, release);
    if (!called)
        return;
    if (job == nullptr) {
        failLater(std::move(called), noJob);
        return;
    }
    const auto answered = [called = std::move(called)](Dictionary *result, const Error *error) {
        if (result == nullptr)
            called(nullptr, reasonOf(error, noAnswer).get());
        else if (const auto refusal = client::problemOfJob(*result))
            called(nullptr, errorOf(refusal->kind, refusal->text).get());
        else
            called(result, nullptr);
    };
    sharedClient()->saveAssetWithJobDictionary(job->entries.get(), answered, job->image.get(),
                                               job->preview.get());
}

WLArray *WLSaveJobsRun(WLArray *jobs, WLError **error) {
    const auto entries = entriesOf(jobs);
    if (!entries)
        return failing<WLArray *>(nullptr, ProblemKind::invalid, badBatch, error);
    Array *results = waitForObject(&JXGatekeeperClient::saveAssets, error, entries.get());
    if (results != nullptr && results->count() != entries->count())
        return failing<WLArray *>(nullptr, ProblemKind::failed, noAnswer, error);
    return results;
}

void WLSaveJobsRunWithHandler(WLArray *jobs, void (*handler)(void *, WLArray *, WLError *), void *context,
                              WLReleaseContext release) {
    saveAll(&JXGatekeeperClient::batchSaveAssetsWithJobDictionaries, jobs,
            handlerOf(handler, context, release));
}

void WLSaveOpenFilesWithHandler(WLArray *jobs, void (*handler)(void *, WLArray *, WLError *), void *context,
                                WLReleaseContext release) {
    saveAll(&JXGatekeeperClient::saveOpenFilesWithJobDictionaries, jobs,
            handlerOf(handler, context, release));
}

WLSavedAsset *WLSaveResultsGet(const WLArray *results, size_t index, WLError **error) {
    const bool isThere = results != nullptr && results->holdsObjects() && index < results->count();
    auto *result = isThere ? as<Dictionary>(results->at(index)) : nullptr;
    Ref<Error> failure;
    if (result == nullptr)
        failure = errorOf(ProblemKind::invalid, "the results have no job at that index");
    else if (const auto refusal = client::problemOfJob(*result))
        failure = errorOf(refusal->kind, refusal->text);
    if (error != nullptr)
        *error = failure ? autorelease(failure) : nullptr;
    return failure ? nullptr : result;
}

WLString *WLSavedAssetUUID(const WLSavedAsset *saved) {
    return saved != nullptr ? saved->get<String>(jobResult::uuid) : nullptr;
}

WLURL *WLSavedAssetURL(const WLSavedAsset *saved) {
    const auto *text = saved != nullptr ? saved->get<String>(jobResult::assetURL) : nullptr;
    return text != nullptr ? URL::of(text->utf8()) : nullptr;
}

bool WLSavedAssetWasPresent(const WLSavedAsset *saved) {
    return flag(saved, jobResult::wasPresent);
}

WLString *WLSavedAssetProblem(const WLSavedAsset *saved) {
    return saved != nullptr ? saved->get<String>(jobResult::problem) : nullptr;
}

bool WLSavedAssetCompanionWasSaved(const WLSavedAsset *saved) {
    return flag(saved, jobResult::companionWasSaved);
}

bool WLSavedAssetCompanionWasPresent(const WLSavedAsset *saved) {
    return flag(saved, jobResult::companionWasPresent);
}
