// How the subcommands of `wickerlane` are added, and how they end. One file holds one subcommand.
#ifndef CLI_COMMAND_H
#define CLI_COMMAND_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

// The parser is all in headers, which take longer to read than a subcommand: only Command.cpp and Main.cpp
// do.
namespace CLI {
class App;
class Option;
} // namespace CLI

namespace wickerlane::cli {

/// How the command ends, for scripts.
enum class ExitCode : int {
    success = 0,
    failure = 1,     ///< Some or all of the work could not be done.
    usage = 2,       ///< The command line makes no sense.
    unreachable = 3, ///< The daemon is not running and could not be started, or stopped answering.
    notFound = 4,    ///< There is no such asset, text or process, or no library yet.
};

/// The work of the subcommand that was named, run on the global queue while the main queue is served.
using Action = std::function<ExitCode()>;

/// Something that may stand on the command line. Lives as long as the parser, which it borrows, and copies
/// are the same option.
class Option {
public:
    explicit Option(CLI::Option *borrowed) : option(borrowed) {}

    Option required() const;
    /// What help calls its value: "FOLDER".
    Option typeName(const std::string &name) const;
    /// Help shows the value that stands there beforehand.
    Option showDefault() const;
    Option excludes(Option other) const;
    Option oneOf(std::vector<std::string> values) const;
    Option notEmpty() const;
    Option notNegative() const;
    Option positive() const;
    Option between(unsigned least, unsigned most) const;
    /// Says what is wrong with a value; nothing when it is right.
    Option check(std::function<std::string(const std::string &value)> problem) const;
    /// How many values it takes.
    Option expected(int least, int most) const;
    /// The value may have a unit: "50MB", where a kilobyte is 1000 bytes, or "2MiB".
    Option asSize() const;
    /// Whether the command line had it; known when the callback of its subcommand runs.
    bool isGiven() const;

private:
    CLI::Option *option;
};

/// A subcommand, or the command itself; as Option is. What its options are stored in outlives the parsing.
class Command {
public:
    explicit Command(CLI::App *borrowed) : app(borrowed) {}

    Command addSubcommand(const std::string &name, const std::string &help) const;
    /// One of its subcommands must be named.
    void requireSubcommand() const;
    /// What stands below the help.
    void footer(const std::string &text) const;
    Option addFlag(const std::string &name, bool &value, const std::string &help) const;
    /// `Value` is a text, a list of texts or a number; see the end of Command.cpp.
    template <class Value>
    Option addOption(const std::string &name, Value &value, const std::string &help) const;
    /// Called when the command line names this subcommand.
    void callback(std::function<void()> called) const;

private:
    CLI::App *app;
};

/// For callbacks: ends the parsing because something is missing.
[[noreturn]] void failMissing(const std::string &what);

// Each adds one subcommand, which stores its work in `chosen` when the command line names it. `chosen`
// outlives the parsing.

void addImport(Command app, Action &chosen);
void addCount(Command app, Action &chosen);
void addWatch(Command app, Action &chosen);
void addList(Command app, Action &chosen);
void addShow(Command app, Action &chosen);
void addResolve(Command app, Action &chosen);
void addExport(Command app, Action &chosen);
void addThumbnail(Command app, Action &chosen);
void addVideoInfo(Command app, Action &chosen);
void addEstimate(Command app, Action &chosen);
void addPreview(Command app, Action &chosen);
void addAlbum(Command app, Action &chosen);
void addDelete(Command app, Action &chosen);
void addChanges(Command app, Action &chosen);
void addSizes(Command app, Action &chosen);
void addBulletins(Command app, Action &chosen);
void addStream(Command app, Action &chosen);
void addPurge(Command app, Action &chosen);
void addPerson(Command app, Action &chosen);
void addRestore(Command app, Action &chosen);
void addCheck(Command app, Action &chosen);
void addConsent(Command app, Action &chosen);
void addEntitlement(Command app, Action &chosen);
void addText(Command app, Action &chosen);
void addDescribe(Command app, Action &chosen);
void addMoments(Command app, Action &chosen);
void addDuplicates(Command app, Action &chosen);
void addFeed(Command app, Action &chosen);
void addRebuildThumbnails(Command app, Action &chosen);
void addDaemon(Command app, Action &chosen);
void addUUID(Command app, Action &chosen);
void addProcess(Command app, Action &chosen);
void addDevice(Command app, Action &chosen);

} // namespace wickerlane::cli

#endif
