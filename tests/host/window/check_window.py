#!/usr/bin/env python3
"""Uses the window of the program in a browser, as people do, and compares what is shown and what is on the disk.

usage: check_window.py TEST MAKER PROGRAM BROWSER FOLDER
  TEST     the name of a function below
  MAKER    the program that writes photographs
  PROGRAM  plate-mend
  BROWSER  Chromium; empty where there is none
  FOLDER   an empty folder of the test's own is made here

With PLATE_MEND_PICTURES=DIR, the pictures for the documentation are written there.
"""

import base64
import json
import os
import pathlib
import re
import shutil
import signal
import subprocess
import sys
import time

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent / "report"))
from browser import Browser  # noqa: E402

EVIL = "<img src=x onerror=document.title='run'>.arw"
ROWS = "[...document.querySelectorAll('#list .row')]"


def expect(what, found, wanted):
    if found != wanted:
        raise SystemExit(f"{what}: {found!r} instead of {wanted!r}")


class Window:
    """The program with photographs, and a page of it."""

    def __init__(self, maker, program, browser, folder, count, chosen=""):
        self.folder, self.browser, self.program = folder, browser, program
        subprocess.run([maker, folder, str(count)], check=True)
        self.environment = dict(os.environ, HOME=str(folder), TMPDIR=str(folder / "tmp"))
        self.environment.pop("DISPLAY", None)
        (folder / "tmp").mkdir()
        self.process = subprocess.Popen(
            [program, "open", "--no-browser", *([chosen] if chosen else [])], stdout=subprocess.PIPE, text=True,
            env=self.environment)
        self.address = re.search(r"http://\S+", self.process.stdout.readline()).group(0)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        if self.process.poll() is None:
            self.process.kill()
        self.process.wait()

    def open(self):
        self.browser.open(self.address)
        self.until("the state", "!document.querySelector('.choose').disabled")

    def until(self, what, condition, seconds=90):
        return self.browser.until(what, condition, seconds, str(self.folder / "failed.png"))

    def click(self, selector):
        self.browser.value(f"document.querySelector({selector!r}).click()")

    def text(self, selector):
        return self.browser.value(f"document.querySelector({selector!r}).textContent")

    def choose(self, what, path):
        """Types the path of a folder in the dialog."""
        self.click(f".folder[data-what={what}] .choose")
        self.until("the dialog", "document.querySelector('#chooser').open")
        self.browser.value(f"document.querySelector('#typed').value = {json.dumps(str(path))}")
        self.click("#chosen")
        self.until("the folder", f"document.querySelector('#{what}-path').textContent === {json.dumps(str(path))}")

    def choose_all(self):
        self.choose("damaged", self.folder / "card")
        self.choose("samples", self.folder / "good")
        self.choose("out", self.folder / "mended")
        self.until("the recognition", "!document.querySelector('#start').disabled"
                   " && document.querySelector('#recognised-state').textContent === ''")

    def run(self):
        self.click("#start")
        self.until("the end", "!document.querySelector('#after').hidden"
                   " && document.querySelector('#start').textContent === 'Run again'", 240)

    def names(self):
        return self.browser.value(ROWS + ".map((one) => one.querySelector('.name').textContent)")

    def picture(self, name):
        self.browser.picture(str(self.folder / (name + ".png")))
        if "PLATE_MEND_PICTURES" in os.environ:
            data = self.browser.call("Page.captureScreenshot", format="jpeg", quality=82)["data"]
            pathlib.Path(os.environ["PLATE_MEND_PICTURES"], f"window-{name}.jpg").write_bytes(base64.b64decode(data))

    def is_quiet(self, what):
        """Nothing was reported, refused or run, and nothing was asked of anybody else."""
        self.browser.settle()
        expect(what + ": title", "run" in self.browser.value("document.title"), False)
        foreign = [one for one in self.browser.requests()
                   if not one.startswith(self.address.split("?")[0]) and one != "about:blank"]
        expect(what + ": requests", foreign, [])
        reports = [one["params"]["entry"]["text"] for one in self.browser.events if one.get("method") == "Log.entryAdded"
                   and "404" not in one["params"]["entry"]["text"]]
        expect(what + ": reports", reports, [])

    def command(self, *arguments):
        return subprocess.run([self.program, *arguments], env=self.environment, capture_output=True, text=True,
                              check=False)

    def records(self):
        lines = (self.folder / "mended/.plate-mend/run/records.jsonl").read_text().splitlines()
        return [json.loads(one) for one in lines]

    def has_ended(self, status):
        expect("exit status", self.process.wait(30), status)
        left = subprocess.run(["pgrep", "-f", f"{self.program} worker"], capture_output=True, text=True, check=False)
        mine = [one for one in left.stdout.split() if str(self.folder) in
                pathlib.Path(f"/proc/{one}/cmdline").read_text()]
        expect("workers", mine, [])


