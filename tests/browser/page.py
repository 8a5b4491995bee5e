"""A headless Chromium with the page in it: what a user does, and what he sees.

Everything waits for a condition; nothing waits for a time."""
import json
import os
import shutil
import tempfile
import time
from pathlib import Path

from selenium import webdriver
from selenium.common.exceptions import StaleElementReferenceException
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.support.ui import Select

from command import ROOT
from witness import Witness

PAGE = Path(os.environ.get("VORIN_PAGE", ROOT / "build/web/vorin.html")).resolve()
LIMIT = float(os.environ.get("VORIN_BROWSER_LIMIT", 120))  # seconds; many times what any step takes

ARGUMENTS = (
    "--headless=new", "--no-sandbox",  # tests run as root in containers
    "--disable-gpu", "--disable-dev-shm-usage", "--window-size=1280,900", "--lang=en",
    "--no-first-run", "--disable-background-networking", "--disable-component-update",
    "--disable-default-apps", "--disable-extensions", "--disable-sync",
    "--proxy-bypass-list=<-loopback>", "about:blank",
)

# Runs ahead of the page's own scripts: keeps what must never happen.
RECORDER = """
window.recorded = { violations: [], errors: [] };
addEventListener("securitypolicyviolation", (event) =>
  recorded.violations.push(event.effectiveDirective + " " + event.blockedURI));
addEventListener("error", (event) => recorded.errors.push(String(event.message || event.target)), true);
addEventListener("unhandledrejection", (event) => recorded.errors.push(String(event.reason)));
"""


def tools():
    """Chromium and its driver, or None where one is missing."""
    found = shutil.which("chromium"), shutil.which("chromedriver")
    return found if all(found) else None


