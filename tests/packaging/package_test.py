"""The Debian packages: their files, their metadata, and nothing of this machine."""

import os
import re
import subprocess
import unittest

from staging import (
    BUILD, LIBDIR, SOURCE, VERSION, StagingTest, files_below, installed_files, run, taglib_of,
    uses_taglib, without_configuration)

NAMES = ["libtagwriter-dev", "libtagwriter0", "tagwriter"]
DOCUMENTS = [f"usr/share/doc/{name}/{file}" for name in NAMES
             for file in ("changelog.gz", "copyright")]
DOCUMENTS += ["usr/share/lintian/overrides/libtagwriter0"]
FRONT, SERVICE, READER = (f"usr/libexec/tagwriter/{name}"
                          for name in ("tagwriter-bus", "tagwriterd", "tagreaderd"))
# What is not in the package of the programs, by the beginnings of the paths.
LIBRARY = (f"usr/{LIBDIR}/libtagwriter.so.",)
DEVELOPMENT = ("usr/include/", f"usr/{LIBDIR}/cmake/", f"usr/{LIBDIR}/pkgconfig/",
               f"usr/{LIBDIR}/libtagwriter.a", f"usr/{LIBDIR}/libtagwriter.so",
               "usr/share/dbus-1/interfaces/", "usr/share/man/man3/",
               "usr/share/doc/tagwriter/examples/")
PROGRAMS = ["usr/bin/tagwriter", FRONT, SERVICE, READER, f"usr/{LIBDIR}/libtagwriter.so"]


def packaged(file):
    """The path in the package of an installed file."""
    file = file.replace("share/zsh/site-functions", "share/zsh/vendor-completions")
    return f"usr/{file}.gz" if file.startswith("share/man/") else f"usr/{file}"


def package_of(file):
    """The package that has this file."""
    own = re.match(rf"usr/share/(?:doc|lintian/overrides)/({'|'.join(NAMES)})(?:/(?!examples)|$)",
                   file)
    if own:
        return own[1]
    if file.startswith(LIBRARY):
        return "libtagwriter0"
    return "libtagwriter-dev" if file.startswith(DEVELOPMENT) else "tagwriter"


class PackageTest(StagingTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        directory = cls.prefix.parent
        run("cpack", "-G", "DEB", "--config", BUILD / "CPackConfig.cmake",
            "-B", directory / "cpack", cwd=directory, umask=0o077)
        cls.packages = sorted((directory / "cpack").glob("*.deb"))
        cls.root, cls.control = directory / "root", directory / "control"
        cls.control.mkdir()
        for package in cls.packages:
            run("dpkg-deb", "-x", package, cls.root)
            run("dpkg-deb", "-e", package, cls.control / package.name.partition("_")[0])

    def test_files(self):
        self.assertEqual(without_configuration(files_below(self.root)),
                         sorted([packaged(file) for file in installed_files()] + DOCUMENTS))
        for package in self.packages:
            for line in run("dpkg-deb", "-c", package).splitlines():
                mode, owner, _, _, _, file = line.split()[:6]
                self.assertEqual(owner, "root/root", line)
                if not mode.startswith("l"):
                    self.assertIn(mode[4:], ("r-xr-x", "r--r--"), line)
                if not mode.startswith("d"):
                    self.assertEqual(package.name.partition("_")[0], package_of(file[2:]), line)
        for file, line in {
                "share/dbus-1/services/org.tagwriter.TagWriter.service": f"Exec=/{FRONT}",
                "lib/systemd/user/tagwriter.service": f"ExecStart=/{FRONT}"}.items():
            self.assertIn(line, (self.root / "usr" / file).read_text().splitlines())

    def taglib_packages(self):
        """The Debian package of the TagLib that the service loads; none if it was built by hand."""
        (series, path), = taglib_of(self.root / SERVICE)
        owner = subprocess.run(["dpkg", "-S", os.path.realpath(path)], check=False,
                               stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return set() if owner.returncode else {"libtag1v5" if series == "1" else "libtag2"}

    def test_the_description_says_with_which_taglib_the_service_was_built(self):
        package, = (path for path in self.packages if path.name.startswith("tagwriter_"))
        description = run("dpkg-deb", "-f", package, "Description").replace("\n ", " ")
        (series, _), = taglib_of(self.root / SERVICE)
        self.assertIn(f"Built with TagLib {series}.", description)

    def test_metadata(self):
        architecture = run("dpkg", "--print-architecture").strip()
        self.assertEqual([package.name for package in self.packages],
                         [f"{name}_{VERSION}_{architecture}.deb" for name in NAMES])
        run_time = {"libc6", "libgcc-s1", "libstdc++6", "libsystemd0"}
        depends = {"tagwriter": run_time | {"libmimalloc2.0"} | self.taglib_packages(),
                   "libtagwriter0": run_time | {"tagwriter"}, "libtagwriter-dev": {"libtagwriter0"}}
        for name, package in zip(NAMES, self.packages):
            fields = run("dpkg-deb", "-f", package)
            field = dict(re.findall(r"^(\S+): (.*(?:\n .*)*)", fields, re.MULTILINE))
            self.assertEqual(
                [field[key] for key in ("Package", "Version", "Architecture", "Maintainer")],
                [name, VERSION, architecture,
                 "Tag writer maintainers <maintainers@tagwriter.invalid>"])
            self.assertRegex(field["Description"], r"\A[a-z][^\n]{20,60}\n [^\n]+\n")
            self.assertEqual(set(re.findall(r"(?:^|, )([a-z0-9.+-]+)", field["Depends"])),
                             depends[name])
        self.assertEqual(field["Recommends"], "default-dbus-session-bus | dbus-session-bus")
        control = self.control / "libtagwriter0"
        self.assertEqual((control / "triggers").read_text(), "activate-noawait ldconfig\n")
        self.assertEqual((control / "shlibs").read_text().strip(),
                         f"libtagwriter 0 libtagwriter0 (>= {VERSION})")

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