def does_a_whole_run(maker, program, browser, folder):
    with Window(maker, program, browser, folder, 8) as window:
        browser.window(1280, 900)
        window.open()
        window.picture("start")
        # The list of folders, with the keyboard.
        window.click(".folder[data-what=damaged] .choose")
        window.until("the dialog", "document.querySelector('#chooser').open")
        window.until("the folders", "document.querySelectorAll('#tree button').length > 2")
        shown = browser.value("[...document.querySelectorAll('#tree button')].map((one) => one.textContent)")
        expect("folders", shown, ["↑ Folder above", "card", "good", "tmp"])
        browser.value("document.querySelectorAll('#tree button')[1].focus()")
        browser.key("Enter")
        window.until("the folder", f"document.querySelector('#typed').value === {json.dumps(str(folder / 'card'))}")
        browser.value("document.querySelector('#typed').focus()")
        browser.key("Enter")
        window.until("the choice", f"document.querySelector('#damaged-path').textContent === {json.dumps(str(folder / 'card'))}")
        expect("proposal", window.text("#out-path"), str(folder / "card repaired"))
        window.choose_all()
        window.picture("recognised")
        known = browser.value("[...document.querySelectorAll('#known div')].map((one) => one.innerText.replace(/\\s+/g, ' '))")
        expect("recognised", known[0], "Broken photographs, by kind 7 ARW, 1 DNG")
        expect("samples", known[2].startswith("2 samples "), True)
        expect("fits", known[3], "First choice of sample 7 IMG_0007.ARW, 1 IMG_0009.DNG")
        expect("room", re.fullmatch(r"Room About [0-9.]+ MB needed, at most, on the disk of .*, working files included;"
                                    r" [0-9.]+ .B free", known[4]) is not None, True)
        expect("warnings", browser.value("[...document.querySelectorAll('#room, #kept')].map((one) => one.hidden)"),
               [True, True])
        window.run()
        window.picture("done")
        expect("summary", window.text("#summary li"), "8 files: 4 whole, 3 partly there, 1 lost")
        for name in ("IMG_0001.ARW", EVIL, "IMG_0004.ARW"):
            expect(name, (folder / "mended" / name).exists(), True)
        # By verdict.
        window.click("#filters .partial")
        window.until("the filter", "document.querySelector('#shown').textContent === '3 shown'")
        window.until("the rows", ROWS + ".length === 3")
        expect("partial", window.names(), ["IMG_0004.ARW", "IMG_0005.DNG", "IMG_0008.ARW"])
        # Large, with its preview and its sample.
        browser.value("(() => { const row = " + ROWS + "[1]; row.focus(); row.click(); })()")
        window.until("the view", "document.querySelector('#viewer').open")
        expect("viewed", window.text("#viewed"), "IMG_0005.DNG")
        expect("lost areas", browser.value("[...document.querySelectorAll('#areas rect.lost')].map((one) =>"
                                           " ['x', 'y', 'width', 'height'].map((name) => one.getAttribute(name)).join())"),
               ["320,256,160,128"])
        window.click("#show-areas")
        expect("without areas", browser.value("getComputedStyle(document.querySelector('#areas')).display"), "none")
        window.click("#show-areas")
        expect("sample", browser.value("document.querySelector('#against [value=sample]').disabled"), False)
        window.click("#against [value=sample]")
        window.until("the sample", "document.querySelector('#other').naturalWidth > 0"
                     " && document.querySelector('#stage.compares') !== null")
        browser.value("(() => { const slide = document.querySelector('#slide'); slide.focus(); })()")
        browser.key("ArrowRight")
        expect("boundary", browser.value("document.querySelector('#stage').style.getPropertyValue('--at')"), "51%")
        browser.value("(() => { const slide = document.querySelector('#slide'); slide.value = '28';"
                      " slide.dispatchEvent(new Event('input')); })()")
        expect("on top", browser.value("""(() => { const box = document.querySelector('#areas rect').getBoundingClientRect();
            return document.querySelector('#areas').compareDocumentPosition(document.querySelector('.other'))
                === Node.DOCUMENT_POSITION_FOLLOWING && box.width > 0; })()"""), True)
        window.picture("compare")
        window.click("#against [value=preview]")
        window.until("the preview", "document.querySelector('#compare-note').textContent === ''"
                     " || document.querySelector('#compare-note').textContent === 'There is no such picture.'")
        window.click("#next")
        window.until("the next one", "document.querySelector('#viewed').textContent === 'IMG_0008.ARW'")
        browser.key("Escape")
        window.until("the list", "!document.querySelector('#viewer').open")
        # The contact sheet.
        window.click("#save-sheet")
        window.until("the sheet", "document.querySelector('#sheet-note').textContent.startsWith('Saved: ')")
        sheet = (folder / "mended/contact-sheet.html").read_text()
        expect("sheet", sheet.count('<li class="card '), 8)
        window.click("#save-sheet")
        window.until("the sheet again", "!document.querySelector('#save-sheet').disabled")
        expect("problem", browser.value("document.querySelector('#problem').hidden"), True)
        window.is_quiet("a whole run")
        # The command line goes on with it.
        again = window.command("repair", str(folder / "card"), "--samples", str(folder / "good"), "--out",
                               str(folder / "mended"), "--resume", "--json", "-")
        expect("files that are done again", [json.loads(one)["damaged"]["path"].rsplit("/")[-1]
                                             for one in again.stdout.splitlines()], ["IMG_0003.ARW"])
        window.click("#quit")
        window.until("the end", "!document.querySelector('#ended').hidden")
        window.has_ended(0)
        expect("temporary files", list((folder / "tmp").iterdir()), [])


