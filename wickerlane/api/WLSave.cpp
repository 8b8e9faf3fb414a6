#include "wickerlane/api/WLSave.h"

#include "wickerlane/api/ErrorInternal.h"
#include "wickerlane/api/WLValues.h"
#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/JobKeys.h"

using namespace wickerlane;
namespace jobKeys = wickerlane::protocol::job;
namespace jobResult = wickerlane::protocol::jobResult;

namespace {

WLSaveJob *jobOf(std::string_view key, Object *source) {
    if (source == nullptr)
        return nullptr;
    auto made = MutableDictionary::create();
    made->set(key, source);
    return made.leak();
}

} // namespace

WLSaveJob *WLSaveJobCreateWithFile(const char *path) {
    const auto url = path != nullptr ? URL::createWithPath(path) : nullptr;
    return jobOf(jobKeys::filePath, url ? String::create(url->fileSystemPath()).get() : nullptr);
}

WLSaveJob *WLSaveJobCreateWithData(WLData *data) {
    return jobOf(jobKeys::imageData, data);
}

bool WLSaveJobSetOriginalFilename(WLSaveJob *job, const char *name) {
    const auto text = String::create(name);
    if (job != nullptr && text)
        job->set(jobKeys::originalFilename, text.get());
    return text != nullptr;
}

void WLSaveJobSetDateCreated(WLSaveJob *job, double date) {
    if (job != nullptr)
        job->set(jobKeys::creationDate, Date::createWithReferenceSeconds(date).get());
}

void WLSaveJobSetUnlessPresent(WLSaveJob *job, bool unlessPresent) {
    if (job != nullptr)
        job->set(jobKeys::unlessPresent, Number::create(unlessPresent).get());
}

WLSavedAsset *WLSaveJobRun(WLSaveJob *job, WLError **error) {
    if (job == nullptr)
        return failing<WLSavedAsset *>(
            nullptr, ProblemKind::invalid,
            "there is no job to run: a path must be UTF-8, and data must not be null", error);
    return withLastError(JXGatekeeperClient::sharedInstance()->saveAsset(job), error);
}

WLString *WLSavedAssetUUID(const WLSavedAsset *saved) {
    return saved != nullptr ? saved->get<String>(jobResult::uuid) : nullptr;
}

WLURL *WLSavedAssetURL(const WLSavedAsset *saved) {
    const auto *text = saved != nullptr ? saved->get<String>(jobResult::assetURL) : nullptr;
    return text != nullptr ? URL::of(text->utf8()) : nullptr;
}

bool WLSavedAssetWasPresent(const WLSavedAsset *saved) {
    return saved != nullptr && WLNumberBool(saved->get<Number>(jobResult::wasPresent));
}

WLString *WLSavedAssetProblem(const WLSavedAsset *saved) {
    return saved != nullptr ? saved->get<String>(jobResult::problem) : nullptr;
}

bool WLAssetDelete(const WLAsset *asset, WLError **error) {
    return withLastError(JXGatekeeperClient::sharedInstance()->deleteAsset(WLAssetURL(asset)), error);
}
