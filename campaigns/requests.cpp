// A client of hoardd that the campaigns lead by lines of standard input: what is asked for, then its
// arguments, separated by tabs. Each line is answered by one:
//   done    and what the operation gave, such as UUIDs
//   refused and the reason
//   broken  when the connection ended before there was an answer: the operation may have been done, or not
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include "wickerlane/client/Request.h"
#include "wickerlane/model/AssetURL.h"
#include "wickerlane/platform/object/Data.h"
#include "wickerlane/platform/object/Number.h"
#include "wickerlane/platform/object/ReleaseScope.h"
#include "wickerlane/protocol/AlbumRows.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/CoreRows.h"
#include "wickerlane/protocol/LibraryRows.h"
#include "wickerlane/protocol/ServiceName.h"

using namespace wickerlane;
using client::Reply;
using client::Request;

namespace {

namespace keys = protocol::keys;
using Arguments = std::vector<std::string>;

std::string onOneLine(std::string text) {
    for (char &each : text)
        if (each == '\n' || each == '\t')
            each = ' ';
    return text;
}

std::string refused(const std::string &reason) {
    return "refused\t" + onOneLine(reason);
}

/// The connection is made again when it has broken.
class Service {
public:
    ~Service() { leave(); }
    Service() = default;
    Service(const Service &) = delete;
    Service &operator=(const Service &) = delete;

    MessageConnection *connection() {
        if (kept == nullptr) {
            kept = MessageConnection::create(WickerlaneGatekeeperName, nullptr);
            kept->setEventHandler([](MessageValue *) {});
            kept->resume();
        }
        return kept.get();
    }
    void leave() {
        if (kept != nullptr)
            kept->cancel();
        kept = nullptr;
    }

    /// The answer to a request, of which `read` makes words when it is no error.
    std::string answer(const Request &request, const std::function<std::string(const Reply &)> &read) {
        const Reply reply = request.sendAndWait(connection());
        const MessageError *error = reply.error();
        if (error == nullptr)
            return read(reply);
        const String *reason = reply.errorDescription();
        const std::string text = reason != nullptr ? std::string(reason->utf8()) : "no reason";
        if (error != MessageError::connectionInterrupted() && error != MessageError::connectionInvalid())
            return refused(text);
        leave();
        return "broken\t" + onOneLine(text);
    }

private:
    Ref<MessageConnection> kept;
};

Service &service() {
    static Service only;
    return only;
}

std::string done(const Reply &) {
    return "done";
}

std::string doneIfSuccess(const Reply &reply) {
    return reply.get(keys::success) ? "done" : refused("no success");
}

Ref<Data> bytesOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    return Data::create(bytes.data(), bytes.size());
}

Ref<Dictionary> jobOf(const std::string &path, bool unlessPresent = false) {
    const std::string name = path.substr(path.rfind('/') + 1);
    return Dictionary::createWithKeys({{"imageData", bytesOf(path).get()},
                                       {"originalFilename", String::create(name).get()},
                                       {"unlessPresent", Number::of(unlessPresent)}});
}

/// The UUID of what was saved; a reason after a hyphen when it was not.
std::string resultOf(const Dictionary *result) {
    const auto *uuid = result != nullptr ? result->get<String>("uuid") : nullptr;
    if (uuid != nullptr)
        return std::string(uuid->utf8());
    const auto *error = result != nullptr ? result->get<String>("error") : nullptr;
    return std::string("-").append(error != nullptr ? onOneLine(std::string(error->utf8())) : "no result");
}

Ref<URL> urlOf(const std::string &uuid) {
    return createAssetURL(uuid, "PNG");
}

std::string save(const Arguments &paths) {
    Request request(protocol::saveAsset);
    request.set(keys::jobDictionary, jobOf(paths.at(0)).get());
    return service().answer(request, [](const Reply &reply) {
        const std::string result = resultOf(reply.get(keys::resultJobDictionary));
        return result.starts_with('-') ? refused(result.substr(1)) : "done\t" + result;
    });
}

/// Of a file, with its metadata and the second file of its shot.
std::string saveShot(const Arguments &paths) {
    Request request(protocol::saveAsset);
    const auto job = Dictionary::createWithKeys({{"filePath", String::create(paths.at(0)).get()},
                                                 {"sidecarPath", String::create(paths.at(1)).get()},
                                                 {"companionPath", String::create(paths.at(2)).get()}});
    request.set(keys::jobDictionary, job.get());
    return service().answer(request, [](const Reply &reply) {
        const Dictionary *saved = reply.get(keys::resultJobDictionary);
        const std::string result = resultOf(saved);
        if (result.starts_with('-'))
            return refused(result.substr(1));
        return saved->get("companionWasSaved") != nullptr ? "done\t" + result : refused("not as one shot");
    });
}

