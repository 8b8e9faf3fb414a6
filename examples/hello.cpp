// Saves a photo into the library, and prints its URL or the error: hello PHOTO.jpg
#include <cstdio>
#include <filesystem>

#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/JobKeys.h"

int main(int argc, char **argv) {
    using namespace wickerlane;
    if (argc != 2)
        return 2;
    auto path = String::create(std::filesystem::absolute(argv[1]).string());
    auto job = Dictionary::createWithKeys({{protocol::job::filePath, path.get()}});
    auto answered = Semaphore::create(0);
    JXGatekeeperClient::sharedInstance()->saveAssetWithJobDictionary(
        job.get(), [&](Dictionary *result, Error *error) {
            Object *outcome = result != nullptr ? result->get(protocol::jobResult::assetURL) : error;
            std::puts(String::format("Saved: %@", outcome)->UTF8String());
            answered->signal();
        });
    answered->wait();
}
