"""The workbench's server and how tests speak to it, for scripts that are started with PHOTOS PROGRAM...

A program of Windows runs under Wine: PROGRAM is then scripts/windows/wine_run.sh and tarvix.exe.
"""

import http.client
import json
import os
import pathlib
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest

PHOTOS, PROGRAM = pathlib.Path(sys.argv[1]), sys.argv[2:]  # the words that start the program
WINE = PROGRAM[-1].endswith(".exe")

PATIENCE = 300  # seconds until a condition that never holds ends a test; no test depends on a duration


def wait_until(condition):
    end = time.monotonic() + PATIENCE
    while not condition():
        assert time.monotonic() < end, "what the test waits for does not happen"
        time.sleep(0.05)


class Workbench:
    """A running `tarvix workbench` on a folder of its own."""

    def __init__(self, folder, temporary, words=("--no-open",), more=None, **starting):
        """more: variables of its environment; starting: of subprocess.Popen."""
        self.folder, self.temporary = folder, temporary
        self.process = subprocess.Popen([*PROGRAM, "workbench", folder, *words], stdout=subprocess.PIPE, text=True,
                                        env={**os.environ, "TMPDIR": str(temporary), **(more or {})}, **starting)
        address = re.fullmatch(r"http://127\.0\.0\.1:(\d+)(/\?token=[0-9a-f]{32})\n", self.process.stdout.readline())
        self.port, self.entry = int(address[1]), address[2]
        self.cookie = self.send("GET", self.entry, cookie=None)[1]["Set-Cookie"].split(";")[0]

    def send(self, method, path, body=None, cookie="", **fields):
        """Status, fields and body of the answer. cookie: "" the right one, None none, or a value."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=300)
        fields = {name.replace("_", "-"): value for name, value in fields.items()}
        if method == "POST" and not any(name in fields for name in ("Origin", "Sec-Fetch-Site")):
            fields["Origin"] = f"http://127.0.0.1:{self.port}"
        if cookie is not None:
            fields["Cookie"] = cookie or self.cookie
        connection.request(method, path, body, fields)
        answer = connection.getresponse()
        return answer.status, answer.headers, answer.read()

    def raw(self, request):
        """The first line of the answer to these bytes; empty if the connection ends without one."""
        with socket.create_connection(("127.0.0.1", self.port), timeout=60) as s:
            s.sendall(request)
            try:
                return s.recv(4096).split(b"\r\n")[0]
            except ConnectionResetError:
                return b""

    def run(self, command, images, options=None, path="/api/run", **more):
        body = {"command": command, "images": images, "options": options or {}, **more}
        status, _, answer = self.send("POST", path, json.dumps(body))
        return status, json.loads(answer)

    def begin(self, command, images, options=None):
        """Begins a job. Returns its id."""
        return self.run(command, images, options, path="/api/job")[1]["id"]

    def job_state(self, job):
        return json.loads(self.send("GET", "/api/job/" + job)[2])

    def answer_of_job(self, job):
        wait_until(lambda: self.job_state(job)["state"] == "done")
        return self.job_state(job)["answer"]

    def result(self, answer, index=0):
        return self.send("GET", "/api/result/" + answer["results"][index]["id"])[2]

    def workers(self):
        if WINE:  # its programs are no children of each other
            own = f"TMPDIR={self.temporary}".encode()
            return [int(p.name) for p in pathlib.Path("/proc").glob("[0-9]*") if b"tarvix.exe\0worker" in read(p / "cmdline") and
                    own in read(p / "environ").split(b"\0")]
        children = pathlib.Path(f"/proc/{self.process.pid}/task").glob("*/children")
        return [int(pid) for file in children for pid in file.read_text().split()]

    def memory(self):
        return int(re.search(r"VmRSS:\s+(\d+)", pathlib.Path(f"/proc/{self.process.pid}/status").read_text())[1]) << 10

    def end(self):
        if self.process.poll() is None:
            self.process.send_signal(signal.SIGINT)
            self.process.wait(60)
        self.process.stdout.close()


def read(path):
    try:
        return path.read_bytes()
    except OSError:  # the process has ended
        return b""


class ServerTest(unittest.TestCase):
    """A workbench for the tests of a class, on a folder with photographs, links that lead out, and a secret beside it."""

    @classmethod
    def setUpClass(cls):
        cls.base = pathlib.Path(tempfile.mkdtemp())
        cls.folder, cls.temporary = cls.base / "images", cls.base / "temporary"
        cls.folder.mkdir()
        cls.temporary.mkdir()
        if WINE:  # takes its folder for temporary files from Wine's registry
            cls.temporary = next(pathlib.Path(os.environ["TARVIX_WINEPREFIX"], "drive_c", "users").glob("*/Temp"))
        for name in ("building.jpg", "home.jpg", "graf1.png", "graf3.png"):
            shutil.copy(PHOTOS / name, cls.folder / name)
        shutil.copy(PHOTOS / "home.jpg", cls.base / "secret.jpg")
        if not WINE:  # which shows its programs what a link leads to instead
            (cls.folder / "link.jpg").symlink_to(cls.base / "secret.jpg")
            (cls.folder / "out").symlink_to(cls.base)
        cls.bench = Workbench(cls.folder, cls.temporary)

    @classmethod
    def tearDownClass(cls):
        cls.bench.end()
        left = list(cls.temporary.glob("tarvix-workbench-*" if WINE else "*"))
        shutil.rmtree(cls.base)
        assert cls.bench.process.returncode == 0, cls.bench.process.returncode
        assert not left, left

    def refused(self, expected, method, path, body=None, **more):
        status, _, answer = self.bench.send(method, path, body, **more)
        self.assertEqual(status, expected, answer)
        self.assertTrue(json.loads(answer)["error"])


def main():
    unittest.main(argv=sys.argv[:1], verbosity=2)
