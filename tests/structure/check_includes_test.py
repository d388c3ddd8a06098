#!/usr/bin/env python3
"""Shows that check_includes.py finds what it is there to find."""

import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

CHECK = Path(__file__).with_name("check_includes.py")


def check(path, text):
    """The output of the check over one source."""
    with tempfile.TemporaryDirectory() as root:
        file = Path(root, path)
        file.parent.mkdir(parents=True)
        file.write_text(text, encoding="utf-8")
        run = subprocess.run([sys.executable, CHECK, root], capture_output=True, text=True, check=False)
        return run.returncode, run.stdout


class CheckIncludes(unittest.TestCase):
    def assert_clean(self, path, text):
        self.assertEqual(check(path, text), (0, ""))

    def assert_found(self, path, text, reason):
        status, output = check(path, text)
        self.assertEqual(status, 1)
        self.assertIn(reason, output)

    def test_down_is_fine(self):
        self.assert_clean("kit/files/a.cpp", '#include "kit/log/QVLog.h"\n#include <string>\n')
        self.assert_clean("app/a.cpp", '#include "platform/Services.h"\n')

    def test_up_is_not(self):
        self.assert_found("kit/log/a.cpp", '#include "kit/tasks/QVTaskEx.h"\n', "not stand below")
        self.assert_found("platform/a.cpp", '#include "kit/base/format.h"\n', "not stand below")

    def test_neither_is_beside(self):
        self.assert_found("programs/a.cpp", '#include "app/interface.h"\n', "not stand below")
        self.assert_found("app/a.cpp", '#include "programs/options.h"\n', "not stand below")
        self.assert_clean("programs/qvcopy/a.cpp", '#include "programs/options.h"\n')
        self.assert_clean("programs/qvcopy/a.cpp", '#include "kit/files/QVFileManager.h"\n')

    def test_systems_stay_in_their_folders(self):
        self.assert_found("kit/log/a.cpp", "#include <unistd.h>\n", "standard library")
        self.assert_found("app/a.cpp", "#include <QWidget>\n", "standard library")
        self.assert_found("programs/a.cpp", "#include <unistd.h>\n", "standard library")
        self.assert_found("app/a.cpp", '#include "platform/linux/trash.h"\n', "of a system")
        self.assert_clean("platform/linux/a.cpp", '#include <unistd.h>\n#include "platform/linux/trash.h"\n')
        self.assert_found("platform/linux/a.cpp", '#include "kit/log/QVLog.h"\n', "of the kit")

    def test_no_conditional_compilation(self):
        self.assert_found("kit/log/a.cpp", "#ifdef __linux__\n#endif\n", "conditional")

    def test_a_tree_without_sources_is_no_success(self):
        self.assert_found("docs/a.md", "", "no sources")


if __name__ == "__main__":
    unittest.main()
