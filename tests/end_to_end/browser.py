"""Chromium, driven by the protocol of its driver."""

import base64
import json
import re
import subprocess
import time
import urllib.error
import urllib.request

ELEMENT = "element-6066-11e4-a52e-4f735466cecf"
PATIENCE = 60  # of which a busy machine may take some
FLAGS = ["headless", "no-sandbox", "disable-gpu", "disable-quic", "no-first-run",
         "disable-background-networking", "disable-component-update", "disable-sync",
         "disable-dev-shm-usage", "hide-scrollbars"]


class Refused(Exception):
    """The driver did not do what it was told."""


class Browser:
    def __init__(self, directory):
        self.driver = subprocess.Popen(["chromedriver", "--port=0"], stdout=subprocess.PIPE,
                                       stderr=subprocess.DEVNULL, text=True)
        port = next(found[1] for line in self.driver.stdout
                    if (found := re.search(r"successfully on port (\d+)", line)))
        self.base = f"http://127.0.0.1:{port}/session"
        arguments = [f"--{flag}" for flag in FLAGS]
        arguments.append(f"--user-data-dir={directory}")
        options = {"args": arguments, "binary": "/usr/bin/chromium"}
        # The driver would wait for frames of chapters, which load nothing.
        always = {"goog:chromeOptions": options, "pageLoadStrategy": "none", "goog:loggingPrefs": {"browser": "ALL"}}
        self.base += "/" + self.call("POST", "", {"capabilities": {"alwaysMatch": always}})["sessionId"]

    def call(self, method, path, body=None):
        data = None if method == "GET" else json.dumps(body or {}).encode()
        request = urllib.request.Request(self.base + path, data, method=method)
        try:
            with urllib.request.urlopen(request, timeout=120) as answer:
                return json.load(answer)["value"]
        except urllib.error.HTTPError as error:
            raise Refused(json.load(error)["value"]["message"]) from None

    def close(self):
        try:
            self.call("DELETE", "")
        finally:
            self.driver.terminate()
            self.driver.wait()
            self.driver.stdout.close()

    def open(self, url):
        self.run("window.isLeft = true")
        self.call("POST", "/url", {"url": url})
        self.until("return !window.isLeft && document.readyState === 'complete'")

    def run(self, script, *arguments):
        """What a function body returns, promises awaited."""
        return self.call("POST", "/execute/sync", {"script": script, "args": arguments})

    def until(self, script, *arguments):
        """The first true value that the body of a function returns."""
        return self.wait_for(lambda: self.run(script, *arguments), f"{script} {arguments}")

    @staticmethod
    def wait_for(condition, name=""):
        deadline = time.monotonic() + PATIENCE
        while not (value := condition()):
            if time.monotonic() > deadline:
                raise AssertionError(f"This did not come true: {name}")
            time.sleep(0.02)
        return value

    def find(self, selector):
        return self.until("return document.querySelector(arguments[0])", selector)

    def click(self, selector):
        self.call("POST", f"/element/{self.find(selector)[ELEMENT]}/click")

    def type(self, selector, text):
        self.call("POST", f"/element/{self.find(selector)[ELEMENT]}/value", {"text": text})

    def press(self, *keys):
        presses = [{"type": kind, "value": key} for key in keys for kind in ("keyDown", "keyUp")]
        self.call("POST", "/actions", {"actions": [{"type": "key", "id": "k", "actions": presses}]})

    def enter(self, selector=None):
        """Goes into a frame, or back to the page."""
        self.call("POST", "/frame", {"id": None})
        if selector:
            self.call("POST", "/frame", {"id": self.find(selector)})

    def command(self, name, **parameters):
        """A command of the browser's own protocol."""
        return self.call("POST", "/goog/cdp/execute", {"cmd": name, "params": parameters})

    def drop(self, selector, *paths):
        """Drops files and folders, as a file manager does."""
        x, y = self.run("const box = arguments[0].getBoundingClientRect();"
                        "return [box.x + box.width / 2, box.y + box.height / 2]", self.find(selector))
        data = {"items": [], "files": [str(path) for path in paths], "dragOperationsMask": 1}
        for kind in ("dragEnter", "dragOver", "drop"):
            self.command("Input.dispatchDragEvent", type=kind, x=x, y=y, data=data)

    def look(self, width=1000, height=800, theme="light", motion="no-preference"):
        self.command("Emulation.setDeviceMetricsOverride", width=width, height=height,
                     deviceScaleFactor=1, mobile=False)
        self.command("Emulation.setEmulatedMedia",
                     features=[{"name": "prefers-color-scheme", "value": theme},
                               {"name": "prefers-reduced-motion", "value": motion}])

    def speak(self, languages):
        """Makes the user one of these languages, for pages that are opened from now on."""
        agent = self.run("return navigator.userAgent")
        self.command("Emulation.setUserAgentOverride", userAgent=agent, acceptLanguage=languages)

    def picture(self, path):
        path.write_bytes(base64.b64decode(self.call("GET", "/screenshot")))

    def complaints(self):
        """What the console has been told since it was asked last."""
        return [entry["message"] for entry in self.call("POST", "/se/log", {"type": "browser"})]
