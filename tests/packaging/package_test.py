"""The Debian package: its files, its dependencies, and nothing of this machine."""

import os
import re
import unittest

from staging import (
    BUILD, LIBDIR, SOURCE, VERSION, StagingTest, files_below, installed_files, run,
    without_configuration)

# Debian's own: documents, and compressed pages.
ADDED = ["usr/share/doc/tagwriter/changelog.gz", "usr/share/doc/tagwriter/copyright",
         "usr/share/lintian/overrides/tagwriter"]


def packaged(file):
    """Where a file of an installation is in the package."""
    file = file.replace("share/zsh/site-functions", "share/zsh/vendor-completions")
    return f"usr/{file}.gz" if file.startswith("share/man/") else f"usr/{file}"


class PackageTest(StagingTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        directory = cls.prefix.parent
        run("cpack", "-G", "DEB", "--config", BUILD / "CPackConfig.cmake", "-B", directory / "cpack",
            cwd=directory)
        cls.package, = (directory / "cpack").glob("*.deb")
        cls.root = directory / "root"
        run("dpkg-deb", "-x", cls.package, cls.root)

    def field(self, name):
        return run("dpkg-deb", "-f", self.package, name).strip()

    def test_holds_what_is_installed_and_what_debian_wants(self):
        self.assertEqual(without_configuration(files_below(self.root)),
                         sorted([packaged(file) for file in installed_files()] + ADDED))

    def test_everything_belongs_to_root_and_nobody_else_may_write_it(self):
        listing = run("dpkg-deb", "-c", self.package).splitlines()
        self.assertGreater(len(listing), 30)
        for line in listing:
            mode, owner = line.split()[:2]
            self.assertEqual(owner, "root/root", line)
            if not mode.startswith("l"):
                self.assertNotIn("w", mode[4:], line)

    def test_says_what_it_is(self):
        architecture = run("dpkg", "--print-architecture").strip()
        self.assertEqual(self.package.name, f"tagwriter_{VERSION}_{architecture}.deb")
        for name, value in {"Package": "tagwriter", "Version": VERSION,
                            "Architecture": architecture,
                            "Maintainer": "Tag writer maintainers <maintainers@tagwriter.invalid>",
                            }.items():
            self.assertEqual(self.field(name), value)
        self.assertRegex(self.field("Description"), r"\A[^\n]{20,79}\n [^\n]+\n")

    def test_depends_on_the_libraries_that_its_programs_use(self):
        packages = set(re.findall(r"(?:^|, )([a-z0-9.+-]+)", self.field("Depends")))
        self.assertEqual(packages, {"libc6", "libgcc-s1", "libstdc++6", "libsystemd0", "libtag1v5"})

    def test_tells_the_linker_and_other_packages_about_the_library(self):
        control = self.root.parent / "control"
        run("dpkg-deb", "-e", self.package, control)
        self.assertEqual((control / "triggers").read_text(), "activate-noawait ldconfig\n")
        self.assertEqual((control / "shlibs").read_text().strip(),
                         f"libtagwriter 0 tagwriter (>= {VERSION})")

    def test_what_starts_the_front_names_its_place(self):
        front = "usr/libexec/tagwriter/tagwriter-bus"
        self.assertTrue(os.access(self.root / front, os.X_OK))
        for file, line in {
                "usr/share/dbus-1/services/org.tagwriter.TagWriter.service": f"Exec=/{front}",
                "usr/lib/systemd/user/tagwriter.service": f"ExecStart=/{front}"}.items():
            self.assertIn(line, (self.root / file).read_text().splitlines())

    def test_no_file_names_a_directory_of_this_machine(self):
        for path in map(self.root.joinpath, files_below(self.root)):
            if not path.is_symlink():
                content = path.read_bytes()
                for directory in (SOURCE, BUILD, self.prefix.parent):
                    self.assertNotIn(os.fsencode(directory), content, path)

    def test_programs_are_stripped_and_hardened(self):
        for program in ("usr/bin/tagwriter", "usr/libexec/tagwriter/tagwriterd",
                        "usr/libexec/tagwriter/tagwriter-bus", f"usr/{LIBDIR}/libtagwriter.so"):
            about = run("readelf", "-hlSdW", self.root / program)
            self.assertIn("DYN (", about, program)  # position independent
            self.assertIn("GNU_RELRO", about, program)
            self.assertIn("NOW", about, program)
            self.assertNotIn(".symtab", about, program)


if __name__ == "__main__":
    unittest.main()
