// Prints docs/FIELDS.md. The names are not copied from the field table: each cell writes a sample
// value into an empty tag, and the names found in the tag afterwards are printed.

#include <textidentificationframe.h>
#include <algorithm>

#include <iostream>
#include <string>
#include <vector>

#include "tagging/field_table.h"

namespace {

using namespace tagwriter;

constexpr char kIntroduction[] =
    R"(# Fields

<!-- Generated from tagging/field_table.h by `./run docs`. Do not edit. -->

The names under which each tag family stores each field. A tag family is a tag format that one or
more file formats use. A dash means that the field is not stored there: if it is the family of the
file's format, the service answers false and does not save the file.

| family | used for |
|---|---|
| ID3v2 | MP3, AIFF, WAV, DSF; files with an unknown extension count as MP3 |
| ID3v1 | MP3, only if the file already has an ID3v1 tag |
| MP4 | M4A, MP4, M4B, M4V, M4P |
| Xiph comment | FLAC, Ogg Vorbis, Ogg FLAC, Opus |
| ASF | WMA |
| APE | Monkey's Audio, WavPack, Musepack |

The *core* fields are an exception: TagLib detects the format by name or content, writes them into
every tag that an MP3 has, and adds an ID3v1 tag if the MP3 has none. TagLib 2 writes them into the
INFO list of a WAV file, too.

An absent text clears the field. An absent number, rating or flag counts as 0 or false; how that is
stored depends on the kind. An empty text clears ID3v2 text frames. In the other families it is set
as it is, but TagLib does not save a Xiph field or an APE item without a value.

A name without a kind is a *text*, which replaces everything stored under that name. The other kinds
are explained below the table.

)";

std::vector<std::string> namesIn(const TagLib::ID3v2::Tag& tag) {
  std::vector<std::string> names;
  for (const TagLib::ID3v2::Frame* frame : tag.frameList()) {
    const auto* userText = dynamic_cast<const TagLib::ID3v2::UserTextIdentificationFrame*>(frame);
    std::string name(frame->frameID().data(), frame->frameID().size());
    if (userText) name.append(":").append(userText->description().to8Bit(true));
    names.push_back(name);
  }
  return names;
}

template <typename Map>
std::vector<std::string> keysOf(const Map& map) {
  std::vector<std::string> keys;
  for (const auto& entry : map) keys.push_back(entry.first.to8Bit(true));
  return keys;
}

std::vector<std::string> namesIn(const TagLib::MP4::Tag& tag) {
  return keysOf(tag.itemMap());
}

std::vector<std::string> namesIn(const TagLib::Ogg::XiphComment& tag) {
  return keysOf(tag.fieldListMap());
}

std::vector<std::string> namesIn(const TagLib::APE::Tag& tag) {
  std::vector<std::string> names;
  for (const auto& entry : tag.itemListMap()) names.push_back(entry.second.key().to8Bit(true));
  return names;
}

/// The attributes, and the fields of the Content Description object under its names for them.
std::vector<std::string> namesIn(const TagLib::ASF::Tag& tag) {
  std::vector<std::string> names = keysOf(tag.attributeListMap());
  if (!tag.title().isEmpty()) names.emplace_back("Title");
  if (!tag.artist().isEmpty()) names.emplace_back("Author");
  if (!tag.comment().isEmpty()) names.emplace_back("Description");
  return names;
}

/// The fields of the fixed layout.
std::vector<std::string> namesIn(const TagLib::ID3v1::Tag& tag) {
  std::vector<std::string> names;
  if (!tag.title().isEmpty()) names.emplace_back("title");
  if (!tag.artist().isEmpty()) names.emplace_back("artist");
  if (!tag.album().isEmpty()) names.emplace_back("album");
  if (!tag.comment().isEmpty()) names.emplace_back("comment");
  if (!tag.genre().isEmpty()) names.emplace_back("genre");
  if (tag.year() != 0) names.emplace_back("year");
  if (tag.track() != 0) names.emplace_back("track");
  return names;
}