def stops_and_goes_on(maker, program, browser, folder):
    with Window(maker, program, browser, folder, 60) as window:
        browser.window(1280, 900)
        (folder / "card/list.txt").write_text("no photograph")
        window.open()
        window.choose_all()
        window.click("#start")
        window.until("some files with their pictures and verdicts",
                     "document.querySelectorAll('#list .whole .mount img').length >= 2"
                     " && document.querySelector('#progress').value >= 3")
        window.picture("running")
        window.click("#stop")
        window.until("the stop", "!document.querySelector('#after').hidden")
        expect("button", window.text("#start"), "Go on")
        expect("text", window.text("#run-text").startswith("Stopped after "), True)
        expect("notes", browser.value("document.querySelector('#notes').open"), True)
        expect("note", "1 .txt" in window.text("#notes li"), True)
        done = browser.value("document.querySelector('#progress').value")
        if not 3 <= done < 60:
            raise SystemExit(f"{done} of 60 files were done")
        expect("hint", browser.value("document.querySelector('#again').hidden"), True)
        window.picture("stopped")
        before = len(window.records())
        window.run()
        expect("summary", window.text("#summary li"), "60 files: 43 whole, 16 partly there, 1 lost")
        after = {one["damaged"]["path"] for one in window.records() if "damaged" in one}
        expect("recorded", len(after), 59)
        if len(window.records()) - before >= 59 * 2:
            raise SystemExit("files were done again")
        # Ctrl-C while another run is under way.
        shutil.rmtree(folder / "mended")
        window.click("#start")
        window.until("some files", "document.querySelector('#progress').value >= 2"
                     " && document.querySelector('#progress').value < 50")
        window.process.send_signal(signal.SIGINT)
        window.has_ended(130)
        window.until("the end on the page", "!document.querySelector('#ended').hidden")


