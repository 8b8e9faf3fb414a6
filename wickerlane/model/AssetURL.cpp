#include "wickerlane/model/AssetURL.h"

#include "wickerlane/platform/object/Number.h"

namespace wickerlane {

Ref<URL> createAssetURL(std::string_view uuid, std::string_view extension) {
    std::string text(assetURLScheme);
    text.append("://asset/asset.").append(extension).append("?id=").append(uuid);
    text.append("&ext=").append(extension);
    return URL::create(text);
}

std::string uuidOfAssetURL(const URL *url) {
    if (url == nullptr)
        return {};
    ReleaseScope scope;
    const String *scheme = url->scheme();
    const String *host = url->host();
    if (scheme == nullptr || scheme->utf8() != assetURLScheme || host == nullptr || host->utf8() != "asset")
        return {};
    const String *id = url->queryValue("id");
    const auto uuid = id != nullptr ? UUID::createWithText(id->utf8()) : nullptr;
    return uuid ? std::string(uuid->uuidString()->utf8()) : std::string();
}

} // namespace wickerlane
