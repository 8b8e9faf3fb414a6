// All keys of requests and replies. A text with two codings has two constants.
#ifndef WICKERLANE_PROTOCOL_KEYS_H
#define WICKERLANE_PROTOCOL_KEYS_H

#include "wickerlane/protocol/Key.h"

namespace wickerlane::protocol::keys {

/// First in every request.
inline constexpr Key<coding::Int64> operation{"operation"};

inline constexpr Key<coding::ObjectID> albumOID{"albumOID"};
inline constexpr Key<coding::Text> albumUUID{"albumUUID"};
inline constexpr Key<coding::ByteData> albums{"albums"};
inline constexpr Key<coding::Bool> areDuplicates{"areDuplicates"};
inline constexpr Key<coding::PropertyList> assetPaths{"assetPaths"};
inline constexpr Key<coding::ByteData> assets{"assets"};
inline constexpr Key<coding::Location> assetURL{"assetURL"};
inline constexpr Key<coding::Text> assetUUID{"assetUUID"};
inline constexpr Key<coding::UInt64> assetType{"assetType"};
inline constexpr Key<coding::Bool> assignNewIndex{"assignNewIndex"};
inline constexpr Key<coding::Int64> authorized{"authorized"};
inline constexpr Key<coding::Int64> badgeCount{"kJXApplicationBadgeCountKey"};
inline constexpr Key<coding::List> bulletins{"kJXBulletinsKey"};
inline constexpr Key<coding::ByteData> changes{"changes"};
inline constexpr Key<coding::ByteData> companions{"companions"};
inline constexpr Key<coding::UInt64> count{"count"};
inline constexpr Key<coding::Text> cursor{"cursor"};
inline constexpr Key<coding::ByteData> dataToSave{"dataToSave"};
inline constexpr Key<coding::Location> destinationURL{"destinationURL"};
inline constexpr Key<coding::UInt64> done{"done"};
inline constexpr Key<coding::Text> email{"email"};
inline constexpr Key<coding::Int64> emailKey{"key"};
inline constexpr Key<coding::ByteData> entries{"entries"};
inline constexpr Key<coding::Text> exportPreset{"exportPreset"};
inline constexpr Key<coding::Mapping> exportProperties{"exportProperties"};
inline constexpr Key<coding::Text> extension{"extension"};
inline constexpr Key<coding::UInt64> externalUsageIntent{"externalUsageIntent"};
inline constexpr Key<coding::Text> fallbackFilePath{"fallbackFilePath"};
inline constexpr Key<coding::Descriptor> fileDescriptor{"filedescriptor"};
inline constexpr Key<coding::Int64> fileLength{"fileLength"};
inline constexpr Key<coding::Text> filePath{"filePath"};
inline constexpr Key<coding::Location> fileURL{"fileURL"};
inline constexpr Key<coding::Bool> forceRefresh{"forceRefresh"};
inline constexpr Key<coding::UInt64> format{"format"};
inline constexpr Key<coding::Location> groupURL{"groupURL"};
inline constexpr Key<coding::ByteData> groups{"groups"};
inline constexpr Key<coding::Bool> hasEntitlement{"hasEntitlement"};
inline constexpr Key<coding::ByteData> imageData{"imageData"};
inline constexpr Key<coding::Surface> imagePort{"imagePort"};
inline constexpr Key<coding::Bool> incremental{"incremental"};
inline constexpr Key<coding::Bool> isComplete{"isComplete"};
inline constexpr Key<coding::Bool> isLast{"isLast"};
inline constexpr Key<coding::Bool> isTooOld{"isTooOld"};
inline constexpr Key<coding::Jobs> jobDictionaries{"jobDictionaries"};
inline constexpr Key<coding::Job> jobDictionary{"jobDictionary"};
inline constexpr Key<coding::Bool> jobQueueFull{"jobQueueFull"};
inline constexpr Key<coding::UInt64> lastClearedRecordID{"kJXLastClearedRecordIDKey"};
inline constexpr Key<coding::UInt64> limit{"limit"};
inline constexpr Key<coding::ByteData> lists{"lists"};
inline constexpr Key<coding::UInt64> lost{"lost"};
inline constexpr Key<coding::Mapping> metadata{"metadata"};
inline constexpr Key<coding::ObjectID> momentListOID{"momentListOID"};
inline constexpr Key<coding::ObjectID> momentOID{"momentOID"};
inline constexpr Key<coding::ByteData> moments{"moments"};
inline constexpr Key<coding::Text> name{"name"};
inline constexpr Key<coding::Bool> nameTaken{"nameTaken"};
inline constexpr Key<coding::Bool> noData{"noData"};
inline constexpr Key<coding::ObjectID> objectID{"objectID"};
inline constexpr Key<coding::Text> objectIDText{"objectID"};
inline constexpr Key<coding::Text> personID{"personID"};
inline constexpr Key<coding::Job> personInfoDictionary{"personInfoDictionary"};
inline constexpr Key<coding::UInt64> photoCount{"photoCount"};
inline constexpr Key<coding::OpenFiles> openFiles{"openFiles"};
inline constexpr Key<coding::List> photoUUIDs{"photoUUIDs"};
inline constexpr Key<coding::Surface> previewImagePort{"previewImagePort"};
/// Why "success" is false: a ProblemKind, and a text for people. The original replies have neither.
inline constexpr Key<coding::Int64> problemKind{"problemKind"};
inline constexpr Key<coding::Text> problemText{"problemText"};
inline constexpr Key<coding::Mapping> properties{"properties"};
inline constexpr Key<coding::Mapping> query{"query"};
inline constexpr Key<coding::Text> reason{"reason"};
inline constexpr Key<coding::UInt64> recordID{"kJXRecordIDKey"};
inline constexpr Key<coding::Bool> recreateAlbumsFromMetadata{"recreateAlbumsFromMetadata"};
inline constexpr Key<coding::Bool> requestThumbnail{"requestThumbnail"};
inline constexpr Key<coding::Bool> restoreEnded{"restoreEnded"};
inline constexpr Key<coding::Jobs> resultJobDictionaries{"resultJobDictionaries"};
inline constexpr Key<coding::Job> resultJobDictionary{"resultJobDictionary"};
inline constexpr Key<coding::Int64> seconds{"seconds"};
inline constexpr Key<coding::ByteData> sections{"sections"};
inline constexpr Key<coding::Bool> shouldExtendTimer{"shouldExtendTimer"};
inline constexpr Key<coding::Bool> shouldPrioritize{"shouldPrioritize"};
inline constexpr Key<coding::Mapping> sizes{"sizes"};
inline constexpr Key<coding::UInt64> smBytesRequested{"smBytesRequested"};
inline constexpr Key<coding::Int64> smBytesReturned{"smBytesReturned"};
inline constexpr Key<coding::UInt64> smJobType{"smJobType"};
inline constexpr Key<coding::Text> storeUUID{"storeUUID"};
inline constexpr Key<coding::Text> streamID{"streamID"};
inline constexpr Key<coding::Bool> success{"success"};
inline constexpr Key<coding::ByteData> thumbnailImageData{"kJXThumbnailImageDataKey"};
inline constexpr Key<coding::Text> token{"token"};
inline constexpr Key<coding::UInt64> total{"total"};
inline constexpr Key<coding::List> traffic{"traffic"};
inline constexpr Key<coding::Int64> unit{"unit"};
inline constexpr Key<coding::Location> url{"url"};
inline constexpr Key<coding::Int64> version{"version"};
inline constexpr Key<coding::UInt64> videoCount{"videoCount"};
inline constexpr Key<coding::Location> videoURL{"videoURL"};
inline constexpr Key<coding::Bool> waitingForReply{"waitingForReply"};
inline constexpr Key<coding::Bool> withAdjustments{"withAdjustments"};
inline constexpr Key<coding::Bool> withTexts{"withTexts"};

} // namespace wickerlane::protocol::keys

#endif
