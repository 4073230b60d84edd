#!/usr/bin/env python3
"""The virtual handheld's page in a real browser, against `orvexctl sim` running the demo service.

Loads the page, clicks the main trigger and sees the LED go red then green on the page while the
demo prints the key event; kills the hardware manager from the page, restarts it, sees the
library take the trigger again in the call timeline and a second click scan as the first did,
with each key event delivered once. Saves a screenshot to the output folder, then presses Ctrl-C
and expects the demo to exit cleanly.

Every wait is bounded; nothing depends on how long a step takes.

usage: handheld_page_test.py --orvexctl PATH --out DIR
"""

import argparse
import os
import re
import signal
import subprocess
import sys
import threading

from selenium import webdriver
from selenium.common.exceptions import TimeoutException
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import WebDriverWait

WAIT = 30  # seconds, the bound of every wait


class Process:
    """`orvexctl sim` with its output collected line by line."""

    def __init__(self, command):
        self.lines = []
        self.changed = threading.Condition()
        # A session of its own, so that Ctrl-C can reach the tool and the demo together, as a
        # terminal sends it to its foreground process group.
        self.proc = subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                                     text=True, bufsize=1, start_new_session=True)
        self.readers = [threading.Thread(target=self._read, args=(s,), daemon=True)
                        for s in (self.proc.stdout, self.proc.stderr)]
        for r in self.readers:
            r.start()

    def _read(self, stream):
        for line in stream:
            with self.changed:
                self.lines.append(line.rstrip('\n'))
                self.changed.notify_all()

    def wait_for(self, pattern, count=1):
        """The first match of `pattern` once it occurs `count` times in the output."""
        regex = re.compile(pattern)
        def found():
            return [m for m in map(regex.search, self.lines) if m]
        with self.changed:
            if not self.changed.wait_for(lambda: len(found()) >= count or self.proc.poll() is not None,
                                         timeout=WAIT) or len(found()) < count:
                raise AssertionError('never printed %r %d time(s); output:\n%s'
                                     % (pattern, count, '\n'.join(self.lines)))
            return found()[0]

    def count(self, pattern):
        with self.changed:
            return sum(1 for line in self.lines if re.search(pattern, line))

    def interrupt(self):
        """Ctrl-C; true once every process of the group has exited (the pipes' ends closed)."""
        try:
            os.killpg(self.proc.pid, signal.SIGINT)
        except ProcessLookupError:
            pass
        try:
            self.proc.wait(timeout=WAIT)
        except subprocess.TimeoutExpired:
            pass
        for r in self.readers:
            r.join(timeout=WAIT)
        ended = not any(r.is_alive() for r in self.readers)
        if not ended:
            os.killpg(self.proc.pid, signal.SIGKILL)
        return ended


def browser():
    options = Options()
    for arg in ('--headless=new', '--no-sandbox', '--disable-dev-shm-usage', '--window-size=1280,1000'):
        options.add_argument(arg)
    options.binary_location = '/usr/bin/chromium'
    return webdriver.Chrome(service=Service('/usr/bin/chromedriver'), options=options)


def until(driver, what, condition):
    try:
        return WebDriverWait(driver, WAIT, poll_frequency=0.05).until(lambda d: condition(d))
    except TimeoutException:
        raise AssertionError('the page never showed ' + what)


# Records every colour the page gives the LED, from now on.
RECORD_LED = """
window.ledColors = [];
new MutationObserver(() => window.ledColors.push(document.getElementById('led').dataset.color))
    .observe(document.getElementById('led'), {attributes: true, attributeFilter: ['data-color']});
"""

# The highest seq of a timeline row of the given method, or 0.
LAST_CALL = """
let seq = 0;
for (const row of document.getElementById('timeline').rows) {
  if (row.cells[4].textContent === arguments[0]) seq = Number(row.cells[0].textContent);
}
return seq;
"""


def red_then_green(driver):
    colors = driver.execute_script('return window.ledColors')
    return '#FF0000' in colors and '#00FF00' in colors[colors.index('#FF0000'):]


def service_status(driver, name):
    return driver.find_element(By.CSS_SELECTOR, '#services tr[data-service="%s"] .status' % name).text


def scan(driver, sim, main_key, n):
    """Clicks the main trigger: the LED goes red then green and the demo scans once more."""
    driver.execute_script(RECORD_LED)
    driver.find_element(By.ID, 'trigger-main').click()
    until(driver, 'the LED red then green', red_then_green)
    sim.wait_for(r'^key event: key %d down$' % main_key, count=n)
    sim.wait_for(r'^good decode %d:' % n)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('--orvexctl', required=True)
    parser.add_argument('--out', required=True)
    args = parser.parse_args()

    sim = Process([args.orvexctl, 'sim'])
    driver = None
    try:
        url = sim.wait_for(r'serving the virtual handheld at (http://127\.0\.0\.1:\d+/)').group(1)
        sim.wait_for(r'^ready: press the trigger$')
        driver = browser()
        driver.get(url)
        until(driver, 'a live connection', lambda d: d.find_element(By.ID, 'connection').get_attribute('data-state') == 'live')
        trigger = until(driver, 'the main trigger', lambda d: d.find_elements(By.ID, 'trigger-main'))[0]
        main_key = int(re.search(r'\d+', trigger.text).group(0))

        scan(driver, sim, main_key, 1)

        restarted_after = driver.execute_script(LAST_CALL, 'setKeyEventQueue')
        driver.find_element(By.ID, 'kill-hardware_manager').click()
        until(driver, 'the hardware manager dead', lambda d: service_status(d, 'hardware_manager') == 'dead')
        driver.find_element(By.ID, 'restart-hardware_manager').click()
        until(driver, 'the hardware manager running', lambda d: service_status(d, 'hardware_manager') == 'running')
        until(driver, 'the library handing the trigger a new queue',
              lambda d: d.execute_script(LAST_CALL, 'setKeyEventQueue') > restarted_after)

        scan(driver, sim, main_key, 2)
        # Each click is one press and one release, each delivered exactly once.
        for state in ('down', 'up'):
            sim.wait_for(r'^key event: key %d %s$' % (main_key, state), count=2)
            assert sim.count(r'^key event: key \d+ %s$' % state) == 2, '\n'.join(sim.lines)

        driver.save_screenshot(os.path.join(args.out, 'handheld-page.png'))
    finally:
        if driver is not None:
            driver.quit()
        ended = sim.interrupt()
    assert ended, 'the demo did not exit on Ctrl-C:\n' + '\n'.join(sim.lines)
    sim.wait_for(r'^stopped$')
    # In a sanitizer build, a report from the demo's process fails the run.
    assert sim.count(r'(Address|Thread|UndefinedBehavior|Leak)Sanitizer|runtime error:') == 0, '\n'.join(sim.lines)
    return 0


if __name__ == '__main__':
    sys.exit(main())
