#include "wickerlane/client/JXGatekeeperClient.h"

#include <cstdlib>

#include "wickerlane/client/ClientInternal.h"
#include "wickerlane/platform/device/Device.h"
#include "wickerlane/protocol/CoreRows.h"

using namespace wickerlane;
using namespace wickerlane::client;
namespace keys = wickerlane::protocol::keys;

constinit const Class JXGatekeeperClient::classInfo{"JXGatekeeperClient", &Object::classInfo, nullptr};
WL_BUILT_IN_CLASS(JXGatekeeperClient);

namespace {
WL_IMMORTAL Immortal<ConstantString> errorDomainText{"Wickerlane"};
WL_IMMORTAL Immortal<ConstantString> requestErrorDomainText{"WickerlaneRequest"};
constinit Once sharedInstanceOnce;
constinit JXGatekeeperClient *shared = nullptr;
} // namespace

constinit String *const WickerlaneErrorDomain = errorDomainText.get();
constinit String *const WickerlaneRequestErrorDomain = requestErrorDomainText.get();

namespace wickerlane::client {

void failParameter(const JXGatekeeperClient *client, const char *method, const char *condition) {
    consoleLog("*** Assertion failure in %s, %@, JXGatekeeperClient: Invalid parameter not satisfying: %s",
               method, client, condition);
    std::abort();
}

Error *errorWithCode(std::int64_t code) {
    return autorelease(Error::create(WickerlaneErrorDomain, code));
}

Array *uuidsOf(const Array *photos) {
    if (photos == nullptr)
        return nullptr;
    auto uuids = MutableArray::create();
    for (std::size_t i = 0; i < photos->count(); ++i)
        if (const auto *photo = dynamic_cast<const Photo *>(photos->at(i)); photo != nullptr && photo->uuid())
            uuids->append(photo->uuid());
    return autorelease(std::move(uuids));
}

} // namespace wickerlane::client

JXGatekeeperClient *JXGatekeeperClient::sharedInstance() {
    sharedInstanceOnce.run([] { shared = init().leak(); });
    return shared;
}

Ref<JXGatekeeperClient> JXGatekeeperClient::init() {
    auto client = Ref<JXGatekeeperClient>::adopt(new JXGatekeeperClient);
    if (deviceProcessorCount() < 2)
        client->_serialReplyQueue = WorkQueue::create("JXGatekeeperClient serial reply queue");
    // The client keeps the reference that create() returned and never releases it.
    MessageConnection *connection =
        MessageConnection::create(WickerlaneGatekeeperName, client->sendQueue()).leak();
    client->setConnection(connection);
    // Until it is cancelled the handler keeps the connection, which may be released while it runs.
    connection->setEventHandler([connection = Ref(connection)](MessageValue *event) {
        if (event == MessageError::connectionInvalid()) {
            consoleLog(
                "Named service '%s' not found. hoardd is down or misconfigured. Things will not work the way "
                "you expect them to.",
                connection->serviceName());
            connection->cancel();
        } else if (event != MessageError::connectionInterrupted()) {
            // hoardd sends nothing unasked, so that this is not hoardd.
            __builtin_trap();
        }
    });
    connection->resume();
    return client;
}

WorkQueue *JXGatekeeperClient::replyQueue() const {
    return WorkQueue::global();
}

WorkQueue *JXGatekeeperClient::sendQueue() const {
    return replyQueue();
}

WorkQueue *JXGatekeeperClient::deviceSpecificReplyQueue() const {
    return _serialReplyQueue ? _serialReplyQueue.get() : replyQueue();
}

Error *JXGatekeeperClient::securityPolicyErrorForMissingEntitlement(String *entitlement) {
    return autorelease(Error::createWithDescription(
        WickerlaneErrorDomain, WickerlaneErrorMissingEntitlement,
        String::format("A required entitlement (%@) was not present", entitlement)));
}

Error *JXGatekeeperClient::lastError() {
    return lastErrorOfThread();
}

void JXGatekeeperClient::requestAccessWithHandler(Handler<bool, Error *> handler) {
    if (!handler)
        return;
    WorkQueue *completionQueue = WorkQueue::global();
    const Request request(protocol::requestAccess);
    request.sendWithReply(connection(), replyQueue(), [handler, completionQueue](const Reply &reply) {
        if (reply.isError()) {
            // Only this error has a description: that of the service's error.
            const auto error = Error::createWithDescription(WickerlaneErrorDomain, WickerlaneErrorService,
                                                            reply.errorDescription());
            handler(false, error.get());
            return;
        }
        if (!reply.isDictionary())
            return;
        // A status, not a boolean: 0 grants access.
        const std::int64_t status = reply.get(keys::authorized);
        if (status == 0) {
            completionQueue->async([handler] { handler(true, nullptr); });
            return;
        }
        // Status and code cross: 1 gives 2, and 2 gives 1.
        const std::int64_t code = status == 1   ? WickerlaneErrorAccessStatusOne
                                  : status == 2 ? WickerlaneErrorAccessStatusTwo
                                                : WickerlaneErrorService;
        completionQueue->async([handler, code] { handler(false, errorWithCode(code)); });
    });
}

void JXGatekeeperClient::sendDaemonJob(JXDaemonJob *job, Handler<MessageValue *> replyHandler) {
    const auto message = MessageDictionary::create();
    job->encodeToMsgObject(message.get());
    if (!message) {
        replyHandler(nullptr);
        return;
    }
    if (job->shouldArchiveMsgToDisk())
        job->archiveMsgToDisk(message.get());
    if (replyHandler)
        connection()->sendWithReply(message.get(), replyQueue(), std::move(replyHandler));
    else
        connection()->send(message.get());
}

void JXGatekeeperClient::waitUntilConnectionSendsAllMessages() {
    const auto sent = Semaphore::create(0);
    connection()->sendBarrier([sent] { sent->signal(); });
    sent->wait();
}

void JXGatekeeperClient::launchHoardd() {
    const Request request(protocol::launchHoardd);
    request.sendWithReply(connection(), replyQueue(), [](const Reply &) {});
}
