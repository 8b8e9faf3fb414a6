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

/// A save that takes as many requests as its files need, a few of them at a time: each has descriptors, which
/// stay open until they are sent.
class OpenSave : public std::enable_shared_from_this<OpenSave> {
public:
    OpenSave(MessageConnection *used, WorkQueue *answers, Array *all,
             Handler<void(Array *, Error *)> whenEnded)
        : connection(used), queue(answers), jobs(all), handler(std::move(whenEnded)) {}

    void begin() {
        // At least one, so that it is hoardd that answers.
        sendNext(true);
        for (std::size_t i = 1; i < requestsAtOnce && sendNext(false); ++i) {
        }
    }

private:
    struct Part {
        std::size_t jobs = 0;
        Ref<Array> results{}; ///< Null until the answer is there, and when it is an error.
        Ref<Error> error{};
    };
    static constexpr std::size_t requestsAtOnce = 8;

    /// Whether there were jobs to send, or an empty request was to be sent.
    bool sendNext(bool evenIfNone) {
        OpenJobs next;
        std::size_t number = 0;
        {
            const MutexLock lock(mutex);
            if (first >= jobs->count() && !evenIfNone)
                return false;
            next = nextOf(*jobs, first);
            number = parts.size();
            parts.push_back({next.jobs->count()});
            ++unanswered;
        }
        Request request(protocol::saveOpenFiles);
        request.set(keys::jobDictionaries, next.jobs.get());
        request.set(keys::openFiles, next.files.get());
        request.sendWithReply(
            connection.get(), queue,
            [self = shared_from_this(), number](const Reply &reply) { self->receive(number, reply); });
        return true;
    }
    void receive(std::size_t number, const Reply &reply) {
        {
            const MutexLock lock(mutex);
            if (reply.isDictionary())
                parts[number].results = Ref<Array>(reply.get(keys::resultJobDictionaries));
            else
                parts[number].error = Ref<Error>(reply.requestError());
        }
        static_cast<void>(sendNext(false));
        {
            const MutexLock lock(mutex);
            if (--unanswered != 0)
                return;
        }
        end();
    }
    /// No request is under way any more.
    void end() {
        auto all = MutableArray::create();
        const Part *failed = nullptr;
        bool isAnswered = false;
        for (const Part &part : parts) {
            isAnswered = isAnswered || part.results;
            if (!part.results)
                failed = &part;
            for (std::size_t i = 0; i < part.jobs; ++i)
                all->append(resultOf(part, i));
        }
        if (isAnswered)
            handler(all.get(), nullptr);
        else
            handler(nullptr, failed->error ? failed->error.get() : errorWithCode(WickerlaneErrorService));
    }
    /// Of a job whose request has failed, that of a refused job.
    static Object *resultOf(const Part &part, std::size_t job) {
        if (part.results && job < part.results->count())
            return part.results->at(job);
        String *reason =
            part.error ? part.error->localizedDescription() : String::of("hoardd gave no result");
        const std::int64_t kind =
            part.error ? part.error->code() : static_cast<std::int64_t>(ProblemKind::failed);
        return autorelease(
            Dictionary::createWithKeys({{protocol::jobResult::error, reason},
                                        {protocol::jobResult::requestErrorKind, Number::of(kind)}}));
    }

    const Ref<MessageConnection> connection;
    WorkQueue *const queue;
    const Ref<Array> jobs;
    const Handler<void(Array *, Error *)> handler;
    Mutex mutex;
    std::size_t first = 0;
    std::size_t unanswered = 0;
    std::vector<Part> parts;
};

} // namespace

void JXGatekeeperClient::saveOpenFilesWithJobDictionaries(Array *jobDictionaries,
                                                          Handler<Array *, Error *> handler) {
    if (!handler)
        failParameter(this, protocol::saveOpenFiles.name, "resultsBlock != NULL");
    Array *jobs = jobDictionaries != nullptr ? jobDictionaries : Array::of({});
    std::make_shared<OpenSave>(connection(), replyQueue(), jobs, std::move(handler))->begin();
}
