// Where each field is kept in each tag family: written down by hand, name by name, and not taken
// from the service's own table, which is what these tests check.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "tests/fields/tag_contents.h"

namespace tagwriter::test {

enum class Family { kID3v2, kMP4, kXiph, kASF, kAPE };

/// A kind of audio file: a test file without a tag or with hardly any, and the family that its
/// format carries.
struct Container {
  const char* file;
  Family family;
};

extern const std::vector<Container> kContainers;

void PrintTo(const Container& container, std::ostream* out);

/// For the names of parameterised tests: "mp3_plain.mp3" becomes "mp3_plain_mp3".
std::string testName(const std::string& file);
std::string testName(const Container& container);

/// How a text becomes what the file keeps.
enum class Kind {
  kText,     ///< the service's own text editors
  kCore,     ///< the tag library's generic tag
  kComment,  ///< the main comment; in MP4, ASF and APE the library's own comment
  kLyrics,
  kUserText,
  kCueSheet,
  kNoText,
};

/// The names of a field in each family as in TagContents, without the family in front. The names
/// that an edit only removes are among them.
struct Places {
  const char* field;
  Kind kind;
  std::vector<std::string> id3v2;
  std::vector<std::string> mp4;
  std::vector<std::string> xiph;
  std::vector<std::string> asf;
  std::vector<std::string> ape;
  const char* id3v1 = nullptr;
};

/// All 23 fields.
extern const std::vector<Places> kPlaces;

const Places& placesOf(const std::string& field);

/// The field's names in one family, as in TagContents.
std::vector<std::string> namesOf(const Places& places, Family family);

/// What an edit leaves under a name: one value, or nothing.
struct Outcome {
  std::string name;
  std::optional<std::string> value;
};
using Outcomes = std::vector<Outcome>;

/// Puts the outcomes in the place of what is there.
void putOutcomes(const Outcomes& outcomes, TagContents& contents);

/// What a text leaves behind, in a file without the field or with the field as the service writes
/// it. Nothing stands for an absent text.
Outcomes outcomesOfText(const Places& places, Family family,
                        const std::optional<std::string>& text);

// The bodies of frames and atoms, byte by byte.

/// A UTF-8 text frame (ID3v2.4 frames, 4.2).
std::string id3v2Text(const std::string& text);
/// A "data" atom.
std::string mp4Data(unsigned type, const std::string& payload);
/// A text: type 1.
std::string mp4Text(const std::string& text);
/// A number in the bytes given: type 21.
std::string mp4Integer(const std::string& bigEndian);
/// A number and a total as "trkn" and "disk" hold them, 16 bits each.
std::string mp4Pair(const std::string& name, int number, int total);

}  // namespace tagwriter::test
