#!/usr/bin/env python3
"""A caller that knows only the library's exported functions runs under `orvexctl sim`, then
with ORVEX_SIM set by hand (the device root a private copy of the profile, removed at exit);
key events sent with POST /api/trigger reach it, and the process ends when the caller does.
An unknown profile ends the caller at load with a message.
Usage: sim_caller_test.py ORVEXCTL SIM_CALLER"""
import glob
import json
import os
import queue
import signal
import subprocess
import sys
import tempfile
import threading
import urllib.error
import urllib.request

orvexctl, caller = sys.argv[1], sys.argv[2]
sent = [(726, "press"), (727, "press"), (727, "release"), (726, "release")]
want = ["OnKeyEvent(%d, %d)" % (key, action == "press") for key, action in sent]


def post(url, body):
    req = urllib.request.Request(url + "api/trigger", data=json.dumps(body).encode(),
                                 headers={"Content-Type": "application/json"})
    try:
        return urllib.request.urlopen(req, timeout=10).status
    except urllib.error.HTTPError as e:
        return e.code


def reader(proc):
    """The next line of proc's standard output, waiting at most 20 s. A thread reads the lines:
    waiting on the pipe itself would miss a line already taken into the file's buffer along
    with the one before it (the tool's URL and the program's first line often come together)."""
    lines = queue.Queue()

    def pump():
        for text in proc.stdout:
            lines.put(text.rstrip("\n"))
    threading.Thread(target=pump, daemon=True).start()

    def line():
        try:
            return lines.get(timeout=20)
        except queue.Empty:
            proc.kill()
            sys.exit("no output within 20 s")
    return line


def drive(proc, url_of, url_file=None):
    """Waits for the URL (on standard output, or in url_file once the caller has acquired the
    trigger) and "acquired", sends the keys, checks what the caller printed."""
    line = reader(proc)

    url, acquired = None, False
    while url is None or not acquired:
        text = line()
        if text == "acquired":
            acquired = True
            if url_file is not None:
                url = open(url_file).read().strip()
        elif url_of(text) is not None:
            url = url_of(text)
        else:
            proc.kill()
            sys.exit("unexpected output: %r" % text)
    for key, action in sent:
        status = post(url, {"action": action, "key": key})
        if status != 200:
            proc.kill()
            sys.exit("POST /api/trigger %s %d answered %d" % (action, key, status))
    got = [line() for _ in sent]
    if got != want:
        proc.kill()
        sys.exit("key events %r, expected %r" % (got, want))
    try:
        rc = proc.wait(timeout=20)
    except subprocess.TimeoutExpired:
        proc.kill()
        sys.exit("the caller's process did not end after its last key event")
    if rc != 0:
        sys.exit("%s ended with %d" % (proc.args[0], rc))


prefix = "virtual handheld (profile default): "
drive(subprocess.Popen([orvexctl, "sim", "--port", "0", "--", caller, str(len(sent))],
                       stdout=subprocess.PIPE, text=True),
      lambda text: text[len(prefix):] if text.startswith(prefix) else None)

# Ctrl-C or SIGTERM sent to the tool alone reaches the program, and the tool ends with it,
# leaving nothing in TMPDIR.
for sig in (signal.SIGINT, signal.SIGTERM):
    with tempfile.TemporaryDirectory() as tmp:
        proc = subprocess.Popen([orvexctl, "sim", "--", caller, "100"], stdout=subprocess.PIPE,
                                text=True, env=dict(os.environ, TMPDIR=tmp))
        line = reader(proc)
        line(), line()  # the URL and "acquired"
        proc.send_signal(sig)
        try:
            rc = proc.wait(timeout=20)
        except subprocess.TimeoutExpired:
            proc.kill()
            sys.exit("orvexctl sim did not end after signal %d" % sig)
        if rc != 128 + sig or os.listdir(tmp):
            sys.exit("signal %d: status %d, left %r" % (sig, rc, os.listdir(tmp)))

with tempfile.TemporaryDirectory() as tmp:
    url_file = os.path.join(tmp, "url")
    # The caller opens the library by name: this build's, as orvexctl sim also arranges.
    lib = os.path.join(os.path.dirname(os.path.abspath(orvexctl)), "..", "lib")
    env = dict(os.environ, ORVEX_SIM="tr41", ORVEX_SIM_HTTP="0", TMPDIR=tmp,
               ORVEX_SIM_URL_FILE=url_file, LD_LIBRARY_PATH=lib)
    env.pop("ORVEX_DEVICE_ROOT", None)
    drive(subprocess.Popen(["simcaller", str(len(sent))], executable=caller, env=env,
                           stdout=subprocess.PIPE, text=True),
          lambda text: None, url_file)
    left = glob.glob(os.path.join(tmp, "orvex-sim-*"))
    if left:
        sys.exit("the private device root was left behind: %r" % left)

    env["ORVEX_SIM"] = "nosuch"
    run = subprocess.run(["simcaller", "1"], executable=caller, env=env, capture_output=True,
                         text=True, timeout=20)
    message = "orvex-sim: ORVEX_SIM=nosuch is neither a profile of this build ("
    if run.returncode != 2 or not run.stderr.startswith(message) or run.stdout:
        sys.exit("an unknown profile: status %d, %r" % (run.returncode, run.stderr))
