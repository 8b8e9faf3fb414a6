#include "wickerlane/platform/logging/LKLogging.h"

using wickerlane::ConstantString;
using wickerlane::Immortal;

namespace {

constinit Immortal<ConstantString> logName("LKLoggingCustomLogName");
constinit Immortal<ConstantString> logDirectory("LKLoggingCustomLogDirectory");
constinit Immortal<ConstantString> maxLogFileSize("LKLoggingCustomMaxLogFileSize");
constinit Immortal<ConstantString> maxLogFileCount("LKLoggingCustomMaxLogFileCount");
constinit Immortal<ConstantString> wantsCompressedFiles("LKLoggingCustomWantsCompressedFiles");
constinit Immortal<ConstantString> consoleUsesRealLevels("LKLoggingCustomConsoleUsesRealLevels");
constinit Immortal<ConstantString> maxConsoleLevel("LKLoggingCustomMaxConsoleLevel");
constinit Immortal<ConstantString> maxLogFileLevel("LKLoggingCustomMaxLogFileLevel");
constinit Immortal<ConstantString> fileFormat("LKLoggingCustomCreateFileLogFormat");
constinit Immortal<ConstantString> consoleFormat("LKLoggingCustomCreateConsoleLogFormat");
constinit Immortal<ConstantString> consoleLevelDefaultsKey("LKLoggingCustomConsoleLevelDefaultsKey");
constinit Immortal<ConstantString> logFileLevelDefaultsKey("LKLoggingCustomLogFileLevelDefaultsKey");

} // namespace

constinit wickerlane::String *const kLKLoggingCustomLogNameKey = &logName.value;
constinit wickerlane::String *const kLKLoggingCustomLogDirectoryKey = &logDirectory.value;
constinit wickerlane::String *const kLKLoggingCustomMaxLogFileSizeKey = &maxLogFileSize.value;
constinit wickerlane::String *const kLKLoggingCustomMaxLogFileCountKey = &maxLogFileCount.value;
constinit wickerlane::String *const kLKLoggingCustomWantsCompressedFilesKey = &wantsCompressedFiles.value;
constinit wickerlane::String *const kLKLoggingCustomConsoleUsesRealLevelsKey = &consoleUsesRealLevels.value;
constinit wickerlane::String *const kLKLoggingCustomMaxConsoleLevelKey = &maxConsoleLevel.value;
constinit wickerlane::String *const kLKLoggingCustomMaxLogFileLevelKey = &maxLogFileLevel.value;
constinit wickerlane::String *const kLKLoggingCustomCreateFileLogFormatBlock = &fileFormat.value;
constinit wickerlane::String *const kLKLoggingCustomCreateConsoleLogFormatBlock = &consoleFormat.value;
constinit wickerlane::String *const kLKLoggingCustomConsoleLevelDefaultsKeyKey =
    &consoleLevelDefaultsKey.value;
constinit wickerlane::String *const kLKLoggingCustomLogFileLevelDefaultsKeyKey =
    &logFileLevelDefaultsKey.value;

constinit const char *const LKLoggingDefaultsChangedNotification =
    "org.wickerlane.logging.loggingDefaultsChanged";
