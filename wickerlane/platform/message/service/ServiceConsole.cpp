#include "wickerlane/platform/message/service/ServiceConsole.h"

#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <ctime>

#include "wickerlane/platform/console/Console.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/logging/LogFile.h"
#include "wickerlane/platform/message/service/InheritedSocket.h"

namespace wickerlane {
namespace {

constexpr LogFileLimits limits{.bytes = 10 << 20, .finishedFiles = 4, .compresses = false};

constinit std::atomic<LogFile *> consoleFile{nullptr};

std::string prefixAt(std::time_t seconds) {
    std::tm parts{};
    char date[32] = "";
    if (localtime_r(&seconds, &parts) != nullptr)
        std::strftime(date, sizeof date, "%Y/%m/%d %H:%M:%S ", &parts);
    return std::string(date) + "[" + std::to_string(getpid()) + "] ";
}

bool writeToFile(std::string_view lines) {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    const std::string prefix = prefixAt(now.tv_sec);
    std::string text;
    while (!lines.empty()) {
        const std::string_view line = lines.substr(0, lines.find('\n') + 1);
        text.append(prefix).append(line);
        lines.remove_prefix(line.size());
    }
    return consoleFile.load()->write(text, limits, now.tv_sec * 1'000'000'000 + now.tv_nsec);
}

} // namespace

std::string serviceLogFolder() {
    return pathUnderRoot("/var/log/wickerlane");
}

void keepServiceConsole(const char *serviceName) {
    struct stat status {};
    if (std::getenv(startedByClientVariable) == nullptr || fstat(STDERR_FILENO, &status) != 0 ||
        !S_ISREG(status.st_mode))
        return;
    LogFile &file = LogFile::of(serviceLogFolder(), serviceName);
    file.standForConsole();
    consoleFile.store(&file);
    setConsoleWriter(writeToFile);
}

} // namespace wickerlane