def takes_dropped_folders(maker, program, browser, folder):
    with Window(maker, program, browser, folder, 2) as window:
        # Other folders of this machine may have the same photographs, but not this name.
        name = f"card {time.time_ns()}"
        (folder / "card").rename(folder / name)
        browser.window(1280, 900)
        window.open()
        damaged = ".folder[data-what=damaged]"
        browser.drop(folder / name, damaged)
        window.until("the folder", f"document.querySelector('#damaged-path').textContent === {json.dumps(str(folder / name))}")
        expect("hint", window.text("#drop-note"), "")
        # Two that are alike: the user is asked.
        shutil.copytree(folder / "good", folder / "one" / name)
        shutil.copytree(folder / "good", folder / "two" / name)
        browser.drop(folder / "two" / name, ".folder[data-what=samples]")
        window.until("the question", "document.querySelector('#chooser').open")
        shown = browser.value("[...document.querySelectorAll('#tree button')].map((one) => one.textContent)")
        expect("folders", sorted(shown), [str(folder / "one" / name), str(folder / "two" / name)])
        expect("button", browser.value("document.querySelector('#chosen').hidden"), True)
        browser.value(f"document.querySelectorAll('#tree button')[{shown.index(str(folder / 'two' / name))}].click()")
        window.until("the samples",
                     f"document.querySelector('#samples-path').textContent === {json.dumps(str(folder / 'two' / name))}")
        # What cannot be found, and what is no folder.
        (folder / ".hidden").mkdir()
        shutil.copytree(folder / "good", folder / ".hidden" / (name + " too"))
        browser.drop(folder / ".hidden" / (name + " too"), damaged)
        window.until("the hint", "document.querySelector('#drop-note').textContent.includes('Choose it instead')")
        expect("no folder of that name", "no folder of this name" in window.text("#drop-note"), True)
        browser.drop(folder / "good" / "IMG_0007.ARW", damaged)
        window.until("the hint", "document.querySelector('#drop-note').textContent.startsWith('Only a folder ')")
        expect("chosen", window.text("#damaged-path"), str(folder / name))
        # What misses the panels does not replace the page.
        browser.value("""['dragover', 'drop'].forEach((kind) => window.addEventListener(kind, (event) => {
            document.body.dataset[kind] = event.defaultPrevented; }))""")
        browser.drop(folder / "good" / "IMG_0007.ARW", "h1")
        window.until("the drop", "document.body.dataset.drop === 'true' && document.body.dataset.dragover === 'true'")
        expect("page", browser.value("location.href"), window.address.split("?")[0])
        window.is_quiet("dropped folders")


def warns_before_a_run(maker, program, browser, folder):
    with Window(maker, program, browser, folder, 2) as window:
        browser.window(360, 720)
        os.truncate(folder / "good/IMG_0007.ARW", 1 << 42)  # A sample says how long a result may be.
        (folder / "mended").mkdir()
        (folder / "mended/IMG_0001.ARW").write_text("mine")
        window.open()
        window.choose_all()
        expect("too little room", browser.value("document.querySelector('#room').hidden"), False)
        expect("words", "free, which is too little" in window.text("#known"), True)
        expect("what stays", browser.value("document.querySelector('#kept').hidden"), False)
        browser.value("document.querySelector('#recognised').scrollIntoView()")
        window.picture("warnings")
        expect("room beside", browser.value("document.documentElement.scrollWidth <= innerWidth"), True)
        expect("start", browser.value("document.querySelector('#start').disabled"), False)
        # With the sample as it was, and in another folder, all is well.
        os.truncate(folder / "good/IMG_0007.ARW", 1 << 16)
        window.choose("out", folder / "others")
        window.until("the recognition anew", "(() => { const text = document.querySelector('#known').textContent;"
                     " return text.includes('Room') && !text.includes('too little'); })()")
        expect("warnings", browser.value("[...document.querySelectorAll('#room, #kept')].map((one) => one.hidden)"),
               [True, True])


def shows_thousands_of_files(maker, program, browser, folder):
    with Window(maker, program, browser, folder, 5000, str(folder / "card")) as window:
        browser.window(1280, 900)
        window.open()
        window.choose("samples", folder / "good")
        window.until("all files", "document.querySelector('#list').style.height === '420000px'")
        window.until("the recognition", "document.querySelector('#recognised-state').textContent === ''", 240)
        expect("rows", browser.value(ROWS + ".length < 60"), True)
        began = time.monotonic()
        browser.value("window.scrollTo(0, document.querySelector('#list').offsetTop + 84 * 4000)")
        window.until("rows far below", ROWS + ".some((one) => one.parentElement.ariaPosInSet === '4002')")
        print(f"rows after {time.monotonic() - began:.2f} s")
        expect("rows", browser.value(ROWS + ".length < 60"), True)
        browser.value("window.scrollTo(0, 0)")
        window.until("the first rows", ROWS + "[0].parentElement.ariaPosInSet === '1'")
        browser.value(ROWS + "[0].focus()")
        for key, place in (("ArrowDown", 2), ("ArrowDown", 3), ("End", 5000), ("ArrowUp", 4999), ("Home", 1)):
            browser.key(key)
            window.until(f"{place} with the focus",
                         f"document.activeElement.parentElement.ariaPosInSet === '{place}'")
        expect("size", browser.value("document.activeElement.parentElement.ariaSetSize"), "5000")
        window.is_quiet("5,000 files")


