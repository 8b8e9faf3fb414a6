// Calls of the Python package beside the same calls of the C functions that it calls, with one daemon: the
// count of a query, a page of 500 assets whose UUIDs are read, and a thumbnail. Prints microseconds a call of
// the best batch, and the median ratio to C.
#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/InTurn.h"
#include "tests/support/TestImages.h"
#include "wickerlane/api/Wickerlane.h"

using namespace wickerlane;

namespace {

constexpr std::size_t pageSize = 500;

/// Says how the daemon is started on demand: it analyzes nothing meanwhile, and ends if it is left behind.
void describeService(const std::filesystem::path &services) {
    std::filesystem::create_directories(services);
    std::ofstream(services / "org.wickerlane.hoardd.Gatekeeper.plist")
        << "<plist version=\"1.0\"><dict><key>Program</key><string>" HOARDD_PROGRAM "</string>"
           "<key>Arguments</key><array><string>--idle-seconds</string><string>60</string>"
           "<string>--analyze-after</string><string>0</string></array></dict></plist>";
    setenv("WICKERLANE_SERVICES", services.c_str(), 1);
}

void endDaemon(const std::string &root) {
    pid_t process = 0;
    std::ifstream(root + "/var/mobile/Media/PhotoData/hoardd.lock") >> process;
    const int handle = process > 0 ? static_cast<int>(syscall(SYS_pidfd_open, process, 0)) : -1;
    if (handle < 0)
        return;
    pollfd ended{handle, POLLIN, 0};
    if (syscall(SYS_pidfd_send_signal, handle, SIGTERM, nullptr, 0) == 0)
        poll(&ended, 1, 60'000);
    close(handle);
}

void saveAssets() {
    const test::Bytes file = test::jpegOf(test::scene(640, 480, 1));
    const auto picture = Ref<WLData>::adopt(WLDataCreate(file.data(), file.size()));
    std::vector<Ref<WLSaveJob>> jobs;
    std::vector<WLObject *> objects;
    for (std::size_t i = 0; i < pageSize; ++i) {
        jobs.push_back(Ref<WLSaveJob>::adopt(WLSaveJobCreateWithData(picture.get())));
        objects.push_back(jobs.back().get());
    }
    WLArray *results = WLSaveJobsRun(Array::create(objects).get(), nullptr);
    for (std::size_t i = 0; i < pageSize; ++i)
        if (WLSaveResultsGet(results, i, nullptr) == nullptr)
            bench::fail("the assets can't be saved");
}

/// The Python program, which does what it is told by a line.
class Python {
public:
    Python() {
        int in[2], out[2];
        if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0)
            bench::fail("there are no pipes");
        setenv("WICKERLANE_LIBRARY", LIBRARY_FILE, 1);
        setenv("PYTHONPATH", PACKAGE_FOLDER, 1);
        setenv("PYTHONDONTWRITEBYTECODE", "1", 1);
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, in[0], STDIN_FILENO);
        posix_spawn_file_actions_adddup2(&actions, out[1], STDOUT_FILENO);
        char program[] = PYTHON_PROGRAM, script[] = CALLS_PROGRAM;
        char *const arguments[] = {program, script, nullptr};
        if (posix_spawn(&process, program, &actions, nullptr, arguments, environ) != 0)
            bench::fail("Python can't be started");
        posix_spawn_file_actions_destroy(&actions);
        close(in[0]);
        close(out[1]);
        commands = in[1];
        answers = fdopen(out[0], "r");
    }
    ~Python() {
        close(commands);
        fclose(answers);
        waitpid(process, nullptr, 0);
    }
    /// The result of the last call.
    std::size_t call(const char *name, int times) {
        dprintf(commands, "%s %d\n", name, times);
        std::size_t result = 0;
        if (fscanf(answers, "%zu", &result) != 1)
            bench::fail("the Python program has failed");
        return result;
    }

private:
    pid_t process = -1;
    int commands = -1;
    FILE *answers = nullptr;
};

Ref<WLAssetPage> firstPage(const WLAssetQuery *query) {
    return Ref<WLAssetPage>::adopt(WLAssetPageCreate(query, nullptr));
}

std::size_t lengthOfUUIDs(const WLAssetQuery *query) {
    const auto page = firstPage(query);
    std::size_t length = 0;
    for (std::size_t i = 0; i < WLAssetPageCount(page.get()); ++i)
        length += std::strlen(WLAssetUUID(WLAssetPageGet(page.get(), i)));
    return length;
}

std::size_t lengthOfThumbnail(const WLAsset *asset) {
    return WLDataLength(Ref<WLData>::adopt(WLAssetCreatePicture(asset, WLPictureSmallJPEG, nullptr)).get());
}

void measure(Python &python, const char *name, int batch, const std::function<std::size_t()> &inC) {
    const auto byC = [&](int times) {
        while (times-- > 0)
            inC();
    };
    const auto byPython = [&](int times) { python.call(name, times); };
    if (const std::size_t result = inC(); result == 0 || python.call(name, 1) != result)
        bench::fail("C and Python have other results");
    bench::measureInTurn(30, batch, {{"from C", byC}, {"from Python", byPython}}, [&](const auto &measured) {
        std::printf("%-10s %-12s %8.1f us a call  %5.2f x C\n", name, measured.what, measured.best / 1e3,
                    measured.ratio);
    });
}

} // namespace

int main() {
    std::string root = (std::filesystem::temp_directory_path() / "wickerlane-bench-XXXXXX").string();
    if (mkdtemp(root.data()) == nullptr)
        return 1;
    setenv("WICKERLANE_ROOT", root.c_str(), 1);
    describeService(root + "/services");
    {
        const ReleaseScope scope;
        saveAssets();
        Python python;
        const auto query = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
        const auto page = firstPage(query.get());
        const auto photos = Ref<WLAssetQuery>::adopt(WLAssetQueryCreate());
        WLAssetQuerySetKind(photos.get(), WLAssetKindPhoto);
        measure(python, "count", 200,
                [&] { return static_cast<std::size_t>(WLAssetQueryCount(photos.get(), nullptr)); });
        measure(python, "page", 20, [&] { return lengthOfUUIDs(query.get()); });
        measure(python, "thumbnail", 100, [&] { return lengthOfThumbnail(WLAssetPageGet(page.get(), 0)); });
    }
    endDaemon(root);
    std::filesystem::remove_all(root);
}
