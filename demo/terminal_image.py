#!/usr/bin/python3
"""Prints an SVG of a terminal in which commands were run: `terminal_image.py BIN > FILE.svg`."""

import html
import os
import shutil
import struct
import subprocess
import sys
import tempfile
import zlib

DATA = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "tests", "data")

# The album that the commands find: names of songs, and what they are copied from.
SONGS = {"01.flac": "flac_plain.flac", "02.mp3": "mp3_plain.mp3", "03.m4a": "m4a_plain.m4a"}
LYRICS = "Und morgen wird die Sonne wieder scheinen\nund auf dem Wege, den ich gehen werde\n"
COVER_SIZE = 600  # pixels

COMMANDS = [
    'tagwriter set -t artist="Clara Vogel" -t album=Lieder -t year=1918 *.flac *.mp3 *.m4a',
    "tagwriter set -t title=Morgen -t track=1/3 -t rating=4.5 -t lyrics=@morgen.txt 01.flac",
    "tagwriter cover cover.png *.flac *.mp3 *.m4a",
    "tagwriter show 01.flac",
    "tagwriter set -t titel=Abend 02.mp3",
    'tagwriter set -t albumArtist="Clara Vogel" *',
]

COLUMNS = 90
WIDTH, MARGIN, BAR = 800, 20, 36  # pixels; BAR is the height of the title bar
LINE, FONT = 20, 14
CHARACTER = (WIDTH - 2 * MARGIN) / COLUMNS

STYLE = f"""
text {{ font: {FONT}px ui-monospace, SFMono-Regular, Menlo, Consolas, "DejaVu Sans Mono", monospace;
       white-space: pre; fill: #c8d0dc }}
.prompt {{ fill: #7ee2a8 }}
.command {{ fill: #ffffff; font-weight: 600 }}
.title {{ fill: #8b95a5; text-anchor: middle }}
"""


def run(directory, binaries):
    """The commands and the lines that they print, as pairs of a class and a text."""
    path = os.path.realpath(binaries) + os.pathsep + os.environ["PATH"]
    environment = {**os.environ, "PATH": path, "LC_ALL": "C.UTF-8"}
    for command in COMMANDS:
        assert len(command) <= COLUMNS - 2, f"too long for the terminal: {command}"
        yield "command", command
        printed = subprocess.run(["sh", "-c", command], cwd=directory, env=environment, text=True,
                                 stdout=subprocess.PIPE, stderr=subprocess.STDOUT).stdout
        for line in printed.splitlines():
            yield "output", line


def wrapped(lines):
    """The same lines as a terminal shows them, which is COLUMNS wide."""
    for kind, line in lines:
        yield kind, line[:COLUMNS]
        for start in range(COLUMNS, len(line), COLUMNS):
            yield kind, line[start:start + COLUMNS]


def text(column, y, kind, line):
    """An element of exactly as many columns as the text has, whatever the font."""
    content = line.lstrip()
    x = MARGIN + (column + len(line) - len(content)) * CHARACTER
    length = f'textLength="{len(content) * CHARACTER:.1f}" lengthAdjust="spacingAndGlyphs"'
    return (f'<text x="{x:.1f}" y="{y}" class="{kind}" {length}>'
            f"{html.escape(content, quote=False)}</text>")


def elements(lines):
    """The lines, from the top."""
    y = BAR + MARGIN / 2
    for kind, line in lines:
        y += LINE
        if kind == "command":
            yield text(0, y, "prompt", "$")
            yield text(2, y, "command", line)
        else:
            yield text(0, y, kind, line)


def svg(lines):
    """The window."""
    height = BAR + LINE * len(lines) + MARGIN + 8
    buttons = "".join(f'<circle cx="{x}" cy="{BAR / 2}" r="6" fill="{colour}"/>'
                      for x, colour in ((22, "#ff5f57"), (42, "#febc2e"), (62, "#28c840")))
    return f"""\
<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 {WIDTH} {height}" width="{WIDTH}" \
height="{height}" role="img" aria-label="tagwriter in a terminal">
<style>{STYLE}</style>
<rect x="0.5" y="0.5" width="{WIDTH - 1}" height="{height - 1}" rx="10" fill="#161b26" \
stroke="#3a4354"/>
<path d="M1 {BAR} H{WIDTH - 1}" stroke="#2a3242"/>
{buttons}
<text x="{WIDTH / 2}" y="{BAR / 2 + 5}" class="title">~/Music/Lieder</text>
{chr(10).join(elements(lines))}
</svg>"""


def chunk(kind, content):
    """A part of a PNG."""
    checksum = zlib.crc32(kind + content)
    return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", checksum)


def png(size):
    """A grey square, which is not compressed, so that it has the same size everywhere."""
    header = struct.pack(">IIBBBBB", size, size, 8, 0, 0, 0, 0)
    pixels = zlib.compress(bytes([0] + [128] * size) * size, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + chunk(b"IDAT", pixels)
            + chunk(b"IEND", b""))


def make_album(directory):
    for name, original in SONGS.items():
        copied = shutil.copyfile(os.path.join(DATA, original), os.path.join(directory, name))
        os.chmod(copied, 0o644)
    for name, content in (("morgen.txt", LYRICS.encode()), ("cover.png", png(COVER_SIZE))):
        with open(os.path.join(directory, name), "wb") as file:
            file.write(content)


def main():
    with tempfile.TemporaryDirectory(prefix="tagwriter-terminal-") as directory:
        make_album(directory)
        print(svg(list(wrapped(run(directory, sys.argv[1])))))


if __name__ == "__main__":
    main()
