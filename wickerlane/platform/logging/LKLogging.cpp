#include "wickerlane/platform/logging/LKLogging.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <utility>
#include <vector>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/device/Device.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/logging/LogFile.h"
#include "wickerlane/platform/logging/SystemLog.h"
#include "wickerlane/platform/notification/Notification.h"
#include "wickerlane/platform/object/Format.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/platform/object/NeverDestroyed.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/preferences/Preferences.h"
#include "wickerlane/platform/queue/Once.h"

using namespace wickerlane;

constinit std::atomic<int> __LKLoggingMaxAcceptedLevel{LOG_DEBUG};

constinit const Class LKLogFormatBlock::classInfo{"LKLogFormatBlock", &Object::classInfo, nullptr};

Ref<LKLogFormatBlock> LKLogFormatBlock::create(Format format) {
    return Ref<LKLogFormatBlock>::adopt(new LKLogFormatBlock(std::move(format)));
}

namespace {

// What a configuration's dictionary says. Never changed, and never freed: a line may still be written by one
// that has been replaced.
struct Configuration {
    const Configuration *older = nullptr; // the one made before it
    LogFile *file = nullptr;              // null when it has none
    LogFileLimits limits{};
    bool usesRealLevels = false;
    int maxConsoleLevel = -1; // without preferences
    int maxFileLevel = -1;
    Ref<String> consoleLevelKey; // null when nothing overrides the level
    Ref<String> fileLevelKey;
    Ref<LKLogFormatBlock> fileFormat;
    Ref<LKLogFormatBlock> consoleFormat;
};

// Never freed.
struct Facility {
    Ref<String> name;
    std::atomic<const Configuration *> configuration{nullptr};
    LKFacilityLevels levels;
};

// Facilities by the addresses of their names. Readers take no lock: places are only ever filled, under the
// mutex of registration.
constexpr std::size_t places = 128;
constexpr std::size_t maxFacilities = 96;
constinit std::array<std::atomic<Facility *>, places> facilities{};
constinit Mutex registration;
constinit std::size_t facilityCount WL_GUARDED_BY(registration) = 0;
// The head of all that were made.
constinit const Configuration *newestConfiguration WL_GUARDED_BY(registration) = nullptr;
constinit std::atomic<bool> usesOwnClient{false};

std::size_t firstPlaceOf(const String *name) {
    return (reinterpret_cast<std::uintptr_t>(name) >> 4) * 0x9e3779b97f4a7c15u >> 57;
}

Facility *facilityNamed(const String *name) {
    if (name == nullptr)
        return nullptr;
    for (std::size_t place = firstPlaceOf(name);; ++place) {
        Facility *found = facilities[place % places].load(std::memory_order_acquire);
        if (found == nullptr)
            break;
        if (found->name.get() == name)
            return found;
    }
    for (const auto &place : facilities)
        if (Facility *found = place.load(std::memory_order_acquire);
            found != nullptr && found->name->isEqualToString(name))
            return found;
    return nullptr;
}

int integerEntry(const Dictionary &configuration, const String *key, int otherwise) {
    const auto *number = as<Number>(configuration.get(key));
    return number == nullptr
               ? otherwise
               : static_cast<int>(std::clamp<std::int64_t>(number->int64Value(), INT_MIN, INT_MAX));
}

bool isFileName(std::string_view name) {
    return !name.empty() && name.find('/') == name.npos && name.find('\0') == name.npos;
}

const Configuration *readConfiguration(const Dictionary &given) WL_REQUIRES(registration) {
    auto &made = *new Configuration;
    made.older = std::exchange(newestConfiguration, &made);
    const auto *name = as<String>(given.get(kLKLoggingCustomLogNameKey));
    const auto *folder = as<String>(given.get(kLKLoggingCustomLogDirectoryKey));
    if (name != nullptr && folder != nullptr && isFileName(name->utf8()))
        made.file = &LogFile::of(pathUnderRoot(folder->utf8()), std::string(name->utf8()));
    const int bytes = integerEntry(given, kLKLoggingCustomMaxLogFileSizeKey, 0);
    made.limits.bytes = bytes > 0 ? static_cast<std::uint64_t>(bytes) : INT64_MAX;
    made.limits.finishedFiles = static_cast<unsigned>(std::clamp(
                                    integerEntry(given, kLKLoggingCustomMaxLogFileCountKey, 1), 1, 1000)) -
                                1;
    made.limits.compresses = integerEntry(given, kLKLoggingCustomWantsCompressedFilesKey, 0) != 0;
    made.usesRealLevels = integerEntry(given, kLKLoggingCustomConsoleUsesRealLevelsKey, 0) != 0;
    made.maxConsoleLevel = integerEntry(given, kLKLoggingCustomMaxConsoleLevelKey, -1);
    made.maxFileLevel = integerEntry(given, kLKLoggingCustomMaxLogFileLevelKey, -1);
    made.consoleLevelKey = as<String>(given.get(kLKLoggingCustomConsoleLevelDefaultsKeyKey));
    made.fileLevelKey = as<String>(given.get(kLKLoggingCustomLogFileLevelDefaultsKeyKey));
    made.fileFormat = as<LKLogFormatBlock>(given.get(kLKLoggingCustomCreateFileLogFormatBlock));
    made.consoleFormat = as<LKLogFormatBlock>(given.get(kLKLoggingCustomCreateConsoleLogFormatBlock));
    return &made;
}

int overriddenLevel(const String *key, int level, const std::string &domain) {
    if (key == nullptr)
        return level;
    return static_cast<int>(
        std::clamp<std::int64_t>(preferenceInteger(key->utf8(), domain, level), -1, INT_MAX));
}

// Under the mutex, so that the preferences read last are the ones that stay.
void readLevels(Facility &facility, const std::string &domain) WL_REQUIRES(registration) {
    const ReleaseScope scope;
    const Configuration &used = *facility.configuration.load(std::memory_order_relaxed);
    facility.levels.maxConsoleLevel =
        overriddenLevel(used.consoleLevelKey.get(), used.maxConsoleLevel, domain);
    facility.levels.maxFileLevel = overriddenLevel(used.fileLevelKey.get(), used.maxFileLevel, domain);
}

void readAllLevels() {
    const MutexLock lock(registration);
    const std::string domain = applicationDomain();
    for (const auto &place : facilities)
        if (Facility *facility = place.load(std::memory_order_relaxed))
            readLevels(*facility, domain);
}

// Makes a facility findable, once it is complete.
void publish(Facility *added) WL_REQUIRES(registration) {
    std::size_t place = firstPlaceOf(added->name.get());
    while (facilities[place % places].load(std::memory_order_relaxed) != nullptr)
        ++place;
    facilities[place % places].store(added, std::memory_order_release);
}

// Most messages have nothing to escape, and are told apart quickly.
bool isPlainText(std::string_view text) {
    return std::ranges::all_of(text, [](char c) { return (c >= ' ' && c < '\x7f') || c == '\t'; });
}

SystemLog &systemLog() {
    static constexpr const char *journal = "/run/systemd/journal/socket";
    static const bool hasJournal = access(journal, W_OK) == 0;
    static NeverDestroyed<SystemLog> client(hasJournal ? journal : "/dev/log",
                                            hasJournal ? SystemLog::Form::journal : SystemLog::Form::syslog);
    return *client;
}

std::string_view textOrNone(const char *text) {
    return text == nullptr ? std::string_view() : text;
}

void writeToConsole(const LKLogEntry &entry, const Configuration &configuration) {
    const std::string line =
        configuration.consoleFormat ? (*configuration.consoleFormat)(entry) : std::string(entry.message);
    if (!consoleLogText(line))
        return;
    const int level =
        configuration.usesRealLevels ? std::clamp(entry.level, LOG_EMERG, LOG_DEBUG) : LOG_NOTICE;
    if (usesOwnClient.load(std::memory_order_relaxed)) {
        systemLog().send({.level = level,
                          .text = line,
                          .seconds = entry.timestamp.tv_sec,
                          .facility = entry.facilityName->utf8(),
                          .file = textOrNone(entry.file),
                          .function = textOrNone(entry.function),
                          .fileLine = entry.line});
    } else {
        ::syslog(LOG_USER | level, "%s", line.c_str());
    }
}

void writeToFile(const LKLogEntry &entry, const Configuration &configuration) {
    std::string line =
        configuration.fileFormat ? (*configuration.fileFormat)(entry) : std::string(entry.message);
    line += '\n';
    configuration.file->write(line, configuration.limits,
                              entry.timestamp.tv_sec * 1'000'000'000 + entry.timestamp.tv_nsec);
}

} // namespace

void LKLoggingSetUsesOwnOmlClient(bool own) {
    usesOwnClient.store(own, std::memory_order_relaxed);
}

bool LKLoggingAddCustomLogConfiguration(Array *facilityNames, Dictionary *given) {
    if (!std::ranges::all_of(*facilityNames, [](Object *name) { return as<String>(name) != nullptr; }))
        return false;
    static constinit Once registered;
    registered.run([] {
        // For the life of the process: the registration is never cancelled.
        static_cast<void>(registerNotification(LKLoggingDefaultsChangedNotification, WorkQueue::global(),
                                               [](NotificationToken) { readAllLevels(); }));
    });
    const MutexLock lock(registration);
    const Configuration *configuration = readConfiguration(*given);
    const std::string domain = applicationDomain();
    for (Object *each : *facilityNames) {
        auto *name = static_cast<String *>(each);
        Facility *facility = facilityNamed(name);
        const bool isNew = facility == nullptr;
        if (isNew) {
            if (facilityCount == maxFacilities)
                return false;
            ++facilityCount;
            facility = new Facility;
            facility->name = name;
        }
        facility->configuration.store(configuration, std::memory_order_release);
        readLevels(*facility, domain);
        if (isNew)
            publish(facility);
    }
    return true;
}

const LKFacilityLevels *LKLoggingFacilityLevels(const String *facilityName) {
    const Facility *facility = facilityNamed(facilityName);
    return facility == nullptr ? nullptr : &facility->levels;
}

int _LKLoggingCustomMaxConsoleLevel(const String *facilityName) {
    const LKFacilityLevels *levels = LKLoggingFacilityLevels(facilityName);
    return levels == nullptr ? -1 : levels->maxConsoleLevel.load(std::memory_order_relaxed);
}

int _LKLoggingCustomMaxLogFileLevel(const String *facilityName) {
    const LKFacilityLevels *levels = LKLoggingFacilityLevels(facilityName);
    return levels == nullptr ? -1 : levels->maxFileLevel.load(std::memory_order_relaxed);
}

void LKLogV(int level, const String *facilityName, const char *file, const char *function, long line, int,
            const char *format, va_list arguments) {
    const Facility *facility = facilityNamed(facilityName);
    if (facility == nullptr || level > __LKLoggingMaxAcceptedLevel.load(std::memory_order_relaxed))
        return;
    const Configuration &configuration = *facility->configuration.load(std::memory_order_acquire);
    const bool toConsole = level <= facility->levels.maxConsoleLevel.load(std::memory_order_relaxed);
    const bool toFile = configuration.file != nullptr &&
                        level <= facility->levels.maxFileLevel.load(std::memory_order_relaxed);
    if (!toConsole && !toFile)
        return;

    const int savedErrno = errno;
    const ReleaseScope scope;
    LKLogEntry entry{level, {}, facility->name.get(), file, function, line, {}};
    clock_gettime(CLOCK_REALTIME, &entry.timestamp);
    std::string message = formatUTF8Arguments(format, arguments);
    if (!isPlainText(message))
        message = escapingControls(message);
    entry.message = message;
    if (toConsole)
        writeToConsole(entry, configuration);
    if (toFile)
        writeToFile(entry, configuration);
    errno = savedErrno;
}

bool LKIsInternalDevice() {
    return deviceIsInternal();
}
