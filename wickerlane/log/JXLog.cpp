#include "wickerlane/log/JXLog.h"

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <string>
#include <vector>

#include "wickerlane/log/JXLogConfiguration.h"
#include "wickerlane/log/JXLogLine.h"
#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/logging/LKLogging.h"
#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/object/UTF8Internal.h"
#include "wickerlane/platform/queue/Once.h"

using namespace wickerlane;

constinit const char *const JXLoggingChangedNotification = "org.wickerlane.photos.loggingChanged";

namespace {

WL_IMMORTAL Immortal<ConstantString> facilityNames[JXLogDomainCount] = {
    Immortal<ConstantString>("JXGenericLog"),       Immortal<ConstantString>("JXSyncLog"),
    Immortal<ConstantString>("JXGatekeeperMsgLog"), Immortal<ConstantString>("JXMigrationLog"),
    Immortal<ConstantString>("JXThumbnailsLog"),    Immortal<ConstantString>("JXChangeHubLog"),
    Immortal<ConstantString>("JXAssetImportLog"),   Immortal<ConstantString>("JXTransitionsLog"),
    Immortal<ConstantString>("JXPhotoSharingLog"),  Immortal<ConstantString>("JXMomentsLog"),
    Immortal<ConstantString>("JXPhotosStateLog"),   Immortal<ConstantString>("JXCloudFeedLog"),
    Immortal<ConstantString>("JXCameraLog"),        Immortal<ConstantString>("JXDupesLog"),
    Immortal<ConstantString>("JXMySnapriverLog"),   Immortal<ConstantString>("JXCardbridge"),
};

String *facilityName(JXLogDomain domain) {
    return facilityNames[domain].get();
}

// Looked up at start-up, since callers need them before every message.
constinit const LKFacilityLevels *facilityLevels[JXLogDomainCount] = {};

// Such as "Camera-211". A process may have any name: it is escaped to be part of a line, and shortened to be
// part of a file name.
std::string makeProcessLabel() {
    // A file's name is bytes; the label is a text, and a text that was not one would name no log file.
    constexpr std::size_t maxNameLength = 200;
    std::string given;
    utf8::appendRepaired(given, program_invocation_short_name);
    const std::string_view cut = std::string_view(given).substr(0, maxNameLength);
    const std::string name = escapingControls(cut.substr(0, utf8::lengthOfWhole(cut)));
    return (name.empty() ? "process" : name) + "-" + std::to_string(getpid());
}

Ref<Dictionary> makeConfiguration(const JXLogConfiguration &row, std::string_view processLabel,
                                  LKLogFormatBlock *fileFormat, LKLogFormatBlock *consoleFormat) {
    const int consoleLevel = LKIsInternalDevice() ? row.maxConsoleLevel : JXLogLevelError;
    const int fileLevel = LKIsInternalDevice() ? row.maxFileLevel : -1;
    return Dictionary::create({
        {kLKLoggingCustomLogNameKey, String::of(row.logName != nullptr ? row.logName : processLabel)},
        {kLKLoggingCustomLogDirectoryKey, String::of(std::string("/var/mobile/") + row.directory)},
        {kLKLoggingCustomMaxLogFileSizeKey, Number::of(10 * 1024 * 1024)},
        {kLKLoggingCustomMaxLogFileCountKey, Number::of(5)},
        {kLKLoggingCustomWantsCompressedFilesKey, Number::of(true)},
        {kLKLoggingCustomConsoleUsesRealLevelsKey, Number::of(false)},
        {kLKLoggingCustomMaxConsoleLevelKey, Number::of(consoleLevel)},
        {kLKLoggingCustomMaxLogFileLevelKey, Number::of(fileLevel)},
        {kLKLoggingCustomCreateFileLogFormatBlock, fileFormat},
        {kLKLoggingCustomCreateConsoleLogFormatBlock, consoleFormat},
        {kLKLoggingCustomConsoleLevelDefaultsKeyKey, String::of(row.consoleLevelKey)},
        {kLKLoggingCustomLogFileLevelDefaultsKeyKey, String::of(row.fileLevelKey)},
    });
}

void start() {
    const ReleaseScope scope;
    const std::string processLabel = makeProcessLabel();
    LKLoggingSetUsesOwnOmlClient(true);
    const auto fileFormat = LKLogFormatBlock::create([processLabel](const LKLogEntry &entry) {
        return JXLogLine(JXLogDestinationFile, processLabel, entry);
    });
    const auto consoleFormat = LKLogFormatBlock::create(
        [](const LKLogEntry &entry) { return JXLogLine(JXLogDestinationConsole, {}, entry); });
    for (const JXLogConfiguration &row : JXLogConfigurations) {
        std::vector<Object *> names;
        for (const int *domain = row.domains; *domain != JXLogDomainCount; ++domain)
            names.push_back(facilityName(static_cast<JXLogDomain>(*domain)));
        LKLoggingAddCustomLogConfiguration(
            Array::create(names).get(),
            makeConfiguration(row, processLabel, fileFormat.get(), consoleFormat.get()).get());
    }
    for (JXLogDomain domain = 0; domain < JXLogDomainCount; ++domain)
        facilityLevels[domain] = LKLoggingFacilityLevels(facilityName(domain));
    // Never cancelled.
    static_cast<void>(
        registerNotification(JXLoggingChangedNotification, WorkQueue::main(), [](NotificationToken) {
            postNotification(LKLoggingDefaultsChangedNotification);
        }));
}

void startOnce() {
    static constinit Once once;
    once.run([] { start(); });
}

} // namespace

bool JXLogShouldLog(JXLogLevel level, JXLogDomain domain) {
    startOnce();
    if (__LKLoggingMaxAcceptedLevel.load(std::memory_order_relaxed) < level)
        return false;
    const LKFacilityLevels *levels = domain < JXLogDomainCount ? facilityLevels[domain] : nullptr;
    return levels != nullptr && (levels->maxConsoleLevel.load(std::memory_order_relaxed) >= level ||
                                 levels->maxFileLevel.load(std::memory_order_relaxed) >= level);
}

void JXLog(JXLogLevel level, const char *file, const char *function, long line, JXLogDomain domain,
           const char *format, ...) {
    if (domain >= JXLogDomainCount)
        return;
    startOnce();
    va_list arguments;
    va_start(arguments, format);
    LKLogV(level, facilityName(domain), file, function, line, 0, format, arguments);
    va_end(arguments);
}
