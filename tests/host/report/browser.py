"""Chromium without a window, controlled through the pipe of its debugging protocol."""

import base64
import json
import os
import shutil
import subprocess
import tempfile
import time


class Browser:
    """One page of a browser of its own. Use it in a with statement."""

    def __init__(self, program):
        self.profile = tempfile.mkdtemp(prefix="sheet-browser-")
        to_browser, self.writer = os.pipe()
        self.reader, from_browser = os.pipe()
        # The browser reads its file 3 and writes its file 4; a shell can move the pipes there.
        self.process = subprocess.Popen(
            ["/bin/sh", "-c", f'exec 3<&{to_browser} 4>&{from_browser}; exec "$@"', "sh", program,
             "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             f"--user-data-dir={self.profile}", "--remote-debugging-pipe", "about:blank"],
            pass_fds=(to_browser, from_browser), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(to_browser)
        os.close(from_browser)
        self.number = 0
        self.rest = b""
        self.events = []
        self.session = None

    def __enter__(self):
        pages = [one for one in self.call("Target.getTargets")["targetInfos"] if one["type"] == "page"]
        target = pages[0]["targetId"] if pages else self.call("Target.createTarget", url="about:blank")["targetId"]
        self._attach(target)
        return self

    def _attach(self, target):
        self.session = None
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Network", "Log"):
            self.call(domain + ".enable")
        self.call("Page.setLifecycleEventsEnabled", enabled=True)

    def forget(self):
        """From now on another page is used, without any cookie or other data of the first one."""
        self.session = None
        context = self.call("Target.createBrowserContext")["browserContextId"]
        self._attach(self.call("Target.createTarget", url="about:blank", browserContextId=context)["targetId"])

    def __exit__(self, *_):
        os.close(self.writer)
        try:
            self.process.wait(20)
        except subprocess.TimeoutExpired:
            self.process.kill()
            self.process.wait()
        os.close(self.reader)
        shutil.rmtree(self.profile, ignore_errors=True)

    def _message(self):
        while b"\0" not in self.rest:
            piece = os.read(self.reader, 1 << 20)
            if not piece:
                raise RuntimeError("the browser ended")
            self.rest += piece
        text, self.rest = self.rest.split(b"\0", 1)
        return json.loads(text)

    def call(self, method, **parameters):
        """The answer to a call. Events that come before it are kept."""
        self.number += 1
        message = {"id": self.number, "method": method, "params": parameters}
        if self.session is not None:
            message["sessionId"] = self.session
        os.write(self.writer, json.dumps(message).encode() + b"\0")
        while True:
            answer = self._message()
            if answer.get("id") == self.number:
                if "error" in answer:
                    raise RuntimeError(f"{method}: {answer['error']}")
                return answer["result"]
            self.events.append(answer)

    def _load(self, address):
        self.events = []
        loader = self.call("Page.navigate", url=address)["loaderId"]
        done = {"name": "load", "loaderId": loader}
        while not any(one.get("method") == "Page.lifecycleEvent" and done.items() <= one["params"].items()
                      for one in self.events):
            self.events.append(self._message())

    def open(self, address):
        """Loads a page, even if only its fragment differs, and returns when it is loaded."""
        self._load("about:blank")
        self._load(address)

    def value(self, expression):
        """What an expression of the page's language yields, or its promise."""
        answer = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in answer:
            raise RuntimeError(f"{expression}: {answer['exceptionDetails']}")
        return answer["result"].get("value")

    def key(self, name):
        """Presses a key, such as "ArrowDown"."""
        codes = {"ArrowLeft": 37, "ArrowUp": 38, "ArrowRight": 39, "ArrowDown": 40, "Enter": 13, "Escape": 27,
                 "Tab": 9, "Home": 36, "End": 35}
        key = {"key": name, "code": name, "windowsVirtualKeyCode": codes[name]}
        if name == "Enter":
            key["text"] = "\r"
        self.call("Input.dispatchKeyEvent", type="keyDown", **key)
        self.call("Input.dispatchKeyEvent", type="keyUp", **key)

    def drop(self, path, selector):
        """Drags a file or a folder of the disk over an element, which is scrolled into the window, and drops it."""
        place = self.value("(() => { const one = document.querySelector(" + json.dumps(selector) + ");"
                           " one.scrollIntoView({ block: 'center' }); const box = one.getBoundingClientRect();"
                           " return { x: box.x + box.width / 2, y: box.y + box.height / 2 }; })()")
        for kind in ("dragEnter", "dragOver", "drop"):
            self.call("Input.dispatchDragEvent", type=kind, **place,
                      data={"items": [], "files": [str(path)], "dragOperationsMask": 1})

    def window(self, width, height, scheme="light"):
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                  mobile=False)
        self.call("Emulation.setEmulatedMedia",
                  features=[{"name": "prefers-color-scheme", "value": scheme}])

    def picture(self, file):
        """A picture of the window as PNG, after all that is in it has been drawn."""
        self.settle()
        data = self.call("Page.captureScreenshot", format="png")["data"]
        with open(file, "wb") as stream:
            stream.write(base64.b64decode(data))

    def settle(self):
        """Returns when the pictures in the window are decoded and two frames have been drawn."""
        self.value("""(async () => {
          const inWindow = (one) => { const box = one.getBoundingClientRect();
            return box.width > 0 && box.bottom > 0 && box.top < innerHeight; };
          const frame = () => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done)));
          await frame();
          await Promise.all([...document.images].filter(inWindow).map((one) => one.decode().catch(() => {})));
          await frame();
        })()""")

    def until(self, what, condition, seconds=90, picture=None):
        """Waits for a condition of the page, and returns its value. Where it does not come, a picture of the window is
        left in that file, and the program ends."""
        end = time.monotonic() + seconds
        while time.monotonic() < end:
            value = self.value(condition)
            if value:
                return value
            self.value("new Promise((done) => setTimeout(done, 50))")
        if picture is not None:
            self.picture(picture)
        raise SystemExit(f"{what} did not come: {condition}")

    def requests(self):
        """The addresses that were asked for since the page was opened, without those in the page itself."""
        asked = [one["params"]["request"]["url"] for one in self.events
                 if one.get("method") == "Network.requestWillBeSent"]
        return [one for one in asked if not one.startswith("data:")]
