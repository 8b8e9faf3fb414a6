// Runs the tests. Each test runs below a root of its own and must leave as many open descriptors as it found.
#include "tests/support/Descriptors.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <thread>

namespace {

std::size_t openDescriptors() {
    std::size_t count = 0;
    for ([[maybe_unused]] const auto &entry : std::filesystem::directory_iterator("/proc/self/fd"))
        ++count;
    return count;
}

} // namespace

namespace wickerlane::test {

// Gives each test a fresh root, and counts descriptors around it.
class RootAndDescriptors : public ::testing::EmptyTestEventListener {
    std::filesystem::path root;
    std::size_t before = 0;

    void OnTestStart(const ::testing::TestInfo &) override {
        // A process that a test started as its peer shares the root of that test.
        if (const char *shared = getenv("WICKERLANE_TEST_SHARED_ROOT")) {
            setenv("WICKERLANE_ROOT", shared, 1);
            return;
        }
        std::string made = (std::filesystem::temp_directory_path() / "wickerlane-test-XXXXXX").string();
        if (mkdtemp(made.data()) == nullptr)
            std::abort();
        root = made;
        setenv("WICKERLANE_ROOT", made.c_str(), 1);
        before = openDescriptors();
    }
    void OnTestEnd(const ::testing::TestInfo &) override {
        if (root.empty())
            return;
        std::size_t after = openDescriptors();
        // What the last work items held is let go of on other threads, a moment after the test has seen their
        // effect; a leak stays.
        for (int moment = 0; after > before + allowance && moment < 1000; ++moment) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            after = openDescriptors();
        }
        // Descriptors that a process opens once and keeps are opened by a warm-up in the test that needs
        // them.
        if (after > before + allowance)
            ADD_FAILURE() << "open descriptors: " << before << " before the test, " << after << " after it";
        allowance = 0;
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }

public:
    static inline std::size_t allowance = 0;
};

void allowLastingDescriptors(std::size_t count) {
    RootAndDescriptors::allowance += count;
}

} // namespace wickerlane::test

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new wickerlane::test::RootAndDescriptors);
    return RUN_ALL_TESTS();
}
