"""What holds on every tab: widths, contrast, names for screen readers, focus, long folders, uploads."""
import os
import shutil
import tempfile
import unittest
from pathlib import Path

from selenium.webdriver.common.action_chains import ActionChains
from selenium.webdriver.common.keys import Keys

from workbench import PHOTOS, Server, WorkbenchTest, browser, resize

CORNERS = "193.5,302;778,52;797,299;192.5,422"
STATES = (
    "",
    f"#straighten?image=building.jpg&corners={CORNERS}",
    "#operate?image=building.jpg&op=lines",
    "#operate?image=building.jpg&second=home.jpg&op=align",
    "#calibrate?images=left01.jpg|left02.jpg",
    "#calibrate?kind=pair&images=left01.jpg|right01.jpg",
    "#register?images=aloeL.jpg|aloeR.jpg",
)

# The contrast of each text in sight with what is behind it: "ratio text" of those below 4.5.
CONTRAST = """
const channel = (value) => (value <= 10.31475 ? value / 255 / 12.92 : ((value / 255 + 0.055) / 1.055) ** 2.4);
const painter = document.createElement('canvas').getContext('2d', {willReadFrequently: true});
const parse = (colour) => {
    painter.clearRect(0, 0, 1, 1);
    painter.fillStyle = colour;
    painter.fillRect(0, 0, 1, 1);
    return [...painter.getImageData(0, 0, 1, 1).data];
};
const luminance = ([r, g, b]) => 0.2126 * channel(r) + 0.7152 * channel(g) + 0.0722 * channel(b);
const behind = (element) => {
    for (let at = element; at; at = at.parentElement) {
        const colour = parse(getComputedStyle(at).backgroundColor);
        if (colour[3] === 255) return colour;
    }
    return [255, 255, 255, 255];
};
const poor = [];
let seen = 0;
const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
while (walker.nextNode()) {
    const element = walker.currentNode.parentElement;
    const text = walker.currentNode.textContent.trim();
    if (!text || !element.checkVisibility() || element.closest(':disabled, noscript, .skip')) continue;
    const style = getComputedStyle(element);
    const [a, b] = [luminance(parse(style.color)), luminance(behind(element))];
    const ratio = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
    seen += 1;
    if (ratio < 4.5) poor.push(`${ratio.toFixed(2)} ${text}`);
}
return {seen, poor};
"""


