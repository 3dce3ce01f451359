"""Makes the images of docs/workbench.md: make_images.py FOLDER. JPEG, because photographs as PNG are too large."""
import base64
import sys
from pathlib import Path

from selenium.webdriver.common.action_chains import ActionChains

from test_calibrate import LEFT
from workbench import WorkbenchTest, resize

FACADE = "#straighten?image=building.jpg&corners=193.5,302;778,52;797,299;192.5,422&scale=1.9&dx=-75&dy=30"


class Images(WorkbenchTest):
    def write(self, name):
        data = self.driver.execute_cdp_cmd("Page.captureScreenshot", {"format": "jpeg", "quality": 65})["data"]
        path = Path(sys.argv[1]) / f"workbench-{name}.jpg"
        path.write_bytes(base64.b64decode(data))
        self.assertLess(path.stat().st_size, 200_000, f"{path} is too large for the repository")

    def thumbnails(self):
        self.wait(lambda: self.script("return [...document.images].every((image) => image.complete)"), "no thumbnails")

    def test_straighten(self):
        self.open(FACADE)
        self.thumbnails()
        ActionChains(self.driver).click_and_hold(self.all(".straighten .handle")[2]).move_by_offset(0, 0).perform()
        self.wait(lambda: self.find(".straighten .magnifier").is_displayed(), "no magnifier")
        self.write("straighten")
        ActionChains(self.driver).release().perform()

    def test_narrow(self):
        resize(self.driver, 390, 844)
        self.open(FACADE)
        self.thumbnails()
        self.write("narrow")

    def test_filters(self):
        self.open("#operate?image=building.jpg&op=canny")
        self.thumbnails()
        self.write("filters")

    def test_calibrate(self):
        resize(self.driver, 1400, 1150)
        self.open(f"#calibrate?images={'|'.join(LEFT)}")
        self.button("Calibrate").click()
        self.wait(lambda: self.all(".calibrate .compare .divider:not([hidden])"), "no calibration")
        self.wait_idle()
        self.thumbnails()
        self.write("calibrate")


if __name__ == "__main__":
    import unittest
    unittest.main(argv=sys.argv[:1])
