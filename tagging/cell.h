// One cell of the field table: what a field becomes in one tag family.
#pragma once

#include <cstdint>

namespace tagwriter {

/// The value of a field on its way to an editor. The field's type says which member counts; the
/// others keep their defaults.
struct FieldValue {
  const char* text = nullptr;  ///< UTF-8, borrowed; null when absent
  std::int64_t number = 0;
  std::int64_t total = 0;  ///< what travels with the number, where the field has a companion
  double real = 0.0;
  bool flag = false;
};

/// One change: a field's new value, and the file's path for log lines (may be null).
struct FieldEdit {
  FieldValue value;
  const char* path = nullptr;
};

/// What a kind of cell is called and does, for the readers of docs/FIELDS.md.
struct Form {
  const char* name;
  const char* meaning;
};

/// Another name for the same value, which an edit always removes.
struct Replaces {
  const char* name;
};

/// How a field is kept in the tag family of `Tag`, and under which names. A blank cell leaves the
/// family alone.
///
/// A kind of cell is a type with a `kForm` and an `edit` for each family that it serves. A kind
/// with `kHasNoEditor` only tells where the field's own road puts the value.
template <typename Tag>
struct Cell {
  using Edit = void (*)(Tag& tag, const Cell& cell, const FieldEdit& edit);

  constexpr Cell() = default;
  /// `cellName` is the frame, atom, field, attribute or item, in Latin-1; `secondName` one that is
  /// written with it.
  template <typename Kind>
  constexpr Cell(Kind, const char* cellName, const char* secondName = nullptr)
      : form(&Kind::kForm), name(cellName), second(secondName), edit(editOf<Kind>()) {}
  template <typename Kind>
  constexpr Cell(Kind kind, const char* cellName, Replaces other) : Cell(kind, cellName) {
    replaced = other.name;
  }

  const Form* form = nullptr;
  const char* name = nullptr;
  const char* second = nullptr;
  const char* replaced = nullptr;
  Edit edit = nullptr;

 private:
  template <typename Kind>
  static constexpr Edit editOf() {
    if constexpr (requires { Kind::kHasNoEditor; }) {
      return nullptr;
    } else {
      return [](Tag& tag, const Cell& cell, const FieldEdit& edit) { Kind::edit(tag, cell, edit); };
    }
  }
};

}  // namespace tagwriter
