"""server_safety_tests.py PHOTOS PROGRAM...: the workbench's server, as an attacker speaks to it, and on a bad day."""

import json
import os
import pathlib
import resource
import socket
import tempfile
import unittest

from server_case import PHOTOS, WINE, ServerTest, Workbench, main, wait_until


class Safety(ServerTest):
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

    def test_an_upload_that_breaks_off_leaves_nothing(self):
        unfinished = next(self.temporary.glob("tarvix-workbench-*/unfinished"))
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


main()
