"""Audio from encoders, always the same bytes on the same machine."""

import os
import subprocess
import tempfile

EXACT = ("-map_metadata", "-1", "-threads", "1", "-fflags", "+bitexact", "-flags:a", "+bitexact",
         "-flags:v", "+bitexact")


def run(*command):
    """Runs a program that must succeed."""
    subprocess.run([str(word) for word in command], check=True, stdin=subprocess.DEVNULL,
                   stdout=subprocess.DEVNULL, stderr=subprocess.PIPE)


class Encoders:
    """`test_data` is the directory with the files of one format each."""

    def __init__(self, test_data):
        self._test_data = test_data
        self._scratch = tempfile.TemporaryDirectory(prefix="tagwriter-odd-")
        self.directory = self._scratch.name

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._scratch.cleanup()

    def data(self, name):
        """The bytes of a file of the test data."""
        with open(os.path.join(self._test_data, name), "rb") as file:
            return file.read()

    def path(self, name):
        """Of a scratch file."""
        return os.path.join(self.directory, name)

    def read(self, name):
        """The bytes of a scratch file."""
        with open(self.path(name), "rb") as file:
            return file.read()

    def wav(self, rate=44100, channels=1, codec="pcm_s16le"):
        """The path of a rising tone."""
        path = self.path(f"{rate}_{channels}_{codec}.wav")
        if not os.path.exists(path):
            tone = f"aevalsrc={'|'.join(['0.5*sin(2*PI*(300*t+1200*t*t))'] * channels)}"
            run("ffmpeg", "-v", "error", "-y", "-f", "lavfi", "-i", f"{tone}:s={rate}:d=0.4",
                *EXACT, "-c:a", codec, path)
        return path

    def ffmpeg(self, name, *options, inputs=None):
        """What ffmpeg makes of the tone, or of other inputs."""
        inputs = inputs or ("-i", self.wav())
        run("ffmpeg", "-v", "error", "-y", *inputs, *EXACT, *options, self.path(name))
        return self.read(name)

    def mpeg_streams(self):
        """MPEG audio of other versions, layers and modes."""
        for label, rate, channels, options in (
                ("mpeg2", 22050, 1, ("-b", "24")), ("mpeg2.5", 8000, 1, ("-b", "16")),
                ("joint_stereo", 44100, 2, ("-m", "j", "-b", "96")),
                ("vbr", 44100, 2, ("-V", "5")), ("abr", 44100, 1, ("--abr", "60")),
                ("with_crc", 44100, 1, ("-p", "-b", "32")),
                ("no_info_frame", 44100, 1, ("-t", "-b", "32")),
                ("free_format", 44100, 1, ("--freeformat", "-b", "64"))):
            run("lame", "--quiet", "--noreplaygain", *options, self.wav(rate, channels),
                self.path(f"{label}.mp3"))
            yield label, self.read(f"{label}.mp3")
        yield "layer_2", self.ffmpeg("layer2.mp2", "-c:a", "mp2", "-b:a", "64k")

    def mp4(self):
        """AAC without tags."""
        return self.ffmpeg("plain.m4a", "-c:a", "aac", "-b:a", "32k", "-f", "ipod", "-movflags",
                           "+faststart")

    def mp4_streams(self):
        """(name, bytes) of files with other codecs, tracks, brands and fragments."""
        tone = ("-i", self.wav())
        picture = ("-f", "lavfi", "-i", "testsrc=s=32x32:d=0.4:r=10")
        aac, tagged = ("-c:a", "aac", "-b:a", "32k"), ("-metadata", "title=Old title")
        cases = {
            "alac.m4a": (tone, "-c:a", "alac"),
            "two_audio_tracks.m4a": (tone, "-map", "0", "-map", "0", *aac),
            "video.mp4": ((*tone, *picture), *aac, "-c:v", "mpeg4"),
            "video_first_faststart.m4v": ((*picture, *tone), *aac, "-c:v", "mpeg4", "-movflags",
                                          "+faststart"),
            "audiobook.m4b": (tone, *aac, "-f", "ipod"),
            "fragments.m4a": (tone, *aac, "-movflags", "frag_keyframe+empty_moov", "-frag_duration",
                              "100000"),
            "fragments_default_base.mp4": (tone, *aac, "-frag_duration", "100000", "-movflags",
                                           "frag_keyframe+empty_moov+default_base_moof"),
            "fragments_of_dash.mp4": (tone, *aac, "-movflags", "+dash", "-frag_duration", "100000"),
            "fragments_and_samples_in_moov.mp4": (tone, *aac, "-movflags", "frag_keyframe",
                                                  "-frag_duration", "100000"),
            "fragments_with_index.mp4": (tone, *aac, "-movflags",
                                         "frag_keyframe+empty_moov+global_sidx+default_base_moof",
                                         "-frag_duration", "100000"),
            "quicktime_brand.mp4": (tone, *aac, "-f", "mov"),
            "negative_offsets_in_ctts.mp4": ((*tone, *picture), *aac, "-c:v", "mpeg4", "-movflags",
                                             "+negative_cts_offsets"),
            "ac3.mp4": (tone, "-c:a", "ac3", "-b:a", "64k"),
            "opus.mp4": (tone, "-c:a", "libopus", "-b:a", "16k", "-strict", "-2"),
            "flac.mp4": (tone, "-c:a", "flac", "-strict", "-2"),
            "mp3.mp4": (tone, "-c:a", "libmp3lame", "-b:a", "32k"),
            "text_track.mp4": ((*tone, "-i", self._subtitles()), *aac, "-c:s", "mov_text"),
        }
        for name, (inputs, *options) in cases.items():
            yield f"stream_{name}", self.ffmpeg(name, *tagged, *options, inputs=inputs)
        chapters = self.path("chapters.txt")
        with open(chapters, "w", encoding="ascii") as file:
            file.write(";FFMETADATA1\n" + "".join(
                f"[CHAPTER]\nTIMEBASE=1/1000\nSTART={at}\nEND={at + 200}\ntitle=Part {at}\n"
                for at in (0, 200)))
        yield "stream_chapters.m4b", self.ffmpeg("chapters.m4b", *aac, "-map_chapters", "1", "-f",
                                                 "ipod", inputs=(*tone, "-i", chapters))

    def _subtitles(self):
        path = self.path("words.srt")
        with open(path, "w", encoding="ascii") as file:
            file.write("1\n00:00:00,000 --> 00:00:00,300\nla la\n")
        return path

    def flac_streams(self):
        """FLAC of other shapes."""
        for label, wav, options in (
                ("stereo", self.wav(44100, 2), ("-8",)), ("24_bit", self.wav(
                    48000, 1, "pcm_s24le"), ()), ("small_blocks", self.wav(8000), ("-b", "64")),
                ("variable_rate_header", self.wav(11025), ("--no-md5-sum",)),
                ("uncompressed", self.wav(8000), ("--disable-constant-subframes",
                                                  "--disable-fixed-subframes"))):
            run("flac", "--silent", "-f", *options, "-T", "TITLE=Old title", "-o",
                self.path("a.flac"), wav)
            yield label, self.read("a.flac")

    def ogg_streams(self):
        """(name, bytes) of files as the encoders leave them."""
        low, high = self.wav(8000), self.wav(48000, 2)
        run("oggenc", "-Q", "-s", "1", "-q", "3", "-c", "TITLE=Old title", "-o",
            self.path("a.ogg"), high)
        yield "vorbis_stream_stereo.ogg", self.read("a.ogg")
        run("opusenc", "--quiet", "--serial", "2", "--bitrate", "24", "--title", "Old title", high,
            self.path("a.opus"))
        yield "opus_stream_stereo.opus", self.read("a.opus")
        for label, options in (("padding", ()), ("seektable", ("--no-padding",))):
            run("flac", "--silent", "-f", "--ogg", "--serial-number=3", *options, "-T",
                "TITLE=Old title", "-o", self.path("a.oga"), low)
            yield f"flac_stream_{label}.oga", self.read("a.oga")
        data = self.ffmpeg("theora.ogg", "-c:a", "libvorbis", "-q:a", "0", "-c:v", "libtheora",
                           "-serial_offset", "5", inputs=(
                               "-i", low, "-f", "lavfi", "-i", "testsrc=s=32x32:d=0.4:r=10"))
        yield "vorbis_stream_with_theora.ogg", data

    def wavpack_streams(self):
        """WavPack of other modes."""
        for label, wav, options in (
                ("hybrid", self.wav(), ("-b256",)), ("hybrid_with_correction", self.wav(),
                                                     ("-b256", "-c")),
                ("stereo", self.wav(44100, 2), ()), ("high", self.wav(8000), ("-hh",)),
                ("float", self.wav(44100, 1, "pcm_f32le"), ()), ("checksum", self.wav(8000),
                                                                 ("-m",)),
                ("no_riff_header", self.wav(8000), ("-r",))):
            run("wavpack", "-q", "-y", *options, wav, "-o", self.path("a.wv"))
            yield label, self.read("a.wv")
