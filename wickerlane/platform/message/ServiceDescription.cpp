#include "wickerlane/platform/message/ServiceDescription.h"

#include <dlfcn.h>

#include <cstdlib>

#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane {
namespace {

// The folder of this library's file; empty when it can't be told.
std::string libraryFolder() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<const void *>(&findServiceDescription), &info) == 0 ||
        info.dli_fname == nullptr)
        return {};
    const std::string_view file = info.dli_fname;
    const std::size_t slash = file.rfind('/');
    return slash == file.npos ? std::string() : std::string(file.substr(0, slash));
}

std::vector<std::string> folders() {
    std::vector<std::string> result;
    if (const char *listed = std::getenv("WICKERLANE_SERVICES")) {
        std::string_view rest = listed;
        while (!rest.empty()) {
            const std::size_t colon = rest.find(':');
            if (colon != 0)
                result.emplace_back(rest.substr(0, colon));
            rest.remove_prefix(colon == rest.npos ? rest.size() : colon + 1);
        }
        return result;
    }
    result.push_back(pathUnderRoot("/Library/Services"));
    if (std::string beside = libraryFolder(); !beside.empty())
        result.push_back(std::move(beside) + "/../share/wickerlane/services");
#ifdef WICKERLANE_SERVICE_FOLDER
    result.emplace_back(WICKERLANE_SERVICE_FOLDER);
#endif
    return result;
}

std::optional<ServiceDescription> read(const std::string &folder, std::string_view serviceName) {
    constexpr std::size_t longest = 64 * 1024;
    std::vector<std::byte> contents;
    if (!readFile(folder + '/' + std::string(serviceName) + ".plist", contents, longest))
        return std::nullopt;
    const Ref<Object> root = createPropertyListObject(contents);
    const auto *dictionary = as<Dictionary>(root.get());
    if (dictionary == nullptr)
        return std::nullopt;
    const auto *program = dictionary->get<String>("Program");
    if (program == nullptr || program->utf8().empty())
        return std::nullopt;
    ServiceDescription description;
    description.program = program->utf8();
    if (description.program.front() != '/')
        description.program = folder + '/' + description.program;
    if (const auto *arguments = dictionary->get<Array>("Arguments"))
        for (const Object *argument : *arguments)
            if (const auto *text = as<String>(argument))
                description.arguments.emplace_back(text->utf8());
    return description;
}

} // namespace

std::optional<ServiceDescription> findServiceDescription(std::string_view serviceName) {
    for (const std::string &folder : folders())
        if (auto found = read(folder, serviceName))
            return found;
    return std::nullopt;
}

} // namespace wickerlane
