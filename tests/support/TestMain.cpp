// Runs the tests. Each test runs below a root of its own and must leave as many open descriptors as it found.
#include "tests/support/Descriptors.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

namespace {

// What each open descriptor is of.
std::multiset<std::string> openDescriptors() {
    std::multiset<std::string> opened;
    for (const auto &entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        opened.insert(std::filesystem::read_symlink(entry.path(), gone));
    }
    return opened;
}

} // namespace

namespace wickerlane::test {

// Gives each test a fresh root, and counts descriptors around it.
class RootAndDescriptors : public ::testing::EmptyTestEventListener {
    std::filesystem::path root;
    std::multiset<std::string> before;

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
        auto leaked = leakedDescriptors();
        // What the last work items held is let go of on other threads, a moment after the test has seen their
        // effect; a leak stays.
        for (int moment = 0; leaked.size() > allowance && moment < 1000; ++moment) {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
            leaked = leakedDescriptors();
        }
        if (leaked.size() > allowance)
            ADD_FAILURE() << "the test leaves open descriptors of " << ::testing::PrintToString(leaked);
        allowance = 0;
        allowed.clear();
        std::error_code ignored;
        std::filesystem::remove_all(root, ignored);
    }

    // Those that are neither from before the test nor allowed by name.
    std::multiset<std::string> leakedDescriptors() const {
        auto leaked = openDescriptors();
        for (const auto &known : {before, allowed})
            for (const std::string &link : known)
                if (const auto found = leaked.find(link); found != leaked.end())
                    leaked.erase(found);
        return leaked;
    }

public:
    static inline std::size_t allowance = 0;
    static inline std::multiset<std::string> allowed;
};

void allowLastingDescriptors(std::size_t count) {
    RootAndDescriptors::allowance += count;
}

void allowLastingDescriptors(std::span<const char *const> links) {
    RootAndDescriptors::allowed.insert(links.begin(), links.end());
}

} // namespace wickerlane::test

int main(int argc, char **argv) {
    ::testing::InitGoogleTest(&argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new wickerlane::test::RootAndDescriptors);
    return RUN_ALL_TESTS();
}
