// A binary property list of 10,000 mixed entries, written and read, beside Python's standard reader and
// writer on the same bytes. Both run in turns in this one process's time; the best round of each counts.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/Quick.h"
#include "wickerlane/platform/object/Array.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/platform/propertylist/PropertyList.h"

using namespace wickerlane;

namespace {

const int rounds = bench::rounds(5);

// What a photo library's list of assets looks like: text, numbers, dates, data, booleans.
Ref<Dictionary> makeList() {
    ReleaseScope scope;
    auto list = MutableDictionary::create();
    for (int i = 0; i < 10000; ++i) {
        const std::string key = "entry " + std::to_string(i);
        Ref<Object> value;
        switch (i % 6) {
        case 0:
            value = String::create("IMG_" + std::to_string(i) + ".JPG");
            break;
        case 1:
            value = Number::create(i * 977);
            break;
        case 2:
            value = Number::create(i * 0.37);
            break;
        case 3:
            value = Date::createWithReferenceSeconds(7e8 + i);
            break;
        case 4:
            value = Data::create(key.data(), key.size());
            break;
        default:
            value = Dictionary::createWithKeys({{"title", String::of("Sommer \u00E9t\u00E9 " + key)},
                                                {"favourite", Number::of(i % 4 == 1)},
                                                {"width", Number::of(4032)},
                                                {"tags", Array::of({String::of("beach"), Number::of(i)})}});
        }
        list->set(key, value.get());
    }
    return list;
}

template <class Work>
double bestSeconds(Work work) {
    double best = 1e9;
    for (int i = 0; i < bench::rounds(10); ++i) {
        const auto start = std::chrono::steady_clock::now();
        work();
        best =
            std::min(best, std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
    }
    return best;
}

struct Seconds {
    double write = 1e9;
    double read = 1e9;
    void lower(const Seconds &other) {
        write = std::min(write, other.write);
        read = std::min(read, other.read);
    }
};

Seconds measureOurs(const Object *list, Bytes bytes) {
    return {bestSeconds([&] { benchmark::DoNotOptimize(createPropertyListData(list)); }),
            bestSeconds([&] { benchmark::DoNotOptimize(createPropertyListObject(bytes)); })};
}

constexpr const char *script = R"(
import plistlib, sys, time
data = open(sys.argv[1], 'rb').read()
tree = plistlib.loads(data)
assert plistlib.dumps(tree, fmt=plistlib.FMT_BINARY, sort_keys=False) == data, 'the writers differ'
def best(work):
    times = []
    for _ in range(10):
        start = time.perf_counter()
        work()
        times.append(time.perf_counter() - start)
    return min(times)
print(best(lambda: plistlib.dumps(tree, fmt=plistlib.FMT_BINARY, sort_keys=False)), best(lambda: plistlib.loads(data)))
)";

Seconds measurePythons(const std::filesystem::path &folder) {
    const std::string command = "python3 " + (folder / "time.py").string() + " " + (folder / "list").string();
    Seconds seconds;
    FILE *output = popen(command.c_str(), "r");
    const bool isRead =
        output != nullptr && std::fscanf(output, "%lf %lf", &seconds.write, &seconds.read) == 2;
    if (output == nullptr || pclose(output) != 0 || !isRead) {
        std::fputs("python3 could not be timed\n", stderr);
        std::exit(1);
    }
    return seconds;
}

} // namespace

int main() {
    const auto list = makeList();
    const auto written = createPropertyListData(list.get());
    const auto *bytes = static_cast<const char *>(written->bytes());
    std::string folder = (std::filesystem::temp_directory_path() / "wickerlane-bench-XXXXXX").string();
    if (mkdtemp(folder.data()) == nullptr)
        return 1;
    const std::filesystem::path path = folder;
    std::ofstream(path / "list", std::ios::binary)
        .write(bytes, static_cast<std::streamsize>(written->length()));
    std::ofstream(path / "time.py") << script;

    Seconds ours;
    Seconds pythons;
    for (int i = 0; i < rounds; ++i) {
        ours.lower(measureOurs(list.get(), written->span()));
        pythons.lower(measurePythons(path));
    }
    std::filesystem::remove_all(path);

    const double megabytes = static_cast<double>(written->length()) / 1e6;
    std::printf("binary property list of 10,000 mixed entries, %.2f MB, the same bytes from both\n",
                megabytes);
    const auto print = [&](const char *what, double own, double python) {
        std::printf("%-6s %8.1f MB/s, Python's %6.1f MB/s, ratio %.1f\n", what, megabytes / own,
                    megabytes / python, python / own);
    };
    print("write", ours.write, pythons.write);
    print("read", ours.read, pythons.read);
    return 0;
}
