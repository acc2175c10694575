"""The Debian package: its files, its metadata, and nothing of this machine."""

import os
import re
import unittest

from staging import (
    BUILD, LIBDIR, SOURCE, VERSION, StagingTest, files_below, installed_files, run, uses_taglib,
    without_configuration)

DOCUMENTS = ["usr/share/doc/tagwriter/changelog.gz", "usr/share/doc/tagwriter/copyright",
             "usr/share/lintian/overrides/tagwriter"]
FRONT, SERVICE, READER = (f"usr/libexec/tagwriter/{name}"
                          for name in ("tagwriter-bus", "tagwriterd", "tagreaderd"))
PROGRAMS = ["usr/bin/tagwriter", FRONT, SERVICE, READER, f"usr/{LIBDIR}/libtagwriter.so"]


def packaged(file):
    """The path in the package of an installed file."""
    file = file.replace("share/zsh/site-functions", "share/zsh/vendor-completions")
    return f"usr/{file}.gz" if file.startswith("share/man/") else f"usr/{file}"


class PackageTest(StagingTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        directory = cls.prefix.parent
        run("cpack", "-G", "DEB", "--config", BUILD / "CPackConfig.cmake",
            "-B", directory / "cpack", cwd=directory, umask=0o077)
        cls.package, = (directory / "cpack").glob("*.deb")
        cls.root, cls.control = directory / "root", directory / "control"
        run("dpkg-deb", "-x", cls.package, cls.root)
        run("dpkg-deb", "-e", cls.package, cls.control)

    def test_files(self):
        self.assertEqual(without_configuration(files_below(self.root)),
                         sorted([packaged(file) for file in installed_files()] + DOCUMENTS))
        for line in run("dpkg-deb", "-c", self.package).splitlines():
            mode, owner = line.split()[:2]
            self.assertEqual(owner, "root/root", line)
            if not mode.startswith("l"):
                self.assertIn(mode[4:], ("r-xr-x", "r--r--"), line)
        for file, line in {
                "share/dbus-1/services/org.tagwriter.TagWriter.service": f"Exec=/{FRONT}",
                "lib/systemd/user/tagwriter.service": f"ExecStart=/{FRONT}"}.items():
            self.assertIn(line, (self.root / "usr" / file).read_text().splitlines())

    def test_metadata(self):
        architecture = run("dpkg", "--print-architecture").strip()
        self.assertEqual(self.package.name, f"tagwriter_{VERSION}_{architecture}.deb")
        fields = run("dpkg-deb", "-f", self.package)
        field = dict(re.findall(r"^(\S+): (.*(?:\n .*)*)", fields, re.MULTILINE))
        self.assertEqual(
            [field[name] for name in ("Package", "Version", "Architecture", "Maintainer")],
            ["tagwriter", VERSION, architecture,
             "Tag writer maintainers <maintainers@tagwriter.invalid>"])
        self.assertRegex(field["Description"], r"\A[^\n]{20,79}\n [^\n]+\n")
        self.assertEqual(set(re.findall(r"(?:^|, )([a-z0-9.+-]+)", field["Depends"])),
                         {"libc6", "libgcc-s1", "libmimalloc2.0", "libstdc++6", "libsystemd0",
                          "libtag1v5"})
        self.assertEqual((self.control / "triggers").read_text(), "activate-noawait ldconfig\n")
        self.assertEqual((self.control / "shlibs").read_text().strip(),
                         f"libtagwriter 0 tagwriter (>= {VERSION})")

    def test_no_file_names_a_directory_of_this_machine(self):
        for path in map(self.root.joinpath, files_below(self.root)):
            if not path.is_symlink():
                content = path.read_bytes()
                for directory in (SOURCE, BUILD, self.prefix.parent):
                    self.assertNotIn(os.fsencode(directory), content, path)

    def test_programs_are_stripped_and_hardened(self):
        for program in PROGRAMS:
            headers = run("readelf", "-hlSdW", self.root / program)
            for expected in ("DYN (", "GNU_RELRO", "NOW"):  # DYN: position independent
                self.assertIn(expected, headers, program)
            self.assertNotIn(".symtab", headers, program)

    def test_only_service_and_reader_load_taglib(self):
        self.assertEqual({program for program in PROGRAMS if uses_taglib(self.root / program)},
                         {SERVICE, READER})
        archive, = self.root.glob("usr/lib/**/libtagwriter.a")
        self.assertFalse(uses_taglib(archive))


if __name__ == "__main__":
    unittest.main()
