// The texts of --help that the parser does not make by itself.
#pragma once

#include <string>

namespace tagwriter {

inline constexpr char kDescription[] =
    "tagwriter - write tags into audio files\n"
    "\n"
    "Writes titles, numbers, ratings, lyrics, covers and other fields into MP3, M4A, FLAC, Ogg,\n"
    "Opus, WMA, AIFF, WAV, Monkey's Audio, WavPack, Musepack and DSF files, one field at a time,\n"
    "and leaves everything else in the file alone. The files are opened here; the writing is done\n"
    "by the tagwriterd service, which gets the open files and never opens one by its name.";

inline constexpr char kHelpFooter[] =
    "Examples:\n"
    "  tagwriter set -t title=\"Morgen\" -t year=1894 -t rating=4.5 song.flac\n"
    "  tagwriter clear -t comment --recursive ~/Music/Strauss\n"
    "  tagwriter cover --replace front.jpg *.mp3\n"
    "  tagwriter show --json song.flac\n"
    "\n"
    "In place or safe:\n"
    "  By default a file is edited in place: it keeps its inode and its hard links, and a power\n"
    "  failure in the middle can damage it. With --safe the edit happens on a copy, which takes\n"
    "  the file's place only when everything has gone well.\n"
    "\n"
    "Exit codes:\n"
    "  0 all done, 1 something failed and is named on standard error, 2 wrong usage\n"
    "\n"
    "\"tagwriter VERB --help\" tells what a verb takes; \"tagwriter set --help\" lists the fields.";

/// The field keys with what each takes.
std::string fieldsHelp();

}  // namespace tagwriter