FieldChange sampleChange() {
  FieldChange change;
  change.text = "Blues";  // also a genre of ID3v1
  change.number = 7;
  change.real = 3.5;
  change.flag = true;
  return change;
}

/// The names in an empty tag after `write`. Some families store a total only next to a track
/// number, so if nothing was written, tries again in a tag with a track number.
template <typename Tag, typename Write>
std::vector<std::string> namesWritten(const Write& write) {
  Tag tag;
  write(tag);
  if (!namesIn(tag).empty()) return namesIn(tag);
  Tag withTrack;
  withTrack.setTrack(1);
  write(withTrack);
  return namesIn(withTrack);
}

std::string asCode(const std::string& name) {
  return "`" + name + "`";
}

std::string asCode(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text.append(text.empty() ? "" : ", ").append(asCode(name));
  return text;
}

template <typename Tag, typename... Kinds>
std::string textOf(const FieldRow& row, const Cell<Tag, Kinds...>& cell) {
  if (row.core) {
    return asCode(namesWritten<Tag>([&](Tag& tag) { row.core->set(tag, sampleChange()); }));
  }
  std::string text = "–";
  cell.visit([&]<typename Kind>(const Kind& kind) {
    text = asCode(namesWritten<Tag>([&](Tag& tag) { kind.write(tag, sampleChange()); }));
    const std::string kindName = Kind::kInfo.name;
    if (kindName != cell::Text::kInfo.name) text.append(" *").append(kindName).append("*");
    if constexpr (requires { kind.removed; }) {
      if (kind.removed) text.append(", removes ").append(asCode(std::string(kind.removed)));
    }
  });
  return text;
}

const char* nameOf(field::Type type) {
  switch (type) {
    case field::Type::kString:
      return "text";
    case field::Type::kInt64:
      return "whole number";
    case field::Type::kDouble:
      return "decimal";
    case field::Type::kBool:
      return "yes or no";
  }
  return "";
}

void printTable() {
  std::cout << "| field | value | ID3v2 | ID3v1 | MP4 | Xiph comment | ASF | APE |\n"
               "|---|---|---|---|---|---|---|---|\n";
  for (const FieldRow& row : table::kFields) {
    std::cout << "| " << asCode(std::string(row.field.key));
    if (row.core) std::cout << " *core*";
    if (row.field.companion) std::cout << " with " << asCode(std::string(row.field.companion));
    std::cout << " | " << nameOf(row.field.type);
    for (const std::string& text :
         {textOf(row, row.id3v2), textOf(row, row.id3v1), textOf(row, row.mp4),
          textOf(row, row.xiph), textOf(row, row.asf), textOf(row, row.ape)}) {
      std::cout << " | " << text;
    }
    std::cout << " |\n";
  }
}

/// Every kind of cell, in the order in which the table first uses it.
void printKinds() {
  std::vector<std::string> lines = {
      "*core*: written through TagLib's generic tag class, which chooses the name; an empty text "
      "or a year of 0 clears the field, but ASF keeps an empty attribute or the text \"0\""};
  const auto add = [&]<typename Kind>(const Kind&) {
    std::string line = std::string("*") + Kind::kInfo.name + "*: " + Kind::kInfo.meaning;
    if (std::find(lines.begin(), lines.end(), line) == lines.end()) lines.push_back(line);
  };
  for (const FieldRow& row : table::kFields) {
    row.id3v2.visit(add);
    row.id3v1.visit(add);
    row.mp4.visit(add);
    row.xiph.visit(add);
    row.asf.visit(add);
    row.ape.visit(add);
  }
  std::cout << "\n## Kinds\n\n";
  for (const std::string& line : lines) std::cout << "- " << line << "\n";
}

}  // namespace

int main() {
  std::cout << kIntroduction;
  printTable();
  printKinds();
  return std::cout.flush() ? 0 : 1;
}
