"""Straightening in a real browser: drags, keys and touch, compared with the command line."""
import tempfile
import unittest

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

from workbench import PHOTOS, WorkbenchTest, tarvix

CORNERS = [(193.5, 302.0), (778.0, 52.0), (797.0, 299.0), (192.5, 422.0)]


def state(corners=None, more=""):
    points = ";".join(f"{x},{y}" for x, y in corners or CORNERS)
    return f"#straighten?image=building.jpg&corners={points}{more}"


def rounded(corners):
    return [[round(value * 10) / 10 for value in corner] for corner in corners]


class Straighten(WorkbenchTest):
    expected_in_console = ("/api/save",)  # a name that is taken

    def corners(self):
        return self.script("return [...document.querySelectorAll('table.corners tbody tr')].map("
                           "(row) => [...row.querySelectorAll('input')].map((field) => Number(field.value)))")

    def numbers(self):
        return self.script("return Object.fromEntries([...document.querySelectorAll('[data-number]')].map("
                           "(element) => [element.dataset.number, element.textContent]))")

    def handle(self, index):
        return self.all(".straighten .handle.marked")[index]

    def drag(self, index, steps):
        chain = ActionChains(self.driver, duration=10).click_and_hold(self.handle(index))
        for dx, dy in steps:
            chain.move_by_offset(dx, dy)
        chain.release().perform()
        self.wait_idle()

    def expect_numbers_of_command_line(self, *more):
        """The shown numbers are those of the command line for the shown corners."""
        words = [f"{x},{y}" for x, y in self.corners()]
        found = tarvix("converge", "building.jpg", "--corners", *words, *more, "-o", f"{self.server.out.name}/check.png")
        self.assertEqual(self.numbers(), {
            "Pitch": f"{found['pitch_deg']:.2f}°", "Yaw": f"{found['yaw_deg']:.2f}°", "Roll": f"{found['roll_deg']:.2f}°",
            "Focal length": f"{found['focal_mm']:.2f} mm, {found['focal_source']}",
            "Right angles missed by": f"{found['missed_right_angles_deg']:.2f}° in sum"})

    def test_a_dragged_corner_gives_the_numbers_and_the_bytes_of_the_command_line(self):
        self.open(state())
        before = self.corners()
        self.drag(1, [(-12, 9), (-9, 5), (-7, 3)])
        after = self.corners()
        self.assertLess(after[1][0], before[1][0] - 10)
        self.assertGreater(after[1][1], before[1][1] + 5)
        self.assertEqual([after[i] for i in (0, 2, 3)], [before[i] for i in (0, 2, 3)])
        self.expect_numbers_of_command_line()
        saved = self.save("dragged.jpg")
        self.assertEqual(saved, self.made_by_command_line(self.shown_command(), ".jpg"))

    def test_a_handle_is_at_its_pixel_also_zoomed(self):
        self.open(state())
        for zoom in range(3):
            at, expected = self.script("""
                const middle = (box) => [box.left + box.width / 2, box.top + box.height / 2];
                const handle = document.querySelectorAll('.straighten .handle')[2].getBoundingClientRect();
                const image = document.querySelector('.straighten svg image').getBoundingClientRect();
                return [middle(handle), [image.left + (797 + 0.5) / 868 * image.width,
                                         image.top + (299 + 0.5) / 600 * image.height]];""")
            self.assertAlmostEqual(at[0], expected[0], delta=0.6)
            self.assertAlmostEqual(at[1], expected[1], delta=0.6)
            self.button("+").click()

    def test_the_preview_follows_the_drag_with_one_request_at_a_time(self):
        self.open(state())
        self.script("""
            window.under = 0; window.most = 0; window.asked = [];
            const real = window.fetch;
            window.fetch = async (path, options) => {
                const counted = String(path).includes('/api/run');
                if (counted) {
                    window.under += 1;
                    window.most = Math.max(window.most, window.under);
                    window.asked.push(JSON.parse(options.body));
                }
                try { return await real(path, options); } finally { window.under -= counted ? 1 : 0; }
            };""")
        self.drag(2, [(-1, -1)] * 30)
        self.assertEqual(self.script("return window.most"), 1)
        asked = self.script("return window.asked")
        self.assertGreater(len(asked), 0)
        self.assertEqual(asked[-1]["options"]["corners"], self.corners(), "the last request is not the last state")
        self.assertEqual(asked[-1]["pixels"], 1000000)

    def test_the_magnifier_is_seen_during_a_drag_only(self):
        self.open(state())
        magnifier = self.find(".straighten .magnifier")
        self.assertFalse(magnifier.is_displayed())
        ActionChains(self.driver).click_and_hold(self.handle(0)).move_by_offset(5, 5).perform()
        self.wait(magnifier.is_displayed, "no magnifier")
        colours = self.script("""
            const canvas = arguments[0];
            const pixels = canvas.getContext('2d').getImageData(0, 0, canvas.width, canvas.height).data;
            const seen = new Set();
            for (let i = 0; i < pixels.length; i += 4) seen.add(pixels.slice(i, i + 3).join());
            return seen.size;""", magnifier)
        self.assertGreater(colours, 20, "the magnifier shows no photograph")
        ActionChains(self.driver).release().perform()
        self.wait(lambda: not magnifier.is_displayed(), "the magnifier stays")
        self.wait_idle()

    def test_with_keys_only(self):
        self.open(state())
        self.script("document.getElementById('skip').focus()")
        keys = ActionChains(self.driver)
        keys.send_keys(Keys.ENTER).perform()
        self.tab_to(lambda: "handle" in self.script("return document.activeElement.className"))
        self.press(Keys.ARROW_RIGHT)
        self.press(Keys.ARROW_DOWN, Keys.SHIFT)
        self.press(Keys.ARROW_LEFT, Keys.ALT)
        self.press(Keys.ARROW_UP, Keys.CONTROL)
        self.wait_idle()
        self.assertEqual(self.corners()[0], [194.4, 311.9])
        self.expect_numbers_of_command_line()
        self.tab_to(lambda: self.script("return document.activeElement.matches('.saving input')"))
        ActionChains(self.driver).key_down(Keys.CONTROL).send_keys("a").key_up(Keys.CONTROL).send_keys(
            "keys.png").send_keys(Keys.TAB).send_keys(Keys.ENTER).perform()
        self.wait(lambda: "Saved as keys.png" in self.text(".saving .said"), "not saved")
        with open(f"{self.server.out.name}/keys.png", "rb") as file:
            self.assertEqual(file.read(), self.made_by_command_line(self.shown_command(), ".png"))

    def press(self, key, with_key=None):
        chain = ActionChains(self.driver)
        if with_key:
            chain.key_down(with_key).send_keys(key).key_up(with_key).perform()
        else:
            chain.send_keys(key).perform()

    def tab_to(self, reached):
        for _ in range(60):
            ActionChains(self.driver).send_keys(Keys.TAB).perform()
            if reached():
                return
        self.fail("the Tab key does not get there")

    def test_with_a_finger(self):
        self.open(state())
        box = self.handle(3).rect
        x, y = box["x"] + box["width"] / 2, box["y"] + box["height"] / 2

        def touch(kind, points):
            self.driver.execute_cdp_cmd("Input.dispatchTouchEvent", {"type": kind, "touchPoints": points})

        touch("touchStart", [{"x": x, "y": y}])
        for step in range(1, 6):
            touch("touchMove", [{"x": x + 4 * step, "y": y - 3 * step}])
        touch("touchEnd", [])
        self.wait_idle()
        self.assertGreater(self.corners()[3][0], CORNERS[3][0] + 10)
        self.assertLess(self.corners()[3][1], CORNERS[3][1] - 8)
        self.expect_numbers_of_command_line()

    def test_options_are_those_of_the_command_line(self):
        self.open(state(more="&focal=28&scale=1.5&dx=12&dy=-8"))
        self.expect_numbers_of_command_line("--focal", "28", "--scale", "1.5", "--offset", "12,-8")
        for more, words in (("&pitch=1", ["--pitch-only"]), ("&canvas=crop", ["--crop"])):
            self.open(state(more=more))
            self.expect_numbers_of_command_line(*words)
            self.assertIn(words[0], self.shown_command())

    def test_a_reload_keeps_the_state(self):
        self.open(state(more="&focal=35"))
        self.drag(0, [(10, 4)])
        corners, numbers = self.corners(), self.numbers()
        self.driver.refresh()
        self.wait_idle()
        self.assertEqual(self.corners(), corners)
        self.assertEqual(self.numbers(), numbers)

    def test_proposals_are_offered_and_taken(self):
        self.open("#straighten?image=sudoku.png")
        proposals = tarvix("converge", "sudoku.png", "--auto", "-o", f"{self.server.out.name}/auto.png")["proposals"]
        self.assertEqual(self.corners(), rounded(proposals[0]["corners"]))
        offered = self.all("[aria-label=Proposals] button")
        self.assertEqual(len(offered), len(proposals))
        offered[-1].click()
        self.wait_idle()
        self.assertEqual(self.corners(), rounded(proposals[-1]["corners"]))

    def test_one_images_corners_are_not_the_next_ones(self):
        self.open(state())
        self.hold("name=home.jpg")
        self.go("#straighten?image=home.jpg")
        self.wait(lambda: self.held() == 1, "the image is not asked for")
        self.assertEqual({field.get_attribute("value") for field in self.all("table.corners input")}, {""})
        self.button("Propose corners").click()
        self.find(".saving button").click()
        self.assertEqual(self.text(".saving .said"), "The image is not loaded yet.")
        self.go("#straighten?image=home.jpg&corners=50,50;400,60;390,300;40,310")  # while it is loaded
        self.release()
        self.wait(lambda: self.corners()[0] == [50, 50], "the address's corners are not taken")
        self.wait_idle()
        self.assertIn("home.jpg --corners 50,50 400,60", self.shown_command())

    def test_corners_that_are_no_rectangle_are_refused_in_a_sentence_and_the_page_goes_on(self):
        self.open(state([(100, 100), (200, 100), (300, 100), (400, 100)]))
        self.assertRegex(self.text(".straighten .findings .failed"), r"^[A-Z].*\.$")
        self.drag(2, [(0, 150)])
        self.drag(3, [(-100, 150)])
        self.expect_numbers_of_command_line()

    def test_nothing_is_saved_over_an_existing_file(self):
        self.open(state())
        first = self.save("once.png")
        self.drag(0, [(20, 20)])
        self.find(".saving button").click()
        self.wait(lambda: self.all(".saving .said.failed"), "no refusal")
        self.assertIn("once.png", self.text(".saving .said"))
        with open(f"{self.server.out.name}/once.png", "rb") as file:
            self.assertEqual(file.read(), first)


