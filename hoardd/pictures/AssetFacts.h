// What a picture file says of itself, as the record of its asset has it.
#ifndef HOARDD_PICTURES_ASSETFACTS_H
#define HOARDD_PICTURES_ASSETFACTS_H

#include <optional>
#include <string_view>

#include "hoardd/media/PictureFacts.h"
#include "wickerlane/model/AssetRecord.h"

namespace wickerlane::hoardd {

/// Sets what the file says of its camera, and of what people said of it elsewhere: nothing of that is due
/// then.
void setDetails(AssetRecord &record, const PictureFacts &facts);

/// Sets all but the date, which a caller may know better; the problem, of a picture that is cut off.
void setFacts(AssetRecord &record, const PictureFacts &facts);

/// Sets the dates: that of its creation as `given`, else as the file says, else `fallback`. All are in
/// seconds since 2001-01-01 00:00:00 UTC.
void setDate(AssetRecord &record, const PictureFacts &facts, std::optional<double> given, double fallback);

/// Sets the clock date and the zone of an asset that has none, by its date and its file. Its date stays.
void setClock(AssetRecord &record, const PictureFacts &facts);

/// Notes in a record why its picture can't be decoded: then its size is not known either.
void setUndecodable(AssetRecord &record, std::string_view reason);

} // namespace wickerlane::hoardd

#endif
