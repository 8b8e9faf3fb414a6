#include "cli/Help.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "cli/ParserTexts.h"
#include "cli/Suggestion.h"
#include "cli/Texts.h"

namespace wickerlane::cli {
namespace {

constexpr std::size_t columnsOfHelp = 80;

/// Breaks a line at blanks.
std::string wrapped(std::string text, std::size_t width) {
    for (std::size_t begin = 0; text.size() - begin > width;) {
        const std::size_t blank = text.rfind(' ', begin + width);
        if (blank == std::string::npos || blank <= begin)
            break;
        text[blank] = '\n';
        begin = blank + 1;
    }
    return text;
}

/// Fills the lines of the paragraphs in which none is indented.
std::string filled(std::string text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find("\n\n"), text.size());
        std::string paragraph = text.substr(0, end);
        text.erase(0, end + 2);
        if (!paragraph.starts_with(' ') && paragraph.find("\n ") == std::string::npos) {
            std::ranges::replace(paragraph, '\n', ' ');
            paragraph = wrapped(std::move(paragraph), columnsOfHelp);
        }
        result.append(result.empty() ? "" : "\n\n").append(paragraph);
    }
    return result;
}

class HelpFormatter final : public CLI::Formatter {
public:
    std::string make_help(const CLI::App *app, std::string name, CLI::AppFormatMode mode) const override {
        std::string notes = app->get_footer(), examples;
        for (const char *heading : {"Example:\n", "Examples:\n"})
            if (const std::size_t begin = notes.find(heading); begin != std::string::npos) {
                examples = "\n" + notes.substr(begin) + "\n";
                notes.erase(begin);
            }
        notes.erase(notes.find_last_not_of('\n') + 1);
        std::string help = make_description(app) + make_usage(app, std::move(name)) + examples +
                           make_positionals(app) + make_groups(app, mode) + make_subcommands(app, mode);
        if (!notes.empty())
            help += "\n" + filled(notes) + "\n";
        if (app->get_parent() != nullptr)
            help += "\nOptions of all commands, such as --root: wickerlane --help\n";
        return help;
    }

    /// The name of the value, without what the parser adds to it.
    std::string make_option_opts(const CLI::Option *option) const override {
        const std::string type = option->get_type_name();
        std::string value = option->get_positional() || option->get_expected_max() == 0
                                ? ""
                                : " " + type.substr(0, type.find_first_of(":{"));
        if (option->get_expected_max() > 1)
            value += option->get_positional() ? "..." : " ...";
        return value;
    }

    std::string make_subcommand(const CLI::App *subcommand) const override {
        constexpr std::size_t nameColumns = 16; // "  adjust-date   "
        std::ostringstream line;
        CLI::detail::format_help(line, subcommand->get_name(),
                                 wrapped(subcommand->get_description(), columnsOfHelp - nameColumns),
                                 nameColumns);
        return std::move(line).str();
    }

    std::string make_option_desc(const CLI::Option *option) const override {
        return wrapped(option->get_description(), columnsOfHelp - get_column_width());
    }
};

std::vector<std::string> namesIn(const std::vector<const CLI::App *> &subcommands) {
    std::vector<std::string> names;
    for (const CLI::App *each : subcommands)
        if (!each->get_group().empty())
            names.push_back(each->get_name());
    return names;
}

/// Whether a word is meant for one; "-5" is not.
bool isOption(const std::string &word) {
    const auto isLetter = [](char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); };
    return word.starts_with("--") ? word.size() > 2 : word.size() > 1 && word[0] == '-' && isLetter(word[1]);
}

/// "wickerlane album".
std::string pathOf(const CLI::App &app) {
    return app.get_parent() == nullptr ? app.get_name() : pathOf(*app.get_parent()) + " " + app.get_name();
}

std::string withoutSubcommand(const CLI::App &app, const std::string &word) {
    const auto all = app.get_subcommands([](const CLI::App *) { return true; });
    return localized("there is no subcommand '{}'{} To list them: {} --help", word,
                     didYouMean(word, namesIn(all)), pathOf(app));
}

/// For "-j", the long name that begins with this letter, if there is one only.
std::string didYouMeanLong(const std::string &word, const std::vector<std::string> &names) {
    std::vector<std::string> same;
    std::ranges::copy_if(names, std::back_inserter(same),
                         [&](const std::string &each) { return each.starts_with("-" + word.substr(0, 2)); });
    return didYouMean(same.size() == 1 ? same.front() : std::string(), same);
}

/// With the options of the command itself and those that every command has.
std::string withoutOption(const CLI::App &app, const std::string &word) {
    std::vector<std::string> names;
    for (const CLI::App *each = &app; each != nullptr; each = each->get_parent())
        for (const CLI::Option *option : each->get_options())
            for (const std::string &name : option->get_lnames())
                names.push_back("--" + name);
    const std::string name = word.substr(0, word.find('='));
    return localized("there is no option {}{} See: {} --help", name,
                     name.starts_with("--") ? didYouMean(name, names) : didYouMeanLong(name, names),
                     pathOf(app));
}

} // namespace

std::shared_ptr<CLI::FormatterBase> helpFormatter() {
    return std::make_shared<HelpFormatter>();
}

Result<std::string> helpOf(CLI::App &app, const std::vector<std::string> &words) {
    const CLI::App *named = &app;
    std::string path;
    for (const std::string &word : words) {
        const auto next =
            named->get_subcommands([&](const CLI::App *each) { return each->get_name() == word; });
        if (next.empty())
            return fail(ProblemKind::invalid, withoutSubcommand(*named, word));
        path += (path.empty() ? "" : " ") + named->get_name();
        named = next.front();
    }
    return named->help(path);
}

Problem problemOf(CLI::App &app, const CLI::Error &error) {
    const CLI::App *named = &app;
    while (!named->get_subcommands().empty())
        named = named->get_subcommands().front();
    // The parser reports at first that something is missing, which is no help to who has misspelt it.
    for (const std::string &word : app.remaining(true)) {
        if (isOption(word))
            return {ProblemKind::invalid, withoutOption(*named, word), {}};
        if (named->get_require_subcommand_min() > 0)
            return {ProblemKind::invalid, withoutSubcommand(*named, word), {}};
    }
    const std::string text = textOfParser(error, app.remaining(true));
    return {ProblemKind::invalid, localized("{}. See: {} --help", text, pathOf(*named)), {}};
}

} // namespace wickerlane::cli
