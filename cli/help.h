// The texts for --help that the parser does not generate.
#pragma once

#include <string>

namespace tagwriter {

inline constexpr char kDescription[] =
    "tagwriter - write tags into audio files\n"
    "\n"
    "Writes titles, track numbers, ratings, lyrics, covers and other fields into MP3, M4A, FLAC,\n"
    "Ogg, Opus, WMA, AIFF, WAV, Monkey's Audio, WavPack, Musepack and DSF files. The command "
    "opens\n"
    "the files; the tagwriterd service edits them, and tagreaderd reads them. Neither opens a "
    "file\n"
    "by name itself.";

inline constexpr char kHelpFooter[] =
    "Examples:\n"
    "  tagwriter set -t title=\"Morgen\" -t year=1894 -t rating=4.5 song.flac\n"
    "  tagwriter set -t track=3/12 -t lyrics=@lyrics.txt song.mp3\n"
    "  tagwriter clear -t comment --recursive ~/Music/Strauss\n"
    "  tagwriter cover --replace front.jpg *.mp3\n"
    "  tagwriter copy song.flac song.mp3\n"
    "  tagwriter show -t title song.flac\n"
    "  tagwriter show --json song.flac | tagwriter set --from - song.mp3\n"
    "\n"
    "In place or safe:\n"
    "  By default, files are edited in place: a file keeps its inode and its hard links, but a\n"
    "  crash or power failure during the edit can damage it. With --safe, a copy is edited, and\n"
    "  replaces the file only if everything succeeds.\n"
    "\n"
    "Exit codes:\n"
    "  0 success, 1 something failed (see standard error), 2 wrong usage\n"
    "\n"
    "See 'tagwriter COMMAND --help' for the options of a command.\n"
    "See 'tagwriter set --help' for the list of fields.";

/// Lists the field keys with their types.
std::string fieldsHelp();

}  // namespace tagwriter
