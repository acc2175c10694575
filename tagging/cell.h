// A cell of the field table: how one field is stored in one tag family.
//
// A kind of cell is a type that writes a field and reads it back. Its members are the names it
// needs, and it has a write and a read for each family that it supports:
//
//   struct Number {
//     static constexpr KindInfo kInfo = {"number", "description for docs/FIELDS.md"};
//     const char* name;
//     void write(Tag& tag, const FieldChange& change) const;
//     std::optional<StoredField> read(Tag& tag) const;  // nullopt if not in the tag
//   };
#pragma once

#include <concepts>
#include <optional>
#include <variant>

#include "tagging/field_change.h"
#include "tagging/text_cells.h"
#include "tagging/writing_blocks.h"

namespace tagwriter {

/// A cell for the tag family of `Tag`: one of the `Kinds` that support it, or blank, if the field
/// is not stored there. One or two names without a kind make a Text.
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

  /// An editor that makes `change`; empty for a blank cell. It copies `change`, but not its text.
  FieldEditor<Tag> editor(const FieldChange& change) const {
    FieldEditor<Tag> editor;
    visit(
        [&](const auto& kind) { editor = [kind, change](Tag* tag) { kind.write(*tag, change); }; });
    return editor;
  }

  /// The value in `tag`; nullopt if the field is absent or the cell is blank.
  std::optional<StoredField> read(Tag& tag) const {
    std::optional<StoredField> stored;
    visit([&](const auto& kind) { stored = kind.read(tag); });
    return stored;
  }

  constexpr bool isBlank() const { return std::holds_alternative<std::monostate>(kind_); }

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
