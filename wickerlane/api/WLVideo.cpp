#include "wickerlane/api/WLVideo.h"

#include "wickerlane/api/CallInternal.h"

using namespace wickerlane;

WLDictionary *WLVideoMetadataCreate(const char *path, WLError **error) {
    const auto url = path != nullptr ? URL::createWithPath(path) : nullptr;
    if (!url)
        return failing<WLDictionary *>(nullptr, ProblemKind::invalid,
                                       "there is no path: it must not be empty, and must be UTF-8", error);
    return createBy(&JXGatekeeperClient::videoMetadataAtPath, Null::isAFailure, error,
                    String::create(url->fileSystemPath()).get());
}
