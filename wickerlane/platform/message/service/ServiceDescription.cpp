#include "wickerlane/platform/message/service/ServiceDescription.h"

#include "wickerlane/platform/file/DataFolders.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/file/TrustedPath.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Format.h"
#include "wickerlane/platform/object/String.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

namespace wickerlane {
namespace {

std::optional<ServiceDescription> read(const std::string &folder, const std::string &path) {
    constexpr std::size_t maxBytes = 64 * 1024;
    std::vector<std::byte> contents;
    if (!readFile(path, contents, maxBytes))
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

std::optional<ServiceDescription> findServiceDescription(std::string_view serviceName, std::string *whyNot) {
    std::string problem;
    for (const std::string &folder : dataFolders("WICKERLANE_SERVICES", "/Library/Services", "services")) {
        const std::string file = folder + '/' + std::string(serviceName) + ".plist";
        // Looked at first: what has been trusted can't be exchanged afterwards.
        const std::string ofFile = whyUntrusted(file);
        auto found = read(folder, file);
        if (!found)
            continue;
        const std::string ofProgram = whyUntrusted(found->program);
        if (ofFile.empty() && ofProgram.empty())
            return found;
        if (problem.empty())
            problem =
                ofFile.empty()
                    ? formatUTF8("the program %s is not used: %s", found->program.c_str(), ofProgram.c_str())
                    : formatUTF8("the description %s is not used: %s", file.c_str(), ofFile.c_str());
    }
    if (whyNot != nullptr)
        *whyNot = std::move(problem);
    return std::nullopt;
}

} // namespace wickerlane
