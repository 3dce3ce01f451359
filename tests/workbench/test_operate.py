"""The operations on one image and on two, compared with the command line."""
import unittest

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

from workbench import WorkbenchTest, tarvix


class Operate(WorkbenchTest):
    def test_a_slider_gives_the_bytes_of_the_command_line(self):
        self.open("#operate?image=building.jpg&op=canny")
        slider = self.find(".operate input[type=range][aria-label=Low]")
        slider.send_keys(Keys.ARROW_RIGHT * 5)
        self.wait_idle()
        self.assertIn("--low", self.shown_command())
        self.wait(lambda: "low=" in self.driver.current_url, "the address does not keep it")
        self.assertEqual(self.save("edges.png"), self.made_by_command_line(self.shown_command(), ".png"))

    def test_every_operation_on_one_image_has_a_result(self):
        self.open("#operate?image=left01.jpg&op=canny")
        names = self.script("return [...document.querySelectorAll('select.operation option')].map((option) => option.value)")
        self.assertGreaterEqual(len(names), 11)
        for name in names:
            with self.subTest(operation=name):
                self.open(f"#operate?image=left01.jpg&second=left02.jpg&op={name}")
                self.assertEqual(self.text(".operate .findings .failed"), "")
                self.assertIn(f"tarvix {name} ", self.shown_command())
                self.assertTrue(self.all(".operate .found a[download]") or self.all(".operate .found .count")
                                or "reduced" in self.text(".operate .found"))

    def test_what_is_found_is_counted_and_listed(self):
        self.open("#operate?image=building.jpg&op=lines")
        segments = tarvix("lines", "building.jpg")["segments"]
        self.assertIn(f"{len(segments)} segments found", self.text(".operate .count"))
        self.assertEqual(len(self.all(".operate .found tbody tr")), min(len(segments), 1000))
        self.open("#operate?image=left01.jpg&op=chessboard&board=9x6")
        self.assertIn("54 corners found", self.text(".operate .count"))

    def test_what_is_drawn_is_counted(self):
        self.open("#operate?image=home.jpg&op=keypoints&detector=orb")
        self.assertEqual(self.text(".operate .count"), "500 keypoints drawn.")
        self.open("#operate?image=box.png&second=home.jpg&op=match")
        self.assertRegex(self.text(".operate .count"), r"^\d+ matches drawn, of \d+ and \d+ keypoints\.$")

    def test_a_board_that_is_not_there_is_said(self):
        self.open("#operate?image=building.jpg&op=chessboard&board=9x6")
        self.assertEqual(self.text(".operate .findings .failed"), "No chessboard of 9 x 6 inner corners in 'building.jpg'.")
        self.assertEqual(self.text(".operate .count"), "")

    def test_the_divider_moves_by_mouse_and_keys_and_uncovers_the_result(self):
        self.open("#operate?image=building.jpg&op=canny")
        clip = "return Number(document.querySelector('.compare clipPath rect').getAttribute('x'))"
        before = self.script(clip)
        self.assertGreater(before, 0)
        ActionChains(self.driver).drag_and_drop_by_offset(self.find(".compare .divider"), -150, 0).perform()
        dragged = self.script(clip)
        self.assertAlmostEqual(dragged, before - 150, delta=6)
        self.find("input.divide").send_keys(Keys.ARROW_RIGHT * 10)
        self.assertGreater(self.script(clip), dragged)

    def test_before_and_after_are_zoomed_and_moved_together(self):
        self.open("#operate?image=building.jpg&op=canny")
        self.button("Side by side").click()
        stages = self.all(".compare .stage")
        self.wait(lambda: all(stage.is_displayed() for stage in (stages[0], stages[-1])), "not side by side")
        self.script("document.querySelector('.compare .stage').focus()")
        ActionChains(self.driver).send_keys("+", "+", Keys.ARROW_RIGHT).perform()
        views = self.script("return [...document.querySelectorAll('.compare .stage')]"
                            ".filter((stage) => stage.checkVisibility())"
                            ".map((stage) => stage.querySelector('svg > g').getAttribute('transform'))")
        self.assertEqual(len(views), 2)
        self.assertEqual(views[0], views[1])
        self.assertGreater(float(views[0].split("(")[1].split(")")[0]), 0.9, "nothing was zoomed")

    def test_two_images(self):
        self.open("#operate?image=box.png&second=box_in_scene.png&op=match")
        self.assertEqual(self.save("matches.png"), self.made_by_command_line(self.shown_command(), ".png"))
        self.assertIn("box_in_scene.png", self.shown_command())

    def test_points_are_dragged(self):
        self.open("#operate?image=building.jpg&op=warp&from=100,100;700,90;720,500;90,480&to=0,0;600,0;600,400;0,400")
        handle = self.all(".operate .handle.marked")[0]
        ActionChains(self.driver).drag_and_drop_by_offset(handle, 25, 15).perform()
        self.wait_idle()
        self.assertNotIn("--from 100,100", self.shown_command())
        self.assertEqual(self.save("warped.png"), self.made_by_command_line(self.shown_command(), ".png"))

    def test_the_last_image_wins(self):
        self.open("#operate?image=left01.jpg&op=canny")
        self.hold("name=home.jpg")
        self.script("""
            const make = URL.createObjectURL.bind(URL);
            window.made = 0;
            URL.createObjectURL = (data) => { window.made += 1; return make(data); };""")
        self.go("#operate?image=home.jpg&op=canny")
        self.wait(lambda: self.held() == 1, "the image is not asked for")
        self.go("#operate?image=building.jpg&op=canny")
        self.wait(lambda: "building.jpg" in self.text(".compare figcaption"), "the second image is not shown")
        made = self.script("return window.made")
        self.release()
        self.wait(lambda: self.script("return window.made") > made, "the first image does not come")
        self.wait_idle()
        self.assertIn("building.jpg", self.text(".compare figcaption"))
        self.assertIn("tarvix canny building.jpg", self.shown_command())
        self.wait(lambda: "image=building.jpg" in self.driver.current_url, "the address has another image")
        self.go("#operate?image=home.jpg&op=canny")
        self.wait(lambda: "home.jpg" in self.shown_command(), "the image that came late is not loaded anew")

    def test_a_run_that_nobody_wants_any_more_is_given_up(self):
        self.open("#operate?image=building.jpg&op=canny")
        self.hold("/api/run")
        self.find(".operate input[type=range][aria-label=Low]").send_keys(Keys.ARROW_RIGHT)
        self.wait(lambda: self.held() == 1, "nothing is run")
        self.assertEqual(self.given_up(), 0)
        self.go("#operate?image=building.jpg&op=lines")
        self.wait(lambda: self.given_up() == 1, "the run is not given up")
        self.release()
        self.wait_idle()
        self.assertIn("tarvix lines", self.shown_command())

    def test_a_run_is_stopped(self):
        self.open("#operate?image=building.jpg&op=canny")
        self.assertFalse(self.find(".operate .late").is_displayed())
        self.hold("/api/run")
        self.find(".operate input[type=range][aria-label=Low]").send_keys(Keys.ARROW_RIGHT)
        self.wait(lambda: self.find(".operate .late").is_displayed(), "nothing says that it works")
        self.assertNotEqual(self.script("return getComputedStyle(document.querySelector('main'), '::before').content"), "none")
        self.button("Stop").click()
        self.release()
        self.wait_idle()
        self.assertIn("It was stopped.", self.text(".operate .findings"))
        self.assertEqual(self.script("return getComputedStyle(document.querySelector('main'), '::before').content"), "none")

    def test_a_tab_out_of_sight_leaves_the_address_and_the_list_alone(self):
        self.open("#operate?image=left01.jpg&op=canny")
        self.hold("name=home.jpg")
        self.go("#operate?image=home.jpg&op=canny")
        self.wait(lambda: self.held() == 1, "the image is not asked for")
        self.go("#calibrate?images=left02.jpg|left03.jpg")
        self.wait(lambda: "2 photographs" in self.text(".calibrate"), "the tab is not in sight")
        address = self.driver.current_url
        results = ("return performance.getEntriesByType('resource').filter("
                   "(entry) => entry.name.includes('/api/result')).length")
        before = self.script(results)
        self.release()
        self.wait(lambda: self.script(results) > before, "nothing is run")
        self.assertEqual(self.driver.current_url, address)
        self.assertIn("2 chosen", self.text("#images .hint"))

    def test_what_is_typed_and_is_no_value_is_said(self):
        self.open("#operate?image=building.jpg&op=warp")
        field = next(field for field in self.all(".operate input.name") if ";" in (field.get_property("value") or ""))
        field.send_keys("x")
        self.wait(lambda: "takes four points" in self.text(".operate .findings"), "nothing is said")
        self.find(".saving button").click()
        self.wait(lambda: "takes four points" in self.text(".saving .said.failed"), "saving says nothing")
        self.open("#operate?op=canny")
        self.assertIn("Choose an image", self.text(".operate .findings"))

    def test_another_button_of_the_mouse_moves_nothing(self):
        self.open("#operate?image=building.jpg&op=warp&from=100,100;700,90;720,500;90,480&to=0,0;600,0;600,400;0,400")
        line = self.shown_command()
        box = self.all(".operate .handle.marked")[0].rect
        x, y = box["x"] + box["width"] / 2, box["y"] + box["height"] / 2
        for kind, dx in (("mousePressed", 0), ("mouseMoved", 30), ("mouseReleased", 30)):
            self.driver.execute_cdp_cmd("Input.dispatchMouseEvent", {
                "type": kind, "x": x + dx, "y": y, "button": "middle", "buttons": 0 if kind == "mouseReleased" else 4,
                "clickCount": 1})
        self.wait_idle()
        self.assertEqual(self.shown_command(), line)


if __name__ == "__main__":
    unittest.main()
