"""What the studio's tests share: a studio on a copy of an example scene, HTTP calls, a headless browser.

Each test script is run as `python3 SCRIPT.py ORLIXCAM SOURCE_DIR [unittest options]`.
"""
import http.client
import json
import math
import os
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time
import unittest

# Generous: the machine running the suite may be busy with builds and other tests.
WAIT = 60

ORLIXCAM = None
SOURCE_DIR = None


def main():
    """Takes the program and source folder off the command line, then runs the script's tests."""
    global ORLIXCAM, SOURCE_DIR
    if len(sys.argv) < 3:
        sys.exit(f"usage: {sys.argv[0]} ORLIXCAM SOURCE_DIR [unittest options]")
    ORLIXCAM, SOURCE_DIR = os.path.abspath(sys.argv[1]), os.path.abspath(sys.argv[2])
    unittest.main(argv=[sys.argv[0]] + sys.argv[3:], verbosity=2)


class Studio:
    """`orlixcam studio` on a copy of an example scene in a temporary folder, on a free port."""

    ADDRESS = re.compile(r"studio: (http://127\.0\.0\.1:(\d+)/\?token=([0-9a-f]{32}))\s*$")

    def __init__(self, example="stereo_anaglyph_dome.json"):
        self.folder = tempfile.mkdtemp(prefix="orlix-studio-")
        scenes = os.path.join(self.folder, "scenes")
        os.makedirs(scenes)
        # Example scenes name their sky picture as ../Textures/...
        shutil.copytree(os.path.join(SOURCE_DIR, "Textures"), os.path.join(self.folder, "Textures"))
        self.scene = os.path.join(scenes, example)
        shutil.copy(os.path.join(SOURCE_DIR, "Examples", example), self.scene)
        self.log_path = os.path.join(self.folder, "studio.log")
        self.log = open(self.log_path, "wb")
        self.proc = subprocess.Popen([ORLIXCAM, "studio", self.scene, "--port", "0"], cwd=self.folder,
                                     stdout=subprocess.PIPE, stderr=self.log, text=True)
        self.url = self.port = self.token = None
        found = threading.Event()

        def read_address():
            for line in self.proc.stdout:
                m = self.ADDRESS.search(line)
                if m and not found.is_set():
                    self.url, self.port, self.token = m.group(1), int(m.group(2)), m.group(3)
                    found.set()
            found.set()

        # The reader keeps draining standard output so the server never blocks on it.
        self.reader = threading.Thread(target=read_address, daemon=True)
        self.reader.start()
        found.wait(WAIT)
        if not self.url:
            self.stop()
            raise AssertionError(f"orlixcam studio printed no address; its log:\n{self.log_text()}")

    def log_text(self):
        if not self.log.closed:
            self.log.flush()
        with open(self.log_path, "rb") as f:
            return f.read().decode("utf-8", "replace")[-4000:]

    def stop(self):
        """Ends the studio as Ctrl+C would; its exit code (0: it shut down cleanly)."""
        if self.proc.poll() is None:
            self.proc.terminate()
            try:
                self.proc.wait(WAIT)
            except subprocess.TimeoutExpired:
                self.proc.kill()
                self.proc.wait()
        self.reader.join(WAIT)
        self.proc.stdout.close()
        self.log.close()
        code = self.proc.returncode
        self.exit_log = self.log_text() if code else ""
        remove_folder(self.folder)
        return code

    def stop_cleanly(self, test):
        """For addCleanup: stops the studio and fails `test` unless it ended with 0."""
        code = self.stop()
        test.assertEqual(code, 0, f"orlixcam studio ended with {code}:\n{self.exit_log}")

    def raw(self, method, path, body=None, headers=None, token=True, host=None):
        """One request as given: (status, headers, body bytes). `body` is sent as is when bytes, else as JSON."""
        conn = http.client.HTTPConnection("127.0.0.1", self.port, timeout=WAIT * 2)
        try:
            conn.putrequest(method, path, skip_host=True, skip_accept_encoding=True)
            conn.putheader("Host", host or f"127.0.0.1:{self.port}")
            sent = dict(headers or {})
            if token:
                sent.setdefault("X-Orlix-Token", self.token)
            data = None
            if body is not None:
                data = body if isinstance(body, bytes) else json.dumps(body).encode()
                sent.setdefault("Content-Type", "application/json")
                sent["Content-Length"] = str(len(data))
            elif method == "POST":
                sent["Content-Length"] = "0"   # as browsers send a bodiless POST
            for k, v in sent.items():
                conn.putheader(k, v)
            conn.endheaders(data)
            response = conn.getresponse()
            return response.status, dict(response.getheaders()), response.read()
        finally:
            conn.close()

    def call(self, method, path, body=None, expect=200):
        """A JSON call that must answer `expect`; its JSON."""
        status, _, data = self.raw(method, path, body)
        if status != expect:
            raise AssertionError(f"{method} {path} {body!r}: {status} {data[:300]!r}, expected {expect}")
        return json.loads(data) if data else None

    def document(self):
        return self.call("GET", "/api/document")

    def panel(self, node):
        return self.call("GET", f"/api/panel?node={node}")

    def lens_tag(self):
        """The id of the first tag of the scene's objects that has a lens parameter."""
        def walk(objects):
            for o in objects:
                for t in o.get("tags", []):
                    yield t["id"]
                yield from walk(o.get("children", []))
        for tag in walk(self.document()["objects"]):
            if any(e["symbol"] == "ORLIXTAG_LENS" for e in self.panel(tag)["entries"]):
                return tag
        raise AssertionError("the scene has no lens tag")


