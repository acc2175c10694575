"""Each edit of a field or the cover, and how it is requested of the service and of the command."""

from dataclasses import dataclass

from edits import contents, data, variants
from expectations import FIELDS
from player import GLib, change, dictionary, number, raw_bytes, text

SHORT, LONG = "A typical value", "Ōsaka " * 500 + "end"
VALUES = {"rating": (3.5, 5.0), "compilation": (True, False), "year": (2024, 1987),
          "bpm": (120, 90), "trackNumber": (4, 11), "totalNumberOfTracks": (12, 120),
          "disc": ((2, 3), (12, 0))}
PNG, JPEG = 1, 2
IMAGES = {PNG: data("cover_red.png"), JPEG: data("cover_blue.jpg")}


@dataclass(frozen=True)
class Edit:
    """`step` is set, replace or clear. Another edit's result is edited if `after` names it, and the
    odd file itself otherwise."""

    name: str
    field: str
    step: str
    value: object = None
    after: str = ""

    def request(self, path):
        """For the service. The file is descriptor 0."""
        if self.field != "cover":
            request = change(self.field, None, path)
            request["track"] = dictionary(variants(self.field, self.value))
            return request
        request = {"fd": GLib.Variant("h", 0), "path": text(path)}
        if self.step == "clear":
            return request | {"clearartwork": GLib.Variant("b", True)}
        return request | {"artwork": raw_bytes(contents(IMAGES[self.value])),
                          "artworktype": number(self.value),
                          "replaceartwork": GLib.Variant("b", self.step == "replace")}

    def arguments(self):
        """For the command, without the files."""
        if self.field == "cover":
            if self.step == "clear":
                return ["cover", "--clear"]
            return ["cover", *["--replace"] * (self.step == "replace"), IMAGES[self.value]]
        if self.step == "clear":
            total = ["-t", "totalNumberOfDiscs"] if self.field == "disc" else []
            return ["clear", "-t", self.field, *total]
        value = {True: "yes", False: "no"}.get(self.value, self.value) \
            if isinstance(self.value, bool) else self.value
        if isinstance(value, tuple):
            value = f"{value[0]}/{value[1]}"
        return ["set", "-t", f"{self.field}={value}"]


def _edits():
    for field in FIELDS:
        first, second = VALUES.get(field, (SHORT, LONG))
        yield Edit(f"{field} set", field, "set", first)
        yield Edit(f"{field} replace", field, "replace", second, f"{field} set")
        yield Edit(f"{field} clear", field, "clear")
    yield Edit("cover set", "cover", "set", PNG)
    yield Edit("cover replace", "cover", "replace", JPEG)
    yield Edit("cover keep", "cover", "keep", PNG, "cover replace")
    yield Edit("cover clear", "cover", "clear")


EDITS = tuple(_edits())
