"""The page's pure modules, run in the browser."""
import unittest

from workbench import WorkbenchTest


class Modules(WorkbenchTest):
    def setUp(self):
        super().setUp()
        self.open()

    def run_module(self, name, body):
        """What a function body returns that has the module as m."""
        self.driver.set_script_timeout(60)
        kind, value = self.driver.execute_async_script(f"""
            const done = arguments[arguments.length - 1];
            import('/web/{name}.js').then(async (m) => {{ {body} }}).then(
                (value) => done(['value', value]), (failure) => done(['failure', String(failure)]));""")
        self.assertEqual(kind, "value", value)
        return value

    def test_a_view_maps_there_and_back(self):
        self.assertEqual(self.run_module("coords", """
            const view = m.fitView({width: 400, height: 300}, {width: 800, height: 200});
            return [view.scale, m.toScreen(view, [-0.5, -0.5]), m.toScreen(view, [799.5, 199.5]),
                    m.toImage(view, m.toScreen(view, [12, 34]))];"""), [0.5, [0, 100], [400, 200], [12, 34]])

    def test_zoom_keeps_the_place_and_its_limits(self):
        self.assertEqual(self.run_module("coords", """
            const view = {x: 10, y: 20, scale: 2};
            const limits = {least: 1, most: 6};
            const closer = m.zoomAt(view, [30, 40], 2, limits);
            return [closer.scale, m.toImage(closer, [30, 40]), m.toImage(view, [30, 40]),
                    m.zoomAt(view, [0, 0], 100, limits).scale, m.zoomAt(view, [0, 0], 0.01, limits).scale];"""),
            [4, [25, 40], [25, 40], 6, 1])

    def test_the_magnifier_shows_the_pixel_in_its_middle_also_of_a_reduced_copy(self):
        self.assertEqual(self.run_module("coords", """
            return [m.magnified([100, 50], 160, 8, {width: 400}, {width: 400}),
                    m.magnified([100, 50], 160, 8, {width: 400}, {width: 100})];"""),
            [{"x": 90.5, "y": 40.5, "edge": 20}, {"x": 22.625, "y": 10.125, "edge": 5}])

    def test_the_address_holds_the_state(self):
        self.assertEqual(self.run_module("state", """
            const values = {image: 'a b/ä&=#.jpg', corners: '1,2;3,4', empty: ''};
            const hash = m.formatState('straighten', values);
            return [hash, m.parseState(hash), m.parseState('#calibrate'), m.parseState('')];"""), [
                "#straighten?image=a+b/%C3%A4%26%3D%23.jpg&corners=1,2;3,4",
                {"tab": "straighten", "values": {"image": "a b/ä&=#.jpg", "corners": "1,2;3,4"}},
                {"tab": "calibrate", "values": {}}, {"tab": "", "values": {}}])

    def test_many_changes_of_the_address_are_few_writes(self):
        written, last, left = self.run_module("address", """
            const written = [];
            const address = new m.Address((hash) => written.push(hash));
            for (let i = 0; i < 1000; ++i) address.keep(`#${i}`);
            const first = written.length;
            address.flush();
            address.flush();
            const flushed = [...written];
            address.keep("#dropped");
            address.drop();
            await new Promise((resolve) => { setTimeout(resolve, 300); });
            return [flushed, first, written.slice(flushed.length)];""")
        self.assertEqual((written, last, left), (["#0", "#999"], 1, []))
        self.assertEqual(self.run_module("address", """
            const written = [];
            const address = new m.Address((hash) => written.push(hash));
            address.keep("#1");
            address.keep("#2");
            while (written.length < 2) await new Promise((resolve) => { setTimeout(resolve, 20); });
            return written;"""), ["#1", "#2"])

    def test_points_and_names_in_the_address(self):
        self.assertEqual(self.run_module("state", """
            return [m.parsePoints('1,2;3.5,-4', 2), m.parsePoints('1,2', 2), m.parsePoints('1,;3,4', 2),
                    m.parsePoints(undefined, 1), m.formatPoints([[1.04, 2.06]]),
                    m.parseNames(m.formatNames(['a|b.jpg', '100%.jpg'])),
                    m.nameOfPath('C:\\\\x\\\\a\\\\b.jpg', ['a/b.jpg']), m.nameOfPath('b/x.jpg', ['x.jpg', 'b/x.jpg']),
                    m.nameOfPath('/c/b/x.jpg', ['x.jpg', 'b/x.jpg']), m.nameOfPath('x.jpg', ['b/x.jpg', 'x.jpg'])];"""),
            [[[1, 2], [3.5, -4]], None, None, None, "1,2.1", ["a|b.jpg", "100%.jpg"], "a/b.jpg", "b/x.jpg", "b/x.jpg",
             "x.jpg"])

    def test_the_queue_runs_one_at_a_time_and_the_last_wins(self):
        self.assertEqual(self.run_module("latest", """
            const ran = [], failed = [];
            let release, idle;
            const done = new Promise((resolve) => { idle = resolve; });
            const ask = m.latestOnly(async (request) => {
                ran.push(request);
                if (request === 1) await new Promise((resolve) => { release = resolve; });
                if (request === 4) throw new Error('no');
            }, (failure) => failed.push(failure.message), (isIdle) => isIdle && idle());
            ask(1); ask(2); ask(3); ask(4);
            release();
            await done;
            ask(5);
            return [ran, failed];"""), [[1, 4, 5], ["no"]])

    def test_the_queue_drops_what_nobody_wants_any_more(self):
        self.assertEqual(self.run_module("latest", """
            const ran = [], failed = [];
            let idle;
            const done = new Promise((resolve) => { idle = resolve; });
            const ask = m.latestOnly((request, signal) => {
                ran.push(request);
                return request === 3 ? null : new Promise((resolve, reject) => signal.addEventListener('abort',
                    () => reject(new DOMException('', 'AbortError'))));
            }, (failure) => failed.push(failure.message), (isIdle) => isIdle && idle());
            ask(1); ask(2);
            ask.drop();
            ask(3);
            await done;
            return [ran, failed];"""), [[1, 3], []])

    def test_photographs_are_paired_by_their_names(self):
        self.assertEqual(self.run_module("pairs", """
            return m.pairsOf(['right01.jpg', 'left01.jpg', 'left02.jpg', 'b/cam_L_7.png', 'b/cam_R_7.png',
                              'other.jpg']);"""), {
                "pairs": [["b/cam_L_7.png", "b/cam_R_7.png"], ["left01.jpg", "right01.jpg"]],
                "single": ["other.jpg", "left02.jpg"]})

    def test_options_become_values_of_a_request(self):
        self.assertEqual(self.run_module("option_values", """
            const command = {options: [{name: 'low', kind: 'number', default: 50, minimum: 0}, {name: 'l2', kind: 'flag'},
                {name: 'from', kind: 'corners', required: true}, {name: 'out', kind: 'file', required: true},
                {name: 'fill', kind: 'colour', default: '[0,0,0]'}]};
            const corners = '0,0;1,0;1,1;0,1';
            return [m.requestOptions(command, {low: '50', l2: '1', from: corners}),
                    m.requestOptions(command, {low: '60'}), m.requestOptions(command, {from: '1,2;x'}),
                    m.requestOptions(command, {low: '1e', from: corners}),
                    m.requestOptions(command, {fill: '0,0,256', from: corners}), m.sliderRange(command.options[0]),
                    m.sliderRange({kind: 'integer', minimum: 1, maximum: 127, step: 2, default: 7})];"""), [
                {"l2": True, "from": [[0, 0], [1, 0], [1, 1], [0, 1]]},
                *["The option 'from' takes four points, such as 0,0;90,0;90,60;0,60"] * 2,
                "The option 'low' takes a number",
                "The option 'fill' takes three numbers from 0 to 255, such as 255,0,0",
                {"min": 0, "max": 300, "step": 1}, {"min": 1, "max": 42, "step": 2}])

    def test_options_that_only_a_command_line_can_use_are_not_offered(self):
        self.assertEqual(self.run_module("option_values", """
            const command = {options: [{name: 'gray', kind: 'flag'}, {name: 'for-calib', kind: 'flag'},
                {name: 'format', kind: 'text'}, {name: 'out', kind: 'file'}, {name: 'board', kind: 'board'}]};
            return m.offered(command).map(({name}) => name);"""), ["gray", "board"])

    def test_distances_say_when_they_are_no_lengths(self):
        self.assertEqual(self.run_module("space", """
            const at = (x, more) => ({x, y: 0, z: 1, metric: true, unit: 'mm', ...more});
            return [m.distance(at(0), at(3)), m.distance(at(0), at(3, {metric: false})), m.distance(at(0), at(null)),
                    m.pointText(at(1)), m.pointText(at(null))];"""),
            ["3.00 mm", "3.00, not a length", "–", "1.00, 0.00, 1.00 mm", "infinitely far"])


if __name__ == "__main__":
    unittest.main()
