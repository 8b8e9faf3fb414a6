// Hostile files, lost workers and limits: what may cost one request, and never more.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <atomic>
#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <random>
#include <thread>

#include "tests/hoardd/media/MediaTestSupport.h"
#include "tests/support/WaitUntil.h"

namespace wickerlane::hoardd {
namespace {

using namespace wickerlane::test;

Bytes goodPicture() {
    return jpegOf(fourCorners(64, 48));
}

Result<PictureFacts> probe(MediaWorkers &pool, const Bytes &file) {
    const UniqueFd output = fileOf({});
    const ThumbnailTarget thumbnail{32, output.get()};
    return pool.probe(fileOf(file).get(), std::span(&thumbnail, 1));
}

// The only worker of a pool, once it is idle.
pid_t idleWorker(const MediaWorkers &pool) {
    EXPECT_TRUE(waitUntil([&] { return pool.status().idle != 0; }));
    return pool.status().processes.at(0);
}

bool isGone(pid_t process) {
    return kill(process, 0) != 0 && errno == ESRCH;
}

// Stops a process and waits until it has stopped, without reaping it.
void stop(pid_t process) {
    kill(process, SIGSTOP);
    siginfo_t info{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(process), &info, WSTOPPED), 0);
}

TEST(MediaWorkers, ConfinesItsWorkers) {
    MediaWorkers pool(testOptions());
    EXPECT_EQ(reasonOf(pool.testConfinement()), "");
    EXPECT_TRUE(pool.status().isConfined);
}

// Some formats have a process for each file; what forks it stays, and reads no file itself.
TEST(MediaWorkers, ConfinesWhatForksWorkersToo) {
    MediaWorkers pool(testOptions());
    ASSERT_EQ(reasonOf(probe(pool, tiffOf(fourCorners(8, 8)))), "");
    ASSERT_TRUE(waitUntil([&] { return pool.status().idle == 2; })) << "one of each kind";
    for (const pid_t process : pool.status().processes) {
        std::ifstream status("/proc/" + std::to_string(process) + "/status");
        const std::string text(std::istreambuf_iterator<char>(status), {});
        EXPECT_THAT(text, ::testing::HasSubstr("NoNewPrivs:\t1\n"));
        EXPECT_THAT(text, ::testing::HasSubstr("CapPrm:\t0000000000000000\n"));
    }
}

TEST(MediaWorkers, DamagedFilesCostOnlyThemselves) {
    MediaWorkers pool(testOptions());
    TestExif exif;
    exif.dateTimeOriginal = "2021:06:15 10:20:30";
    exif.latitude = {{48, 51, 30}};
    exif.longitude = {{2, 17, 40}};
    exif.latitudeRef = "N";
    exif.longitudeRef = "E";
    std::mt19937 random(20'210'615);
    for (const Bytes &whole :
         {jpegOf(fourCorners(60, 40), exif), jpegOf(fourCorners(60, 40), 90, false, true),
          pngOf(fourCorners(60, 40)), gifOf(60, 40, cornerBlue), tiffOf(fourCorners(60, 40))}) {
        for (std::size_t cut = 0; cut < 40; ++cut)
            static_cast<void>(
                probe(pool, Bytes(whole.begin(),
                                  whole.begin() + static_cast<std::ptrdiff_t>(whole.size() * cut / 40))));
        for (int round = 0; round < 40; ++round) {
            Bytes flipped = whole;
            for (int flip = 0; flip < 6; ++flip)
                flipped[random() % std::min<std::size_t>(flipped.size(), 600)] ^=
                    std::byte(1U << random() % 8);
            static_cast<void>(probe(pool, flipped));
        }
        EXPECT_EQ(reasonOf(probe(pool, whole)), "");
    }
}

int nicenessOf(pid_t process) {
    return getpriority(PRIO_PROCESS, static_cast<id_t>(process));
}

// Work in the background must not make a later picture wait, whether or not this process may raise
// priorities.
TEST(MediaWorkers, WorkAtThePriorityOfTheirCaller) {
    MediaWorkers pool(testOptions());
    const int usual = nicenessOf(0);
    const Bytes file = goodPicture();
    const auto fingerprint = [&] { return reasonOf(pool.fingerprint(fileOf(file).get(), 64)); };
    EXPECT_EQ(fingerprint(), "");
    EXPECT_EQ(nicenessOf(idleWorker(pool)), usual);
    std::thread([&] {
        ASSERT_EQ(setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), usual + 5), 0);
        EXPECT_EQ(fingerprint(), "");
    }).join();
    EXPECT_EQ(nicenessOf(idleWorker(pool)), usual + 5);
    EXPECT_EQ(fingerprint(), "");
    EXPECT_EQ(nicenessOf(idleWorker(pool)), usual);
}

