# SPDX-License-Identifier: Apache-2.0
"""The front panel in a real browser, on a lab with the shipped daemon.

usage: panel_test.py BIN_DIRECTORY [unittest arguments]
"""
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import urllib.error
import urllib.request

from prometheus_client.parser import text_string_to_metric_families
from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select

BIN = pathlib.Path(sys.argv[1])
PATIENCE = 600  # seconds, for what never comes: no machine is too slow for it


def until(condition, what):
    end = time.monotonic() + PATIENCE
    while time.monotonic() < end:
        if condition():
            return
        time.sleep(0.05)
    raise AssertionError(f"never: {what}")


def end_by_the_clock(*_):
    raise TimeoutError("ended by the clock")


class Lab:
    """One enclab with its panel."""

    def __init__(self, name, *words):
        self.name = f"{name}-{os.getpid()}"
        words = [BIN / "enclab", "--name", self.name, "--speed", "40", *words]
        self.process = subprocess.Popen(
            words, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, text=True
        )
        self.url = self.process.stdout.readline().split()[-1]
        self.base, self.token = self.url.split("/?token=")
        threading.Thread(target=self.process.stdout.read, daemon=True).start()

    def get(self, path, **headers):
        request = urllib.request.Request(self.base + path, headers=headers)
        return urllib.request.urlopen(request, timeout=PATIENCE).read().decode()

    def post(self, path, body, token):
        request = urllib.request.Request(self.base + path, body.encode(), {"X-Panel-Token": token})
        try:
            return (200, urllib.request.urlopen(request, timeout=PATIENCE).read().decode().strip())
        except urllib.error.HTTPError as error:
            return error.code, error.read().decode().strip()

    def do(self, line):
        return self.post("/api/command", line, self.token)

    def state(self):
        return json.loads(self.get("/api/state"))

    def ses(self):
        """What an SES client reads from the daemon."""
        words = ["--name", self.name, "--timeout", str(PATIENCE), "status", "--json"]
        return json.loads(subprocess.run([BIN / "sesctl", *words], stdout=subprocess.PIPE).stdout)

    def end(self):
        self.process.send_signal(signal.SIGINT)
        return self.process.wait(PATIENCE)


class PanelTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        options = Options()
        words = "headless=new no-sandbox disable-dev-shm-usage remote-debugging-pipe"
        for argument in [*words.split(), "window-size=1400,2400"]:
            options.add_argument("--" + argument)
        # By number and by pipe: not every machine has the name localhost, which the usual ways want.
        driver = subprocess.Popen(
            ["/usr/bin/chromedriver", "--port=0"], stdout=subprocess.PIPE, text=True
        )
        for step in driver.stdout.close, driver.wait, driver.terminate:
            cls.addClassCleanup(step)
        started = next(line for line in driver.stdout if "successfully" in line)
        port = re.search(r"on port (\d+)", started)[1]
        cls.browser = webdriver.Remote(f"http://127.0.0.1:{port}", options=options)
        cls.addClassCleanup(cls.browser.quit)
        cls.browser.set_script_timeout(PATIENCE)
        cls.browser.set_page_load_timeout(PATIENCE)
        cls.lab = Lab("browser")
        cls.addClassCleanup(cls.lab.process.kill)
        cls.browser.get(cls.lab.url)
        until(lambda: "VSC055, answers" in cls.text("#events"), "bring-up")

    @classmethod
    def all(cls, css):
        return cls.browser.find_elements(By.CSS_SELECTOR, css)

    @classmethod
    def text(cls, css):
        # In one step: the page may replace the element between two.
        script = "return document.querySelector(arguments[0])?.innerText ?? ''"
        return cls.browser.execute_script(script, css)

    @classmethod
    def has(cls, css):
        script = "return (document.querySelector(arguments[0])?.getClientRects().length ?? 0) > 0"
        return cls.browser.execute_script(script, css)

    def press(self, css):
        # Not by the mouse: what the lab reports meanwhile may move the button from under it.
        script = """const button = document.querySelector(arguments[0]);
                    if (!button?.getClientRects().length || button.disabled) return false;
                    button.dispatchEvent(new MouseEvent('click', {bubbles: true}));
                    return true;"""
        until(lambda: self.browser.execute_script(script, css), css)

    # A pulled fan is found without knowing anything, healed, and its story plays again.
    def test_1_a_pulled_fan_its_verdict_and_its_record(self):
        until(lambda: self.text("#verdict-head") == "All is well", "good health")
        until(lambda: self.has("button[aria-label='Pull fan 1']"), "the fan's button")
        self.browser.find_element(By.CSS_SELECTOR, "button[aria-label='Pull fan 1']").click()
        for css, text in [
            ("#verdict-head", "One thing is wrong"),
            ("#findings strong", "fan 1 is pulled"),
            ("#findings .said", "the daemon: fan fault status: warning"),
            ("#fan-1.fault", "reported failed"),
            ("#events", "failed 0x02 (fan 1)"),
            ("#mails", "failed 0x02 (fan 1)"),
        ]:
            until(lambda: text in self.text(css), css)
        until(lambda: self.has("[data-led=fault] .led.fault"), "the LED in the picture")
        self.assertIsNone(self.lab.ses()["fans"][1]["rpm"])
        self.press("#heal-all")
        until(lambda: self.text("#verdict-head") == "All is well", "healed")
        until(lambda: self.text("#fact-led strong") == "off", "the LED off")
        self.press("#record-show")
        until(lambda: "mails = 1" in self.text("#record-text"), "the record")
        with tempfile.NamedTemporaryFile("w", suffix=".toml") as file:
            print(self.text("#record-text"), file=file, flush=True)
            subprocess.run([BIN / "enclab", "run", file.name], check=True)
        self.press("#record-close")

    # Each switch: the button, what the picture shows, what breaks in the daemon's answer, the way back.
    def test_2_every_fault_switch_changes_picture_and_answer(self):
        until(lambda: self.has("#chip-lm75-1"), "chips")
        self.browser.execute_script(
            "document.querySelectorAll('details').forEach((d) => { d.open = true; })"
        )
        label = "button[aria-label^='{}']".format
        supplies = lambda told: any(each["status"] != "OK" for each in told["powerSupplies"])
        sensor = lambda n, bad: lambda told: told["temperatureSensors"][n]["celsius"] == bad
        for break_it, shown, broken, mend in [
            ("[title='psu lost']", "#supplies.fault", supplies, "[title='psu good']"),
            (label("Cut lm75-1"), "#sensor-1.fault", sensor(1, None), label("Mend lm75-1")),
            (label("Hold sensor 3"), "#sensor-3", sensor(3, 50), label("Release sensor 3")),
            ("#add-fault", "#sensor-0.fault", sensor(0, None), label("Remove fault")),
        ]:
            with self.subTest(break_it):
                self.assertFalse(broken(self.lab.ses()))
                self.press(break_it)
                until(lambda: self.has(shown), shown)
                until(lambda: broken(self.lab.ses()), "the daemon's answer")
                self.press(mend)
                until(lambda: not broken(self.lab.ses()), "the daemon's answer, healed")
        for switch, running in (("close", "not connected"), ("open", "running")):
            self.press(f"button[title='switch {switch}']")
            until(lambda: self.text("#fact-daemon strong") == running, running)

    # One fact, five ways to see it. By keyboard.
    def test_3_pins_json_page_and_client_agree(self):
        bay = self.browser.find_element(By.CSS_SELECTOR, ".bay[data-slot='3']")
        self.browser.execute_script("arguments[0].focus()", bay)
        bay.send_keys(Keys.ENTER)
        for switch, lit in (("on", True), ("off", False)):
            with self.subTest(switch):
                self.press(f"#slot-tools button[title='ses drive 3 fault {switch}']")
                until(lambda: self.lab.state()["chassis"]["slots"][3]["faultLed"] is lit, "JSON")
                pins = bytes.fromhex(self.lab.state()["chips"][0]["registers"])[6]
                self.assertEqual(pins, 0xF7 if lit else 0xFF)
                shown, row = ("#chip-vsc055 td[data-n='6']", "#page tbody tr:nth-child(6)")
                until(lambda: self.text(shown) == f"{pins:02x}", "register file")
                until(lambda: self.has(".bay[data-slot='3'] .led.fault") is lit, "picture")
                until(lambda: ("fault LED on" in self.text(row)) is lit, "status page")
                byte = self.text(row + " td:nth-child(2)").split()[3]
                self.assertEqual(byte, "04" if lit else "00")
                requested = [d["faultRequested"] for d in self.lab.ses()["devices"]]
                self.assertEqual(requested, [n == 3 and lit for n in range(16)])

    def test_4_metrics_are_what_a_scraper_expects(self):
        def scrape():
            families = list(text_string_to_metric_families(self.lab.get("/metrics")))
            self.assertTrue(all(family.documentation for family in families))
            return {
                " ".join([family.type, s.name, *map("=".join, sorted(s.labels.items()))]): s.value
                for family in families
                for s in family.samples
            }

        before = scrape()
        self.lab.do("cut lm75-0")
        self.lab.do("temp 2 41.5")
        for name, more in [
            ("histogram esa_reply_seconds_count", 2),
            ("counter esa_i2c_transfers_total chip=lm75-0 result=nak", 1),
            ("counter esa_polls_total", 1),
            ("counter esa_mails_total", 1),
        ]:
            until(
                lambda: self.lab.ses() and scrape().get(name, 0) >= before.get(name, 0) + more, name
            )
        after = scrape()
        self.assertEqual(after["gauge esa_temperature_celsius chassis=vsc055 sensor=2"], 41.5)
        self.assertGreater(after["gauge esa_fan_speed_rpm chassis=vsc055 fan=0"], 1000)
        self.lab.do("heal")

    def test_5_only_the_token_and_the_own_name_open_the_panel(self):
        self.assertEqual(self.lab.post("/api/command", "fan 0 pull", "wrong")[0], 403)
        self.assertEqual(self.lab.post("/api/chassis", "xyratex", "")[0], 403)
        self.assertTrue(self.lab.state()["chassis"]["fans"][0]["present"])
        with self.assertRaisesRegex(urllib.error.HTTPError, "403"):
            self.lab.get("/api/state", Host="elsewhere.example")
        refused = 400, "fan: no fan 9: the chassis has 4, from 0"
        self.assertEqual(self.lab.do("fan 9 pull"), refused)

    # A second lab finds its own port; a browser that does not read stops neither the lab nor its end.
    def test_6_labs_stand_side_by_side(self):
        other = Lab("browser-2", "--chassis", "w83792ad")
        self.addCleanup(other.process.kill)
        slow = urllib.request.urlopen(other.base + "/api/events", timeout=PATIENCE)
        self.assertEqual(other.state()["chassis"]["name"], "w83792ad")
        self.assertEqual(other.end(), 0)
        slow.close()
        self.assertTrue(self.lab.state()["daemon"]["running"])

    def test_7_another_chassis_is_chosen_in_the_panel(self):
        chassis = Select(self.browser.find_element(By.ID, "chassis"))
        chassis.select_by_visible_text("Xyratex 2U12ATX")
        until(lambda: [len(self.all(c)) for c in (".bay", "#fans .tile")] == [12, 8], "the other")
        until(lambda: "Xyratex 2U12ATX, answers" in self.text("#events"), "bring-up")
        self.press(".bay[data-slot='5']")
        self.press("#slot-tools button[title='drive 5 absent']")
        until(lambda: self.has(".bay.absent[data-slot='5']"), "the empty slot")
        told = lambda: self.lab.ses()["devices"][5]["status"]
        until(lambda: told() == "not installed", "the daemon's answer")
        self.press("#supplies button[title='psu lost']")
        until(lambda: "S1 fault" in self.text("#alarm.fault"), "the alarm")

    def test_8_the_panel_says_when_the_daemon_or_the_lab_is_gone(self):
        os.kill(self.lab.state()["daemon"]["pid"], signal.SIGKILL)
        gone, fact = (lambda: self.text("#gone")), (lambda: self.text("#fact-daemon strong"))
        until(lambda: "The daemon has ended with status 137" in gone(), "the daemon's end")
        until(lambda: fact() == "ended", "the daemon's end in the summary")
        self.press("button[title='daemon start']")
        until(lambda: fact() == "running" and not self.has("#gone"), "the daemon again")
        self.lab.end()
        until(lambda: "The lab is gone" in self.text("#gone"), "the lab's end")


if __name__ == "__main__":
    signal.signal(signal.SIGALRM, end_by_the_clock)
    signal.alarm(int(os.environ.get("ESA_TEST_SECONDS", "0")))
    unittest.main(argv=[sys.argv[0], *sys.argv[2:]], verbosity=2)
