#!/usr/bin/python3
"""Opens the report of every scenario in a browser and looks at it as a reader would: every display
is where the result says, corner touches are marked, every event is at its time, the controls work
by keyboard, it is readable in light and dark and on a narrow screen, nothing is fetched, the
browser logs no errors, and what came from the scenario is text.

    report_test.py SIMULATOR [SCENARIO.json]...     default: every scenario, and a hostile one

Needs what `tools/install-dependencies browser` installs.
"""
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import html5lib
from selenium import webdriver
from selenium.webdriver.chrome.service import Service

HERE = pathlib.Path(__file__).resolve().parent
SCENARIOS = HERE.parent.parent / "scenarios"
WITHOUT_CHANGE = SCENARIOS / "dock-no-marker.json"  # the helper changes nothing there
CHECKS = (HERE / "page_checks.js").read_text()
WIDE, NARROW, NARROWEST = 1280, 360, 320
KEYS = {"Tab": (9, ""), "Enter": (13, "\r"), "Space": (32, " ")}
TEXT_CONTRAST, DRAWING_CONTRAST = 4.5, 3.0  # WCAG AA


def start_browser():
    options = webdriver.ChromeOptions()
    for argument in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu"):
        options.add_argument(argument)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


def resize(browser, width):
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", {
        "width": width, "height": 900, "deviceScaleFactor": 1, "mobile": False})


def choose_scheme(browser, scheme):
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
        "features": [{"name": "prefers-color-scheme", "value": scheme}]})


def frames(mac):
    return {display["id"]: display["frame"] for display in mac["displays"]}


def meeting(a_low, a_high, b_low, b_high):
    """Where two spans meet end to end, within a point."""
    for one, other in ((a_high, b_low), (b_high, a_low)):
        if abs(one - other) <= 1:
            return (one + other) / 2
    return None


def corner_touches(mac):
    """Every corner that two displays share without sharing a side."""
    found = []
    all_frames = list(frames(mac).values())
    for i, (ax, ay, aw, ah) in enumerate(all_frames):
        for bx, by, bw, bh in all_frames[i + 1:]:
            x, y = meeting(ax, ax + aw, bx, bx + bw), meeting(ay, ay + ah, by, by + bh)
            across = min(ax + aw, bx + bw) - max(ax, bx)
            down = min(ay + ah, by + bh) - max(ay, by)
            if x is not None and y is not None and across <= 1 and down <= 1:
                found.append([x, y])
    return sorted(found)


def number(value):
    return str(int(value)) if value == int(value) else str(value)


def visible(texts):
    """The texts without what the page shows differently: white space and control characters."""
    return [re.sub(r"[^ -~\u00a1-\u1fff]", "", text) for text in texts]


def origin(mac, identifier):
    frame = frames(mac).get(identifier)
    return f"{number(frame[0])}, {number(frame[1])}" if frame else "–"


