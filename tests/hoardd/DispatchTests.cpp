// What the daemon does with requests as such: rows, shapes, access.
#include "hoardd/Daemon.h"

#include <algorithm>
#include <filesystem>

#include "hoardd/service/Access.h"
#include "tests/hoardd/PlausibleRequest.h"
#include "tests/hoardd/RunningHoardd.h"
#include "wickerlane/platform/consent/Consent.h"
#include "wickerlane/platform/file/Files.h"

using namespace wickerlane;
using namespace wickerlane::test;

namespace {

using Requests = RunningHoardd;

/// A value of a kind that no field of any row takes.
Ref<MessageValue> strayValue() {
    return MessageScalar::createReal(1.5);
}

TEST_F(Requests, ThatDoNotFitTheirRowAreAnsweredWithAnErrorThatSaysWhy) {
    ReleaseScope scope;
    for (const protocol::Row *row : servedRows()) {
        const auto fields = row->requestKeys.all();
        for (const protocol::Field &broken : fields)
            for (const bool isMissing : {true, false}) {
                if (isMissing && broken.optional)
                    continue;
                const auto message = request(row->code);
                for (const protocol::Field &field : fields)
                    if (field.key != broken.key && !field.optional)
                        message->set(field.key, plausibleValue(field.kinds.front()).get());
                if (!isMissing)
                    message->set(broken.key, strayValue().get());
                const std::string text = refusal(message.get());
                EXPECT_NE(text.find(broken.key), std::string::npos)
                    << row->name << ' ' << broken.key << (isMissing ? " missing: " : " wrong: ") << text;
            }
    }
    EXPECT_NE(refusal(MessageDictionary::create().get()), "");
    EXPECT_EQ(refusal(request(9999).get()), "there is no operation 9999");
    EXPECT_NE(refusal(request(INT64_MIN).get()), "");
    const auto text = MessageDictionary::create();
    text->setString("operation", "16");
    EXPECT_NE(refusal(text.get()), "");
    const auto unsignedCode = MessageDictionary::create();
    unsignedCode->setUInt64("operation", 16);
    EXPECT_NE(refusal(unsignedCode.get()), "");
    EXPECT_EQ(answer(request(16).get())->getUInt64("photoCount"), 0U) << "the daemon goes on";
}

TEST_F(Requests, ForAssetsThatDoNotExistAreRefused) {
    ReleaseScope scope;
    for (const std::int64_t code : {1, 2})
        for (const char *url : {"rez-vault://asset/asset.JPG?id=0000000A-0000-4000-8000-00000000ABCD&ext=JPG",
                                "file:///etc/passwd", "x", "rez-vault://asset/asset.JPG?id=' OR 1"}) {
            const auto message = request(code);
            message->setString("assetURL", url);
            EXPECT_EQ(refusal(message.get()), "there is no such asset") << url;
        }
    for (const std::string &uri :
         {std::string("x-hoard-store://x/GenericAsset/p1"), std::string(), std::string(300, 'a')}) {
        const auto message = request(6);
        message->setData("objectID", uri.data(), uri.size());
        message->setUInt64("format", 0);
        EXPECT_EQ(refusal(message.get()), "there is no such asset") << uri;
    }
    // What the shape does not tell is checked by the handler.
    const auto surface = request(8);
    surface->set("imagePort", MessageDictionary::create().get());
    EXPECT_EQ(refusal(surface.get()), "imagePort is not a surface");
    const auto job = request(8);
    const auto unreadable = MessageDictionary::create();
    unreadable->setDescriptor("file", 0);
    job->set("jobDictionary", unreadable.get());
    EXPECT_EQ(refusal(job.get()), "jobDictionary is not a job dictionary");
}

TEST_F(Requests, SayWhetherTheUserHasAccess) {
    ReleaseScope scope;
    const auto reply = answer(request(3).get());
    ASSERT_TRUE(reply->contains("authorized")) << "its absence would grant access";
    EXPECT_EQ(reply->getInt64("authorized"), 0);
    EXPECT_EQ(answer(request(10).get())->count(), 0U);

    const uid_t me = getuid();
    EXPECT_EQ(hoardd::accessOf({me, 0, 1, 1, {}}), hoardd::AccessStatus::granted);
    EXPECT_EQ(hoardd::accessOf({me + 1, 0, 1, 1, {}}), hoardd::AccessStatus::notAsked);
}

TEST_F(Requests, ThatAreRefusedGetTheKindOfTheProblem) {
    ReleaseScope scope;
    const auto kindOf = [&](MessageDictionary *message) {
        const auto reply = ask(message);
        const auto *error = as<MessageError>(reply.get());
        return error != nullptr ? error->errorKind() : -1;
    };
    const auto unknownAsset = request(1);
    unknownAsset->setString("assetURL", "x");
    EXPECT_EQ(kindOf(unknownAsset.get()), 2) << "not found";
    EXPECT_EQ(kindOf(request(9999).get()), 1) << "invalid";
    const auto nameless = request(11);
    EXPECT_EQ(kindOf(nameless.get()), 1) << "invalid";
    ASSERT_TRUE(ConsentStore::shared().decide(
        {kPVGServicePhotos, std::filesystem::read_symlink("/proc/self/exe"), getuid(), false}));
    EXPECT_EQ(kindOf(request(16).get()), 3) << "refused";
}

TEST_F(Requests, WithoutReplyHaveTheirProblemsLogged) {
    ReleaseScope scope;
    const auto write = request(24);
    write->setData("dataToSave", "x", 1);
    write->setString("destinationURL", "file:///etc/not-written");
    connection->send(write.get());
    answer(request(16).get()); // comes after it
    const FileBytes log = contentsOf(logOfService());
    const std::string text(reinterpret_cast<const char *>(log.data()), log.size());
    EXPECT_NE(text.find("refused writeDataInBackground:toFileURL: of process " + std::to_string(getpid())),
              std::string::npos)
        << text;
}

// Of a later version, made up: this one has dropped nothing.
TEST_F(Requests, ForWhatIsNoLongerServedAreToldSinceWhen) {
    const hoardd::DroppedOperation dropped[] = {{2000, "paintAsset:", "3.0.0"}};
    hoardd::Dispatcher dispatcher(
        {.operations = hoardd::allOperations(), .dropped = dropped, .openLibrary = {}, .readyLibrary = {}});
    const auto listener = MessageListener::create(
        "org.wickerlane.test.Dispatch", nullptr,
        [&](ReceivedMessage *received) { dispatcher.dispatch(hoardd::Call(received)); }, {});
    ASSERT_TRUE(listener != nullptr && listener->resume());
    const auto client = MessageConnection::create("org.wickerlane.test.Dispatch", nullptr);
    client->resume();
    const auto said = [&](std::int64_t code) {
        const auto message = MessageDictionary::create();
        message->setInt64("operation", code);
        const auto reply = client->sendWithReplySync(message.get());
        const auto *error = as<MessageError>(reply.get());
        return error != nullptr ? std::string(error->text()) : std::string();
    };
    EXPECT_EQ(said(2000),
              "hoardd does not serve paintAsset: since 3.0.0, and the library of this program is of " +
                  PeerVersion::own().text() + ": upgrade the program");
    EXPECT_EQ(said(2001), "there is no operation 2001");
    client->cancel();
    listener->cancel();
}

} // namespace
