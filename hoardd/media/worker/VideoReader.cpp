#include "hoardd/media/worker/VideoReader.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cmath>
#include <initializer_list>
#include <string_view>
#include <vector>

#include "hoardd/media/worker/DateText.h"
#include "hoardd/media/worker/Places.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/display.h>
#include <libavutil/log.h>
#include <libavutil/opt.h>
#include <libswscale/swscale.h>
}

namespace wickerlane::hoardd::media {

namespace {

constexpr int ioBufferBytes = 64 << 10;
constexpr int maxStreams = 64;
constexpr int maxPackets = 2'000; // looked at for one frame
constexpr std::uint64_t maxPixels = 64'000'000;

/// `error` is what the library has answered. Only lack of memory says nothing about the file.
[[noreturn]] void fail(MediaFailure failure, const char *what, int error = 0) {
    if (error == AVERROR(ENOMEM))
        throw MediaError(MediaFailure::tooLarge, "the video takes more memory than is allowed");
    throw MediaError(failure, what);
}

struct FreeCodec {
    void operator()(AVCodecContext *context) const noexcept { avcodec_free_context(&context); }
};
struct FreeFrame {
    void operator()(AVFrame *frame) const noexcept { av_frame_free(&frame); }
};
struct FreePacket {
    void operator()(AVPacket *packet) const noexcept { av_packet_free(&packet); }
};
struct FreeScaler {
    void operator()(SwsContext *context) const noexcept { sws_freeContext(context); }
};
using Codec = std::unique_ptr<AVCodecContext, FreeCodec>;
using Frame = std::unique_ptr<AVFrame, FreeFrame>;
using Packet = std::unique_ptr<AVPacket, FreePacket>;
using Scaler = std::unique_ptr<SwsContext, FreeScaler>;

/// The first tag of the file or of its picture whose name, in lower case or not, is one of these, or ends
/// with one of them: makers put their own names in front.
std::string_view tag(const AVDictionary *ofFile, const AVDictionary *ofPicture,
                     std::initializer_list<std::string_view> names) {
    const auto isSame = [](char one, char other) {
        return std::tolower(static_cast<unsigned char>(one)) ==
               std::tolower(static_cast<unsigned char>(other));
    };
    for (const std::string_view name : names)
        for (const AVDictionary *tags : {ofFile, ofPicture})
            for (const AVDictionaryEntry *entry = nullptr;
                 (entry = av_dict_get(tags, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr;) {
                const std::string_view key = entry->key;
                const bool fits = key.size() == name.size() ||
                                  (key.size() > name.size() && key[key.size() - name.size() - 1] == '.');
                if (fits && std::ranges::equal(key.substr(key.size() - name.size()), name, isSame))
                    return entry->value;
            }
    return {};
}

/// When it was taken: by the clock of the camera, if the file has that, else as an instant.
std::optional<CaptureDate> dateOfVideo(const AVDictionary *ofFile, const AVDictionary *ofPicture) {
    const auto since1970 = [](std::optional<CaptureDate> date) {
        constexpr std::int64_t year = 31'536'000; // cameras without a set clock write the start of an epoch
        return date && date->seconds >= year ? date : std::nullopt;
    };
    auto clock = since1970(dateOf(tag(ofFile, ofPicture, {"creationdate", "date_recorded", "date"})));
    auto instant = since1970(dateOf(tag(ofFile, ofPicture, {"creation_time"})));
    if (clock && !clock->zoneMinutes && instant)
        setZone(*clock, instant->seconds);
    if (clock)
        return clock;
    // It is written in UTC, whatever the camera's clock showed.
    if (instant && instant->zoneMinutes.asOptional() == 0) {
        instant->zoneMinutes.reset();
        instant->isInstant = 1;
    }
    return instant;
}

} // namespace

void prepareVideos() {
    av_log_set_level(AV_LOG_QUIET);
}

const char *videoLibraryVersion() {
    return av_version_info();
}

struct VideoReader::State {
    int descriptor;
    std::int64_t length = 0;
    std::int64_t position = 0;
    AVIOContext *io = nullptr;
    AVFormatContext *format = nullptr;
    AVStream *video = nullptr;
    AVStream *audio = nullptr; // null without sound

    explicit State(int file) : descriptor(file) {}
    State(const State &) = delete;
    State &operator=(const State &) = delete;
    ~State() {
        avformat_close_input(&format);
        if (io != nullptr)
            av_freep(&io->buffer);
        avio_context_free(&io);
    }

    // At explicit offsets: the offset of the descriptor is shared with hoardd.
    static int read(void *opaque, std::uint8_t *buffer, int size) {
        auto *self = static_cast<State *>(opaque);
        const ssize_t count =
            ::pread(self->descriptor, buffer, static_cast<std::size_t>(size), self->position);
        if (count < 0)
            return AVERROR(errno);
        self->position += count;
        return count == 0 ? AVERROR_EOF : static_cast<int>(count);
    }
    static std::int64_t seek(void *opaque, std::int64_t offset, int whence) {
        auto *self = static_cast<State *>(opaque);
        if (whence == AVSEEK_SIZE)
            return self->length;
        if (whence == SEEK_CUR)
            offset += self->position;
        else if (whence == SEEK_END)
            offset += self->length;
        if (offset < 0)
            return AVERROR(EINVAL);
        return self->position = offset;
    }

    [[nodiscard]] std::uint32_t rotation() const {
        const auto *matrix = reinterpret_cast<const std::int32_t *>(
            av_stream_get_side_data(video, AV_PKT_DATA_DISPLAYMATRIX, nullptr));
        if (matrix == nullptr)
            return 0;
        const double degrees = -av_display_rotation_get(matrix);
        if (!std::isfinite(degrees))
            return 0;
        return static_cast<std::uint32_t>((std::lround(degrees / 90) % 4 + 4) % 4) * 90;
    }

    [[nodiscard]] double seconds() const {
        if (format->duration != AV_NOPTS_VALUE && format->duration > 0)
            return static_cast<double>(format->duration) / AV_TIME_BASE;
        return video->duration > 0 ? static_cast<double>(video->duration) * av_q2d(video->time_base) : 0;
    }

    Frame decodeFrameNear(double second);
    [[nodiscard]] Image imageOf(const AVFrame &frame) const;
};

VideoReader::VideoReader(int descriptor) : state(std::make_unique<State>(descriptor)) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode))
        fail(MediaFailure::badRequest, "the input is not a file");
    state->length = status.st_size;
    auto *buffer = static_cast<unsigned char *>(av_malloc(ioBufferBytes));
    state->io = avio_alloc_context(buffer, ioBufferBytes, 0, state.get(), State::read, nullptr, State::seek);
    state->format = avformat_alloc_context();
    if (buffer == nullptr || state->io == nullptr || state->format == nullptr)
        throw std::bad_alloc();
    state->format->pb = state->io;
    state->format->max_streams = maxStreams;
    // Nothing that a file names is opened: playlists and references stay what they are.
    state->format->flags |= AVFMT_FLAG_CUSTOM_IO;
    av_opt_set(state->format, "protocol_whitelist", "", 0);
    if (const int error = avformat_open_input(&state->format, "", nullptr, nullptr); error < 0)
        fail(MediaFailure::damaged, "the video can't be opened", error);
    if (const int error = avformat_find_stream_info(state->format, nullptr); error < 0)
        fail(MediaFailure::damaged, "the video can't be read", error);
    const int video = av_find_best_stream(state->format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (video < 0)
        fail(MediaFailure::damaged, "the file holds no moving picture");
    state->video = state->format->streams[video];
    const int audio = av_find_best_stream(state->format, AVMEDIA_TYPE_AUDIO, -1, video, nullptr, 0);
    state->audio = audio >= 0 ? state->format->streams[audio] : nullptr;
    const AVCodecParameters &parameters = *state->video->codecpar;
    if (parameters.width <= 0 || parameters.height <= 0)
        fail(MediaFailure::damaged, "the video says no size");
    if (static_cast<std::uint64_t>(parameters.width) * static_cast<std::uint64_t>(parameters.height) >
        maxPixels)
        fail(MediaFailure::tooLarge, "the video has more pixels than are allowed");
}

VideoReader::~VideoReader() = default;

void VideoReader::readFacts(PictureFacts &facts) const {
    const AVFormatContext &format = *state->format;
    const AVCodecParameters &picture = *state->video->codecpar;
    VideoFacts video;
    video.seconds = state->seconds();
    video.rotation = state->rotation();
    video.trackCount = format.nb_streams;
    video.container = format.iformat->name;
    video.videoCodec = avcodec_get_name(picture.codec_id);
    video.videoBitRate = static_cast<std::uint64_t>(std::max<std::int64_t>(picture.bit_rate, 0));
    if (state->video->avg_frame_rate.num > 0 && state->video->avg_frame_rate.den > 0)
        video.frameRate = av_q2d(state->video->avg_frame_rate);
    if (state->audio != nullptr) {
        const AVCodecParameters &sound = *state->audio->codecpar;
        video.audioCodec = avcodec_get_name(sound.codec_id);
        video.audioBitRate = static_cast<std::uint64_t>(std::max<std::int64_t>(sound.bit_rate, 0));
        video.audioChannels = static_cast<std::uint32_t>(std::max(sound.ch_layout.nb_channels, 0));
        video.audioSampleRate = static_cast<std::uint32_t>(std::max(sound.sample_rate, 0));
    }
    // What a container does not say of its picture is what the rest leaves.
    if (video.videoBitRate == 0 && video.seconds > 0) {
        const auto all = static_cast<std::uint64_t>(static_cast<double>(state->length) * 8 / video.seconds);
        video.videoBitRate = all > video.audioBitRate ? all - video.audioBitRate : 0;
    }
    const bool isSideways = video.rotation % 180 != 0;
    facts.width = static_cast<std::uint32_t>(isSideways ? picture.height : picture.width);
    facts.height = static_cast<std::uint32_t>(isSideways ? picture.width : picture.height);
    facts.orientation = 1;
    const AVDictionary *ofPicture = state->video->metadata;
    facts.captureDate = dateOfVideo(format.metadata, ofPicture);
    facts.place = placeOf(tag(format.metadata, ofPicture, {"location.iso6709", "location"}));
    facts.video = video;
}

Frame VideoReader::State::decodeFrameNear(double second) {
    const AVCodec *decoder = avcodec_find_decoder(video->codecpar->codec_id);
    if (decoder == nullptr)
        throw MediaError(MediaFailure::noDecoder, std::string("there is no decoder for ") +
                                                      avcodec_get_name(video->codecpar->codec_id));
    const Codec codec(avcodec_alloc_context3(decoder));
    const Packet packet(av_packet_alloc());
    Frame frame(av_frame_alloc());
    if (!codec || !packet || !frame || avcodec_parameters_to_context(codec.get(), video->codecpar) < 0)
        throw std::bad_alloc();
    codec->thread_count = 1;
    codec->max_pixels = static_cast<std::int64_t>(maxPixels);
    if (const int error = avcodec_open2(codec.get(), decoder, nullptr); error < 0)
        fail(MediaFailure::damaged, "the video can't be decoded", error);
    const std::int64_t start = video->start_time != AV_NOPTS_VALUE ? video->start_time : 0;
    const auto wanted = start + static_cast<std::int64_t>(second / av_q2d(video->time_base));
    // A stream has no index, so that this may lead into the middle of what only a frame before it explains.
    // From its first byte on, everything can be decoded.
    const bool isStream = (format->iformat->flags & AVFMT_TS_DISCONT) != 0;
    if (second <= 0 && isStream)
        av_seek_frame(format, -1, 0, AVSEEK_FLAG_BYTE);
    else
        av_seek_frame(format, video->index, wanted, AVSEEK_FLAG_BACKWARD);
    int error = 0;
    for (int count = 0; count < maxPackets; ++count) {
        error = av_read_frame(format, packet.get());
        const bool ended = error < 0;
        if (!ended && packet->stream_index != video->index) {
            av_packet_unref(packet.get());
            continue;
        }
        error = avcodec_send_packet(codec.get(), ended ? nullptr : packet.get());
        av_packet_unref(packet.get());
        if (avcodec_receive_frame(codec.get(), frame.get()) == 0)
            return frame;
        if (ended)
            break;
    }
    return nullptr;
}

Image VideoReader::State::imageOf(const AVFrame &frame) const {
    const std::uint64_t pixels = static_cast<std::uint64_t>(std::max(frame.width, 0)) *
                                 static_cast<std::uint64_t>(std::max(frame.height, 0));
    if (pixels == 0 || pixels > maxPixels)
        fail(MediaFailure::tooLarge, "the video has more pixels than are allowed");
    const Scaler scaler(sws_getContext(frame.width, frame.height, static_cast<AVPixelFormat>(frame.format),
                                       frame.width, frame.height, AV_PIX_FMT_RGB24, SWS_BILINEAR, nullptr,
                                       nullptr, nullptr));
    if (!scaler)
        fail(MediaFailure::noDecoder, "the video's colours are of an unknown kind");
    // Rows are padded, since the scaler writes whole vectors.
    const int stride = (frame.width * 3 + 63) / 64 * 64;
    std::vector<std::uint8_t> rows(static_cast<std::size_t>(stride) * static_cast<std::size_t>(frame.height) +
                                   64);
    std::uint8_t *planes[4] = {rows.data(), nullptr, nullptr, nullptr};
    const int strides[4] = {stride, 0, 0, 0};
    sws_scale(scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
    std::vector<std::uint8_t> packed(pixels * 3);
    for (int y = 0; y < frame.height; ++y)
        std::copy_n(rows.data() + static_cast<std::ptrdiff_t>(y) * stride, frame.width * 3,
                    packed.data() + static_cast<std::ptrdiff_t>(y) * frame.width * 3);
    const Image plain(vips_image_new_from_memory_copy(packed.data(), packed.size(), frame.width, frame.height,
                                                      3, VIPS_FORMAT_UCHAR));
    if (!plain)
        throw imageLibraryError();
    Image image = made([&](VipsImage **out) {
        return vips_copy(plain.get(), out, "interpretation", VIPS_INTERPRETATION_sRGB, nullptr);
    });
    const std::uint32_t turned = rotation();
    if (turned == 0)
        return image;
    const VipsAngle angle = turned == 90 ? VIPS_ANGLE_D90 : turned == 180 ? VIPS_ANGLE_D180 : VIPS_ANGLE_D270;
    const Image upright = made([&](VipsImage **out) { return vips_rot(image.get(), out, angle, nullptr); });
    return Image(vips_image_copy_memory(upright.get()));
}

Image VideoReader::poster() {
    Frame frame = state->decodeFrameNear(std::min(state->seconds() / 3, 3.0));
    if (!frame)
        frame = state->decodeFrameNear(0);
    if (!frame)
        fail(MediaFailure::damaged, "no frame of the video can be decoded");
    return state->imageOf(*frame);
}

} // namespace wickerlane::hoardd::media
