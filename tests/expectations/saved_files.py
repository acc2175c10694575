"""What TagLib does on its own whenever it saves one of the tagged test files, file by file."""

import os

from expectations import LATIN1
from support import DATA
from tag_contents import tag_contents

ID3V2_4 = {"ID3v2": ["2.4"]}
COMMENT = {"ID3v2 COMM": [(LATIN1, "XXX", "", "a comment of 28 characters..")]}

# What is new or other in a file that has been saved: values, or a function of the old ones. None
# when nothing is left.
SAVED = {
    # A picture gets a MIME type instead of three letters.
    "mp3_id3v22.mp3": ID3V2_4 | {
        "ID3v2 APIC": lambda old: [(0, "image/png", *old[0][2:])]},
    # The year moves to a frame of the new version, and a popularimeter gets its play counter.
    "mp3_id3v23.mp3": ID3V2_4 | {
        "ID3v2 TYER": None, "ID3v2 TDRC": [(LATIN1, "1999")],
        "ID3v2 POPM": lambda old: [value + bytes(4) for value in old]},
    # What only the ID3v1 tag has is copied from there.
    "mp3_id3v24_id3v1.mp3": COMMENT | {"ID3v2 TCON": [(LATIN1, "Rock")]},
    "mp3_id3v1.mp3": ID3V2_4 | COMMENT | {
        "ID3v2 TIT2": [(LATIN1, "Rising Tone")], "ID3v2 TPE1": [(LATIN1, "Zoë Müller")],
        "ID3v2 TALB": [(LATIN1, "Test Tones")], "ID3v2 TDRC": [(LATIN1, "1999")],
        "ID3v2 TRCK": [(LATIN1, "7")], "ID3v2 TCON": [(LATIN1, "Rock")]},
    "mp3_id3v2_ape.mp3": {},
    "aiff_id3.aif": ID3V2_4,
    "wav_info.wav": {},
    "wav_id3.wav": ID3V2_4,
    "wav_info_id3.wav": {},
    "dsf_tagged.dsf": ID3V2_4,
    "m4a_tagged.m4a": {},
    "m4a_mdat_first.m4a": {},
    "flac_comment.flac": {},
    "flac_pictures.flac": {},
    "flac_id3.flac": {},
    "vorbis_tagged.ogg": {},
    "vorbis.oga": {},
    "flac.oga": {},
    "opus_tagged.opus": {},
    "wma_tagged.wma": {},
    "ape_tagged.ape": {},
    "ape_id3v1.ape": {},
    "wavpack_tagged.wv": {},
    "mpc_tagged.mpc": {},
}


def saved(name):
    """The contents of a file of which TagLib has saved everything and the edit nothing."""
    before = tag_contents(os.path.join(DATA, name))
    after = {key: change(before[key]) if callable(change) else change
             for key, change in SAVED[name].items()}
    return {key: value for key, value in (before | after).items() if value is not None}
