#include "wickerlane/platform/message/service/ServiceDescription.h"

#include "wickerlane/platform/file/DataFolders.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane {
namespace {

std::optional<ServiceDescription> read(const std::string &folder, std::string_view serviceName) {
    constexpr std::size_t maxBytes = 64 * 1024;
    std::vector<std::byte> contents;
    if (!readFile(folder + '/' + std::string(serviceName) + ".plist", contents, maxBytes))
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
    for (const std::string &folder : dataFolders("WICKERLANE_SERVICES", "/Library/Services", "services"))
        if (auto found = read(folder, serviceName))
            return found;
    return std::nullopt;
}

} // namespace wickerlane
