#include "cli/Completion.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <limits>

#include "cli/AssetDescription.h"
#include "cli/AssetListing.h"
#include "cli/FilterOptions.h"
#include "cli/Output.h"
#include "wickerlane/store/StoreReader.h"

namespace wickerlane::cli {
namespace {

using App = CLI::App;

constexpr std::string_view files = ":files";

/// Where the command line has come to before its last word.
struct Place {
    const App *command;
    const CLI::Option *option = nullptr; ///< Whose value is next.
    std::size_t positionals = 0;         ///< How many are there.
};

constexpr std::size_t maxAssets = 50, partOfUUID = 8;

class Candidates {
public:
    explicit Candidates(std::string begun) : beginning(std::move(begun)) {}

    void add(std::string_view word, std::string_view description = {}) const {
        if (!word.starts_with(beginning) || word.find_first_of("\n\t") != std::string_view::npos)
            return;
        std::string line(prefix);
        line += word;
        if (!description.empty())
            line.append("\t").append(description);
        print(line);
    }
    /// From now on the words follow a part that stands already.
    void follow(const std::string &part) {
        prefix += part;
        beginning.erase(0, part.size());
    }
    [[nodiscard]] const std::string &begun() const { return beginning; }

private:
    std::string beginning;
    std::string prefix;
};

const App *subcommandOf(const App &app, const std::string &name) {
    const auto found = app.get_subcommands([&](const App *each) { return each->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

/// Also of the commands that it belongs to.
const CLI::Option *optionOf(const App *app, const std::string &word) {
    for (; app != nullptr; app = app->get_parent())
        for (const CLI::Option *each : app->get_options())
            if (each->nonpositional() && each->check_name(word))
                return each;
    return nullptr;
}

bool takesValue(const CLI::Option &option) {
    return option.get_expected_max() > 0 && option.get_items_expected_max() > 0;
}

Place placeOf(const App &app, const std::vector<std::string> &words) {
    Place place{&app};
    for (std::size_t i = 0; i + 1 < words.size(); ++i) {
        const std::string &word = words[i];
        if (place.option != nullptr) {
            place.option = nullptr;
        } else if (word.size() > 1 && word.starts_with('-')) {
            const CLI::Option *option = optionOf(place.command, word.substr(0, word.find('=')));
            if (option != nullptr && takesValue(*option) && word.find('=') == std::string::npos)
                place.option = option;
        } else if (const App *next = subcommandOf(*place.command, word);
                   next != nullptr && place.positionals == 0) {
            place.command = next;
        } else if (!(i == 0 && word == "help")) {
            ++place.positionals;
        }
    }
    return place;
}

std::unique_ptr<store::StoreReader> openStore() {
    auto opened = store::StoreReader::open(store::LibraryPaths());
    return opened ? *std::move(opened) : nullptr;
}

void addAlbums(const Candidates &candidates) {
    const auto store = openStore();
    const auto albums = store != nullptr ? store->albums() : Result<std::vector<Ref<ManagedAlbum>>>();
    if (albums)
        for (const auto &each : *albums)
            candidates.add(each->record().name);
}

/// The beginnings of UUIDs, and names. Of many, the latest.
void addAssets(const Candidates &candidates) {
    constexpr std::size_t shortest = 4;
    const auto store = openStore();
    if (store == nullptr)
        return;
    AssetQuery query{
        .order = AssetOrder::added, .isDescending = true, .limit = maxAssets, .fields = AssetFields::all};
    const std::string &begun = candidates.begun();
    const auto add = [&](bool byName) {
        const auto page = store->page(query);
        if (!page)
            return;
        for (const AssetRecord &each : page->records) {
            const auto uuid = std::string_view(each.uuid).substr(0, std::max(partOfUUID, begun.size()));
            if (byName)
                candidates.add(outsideName(each), createdText(each));
            else
                candidates.add(uuid, outsideName(each));
        }
    };
    if (begun.empty())
        return add(false);
    query.filter.name = begun + "*";
    add(true);
    if (begun.size() >= shortest) {
        query.filter = {.identity = begun};
        add(false);
    }
}

/// The same of what was deleted last.
void addTrashed(const Candidates &candidates) {
    const auto store = openStore();
    const auto page =
        store != nullptr ? store->trash({.limit = maxAssets}) : Result<store::StoreReader::TrashedPage>();
    if (!page)
        return;
    const std::string &begun = candidates.begun();
    for (const auto &[asset, date] : page->records) {
        candidates.add(std::string_view(asset.uuid).substr(0, std::max(partOfUUID, begun.size())),
                       outsideName(asset));
        if (!begun.empty())
            candidates.add(outsideName(asset), createdText(asset));
    }
}

/// After the last comma.
void addFields(Candidates candidates) {
    candidates.follow(candidates.begun().substr(0, candidates.begun().rfind(',') + 1));
    for (const std::string &each : assetFieldNames())
        candidates.add(each);
}

void addConditions(Candidates candidates) {
    candidates.follow(candidates.begun().substr(0, candidates.begun().rfind(' ') + 1));
    for (const std::string &each : conditionNames())
        candidates.add(each + "=");
    candidates.add(allAssets);
}

/// The values that help has in braces.
void addChoices(const Candidates &candidates, const std::string &type) {
    const std::size_t begin = type.find('{'), end = type.find('}');
    if (begin == std::string::npos || end == std::string::npos)
        return;
    for (const std::string &each : CLI::detail::split(type.substr(begin + 1, end - begin - 1), ','))
        candidates.add(each);
}

/// By what help calls the value.
void addValues(const Candidates &candidates, const CLI::Option &option) {
    const std::string type = option.get_type_name();
    const std::string kind =
        option.get_positional() ? option.get_single_name() : type.substr(0, type.find_first_of(":{"));
    if (kind == "ALBUM")
        addAlbums(candidates);
    else if (type == "TRASHED")
        addTrashed(candidates);
    else if (kind == "ASSET" || kind == "ASSET...")
        addAssets(candidates);
    else if (kind == "FIELD,...")
        addFields(candidates);
    else if (kind == "QUERY")
        addConditions(candidates);
    else if (kind == "PATH" || kind == "FILE" || kind == "FOLDER" || kind == "PICTURE" || kind == "VIDEO" ||
             kind == "PROGRAM")
        print(files);
    else if (kind == "KIND")
        for (const char *each : {"photo", "video"})
            candidates.add(each);
    else
        addChoices(candidates, type);
}

void addOptions(const Candidates &candidates, const App *app) {
    for (; app != nullptr; app = app->get_parent())
        for (const CLI::Option *each : app->get_options())
            for (const std::string &name : each->get_lnames())
                candidates.add("--" + name, each->get_description());
}

void addPositional(const Candidates &candidates, const Place &place) {
    const auto positionals =
        place.command->get_options([](const CLI::Option *each) { return each->get_positional(); });
    std::size_t first = 0;
    for (const CLI::Option *each : positionals) {
        const auto most = static_cast<std::size_t>(each->get_items_expected_max());
        if (place.positionals < first + most)
            return addValues(candidates, *each);
        first += most;
    }
}

} // namespace

void printCompletions(const App &app, const std::vector<std::string> &words) {
    if (words.empty())
        return;
    const Place place = placeOf(app, words);
    Candidates candidates(words.back());
    if (place.option != nullptr)
        return addValues(candidates, *place.option);
    if (const std::size_t equals = words.back().find('=');
        words.back().starts_with("--") && equals != std::string::npos) {
        const CLI::Option *option = optionOf(place.command, words.back().substr(0, equals));
        candidates.follow(words.back().substr(0, equals + 1));
        if (option != nullptr)
            addValues(candidates, *option);
        return;
    }
    if (words.back().starts_with('-'))
        return addOptions(candidates, place.command);
    if (place.positionals == 0)
        for (const App *each : place.command->get_subcommands({}))
            if (!each->get_group().empty())
                candidates.add(each->get_name(), each->get_description());
    addPositional(candidates, place);
}

} // namespace wickerlane::cli