template <bool UnlessPresent>
std::string saveBatch(const Arguments &paths) {
    const auto jobs = MutableArray::create();
    for (const std::string &path : paths)
        jobs->append(jobOf(path, UnlessPresent).get());
    Request request(protocol::batchSaveAssets);
    request.set(keys::jobDictionaries, jobs.get());
    return service().answer(request, [](const Reply &reply) {
        std::string results = "done";
        const Array *all = reply.get(keys::resultJobDictionaries);
        for (std::size_t i = 0; all != nullptr && i < all->count(); ++i)
            results.append("\t").append(resultOf(as<Dictionary>(all->at(i))));
        return results;
    });
}

template <const auto &Row>
std::string changeAsset(const Arguments &uuids) {
    Request request(Row);
    request.set(keys::assetURL, urlOf(uuids.at(0)).get());
    return service().answer(request, doneIfSuccess);
}

std::string edit(const Arguments &arguments) {
    Request request(protocol::setLargePreviewImage);
    request.set(keys::assetURL, urlOf(arguments.at(0)).get());
    const auto bytes = bytesOf(arguments.at(1));
    request.set(keys::imageData, bytes.get());
    return service().answer(request, doneIfSuccess);
}

std::string revert(const Arguments &uuids) {
    Request request(protocol::revertAsset);
    request.set(keys::assetURL, urlOf(uuids.at(0)).get());
    return service().answer(request, done);
}

std::string makeAlbum(const Arguments &names) {
    Request request(protocol::addGroup);
    request.set(keys::name, String::create(names.at(0)).get());
    return service().answer(request, [](const Reply &reply) {
        return reply.get(keys::nameTaken) ? refused("the name is taken") : "done";
    });
}

std::string addToAlbum(const Arguments &arguments) {
    Request request(protocol::addAssetToAlbum);
    request.set(keys::assetURL, urlOf(arguments.at(1)).get());
    request.set(keys::albumUUID, String::create(arguments.at(0)).get());
    return service().answer(request, doneIfSuccess);
}

std::string adjustDate(const Arguments &arguments) {
    const auto uuids = MutableArray::create();
    for (std::size_t i = 1; i < arguments.size(); ++i)
        uuids->append(String::create(arguments[i]).get());
    Request request(protocol::adjustDates);
    request.set(keys::seconds, std::stoll(arguments.at(0)));
    request.set(keys::photoUUIDs, uuids.get());
    return service().answer(request, done);
}

std::string readOriginal(const Arguments &uuids) {
    Request request(protocol::fileDescriptorForAssetURL);
    request.set(keys::assetURL, urlOf(uuids.at(0)).get());
    return service().answer(request, [](const Reply &reply) {
        return reply.has(keys::fileDescriptor) ? "done" : refused("no descriptor");
    });
}

std::string count(const Arguments &) {
    return service().answer(Request(protocol::getPhotosAndVideosCount), [](const Reply &reply) {
        return "done\t" + std::to_string(reply.get(keys::photoCount));
    });
}

template <const auto &Row>
std::string withoutArguments(const Arguments &) {
    return service().answer(Request(Row), done);
}

const std::map<std::string, std::function<std::string(const Arguments &)>> operations = {
    {"save", save},
    {"batch", saveBatch<false>},
    {"batch-unless-present", saveBatch<true>},
    {"shot", saveShot},
    {"delete", changeAsset<protocol::deleteAsset>},
    {"remove", changeAsset<protocol::removeAsset>},
    {"restore", changeAsset<protocol::restoreTrashedAsset>},
    {"edit", edit},
    {"revert", revert},
    {"album", makeAlbum},
    {"add", addToAlbum},
    {"adjust", adjustDate},
    {"read", readOriginal},
    {"count", count},
    {"recover", withoutArguments<protocol::recoverFromCrashIfNeeded>},
    {"repair", withoutArguments<protocol::repairPotentialModelCorruption>},
    {"mend-singletons", withoutArguments<protocol::repairSingletonObjects>},
    {"checkpoint", withoutArguments<protocol::dataMigrationWillFinish>},
};

Arguments wordsOf(const std::string &line) {
    Arguments words;
    for (std::size_t start = 0; start != 0 || words.empty();) {
        const std::size_t end = line.find('\t', start);
        words.push_back(line.substr(start, end - start));
        start = end + 1;
    }
    return words;
}

} // namespace

int main() {
    for (std::string line; std::getline(std::cin, line);) {
        const ReleaseScope scope;
        Arguments words = wordsOf(line);
        const auto operation = operations.find(words[0]);
        words.erase(words.begin());
        std::cout << (operation != operations.end() ? operation->second(words) : "there is no such operation")
                  << std::endl;
    }
    return 0;
}
