// The keys of the protocol between a player and the service.
//
// A request has the open file, its path and one kind of change:
//   artwork         kArtwork, kArtworkType, kReplaceArtwork
//   clear artwork   kClearArtwork
//   one track field kChangedTag, and kTrack with the track's values under the field keys
// The reply repeats kPath and has kResult, and kIncomplete if bytes were lost. The truncation
// request, from the service to the player, has kFd and kTruncateSize.
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

}  // namespace tagwriter::key
