// The rows of the library's life and upkeep.
#ifndef WICKERLANE_PROTOCOL_LIBRARYOPERATIONS_H
#define WICKERLANE_PROTOCOL_LIBRARYOPERATIONS_H

#include "wickerlane/protocol/Keys.h"
#include "wickerlane/protocol/Operation.h"

namespace wickerlane::protocol {

inline constexpr Operation createPixholdDatabase{15, "createPixholdDatabase", request(), reply()};

inline constexpr Operation getPhotosAndVideosCount{16, "getPhotosAndVideosCountWithHandler:", request(),
                                                   reply(keys::photoCount, keys::videoCount)};

inline constexpr Operation getCurrentModelVersion{69, "getCurrentModelVersion", request(),
                                                  reply(keys::version)};

} // namespace wickerlane::protocol

#endif
