// A cell of the field table: how one field is kept in one tag family.
//
// A kind of cell is a type that writes a field and reads it back, with the names that it needs as
// its members and one pair of write and read for each family that it serves:
//
//   struct Number {
//     static constexpr KindInfo kInfo = {"number", "what docs/FIELDS.md says about it"};
//     const char* name;
//     void write(Tag& tag, const FieldChange& change) const;
//     std::optional<StoredField> read(Tag& tag) const;  // nothing when it is not in the tag
//   };
#pragma once

#include <concepts>
#include <optional>
#include <variant>

#include "tagging/field_change.h"
#include "tagging/text_cells.h"
#include "tagging/writing_blocks.h"

namespace tagwriter {

/// A cell for the tag family of `Tag`: one of the `Kinds` that serve it, or blank, which leaves the
/// family alone. A name by itself, or two, make a Text.
template <typename Tag, typename... Kinds>
class Cell {
 public:
  constexpr Cell() = default;
  constexpr Cell(const char* name, const char* second = nullptr)  // NOLINT(*-explicit-constructor)
      requires(std::same_as<cell::Text, Kinds> || ...)
      : kind_(cell::Text{name, second}) {}
  template <typename Kind>
  // NOLINTNEXTLINE(*-explicit-constructor)
  requires(std::same_as<Kind, Kinds> || ...) constexpr Cell(Kind kind) : kind_(kind) {}

  /// An editor that makes `change`, which it copies; empty for a blank cell.
  FieldEditor<Tag> editor(const FieldChange& change) const {
    FieldEditor<Tag> editor;
    visit(
        [&](const auto& kind) { editor = [kind, change](Tag* tag) { kind.write(*tag, change); }; });
    return editor;
  }

  /// What is in `tag`; nothing when the field is not, or the cell is blank.
  std::optional<StoredField> read(Tag& tag) const {
    std::optional<StoredField> stored;
    visit([&](const auto& kind) { stored = kind.read(tag); });
    return stored;
  }

  /// Calls `visitor` with the kind, unless the cell is blank.
  template <typename Visitor>
  void visit(const Visitor& visitor) const {
    std::visit(
        [&]<typename Kind>(const Kind& kind) {
          if constexpr (!std::same_as<Kind, std::monostate>) visitor(kind);
        },
        kind_);
  }

 private:
  std::variant<std::monostate, Kinds...> kind_;
};

}  // namespace tagwriter
