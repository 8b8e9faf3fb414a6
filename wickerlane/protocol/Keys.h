// Every key of every request and reply. A text that stands for two codings has two constants.
#ifndef WICKERLANE_PROTOCOL_KEYS_H
#define WICKERLANE_PROTOCOL_KEYS_H

#include "wickerlane/protocol/Key.h"

namespace wickerlane::protocol::keys {

/// First in every request.
inline constexpr Key<coding::Int64> operation{"operation"};

inline constexpr Key<coding::Location> assetURL{"assetURL"};
inline constexpr Key<coding::UInt64> assetType{"assetType"};
inline constexpr Key<coding::Int64> authorized{"authorized"};
inline constexpr Key<coding::Text> extension{"extension"};
inline constexpr Key<coding::Descriptor> fileDescriptor{"filedescriptor"};
inline constexpr Key<coding::Location> fileURL{"fileURL"};
inline constexpr Key<coding::UInt64> format{"format"};
inline constexpr Key<coding::ByteData> imageData{"imageData"};
inline constexpr Key<coding::Surface> imagePort{"imagePort"};
inline constexpr Key<coding::Jobs> jobDictionaries{"jobDictionaries"};
inline constexpr Key<coding::Job> jobDictionary{"jobDictionary"};
inline constexpr Key<coding::Bool> jobQueueFull{"jobQueueFull"};
inline constexpr Key<coding::Bool> noData{"noData"};
inline constexpr Key<coding::ObjectID> objectID{"objectID"};
inline constexpr Key<coding::UInt64> photoCount{"photoCount"};
inline constexpr Key<coding::Surface> previewImagePort{"previewImagePort"};
inline constexpr Key<coding::Jobs> resultJobDictionaries{"resultJobDictionaries"};
inline constexpr Key<coding::Job> resultJobDictionary{"resultJobDictionary"};
inline constexpr Key<coding::Location> url{"url"};
inline constexpr Key<coding::Int64> version{"version"};
inline constexpr Key<coding::UInt64> videoCount{"videoCount"};
inline constexpr Key<coding::Bool> withAdjustments{"withAdjustments"};

} // namespace wickerlane::protocol::keys

#endif
