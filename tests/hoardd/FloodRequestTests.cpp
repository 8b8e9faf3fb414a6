// Clients that ask for more than the daemon can do at once.
#include <filesystem>
#include <fstream>
#include <sstream>

#include "tests/hoardd/RunningHoardd.h"
#include "tests/support/WaitUntil.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

using FloodRequest = RunningHoardd;

/// A number in a file of /proc, after a name.
std::size_t numberAfter(const std::string &path, const std::string &name) {
    std::ifstream file(path);
    std::string word;
    while (file >> word && word != name)
        ;
    std::size_t number = 0;
    file >> number;
    return number;
}

TEST_F(FloodRequest, DecodesTakeFewThreadsAndDescriptorsHoweverManyAreAskedFor) {
    ReleaseScope scope;
    const MutableDictionary *saved = saveData(jpegOf(fourCorners(64, 64)));
    const std::string uri = textIn(saved, "objectIDURI");
    const std::string process = "/proc/" + std::to_string(daemon().id);
    const std::vector<pid_t> workers = mediaWorkersOf(daemon().id);
    for (const pid_t worker : workers)
        kill(worker, SIGSTOP); // until they go on, no picture is decoded
    constexpr int requests = 300;
    std::atomic<int> answered{0}, pictures{0};
    const auto decode = request(6);
    decode->setData("objectID", uri.data(), uri.size());
    decode->setUInt64("format", 3);
    for (int i = 0; i < requests; ++i)
        connection->sendWithReply(decode.get(), nullptr, [&](MessageValue *reply) {
            const auto *dictionary = as<MessageDictionary>(reply);
            pictures += dictionary != nullptr && dictionary->contains("imageData") ? 1 : 0;
            ++answered;
        });
    std::size_t threads = 0, descriptors = 0;
    for (int i = 0; i < 100; ++i) { // the first of these counts has been sent after all decodes
        answer(request(16).get());
        threads = std::max(threads, numberAfter(process + "/status", "Threads:"));
        const std::filesystem::directory_iterator files(process + "/fd"), none;
        descriptors = std::max(descriptors, static_cast<std::size_t>(std::distance(files, none)));
    }
    EXPECT_EQ(answered, 0);
    EXPECT_LE(threads, 64U);
    EXPECT_LE(descriptors, 256U);
    for (const pid_t worker : workers)
        kill(worker, SIGCONT);
    EXPECT_TRUE(waitUntil([&] { return answered == requests; }));
    EXPECT_EQ(pictures, requests);
}

TEST_F(FloodRequest, JobsBeyondTheBoundOfABatchAreRefusedInTheirPlaces) {
    ReleaseScope scope;
    constexpr std::size_t bound = 4096, jobs = bound + 3;
    const auto array = MessageArray::create();
    for (std::size_t i = 0; i < jobs; ++i)
        array->append(MessageDictionary::create().get());
    const auto message = request(9);
    message->set("jobDictionaries", array.get());
    const auto reply = answer(message.get());
    const MessageArray *results = reply->getArray("resultJobDictionaries");
    ASSERT_NE(results, nullptr);
    ASSERT_EQ(results->count(), jobs);
    for (std::size_t i = 0; i < jobs; ++i) {
        const auto *result = as<MessageDictionary>(results->at(i));
        ASSERT_NE(result, nullptr);
        EXPECT_EQ(result->getString("error"),
                  i < bound ? "the job holds no data" : "not saved: a batch has at most 4096 jobs")
            << i;
    }

    // More than the message service takes.
    for (std::size_t i = array->count(); i < 300'000; ++i)
        array->append(array->at(0));
    EXPECT_EQ(refusal(message.get()), "The message has more values than the service takes at once.");
}

TEST_F(FloodRequest, WhatHasNoReplyIsNotRefusedWhenTheQueueIsFull) {
    ReleaseScope scope;
    describeService({"--idle-seconds", "60", "--max-jobs", "0"});
    answer(request(15).get());
    const std::string file = paths.incoming() + "/restored.PNG";
    writeFile(file, pngOf(fourCorners(4, 4)));
    const auto uuid = UUID::createRandom();
    const auto restore = request(21);
    restore->setString("assetUUID", uuid->uuidString()->utf8());
    restore->set("assetPaths", createMessageValue(Array::of({String::of(file)})).get());
    connection->send(restore.get());
    EXPECT_TRUE(waitUntil([] {
        const ReleaseScope inner;
        return StoreView::open()->counts()->photos == 1;
    }));
}

TEST_F(FloodRequest, TheDaemonMayOpenAllTheDescriptorsThatTheSystemAllows) {
    ReleaseScope scope;
    answer(request(16).get());
    std::ifstream limits("/proc/" + std::to_string(daemon().id) + "/limits");
    for (std::string line; std::getline(limits, line);) {
        if (!line.starts_with("Max open files"))
            continue;
        std::istringstream words(line.substr(14));
        std::string soft, hard;
        words >> soft >> hard;
        EXPECT_EQ(soft, hard);
    }
}

} // namespace