class Report(unittest.TestCase):
    """One scenario's page; main() gives each scenario a class of its own."""
    browser = None
    simulator = None
    directory = None
    scenario = HERE / "hostile.json"

    @classmethod
    def setUpClass(cls):
        page = pathlib.Path(cls.directory) / (cls.scenario.stem + ".html")
        run = subprocess.run([cls.simulator, "--json", "--report", page, cls.scenario],
                             stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False)
        cls.page, cls.result = page, json.loads(run.stdout)
        for log in ("browser", "performance"):
            cls.browser.get_log(log)
        resize(cls.browser, WIDE)
        choose_scheme(cls.browser, "light")
        cls.browser.get(page.as_uri())
        cls.seen = cls.look("page")

    @classmethod
    def look(cls, what):
        """One of the things that page_checks.js reads."""
        return cls.browser.execute_script(CHECKS, what)

    def sides(self):
        return zip(self.seen["pictures"],
                   (("before", self.result["before"]["mac"]), ("after", self.result["mac"])))

    def scale(self):
        """Pixels per point, from the widest display of either side."""
        widest, drawn = 0, 1
        for picture, (_, mac) in self.sides():
            for display in picture["displays"]:
                frame = frames(mac)[display["id"]]
                if frame[2] > widest:
                    widest, drawn = frame[2], display["width"]
        return drawn / widest if widest else 1

    def test_every_display_is_where_the_result_says(self):
        self.assertEqual(len(self.seen["pictures"]), 2)
        scale = self.scale()
        for picture, (side, mac) in self.sides():
            expected = frames(mac)
            self.assertEqual([d["id"] for d in picture["displays"]], list(expected))
            for display in picture["displays"]:
                self.assertEqual(display["side"], side)
                self.assertEqual(display["isMain"], display["id"] == mac["mainDisplay"])
                first = picture["displays"][0]
                frame, start = expected[display["id"]], expected[first["id"]]
                for drawn, told in ((display["x"] - first["x"], frame[0] - start[0]),
                                    (display["y"] - first["y"], frame[1] - start[1]),
                                    (display["width"], frame[2]), (display["height"], frame[3])):
                    self.assertAlmostEqual(drawn, told * scale, delta=.3)

    def test_every_display_is_named(self):
        for picture, _ in self.sides():
            for display in picture["displays"]:
                self.assertIn(str(display["id"]), display["labels"][0])

    def test_corner_touches_are_marked_where_they_are(self):
        scale = self.scale()
        for picture, (_, mac) in self.sides():
            self.assertEqual(sorted(mark["at"] for mark in picture["corners"]), corner_touches(mac))
            for mark in picture["corners"]:
                first = picture["displays"][0]
                start = frames(mac)[first["id"]]
                self.assertAlmostEqual(mark["x"] + mark["width"] / 2 - first["x"],
                                       (mark["at"][0] - start[0]) * scale, delta=1)
                self.assertAlmostEqual(mark["y"] + mark["height"] / 2 - first["y"],
                                       (mark["at"][1] - start[1]) * scale, delta=1)

    def test_tables_list_what_the_pictures_show(self):
        displays, desk = self.seen["tables"]
        for table in (displays, desk):
            self.assertTrue(table["caption"])
            self.assertEqual(table["headersWithoutScope"], 0)
        before, after = self.result["before"]["mac"], self.result["mac"]
        identifiers = list(frames(before)) + [i for i in frames(after) if i not in frames(before)]
        self.assertEqual(len(displays["groups"]), len(identifiers))
        for group, identifier in zip(displays["groups"], identifiers):
            self.assertIn(f"ID {identifier}", group["title"])
            row = next(row for row in group["rows"] if row[0] == "Origin")
            was, now = origin(before, identifier), origin(after, identifier)
            self.assertEqual(row[1:], [was, now if was == now else f"{now} changed"])
        rows = {(group["title"], row[0]): row[1:] for group in desk["groups"]
                for row in group["rows"]}
        for key, part, name in ((("Dock", "Hides itself"), "dock", "autoHide"),
                                (("Menu bar", "Hides itself"), "menuBar", "autoHide")):
            was, now = ("yes" if mac[part][name] else "no" for mac in (before, after))
            self.assertEqual(rows[key], [was, now if was == now else f"{now} changed"])
        for place, name in enumerate(("Top left", "Top right", "Bottom left", "Bottom right")):
            for told, mac in zip(rows["Hot corners", name], (before, after)):
                self.assertIn(str(mac["dock"]["cornerActions"][place]), told)

    def test_every_event_is_at_its_time(self):
        def told(kind):
            return [e for e in self.seen["timeLine"] if e["kind"] == kind]
        for kind, happened in (("event", self.result["timeline"]), ("call", self.result["calls"])):
            self.assertEqual([entry["at"] for entry in told(kind)],
                             [f"{thing['at']:.3f} s" for thing in happened])
        for entry, call in zip(told("call"), self.result["calls"]):
            self.assertTrue(entry["what"].startswith(call["call"] + "("))
        for entry, event in zip(told("event"), self.result["timeline"]):
            self.assertIn(entry["what"].split(" ")[0], event)
        messages = [line["message"] for line in self.result["log"]]
        steps = [m.split("]: ", 1)[1] for m in messages
                 if m.startswith(("checkInvariant [", "restore")) and "]: " in m
                 and " [" in m.split("]: ")[0]]
        self.assertEqual([d for e in told("step") for d in e["details"]], steps)
        tags = {m.split(" [")[1].split("]")[0] for m in messages if m.startswith("checkInvariant [")}
        triggers = " ".join(entry["what"] for entry in told("trigger"))
        for tag in tags:
            self.assertIn(f"“{tag}”", triggers)

    def test_the_log_is_complete(self):
        self.assertEqual([(line["at"], line["level"], line["isShown"]) for line in self.seen["log"]],
                         [(f"{line['at']:.3f}", line["level"], True)
                          for line in self.result["log"]])

    def test_the_two_logs_are_side_by_side(self):
        seen = self.seen["twoLogs"]
        theirs = [line["message"] for line in self.result["scenario"].get("log", [])]
        told = [row["messages"][0] for row in seen["rows"] if row["messages"][0] is not None]
        self.assertEqual(visible(seen["earlier"] + told), visible(theirs))
        ours = [row["messages"][1] for row in seen["rows"] if row["messages"][1] is not None]
        all_ours = [line["message"] for line in self.result["log"]]
        self.assertIn("\n".join(visible(ours)), "\n".join(visible(all_ours)))
        differing = [place for place, row in enumerate(seen["rows"]) if not row["isCommon"]]
        self.assertEqual(seen["parting"], differing[0] if differing else -1)
        for row in seen["rows"]:
            if row["isCommon"]:
                self.assertEqual(*(re.sub(r"\(pid \d+\)", "", m) for m in row["messages"]))
        if "log" in self.result["scenario"]:
            self.assertRegex(seen["verdict"], "part|differ" if differing else "say the same")
        else:
            self.assertIsNone(seen["verdict"])

    def test_every_fact_about_the_scenario_is_shown(self):
        about = self.result["scenario"].get("about", {})
        self.assertEqual(visible(name for name, _ in self.seen["about"]), visible(about))
        for (_, told), value in zip(self.seen["about"], about.values()):
            for text in value if isinstance(value, list) else [value]:
                if isinstance(text, str):
                    self.assertIn(visible([text])[0], visible([told])[0])

    def test_files_are_listed_with_their_fates(self):
        before, after = self.result["before"]["files"], self.result["files"]
        self.assertEqual(len(self.seen["files"]), len(before | after))
        fates = [file["fate"] for file in self.seen["files"]]
        same = sum(1 for path in before if path in after and before[path] == after[path])
        self.assertEqual(fates.count("unchanged"), same)
        self.assertEqual(fates.count("removed"), len(before.keys() - after.keys()))
        self.assertEqual(fates.count("added"), len(after.keys() - before.keys()))
        for file in self.seen["files"]:
            self.assertEqual(file["isOpen"], file["fate"] != "unchanged")
            is_empty = file["path"] in before | after and all(
                side.get(file["path"], "") == "" for side in (before, after))
            self.assertEqual(bool(file["removed"] or file["added"]),
                             file["isOpen"] and not is_empty)

    def test_it_says_when_nothing_changed(self):
        before = self.result["before"]
        is_same = (before["mac"] == self.result["mac"] and before["files"] == self.result["files"])
        self.assertEqual(self.seen["verdict"],
                         "The helper changed nothing." if is_same else "Different afterwards:")
        if self.scenario == WITHOUT_CHANGE:
            self.assertTrue(is_same)

    def test_it_has_one_heading_and_landmarks(self):
        self.assertEqual(self.seen["headings"].count(1), 1)
        for outer, inner in zip(self.seen["headings"], self.seen["headings"][1:]):
            self.assertLessEqual(inner, outer + 1)
        self.assertEqual(self.seen["landmarks"], [1, 1, 1])

    def test_pictures_have_alternative_text(self):
        tree = self.browser.execute_cdp_cmd("Accessibility.getFullAXTree", {})["nodes"]
        pictures = [node for node in tree if not node["ignored"]
                    and node["role"]["value"] in ("image", "img", "graphics-document")]
        self.assertEqual([node["name"]["value"] for node in pictures],
                         ["The displays before", "The displays after"])
        for node, (_, (_, mac)) in zip(pictures, self.sides()):
            for identifier in frames(mac):
                self.assertIn(f"ID {identifier}", node["description"]["value"])
        names = {role: [node["name"]["value"] for node in tree
                        if not node["ignored"] and node["role"]["value"] == role]
                 for role in ("checkbox", "link", "region", "table")}
        self.assertEqual([name.split()[0] for name in names["checkbox"]],
                         ["debug", "info", "warn", "error"])
        self.assertLessEqual({"Time line", "The helper's log"}, set(names["region"]))
        for role in names:
            self.assertTrue(names[role] and all(names[role]), (role, names[role]))

    def test_it_is_readable_in_light_and_dark(self):
        seen = {}
        for scheme in ("light", "dark"):
            choose_scheme(self.browser, scheme)
            seen[scheme] = self.look("contrasts")
            for kind, least in (("text", TEXT_CONTRAST), ("drawing", DRAWING_CONTRAST)):
                self.assertTrue(seen[scheme][kind])
                for pair in seen[scheme][kind]:
                    self.assertGreaterEqual(pair["ratio"], least, (scheme, pair))
        choose_scheme(self.browser, "light")
        self.assertNotEqual(seen["light"], seen["dark"])

    def test_it_fits_a_narrow_screen(self):
        for width in (NARROW, NARROWEST):
            resize(self.browser, width)
            seen = self.look("narrow")
            self.assertLessEqual(seen["width"], width)
            for picture, _ in zip(seen["pictures"], range(2)):
                for display in picture["displays"]:
                    self.assertEqual(display["labels"], [str(display["id"])])
        resize(self.browser, WIDE)

    def press(self, key):
        code, text = KEYS[key]
        event = {"key": text or key, "code": key, "windowsVirtualKeyCode": code}
        down = {"type": "keyDown", "text": text} if text else {"type": "rawKeyDown"}
        self.browser.execute_cdp_cmd("Input.dispatchKeyEvent", event | down)
        self.browser.execute_cdp_cmd("Input.dispatchKeyEvent", event | {"type": "keyUp"})

    def tab_to(self, is_there):
        """Moves the focus by Tab alone, and checks that it is visible all the way."""
        self.browser.execute_script("document.activeElement.blur()")
        for _ in range(200):
            self.press("Tab")
            focus = self.look("focus")
            self.assertGreaterEqual(focus["outline"], 2, focus)
            if is_there(focus):
                return
        self.fail("cannot be reached by keyboard")

    def test_the_log_is_filtered_by_keyboard(self):
        levels = {line["level"] for line in self.result["log"]}
        self.tab_to(lambda focus: focus["id"] == "show-debug")
        for level in ("debug", "info", "warn", "error"):
            self.assertEqual(self.look("focus")["id"], f"show-{level}")
            self.press("Space")
            self.assertEqual(self.look("shownLevels"), sorted(levels - {level}))
            self.press("Space")
            self.assertEqual(self.look("shownLevels"), sorted(levels))
            self.press("Tab")

    def test_details_open_and_close_by_keyboard(self):
        self.tab_to(lambda focus: focus["name"] == "summary")
        states = []
        for key in ("Enter", "Space"):
            self.press(key)
            states.append(self.look("focus")["isOpen"])
        self.assertEqual(sorted(states), [False, True])

    def test_links_lead_somewhere(self):
        self.assertEqual(self.look("deadLinks"), [])

    def test_it_is_valid(self):
        text = self.page.read_text(encoding="utf-8")
        html5lib.HTMLParser(strict=True).parse(text)
        tidy = subprocess.run(["tidy", "-quiet", "-errors", "-utf8", self.page],
                              capture_output=True, text=True, check=False)
        self.assertEqual(tidy.stderr, "")

    def test_what_came_from_the_scenario_is_text(self):
        self.assertEqual(self.seen["foreign"], 0)
        self.assertNotEqual(self.seen["title"], "taken")
        name = self.result["scenario"]["name"]
        self.assertEqual(self.seen["heading"][:20], name[:20])

    def test_z_nothing_was_fetched_and_no_error_was_logged(self):
        """The last one, so that it covers the whole visit."""
        self.assertEqual(self.browser.get_log("browser"), [])
        requests = []
        for entry in self.browser.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                requests.append(message["params"]["request"]["url"])
        self.assertEqual([url for url in requests if url != self.page.as_uri()], [])


def open_all(simulator):
    """Opens all reports, in as many browsers as there are processors."""
    scenarios = [*sorted(SCENARIOS.glob("*.json")), HERE / "hostile.json"]
    assert WITHOUT_CHANGE in scenarios, "no scenario is known to change nothing"
    count = os.cpu_count()
    visits = [subprocess.Popen([sys.executable, __file__, simulator, *scenarios[part::count]])
              for part in range(count)]
    return max([visit.wait() for visit in visits])


def main():
    simulator, *scenarios = sys.argv[1:]
    if not scenarios:
        return open_all(simulator)
    scenarios = [pathlib.Path(path).resolve() for path in scenarios]
    suite = unittest.TestSuite()
    with tempfile.TemporaryDirectory() as directory:
        browser = start_browser()
        try:
            for scenario in scenarios:
                page = type(scenario.stem, (Report,), {
                    "browser": browser, "simulator": simulator, "directory": directory,
                    "scenario": scenario, "__qualname__": scenario.stem})
                suite.addTests(unittest.defaultTestLoader.loadTestsFromTestCase(page))
            result = unittest.TextTestRunner(verbosity=1).run(suite)
        finally:
            browser.quit()
    print(f"{len(scenarios)} reports were opened")
    return 0 if result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main())
