#include "wickerlane/platform/logging/LKLogging.h"

using wickerlane::ConstantString;
using wickerlane::Immortal;

namespace {

WL_IMMORTAL Immortal<ConstantString> logName("LKLoggingCustomLogName");
WL_IMMORTAL Immortal<ConstantString> logDirectory("LKLoggingCustomLogDirectory");
WL_IMMORTAL Immortal<ConstantString> maxLogFileSize("LKLoggingCustomMaxLogFileSize");
WL_IMMORTAL Immortal<ConstantString> maxLogFileCount("LKLoggingCustomMaxLogFileCount");
WL_IMMORTAL Immortal<ConstantString> wantsCompressedFiles("LKLoggingCustomWantsCompressedFiles");
WL_IMMORTAL Immortal<ConstantString> consoleUsesRealLevels("LKLoggingCustomConsoleUsesRealLevels");
WL_IMMORTAL Immortal<ConstantString> maxConsoleLevel("LKLoggingCustomMaxConsoleLevel");
WL_IMMORTAL Immortal<ConstantString> maxLogFileLevel("LKLoggingCustomMaxLogFileLevel");
WL_IMMORTAL Immortal<ConstantString> fileFormat("LKLoggingCustomCreateFileLogFormat");
WL_IMMORTAL Immortal<ConstantString> consoleFormat("LKLoggingCustomCreateConsoleLogFormat");
WL_IMMORTAL Immortal<ConstantString> consoleLevelDefaultsKey("LKLoggingCustomConsoleLevelDefaultsKey");
WL_IMMORTAL Immortal<ConstantString> logFileLevelDefaultsKey("LKLoggingCustomLogFileLevelDefaultsKey");

} // namespace

constinit wickerlane::String *const kLKLoggingCustomLogNameKey = logName.get();
constinit wickerlane::String *const kLKLoggingCustomLogDirectoryKey = logDirectory.get();
constinit wickerlane::String *const kLKLoggingCustomMaxLogFileSizeKey = maxLogFileSize.get();
constinit wickerlane::String *const kLKLoggingCustomMaxLogFileCountKey = maxLogFileCount.get();
constinit wickerlane::String *const kLKLoggingCustomWantsCompressedFilesKey = wantsCompressedFiles.get();
constinit wickerlane::String *const kLKLoggingCustomConsoleUsesRealLevelsKey = consoleUsesRealLevels.get();
constinit wickerlane::String *const kLKLoggingCustomMaxConsoleLevelKey = maxConsoleLevel.get();
constinit wickerlane::String *const kLKLoggingCustomMaxLogFileLevelKey = maxLogFileLevel.get();
constinit wickerlane::String *const kLKLoggingCustomCreateFileLogFormatBlock = fileFormat.get();
constinit wickerlane::String *const kLKLoggingCustomCreateConsoleLogFormatBlock = consoleFormat.get();
constinit wickerlane::String *const kLKLoggingCustomConsoleLevelDefaultsKeyKey =
    consoleLevelDefaultsKey.get();
constinit wickerlane::String *const kLKLoggingCustomLogFileLevelDefaultsKeyKey =
    logFileLevelDefaultsKey.get();

constinit const char *const LKLoggingDefaultsChangedNotification =
    "org.wickerlane.logging.loggingDefaultsChanged";
