#include "reading/field_reader.h"

#include <commentsframe.h>
#include <fileref.h>
#include <popularimeterframe.h>
#include <textidentificationframe.h>

#include "base/unique_fd.h"
#include "dsf/dsf_file_type_resolver.h"
#include "io/audio_file.h"
#include "io/owning_stream.h"
#include "tagging/field_table.h"
#include "tagging/rating.h"

namespace tagwriter {
namespace {

using TagLib::Ogg::XiphComment;
namespace APE = TagLib::APE;
namespace ASF = TagLib::ASF;
namespace ID3v2 = TagLib::ID3v2;
namespace MP4 = TagLib::MP4;

constexpr double kPercentAStar = 20.0;

/// What a cell holds, before it is known which of it the field means.
struct Content {
  std::string text;
  std::int64_t number = 0;
  std::int64_t total = 0;
  double stars = 0.0;
};

template <typename Kind, typename Tag>
bool is(const Cell<Tag>& cell) {
  return cell.form == &Kind::kForm;
}

Content contentOf(const TagLib::String& text) {
  Content content;
  content.text = text.to8Bit(true);
  parseNumberPair(content.text.c_str(), content.number, content.total);
  return content;
}

Content contentOf(std::int64_t number, std::int64_t total = 0) {
  Content content;
  content.text = std::to_string(number);
  content.number = number;
  content.total = total;
  return content;
}

/// Nothing for an empty text or a 0, by which the library's generic tag says that there is none.
std::optional<Content> genericContent(const TagLib::Tag& tag, bool isTrack) {
  if (isTrack) return tag.track() ? std::optional(contentOf(tag.track())) : std::nullopt;
  return tag.comment().isEmpty() ? std::nullopt : std::optional(contentOf(tag.comment()));
}

std::optional<Content> read(ID3v2::Tag& tag, const Cell<ID3v2::Tag>& cell) {
  if (is<cell::MainComment>(cell)) {
    const ID3v2::CommentsFrame* comment = findMainID3v2Comment(tag);
    return comment ? std::optional(contentOf(comment->text())) : std::nullopt;
  }
  if (is<cell::UserText>(cell)) {
    const auto* frame = ID3v2::UserTextIdentificationFrame::find(&tag, cell.name);
    if (!frame || frame->fieldList().size() < 2) return std::nullopt;
    return contentOf(frame->fieldList().back());
  }
  const ID3v2::FrameList& frames = tag.frameList(cell.name);
  if (frames.isEmpty()) return std::nullopt;
  Content content = contentOf(frames.front()->toString());
  if (const auto* rating = dynamic_cast<const ID3v2::PopularimeterFrame*>(frames.front())) {
    content.stars = starsOfPopularimeter(rating->rating());
  }
  return content;
}

std::optional<Content> read(MP4::Tag& tag, const Cell<MP4::Tag>& cell) {
  if (!tag.contains(cell.name)) return std::nullopt;
  const MP4::Item item = tag.item(cell.name);
  if (is<cell::NumberOfPair>(cell) || is<cell::TotalOfPair>(cell) || is<cell::Pair>(cell)) {
    return contentOf(item.toIntPair().first, item.toIntPair().second);
  }
  if (is<cell::Number>(cell)) return contentOf(item.toInt());
  if (is<cell::Flag>(cell)) return contentOf(item.toBool() ? 1 : 0);
  Content content = contentOf(item.toStringList().toString(" "));
  content.stars = static_cast<double>(content.number) / kPercentAStar;
  return content;
}

std::optional<Content> read(XiphComment& comment, const Cell<XiphComment>& cell) {
  const TagLib::StringList values = comment.fieldListMap()[cell.name];
  if (values.isEmpty()) return std::nullopt;
  Content content = contentOf(values.toString(" "));
  content.stars = static_cast<double>(content.number) / kPercentAStar;
  return content;
}

std::optional<Content> read(ASF::Tag& tag, const Cell<ASF::Tag>& cell) {
  if (is<cell::GenericComment>(cell) || is<cell::GenericTrack>(cell)) {
    return genericContent(tag, is<cell::GenericTrack>(cell));
  }
  const ASF::AttributeList attributes = tag.attribute(cell.name);
  if (attributes.isEmpty()) return std::nullopt;
  const ASF::Attribute& attribute = attributes.front();
  if (attribute.type() == ASF::Attribute::BoolType) return contentOf(attribute.toBool() ? 1 : 0);
  Content content = contentOf(attribute.toString());
  content.stars = static_cast<double>(content.number) / kPercentAStar;
  return content;
}

std::optional<Content> read(APE::Tag& tag, const Cell<APE::Tag>& cell) {
  const TagLib::String key = TagLib::String(cell.name).upper();
  if (!tag.itemListMap().contains(key)) return std::nullopt;
  Content content = contentOf(tag.itemListMap()[key].values().toString(" "));
  content.stars = std::strtod(content.text.c_str(), nullptr);
  return content;
}

/// One overload a file class, each of which reads the cell of its tag family.
class CellRead {
 public:
  CellRead(const FieldRow& row, std::optional<Content>& content) : row_(row), content_(content) {}

