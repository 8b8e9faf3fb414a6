#include "hoardd/service/OperationFamilies.h"

#include "hoardd/library/Failures.h"
#include "hoardd/media/FileType.h"
#include "hoardd/saving/BackgroundWrite.h"
#include "hoardd/saving/Restore.h"
#include "hoardd/service/Call.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/AssetRows.h"

namespace wickerlane::hoardd {

namespace keys = protocol::keys;

namespace {

constexpr std::size_t maxPaths = 64;

/// Every text in a tree of arrays and dictionaries, up to `maxPaths`.
void gatherTexts(Object *object, std::vector<std::string> &texts) {
    if (texts.size() == maxPaths)
        return;
    if (const auto *text = as<String>(object)) {
        texts.emplace_back(text->utf8());
    } else if (const auto *array = as<Array>(object)) {
        for (std::size_t i = 0; i < array->count(); ++i)
            gatherTexts(array->at(i), texts);
    } else if (const auto *dictionary = as<Dictionary>(object)) {
        for (const auto &[key, value] : *dictionary)
            gatherTexts(value, texts);
    }
}

Result<Answer> fileURLForNewAsset(Library &library, const Call &call) {
    if (!call.mayReadFiles())
        return fail(
            ProblemKind::refused,
            "only the user that hoardd serves can write files in the library; send the bytes instead");
    if (call.get(keys::assetType) > 1)
        return fail(ProblemKind::invalid, "assetType is neither 0 (photo) nor 1 (video)");
    const std::string_view extension = call.get(keys::extension)->utf8();
    if (!isPlainExtension(extension))
        return fail(ProblemKind::invalid, "an extension is 1 to 16 letters and digits");
    // A UUID reserves the name: it is given once only.
    const auto uuid = UUID::createRandom();
    std::string path = library.paths().incoming() + '/';
    path.append(uuid->uuidString()->utf8()).append(".").append(extension);
    return Answer().set(keys::url, URL::ofPath(path));
}

Result<Answer> updateRestoredAsset(Library &library, const Call &call) {
    const auto uuid = UUID::createWithText(call.get(keys::assetUUID)->utf8());
    if (!uuid)
        return fail(ProblemKind::invalid, "assetUUID is no UUID");
    std::vector<std::string> paths;
    if (const MessageValue *value = call.value(keys::assetPaths))
        gatherTexts(createObject(value).get(), paths);
    return whenDone(
        restoreAsset(library, std::string(uuid->uuidString()->utf8()), paths, call.mayReadFiles()));
}

Result<Answer> writeDataInBackground(Library &library, const Call &call) {
    const URL *destination = call.get(keys::destinationURL);
    const std::string path = destination != nullptr ? destination->fileSystemPath() : std::string();
    if (path.empty())
        return fail(ProblemKind::invalid, "destinationURL is no file URL");
    const Data *data = call.get(keys::dataToSave);
    const auto written = writeInBackground(library, path, data != nullptr ? data->span() : Bytes());
    if (!written)
        return fail(inContext(path + " was not written", written.error(), path));
    return Answer();
}

constexpr Operation operations[] = {
    {&protocol::fileURLForNewAsset, fileURLForNewAsset},
    {&protocol::updateRestoredAsset, updateRestoredAsset, Runs::asJob},
    {&protocol::writeDataInBackground, writeDataInBackground},
};

} // namespace

std::span<const Operation> fileOperations() {
    return operations;
}

} // namespace wickerlane::hoardd
