"""Calibrating one camera and a pair, with what follows from it, compared with the command line."""
import tempfile
import unittest
from pathlib import Path

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

from workbench import PHOTOS, WorkbenchTest, digest, tarvix

NUMBERS = ("01", "02", "03", "04", "05", "06", "07", "08", "09", "11", "12", "13", "14")
LEFT = [f"left{number}.jpg" for number in NUMBERS]
PAIRS = [f"{side}{number}.jpg" for number in NUMBERS for side in ("left", "right")]


class Calibrate(WorkbenchTest):
    expected_in_console = ("/save",)  # a name that is taken

    def calibrate(self, state):
        self.run_to_end("calibrate", state, "Calibrate", "table caption")

    def number(self, name):
        return self.text(f".calibrate [data-number='{name}']")

    def rows(self):
        return self.script("return [...document.querySelectorAll('.calibrate .scroll tbody tr')].map("
                           "(row) => [row.cells[1].textContent, row.cells[2].textContent])")

    def expect_fit_of_command_line(self, names):
        with tempfile.TemporaryDirectory() as folder:
            found = tarvix("calib", *names, "--board", "9x6", "-o", f"{folder}/calibration")
        self.assertEqual(self.number("rms"), f"{found['rms']:.3f} pixels")
        self.assertEqual(self.number("Focal length"), f"{found['CameraMatrix'][0][0]:.1f} pixels")
        self.assertEqual(self.rows(), [[name, f"{image['rms']:.3f}"] for name, image in zip(names, found["images"])])

    def test_one_camera_its_report_fit_again_and_undistort(self):
        self.calibrate(f"images={'|'.join(LEFT)}")
        self.expect_fit_of_command_line(LEFT)
        self.assertEqual(len(self.all(".calibrate .drawn circle")), 13 * 54)
        link = self.find(".calibrate a[target=_blank]")
        line = next(code.text for code in self.all(".calibrate .commandline code") if "tarvix calib" in code.text)
        made = self.files_of_command_line(line)
        report = line.split()[line.split().index("--report") + 1]  # numbered after the first one
        self.assertEqual(digest(self.fetched(link)), made[report])

        self.wait(lambda: self.all(".calibrate .compare .divider:not([hidden])"), "nothing is undistorted")
        self.assertIn("tarvix undistort left01.jpg", self.shown_command())

        self.find(".calibrate input[aria-label='Use left08.jpg']").click()
        self.button("Fit again").click()
        self.wait(lambda: len(self.rows()) == 12, "not fitted again")
        self.expect_fit_of_command_line([name for name in LEFT if name != "left08.jpg"])

    def test_thirteen_pairs_and_a_point_in_space(self):
        self.calibrate(f"kind=pair&square=25&images={'|'.join(PAIRS)}")
        with tempfile.TemporaryDirectory() as folder:
            found = tarvix("stereo-calib", *PAIRS, "--board", "9x6", "--square", "25", "--metric", "-o", folder)
            self.assertEqual(self.number("rms"), f"{found['rms']:.3f} pixels")
            self.assertEqual(self.number("Row error (median)"), f"{found['rowError']['median']:.3f} pixels")
            self.assertEqual([row[0] for row in self.rows()], [f"left{n}.jpg, right{n}.jpg" for n in NUMBERS])

            stages = self.all(".calibrate .pair .stage")
            self.wait(lambda: self.all(".calibrate .handle.target:not([hidden])"), "the pair is not rectified")
            ActionChains(self.driver).move_to_element_with_offset(stages[0], 40, 10).click().perform()
            ActionChains(self.driver).move_to_element_with_offset(stages[1], 0, 10).click().perform()
            self.wait_idle()
            words = self.shown_command().split()
            p1, p2 = words[words.index("--p1") + 1], words[words.index("--p2") + 1]
            self.assertEqual(p1.split(",")[1], p2.split(",")[1], "the points are not in one row")
            point = tarvix("measure", "--calib", folder, "--p1", p1, "--p2", p2, "--unit", "mm")
        shown = ", ".join(f"{point[axis]:.2f}" for axis in "xyz") + " mm"
        self.assertEqual(self.text(".calibrate p.count"), f"Point in space: {shown}")

        self.button("Keep this point").click()
        self.script("document.querySelector('.calibrate .handle.target').focus()")
        ActionChains(self.driver).send_keys(Keys.ARROW_RIGHT).perform()
        self.wait_idle()
        self.button("Keep this point").click()
        self.assertRegex(self.script("return [...document.querySelectorAll('.calibrate table.points tbody td')].at(-1)"
                                     ".textContent"), r"^[0-9.]+ mm$")

    def test_lengths_of_a_calibration_that_is_not_metric_are_called_none(self):
        self.calibrate(f"kind=pair&metric=0&images={'|'.join(PAIRS[:8])}")
        self.wait(lambda: self.all(".calibrate .handle.target:not([hidden])"), "the pair is not rectified")
        self.script("document.querySelector('.calibrate .handle.target').focus()")
        ActionChains(self.driver).send_keys(Keys.ARROW_LEFT).perform()
        self.wait_idle()
        self.assertIn("no lengths", self.script(
            "return [...document.querySelectorAll('.calibrate .findings .mind')].map((item) => item.textContent).join()"))

    def test_a_long_run_is_stopped_and_the_next_one_works(self):
        self.open(f"#calibrate?images={'|'.join(LEFT * 30)}")
        self.button("Calibrate").click()
        self.wait(lambda: any(button.text == "Stop" and button.is_displayed() for button in self.all("#work button")),
                  "it cannot be stopped")
        self.button("Stop").click()
        self.wait_idle()
        self.assertRegex(self.text(".calibrate .findings .failed"), r"^[A-Z].*\.$")
        self.calibrate(f"images={'|'.join(LEFT[:5])}")
        self.assertEqual(len(self.rows()), 5)

    def test_stop_holds_also_before_the_run_has_begun(self):
        self.open(f"#calibrate?images={'|'.join(LEFT * 30)}")
        self.hold("/api/job")
        self.button("Calibrate").click()
        self.button("Stop").click()
        self.release()
        self.wait_idle()
        self.assertEqual(self.text(".calibrate .findings .failed"), "It was stopped.")

    def test_a_question_without_answer_is_asked_again(self):
        self.open(f"#calibrate?images={'|'.join(LEFT[:3])}")
        self.script("""
            const real = window.fetch;
            let failures = 2;
            window.fetch = (path, options) => {
                if (String(path).startsWith('/api/job/') && failures > 0) {
                    failures -= 1;
                    return Promise.reject(new TypeError('no answer'));
                }
                return real(path, options);
            };""")
        self.button("Calibrate").click()
        self.wait(lambda: self.all(".calibrate table caption") or self.all(".calibrate .findings .failed"), "no end")
        self.assertEqual(self.text(".calibrate .findings .failed"), "")

    def test_a_calibration_is_kept(self):
        self.calibrate(f"images={'|'.join(LEFT[:4])}")
        field = self.find(".calibrate .saving input")
        field.clear()
        field.send_keys("camera")
        self.find(".calibrate .saving button").click()
        self.wait(lambda: "Saved as camera." in self.text(".calibrate .saving .said"), "not kept")
        with tempfile.TemporaryDirectory() as folder:
            for calibration in (f"{self.server.out.name}/camera", "made"):
                if calibration == "made":
                    calibration = f"{folder}/made"
                    tarvix("calib", *LEFT[:4], "--board", "9x6", "-o", calibration)
                tarvix("undistort", "left01.jpg", "--calib", calibration, "-o", f"{folder}/{Path(calibration).name}.png")
            self.assertEqual(Path(folder, "camera.png").read_bytes(), Path(folder, "made.png").read_bytes())
        self.find(".calibrate .saving button").click()
        self.wait(lambda: "camera" in self.text(".calibrate .saving .said.failed"), "it is replaced")

    def test_a_run_ends_with_its_page(self):
        self.open(f"#calibrate?images={'|'.join(LEFT * 30)}")
        self.button("Calibrate").click()
        self.wait(lambda: " of " in self.text(".calibrate progress + p"), "it does not begin")
        job = self.script("return performance.getEntriesByType('resource').map((entry) => entry.name)"
                          ".filter((name) => name.includes('/api/job/')).at(-1)")
        self.open("#register")
        state = lambda: self.script("return (async () => (await fetch(arguments[0])).json())(arguments[0])", job)
        self.wait(lambda: state()["state"] == "done", "it goes on")
        self.assertEqual(state()["answer"]["messages"], ["it was stopped"])

    def test_a_board_is_made_to_print(self):
        self.open("#calibrate?board=7x4")
        self.find(".calibrate summary").click()
        self.button("Make it").click()
        self.wait(lambda: self.all(".calibrate a[download]"), "no board")
        self.assertIn("tarvix board --board 7x4", self.shown_command())
        board = self.script("return (async () => (await fetch(arguments[0])).text())(arguments[0])",
                            self.find(".calibrate a[download]").get_attribute("href"))
        self.assertIn("<svg", board)

    def test_what_is_missing_is_said(self):
        self.open("#calibrate?kind=pair&images=left01.jpg|left02.jpg")
        self.assertIn("Without a partner: left01.jpg, left02.jpg", self.text(".calibrate"))
        self.button("Calibrate").click()
        self.assertRegex(self.text(".calibrate .findings .failed"), r"^Choose .*\.$")
        self.open("#calibrate?images=apple.jpg|baboon.jpg")
        self.button("Calibrate").click()
        self.wait(lambda: self.all(".calibrate .findings .failed"), "no end")
        self.assertRegex(self.text(".calibrate .findings .failed"), r"\.$")