class Page:
    def __init__(self):
        chromium, chromedriver = tools()
        self.witness = Witness()
        self.folder = Path(tempfile.mkdtemp(prefix="vorin-browser-"))
        options = Options()
        options.binary_location = chromium
        for argument in ARGUMENTS:
            options.add_argument(argument)
        options.add_argument(f"--proxy-server=http://{self.witness.address}")
        options.add_argument(f"--user-data-dir={self.folder / 'profile'}")
        options.set_capability("goog:loggingPrefs", {"performance": "ALL", "browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service(chromedriver), options=options)
        self.driver.set_script_timeout(LIMIT)
        self.cdp("Page.addScriptToEvaluateOnNewDocument", source=RECORDER)
        self.cdp("Network.enable")
        self.requests = []
        self.dialogs = []

    def close(self):
        self.driver.quit()
        self.witness.close()
        shutil.rmtree(self.folder, ignore_errors=True)

    # -- the browser

    def cdp(self, method, **arguments):
        return self.driver.execute_cdp_cmd(method, arguments)

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def network(self, on):
        """Without it the browser itself counts as offline; with it all requests meet the witness."""
        self.cdp("Network.emulateNetworkConditions", offline=not on, latency=0, downloadThroughput=-1,
                 uploadThroughput=-1)

    def until(self, condition, what, limit=LIMIT):
        """The first true value of a condition."""
        end = time.monotonic() + limit
        while True:
            try:
                value = condition()
            except StaleElementReferenceException:  # drawn anew meanwhile
                value = None
            if value:
                return value
            assert time.monotonic() < end, f"{what}; the page: {self.state()!r}, {self.message()!r}"
            time.sleep(0.02)

    def look_at_log(self):
        """Collects what the browser has recorded since the last call."""
        for entry in self.driver.get_log("performance"):
            event = json.loads(entry["message"])["message"]
            if event["method"] == "Network.requestWillBeSent":
                self.requests.append(event["params"]["request"]["url"])
            elif event["method"] == "Page.javascriptDialogOpening":
                self.dialogs.append(event["params"]["message"])

    def recorded(self):
        return self.run("return window.recorded")

    def console_errors(self):
        return [entry["message"] for entry in self.driver.get_log("browser")
                if entry["level"] == "SEVERE"]

    # -- the page as a whole

    def open(self, fragment="", path=PAGE):
        """Opens the page anew."""
        self.driver.get("about:blank")  # else another fragment alone would not load it again
        self.driver.get(path.as_uri() + fragment)
        self.ready("the page opens")

    def state(self):
        return self.run("return document.documentElement.dataset.state")

    def ready(self, what):
        self.until(lambda: self.state() == "ready", what)

    def one(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector)

    def all(self, selector):
        return self.driver.find_elements(By.CSS_SELECTOR, selector)

    def text(self, selector):
        """The text of an element, shown or not."""
        return self.run("return document.querySelector(arguments[0])?.textContent ?? null", selector)

    def message(self):
        """The sentence that tells what is wrong, or none."""
        return self.run("const m = document.getElementById('message');"
                        "return !m || m.hidden ? '' : m.textContent.trim()")

    def click(self, selector):
        element = self.one(selector)
        self.run("arguments[0].scrollIntoView({block: 'center'})", element)
        element.click()

    def set(self, selector, value):
        """Chooses or types a value, as a user does; opens what hides the control."""
        element = self.one(selector)
        self.run("for (let e = arguments[0]; e; e = e.parentElement) if (e.tagName === 'DETAILS') "
                 "e.open = true; arguments[0].scrollIntoView({block: 'center'})", element)
        if element.tag_name == "select":
            next(option for option in Select(element).options
                 if option.get_property("value") == value).click()
        else:
            element.clear()
            element.send_keys(value, "\t")

    # -- data come in

    def decays(self):
        return self.all("#decays > li[data-id]")

    def arrived(self, count):
        self.until(lambda: len(self.decays()) >= count and self.state() == "ready", f"{count} decays read")

    def choose(self, *paths):
        self.one("#files").send_keys("\n".join(str(path) for path in paths))

    def drop(self, *paths):
        """Files from outside the browser, let go over the page."""
        box = self.run("const e = document.getElementById('drop'); e.scrollIntoView({block: 'center'});"
                       "const b = e.getBoundingClientRect(); return [b.x + b.width / 2, b.y + b.height / 2]")
        data = {"items": [], "files": [str(path) for path in paths], "dragOperationsMask": 1}
        for kind in ("dragEnter", "dragOver", "drop"):
            self.cdp("Input.dispatchDragEvent", type=kind, x=box[0], y=box[1], data=data)

    def paste(self, text):
        """Text of the clipboard, pasted with no control in focus."""
        self.run("const t = document.createElement('textarea'); t.id = 'clipboard'; t.value = arguments[0];"
                 "document.body.append(t); t.focus(); t.select()", text)
        self._edit("copy")
        self.run("document.getElementById('clipboard').remove(); document.activeElement.blur()")
        self._edit("paste")

    def _edit(self, command):
        for kind in ("keyDown", "keyUp"):
            self.cdp("Input.dispatchKeyEvent", type=kind, key="c", code="KeyC", modifiers=2,
                     commands=[command] if kind == "keyDown" else [])

    # -- inverting

    def invert(self):
        """Presses the button and waits for the results."""
        self.click("#run")
        self.finished("the inversion ends")
        assert not self.message(), self.message()

    def finished(self, what):
        """Nothing is left to do."""
        self.until(lambda: self.state() == "ready" and not self.one("#cancel").is_displayed() and
                   self.one("#run").is_enabled(), what)

    def results(self):
        """The table of results: an object for each row, numbers in full precision."""
        rows = self.run("""
          return [...document.querySelectorAll("#results tbody tr")].map((row) => Object.fromEntries(
            [...row.querySelectorAll("[data-field]")].map((cell) =>
              [cell.dataset.field, cell.dataset.value ?? cell.textContent])))""")
        return [{name: _number(value) for name, value in row.items()} for row in rows]

    # -- what is kept

    def kept(self, selector):
        """The file that a button gives, as its name and its bytes."""
        folder = Path(tempfile.mkdtemp(dir=self.folder))
        self.cdp("Browser.setDownloadBehavior", behavior="allow", downloadPath=str(folder))
        self.click(selector)

        def whole():
            files = list(folder.iterdir())
            return files[0] if len(files) == 1 and files[0].suffix != ".crdownload" else None
        path = self.until(whole, f"{selector} gives a file")
        return path.name, path.read_bytes()

    def kept_json(self, selector):
        return json.loads(self.kept(selector)[1])

    def screenshot(self, path):
        self.driver.save_screenshot(str(path))


def _number(text):
    try:
        return float(text)
    except ValueError:
        return text
