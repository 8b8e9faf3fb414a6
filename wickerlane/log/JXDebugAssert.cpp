#include "wickerlane/log/JXDebugAssert.h"

#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <charconv>
#include <cstring>

#include "wickerlane/platform/file/Retry.h"

namespace {

// A line in pieces. It allocates nothing, since the failure may be that there is no memory left.
class Line {
public:
    void add(const char *text) { pieces[count++] = {const_cast<char *>(text), std::strlen(text)}; }
    template <class Number>
    void addNumber(Number number, char (&digits)[24]) {
        *std::to_chars(digits, digits + sizeof digits - 1, number).ptr = '\0';
        add(digits);
    }
    void write() const {
        wickerlane::retryInterrupted([this] { return ::writev(STDERR_FILENO, pieces, count); });
    }

private:
    iovec pieces[16];
    int count = 0;
};

} // namespace

void JXDebugAssert(const char *componentName, const char *assertion, const char *label, const char *error,
                   const char *fileName, long lineNumber, int32_t errorCode) {
    const int savedErrno = errno;
    const bool isAssertion = assertion != nullptr && *assertion != '\0';
    char lineDigits[24], errorDigits[24];
    Line line;
    line.add(isAssertion ? "Assertion failed: " : "Check failed: ");
    line.add(componentName != nullptr ? componentName : "(null)");
    line.add(isAssertion ? ": " : ":");
    if (isAssertion)
        line.add(assertion);
    if (label != nullptr) {
        line.add(" ");
        line.add(label);
    }
    if (error != nullptr) {
        line.add(" ");
        line.add(error);
    }
    if (fileName != nullptr) {
        line.add(" file: ");
        line.add(fileName);
        if (lineNumber >= 1) {
            line.add(":");
            line.addNumber(lineNumber, lineDigits);
        }
    }
    if (errorCode != 0) {
        line.add(" error: ");
        line.addNumber(errorCode, errorDigits);
    }
    line.add("\n");
    line.write();
    errno = savedErrno;
}