def shows_names_as_they_are(maker, program, browser, folder):
    with Window(maker, program, browser, folder, 2) as window:
        browser.window(360, 720, "dark")
        window.open()
        window.picture("narrow-start")
        window.choose_all()
        window.run()
        window.until("the verdicts", "document.querySelectorAll('#list .whole .mount img').length === 2")
        expect("names", sorted(window.names()), sorted([EVIL, "IMG_0001.ARW"]))
        expect("room beside", browser.value("document.documentElement.scrollWidth <= innerWidth"), True)
        browser.value("document.querySelector('#files').scrollIntoView()")
        window.picture("narrow")
        browser.value(ROWS + f".find((one) => one.querySelector('.name').textContent === {json.dumps(EVIL)}).click()")
        window.until("the view", "document.querySelector('#viewer').open")
        expect("viewed", window.text("#viewed"), EVIL)
        window.picture("narrow-viewer")
        expect("room beside", browser.value("document.documentElement.scrollWidth <= innerWidth"), True)
        browser.key("Escape")
        window.is_quiet("names")
        # The policy holds although the page has texts of others in it.
        browser.value("""(() => { const box = document.createElement('div'); document.body.append(box);
            box.innerHTML = '<img src=x onerror="document.title=1"><p onclick="document.title=2" style="color:red">x</p>';
            box.lastChild.click(); })()""")
        browser.settle()
        expect("after markup was put in", browser.value("document.title"), "plate-mend")
        expect("its style", browser.value("getComputedStyle(document.body.lastChild.lastChild).color"
                                          " === getComputedStyle(document.body).color"), True)


def refuses_a_wrong_token(maker, program, browser, folder):
    with Window(maker, program, browser, folder, 1) as window:
        place = window.address.split("?")[0]
        for address in (place, place + "?token=" + "0" * 64, place + "window.js"):
            browser.open(address)
            expect(address, browser.value("document.querySelector('main')"), None)
            expect(address, "plate-mend open" in browser.value("document.body.innerText"), True)
        window.open()
        expect("address", browser.value("location.href"), place)
        expect("cookie", browser.value("document.cookie"), "")
        # The same browser may use it again, another one may not.
        window.open()
        # A page from elsewhere: it is refused whatever it asks for.
        (folder / "page.html").write_text(
            f"<!DOCTYPE html><title>no</title><script>fetch('{place}quit', {{method: 'POST', mode: 'no-cors',"
            f" credentials: 'include'}}).finally(() => {{ document.title = 'asked'; }})</script>"
            f"<iframe src='{place}'></iframe>")
        browser.open((folder / "page.html").as_uri())
        window.until("the question", "document.title === 'asked'")
        expect("the program runs", window.process.poll(), None)
        browser.forget()
        browser.open(window.address)
        expect("another browser", browser.value("document.querySelector('main')"), None)


def speaks_to_screen_readers(maker, program, browser, folder):
    with Window(maker, program, browser, folder, 3) as window:
        browser.window(1280, 900)
        window.open()
        window.choose_all()
        window.run()
        window.until("the end said", "document.querySelector('#live').textContent.startsWith('Done: 3 files in ')")
        nodes = browser.call("Accessibility.getFullAXTree")["nodes"]
        said = [(one["role"]["value"], one.get("name", {}).get("value", "")) for one in nodes if not one["ignored"]]
        for role, name in (("main", ""), ("banner", ""), ("heading", "Folders"), ("heading", "Photographs"),
                           ("button", "Run again"), ("progressbar", "Repair"),
                           ("region", "Photographs"), ("list", "Photographs"), ("group", "Show")):
            if not any(one[0].lower() == role.lower() and (name == "" or one[1] == name) for one in said):
                raise SystemExit(f"{role} {name!r} is not among {sorted(set(said))}")
        unnamed = [one for one in said if one[0] in ("button", "checkbox", "radio", "slider", "textbox") and not one[1]]
        expect("without a name", unnamed, [])


def main():
    if len(sys.argv) != 6:
        raise SystemExit(__doc__)
    test, maker, program, browser, folder = sys.argv[1:]
    if not browser:
        print("SKIP: needs Chromium")
        return
    folder = pathlib.Path(folder)
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    with Browser(browser) as one:
        globals()[test](maker, program, one, folder)


if __name__ == "__main__":
    main()
