// Two texts, parted by a line break: a base, and what is resolved against it.
#include "wickerlane/platform/object/URL.h"

#include <cstdint>
#include <cstdlib>

#include "wickerlane/platform/object/ReleaseScope.h"

using namespace wickerlane;

namespace {

void check(const URL &url) {
    const auto text = url.absoluteString()->utf8();
    // What was resolved means the same when it is read again.
    if (!text.empty()) {
        const auto again = URL::create(text);
        if (!again || !areEqual(again->scheme(), url.scheme()) || !areEqual(again->host(), url.host()) ||
            !areEqual(again->path(), url.path()) || !areEqual(again->query(), url.query()) ||
            !areEqual(again->fragment(), url.fragment()) || again->fileSystemPath() != url.fileSystemPath())
            std::abort();
    }
    static_cast<void>(url.queryValue("id"));
    const std::string path = url.fileSystemPath();
    if (!path.empty() && URL::ofPath(path)->fileSystemPath() != path && path.starts_with('/'))
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *bytes, std::size_t size) {
    const ReleaseScope scope;
    const std::string_view input(reinterpret_cast<const char *>(bytes), size);
    const std::size_t line = input.find('\n');
    const auto base = URL::create(input.substr(0, line));
    if (!base)
        return 0;
    check(*base);
    if (line == std::string_view::npos)
        return 0;
    if (const auto url = URL::create(input.substr(line + 1), base.get()))
        check(*url);
    return 0;
}
