#!/usr/bin/env python3
"""A caller that knows only the library's exported functions runs under `orvexctl sim`; key
events sent with POST /api/trigger reach it, and the whole process tree ends when it does.
Usage: sim_caller_test.py ORVEXCTL SIM_CALLER"""
import json
import selectors
import subprocess
import sys
import time
import urllib.error
import urllib.request

orvexctl, caller = sys.argv[1], sys.argv[2]
sent = [(726, "press"), (727, "press"), (727, "release"), (726, "release")]
proc = subprocess.Popen([orvexctl, "sim", "--port", "0", "--", caller, str(len(sent))],
                        stdout=subprocess.PIPE, text=True)
lines = selectors.DefaultSelector()
lines.register(proc.stdout, selectors.EVENT_READ)


def line(deadline=20):
    if not lines.select(timeout=deadline):
        proc.kill()
        sys.exit("no output within %d s" % deadline)
    return proc.stdout.readline().rstrip("\n")


def post(url, body):
    req = urllib.request.Request(url + "api/trigger", data=json.dumps(body).encode(),
                                 headers={"Content-Type": "application/json"})
    try:
        return urllib.request.urlopen(req, timeout=10).status
    except urllib.error.HTTPError as e:
        return e.code


url, acquired = None, False
while url is None or not acquired:
    text = line()
    if text.startswith("virtual handheld (profile default): "):
        url = text.split(": ", 1)[1]
    elif text == "acquired":
        acquired = True
    else:
        proc.kill()
        sys.exit("unexpected output: %r" % text)
for key, action in sent:
    status = post(url, {"action": action, "key": key})
    if status != 200:
        proc.kill()
        sys.exit("POST /api/trigger %s %d answered %d" % (action, key, status))
got = [line() for _ in sent]
want = ["OnKeyEvent(%d, %d)" % (key, action == "press") for key, action in sent]
if got != want:
    proc.kill()
    sys.exit("key events %r, expected %r" % (got, want))
try:
    rc = proc.wait(timeout=20)
except subprocess.TimeoutExpired:
    proc.kill()
    sys.exit("the caller's process did not end after its last key event")
if rc != 0:
    sys.exit("orvexctl sim ended with %d" % rc)
