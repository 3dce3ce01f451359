"""The gallery's page and the reports that it links: on a phone and a wide screen, light and dark, with its divider moved, and
printed."""
import subprocess
import tempfile
import unittest
from pathlib import Path

from test_page import CONTRAST
from workbench import PHOTOS, PROGRAM, browser, resize

# Boxes whose text does not fit: the beginnings of their texts.
SCROLLING = """return [...document.querySelectorAll('pre')].filter((box) => getComputedStyle(box).overflow !== 'visible'
    || box.scrollHeight > box.clientHeight + 2 || box.scrollWidth > box.clientWidth + 2)
    .map((box) => box.textContent.slice(0, 40))"""
# How many lines each word of a command takes that begins with a hyphen.
OPTION_LINES = "return [...document.querySelectorAll('pre span')].map((word) => word.getClientRects().length)"


class Gallery(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        subprocess.run([PROGRAM, "gallery", folder.name, "--photos", PHOTOS], check=True, stdout=subprocess.DEVNULL)
        cls.pages = [Path(folder.name, name).as_uri() for name in
                     ("index.html", "results/calibration.html", "results/stereo.html")]
        cls.driver = browser()
        cls.addClassCleanup(cls.driver.quit)

    def media(self, medium, scheme="light"):
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": medium, "features": [
            {"name": "prefers-color-scheme", "value": scheme}]})

    def script(self, text):
        return self.driver.execute_script(text)

    def test_no_page_scrolls_sideways_and_no_option_is_broken(self):
        self.media("screen")
        for page in self.pages:
            for width in (360, 390, 1400):
                with self.subTest(page=page, width=width):
                    resize(self.driver, width, 844)
                    self.driver.get(page)
                    self.assertLessEqual(self.script("return document.documentElement.scrollWidth"), width)
                    lines = self.script(OPTION_LINES)
                    self.assertEqual(set(lines), {1})

    def test_text_is_readable_on_screens_and_on_paper(self):
        for page in self.pages:
            for medium, scheme in (("screen", "light"), ("screen", "dark"), ("print", "light"), ("print", "dark")):
                with self.subTest(page=page, medium=medium, scheme=scheme):
                    self.media(medium, scheme)
                    self.driver.get(page)
                    found = self.script(CONTRAST)
                    self.assertGreater(found["seen"], 10)
                    self.assertEqual(found["poor"], [])

    def test_printed_text_is_dark_on_white_and_all_of_it_is_there(self):
        for page in self.pages:
            with self.subTest(page=page):
                self.media("print", "dark")
                resize(self.driver, 718, 1000)  # A4 without its margins
                self.driver.get(page)
                self.assertEqual(self.script(SCROLLING), [])
                # Browsers leave backgrounds out of what they print.
                backs = self.script("return [...document.querySelectorAll('body, section, pre, li')].map((part) => "
                                    "getComputedStyle(part).backgroundColor)")
                self.assertLessEqual(set(backs), {"rgb(255, 255, 255)", "rgba(0, 0, 0, 0)"})

    def test_the_divider_moves(self):
        self.media("screen")
        resize(self.driver, 1400, 900)
        self.driver.get(self.pages[0])
        shape = "return getComputedStyle(document.querySelector('.divider a + a')).clipPath"
        before = self.script(shape)
        self.script("const slider = document.querySelector('.divider input'); slider.value = 80;"
                    "slider.dispatchEvent(new Event('input'))")
        self.assertNotEqual(self.script(shape), before)
        sizes = self.script("return [...document.querySelectorAll('.divider')].map((divider) => "
                            "[...divider.querySelectorAll('img')].map((image) => [image.width, image.height].join()))")
        self.assertGreater(len(sizes), 5)
        for size in sizes:
            self.assertEqual(len(set(size)), 1, size)

    def test_the_contents_lead_to_every_entry(self):
        self.driver.get(self.pages[0])
        missing = self.script("return [...document.querySelectorAll('nav a')].filter((link) => "
                              "!document.querySelector(link.getAttribute('href') + ' h2')).length")
        entries, links = self.script("return ['section', 'nav a'].map((each) => document.querySelectorAll(each).length)")
        self.assertEqual((missing, entries), (0, links))
        self.assertGreater(entries, 15)


if __name__ == "__main__":
    unittest.main()
