#include <fcntl.h>

#include <array>
#include <memory>
#include <string>
#include <vector>

#include "wickerlane/client/ClientInternal.h"
#include "wickerlane/platform/file/UniqueFd.h"
#include "wickerlane/platform/message/wire/MessageLimits.h"
#include "wickerlane/platform/object/Mutex.h"
#include "wickerlane/protocol/AssetRows.h"
#include "wickerlane/protocol/JobKeys.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

namespace {

/// What names files in a job.
constexpr std::array pathKeys = {protocol::job::filePath, protocol::job::sidecarPath,
                                 protocol::job::companionPath};

/// Jobs that travel in one message, with the files that they name.
struct OpenJobs {
    Ref<MutableArray> jobs = MutableArray::create();
    Ref<MessageDictionary> files = MessageDictionary::create();
};

/// Opens what a job names. A file that can't be opened is left to hoardd, which says why.
void openFiles(const Dictionary &job, MessageDictionary &files) {
    for (const std::string_view key : pathKeys) {
        const auto *path = job.get<String>(key);
        if (path == nullptr)
            continue;
        const std::string name(path->utf8());
        if (const UniqueFd file(::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)); file)
            files.setDescriptor(name.c_str(), file.get());
    }
}

/// The jobs from `first` on that fit into one message; moves `first` behind them.
OpenJobs nextOf(const Array &jobs, std::size_t &first) {
    OpenJobs next;
    for (; first < jobs.count(); ++first) {
        const auto *job = as<Dictionary>(jobs.at(first));
        if (next.files->count() + pathKeys.size() > MessageLimits::descriptors)
            break;
        if (job != nullptr)
            openFiles(*job, *next.files);
        next.jobs->append(jobs.at(first));
    }
    return next;
}

/// The results of several requests, which become those of one.
class Gathered {
public:
    explicit Gathered(Handler<void(Array *, Error *)> whenWhole) : handler(std::move(whenWhole)) {}

    /// Of one more request: its number.
    std::size_t expect() {
        const MutexLock lock(mutex);
        parts.emplace_back();
        return parts.size() - 1;
    }
    /// Null for a request that has failed.
    void give(std::size_t request, Array *results) {
        {
            const MutexLock lock(mutex);
            parts[request] = Ref<Array>(results);
        }
        endOne();
    }
    /// That no more requests come.
    void endSending() { endOne(); }

private:
    void endOne() {
        std::vector<Ref<Array>> whole;
        {
            const MutexLock lock(mutex);
            // Sending ends too.
            if (++ended <= parts.size())
                return;
            whole.swap(parts);
        }
        auto all = MutableArray::create();
        for (const Ref<Array> &part : whole) {
            if (!part)
                return handler(nullptr, errorWithCode(WickerlaneErrorService));
            for (std::size_t i = 0; i < part->count(); ++i)
                all->append(part->at(i));
        }
        handler(all.get(), nullptr);
    }

    Mutex mutex;
    std::vector<Ref<Array>> parts;
    std::size_t ended = 0;
    const Handler<void(Array *, Error *)> handler;
};

} // namespace

void JXGatekeeperClient::saveOpenFilesWithJobDictionaries(Array *jobDictionaries,
                                                          Handler<Array *, Error *> handler) {
    if (!handler)
        failParameter(this, protocol::saveOpenFiles.name, "resultsBlock != NULL");
    const auto gathered = std::make_shared<Gathered>(std::move(handler));
    const Ref<Array> jobs(jobDictionaries != nullptr ? jobDictionaries : Array::of({}));
    std::size_t first = 0;
    do { // at least once, so that it is hoardd that answers
        const OpenJobs next = nextOf(*jobs, first);
        Request request(protocol::saveOpenFiles);
        request.set(keys::jobDictionaries, next.jobs.get());
        request.set(keys::openFiles, next.files.get());
        request.sendWithReply(
            connection(), replyQueue(), [gathered, part = gathered->expect()](const Reply &reply) {
                gathered->give(part, reply.isDictionary() ? reply.get(keys::resultJobDictionaries) : nullptr);
            });
    } while (first < jobs->count());
    // On the queue of handlers, since it may be the last to end.
    replyQueue()->async([gathered] { gathered->endSending(); });
}