def entry(panel, symbol):
    for e in panel["entries"]:
        if e["symbol"] == symbol:
            return e
    raise AssertionError(f"{symbol} is not in the panel of {panel['node']}")


def degrees(e, value=None):
    """An angle entry's value in degrees, as the panel shows it: scene files write an angle as
    {"deg": x}, or as plain radians where degrees would not give the same number back."""
    v = e["value"] if value is None else value
    if isinstance(v, dict):
        return v["deg"]
    return math.degrees(v) if e.get("unit") == "DEGREE" and isinstance(v, (int, float)) else v


def visible_entries(panel):
    """Symbol -> entry of what the page must show: not hidden, and no hidden group above it."""
    by_id = {e["id"]: e for e in panel["entries"]}
    shown = {}
    for e in panel["entries"]:
        node, ok = e, True
        while node is not None:
            if node["hidden"]:
                ok = False
                break
            node = by_id.get(node["parent"])
        if ok and e["symbol"]:
            shown[e["symbol"]] = e
    return shown


CHROMIUM = "/usr/bin/chromium"
CHROMEDRIVER = "/usr/bin/chromedriver"


def browser_missing():
    """Why the browser tests can't run here, or None."""
    try:
        import selenium  # noqa: F401
    except ImportError:
        return "python3-selenium is not installed"
    for path in (CHROMIUM, CHROMEDRIVER):
        if not os.access(path, os.X_OK):
            return f"{path} is missing (chromium, chromium-driver)"
    return None


def remove_folder(path):
    """Removes `path` and all it holds. A process that has just ended (Chromium's helpers after
    quit) may still write into it for a moment, so the removal goes on until the folder is gone."""
    deadline = time.monotonic() + WAIT
    while os.path.exists(path):
        shutil.rmtree(path, ignore_errors=True)
        if time.monotonic() > deadline:
            break
        time.sleep(0.1)


def stop_browser(driver, profile):
    """Quits the browser of start_browser and removes its profile."""
    driver.quit()
    remove_folder(profile)


def start_browser(width=1400, height=900):
    """Headless Chromium with a fresh profile; (driver, profile folder). The network is closed here,
    so everything that would look something up on start is off."""
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    profile = tempfile.mkdtemp(prefix="orlix-chromium-")
    options = webdriver.ChromeOptions()
    options.binary_location = CHROMIUM
    for flag in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--disable-dev-shm-usage", f"--user-data-dir={profile}", f"--window-size={width},{height}"):
        options.add_argument(flag)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    driver = webdriver.Chrome(service=Service(CHROMEDRIVER), options=options)
    driver.set_page_load_timeout(WAIT * 2)
    driver.set_script_timeout(WAIT)
    return driver, profile
