// Clips that tests make with the media library's own tool.
#ifndef TESTS_SUPPORT_TESTCLIPS_H
#define TESTS_SUPPORT_TESTCLIPS_H

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>

#include <string>
#include <vector>

namespace wickerlane::test {

/// Makes a clip of one colour with sound: two seconds, 10 frames a second, 160 by 120 pixels. The extension
/// of the file chooses the container. `more` are further arguments for the tool's output.
inline void makeClip(const std::string &path, const std::string &colour = "0xDC1E1E",
                     const std::vector<std::string> &more = {}) {
    std::vector<std::string> words = {"ffmpeg",
                                      "-nostdin",
                                      "-y",
                                      "-v",
                                      "error",
                                      "-f",
                                      "lavfi",
                                      "-i",
                                      "color=" + colour + ":size=160x120:rate=10:duration=2",
                                      "-f",
                                      "lavfi",
                                      "-i",
                                      "sine=duration=2",
                                      "-shortest",
                                      "-pix_fmt",
                                      "yuv420p"};
    words.insert(words.end(), more.begin(), more.end());
    words.push_back(path);
    std::vector<char *> arguments;
    for (std::string &word : words)
        arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t process = 0;
    int status = 0;
    ASSERT_EQ(posix_spawnp(&process, "ffmpeg", nullptr, nullptr, arguments.data(), environ), 0);
    ASSERT_EQ(waitpid(process, &status, 0), process);
    ASSERT_EQ(status, 0) << "no clip could be made";
}

} // namespace wickerlane::test

#endif
