"""The examples of README.md are run as they stand there, and print what stands there but for times, numbers and hashes.

    readme.py --update      writes what they print now into README.md
"""

import pathlib
import re
import subprocess
import sys
import unittest

import program

HOUSE = pathlib.Path(__file__).resolve().parents[2]
README = HOUSE / "README.md"
ADDRESS = "http://127.0.0.1:3161/"  # in README.md; here the authority listens where there is room
BLOCK = re.compile(r"(?<=```console\n)(.*?)(?=```\n)", re.S)
MASKS = ((r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d+)?(Z|[+-]\d\d:\d\d)", "TIME"), (r"\b[0-9a-f]{12,}\b", "HEX"),
         (r"-?\b\d+(\.\d+)? ?(ms|s|days|milliseconds|seconds)\b", "SOME"), (r"http://127\.0\.0\.1:\d+/", ADDRESS),
         (r" +", " "))


def masked(text):
    for pattern, word in MASKS:
        text = re.sub(pattern, word, text)
    return text


class Examples(program.SystemTest):
    @classmethod
    def setUpClass(cls):
        super().setUpClass()
        cls.authority = program.Authority(cls.workspace.path / "tsa")
        cls.addClassCleanup(cls.authority.close)
        cls.folder = cls.workspace.path / "work"
        cls.folder.mkdir()
        (cls.folder / "root.pem").write_bytes(cls.authority.root.read_bytes())
        for name in ("report.pdf", "a.txt", "b.txt", "c.txt"):
            (cls.folder / name).write_bytes(name.encode())

    def run_line(self, line):
        environment = dict(self.workspace.environment, PATH=f"{program.BIN}:/usr/bin:/bin", TZ="UTC", NO_COLOR="1")
        result = subprocess.run(["bash", "-c", line.replace(ADDRESS, self.authority.url)], cwd=self.folder, text=True,
                                env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=120)
        return result.stdout.replace(self.authority.url, ADDRESS).replace(str(self.workspace.path), "~")

    def printed(self, block):
        """The commands of a block with what each prints now; a line that ends in \\ goes on in the next."""
        text = ""
        for command in re.findall(r"^\$ (.*(?:(?<=\\)\n.*)*)", block, re.M):
            text += f"$ {command}\n" + self.run_line(command)
        return text

    def test_each_prints_what_stands_there(self):
        blocks = BLOCK.findall(README.read_text())
        self.assertGreaterEqual(sum(block.count("\n$ ") + block.startswith("$ ") for block in blocks), 10)
        for block in blocks:
            with self.subTest(block.splitlines()[0]):
                # Files of a batch are told as they come, and the two streams as they are written.
                self.assertEqual(sorted(masked(self.printed(block)).splitlines()), sorted(masked(block).splitlines()))


class Update(Examples):
    def runTest(self):
        text = README.read_text()
        README.write_text(BLOCK.sub(lambda match: self.printed(match[1]), text))


if __name__ == "__main__":
    if sys.argv[1:] == ["--update"]:
        suite = unittest.TestSuite([Update("runTest")])
        sys.exit(not unittest.TextTestRunner().run(suite).wasSuccessful())
    del Update
    program.main()
