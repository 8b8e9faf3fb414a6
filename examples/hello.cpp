// Saves a photo into the library, and prints its URL, or why it was not saved: hello PHOTO.jpg
#include <cstdio>
#include <filesystem>

#include "wickerlane/client/JXGatekeeperClient.h"
#include "wickerlane/protocol/JobKeys.h"

using namespace wickerlane;

static String *reasonOf(const Error *error) {
    switch (error != nullptr ? error->code() : 0) {
    case WickerlaneErrorNoData:
        return String::of("there is nothing in it");
    case WickerlaneErrorJobQueueFull:
        return String::of("hoardd has too much to do; try again later");
    default:
        return String::of("hoardd can't be reached, or does not serve this program");
    }
}

int main(int argc, char **argv) {
    if (argc != 2)
        return 2;
    auto path = String::create((std::filesystem::current_path() / argv[1]).string());
    auto job = Dictionary::createWithKeys({{protocol::job::filePath, path.get()}});
    auto answered = Semaphore::create(0);
    bool isSaved = false;
    const auto handler = [&](Dictionary *result, Error *error) {
        // The result of a job that hoardd refused has the reason alone.
        Object *url = result != nullptr ? result->get(protocol::jobResult::assetURL) : nullptr;
        Object *reason = result != nullptr ? result->get(protocol::jobResult::error) : reasonOf(error);
        isSaved = url != nullptr;
        std::puts(
            String::format("%s: %@", isSaved ? "Saved" : "Not saved", isSaved ? url : reason)->UTF8String());
        answered->signal();
    };
    JXGatekeeperClient::sharedInstance()->saveAssetWithJobDictionary(job.get(), handler);
    answered->wait();
    return isSaved ? 0 : 1;
}
