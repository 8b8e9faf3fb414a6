#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <filesystem>
#include <thread>

#include "RawSocket.h"
#include "Service.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/model/Problem.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/platform/message/listener/PeerProcess.h"
#include "wickerlane/platform/message/service/ServiceSocket.h"
#include "wickerlane/platform/message/wire/MessageDecoder.h"
#include "wickerlane/platform/message/wire/MessageWire.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

MATCHER_P2(isError, text, kind, "") {
    const auto *error = as<MessageError>(arg.get());
    *result_listener << arg->description()->utf8();
    return error != nullptr && error->text() == text && error->errorKind() == static_cast<std::int64_t>(kind);
}

/// Makes the root the user's data folder, with a runtime folder in it, which is returned.
std::string chooseUserFolders() {
    const std::string data = rootPath(), runtime = data + "/run";
    EXPECT_TRUE(makeFolders(runtime));
    setenv("XDG_DATA_HOME", data.c_str(), 1);
    setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    return runtime;
}

} // namespace

TEST(Listener, RefusesTheClientThatIsOneTooMany) {
    const struct {
        std::size_t ofProcess, ofUser;
        const char *refusal;
    } cases[] = {
        {2, 3, "The process has too many connections to the service."},
        {3, 2, "The user has too many connections to the service."},
    };
    for (const auto &[ofProcess, ofUser, refusal] : cases) {
        MessageListener::Options options;
        options.limits.connections = ofProcess;
        options.limits.connectionsOfUser = ofUser;
        const auto listener = listen(echo, nullptr, options);
        auto first = connect();
        const auto second = connect();
        ASSERT_EQ(numberOf(first->sendWithReplySync(numbered(1).get()).get()), 1);
        ASSERT_EQ(numberOf(second->sendWithReplySync(numbered(1).get()).get()), 1);
        const auto third = connect();
        EXPECT_THAT(third->sendWithReplySync(numbered(1).get()), isError(refusal, ProblemKind::busy));
        first->cancel();
        EXPECT_TRUE(
            waitUntil([&] { return numberOf(third->sendWithReplySync(numbered(3).get()).get()) == 3; }));
        listener->cancel();
    }
}

TEST(Listener, TellsARefusedClientWhyInItsReplyAndNotAsAnEvent) {
    std::atomic<bool> isWelcome{false};
    const auto listener = MessageListener::create(serviceName, WorkQueue::global(), echo, {});
    listener->setPeerHandler([&](MessagePeer *) { return isWelcome.load(); });
    listener->resume();
    std::promise<MessageValue *> event;
    const auto connection = connect([&](MessageValue *value) { event.set_value(value); });
    std::promise<Ref<MessageValue>> reply;
    connection->sendWithReply(numbered(1).get(), nullptr,
                              [&](MessageValue *value) { reply.set_value(value); });
    EXPECT_THAT(resultOf(reply), isError("The service refuses this process.", ProblemKind::refused));
    EXPECT_EQ(resultOf(event), MessageError::connectionInterrupted());
    isWelcome = true;
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(2).get()).get()), 2) << "it connects again";
}

TEST(Listener, SaysOfAKeptMessageWhenItsPeerHasGone) {
    std::promise<Ref<ReceivedMessage>> received;
    std::promise<void> unwanted;
    int wakes = 0;
    const auto listener = listen([&](ReceivedMessage *message) {
        if (numberOf(message->message()) == 1) {
            EXPECT_TRUE(message->whenUnwanted([&] { ++wakes; }));
            message->reply(message->message());
            return;
        }
        EXPECT_TRUE(message->whenUnwanted([&] { unwanted.set_value(); }));
        received.set_value(message);
    });
    const auto connection = connect();
    EXPECT_EQ(numberOf(connection->sendWithReplySync(numbered(1).get()).get()), 1);
    connection->sendWithReply(numbered(2).get(), nullptr, [](MessageValue *) {});
    Ref<ReceivedMessage> kept = resultOf(received);
    connection->cancel();
    unwanted.get_future().wait();
    EXPECT_EQ(wakes, 0) << "it was released before";
    EXPECT_FALSE(kept->whenUnwanted([] {})) << "it has gone";
    kept = nullptr;
    listener->cancel();
}

