"""The workbench and a browser for its tests: starts the program, opens the page, and asks both.

TARVIX names the program (scripts/browser_tests.sh sets it), PHOTOS the folder of photographs.
"""
import base64
import hashlib
import json
import os
import shlex
import subprocess
import tempfile
import unittest
from pathlib import Path

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

PROGRAM = os.environ.get("TARVIX", "tarvix")
PHOTOS = os.environ.get("PHOTOS", "/usr/share/doc/opencv-doc/examples/data")
PATIENCE = 120  # seconds until a condition that never holds ends a test; no test depends on a duration


class Server:
    """`tarvix workbench` with an output folder of its own."""

    def __init__(self, folder):
        self.out = tempfile.TemporaryDirectory()
        self.process = subprocess.Popen([PROGRAM, "workbench", folder, "--no-open", "--out", self.out.name],
                                        stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True)
        self.url = self.process.stdout.readline().strip()

    def stop(self):
        self.process.terminate()
        status = self.process.wait()
        self.process.stdin.close()
        self.process.stdout.close()
        self.out.cleanup()
        assert status == 0, f"the workbench ended with {status}"


def browser(width=1400, height=900, dark=False):
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    resize(driver, width, height)
    driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [
        {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]})
    return driver


def resize(driver, width, height):
    driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})


def tarvix(*words, cwd=PHOTOS):
    """Runs the command line. Returns what it prints as JSON."""
    done = subprocess.run([PROGRAM, *words, "--json"], cwd=cwd, capture_output=True, text=True, check=True)
    return json.loads(done.stdout)


def digest(data):
    return hashlib.sha256(data).hexdigest()


class WorkbenchTest(unittest.TestCase):
    """A page in a browser, one server for the tests of a class."""

    photos = PHOTOS  # the folder that is opened
    expected_in_console = ()  # parts of addresses whose failure a test asks for

    @classmethod
    def setUpClass(cls):
        cls.server = Server(cls.photos)
        cls.addClassCleanup(cls.server.stop)
        cls.driver = browser()
        cls.addClassCleanup(cls.driver.quit)
        cls.driver.get(cls.server.url)  # exchanges the token for the cookie

    def setUp(self):
        resize(self.driver, 1400, 900)

    def tearDown(self):
        messages = [entry["message"] for entry in self.driver.get_log("browser")
                    if not any(part in entry["message"] for part in self.expected_in_console)]
        self.assertEqual(messages, [], "the browser's console has messages")

    def open(self, state=""):
        """Opens the page anew with a state in its address."""
        self.driver.get("about:blank")
        self.driver.get(self.server.url.split("?")[0] + state)
        self.wait_idle()

    def script(self, text, *arguments):
        return self.driver.execute_script(text, *arguments)

    def wait(self, condition, what):
        return WebDriverWait(self.driver, PATIENCE, poll_frequency=0.05).until(lambda _: condition(), what)

    def wait_idle(self):
        """Until the work in sight is done."""
        self.wait(lambda: self.script(
            "return document.querySelector('#work > .work') !== null"
            " && document.querySelector('#work[aria-busy=true], #work [aria-busy=true]') === null"),
            "the page does not become idle")

    def hold(self, part):
        """From now on, requests whose address has this part wait until release(); given_up() counts those that the page
        does not want any more."""
        self.script("""
            const [part] = arguments;
            const real = window.fetch;
            window.heldSignals = [];
            const held = new Promise((resolve) => { window.releaseHeld = () => { window.fetch = real; resolve(); }; });
            window.fetch = async (path, options) => {
                if (String(path).includes(part)) {
                    window.heldSignals.push(options?.signal);
                    await held;
                }
                return real(path, options);
            };""", part)

    def held(self):
        return self.script("return window.heldSignals.length")

    def given_up(self):
        return self.script("return window.heldSignals.filter((signal) => signal?.aborted).length")

    def release(self):
        self.script("window.releaseHeld()")

    def go(self, state):
        """Changes the state in the address, and waits for nothing."""
        self.script("location.hash = arguments[0]", state)

    def run_to_end(self, tab, state, button, end):
        """Opens a tab, presses a button, and waits until `end` is there or a failure. There must be none."""
        self.open(f"#{tab}?{state}")
        self.button(button).click()
        self.wait(lambda: self.all(f".{tab} {end}") or self.all(f".{tab} .findings .failed"), "no end")
        self.wait_idle()
        self.assertEqual(self.text(f".{tab} .findings .failed"), "")

    def find(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def button(self, text):
        return next(button for button in self.all("#work button") if button.text == text and button.is_displayed())

    def text(self, selector):
        return self.script("return document.querySelector(arguments[0])?.textContent ?? ''", selector)

    def shown_command(self, place="#work"):
        return self.script("return [...document.querySelectorAll(arguments[0] + ' .commandline:not([hidden]) code')]"
                           ".at(-1)?.textContent ?? ''", place)

    def made_by_command_line(self, line, suffix):
        """The bytes of the file that a shown command line writes, run as shown but for the place of the file."""
        words = shlex.split(line)
        self.assertEqual(words[0], "tarvix")
        with tempfile.TemporaryDirectory() as folder:
            out = Path(folder) / f"out{suffix}"
            words[words.index("-o") + 1] = str(out)
            subprocess.run([PROGRAM, *words[1:]], cwd=self.photos, check=True, capture_output=True)
            return out.read_bytes()

    def fetched(self, link):
        """The bytes behind a link of the page."""
        return base64.b64decode(self.script("""return (async (address) => {
            const answer = await fetch(address);
            if (!answer.ok) throw new Error(`${answer.status}`);
            const url = await new Promise((resolve) => {
                const reader = new FileReader();
                reader.onload = () => resolve(reader.result);
                answer.blob().then((blob) => reader.readAsDataURL(blob));
            });
            return url.slice(url.indexOf(",") + 1);
        })(arguments[0])""", link.get_attribute("href")))

    def files_of_command_line(self, line):
        """The digests of the files that a shown command line writes, by name. It runs in a folder of its own, which has
        links to the photographs."""
        words = shlex.split(line)
        self.assertEqual(words[0], "tarvix")
        with tempfile.TemporaryDirectory() as folder:
            for photo in Path(self.photos).iterdir():
                (Path(folder) / photo.name).symlink_to(photo)
            subprocess.run([PROGRAM, *words[1:]], cwd=folder, check=True, capture_output=True)
            return {file.name: digest(file.read_bytes()) for file in Path(folder).rglob("*")
                    if file.is_file() and not file.is_symlink()}

    def save(self, name):
        """Saves the result under a name and returns the file's bytes."""
        field = self.find(".saving input")
        field.clear()
        field.send_keys(name)
        self.find(".saving button").click()
        self.wait(lambda: name in self.text(".saving .said"), "the result is not saved")
        self.assertIn("Saved as", self.text(".saving .said"))
        return (Path(self.server.out.name) / name).read_bytes()
