#include "tagging/number_cells.h"

#include <popularimeterframe.h>

#include <exception>
#include <memory>

#include "base/log.h"
#include "tagging/rating.h"

namespace tagwriter {

using TagLib::String;
using TagLib::Ogg::XiphComment;
namespace APE = TagLib::APE;
namespace ASF = TagLib::ASF;
namespace ID3v2 = TagLib::ID3v2;
namespace MP4 = TagLib::MP4;

String readID3v2FrameText(const ID3v2::Tag& tag, const char* frameId) {
  const ID3v2::FrameList& frames = tag.frameList(frameId);
  return frames.isEmpty() ? nullString() : frames.front()->toString();
}

String readAPEItemText(APE::Tag& tag, const char* key) {
  const APE::ItemListMap& items = tag.itemListMap();
  return items.contains(key) ? items[key].values().toString(" ") : nullString();
}

namespace cell {
namespace {

// The sizes of the buffers into which numbers are printed, terminators included (kept).
constexpr std::size_t kID3v2PairSize = 37;
constexpr std::size_t kAPEPairSize = 38;
constexpr std::size_t kTotalPairSize = 20;
constexpr std::size_t kRatingSize = 10;
constexpr std::size_t kDecimalRatingSize = 16;

/// `number` in front of the total of `oldText`, if that has one; nothing to write gives an empty
/// text.
std::string withTotalOf(const String& oldText, int number, std::size_t size) {
  std::int64_t oldNumber = 0;
  std::int64_t total = 0;
  if (parseNumberPair(oldText, oldNumber, total) == 2) {
    return printed(size, "%d/%ld", number, static_cast<long>(total));
  }
  return number != 0 ? printed(size, "%d", number) : std::string();
}

/// `total` behind the track number that the tag has; empty when either is missing.
std::string withNumberOf(const TagLib::Tag& tag, int total) {
  const auto number = static_cast<int>(tag.track());
  return total != 0 && number != 0 ? printed(kTotalPairSize, "%d/%d", number, total)
                                   : std::string();
}

/// Sets the text under `name`; an empty one removes it, in APE as well.
template <typename Tag>
void setOrRemove(Tag& tag, const char* name, const std::string& text) {
  setText(tag, name, text.empty() ? nullptr : text.c_str());
}

}  // namespace

void NumberOfPair::edit(ID3v2::Tag& tag, const Cell<ID3v2::Tag>& cell, const FieldEdit& edit) {
  const String old = readID3v2FrameText(tag, cell.name);
  setOrRemove(tag, cell.name, withTotalOf(old, low32(edit.value.number), kID3v2PairSize));
}

void NumberOfPair::edit(MP4::Tag& tag, const Cell<MP4::Tag>& cell, const FieldEdit& edit) {
  const int total = tag.contains(cell.name) ? tag.item(cell.name).toIntPair().second : 0;
  tag.setItem(cell.name, MP4::Item(low32(edit.value.number), total));
}

void NumberOfPair::edit(APE::Tag& tag, const Cell<APE::Tag>& cell, const FieldEdit& edit) {
  // The library keeps its items by their keys in upper case.
  const String old = readAPEItemText(tag, String(cell.name).upper().toCString());
  setOrRemove(tag, cell.name, withTotalOf(old, low32(edit.value.number), kAPEPairSize));
}

void TotalOfPair::edit(ID3v2::Tag& tag, const Cell<ID3v2::Tag>& cell, const FieldEdit& edit) {
  setOrRemove(tag, cell.name, withNumberOf(tag, low32(edit.value.number)));
}

void TotalOfPair::edit(MP4::Tag& tag, const Cell<MP4::Tag>& cell, const FieldEdit& edit) {
  const int number = tag.contains(cell.name) ? tag.item(cell.name).toIntPair().first : 0;
  tag.setItem(cell.name, MP4::Item(number, low32(edit.value.number)));
}

void TotalOfPair::edit(APE::Tag& tag, const Cell<APE::Tag>& cell, const FieldEdit& edit) {
  setOrRemove(tag, cell.name, withNumberOf(tag, low32(edit.value.number)));
}

void Total::edit(XiphComment& comment, const Cell<XiphComment>& cell, const FieldEdit& edit) {
  if (cell.replaced) comment.removeFields(cell.replaced);
  const int total = low32(edit.value.number);
  setOrRemove(comment, cell.name, total != 0 ? std::to_string(total) : std::string());
}

std::string Pair::textOf(const FieldValue& value) {
  const std::string number = std::to_string(value.number);
  return value.total != 0 ? number + "/" + std::to_string(value.total) : number;
}

void Pair::edit(MP4::Tag& tag, const Cell<MP4::Tag>& cell, const FieldEdit& edit) {
  const FieldValue& value = edit.value;
  if (value.number == 0 && value.total == 0) {
    tag.removeItem(cell.name);
  } else {
    tag.setItem(cell.name, MP4::Item(low32(value.number), low32(value.total)));
  }
}

void Number::edit(MP4::Tag& tag, const Cell<MP4::Tag>& cell, const FieldEdit& edit) {
  if (edit.value.number == 0) {
    tag.removeItem(cell.name);
  } else {
    tag.setItem(cell.name, MP4::Item(low32(edit.value.number)));
  }
}

void Flag::edit(MP4::Tag& tag, const Cell<MP4::Tag>& cell, const FieldEdit& edit) {
  // The one-byte item, not the boolean one (kept).
  tag.setItem(cell.name, MP4::Item(static_cast<unsigned char>(edit.value.flag ? 1 : 0)));
}

void Flag::edit(ASF::Tag& tag, const Cell<ASF::Tag>& cell, const FieldEdit& edit) {
  if (cell.replaced) tag.removeItem(cell.replaced);
  tag.setAttribute(cell.name, ASF::Attribute(edit.value.flag));
}

void Rating::edit(ID3v2::Tag& tag, const Cell<ID3v2::Tag>& cell, const FieldEdit& edit) {
  // Looks like the address of somebody and is nobody's; the same in every file.
  constexpr char kEmail[] = "no@email";
  try {
    tag.removeFrames(cell.name);
    auto frame = std::make_unique<ID3v2::PopularimeterFrame>();
    frame->setRating(popularimeterRating(edit.value.real));
    frame->setEmail(kEmail);
    tag.addFrame(frame.release());
  } catch (const std::exception&) {
    // It speaks of lyrics (kept).
    logLine("Error writing lyrics id3 to track at path %s", edit.path ? edit.path : "(null)");
  }
}

void Rating::edit(MP4::Tag& tag, const Cell<MP4::Tag>& cell, const FieldEdit& edit) {
  setText(tag, cell.name, printed(kRatingSize, "%d", percentRating(edit.value.real)).c_str());
}

void Rating::edit(XiphComment& comment, const Cell<XiphComment>& cell, const FieldEdit& edit) {
  setText(comment, cell.name, printed(kRatingSize, "%d", percentRating(edit.value.real)).c_str());
}

void Rating::edit(ASF::Tag& tag, const Cell<ASF::Tag>& cell, const FieldEdit& edit) {
  setText(tag, cell.name, printed(kRatingSize, "%d", sdbRating(edit.value.real)).c_str());
  tag.setAttribute(cell.second, ASF::Attribute(sharedUserRating(edit.value.real)));
}

void Rating::edit(APE::Tag& tag, const Cell<APE::Tag>& cell, const FieldEdit& edit) {
  setText(tag, cell.name, printed(kDecimalRatingSize, "%f", edit.value.real).c_str());
}

}  // namespace cell
}  // namespace tagwriter
