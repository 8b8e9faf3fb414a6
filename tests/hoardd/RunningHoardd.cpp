#include "tests/hoardd/RunningHoardd.h"

#include <poll.h>
#include <sys/pidfd.h>
#include <sys/syscall.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <thread>

#include "tests/support/Descriptors.h"
#include "tests/support/WaitUntil.h"
#include "wickerlane/platform/file/Files.h"
#include "wickerlane/protocol/ServiceName.h"

namespace wickerlane::test {

void RunningHoardd::describeService(std::vector<std::string> arguments, const std::string &analyzeAfter) {
    arguments.insert(arguments.end(), {"--analyze-after", analyzeAfter});
    const std::string folder = rootPath() + "/services";
    std::filesystem::create_directories(folder);
    std::ofstream file(folder + '/' + WickerlaneGatekeeperName + ".plist");
    file << "<plist version=\"1.0\"><dict><key>Program</key><string>" HOARDD_PROGRAM
            "</string><key>Arguments</key><array>";
    for (const std::string &argument : arguments)
        file << "<string>" << argument << "</string>";
    file << "</array></dict></plist>\n";
    setenv("WICKERLANE_SERVICES", folder.c_str(), 1);
}

void RunningHoardd::SetUp() {
    allowLastingDescriptors(folderWatchDescriptors);
    describeService();
    connection = connect();
}

void RunningHoardd::TearDown() {
    connection->cancel();
    connection = nullptr;
    if (const Process running = daemon(); running.handle)
        end(running, SIGTERM);
    if (HasFailure())
        std::cerr << "the log of hoardd:\n" << std::ifstream(logOfService()).rdbuf() << '\n';
}

std::string RunningHoardd::logOfService() {
    return pathUnderRoot(std::string("/var/log/wickerlane/") + WickerlaneGatekeeperName + ".log");
}

RunningHoardd::Process RunningHoardd::daemon() const {
    Process process;
    std::ifstream(paths.lock()) >> process.id;
    if (process.id > 0)
        process.handle.reset(static_cast<int>(syscall(SYS_pidfd_open, process.id, 0)));
    // The id of one that ended long ago may be another process's now.
    std::error_code error;
    if (process.handle &&
        !std::filesystem::equivalent("/proc/" + std::to_string(process.id) + "/exe", HOARDD_PROGRAM, error))
        process.handle.reset();
    return process;
}

void RunningHoardd::end(const Process &process, int signal) {
    syscall(SYS_pidfd_send_signal, process.handle.get(), signal, nullptr, 0);
    waitForEnd(process);
}

void RunningHoardd::waitForEnd(const Process &process) {
    pollfd ended{process.handle.get(), POLLIN, 0};
    ASSERT_EQ(poll(&ended, 1, 60'000), 1) << "hoardd " << process.id << " does not end";
}

std::vector<pid_t> RunningHoardd::childrenOf(pid_t process) {
    std::vector<pid_t> children;
    for (const auto &entry : std::filesystem::directory_iterator("/proc")) {
        std::ifstream status(entry.path() / "status");
        pid_t id = 0, parent = 0;
        for (std::string word; status >> word && word != "PPid:";)
            if (word == "Pid:")
                status >> id;
        if (status >> parent && parent == process)
            children.push_back(id);
    }
    return children;
}

std::vector<pid_t> RunningHoardd::mediaWorkersOf(pid_t process) {
    const std::size_t expected = std::clamp(std::thread::hardware_concurrency(), 1U, 4U);
    std::vector<pid_t> workers;
    EXPECT_TRUE(waitUntil([&] {
        workers = childrenOf(process);
        return workers.size() >= expected;
    }));
    return workers;
}

Ref<MessageDictionary> RunningHoardd::request(std::int64_t code) {
    auto message = MessageDictionary::create();
    message->setInt64("operation", code);
    return message;
}

Ref<MessageConnection> RunningHoardd::connect() const {
    auto made = MessageConnection::create("org.wickerlane.hoardd.Gatekeeper", nullptr);
    made->setEventHandler([](MessageValue *) {});
    made->resume();
    return made;
}

Ref<MessageDictionary> RunningHoardd::answer(MessageDictionary *message) const {
    const Ref<MessageValue> reply = ask(message);
    auto *dictionary = as<MessageDictionary>(reply.get());
    EXPECT_NE(dictionary, nullptr) << reply->description()->utf8() << " answers "
                                   << message->description()->utf8();
    return dictionary != nullptr ? Ref<MessageDictionary>(dictionary) : MessageDictionary::create();
}

std::string RunningHoardd::refusal(MessageDictionary *message) const {
    const Ref<MessageValue> reply = ask(message);
    const auto *error = as<MessageError>(reply.get());
    if (error == nullptr || error == MessageError::connectionInterrupted() ||
        error == MessageError::connectionInvalid())
        return {};
    return std::string(error->text());
}

Ref<MessageDictionary> RunningHoardd::saveRequest(Dictionary *job, ImageSurface *image,
                                                  ImageSurface *preview) const {
    auto message = request(8);
    if (const auto coded = Ref<MessageDictionary>::adopt(JXJobCreateMsgDictionaryFromDictionary(job)))
        message->set("jobDictionary", coded.get());
    JXMsgDictionarySetImageSurface(message.get(), "imagePort", image);
    JXMsgDictionarySetImageSurface(message.get(), "previewImagePort", preview);
    return message;
}

MutableDictionary *RunningHoardd::save(Dictionary *job, ImageSurface *image, ImageSurface *preview) const {
    const auto reply = answer(saveRequest(job, image, preview).get());
    EXPECT_FALSE(reply->getBool("noData"));
    EXPECT_FALSE(reply->getBool("jobQueueFull"));
    MutableDictionary *result = JXJobDictionaryFromMsgDictionary(reply->get("resultJobDictionary"));
    EXPECT_NE(result, nullptr);
    return result != nullptr ? result : autorelease(MutableDictionary::create());
}

MutableDictionary *RunningHoardd::saveData(const FileBytes &bytes) const {
    const auto job = Dictionary::createWithKeys({{"imageData", dataOf(bytes).get()}});
    return save(job.get());
}

FileBytes RunningHoardd::imageData(const Dictionary *result, std::uint64_t format) const {
    const auto message = request(6);
    const std::string uri = textIn(result, "objectIDURI");
    message->setData("objectID", uri.data(), uri.size());
    message->setUInt64("format", format);
    const auto reply = answer(message.get());
    const Data *data = JXDataFromMsgDictionary(reply.get(), "imageData");
    EXPECT_NE(data, nullptr) << "format " << format;
    return data != nullptr ? FileBytes(data->span().begin(), data->span().end()) : FileBytes();
}

std::string textIn(const Dictionary *result, std::string_view key) {
    const auto *text = result->get<String>(key);
    return text != nullptr ? std::string(text->utf8()) : std::string();
}

std::int64_t numberIn(const Dictionary *result, std::string_view key) {
    const auto *number = result->get<Number>(key);
    return number != nullptr ? number->int64Value() : -1;
}

FileBytes contentsOf(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    const std::string text{std::istreambuf_iterator<char>(file), {}};
    FileBytes bytes(text.size());
    std::memcpy(bytes.data(), text.data(), text.size());
    return bytes;
}

void writeFile(const std::string &path, const FileBytes &bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

Ref<Data> dataOf(const FileBytes &bytes) {
    return Data::create(bytes.data(), bytes.size());
}

Ref<ImageSurface> surfaceOf(std::uint32_t width, std::uint32_t height) {
    const Pixels pixels = fourCorners(width, height);
    auto surface = ImageSurface::create(width, height, PixelFormat::rgba8);
    auto *row = static_cast<std::byte *>(surface->writableBytes());
    for (std::uint32_t y = 0; y < height; ++y, row += surface->bytesPerRow())
        std::memcpy(row, &pixels.colours[std::size_t{y} * width], std::size_t{width} * 4);
    return surface;
}

} // namespace wickerlane::test