class Register(WorkbenchTest):
    def run_images(self, state):
        self.run_to_end("register", state, "Run", "a[download]")

    def expect_files_of_command_line(self):
        """What can be downloaded are the files of the shown command line."""
        made = self.files_of_command_line(self.shown_command())
        links = self.all(".register a[download]")
        self.assertEqual({Path(link.get_attribute("download")).name: digest(self.fetched(link)) for link in links}, made)

    def test_images_are_registered_and_those_left_out_are_named_with_the_reason(self):
        self.run_images("images=basketball1.png|basketball2.png|box.png")
        self.assertEqual(len(self.all(".register a[download]")), 2)
        self.expect_files_of_command_line()
        left_out = self.text(".register .findings .mind")
        self.assertIn("box.png", left_out)
        self.assertIn("matches", left_out)
        opacity = "return Number(document.querySelectorAll('.register svg image')[1].getAttribute('opacity'))"
        self.find(".register input[type=range]").send_keys(Keys.END)
        self.assertEqual(self.script(opacity), 1)
        self.button("Blink").click()
        self.wait(lambda: self.script(opacity) == 0, "it does not blink")
        self.wait(lambda: self.script(opacity) == 1, "it does not blink back")
        self.button("Blink").click()
        self.assertEqual(self.script(opacity), 1)

    def test_images_are_cut_to_what_all_show(self):
        self.run_images("crop=1&images=basketball1.png|basketball2.png")
        self.assertIn(" --crop", self.shown_command())
        self.expect_files_of_command_line()
        self.find(".register input[type=checkbox]").click()
        self.wait(lambda: "crop" not in self.script("return location.hash"), "the address keeps it")

    def test_photographs_are_joined_and_what_is_left_out_is_named(self):
        self.run_images("kind=stitch&images=aloeL.jpg|box.png|aloeR.jpg")
        self.assertTrue(self.all(".register .viewer image[href]"))
        self.assertFalse(self.find(".register input[type=checkbox]").is_displayed())
        self.assertRegex(self.text(".register .findings .mind"), "Left out .*box.png.*matches")
        self.expect_files_of_command_line()


if __name__ == "__main__":
    unittest.main()
