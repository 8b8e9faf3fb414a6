// Files of videos. RZEstimatedOutputFileLength() says how large an export would be.
#ifndef WICKERLANE_API_WLVIDEO_H
#define WICKERLANE_API_WLVIDEO_H

#include "wickerlane/api/WLTypes.h"

// What is known of a file. What it does not say is missing.

#define WLVideoDuration "duration"               ///< Number: seconds.
#define WLVideoWidth "width"                     ///< Number: pixels, upright.
#define WLVideoHeight "height"                   ///< Number: likewise.
#define WLVideoRotation "rotation"               ///< Number: degrees clockwise, as stored.
#define WLVideoFrameRate "frameRate"             ///< Number: frames a second.
#define WLVideoCodec "videoCodec"                ///< String: "h264".
#define WLVideoBitRate "videoBitRate"            ///< Number: bits a second.
#define WLVideoAudioCodec "audioCodec"           ///< String: "aac"; missing without sound.
#define WLVideoAudioBitRate "audioBitRate"       ///< Number: bits a second.
#define WLVideoAudioChannels "audioChannels"     ///< Number.
#define WLVideoAudioSampleRate "audioSampleRate" ///< Number: hertz.
#define WLVideoContainer "container"             ///< String: "mov,mp4,m4a,3gp,3g2,mj2".
#define WLVideoTrackCount "trackCount"           ///< Number: tracks of all kinds.
#define WLVideoFileSize "fileSize"               ///< Number: bytes.
#define WLVideoCreationDate "creationDate"       ///< Date.
#define WLVideoLatitude "latitude"               ///< Number: degrees; north is positive.
#define WLVideoLongitude "longitude"             ///< Number: degrees; east is positive.
/// Number: how far the clock of the camera, or of this machine when the file gives an instant alone, was
/// ahead of UTC. Missing when WLVideoCreationDate is what the camera's clock showed, read as if it were
/// UTC.
#define WLVideoZoneMinutes "zoneMinutes"

/// What is known of a file of a video, which this program must be allowed to read; a relative path is
/// resolved against the working directory. Null on failure; a path that is null, empty or not UTF-8 is
/// WLErrorInvalid. `error` may be null; what is stored there is borrowed: it is what WLLastError() gives, and
/// null when the daemon has answered. Blocks.
WL_EXTERN_C WLDictionary *WLVideoMetadataCreate(const char *path, WLError **error);

#endif