class LargePhotograph(WorkbenchTest):
    """The preview runs on a reduced copy; what is marked, said and saved is of the photograph itself."""

    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.photos = folder.name
        tarvix("warp", f"{PHOTOS}/building.jpg", "--from", "0,0", "868,0", "868,600", "0,600", "--to", "0,0", "3472,0",
               "3472,2400", "0,2400", "-o", f"{folder.name}/large.jpg")
        super().setUpClass()

    def test_it_is_marked_in_its_own_pixels_and_saved_in_full_size(self):
        self.open("#straighten?image=large.jpg&corners=" + ";".join(f"{4 * x},{4 * y}" for x, y in CORNERS))
        self.assertIn("Corrected, 34", self.text(".straighten .pair > :nth-child(2) figcaption"))
        handle = self.all(".straighten .handle.marked")[0]
        ActionChains(self.driver).drag_and_drop_by_offset(handle, 10, 5).perform()
        self.wait_idle()
        words = self.shown_command().split()
        first = words[words.index("--corners") + 1]
        self.assertGreater(float(first.split(",")[0]), 4 * CORNERS[0][0] + 40)
        self.assertEqual(self.save("large.png"), self.made_by_command_line(self.shown_command(), ".png"))
        self.assertEqual(tarvix("load", f"{self.server.out.name}/large.png", "-o", f"{self.photos}/check.png")["size"],
                         tarvix("load", f"{self.photos}/large.jpg", "-o", f"{self.photos}/check.png")["size"])

    def test_what_the_copy_does_not_know_is_said(self):
        corners = ";".join(f"{4 * x},{4 * y}" for x, y in CORNERS)
        self.open(f"#straighten?image=large.jpg&corners={corners}&canvas=crop")
        self.assertIn("Corrected, about ", self.text(".straighten .pair > :nth-child(2) figcaption"))
        self.open("#operate?image=large.jpg&op=denoise")
        self.assertIn("this is not what saving gives", self.text(".operate .found"))


if __name__ == "__main__":
    unittest.main()
