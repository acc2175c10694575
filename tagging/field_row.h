// A row of the field table: a field, its writer, and how each tag family stores it.
#pragma once

#include "base/unique_fd.h"
#include "protocol/dictionary.h"
#include "protocol/fields.h"
#include "tagging/cell.h"
#include "tagging/core_fields.h"
#include "tagging/number_cells.h"

namespace tagwriter {

namespace cell {

// The kinds of cells that each tag family supports.
using ID3v2Cell = Cell<TagLib::ID3v2::Tag, Text, UserText, MainComment, Lyrics, Rating, Flag,
                       Number, PairNumber, PairTotal, Pair>;
using ID3v1Cell = Cell<TagLib::ID3v1::Tag, Comment, Track>;
using MP4Cell = Cell<TagLib::MP4::Tag, Text, ITunes, Comment, Rating, Flag, Number, PairNumber,
                     PairTotal, Pair>;
using XiphCell =
    Cell<TagLib::Ogg::XiphComment, Text, CueSheet, Rating, Flag, Number, Track, Total, Pair>;
using ASFCell = Cell<TagLib::ASF::Tag, Text, Comment, Rating, Flag, Number, Track, Pair>;
using APECell = Cell<TagLib::APE::Tag, Text, Comment, CueSheet, Rating, Flag, Number, PairNumber,
                     PairTotal, Pair>;

}  // namespace cell

struct FieldRow;

/// Writes a field into the file `fd`, which is always closed. `change` has the value and the file's
/// path (never opened); both it and `request` are borrowed. Returns whether the field was written.
using FieldWriter = bool (*)(const FieldRow& row, UniqueFd fd, const FieldChange& change,
                             const Dictionary& request);

/// The writer of most fields: uses the row's cells and writeTagToFile.
bool writeCells(const FieldRow& row, UniqueFd fd, const FieldChange& change,
                const Dictionary& request);
/// The writer of the core fields, whose rows have no cells.
bool writeCore(const FieldRow& row, UniqueFd fd, const FieldChange& change,
               const Dictionary& request);
/// The writer of the cue sheet, which rejects some files whose family has a cell for it.
bool writeCue(const FieldRow& row, UniqueFd fd, const FieldChange& change,
              const Dictionary& request);

struct FieldRow {
  constexpr FieldRow(const char* key, const CoreField& rowCore)
      : field(*field::find(key)), writer(writeCore), core(&rowCore) {}
  constexpr FieldRow(const char* key, cell::ID3v2Cell rowID3v2, cell::ID3v1Cell rowID3v1,
                     cell::MP4Cell rowMP4, cell::XiphCell rowXiph, cell::ASFCell rowASF,
                     cell::APECell rowAPE, FieldWriter rowWriter = writeCells)
      : field(*field::find(key)),
        writer(rowWriter),
        id3v2(rowID3v2),
        id3v1(rowID3v1),
        mp4(rowMP4),
        xiph(rowXiph),
        asf(rowASF),
        ape(rowAPE) {}

  const cell::ID3v2Cell& of(const TagLib::ID3v2::Tag*) const { return id3v2; }
  const cell::MP4Cell& of(const TagLib::MP4::Tag*) const { return mp4; }
  const cell::XiphCell& of(const TagLib::Ogg::XiphComment*) const { return xiph; }
  const cell::ASFCell& of(const TagLib::ASF::Tag*) const { return asf; }
  const cell::APECell& of(const TagLib::APE::Tag*) const { return ape; }

  field::Field field;
  FieldWriter writer;
  const CoreField* core = nullptr;
  cell::ID3v2Cell id3v2;
  cell::ID3v1Cell id3v1;
  cell::MP4Cell mp4;
  cell::XiphCell xiph;
  cell::ASFCell asf;
  cell::APECell ape;
};

}  // namespace tagwriter
