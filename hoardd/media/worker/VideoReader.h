// Reads a video file: what it says of itself, and one frame that stands for it.
#ifndef HOARDD_MEDIA_WORKER_VIDEOREADER_H
#define HOARDD_MEDIA_WORKER_VIDEOREADER_H

#include <memory>

#include "hoardd/media/worker/Image.h"

namespace wickerlane::hoardd::media {

/// Call once, before confinement.
void prepareVideos();

/// The version of the libraries that read videos.
const char *videoLibraryVersion();

/// A video whose headers have been read and found within the limits. Its functions throw MediaError.
class VideoReader {
public:
    /// The descriptor is a regular file and must stay open.
    explicit VideoReader(int descriptor);
    VideoReader(const VideoReader &) = delete;
    VideoReader &operator=(const VideoReader &) = delete;
    ~VideoReader();

    /// Fills all facts; the orientation is that of an upright picture, since poster() is turned.
    void readFacts(PictureFacts &facts) const;
    /// A frame from near the beginning, but not the very first ones, which are often black: upright, in sRGB.
    [[nodiscard]] Image poster();

private:
    struct State;
    std::unique_ptr<State> state;
};

} // namespace wickerlane::hoardd::media

#endif