class Page(WorkbenchTest):
    expected_in_console = ("/api/upload", "missing.jpg")

    def test_no_tab_scrolls_sideways_from_360_pixels_up(self):
        for state in STATES:
            for width in (360, 390, 768, 1400):
                with self.subTest(state=state, width=width):
                    resize(self.driver, width, 844)
                    self.open(state)
                    self.assertLessEqual(self.script("return document.documentElement.scrollWidth"), width)

    def test_text_is_readable_light_and_dark(self):
        for scheme in ("light", "dark"):
            self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [
                {"name": "prefers-color-scheme", "value": scheme}]})
            for state in STATES:
                with self.subTest(state=state, scheme=scheme):
                    self.open(state)
                    found = self.script(CONTRAST)
                    self.assertGreater(found["seen"], 10)
                    self.assertEqual(found["poor"], [])
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": []})

    def test_the_button_changes_between_light_and_dark_and_a_reload_keeps_it(self):
        self.open()
        colour = "return getComputedStyle(document.body).backgroundColor"
        before = self.script(colour)
        self.find("#theme").click()
        self.wait(lambda: self.script(colour) != before, "the colours stay")
        after = self.script(colour)
        self.open()
        self.assertEqual(self.script(colour), after)
        self.script("localStorage.clear()")

    def test_every_control_has_a_name_for_screen_readers(self):
        for state in STATES:
            with self.subTest(state=state):
                self.open(state)
                tree = self.driver.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
                controls = [node for node in tree if not node.get("ignored") and any(
                    prop["name"] == "focusable" and prop["value"].get("value") for prop in node.get("properties", []))]
                self.assertGreater(len(controls), 10)
                nameless = [node["role"]["value"] for node in controls if not node.get("name", {}).get("value")
                            and node["role"]["value"] not in ("RootWebArea", "main")]
                self.assertEqual(nameless, [])

    def test_the_focus_is_seen_wherever_the_tab_key_goes(self):
        self.open(STATES[1])
        self.script("document.getElementById('skip').focus()")
        for _ in range(40):
            ActionChains(self.driver).send_keys(Keys.TAB).perform()
            name, style = self.script("const at = document.activeElement; const style = getComputedStyle(at);"
                                      "return [at.outerHTML.slice(0, 80), style.outlineStyle]")
            self.assertNotEqual(style, "none", name)

    def test_an_image_is_chosen_with_the_keys(self):
        self.open()
        self.wait(lambda: len(self.all(".image")) > 2, "no images are listed")
        second = self.script("return document.querySelectorAll('.image .name')[1].textContent")
        self.script("document.querySelector('[role=listbox]').focus()")
        ActionChains(self.driver).send_keys(Keys.ARROW_DOWN, Keys.ENTER).perform()
        self.wait(lambda: "image=" in self.driver.current_url, "nothing is chosen")
        self.wait_idle()
        self.assertEqual(self.text("[aria-selected=true] .name"), second)
        self.assertIn(second, self.text(".straighten figcaption"))

    def test_what_is_missing_is_said_in_a_sentence(self):
        self.open("#straighten?image=missing.jpg")
        self.wait(lambda: self.find("#problem").is_displayed(), "nothing is said")
        self.assertRegex(self.text("#problem"), r"^[A-Z'].*\.$")

    def test_an_image_is_added_and_a_file_that_is_none_is_refused(self):
        self.open()
        with tempfile.TemporaryDirectory() as folder:
            shutil.copy(f"{PHOTOS}/home.jpg", f"{folder}/added.jpg")
            Path(folder, "text.jpg").write_text("no image")
            self.find("input[type=file]").send_keys(f"{folder}/added.jpg")
            self.wait(lambda: "uploads/added" in self.driver.current_url, "not added")
            self.wait_idle()
            self.assertIn("512 × 384", self.text(".straighten figcaption"))
            self.find("input[type=file]").send_keys(f"{folder}/text.jpg")
            self.wait(lambda: self.find("#problem").is_displayed(), "nothing is said")

    def test_an_image_is_dropped(self):
        self.open()
        self.script("""
            const list = new DataTransfer();
            const painter = document.createElement('canvas');
            painter.width = 40;
            painter.height = 30;
            painter.toBlob((blob) => {
                list.items.add(new File([blob], 'dropped.png'));
                document.querySelector('main').dispatchEvent(
                    new DragEvent('drop', {bubbles: true, cancelable: true, dataTransfer: list}));
            });""")
        self.wait(lambda: "uploads/dropped.png" in self.driver.current_url, "not added")
        self.wait_idle()
        self.assertIn("40 × 30", self.text(".straighten figcaption"))

    def test_the_page_asks_nobody_but_its_own_server(self):
        self.open(STATES[1])
        addresses = self.script("return performance.getEntriesByType('resource').map((entry) => entry.name)")
        own = self.server.url.split("?")[0]
        self.assertGreater(len(addresses), 5)
        self.assertEqual([address for address in addresses if not address.startswith((own, "blob:" + own))], [])


class EmptyFolder(WorkbenchTest):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.photos = folder.name
        super().setUpClass()

    def test_keys_in_an_empty_list_do_nothing(self):
        self.open()
        self.wait(lambda: "0 images" in self.text("#images"), "the images are not counted")
        self.script("document.querySelector('[role=listbox]').focus()")
        ActionChains(self.driver).send_keys(Keys.ARROW_DOWN, Keys.END, Keys.ENTER).perform()
        self.assertFalse(self.find("#problem").is_displayed(), self.text("#problem"))


class LongFolder(unittest.TestCase):
    def test_ten_thousand_images_make_few_elements_and_few_requests(self):
        with tempfile.TemporaryDirectory() as folder:
            shutil.copy(f"{PHOTOS}/apple.jpg", f"{folder}/image-00000.jpg")
            for i in range(1, 10000):
                os.link(f"{folder}/image-00000.jpg", f"{folder}/image-{i:05}.jpg")
            server = Server(folder)
            self.addCleanup(server.stop)
            driver = browser()
            self.addCleanup(driver.quit)
            driver.get(server.url)
            wait = WorkbenchTest.wait
            self.driver = driver
            wait(self, lambda: "10000 images" in driver.page_source, "the images are not counted")
            rows = "return [...document.querySelectorAll('.image .name')].map((element) => element.textContent)"
            wait(self, lambda: "image-00000.jpg" in driver.execute_script(rows), "the first image is not listed")
            driver.execute_script("const list = document.querySelector('.list'); list.scrollTop = list.scrollHeight")
            wait(self, lambda: "image-09999.jpg" in driver.execute_script(rows), "the last image is not listed")
            self.assertLess(len(driver.execute_script(rows)), 60)
            asked = driver.execute_script("return performance.getEntriesByType('resource').map((entry) => entry.name)")
            self.assertLess(sum("/api/images" in address for address in asked), 8)
            self.assertLess(sum("/api/thumbnail" in address for address in asked), 120)


if __name__ == "__main__":
    unittest.main()