/// Of the value of a marker in a JPEG.
std::size_t placeOf(const Bytes &jpeg, unsigned marker) {
    for (std::size_t at = 2; at + 1 < jpeg.size(); ++at)
        if (jpeg[at] == std::byte{0xFF} && jpeg[at + 1] == static_cast<std::byte>(marker))
            return at + 1;
    return 0;
}

TEST(MediaWorkers, SaysWhyAFileIsRefused) {
    MediaWorkers pool(testOptions());
    const Bytes good = goodPicture();
    Bytes heif(64);
    std::memcpy(heif.data(),
                "\0\0\0\x18"
                "ftypheic\0\0\0\0mif1heic",
                24);
    Bytes heifCutOff = heif; // by the length of the box behind
    std::memcpy(heifCutOff.data() + 24, "\0\0\x1\0meta", 8);
    const auto with = [](Bytes file, std::size_t at, unsigned value) {
        file.at(at) = static_cast<std::byte>(value);
        return file;
    };
    const Bytes tiff = tiffOf(fourCorners(40, 30)), gif = gifOf(40, 30, cornerGreen);
    const char *unreadable = "of the picture can't be "; // with "the header" or "the pixels" before
    const char *early = "the file ends before its picture does";
    struct Case {
        const char *name;
        Bytes file;
        const char *reason;
    };
    // In words of our own: those of the libraries are about parts of their work.
    for (const Case &refused :
         {Case{"empty", {}, "not a picture of a known format"},
          Case{"text", Bytes(100, std::byte{'x'}), "not a picture of a known format"},
          Case{"a JPEG's first bytes", Bytes(good.begin(), good.begin() + 20), early},
          Case{"a JPEG with a frame of another kind", with(good, placeOf(good, 0xC0), 0xC3), unreadable},
          Case{"a TIFF that is compressed in an unknown way", with(tiff, 8 + 2 + 12 * 3 + 8, 77), unreadable},
          Case{"a GIF without colours", with(gif, 10, 0), unreadable},
          Case{"a HEIF without a picture", heif, unreadable}, Case{"a HEIF to its half", heifCutOff, early},
          Case{"too many pixels", pngThatClaims(60'000, 60'000), "more than are allowed"},
          Case{"too wide", pngThatClaims(70'000, 1), "more than are allowed"}}) {
        SCOPED_TRACE(refused.name);
        const auto result = probe(pool, refused.file);
        EXPECT_EQ(problemOf(result), ProblemKind::invalid);
        EXPECT_NE(reasonOf(result), "");
        EXPECT_THAT(reasonOf(result), ::testing::HasSubstr(refused.reason));
    }
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const UniqueFd reading(ends[0]);
    const UniqueFd writing(ends[1]);
    EXPECT_EQ(problemOf(pool.probe(reading.get(), {})), ProblemKind::invalid) << "a pipe is no file";
    EXPECT_EQ(problemOf(pool.render(fileOf(good).get(), {.format = MediaFormat::gif}, writing.get())),
              ProblemKind::invalid);
    // An output that takes nothing.
    const UniqueFd full(open("/dev/full", O_WRONLY | O_CLOEXEC));
    EXPECT_EQ(problemOf(pool.render(fileOf(good).get(), {}, full.get())), ProblemKind::notWritable);
    EXPECT_EQ(pool.status().started, 2U) << "no refusal cost a worker";
}

TEST(MediaWorkers, ReplacesAWorkerThatDiesAtWork) {
    MediaWorkers pool(testOptions());
    const pid_t worker = idleWorker(pool);
    stop(worker);
    Result<PictureFacts> result;
    std::thread job([&] { result = probe(pool, goodPicture()); });
    EXPECT_TRUE(waitUntil([&] { return pool.status().busy != 0; }));
    kill(worker, SIGKILL);
    job.join();
    // The request may have come just after its end; then another worker has done it.
    if (!result) {
        EXPECT_EQ(problemOf(result), ProblemKind::failed) << "the file is not to blame";
        EXPECT_EQ(reasonOf(result), "the media worker was ended by: Killed");
    }
    EXPECT_TRUE(isGone(worker));
    EXPECT_EQ(reasonOf(probe(pool, goodPicture())), "");
}

TEST(MediaWorkers, AnIdleWorkerThatDiesCostsNothing) {
    MediaWorkers pool(testOptions());
    const pid_t worker = idleWorker(pool);
    kill(worker, SIGKILL);
    siginfo_t info{};
    waitid(P_PID, static_cast<id_t>(worker), &info, WEXITED | WNOWAIT);
    EXPECT_EQ(reasonOf(probe(pool, goodPicture())), "");
}

TEST(MediaWorkers, ReplacesAWorkerThatStandsStill) {
    MediaWorkersOptions options = testOptions();
    options.deadline = std::chrono::seconds(2);
    MediaWorkers pool(options);
    const Bytes apart = tiffOf(fourCorners(8, 8));
    ASSERT_EQ(reasonOf(probe(pool, goodPicture())), "");
    ASSERT_EQ(reasonOf(probe(pool, apart)), "");
    const std::vector<int> workers = pool.status().processes;
    ASSERT_EQ(workers.size(), 2U);
    for (const pid_t worker : workers)
        stop(worker);
    EXPECT_EQ(reasonOf(probe(pool, goodPicture())), "the file takes more time than is allowed");
    EXPECT_EQ(reasonOf(probe(pool, apart)), "the file takes more time than is allowed");
    for (const pid_t worker : workers)
        EXPECT_TRUE(isGone(worker));
    EXPECT_EQ(reasonOf(probe(pool, goodPicture())), "");
    EXPECT_EQ(reasonOf(probe(pool, apart)), "");
}

TEST(MediaWorkers, EndsAFileThatTakesTooMuchProcessorTime) {
    MediaWorkersOptions options = testOptions();
    // A tenth of what the picture takes, and far more than the small one that is decoded for comparison.
    options.processorTime = std::chrono::milliseconds(300);
    MediaWorkers pool(options);
    Pixels noise{3000, 3000, std::vector<Colour>(9'000'000)};
    std::mt19937 random(7);
    for (Colour &colour : noise.colours)
        colour.red = static_cast<std::uint8_t>(random());
    const UniqueFd output = fileOf({});
    const UniqueFd picture = fileOf(jpegOf(noise, 95, false, true));
    const auto result = pool.render(picture.get(), {.format = MediaFormat::png}, output.get());
    EXPECT_EQ(problemOf(result), ProblemKind::invalid) << "others are decoded in that time";
    EXPECT_EQ(reasonOf(result), "the file takes more processor time than is allowed");
}

TEST(MediaWorkers, TriesAFileAgainOnWhichADecoderCrashed) {
    MediaWorkers pool(testOptions());
    const pid_t worker = idleWorker(pool);
    stop(worker);
    const UniqueFd output = fileOf({}), picture = fileOf(goodPicture());
    Result<ImageSize> result;
    std::thread job([&] { result = pool.render(picture.get(), {}, output.get()); });
    EXPECT_TRUE(waitUntil([&] { return pool.status().busy != 0; }));
    EXPECT_EQ(write(output.get(), "half", 4), 4); // as a worker that comes so far
    kill(worker, SIGABRT);                        // which, unlike other faults, sanitizers leave alone
    kill(worker, SIGCONT);
    job.join();
    EXPECT_EQ(reasonOf(result), "");
    EXPECT_EQ(decodedPicture(contentsOf(output)).width, 64U);
}

TEST(MediaWorkers, RecyclesWorkersAndLeavesNoProcess) {
    std::vector<int> processes;
    {
        MediaWorkersOptions options = testOptions(2);
        options.requestsPerWorker = 3;
        MediaWorkers pool(options);
        for (int round = 0; round < 7; ++round)
            EXPECT_EQ(reasonOf(probe(pool, goodPicture())), "");
        EXPECT_GT(pool.status().started, 2U);
        processes = pool.status().processes;
    }
    for (const int process : processes)
        EXPECT_TRUE(isGone(process)) << process;
}

TEST(MediaWorkers, ServesManyThreads) {
    MediaWorkers pool(testOptions(2));
    const Bytes shared = goodPicture();
    const Bytes apart = tiffOf(fourCorners(16, 16));
    std::atomic<int> served{0};
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 8; ++thread)
        threads.emplace_back([&] {
            for (int round = 0; round < 10; ++round)
                served += probe(pool, round % 5 == 0 ? apart : shared) ? 1 : 0;
        });
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(served, 80);
    EXPECT_LE(pool.status().started, 4U);
}

TEST(MediaWorkers, SaysWhenNoWorkerCanBeHad) {
    for (const char *program : {"/nowhere/hoardd-media", "/bin/false"}) {
        MediaWorkersOptions options = testOptions();
        options.program = program;
        MediaWorkers pool(options);
        for (int round = 0; round < 2; ++round) {
            const auto result = probe(pool, goodPicture());
            EXPECT_EQ(problemOf(result), ProblemKind::unreachable);
            EXPECT_THAT(reasonOf(result), ::testing::HasSubstr(program));
        }
        EXPECT_EQ(pool.status().problem.empty(), false);
    }
}

} // namespace
} // namespace wickerlane::hoardd
