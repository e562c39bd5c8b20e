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
        self.output = tempfile.NamedTemporaryFile("w")
        self.process = subprocess.Popen(
            [BIN / "enclab", "--name", self.name, "--speed", "40", *words],
            stdin=subprocess.DEVNULL,
            stdout=self.output,
            text=True,
        )
        until(lambda: os.path.getsize(self.output.name) > 100, "the panel's address")
        first = pathlib.Path(self.output.name).read_text().splitlines()[0]
        self.url = re.search(r"panel +(http://127\.0\.0\.1:\d+/\?token=\w+)", first).group(1)
        self.base, self.token = re.match(r"(.*)/\?token=(\w+)", self.url).groups()

    def get(self, path, **headers):
        request = urllib.request.Request(self.base + path, headers=headers)
        return urllib.request.urlopen(request, timeout=PATIENCE).read().decode()

    def post(self, path, body, token):
        request = urllib.request.Request(self.base + path, body.encode(), {"X-Panel-Token": token})
        try:
            return 200, urllib.request.urlopen(request, timeout=PATIENCE).read().decode().strip()
        except urllib.error.HTTPError as error:
            return error.code, error.read().decode().strip()

    def do(self, line):
        return self.post("/api/command", line, self.token)

    def state(self):
        return json.loads(self.get("/api/state"))

    def ses(self):
        """What an SES client reads from the daemon."""
        out = subprocess.run(
            [BIN / "sesctl", "--name", self.name, "--timeout", str(PATIENCE), "status", "--json"],
            capture_output=True,
            text=True,
        )
        return json.loads(out.stdout)

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

    def led(self, text):
        until(lambda: self.text("#fact-led strong") == text, f"fault LED {text}")

    # A pulled fan is found without knowing anything: its tile, its event, the LED, the mail.
    def test_1_a_pulled_fan_its_led_and_its_mail(self):
        until(lambda: self.has("button[aria-label='Pull fan 1']"), "the fan's button")
        self.browser.find_element(By.CSS_SELECTOR, "button[aria-label='Pull fan 1']").click()
        until(lambda: "reported failed" in self.text("#fan-1.fault"), "fan 1 shown as failed")
        until(lambda: "failed 0x02 (fan 1)" in self.text("#events"), "the event")
        self.led("lit")
        until(lambda: self.text("#fact-mail strong") == "1", "the mail's number")
        until(lambda: "failed 0x02 (fan 1)" in self.text("#mails"), "the mail")
        until(lambda: self.has("[data-led=fault] .led.fault"), "the LED in the picture")
        self.assertIsNone(self.lab.ses()["fans"][1]["rpm"])
        self.press("button[aria-label='Put back fan 1']")
        self.led("off")

    # Each switch: the button, what the picture shows, what breaks in the daemon's answer, the way back.
    def test_2_every_fault_switch_changes_picture_and_answer(self):
        until(lambda: self.has("#chip-lm75-1"), "chips")
        self.browser.execute_script(
            "document.querySelectorAll('details').forEach((d) => { d.open = true; })"
        )
        label = "button[aria-label^='{}']".format
        sensors = "temperatureSensors"
        for break_it, shown, part, number, mend in [
            (
                label("Lock the rotor of fan 2"),
                "#fan-2.fault",
                "fans",
                2,
                label("Free the rotor of"),
            ),
            ("[title='psu lost']", "#supplies.fault", "powerSupplies", 1, "[title='psu good']"),
            (label("Cut lm75-1"), "#sensor-1.fault", sensors, 1, label("Mend lm75-1")),
            (label("Hold sensor 3"), "#sensor-3", sensors, 3, label("Release sensor 3")),
            ("#add-fault", "#sensor-0.fault", sensors, 0, label("Remove fault")),
        ]:
            with self.subTest(break_it):

                def broken():
                    told = self.lab.ses()[part]
                    one, bad = told[number], [e for e in told if e["status"] != "OK"]
                    values = (one.get("rpm", 0), one.get("celsius", 0))
                    return None in values or 50 in values or (bad and part == "powerSupplies")

                self.assertFalse(broken())
                self.press(break_it)
                until(lambda: self.has(shown), shown)
                until(broken, "the daemon's answer")
                until(lambda: self.has(mend), mend)
                self.press(mend)
                until(lambda: not broken(), "the daemon's answer, healed")
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
                shown, row = "#chip-vsc055 td[title='register 0x06']", "#page tbody tr:nth-child(6)"
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
            samples = [sample for family in families for sample in family.samples]
            return {family.name: family.type for family in families}, {
                " ".join([s.name, *map("=".join, sorted(s.labels.items()))]): s.value
                for s in samples
            }

        types, before = scrape()
        gauges = "temperature_celsius fan_speed_rpm fan_duty_ratio psu_ok"
        counters = "i2c_transfers events polls mails"
        for kind, names in ("gauge", gauges), ("counter", counters), ("histogram", "reply_seconds"):
            for name in names.split():
                self.assertEqual(types.get("esa_" + name), kind, name)
        self.lab.do("cut lm75-0")
        self.lab.do("temp 2 41.5")
        replies = "esa_reply_seconds_count"
        until(lambda: self.lab.ses() and scrape()[1][replies] >= before[replies] + 2, "replies")
        nak = "esa_i2c_transfers_total chip=lm75-0 result=nak"
        until(lambda: scrape()[1].get(nak, 0) > before.get(nak, 0), "transfers not acknowledged")
        _, after = scrape()
        self.assertEqual(after["esa_temperature_celsius chassis=vsc055 sensor=2"], 41.5)
        self.assertGreater(after["esa_fan_speed_rpm chassis=vsc055 fan=0"], 1000)
        self.assertEqual(after["esa_reply_seconds_bucket le=+Inf"], after[replies])
        polls, mails = "esa_polls_total", "esa_mails_total"
        until(lambda: scrape()[1][polls] > after[polls], "polls counted")
        until(lambda: scrape()[1][mails] == self.lab.state()["peers"]["mails"], "mails counted")
        self.lab.do("mend lm75-0")
        self.lab.do("temp 2 auto")

    def test_5_only_the_token_and_the_own_name_open_the_panel(self):
        self.assertEqual(self.lab.post("/api/command", "fan 0 pull", "wrong")[0], 403)
        self.assertEqual(self.lab.post("/api/chassis", "xyratex", "")[0], 403)
        self.assertTrue(self.lab.state()["chassis"]["fans"][0]["present"])
        with self.assertRaises(urllib.error.HTTPError) as refused:
            self.lab.get("/api/state", Host="elsewhere.example")
        self.assertEqual(refused.exception.code, 403)
        self.assertEqual(
            self.lab.do("fan 9 pull"), (400, "fan: no fan 9: the chassis has 4, from 0")
        )

    # A second lab finds its own port; a browser that does not read stops neither the lab nor its end.
    def test_6_labs_stand_side_by_side(self):
        other = Lab("browser-2", "--chassis", "w83792ad")
        self.addCleanup(other.process.kill)
        self.assertNotEqual(other.base, self.lab.base)
        slow = urllib.request.urlopen(other.base + "/api/events", timeout=PATIENCE)
        self.assertEqual(other.state()["chassis"]["name"], "w83792ad")
        self.assertEqual(other.end(), 0)
        slow.close()
        self.assertFalse(pathlib.Path(f"/tmp/enclab-{os.getuid()}/{other.name}").exists())
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
        until(lambda: self.has("[data-led=redundancy-fail]"), "the redundancy LED")

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
