#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>

#include "cli/Texts.h"

namespace wickerlane::cli {

Option Option::required() const {
    return Option(option->required());
}

Option Option::typeName(const std::string &name) const {
    return Option(option->type_name(name));
}

Option Option::showDefault() const {
    return Option(option->capture_default_str());
}

Option Option::excludes(Option other) const {
    option->excludes(other.option);
    return *this;
}

Option Option::oneOf(std::vector<std::string> values) const {
    return Option(option->check(CLI::IsMember(std::move(values))));
}

Option Option::notEmpty() const {
    return check([](const std::string &value) {
        return value.empty() ? localized("the text is empty") : std::string();
    });
}

Option Option::notNegative() const {
    return check([](const std::string &value) {
        return value.starts_with('-') ? localized("it can't be negative") : std::string();
    });
}

Option Option::positive() const {
    return Option(option->check(CLI::PositiveNumber));
}

Option Option::between(unsigned min, unsigned max) const {
    return Option(option->check(CLI::Range(min, max)));
}

Option Option::check(std::function<std::string(const std::string &value)> problem) const {
    return Option(option->check(std::move(problem)));
}

Option Option::valueCount(int min, int max) const {
    return Option(option->expected(min, max));
}

Option Option::repeatable() const {
    return Option(option->allow_extra_args(false));
}

Option Option::asSize() const {
    option->transform(CLI::AsSizeValue(true));
    // The parser would read a negative number as a large one.
    return Option(option->transform([](const std::string &value) {
        if (value.starts_with('-'))
            throw CLI::ValidationError(localized("a size can't be negative"));
        return value;
    }));
}

void Command::footer(const std::string &text) const {
    app->footer(text);
}

Command Command::addSubcommand(const std::string &name, const std::string &help) const {
    return {app->add_subcommand(name, help)->footer(""), *chosenAction};
}

void Command::requireSubcommand() const {
    app->require_subcommand(1);
}

Option Command::addFlag(const std::string &name, bool &value, const std::string &help) const {
    return Option(app->add_flag(name, value, help));
}

Option Command::addAnswer(const std::string &name, std::string &value, const std::string &help) const {
    return Option(app->add_flag(name, value, help));
}

template <class Value>
Option Command::addOption(const std::string &name, Value &value, const std::string &help) const {
    return Option(app->add_option(name, value, help));
}

void Command::runs(Action action) const {
    app->callback([parsed = app, chosen = chosenAction, action = std::move(action)] {
        // The parser calls the subcommand named first, then the one that it belongs to.
        if (parsed->get_subcommands().empty())
            *chosen = action;
    });
}

template Option Command::addOption(const std::string &, std::string &, const std::string &) const;
template Option Command::addOption(const std::string &, std::vector<std::string> &,
                                   const std::string &) const;
template Option Command::addOption(const std::string &, std::int64_t &, const std::string &) const;
template Option Command::addOption(const std::string &, std::uint64_t &, const std::string &) const;
template Option Command::addOption(const std::string &, std::optional<std::uint64_t> &,
                                   const std::string &) const;
template Option Command::addOption(const std::string &, unsigned &, const std::string &) const;
template Option Command::addOption(const std::string &, double &, const std::string &) const;

} // namespace wickerlane::cli
