"""Programs that run while the uninstaller comes: tools of the suite, and others of like names."""

import os
import signal
import subprocess
import time

from sample_installation import RUNNING
from session import as_user

PATIENCE = 60


class RunningTools:
    """Starts what the sample installation says is running, as the user."""

    def __init__(self):
        self.processes = {}
        for bundle in RUNNING:
            tool = os.path.basename(bundle).removesuffix(".app")
            program = f"{bundle}/Contents/MacOS/{tool}"
            process = subprocess.Popen(as_user([program, "600"]), cwd="/")
            while os.readlink(f"/proc/{process.pid}/exe") != program:
                time.sleep(0.002)
            self.processes[bundle] = process

    def problems(self, asked_to_quit=True):
        """Which of them did not end though they are the suite's, or ended though they are not."""
        found = []
        for bundle, process in self.processes.items():
            should_end = asked_to_quit and RUNNING[bundle]
            if should_end:
                self._wait_for_end(process)
            expected = -signal.SIGTERM if should_end else None
            if process.poll() != expected:
                found.append(f"{os.path.basename(bundle)}: {process.poll()}, not {expected}")
        return found

    @staticmethod
    def _wait_for_end(process):
        try:
            process.wait(PATIENCE)
        except subprocess.TimeoutExpired:
            pass

    def end(self):
        for process in self.processes.values():
            process.kill()
            process.wait()
