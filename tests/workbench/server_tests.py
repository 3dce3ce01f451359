"""server_tests.py PHOTOS PROGRAM...: the workbench's server, as a browser and as an attacker speak to it.

TARVIX_SOAK is the number of rounds of requests after which its memory must be as before. A program of Windows runs
under Wine: PROGRAM is then scripts/windows/wine_run.sh and tarvix.exe.
"""

import http.client
import json
import os
import pathlib
import re
import resource
import shlex
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
CORNERS = [[193.5, 302], [778, 52], [797, 299], [192.5, 422]]  # of building.jpg

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

    def test_only_the_address_lets_in(self):
        self.refused(403, "GET", "/", cookie=None)
        self.refused(403, "GET", "/api/images", cookie="tarvix=1")
        self.refused(403, "GET", "/api/images", cookie=f"tarvix-{self.bench.port}=" + "0" * 32)
        self.refused(403, "GET", "/?token=" + "0" * 32, cookie=None)
        self.refused(403, "GET", "/?token=", cookie=None)
        status, fields, _ = self.bench.send("GET", self.bench.entry, cookie=None)
        self.assertEqual((status, fields["Location"]), (303, "/"))
        for word in ("HttpOnly", "SameSite=Strict", "Path=/"):
            self.assertIn(word, fields["Set-Cookie"])
        self.assertEqual(self.bench.send("GET", "/")[0], 200)

    def test_other_hosts_and_sites_are_refused(self):
        port = self.bench.port
        for host in ("evil.example", f"evil.example:{port}", "127.0.0.1", f"127.0.0.1:{port + 1}", f"0.0.0.0:{port}", ""):
            self.refused(403, "GET", "/api/about", Host=host)
        self.assertEqual(self.bench.send("GET", "/api/about", Host=f"localhost:{port}")[0], 200)
        for origin in ("http://evil.example", "null", f"https://127.0.0.1:{port}", f"http://127.0.0.1:{port + 1}",
                       f"http://localhost:{port}"):
            self.refused(403, "POST", "/api/run", "{}", Origin=origin)
            self.refused(403, "GET", "/api/about", Origin=origin)
        for site in ("cross-site", "same-site", "none"):
            self.refused(403, "POST", "/api/run", "{}", Sec_Fetch_Site=site)
        self.refused(403, "GET", "/api/about", Sec_Fetch_Site="cross-site")
        self.assertEqual(self.bench.raw(b"POST /api/run HTTP/1.1\r\nHost: 127.0.0.1:%d\r\nCookie: %s\r\nContent-Length: 2"
                                        b"\r\n\r\n{}" % (port, self.bench.cookie.encode())), b"HTTP/1.1 403 Forbidden")
        self.assertEqual(self.bench.raw(b"GET / HTTP/1.1\r\nHost: 127.0.0.1:%d\r\nHost: 127.0.0.1:%d\r\n\r\n" % (port, port)),
                         b"HTTP/1.1 403 Forbidden")

    def test_the_page_may_load_nothing_else(self):
        for path in ("/", "/api/about", "/web/nothing", "/api/image?name=home.jpg&pixels=1000"):
            fields = self.bench.send("GET", path)[1]
            self.assertIn("default-src 'none'; script-src 'self'", fields["Content-Security-Policy"])
            self.assertEqual(fields["X-Content-Type-Options"], "nosniff")
            self.assertEqual(fields["Cache-Control"], "no-store")

    def test_nothing_outside_the_folder_is_read(self):
        listed = json.loads(self.bench.send("GET", "/api/images?count=1000")[2])
        self.assertEqual({i["name"] for i in listed["images"]} - {i for i in os.listdir(self.folder)} -
                         {i["name"] for i in listed["images"] if i["name"].startswith(("uploads/", "results/"))}, set())
        links = [] if WINE else ["link.jpg", "out/secret.jpg"]
        self.assertFalse(set(links) & {i["name"] for i in listed["images"]})
        for name in ("../secret.jpg", "..%2Fsecret.jpg", "%2e%2e/secret.jpg", *links, "./home.jpg", "x/../home.jpg",
                     "home.jpg/", "/etc/passwd", str(self.base / "secret.jpg"), "uploads/../x.jpg", "",
                     *(["Z:/etc/passwd", "..\\secret.jpg", "home.jpg:x"] if WINE else [])):
            for path in ("/api/image?pixels=1000&name=", "/api/thumbnail?name="):
                self.refused(404, "GET", path + name)
            status, answer = self.bench.run("load", [name.replace("%2F", "/").replace("%2e", ".")])
            self.assertEqual(status, 400, answer)
        for target in ("/api/image?name=home.jpg%00", "/api/image?name=%ff.jpg", "/api/image?name=%4", "/%00"):
            self.refused(400, "GET", target)
        for path in ("/web/../session.cpp", "/web/..%2f..%2fREADME.md", "/api/saved/..%2fhome.jpg", "/api/result/../../x"):
            self.refused(404, "GET", path)

    def test_what_makes_no_sense_is_refused(self):
        good = {"command": "canny", "images": ["home.jpg"]}
        for body in ("", "[]", "{", "nonsense", "[" * 10000, '{"command":1}', json.dumps({**good, "more": 1}),
                     json.dumps({**good, "images": ["home.jpg"] * 2}), json.dumps({**good, "images": "home.jpg"}),
                     json.dumps({**good, "options": {"out": "/tmp/x.png"}}), json.dumps({**good, "options": {"low": "1"}}),
                     json.dumps({**good, "options": {"nothing": 1}}), json.dumps({**good, "options": {"aperture": 3.5}}),
                     json.dumps({**good, "pixels": -1}), '{"command":"gallery"}', '{"command":"worker"}',
                     json.dumps({"command": "warp", "images": ["home.jpg"], "options": {"from": [[0, 0]]}})):
            self.refused(400, "POST", "/api/run", body)
        self.assertEqual(self.bench.run(**{"command": "canny", "images": ["home.jpg"], "options": {"aperture": 4}})[1]["status"], 2)
        self.refused(413, "POST", "/api/run", b" " * (2 << 20))
        self.refused(413, "POST", "/api/upload?name=a.jpg", b"", Content_Length=str(1 << 40))
        for request in (b"nonsense\r\n\r\n", b"GET / HTTP/1.1\r\nContent-Length: -1\r\n\r\n", b"\0" * 100 + b"\r\n\r\n"):
            self.assertEqual(self.bench.raw(request), b"HTTP/1.1 400 Bad Request")
        self.assertIn(b"431", self.bench.raw(b"GET / HTTP/1.1\r\nX: " + b"x" * 60000 + b"\r\n\r\n"))
        self.refused(405, "PUT", "/api/run", "{}")

    def test_slow_clients_hold_up_nobody(self):
        slow = []
        try:
            for _ in range(300):  # more than connections are taken
                s = socket.create_connection(("127.0.0.1", self.bench.port), timeout=60)
                s.sendall(b"GET / HTT")
                slow.append(s)
            self.assertEqual(self.bench.send("GET", "/api/about")[0], 200)
            self.assertEqual(slow[0].recv(1), b"")  # the ones that wait longest gave their places
            slow[-1].setblocking(False)
            self.assertRaises(BlockingIOError, slow[-1].recv, 1)
        finally:
            for s in slow:
                s.close()

    def test_results_are_the_bytes_of_the_shown_command_line(self):
        for command, images, options in (
                ("canny", ["home.jpg"], {"low": 80, "l2": True}), ("keypoints", ["home.jpg"], {"detector": "akaze"}),
                ("match", ["graf1.png", "graf3.png"], {}), ("lines", ["building.jpg"], {}),
                ("warp", ["home.jpg"], {"from": [[0, 0], [10, 0], [10, 10], [0, 10]], "to": [[-5, -5], [5, -5], [5, 5], [-5, 5]]}),
                ("converge", ["building.jpg"], {"corners": CORNERS, "scale": 1.5, "offset": [-75, 30]})):
            with self.subTest(command), tempfile.TemporaryDirectory() as copy:
                status, answer = self.bench.run(command, images, options)
                self.assertEqual((status, answer["status"]), (200, 0), answer)
                for image in images:
                    shutil.copy(self.folder / image, copy)
                if WINE:  # no shell of Windows is tried
                    subprocess.run([*PROGRAM, *answer["words"]], cwd=copy, check=True, stdout=subprocess.DEVNULL)
                else:
                    line = answer["commandLine"].replace("tarvix", shlex.join(PROGRAM), 1)
                    subprocess.run(line, shell=True, cwd=copy, check=True, stdout=subprocess.DEVNULL)
                expected = (pathlib.Path(copy) / answer["results"][0]["name"]).read_bytes()
                self.assertEqual(self.bench.result(answer), expected)

    def test_a_reduced_copy_says_what_holds_for_the_image(self):
        full = self.bench.run("converge", ["building.jpg"], {"corners": CORNERS, "focal": 50})[1]
        small = self.bench.run("converge", ["building.jpg"], {"corners": CORNERS, "focal": 50}, pixels=100000)[1]
        self.assertFalse(full["reduced"])
        self.assertTrue(small["reduced"])
        self.assertEqual(small["commandLine"], full["commandLine"])
        self.assertEqual([small["data"][n] for n in ("width", "height")], [full["data"][n] for n in ("width", "height")])
        for name in ("marked", "corners"):
            for a, b in zip(small["data"][name], full["data"][name]):
                self.assertLess(max(abs(a[0] - b[0]), abs(a[1] - b[1])), 2)

    def test_saving_replaces_nothing(self):
        saved = self.folder / "results" / "mine.jpg"
        status, answer = self.bench.run("load", ["home.jpg"], path="/api/save", name="mine.jpg")
        self.assertEqual((status, answer["saved"]), (200, "mine.jpg"))
        before = saved.read_bytes()
        self.assertEqual(self.bench.send("GET", "/api/saved/mine.jpg")[2], before)
        self.assertEqual(self.bench.run("load", ["building.jpg"], path="/api/save", name="mine.jpg")[0], 409)
        self.assertEqual(saved.read_bytes(), before)
        (self.folder / "results" / "dangling.jpg").symlink_to(self.base / "made.jpg")
        self.assertEqual(self.bench.run("load", ["home.jpg"], path="/api/save", name="dangling.jpg")[0], 409)
        self.assertFalse((self.base / "made.jpg").exists())
        for name in ("../x.jpg", "a/b.jpg", "", ".x.jpg", "-x.jpg", "con.jpg", "a\\b.jpg", "a:b.jpg", "x" * 300 + ".jpg"):
            self.assertEqual(self.bench.run("load", ["home.jpg"], path="/api/save", name=name)[0], 400, name)
        for path in ("/api/run", "/api/job"):
            for name in ("../x.jpg", "../../../../images/home.jpg", str(self.base / "made.jpg")):
                self.assertEqual(self.bench.run("load", ["building.jpg"], path=path, name=name)[0], 400, name)
        self.assertEqual([n for n in os.listdir(self.folder / "results") if n.startswith(".half")], [])

    def test_a_result_is_kept_also_a_folder(self):
        views = [f"left0{n}.jpg" for n in (1, 2, 3, 4)]
        for view in views:
            shutil.copy(PHOTOS / view, self.folder / view)
        answer = self.bench.answer_of_job(self.bench.begin("calib", views, {"board": "9x6"}))
        self.assertEqual(answer["status"], 0, answer)
        made = next(result["id"] for result in answer["results"] if result["kind"] == "folder")
        keep = lambda name, result=made: self.bench.send("POST", f"/api/result/{result}/save?name={name}")
        status, _, kept = keep("camera")
        self.assertEqual((status, json.loads(kept)), (200, {"saved": "camera"}))
        before = sorted(os.listdir(self.folder / "results" / "camera"))
        self.assertTrue(before)
        self.assertEqual(keep("camera")[0], 409)
        self.assertEqual(sorted(os.listdir(self.folder / "results" / "camera")), before)
        subprocess.run([*PROGRAM, "undistort", "left01.jpg", "--calib", "results/camera", "-o", "results/u.jpg"], cwd=self.folder,
                       check=True, stdout=subprocess.DEVNULL)
        self.assertEqual(self.bench.result(self.bench.run("undistort", ["left01.jpg"], {"calib": {"result": made}})[1]),
                         (self.folder / "results" / "u.jpg").read_bytes())
        for name in ("../x", "", ".x", "a/b"):
            self.assertEqual(keep(name)[0], 400, name)
        self.assertEqual(keep("other", "r999")[0], 400)
        self.assertEqual(self.bench.send("POST", "/api/result/save?name=x")[0], 400)

    def test_uploads(self):
        image = (PHOTOS / "home.jpg").read_bytes()
        first = json.loads(self.bench.send("POST", "/api/upload?name=mine.jpg", image)[2])
        self.assertEqual((first["name"], first["width"], first["height"]), ("uploads/mine.jpg", 512, 384))
        self.assertEqual(json.loads(self.bench.send("POST", "/api/upload?name=mine.jpg", image)[2])["name"],
                         "uploads/mine-2.jpg")
        status, _, answer = self.bench.send("POST", "/api/upload?name=text.jpg", b"not an image")
        self.assertEqual(status, 400)
        self.assertRegex(json.loads(answer)["error"], "^'text.jpg' is not taken: .*'text.jpg'")
        self.refused(400, "POST", "/api/upload?name=..%2Fx.jpg", image)
        self.assertEqual(self.bench.run("canny", ["uploads/mine.jpg"])[1]["status"], 0)

    def test_a_killed_worker_is_replaced(self):
        self.bench.run("canny", ["home.jpg"])
        job = self.bench.begin("denoise", ["building.jpg"], {"search": 101})
        while self.bench.job_state(job)["state"] != "done":
            for pid in self.bench.workers():
                os.kill(pid, signal.SIGKILL)
            time.sleep(0.1)
        answer = self.bench.answer_of_job(job)
        self.assertEqual(answer["status"], 3)
        self.assertTrue(answer["messages"])
        answer = self.bench.run("canny", ["home.jpg"])[1]
        self.assertEqual(answer["status"], 0, answer)

    def test_a_job_can_be_stopped(self):
        for command, images, options in (("denoise", ["building.jpg"], {"search": 127}),
                                         ("register", ["graf1.png", "graf3.png"], {})):
            with self.subTest(command):
                job = self.bench.begin(command, images, options)
                self.assertEqual(self.bench.send("POST", f"/api/job/{job}/stop")[0], 200)
                answer = self.bench.answer_of_job(job)
                self.assertEqual((answer["status"], answer["messages"]), (3, ["it was stopped"]))
        self.assertEqual(self.bench.send("GET", "/api/about")[0], 200)
        self.refused(404, "GET", "/api/job/j999")

    def test_images_that_do_not_register_are_an_answer(self):
        answer = self.bench.answer_of_job(self.bench.begin("register", ["home.jpg", "building.jpg"]))
        self.assertEqual((answer["status"], answer["results"]), (1, []))
        self.assertTrue(answer["messages"])
        self.assertEqual(self.bench.send("GET", "/api/about")[0], 200)

    def test_a_run_ends_with_its_client(self):
        body = json.dumps({"command": "denoise", "images": ["building.jpg"], "options": {"search": 127}})
        with tempfile.TemporaryDirectory() as temporary:
            bench = Workbench(self.folder, temporary)
            self.addCleanup(bench.end)
            clients = [http.client.HTTPConnection("127.0.0.1", bench.port) for _ in range(2)]
            for client in clients:
                client.request("POST", "/api/run", body, {"Cookie": bench.cookie,
                                                          "Origin": f"http://127.0.0.1:{bench.port}"})
            wait_until(lambda: len(bench.workers()) == 2)
            for client in clients:
                client.close()
            wait_until(lambda: not bench.workers())

    def test_an_upload_that_breaks_off_leaves_nothing(self):
        unfinished = next(self.temporary.glob("tarvix-workbench-*")) / "unfinished"
        with socket.create_connection(("127.0.0.1", self.bench.port), timeout=60) as s:
            s.sendall(b"POST /api/upload?name=half.jpg HTTP/1.1\r\nHost: 127.0.0.1:%d\r\nCookie: %s\r\n"
                      b"Sec-Fetch-Site: same-origin\r\nContent-Length: 100000\r\n\r\nhalf" %
                      (self.bench.port, self.bench.cookie.encode()))
            wait_until(lambda: list(unfinished.iterdir()))
        wait_until(lambda: not list(unfinished.iterdir()))

    @unittest.skipIf(WINE, "the limit would be that of Wine's own files, too")
    def test_a_full_disk_is_said(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (100000, 100000))
        with tempfile.TemporaryDirectory() as temporary:
            bench = Workbench(self.folder, temporary, preexec_fn=limit, restore_signals=False)
            status, _, answer = bench.send("POST", "/api/upload?name=large.jpg", b"x" * 1000000)
            bench.end()
        self.assertEqual(status, 500)
        self.assertRegex(json.loads(answer)["error"], "^the upload cannot be stored: .")

    @unittest.skipIf(WINE, "the system of Windows opens the page, not a program that a test could replace")
    def test_the_browser_gets_no_socket(self):
        """A browser outlives the workbench; the port must not stay taken."""
        with tempfile.TemporaryDirectory() as base:
            opened, ready = pathlib.Path(base) / "opened", pathlib.Path(base) / "ready"
            script = pathlib.Path(base) / "xdg-open"
            script.write_text(f"#!/bin/sh\nreadlink /proc/$$/fd/* > {opened}\nmv {opened} {ready}\n")
            script.chmod(0o755)
            bench = Workbench(self.folder, base, words=(), more={"DISPLAY": ":0", "PATH": f"{base}:{os.environ['PATH']}"})
            wait_until(ready.exists)
            bench.end()
            self.assertNotIn("socket", ready.read_text())
            self.assertIn("/", ready.read_text())

    def test_many_requests_leave_memory_flat(self):
        def some(count):
            for i in range(count):
                self.assertEqual(self.bench.send("GET", "/api/images")[0], 200)
                self.assertEqual(self.bench.send("GET", "/api/image?name=home.jpg&pixels=10000")[0], 200)
                if i % 20 == 0:
                    answer = self.bench.run("canny", ["home.jpg"], {"low": i % 200})[1]
                    self.assertEqual(self.bench.send("GET", f"/api/result/{answer['results'][0]['id']}?pixels=9000")[0], 200)
                    answer = self.bench.answer_of_job(self.bench.begin("load", ["home.jpg"]))
                    self.assertEqual(len(self.bench.result(answer)) > 0, True)
        if "TARVIX_SANITIZED" in os.environ:
            self.skipTest("the address checker keeps memory that was freed")
        many = int(os.environ.get("TARVIX_SOAK", "300"))
        some(many // 3)
        before = self.bench.memory()
        some(many)
        self.assertLess(self.bench.memory() - before, 8 << 20)


unittest.main(argv=sys.argv[:1], verbosity=2)
