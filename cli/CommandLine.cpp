#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>

#include <cstdint>
#include <optional>

#include "cli/Texts.h"

namespace wickerlane::cli {
namespace {

/// A check or a transformation of the parser's, with a text of our own, `say`, for a value that it refuses.
template <class Say>
CLI::Validator saying(const CLI::Validator &check, const Say &say) {
    const auto checked = [check, say](std::string &value) {
        const std::string given = value; // it may be changed on the way
        try {
            if (check(value).empty())
                return std::string();
        } catch (const CLI::ValidationError &) {
        }
        return say(given);
    };
    return {checked, check.get_description()};
}

} // namespace

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
    const std::string all = fmt::to_string(fmt::join(values, ", "));
    return Option(option->check(saying(CLI::IsMember(std::move(values)), [all](const std::string &value) {
        return localized("'{}' is none of: {}", value, all);
    })));
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
    return Option(option->check(saying(CLI::PositiveNumber, [](const std::string &value) {
        return localized("'{}' is no positive number", value);
    })));
}

Option Option::between(double min, double max) const {
    return Option(option->check(saying(CLI::Range(min, max), [min, max](const std::string &value) {
        return localized("'{}' is no number from {} to {}", value, min, max);
    })));
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
    option->transform(saying(CLI::AsSizeValue(true), [](const std::string &value) {
        return localized("'{}' is no size such as 50MB or 2MiB", value);
    }));
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
