// A real hoardd, started on demand on the running test's root, and a client of it.
#ifndef TESTS_HOARDD_RUNNINGHOARDD_H
#define TESTS_HOARDD_RUNNINGHOARDD_H

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/StoreView.h"
#include "tests/support/TestImages.h"
#include "wickerlane/message/JXJobDictionary.h"
#include "wickerlane/message/JXMsgUtilities.h"
#include "wickerlane/platform/message/connection/MessageConnection.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"

namespace wickerlane::test {

/// What a file holds.
using FileBytes = std::vector<std::byte>;

/// Keys and codes are spelled out in the tests, since a table that both ends share can't catch its own
/// mistakes.
class RunningHoardd : public testing::Test {
protected:
    /// Lets the next daemon be started with these arguments. it analyzes after that number of seconds; "0":
    /// only when it is asked to.
    void describeService(std::vector<std::string> arguments = {"--idle-seconds", "60"},
                         const std::string &analyzeAfter = "0");
    void SetUp() override;
    void TearDown() override;

    /// The daemon that holds the library now. No descriptor when there is none.
    struct Process {
        UniqueFd handle;
        pid_t id = 0;
    };
    [[nodiscard]] Process daemon() const;
    /// Sends a signal and waits for the daemon's end.
    static void end(const Process &process, int signal);
    static void waitForEnd(const Process &process);
    static std::string logOfService();
    /// The media workers of a daemon.
    [[nodiscard]] static std::vector<pid_t> childrenOf(pid_t process);
    /// The workers that hoardd starts ahead, one for each processor and at most four: waits until all are
    /// there.
    static std::vector<pid_t> mediaWorkersOf(pid_t process);

    [[nodiscard]] static Ref<MessageDictionary> request(std::int64_t code);
    [[nodiscard]] Ref<MessageConnection> connect() const;
    [[nodiscard]] Ref<MessageValue> ask(MessageDictionary *message) const {
        return connection->sendWithReplySync(message);
    }
    /// The reply, which must be a dictionary.
    Ref<MessageDictionary> answer(MessageDictionary *message) const;
    /// The text of the error with which a request is answered; empty when it is not an error.
    [[nodiscard]] std::string refusal(MessageDictionary *message) const;

    /// The result of saving one job.
    MutableDictionary *save(Dictionary *job, ImageSurface *image = nullptr,
                            ImageSurface *preview = nullptr) const;
    MutableDictionary *saveData(const FileBytes &bytes) const;
    [[nodiscard]] Ref<MessageDictionary> saveRequest(Dictionary *job, ImageSurface *image = nullptr,
                                                     ImageSurface *preview = nullptr) const;
    /// The bytes of an asset, named by a save's result, in an image format; the test fails when there are
    /// none.
    [[nodiscard]] FileBytes imageData(const Dictionary *result, std::uint64_t format) const;

    store::LibraryPaths paths;
    Ref<MessageConnection> connection;
};

/// The text under a key of a result; empty when it is missing.
std::string textIn(const Dictionary *result, std::string_view key);
/// The number under a key of a result; -1 when it is missing.
std::int64_t numberIn(const Dictionary *result, std::string_view key);
FileBytes contentsOf(const std::string &path);
void writeFile(const std::string &path, const FileBytes &bytes);
Ref<Data> dataOf(const FileBytes &bytes);
/// A surface of four coloured quarters.
Ref<ImageSurface> surfaceOf(std::uint32_t width, std::uint32_t height);

} // namespace wickerlane::test

#endif
