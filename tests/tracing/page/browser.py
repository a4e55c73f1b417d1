"""Drives chromium through its debugging pipe, for which Python's standard library is enough."""

import base64
import fcntl
import json
import os
import subprocess
import tempfile


def high(descriptor):
    """The same pipe under a number that is not 3 or 4, where the browser expects its ends."""
    moved = fcntl.fcntl(descriptor, fcntl.F_DUPFD_CLOEXEC, 10)
    os.close(descriptor)
    return moved


class Browser:
    """One page of a headless browser. `problems` lists the errors that it printed, `requests` what it tried to load."""

    def __init__(self, width=1280, height=800):
        self.profile = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        commands_in, commands = map(high, os.pipe())
        answers, answers_out = map(high, os.pipe())

        def place_pipes():
            os.dup2(commands_in, 3)
            os.dup2(answers_out, 4)

        # Its sandbox refuses to run as root; the pages are our own.
        self.process = subprocess.Popen(
            ["chromium", "--headless=new", "--no-sandbox", "--remote-debugging-pipe", "--disable-gpu", "--no-first-run",
             f"--user-data-dir={self.profile.name}", f"--window-size={width},{height}"],
            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
            pass_fds=(3, 4), preexec_fn=place_pipes)
        os.close(commands_in)
        os.close(answers_out)
        self.commands, self.answers = os.fdopen(commands, "wb", buffering=0), os.fdopen(answers, "rb")
        self.count, self.session, self.rest = 0, None, b""
        self.problems, self.requests, self.has_loaded = [], [], False
        target = self.call("Target.createTarget", url="about:blank")["targetId"]
        self.session = self.call("Target.attachToTarget", targetId=target, flatten=True)["sessionId"]
        for domain in ("Page", "Runtime", "Log", "Network"):
            self.call(f"{domain}.enable")
        self.call("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1, mobile=False)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        # It ends when the other ends of its pipes are closed.
        self.commands.close()
        self.answers.close()
        self.process.wait()
        self.profile.cleanup()

    def message(self):
        while b"\0" not in self.rest:
            read = self.answers.raw.read(1 << 16)
            if not read:
                raise SystemExit("chromium has ended")
            self.rest += read
        text, _, self.rest = self.rest.partition(b"\0")
        return json.loads(text)

    def note(self, method, parameters):
        if method == "Page.loadEventFired":
            self.has_loaded = True
        elif method == "Network.requestWillBeSent":
            self.requests.append(parameters["request"]["url"])
        elif method == "Runtime.exceptionThrown":
            details = parameters["exceptionDetails"]
            self.problems.append(details.get("exception", {}).get("description", details["text"]))
        elif method == "Runtime.consoleAPICalled":
            self.problems.append(str(parameters["args"]))
        elif method == "Log.entryAdded":
            self.problems.append(parameters["entry"]["text"])

    def call(self, method, **parameters):
        self.count += 1
        command = {"id": self.count, "method": method, "params": parameters}
        if self.session:
            command["sessionId"] = self.session
        self.commands.write(json.dumps(command).encode() + b"\0")
        while True:
            message = self.message()
            if message.get("id") != self.count:
                self.note(message.get("method"), message.get("params"))
            elif "error" in message:
                raise SystemExit(f"{method}: {message['error']['message']}")
            else:
                return message["result"]

    def open(self, path):
        self.has_loaded, self.requests, self.problems = False, [], []
        self.call("Page.navigate", url=f"file://{os.path.abspath(path)}")
        while not self.has_loaded:
            message = self.message()
            self.note(message.get("method"), message.get("params"))
        self.settle()

    def value(self, expression):
        result = self.call("Runtime.evaluate", expression=expression, returnByValue=True, awaitPromise=True)
        if "exceptionDetails" in result:
            raise SystemExit(f"{expression}: {result['exceptionDetails']['exception']['description']}")
        return result["result"].get("value")

    def settle(self):
        """Waits until the last change is painted."""
        self.value("new Promise(done => requestAnimationFrame(() => requestAnimationFrame(() => done())))")

    def press(self, key, shift=False):
        codes = {"Enter": 13, "Tab": 9, "Home": 36, "End": 35, "ArrowLeft": 37, "ArrowUp": 38, "ArrowRight": 39,
                 "ArrowDown": 40}
        common = {"key": key, "modifiers": 8 if shift else 0,
                  "windowsVirtualKeyCode": codes.get(key, ord(key[0].upper()))}
        text = {"Enter": "\r"}.get(key, key if len(key) == 1 else "")
        self.call("Input.dispatchKeyEvent", type="keyDown" if text else "rawKeyDown", text=text, **common)
        self.call("Input.dispatchKeyEvent", type="keyUp", **common)
        self.settle()

    def type(self, text):
        self.call("Input.insertText", text=text)
        self.settle()

    def mouse(self, kind, x, y, **more):
        self.call("Input.dispatchMouseEvent", type=kind, x=x, y=y, **more)

    def drag(self, start, end):
        self.mouse("mouseMoved", *start)
        self.mouse("mousePressed", *start, button="left", buttons=1, clickCount=1)
        self.mouse("mouseMoved", *end, button="left", buttons=1)
        self.mouse("mouseReleased", *end, button="left", clickCount=1)
        self.settle()

    def click(self, x, y, count=1):
        self.mouse("mouseMoved", x, y)
        for number in range(1, count + 1):
            self.mouse("mousePressed", x, y, button="left", buttons=1, clickCount=number)
            self.mouse("mouseReleased", x, y, button="left", clickCount=number)
        self.settle()

    def wheel(self, x, y, distance):
        self.mouse("mouseWheel", x, y, deltaX=0, deltaY=distance)
        self.settle()

    def picture(self, path):
        with open(path, "wb") as file:
            file.write(base64.b64decode(self.call("Page.captureScreenshot")["data"]))