  bool operator()(TagLib::MPEG::File& f) const { return from(f.ID3v2Tag(false), row_.id3v2); }
  bool operator()(TagLib::RIFF::AIFF::File& f) const { return from(f.tag(), row_.id3v2); }
  bool operator()(TagLib::RIFF::WAV::File& f) const { return from(f.tag(), row_.id3v2); }
  bool operator()(TagLib::DSF::File& f) const { return from(f.tag(), row_.id3v2); }
  bool operator()(TagLib::MP4::File& f) const { return from(f.tag(), row_.mp4); }
  bool operator()(TagLib::FLAC::File& f) const { return from(f.xiphComment(false), row_.xiph); }
  bool operator()(TagLib::Vorbis::File& f) const { return from(f.tag(), row_.xiph); }
  bool operator()(TagLib::Ogg::FLAC::File& f) const { return from(f.tag(), row_.xiph); }
  bool operator()(TagLib::Ogg::Opus::File& f) const { return from(f.tag(), row_.xiph); }
  bool operator()(TagLib::ASF::File& f) const { return from(f.tag(), row_.asf); }
  bool operator()(TagLib::APE::File& f) const { return from(f.APETag(false), row_.ape); }
  bool operator()(TagLib::WavPack::File& f) const { return from(f.APETag(false), row_.ape); }
  bool operator()(TagLib::MPC::File& f) const { return from(f.APETag(false), row_.ape); }

 private:
  template <typename Tag>
  bool from(Tag* tag, const Cell<Tag>& cell) const {
    if (tag && cell.form) content_ = read(*tag, cell);
    if (content_ && is<cell::TotalOfPair>(cell)) content_->number = content_->total;
    return content_.has_value();
  }

  const FieldRow& row_;
  std::optional<Content>& content_;
};

ReadValue valueOf(const Content& content, field::Type type) {
  switch (type) {
    case field::Type::kInt64:
      return content.number;
    case field::Type::kDouble:
      return content.stars;
    case field::Type::kBool:
      return content.number != 0;
    case field::Type::kString:
      break;
  }
  return content.text;
}

/// A core field, from the library's generic tag; nothing when it is empty or 0.
std::optional<ReadValue> readCoreField(TagLib::FDFileStream& stream, const std::string& key) {
  TagLib::registerDSFFileTypeResolver();
  const TagLib::FileRef file(&stream, false);
  if (file.isNull() || !file.tag()) return std::nullopt;
  const TagLib::Tag& tag = *file.tag();
  if (key == field::kYear) {
    return tag.year() ? std::optional<ReadValue>(std::int64_t{tag.year()}) : std::nullopt;
  }
  const TagLib::String text = key == field::kTitle    ? tag.title()
                              : key == field::kArtist ? tag.artist()
                              : key == field::kAlbum  ? tag.album()
                                                      : tag.genre();
  return text.isEmpty() ? std::nullopt : std::optional<ReadValue>(text.to8Bit(true));
}

}  // namespace

std::optional<ReadValue> readFieldValue(int fd, const std::string& path, const std::string& key) {
  const bool isDiscTotal = key == field::kTotalNumberOfDiscs;
  const FieldRow* row = findFieldRow(isDiscTotal ? field::kDisc : key.c_str());
  if (!row) return std::nullopt;

  const int duplicate = duplicateFd(fd).release();
  OwningStream stream(duplicate, path.c_str(), nullptr, true);
  if (is<cell::Library>(row->id3v2)) return readCoreField(stream, key);

  std::optional<Content> content;
  withAudioFile(tagFileTypeForPath(path.c_str()), duplicate, stream, CellRead(*row, content));
  if (!content) return std::nullopt;
  return isDiscTotal ? content->total : valueOf(*content, field::find(key)->type);
}

}  // namespace tagwriter
