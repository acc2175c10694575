// Prints docs/FIELDS.md from the field table.

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include "tagging/field_table.h"

namespace {

using namespace tagwriter;

constexpr char kIntroduction[] =
    R"(# Fields

<!-- Made from tagging/field_table.h by `./run docs`. Do not edit. -->

What each field becomes in each tag family. A dash means that the family is left alone: where that
is the family of the file's format, the service answers false and the file is not saved.

| family | written into |
|---|---|
| ID3v2 | MP3 and every unknown extension, AIFF, WAV, DSF |
| ID3v1 | MP3, and only when the file has an ID3v1 tag |
| MP4 | M4A, MP4, M4B, M4V, M4P |
| Xiph comment | FLAC, Ogg Vorbis, Ogg FLAC, Opus |
| ASF | WMA |
| APE | Monkey's Audio, WavPack, Musepack |

An absent text removes the field. An absent number, rating or flag is 0 or no, and what that leaves
in the file is said with the kind of the cell. An empty text removes ID3v2 text frames; every other
family is given the empty text as it is, and what the tag library makes of that stands: a Xiph field
and an APE item without a value are not written.

A name by itself stands for a *text* cell: one text, in the place of all that was there. Behind other
names stands the kind of the cell; the kinds are explained below the table.

)";

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

/// A name of the table, which is Latin-1, as code.
std::string code(const char* name) {
  std::string text = "`";
  text += TagLib::String(name).to8Bit(true);
  return text += '`';
}

template <typename Tag>
std::string textOf(const Cell<Tag>& cell) {
  if (!cell.form) return "–";
  std::string text = code(cell.name);
  if (cell.second) text.append(", ").append(code(cell.second));
  if (cell.form != &cell::Text::kForm) text.append(" *").append(cell.form->name).append("*");
  if (cell.replaced) text.append(", removes ").append(code(cell.replaced));
  return text;
}

void printTable() {
  std::cout << "| field | value | ID3v2 | ID3v1 | MP4 | Xiph comment | ASF | APE |\n"
               "|---|---|---|---|---|---|---|---|\n";
  for (const FieldRow& row : table::kFields) {
    const field::Field& field = *field::find(row.key);
    std::cout << "| " << code(row.key);
    if (field.companion) std::cout << " with " << code(field.companion);
    std::cout << " | " << nameOf(field.type);
    for (const std::string& text : {textOf(row.id3v2), textOf(row.id3v1), textOf(row.mp4),
                                    textOf(row.xiph), textOf(row.asf), textOf(row.ape)}) {
      std::cout << " | " << text;
    }
    std::cout << " |\n";
  }
}

void collect(std::vector<const Form*>& forms, const Form* form) {
  if (!form) return;
  for (const Form* known : forms) {
    if (known == form) return;
  }
  forms.push_back(form);
}

/// Every kind of cell, in the order in which the table first uses it.
void printKinds() {
  std::vector<const Form*> forms;
  for (const FieldRow& row : table::kFields) {
    for (const Form* form : {row.id3v2.form, row.id3v1.form, row.mp4.form, row.xiph.form,
                             row.asf.form, row.ape.form}) {
      collect(forms, form);
    }
  }
  std::cout << "\n## Kinds of cells\n\n";
  for (const Form* form : forms) std::cout << "- *" << form->name << "*: " << form->meaning << "\n";
}

}  // namespace

int main() {
  std::cout << kIntroduction;
  printTable();
  printKinds();
  return std::cout.flush() ? 0 : 1;
}
