// Logging support: facilities with levels of their own, rotating log files, console and system log.
//
// A facility is known by its name and served by one configuration, a dictionary of the twelve entries below.
// A line goes to the console, to the configuration's log file, to both or to neither, as the facility's two
// maximum levels say. Levels have the numbering of syslog: smaller is more severe, 7 is the least severe.
#ifndef WICKERLANE_PLATFORM_LOGGING_LKLOGGING_H
#define WICKERLANE_PLATFORM_LOGGING_LKLOGGING_H

#include <atomic>
#include <cstdarg>
#include <ctime>
#include <string>
#include <string_view>

#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Dictionary.h"
#include "wickerlane/platform/object/Handler.h"
#include "wickerlane/platform/object/String.h"

// Entries of a configuration. Those that are absent or of another type count as said here.

/// String: name of the log file, without its ".log". Without one (or with one that holds "/") there is no
/// file.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomLogNameKey;
/// String: the folder of the log file, as a path of the system. Without one there is no file.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomLogDirectoryKey;
/// Number: bytes after which a file is rotated; no limit when not above 0.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomMaxLogFileSizeKey;
/// Number: files kept, the one being written included; 1 when smaller.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomMaxLogFileCountKey;
/// Number: true when rotated files are compressed by gzip; false.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomWantsCompressedFilesKey;
/// Number: true when the system log gets each line's own level; false, and every line goes there as a notice,
/// so that no setting of the system log drops what the console level let pass.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomConsoleUsesRealLevelsKey;
/// Number: maximum level for the console; -1, which turns it off.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomMaxConsoleLevelKey;
/// Number: maximum level for the log file; -1, which turns it off.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomMaxLogFileLevelKey;
/// LKLogFormatBlock: makes the line for the file; without one the message is the line.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomCreateFileLogFormatBlock;
/// LKLogFormatBlock: makes the line for the console; without one the message is the line.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomCreateConsoleLogFormatBlock;
/// String: the preference that overrides the console level.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomConsoleLevelDefaultsKeyKey;
/// String: the preference that overrides the file level.
WL_EXPORT extern wickerlane::String *const kLKLoggingCustomLogFileLevelDefaultsKeyKey;

/// "org.wickerlane.logging.loggingDefaultsChanged": when it is posted, every process reads the preferences
/// that override levels again.
WL_EXPORT extern const char *const LKLoggingDefaultsChangedNotification;

/// What a line is made of. Valid only during the call that gets it.
struct LKLogEntry {
    int level;
    timespec timestamp; ///< When the line was logged, since 1970.
    wickerlane::String *facilityName;
    const char *file;         ///< Source file; may be null.
    const char *function;     ///< May be null.
    long line;                ///< In the source file.
    std::string_view message; ///< Without control characters but tabs: those were escaped.
};

/// A callback that makes a line, without its line break, out of an entry. It runs on the thread that logs.
class WL_EXPORT LKLogFormatBlock : public wickerlane::Object {
    WL_OBJECT
public:
    using Format = wickerlane::Handler<std::string(const LKLogEntry &entry)>;
    [[nodiscard]] static wickerlane::Ref<LKLogFormatBlock> create(Format format);
    [[nodiscard]] std::string operator()(const LKLogEntry &entry) const { return format(entry); }

private:
    explicit LKLogFormatBlock(Format used) noexcept : format(std::move(used)) {}
    Format format;
};

/// True: console lines reach the system log through a client of the logging support's own, which never waits
/// for a system log that does not read, and which openlog() of the application does not touch. False, as at
/// first: through syslog(3). Thread-safe.
WL_EXPORT void LKLoggingSetUsesOwnOmlClient(bool usesOwnClient);

/// Serves facilities, an array of strings, by a configuration from now on, for the life of the process. A
/// facility that had one gets the new one. Overriding levels come from the preferences of the process's
/// application domain and from the global ones behind it. Two configurations, and several processes, may
/// share one log file. False when the array holds something else than strings or there are too many
/// facilities (96 in a process). Thread-safe.
WL_EXPORT bool LKLoggingAddCustomLogConfiguration(wickerlane::Array *facilityNames,
                                                  wickerlane::Dictionary *configuration);

/// The maximum levels of a facility, after preferences; -1 for an unknown one and for null. Without a lock,
/// and fastest for the very string objects that were registered. Thread-safe.
[[nodiscard]] WL_EXPORT int _LKLoggingCustomMaxConsoleLevel(const wickerlane::String *facilityName);
[[nodiscard]] WL_EXPORT int _LKLoggingCustomMaxLogFileLevel(const wickerlane::String *facilityName);

/// The highest level that is accepted from anybody: 7 unless someone sets it.
WL_EXPORT extern std::atomic<int> __LKLoggingMaxAcceptedLevel;

/// A facility's two maximum levels as they are at any time, for callers that ask often. Lives for ever.
struct LKFacilityLevels {
    std::atomic<int> maxConsoleLevel{-1};
    std::atomic<int> maxFileLevel{-1};
};

/// Null for an unknown facility and for null.
[[nodiscard]] WL_EXPORT const LKFacilityLevels *
LKLoggingFacilityLevels(const wickerlane::String *facilityName);

/// Logs a line where the facility's levels admit it; the format is that of formatUTF8(). Before it returns,
/// the line is with the kernel: it outlives the process. Output errors are not reported to the caller; the
/// first one of a file is told on the console. Keeps errno. `flags` is 0. Thread-safe.
WL_EXPORT void LKLogV(int level, const wickerlane::String *facilityName, const char *file,
                      const char *function, long line, int flags, const char *format, va_list arguments);

/// True on the makers' own devices.
[[nodiscard]] WL_EXPORT bool LKIsInternalDevice();

#endif
