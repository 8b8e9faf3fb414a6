// wickerlane set
#include <optional>

#include "cli/DaemonRequests.h"
#include "cli/Selection.h"
#include "cli/Subcommands.h"
#include "cli/Texts.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/DetailKeys.h"

namespace wickerlane::cli {
namespace {

namespace detail = protocol::detail;

struct Options {
    Selection selection;
    bool favourite = false, notFavourite = false;
    bool hidden = false, notHidden = false;
    std::optional<std::uint64_t> rating;
    std::vector<std::string> caption; ///< The last one counts.
    std::vector<std::string> keywords;
    std::vector<std::string> removedKeywords;
};

Ref<Dictionary> detailsOf(const Options &options) {
    auto details = MutableDictionary::create();
    if (options.favourite || options.notFavourite)
        details->set(detail::favourite, Number::of(options.favourite));
    if (options.hidden || options.notHidden)
        details->set(detail::hidden, Number::of(options.hidden));
    if (options.rating)
        details->set(detail::rating, Number::of(*options.rating));
    if (!options.caption.empty())
        details->set(detail::caption, String::of(options.caption.back()));
    if (!options.keywords.empty())
        details->set(detail::addKeywords, textsOf(options.keywords).get());
    if (!options.removedKeywords.empty())
        details->set(detail::removeKeywords, textsOf(options.removedKeywords).get());
    return details;
}

Result<ExitCode> setDetails(const Options &options) {
    const Ref<Dictionary> details = detailsOf(options);
    if (details->count() == 0)
        return fail(ProblemKind::invalid, localized("say what is to be set, such as --rating 5"));
    std::function<std::string(std::size_t)> question;
    if (!options.caption.empty()) // what is there now is lost
        question = [](std::size_t count) {
            return localizedCount(count, "This replaces the caption of {} asset.",
                                  "This replaces the captions of {} assets.");
        };
    return changeSelected(
        options.selection,
        {.doing = localized("changing"),
         .wouldBeDone =
             [](std::size_t count) {
                 return localizedCount(count, "{} asset would be changed", "{} assets would be changed");
             },
         .done =
             [](std::size_t count) { return localizedCount(count, "{} asset changed", "{} assets changed"); },
         .question = question},
        protocol::setDetails,
        [&](client::Request &request) { request.set(protocol::keys::properties, details.get()); });
}

} // namespace

void setUpSet(Command command) {
    command.footer("What is not given stays as it is. The originals keep what is written in them. It asks\n"
                   "before it replaces the captions of what --where or standard input says.\n\n"
                   "Examples:\n"
                   "  wickerlane set --rating 5 --keyword Sea 7F3D0A52\n"
                   "  wickerlane set --favourite --where 'album=Dunes rating=5'");
    Options &options = command.runs(setDetails);
    addSelection(command, options.selection);
    addDryRun(command, options.selection);
    addYes(command, options.selection.yes);
    const auto favourite = command.addFlag("--favourite", options.favourite, "Mark as favourites");
    command.addFlag("--no-favourite", options.notFavourite, "Take that mark away").excludes(favourite);
    const auto hidden = command.addFlag("--hidden", options.hidden, "Mark as hidden");
    command.addFlag("--no-hidden", options.notHidden, "Take that mark away").excludes(hidden);
    command.addOption("--rating", options.rating, "Stars, 1 to 5, or 0 for none")
        .typeName("STARS")
        .between(0, 5);
    command.addOption("--caption", options.caption, "Replace the caption; an empty one deletes it")
        .typeName("TEXT")
        .repeatable();
    command.addOption("--keyword", options.keywords, "Add a keyword; may be given several times")
        .typeName("WORD")
        .repeatable();
    command.addOption("--remove-keyword", options.removedKeywords, "Remove a keyword; the same")
        .typeName("WORD")
        .repeatable();
}

} // namespace wickerlane::cli
