// A process that logs. It does what each line of its standard input says, and answers each with one line:
//   configure FACILITY NAME BYTES COUNT     serves the facility, whose lines go to a file as they are
//   lines FACILITY TEXT COUNT               logs "TEXT 0", "TEXT 1" ...
//   log LEVEL DOMAIN TEXT                   through JXLog, as a "%@"; answers the label its file is named by
//   should LEVEL DOMAIN                     answers "yes" or "no"
//   follow LEVEL DOMAIN yes|no              serves the main queue until should-log answers that
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <iostream>
#include <map>
#include <sstream>

#include "wickerlane/log/JXLog.h"
#include "wickerlane/platform/logging/LKLogging.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/queue/WorkQueue.h"

using namespace wickerlane;

namespace {

void logLine(String *facility, const char *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    LKLogV(6, facility, __FILE__, __func__, __LINE__, 0, format, arguments);
    va_end(arguments);
}

std::string perform(const std::string &command) {
    const ReleaseScope scope;
    std::istringstream words(command);
    std::string verb, facility, text;
    int level = 0;
    unsigned domain = 0;
    words >> verb;
    if (verb == "configure") {
        int bytes = 0, count = 0;
        words >> facility >> text >> bytes >> count;
        LKLoggingAddCustomLogConfiguration(
            Array::of({String::of(facility)}),
            Dictionary::create({{kLKLoggingCustomLogNameKey, String::of(text)},
                                {kLKLoggingCustomLogDirectoryKey, String::of("/logs")},
                                {kLKLoggingCustomMaxLogFileSizeKey, Number::of(bytes)},
                                {kLKLoggingCustomMaxLogFileCountKey, Number::of(count)},
                                {kLKLoggingCustomWantsCompressedFilesKey, Number::of(true)},
                                {kLKLoggingCustomMaxLogFileLevelKey, Number::of(6)}})
                .get());
        return "done";
    }
    if (verb == "lines") {
        int count = 0;
        words >> facility >> text >> count;
        for (int line = 0; line < count; ++line)
            logLine(String::of(facility), "%s %d", text.c_str(), line);
        return "done";
    }
    words >> level >> domain;
    if (verb == "log") {
        std::getline(words >> std::ws, text);
        JXLog(level, "Source.cpp", "caller", 42, domain, "%@", String::of(text));
        return std::string(program_invocation_short_name) + "-" + std::to_string(getpid());
    }
    if (verb == "should")
        return JXLogShouldLog(level, domain) ? "yes" : "no";
    if (verb == "follow") {
        words >> text;
        for (int turn = 0; JXLogShouldLog(level, domain) != (text == "yes"); ++turn) {
            if (turn == 6000)
                return "not followed";
            // The levels are read on another queue than the one served here, so that they are polled.
            pollfd ready{WorkQueue::mainDescriptor(), POLLIN, 0};
            poll(&ready, 1, 10);
            WorkQueue::drainMain();
        }
        return text;
    }
    return "unknown command";
}

} // namespace

int main() {
    std::string command;
    while (std::getline(std::cin, command))
        std::cout << perform(command) << std::endl;
    return 0;
}
