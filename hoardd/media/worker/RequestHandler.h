// Carries out one request.
#ifndef HOARDD_MEDIA_WORKER_REQUESTHANDLER_H
#define HOARDD_MEDIA_WORKER_REQUESTHANDLER_H

#include <span>

#include "hoardd/media/Protocol.h"

namespace wickerlane::hoardd::media {

/// Loads everything that requests need from files; once, before confinement. False when the libraries cannot
/// start.
bool prepareHandling(const char *program);

/// What decodes here, and in which versions. After prepareHandling().
std::string decoderVersions();

/// Never throws; what goes wrong is in the answer.
WorkerAnswer handle(const WorkerRequest &request, std::span<const UniqueFd> descriptors);

} // namespace wickerlane::hoardd::media

#endif
