"""Runs a program without the time that its start takes: a client of start_server.cpp, like start_server_client.cpp.

    with StartServer(program, library) as runner:   # an empty library: each run is a start
        run = runner.run(["canny", "photo.jpg"], folder)
        run.returncode, run.stdout, run.stderr
"""

import os
import pathlib
import socket
import struct
import subprocess
import tempfile


class StartServer:
    def __init__(self, program, library):
        self.program = str(program)
        self.socket = None
        if library:
            self.socket, theirs = socket.socketpair()
            environment = {**os.environ, "LD_PRELOAD": library, "TARVIX_START_SERVER": str(theirs.fileno())}
            self.process = subprocess.Popen([self.program], env=environment, pass_fds=[theirs.fileno()])
            theirs.close()
            if self.socket.recv(1) == b"":
                raise RuntimeError(f"{self.program} does not take {library}")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.socket is not None:
            self.socket.close()  # which ends the program
            self.process.wait()

    def run(self, arguments, folder):
        if self.socket is None:
            return subprocess.run([self.program, *arguments], cwd=folder, capture_output=True, text=True)
        with tempfile.TemporaryDirectory() as name:
            out, err = pathlib.Path(name) / "out", pathlib.Path(name) / "err"
            texts = [out, err, pathlib.Path(folder).absolute(), self.program, *arguments]
            request = b"".join(os.fsencode(text) + b"\0" for text in texts)
            self.socket.sendall(struct.pack("=I", len(request)) + request)
            answer = self.socket.recv(4, socket.MSG_WAITALL)
            if len(answer) < 4:
                raise RuntimeError(f"the waiting {self.program} has ended")
            code = os.waitstatus_to_exitcode(struct.unpack("=i", answer)[0])
            return subprocess.CompletedProcess(texts[3:], code, out.read_text(), err.read_text())
