"""How quick the workbench is, in a real browser: what a step of a drag costs, how long the page itself is busy at a time,
and what a folder of 10,000 images costs. scripts/bench_workbench.sh runs it."""
import re
import shutil
import statistics
import sys
import tempfile
from pathlib import Path

from selenium.webdriver.common.action_chains import ActionChains

sys.path.insert(0, str(Path(__file__).resolve().parent.parent / "tests" / "workbench"))
from workbench import PHOTOS, WorkbenchTest, tarvix  # noqa: E402: the tests' folder is not on the path before

CORNERS = [(193.5, 302.0), (778.0, 52.0), (797.0, 299.0), (192.5, 422.0)]  # of building.jpg
TIMES = 5  # larger than building.jpg: 4340 x 3000

WATCH = """
    window.longTasks = [];
    new PerformanceObserver((list) => window.longTasks.push(...list.getEntries().map((entry) => entry.duration)))
        .observe({type: 'longtask', buffered: true});
    window.steps = [];
    const real = window.fetch;
    window.fetch = async (path, options) => {
        const answer = await real(path, options);
        if (String(path).includes('/api/run')) answer.clone().json().then(({cpuSeconds}) => window.steps.push(cpuSeconds));
        return answer;
    };"""


def spread(values):
    """The median and the median absolute deviation."""
    middle = statistics.median(values)
    return middle, statistics.median(abs(value - middle) for value in values)


def warped(name, factor, folder):
    wide, high = 868 * factor, 600 * factor
    tarvix("warp", f"{PHOTOS}/building.jpg", "--from", "0,0", "868,0", "868,600", "0,600", "--to", "0,0", f"{wide},0",
           f"{wide},{high}", f"0,{high}", "-o", f"{folder}/{name}")


class Measured(WorkbenchTest):
    """Not run as a test: the functions print."""

    @classmethod
    def of(cls, folder):
        cls.photos = folder
        cls.setUpClass()
        page = cls()
        page.setUp()
        return page

    def end(self):
        self.tearDown()
        self.doClassCleanups()

    def memory(self):
        """MiB of the server and of its workers."""
        total = []
        for process in [self.server.process.pid] + self.children():
            status = Path(f"/proc/{process}/status").read_text(encoding="ascii")
            total.append(int(re.search(r"VmRSS:\s+(\d+)", status)[1]) / 1024)
        return total[0], sum(total[1:])

    def children(self):
        pid = self.server.process.pid
        return [int(child) for task in Path(f"/proc/{pid}/task").iterdir()
                for child in (task / "children").read_text(encoding="ascii").split()]


def drags(folder):
    warped("large.jpg", TIMES, folder)
    page = Measured.of(folder)
    corners = ";".join(f"{TIMES * x},{TIMES * y}" for x, y in CORNERS)
    page.open(f"#straighten?image=large.jpg&corners={corners}")
    page.script(WATCH)
    for handle in page.all(".straighten .handle.marked"):
        chain = ActionChains(page.driver, duration=8).click_and_hold(handle)
        for step in range(60):
            chain.move_by_offset(1 if step % 20 < 10 else -1, 1 if step % 12 < 6 else -1)
        chain.release().perform()
        page.wait_idle()
    steps, tasks = page.script("return window.steps"), page.script("return window.longTasks")
    middle, about = spread([1000 * value for value in steps])
    print(f"a step of a drag, preview of 1 megapixel of {868 * TIMES} x {600 * TIMES}: {middle:.1f} ms of processor time "
          f"(spread {about:.1f}, longest {1000 * max(steps):.1f}), {len(steps)} steps for 240 moves")
    print(f"tasks of the page above 50 ms meanwhile: {len(tasks)}" + (f", the longest {max(tasks):.0f} ms" if tasks else ""))
    page.end()


def folders(folder):
    warped("small.jpg", 0.25, folder)
    for count in (100, 10000):
        images = Path(folder) / str(count)
        images.mkdir()
        for number in range(count):
            shutil.copyfile(f"{folder}/small.jpg", images / f"{number:05}.jpg")
        page = Measured.of(str(images))
        page.open()
        page.wait(lambda: page.script(
            "const all = [...document.images]; return all.length > 0 && all.every((image) => image.complete)"), "no list")
        server, workers = page.memory()
        seconds, thumbnails, nodes, heap = page.script("""
            const all = performance.getEntriesByType('resource');
            const lists = all.filter(({name}) => name.includes('/api/images'));
            return [lists[0].duration / 1000, all.filter(({name}) => name.includes('/api/thumbnail')).length,
                    document.querySelectorAll('*').length, performance.memory.usedJSHeapSize / 1048576];""")
        print(f"a folder of {count} images: list after {seconds:.2f} s, {thumbnails} thumbnails asked for, {nodes} elements, "
              f"page {heap:.1f} MiB, server {server:.0f} MiB, workers {workers:.0f} MiB")
        page.end()


if __name__ == "__main__":
    with tempfile.TemporaryDirectory() as work:
        drags(work)
    with tempfile.TemporaryDirectory() as work:
        folders(work)