TEST(Listener, TellsAClientWhenTheServiceHasNoDescriptorsLeft) {
    const auto listener = listen(echo);
    // The client opens its socket first; what the service opens then finds no number free.
    const UniqueFd client = ServiceSocket(serviceName).connect();
    std::string greeting(sizeof(FrameHeader) + sizeof FrameHeader::version, 0);
    ASSERT_EQ(recv(client.get(), greeting.data(), greeting.size(), MSG_WAITALL),
              static_cast<ssize_t>(greeting.size()))
        << "the listener is at work";
    UniqueFd next(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    socklen_t length = sizeof address;
    ASSERT_EQ(getpeername(client.get(), reinterpret_cast<sockaddr *>(&address), &length), 0);
    std::vector<UniqueFd> all;
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    const rlimit few{.rlim_cur = 128, .rlim_max = before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    for (UniqueFd fd; fd.reset(open("/dev/null", O_RDONLY | O_CLOEXEC)), fd;)
        all.push_back(std::move(fd));
    EXPECT_EQ(connect(next.get(), reinterpret_cast<const sockaddr *>(&address), length), 0);
    std::string answer;
    EXPECT_TRUE(readToEnd(next.get(), answer));
    all.clear();
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &before), 0);
    ASSERT_GT(answer.size(), sizeof(FrameHeader));
    EXPECT_EQ(loadUnaligned<FrameHeader>(answer.data()).kind, FrameKind::refusal);
    const std::string contents = answer.substr(sizeof(FrameHeader));
    EXPECT_THAT(Ref<MessageValue>(decodeError(std::as_bytes(std::span(contents)))),
                isError("The service has no file descriptors left.", ProblemKind::busy));
}

TEST(Listener, AsksAboutEachPeerAndKnowsItFromTheKernel) {
    for (const bool welcome : {true, false}) {
        PeerIdentity seen;
        auto listener = MessageListener::create(serviceName, WorkQueue::global(), echo, {});
        listener->setPeerHandler([&](MessagePeer *peer) {
            EXPECT_TRUE(peer->isAlive());
            seen = peer->identity();
            return welcome;
        });
        listener->resume();
        const auto connection = connect();
        const auto reply = connection->sendWithReplySync(numbered(1).get());
        EXPECT_EQ(reply->kind(), welcome ? MessageKind::dictionary : MessageKind::error);
        EXPECT_EQ(seen.process, getpid());
        EXPECT_EQ(seen.user, getuid());
        listener->cancel();
    }
}

TEST(Listener, IdentifiesPeersWithAndWithoutTheNewerKernelCall) {
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends), 0);
    const UniqueFd one(ends[0]);
    const UniqueFd other(ends[1]);
    for (const PidfdFrom from : {PidfdFrom::socketWherePossible, PidfdFrom::processID}) {
        const auto peer = identifyPeer(one.get(), from);
        ASSERT_TRUE(peer);
        EXPECT_TRUE(peer->isAlive());
        EXPECT_EQ(peer->identity.process, getpid());
        EXPECT_GT(peer->identity.startTime, 0U);
        char path[4096] = {};
        ASSERT_GT(readlink("/proc/self/exe", path, sizeof path - 1), 0);
        EXPECT_TRUE(peer->identity.program.is(path)) << peer->identity.program.path;
    }
}

TEST(Listener, AnswersWhatItsHandlerForgot) {
    const auto listener = listen([](ReceivedMessage *received) {
        if (numberOf(received->message()) == 2) {
            received->replyError("no", static_cast<std::int64_t>(ProblemKind::exists));
            received->reply(numbered(2).get()); // too late
        }
        if (numberOf(received->message()) == 3)
            received->replyError("no \x9b in it", static_cast<std::int64_t>(ProblemKind::exists));
    });
    const auto connection = connect();
    EXPECT_THAT(connection->sendWithReplySync(numbered(1).get()),
                isError("The service did not answer.", ProblemKind::failed));
    EXPECT_THAT(connection->sendWithReplySync(numbered(2).get()), isError("no", ProblemKind::exists));
    EXPECT_THAT(connection->sendWithReplySync(numbered(3).get()),
                isError("no \uFFFD in it", ProblemKind::exists));
}

TEST(Listener, TakesANameThatIsFree) {
    auto listener = listen(echo);
    std::string error;
    EXPECT_EQ(MessageListener::create(serviceName, nullptr, echo, {}, &error), nullptr);
    EXPECT_EQ(error, "the name is taken by a service that runs");
    listener->cancel();
    EXPECT_NE(MessageListener::create(serviceName, nullptr, echo, {}), nullptr);
    for (const char *name : {"", ".hidden", "a/b"})
        EXPECT_EQ(MessageListener::create(name, nullptr, echo, {}), nullptr) << name;
}

