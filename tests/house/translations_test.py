#!/usr/bin/python3
"""The files of the translators: complete, up to date with the sources, and with the placeholders and keys of the
English texts.

    translations_test.py ROOT
"""
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree as ElementTree
from pathlib import Path

ROOT = Path(sys.argv.pop(1) if len(sys.argv) > 1 else Path(__file__).parent.parent.parent)
FOLDER = ROOT / "app/translations"
PLACEHOLDER = re.compile(r"%(?:\d+|l?[a-z]+|%|\.\d+f)")


def messages(path):
    """(context, English text, its translation, whether it waits to be translated) of each text."""
    for context in ElementTree.parse(path).getroot().iter("context"):
        for message in context.iter("message"):
            translation = message.find("translation")
            yield (context.findtext("name"), message.findtext("source"), translation.text or "",
                   translation.get("type") == "unfinished")


def key(text):
    """The character that the Alt key goes with; empty when there is none."""
    match = re.search(r"&([^&])", text.replace("&&", ""))
    return match.group(1).lower() if match else ""


class Translations(unittest.TestCase):
    def setUp(self):
        self.files = sorted(FOLDER.glob("vantrel_*.ts"))

    def test_there_is_german(self):
        self.assertIn("vantrel_de.ts", [path.name for path in self.files])

    def test_every_text_of_the_sources_is_translated(self):
        with tempfile.TemporaryDirectory() as folder:
            for path in self.files:
                shutil.copy(path, folder)
            subprocess.run([ROOT / "scripts/update-translations", folder], check=True, timeout=120)
            for path in self.files:
                texts = list(messages(Path(folder) / path.name))
                self.assertGreater(len(texts), 100)
                self.assertEqual([text for _, text, _, waits in texts if waits], [], path.name)
                self.assertEqual(texts, list(messages(path)), f"{path.name} is not what the sources hold")

    def test_placeholders_stay(self):
        for path in self.files:
            for _, text, translation, _ in messages(path):
                wanted, found = PLACEHOLDER.findall(text), PLACEHOLDER.findall(translation)
                self.assertEqual(sorted(wanted), sorted(found), text)
                if not all(place[1:].isdigit() for place in wanted):  # those of printf have no numbers
                    self.assertEqual(wanted, found, text)

    def test_nothing_is_empty(self):
        for path in self.files:
            for _, text, translation, _ in messages(path):
                self.assertTrue(translation.strip(), text)

    def test_what_has_a_key_keeps_one_and_no_window_has_it_twice(self):
        for path in self.files:
            windows = {}
            for context, text, translation, _ in messages(path):
                self.assertEqual(bool(key(text)), bool(key(translation)), text)
                if key(translation) and context != "vantrel":  # whose texts stand in many windows
                    windows.setdefault(context, []).append(key(translation))
            for context, keys in windows.items():
                self.assertEqual(len(keys), len(set(keys)), f"{context}: {sorted(keys)}")


if __name__ == "__main__":
    unittest.main(verbosity=2)
