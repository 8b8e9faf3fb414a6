// Encoding and decoding a message of five typed entries, beside FlexBuffers.
#include <benchmark/benchmark.h>
#include <flatbuffers/flexbuffers.h>

#include "wickerlane/platform/message/wire/MessageDecoder.h"
#include "wickerlane/platform/message/wire/MessageEncoder.h"

using namespace wickerlane;

namespace {

constexpr const char *url = "file:///var/mobile/Media/DCIM/100/IMG_0001.JPG";

Ref<MessageDictionary> fill() {
    auto message = MessageDictionary::create();
    message->setInt64("operation", 2);
    message->setString("assetURL", url);
    message->setBool("withAdjustments", true);
    message->setUInt64("identifier", 0x123456789ABCDEF);
    message->setReal("scale", 2.0);
    return message;
}

void encodeMessage(benchmark::State &state) {
    for (auto _ : state) {
        const auto message = fill();
        MessageEncoder encoder;
        benchmark::DoNotOptimize(encoder.encode(FrameKind::request, 1, message.get()));
        benchmark::DoNotOptimize(encoder.gathered().data());
    }
}
BENCHMARK(encodeMessage);

void decodeMessageAndRead(benchmark::State &state) {
    MessageEncoder encoder;
    if (encoder.encode(FrameKind::request, 1, fill().get()) != nullptr)
        return;
    const auto contents = encoder.gathered().substr(sizeof(FrameHeader));
    const auto buffer = MessageBuffer::create(contents.size());
    std::memcpy(buffer->bytes(), contents.data(), contents.size());
    for (auto _ : state) {
        const auto message = decodeMessage(buffer, {buffer->bytes(), contents.size()}, {});
        benchmark::DoNotOptimize(message->getInt64("operation"));
        benchmark::DoNotOptimize(message->getString("assetURL"));
        benchmark::DoNotOptimize(message->getBool("withAdjustments"));
        benchmark::DoNotOptimize(message->getUInt64("identifier"));
        benchmark::DoNotOptimize(message->getReal("scale"));
    }
}
BENCHMARK(decodeMessageAndRead);

void fillFlexBuffer(flexbuffers::Builder &builder) {
    builder.Map([&] {
        builder.Int("operation", 2);
        builder.String("assetURL", url);
        builder.Bool("withAdjustments", true);
        builder.UInt("identifier", 0x123456789ABCDEF);
        builder.Double("scale", 2.0);
    });
    builder.Finish();
}

void encodeFlexBuffers(benchmark::State &state) {
    for (auto _ : state) {
        flexbuffers::Builder builder;
        fillFlexBuffer(builder);
        benchmark::DoNotOptimize(builder.GetBuffer().data());
    }
}
BENCHMARK(encodeFlexBuffers);

void decodeFlexBuffersAndRead(benchmark::State &state) {
    flexbuffers::Builder builder;
    fillFlexBuffer(builder);
    const std::vector<std::uint8_t> bytes = builder.GetBuffer();
    for (auto _ : state) {
        const auto map = flexbuffers::GetRoot(bytes).AsMap();
        benchmark::DoNotOptimize(map["operation"].AsInt64());
        benchmark::DoNotOptimize(map["assetURL"].AsString().c_str());
        benchmark::DoNotOptimize(map["withAdjustments"].AsBool());
        benchmark::DoNotOptimize(map["identifier"].AsUInt64());
        benchmark::DoNotOptimize(map["scale"].AsDouble());
    }
}
BENCHMARK(decodeFlexBuffersAndRead);

} // namespace

BENCHMARK_MAIN();