// As a child that a killed service has just forked: it closes the socket when it runs its program.
TEST(Listener, WaitsForANameThatNobodyServes) {
    const ServiceSocket place(serviceName);
    UniqueFd left = place.listen();
    ASSERT_TRUE(left);
    std::jthread closing([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        left.reset();
    });
    std::string error;
    EXPECT_NE(MessageListener::create(serviceName, nullptr, echo, {}, &error), nullptr) << error;
}

TEST(Listener, SetsWhoMayConnectWhateverTheUmask) {
    const std::string folder = rootPath() + "/var/run/wickerlane/services";
    const auto modeOf = [](const std::string &path) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? status.st_mode & ALLPERMS : 0;
    };
    const mode_t before = umask(0);
    for (const bool isDevice : {false, true})
        for (const mode_t mask : {0, 0777}) {
            if (isDevice) {
                ASSERT_TRUE(makeFolders(rootPath() + "/etc/wickerlane"));
                ASSERT_TRUE(openFile(rootPath() + "/etc/wickerlane/device", O_WRONLY | O_CREAT));
            }
            const ServiceSocket place(serviceName); // as a folder of an earlier process
            chmod(folder.c_str(), 0770);
            umask(mask);
            const auto listener = listen(echo);
            umask(0);
            for (const char *above : {"/var", "/var/run"})
                EXPECT_EQ(modeOf(rootPath() + above), isDevice ? 0711U : 0700U) << above;
            EXPECT_EQ(modeOf(folder), isDevice ? 0755U : 0700U);
            EXPECT_EQ(modeOf(folder + '/' + serviceName), isDevice ? 0666U : 0600U);
        }
    umask(before);
}

