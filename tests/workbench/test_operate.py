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
        self.assertIn("low=", self.driver.current_url)
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

    def test_a_board_that_is_not_there_is_said(self):
        self.open("#operate?image=building.jpg&op=chessboard&board=9x6")
        self.assertRegex(self.text(".operate .count") + self.text(".operate .findings"), r"0 corners|\.$")

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


if __name__ == "__main__":
    unittest.main()
