"""A sample of the odd files: everything that an edit must leave alone is as it was, or TagLib is
known to change it."""

import unittest

import odd_files
from odd import published

SAMPLE = 80


class OddFilesTest(unittest.TestCase):

    def test_a_sample(self):
        report, names, mismatches = odd_files.edit_all(step=SAMPLE)
        self.assertEqual(report.problems + mismatches, [])
        self.assertGreater(report.counts["accepted"], len(names) * 50)
        self.assertGreater(report.counts["decoded"], len(names) * 20)

    def test_the_page_is_up_to_date(self):
        self.assertEqual(published.document(), published.DOCUMENT.read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main()