// What the owner has opened further stays open.
TEST(Listener, LeavesTheFoldersAboveAsOpenAsTheyAre) {
    ASSERT_TRUE(makeFolders(rootPath() + "/var"));
    ASSERT_EQ(chmod((rootPath() + "/var").c_str(), 0755), 0);
    const auto listener = listen(echo);
    struct stat status {};
    ASSERT_EQ(stat((rootPath() + "/var").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & ALLPERMS, 0755U);
}

TEST(Listener, WorksBelowARootOfAnyLength) {
    const std::string root = rootPath() + "/" + std::string(100, 'a') + "/" + std::string(100, 'b');
    ASSERT_TRUE(makeFolders(root));
    ASSERT_EQ(setenv("WICKERLANE_ROOT", root.c_str(), 1), 0);
    const auto listener = listen(echo);
    EXPECT_EQ(numberOf(connect()->sendWithReplySync(numbered(1).get()).get()), 1);
}

// In a user's own root the socket is a link to one that lives as long as the user's login.
TEST(Listener, ListensInTheUsersRuntimeFolder) {
    const std::string data = rootPath(), runtime = chooseUserFolders();
    const std::string inRuntime = runtime + "/wickerlane/services/" + serviceName;
    const struct {
        const char *root;
        mode_t mode;
        bool isInRuntime;
    } cases[] = {{"/wickerlane", 0700, true}, {"/wickerlane", 0750, false}, {"/other", 0700, false}};
    for (const auto &[root, mode, isInRuntime] : cases) {
        setenv("WICKERLANE_ROOT", (data + root).c_str(), 1);
        ASSERT_EQ(chmod(runtime.c_str(), mode), 0);
        const std::string inRoot = data + root + "/var/run/wickerlane/services/" + serviceName;
        const auto listener = listen(echo);
        EXPECT_EQ(ServiceSocket(serviceName).path(), isInRuntime ? inRuntime : inRoot) << root << mode;
        struct stat status {};
        ASSERT_EQ(stat(inRoot.c_str(), &status), 0) << root << mode;
        EXPECT_EQ(status.st_mode, S_IFSOCK | 0600U) << root << mode;
        EXPECT_EQ(numberOf(connect()->sendWithReplySync(numbered(1).get()).get()), 1) << root << mode;
        // The environment of a client may say nothing of the login.
        unsetenv("XDG_RUNTIME_DIR");
        EXPECT_EQ(numberOf(connect()->sendWithReplySync(numbered(1).get()).get()), 1) << root << mode;
        listener->cancel();
        EXPECT_TRUE(waitUntil([&] { return lstat(inRoot.c_str(), &status) != 0; })) << root << mode;
        EXPECT_NE(lstat(inRuntime.c_str(), &status), 0) << root << mode;
        setenv("XDG_RUNTIME_DIR", runtime.c_str(), 1);
    }
}

// Clients that are connected keep a service alive when the login, and with it the folder, has ended.
TEST(Listener, GoesOnBelowTheRootWhenTheRuntimeFolderIsRemoved) {
    const std::string data = rootPath(), runtime = chooseUserFolders();
    setenv("WICKERLANE_ROOT", (data + "/wickerlane").c_str(), 1);
    const std::string inRoot = data + "/wickerlane/var/run/wickerlane/services/" + serviceName;
    const auto listener = listen(echo);
    const auto before = connect();
    ASSERT_EQ(numberOf(before->sendWithReplySync(numbered(1).get()).get()), 1);
    ASSERT_TRUE(std::filesystem::is_symlink(inRoot));
    std::filesystem::remove_all(runtime);
    ASSERT_TRUE(waitUntil([&] { return static_cast<bool>(ServiceSocket(serviceName).connect()); }));
    EXPECT_TRUE(std::filesystem::is_socket(std::filesystem::symlink_status(inRoot)));
    EXPECT_EQ(numberOf(connect()->sendWithReplySync(numbered(2).get()).get()), 2);
    EXPECT_EQ(numberOf(before->sendWithReplySync(numbered(3).get()).get()), 3);
    listener->cancel();
    EXPECT_FALSE(std::filesystem::exists(std::filesystem::symlink_status(inRoot)));
}

// Another service may have taken the name meanwhile.
TEST(Listener, LeavesTheSocketOfAnotherServiceWhereItIs) {
    const std::string inRoot = pathUnderRoot(std::string("/var/run/wickerlane/services/") + serviceName);
    const auto listener = listen(echo);
    const auto client = connect();
    ASSERT_EQ(numberOf(client->sendWithReplySync(numbered(1).get()).get()), 1) << "it runs";
    ASSERT_EQ(rename(inRoot.c_str(), (inRoot + ".before").c_str()), 0);
    const auto successor = listen(echo);
    ASSERT_NE(successor, nullptr);
    listener->cancel();
    EXPECT_EQ(numberOf(connect()->sendWithReplySync(numbered(1).get()).get()), 1);
}

// A service manager that listens there need not leave a link.
TEST(Listener, IsFoundInTheUsersRuntimeFolderWithoutALink) {
    const std::string root = rootPath() + "/wickerlane";
    chooseUserFolders();
    setenv("WICKERLANE_ROOT", root.c_str(), 1);
    const auto listener = listen(echo);
    ASSERT_EQ(unlink(pathUnderRoot(std::string("/var/run/wickerlane/services/") + serviceName).c_str()), 0);
    EXPECT_EQ(numberOf(connect()->sendWithReplySync(numbered(1).get()).get()), 1);
    EXPECT_EQ(MessageListener::create(serviceName, nullptr, echo, {}), nullptr);
}

TEST(Listener, AndItsClientsTellEachOtherTheirVersions) {
    const PeerVersion silent{};
    const PeerVersion later{.protocol = 70, .release = {3, 11, 2}};
    EXPECT_EQ(later.text(), "3.11.2");
    EXPECT_EQ(PeerVersion::fromNumber(later.number()), later);
    for (const PeerVersion &service : {silent, later, PeerVersion::own()}) {
        MessageListener::Options options;
        options.version = service;
        PeerVersion seen = later;
        const auto listener = listen(
            [&](ReceivedMessage *received) {
                seen = received->peer()->version();
                received->replyError("no");
            },
            nullptr, options);
        const auto connection = connect();
        EXPECT_EQ(connection->serviceVersion(), silent) << "it has not connected yet";
        const auto reply = connection->sendWithReplySync(numbered(1).get());
        const auto *error = as<MessageError>(reply.get());
        ASSERT_NE(error, nullptr) << service.text();
        EXPECT_EQ(error->text(), "no") << service.text();
        EXPECT_EQ(error->service(), service) << service.text();
        EXPECT_EQ(connection->serviceVersion(), service);
        // One of 0.9 would end the connection if it were told anything.
        EXPECT_EQ(seen, service == silent ? silent : PeerVersion::own()) << service.text();
        connection->cancel();
        listener->cancel();
    }
}
