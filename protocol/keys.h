// The keys of the protocol between a player and the service.
//
// A request has the open file, its path and one kind of change:
//   artwork         kArtwork, kArtworkType, kReplaceArtwork
//   clear artwork   kClearArtwork
//   one track field kChangedTag, and kTrack with the track's values under the field keys
// The reply repeats kPath and has kResult, and kIncomplete if bytes were lost. The truncation
// request, from the service to the player, has kFd and kTruncateSize.
//
// A request to the reader has the open file and its path. Its reply has kReadable, kAudio, kTagged
// and the contents:
//   everything      kTags, kTrack, kInfo, kPictures
//   one field       with kField in the request: kTrack
//   one picture     with kPicture, and kOffset, in the request: kSize, kData
// and kIncomplete if something was too large for it.
#pragma once

namespace tagwriter::key {

inline constexpr char kFd[] = "fd";
inline constexpr char kPath[] = "path";
inline constexpr char kArtwork[] = "artwork";
inline constexpr char kArtworkType[] = "artworktype";
inline constexpr char kReplaceArtwork[] = "replaceartwork";
inline constexpr char kClearArtwork[] = "clearartwork";
inline constexpr char kChangedTag[] = "changedtag";
inline constexpr char kTrack[] = "track";
inline constexpr char kTruncateConnection[] = "truncateconnection";
inline constexpr char kTruncateSize[] = "truncatesize";
inline constexpr char kResult[] = "result";
inline constexpr char kIncomplete[] = "incomplete";

inline constexpr char kField[] = "field";
inline constexpr char kPicture[] = "picture";
inline constexpr char kOffset[] = "offset";
inline constexpr char kReadable[] = "readable";
inline constexpr char kAudio[] = "audio";
inline constexpr char kTagged[] = "tagged";
inline constexpr char kTags[] = "tags";
inline constexpr char kInfo[] = "info";
inline constexpr char kPictures[] = "pictures";
inline constexpr char kData[] = "data";

// In an entry of kTags.
inline constexpr char kName[] = "name";
inline constexpr char kValue[] = "value";

// In an entry of kPictures, beside kArtworkType.
inline constexpr char kType[] = "type";
inline constexpr char kRole[] = "role";
inline constexpr char kMimeType[] = "mimetype";
inline constexpr char kDescription[] = "description";
inline constexpr char kSize[] = "size";
inline constexpr char kWidth[] = "width";
inline constexpr char kHeight[] = "height";

}  // namespace tagwriter::key
