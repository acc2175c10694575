"""Programs load the TagLib that they were built with, and its classes do not replace ours."""

import os
import re
import unittest
from pathlib import Path

from staging import run, taglib_of

BIN = Path(os.environ["TAGWRITER_BIN"])
LIBRARIES = os.path.realpath(os.environ["TAGWRITER_TAGLIB_LIBDIR"])
SERIES = os.environ["TAGWRITER_TAGLIB_SERIES"]


class TaglibTest(unittest.TestCase):
    def test_each_program_loads_the_one_that_it_was_built_with(self):
        for program in ("tagwriterd", "tagreaderd"):
            (series, path), = taglib_of(BIN / program)
            self.assertEqual((series, os.path.dirname(os.path.realpath(path))),
                             (SERIES, LIBRARIES), program)

    def test_our_dsf_classes_have_names_that_no_taglib_has(self):
        for program in ("tagwriterd", "tagreaderd"):
            classes = re.findall(r"vtable for TagLib::DSF::(\S+)", run("nm", "-C", BIN / program))
            self.assertIn("tagwriter::File", classes, program)
            self.assertEqual([name for name in classes if not name.startswith("tagwriter::")], [])


if __name__ == "__main__":
    unittest.main()
