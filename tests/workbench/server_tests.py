"""server_tests.py PHOTOS PROGRAM...: the workbench's server, as the page speaks to it.

TARVIX_SOAK is the number of rounds of requests after which its memory must be as before.
"""

import http.client
import json
import os
import pathlib
import shlex
import shutil
import signal
import subprocess
import tempfile
import time
import unittest

from server_case import PHOTOS, PROGRAM, WINE, ServerTest, Workbench, main, wait_until

CORNERS = [[193.5, 302], [778, 52], [797, 299], [192.5, 422]]  # of building.jpg


class Answers(ServerTest):
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

    def test_every_flag_of_the_form_runs(self):
        given = {"chessboard": {"board": "9x6"}, "patch": {"width": 41, "height": 30, "center": [80, 60]}}
        commands = json.loads(self.bench.send("GET", "/api/commands")[2])
        flags = [(row["name"], option["name"]) for row in commands for option in row["options"]
                 if option["kind"] == "flag" and row["name"] in ("canny", "chessboard", "keypoints", "lines", "patch")]
        self.assertLess({("canny", "l2"), ("chessboard", "gray"), ("chessboard", "for-calib")}, set(flags))
        for command, flag in flags:
            with self.subTest(command, flag=flag):
                status, answer = self.bench.run(command, ["left01.jpg"], {**given.get(command, {}), flag: True})
                if flag == "for-calib":  # records, and no image: the page does not offer it
                    self.assertEqual((status, answer["error"]), (400, "'chessboard' has no option 'for-calib' in the workbench"))
                elif (command, flag) == ("chessboard", "gray"):  # the module's own refusal of 8 bits, to be seen
                    self.assertEqual((status, answer["status"]), (200, 1))
                    self.assertIn("Invalid number of channels", answer["messages"][0])
                else:
                    self.assertEqual((status, answer["status"]), (200, 0), answer)

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
                                         ("register", ["graf1.png"] + 60 * ["graf3.png"], {})):
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


main()
