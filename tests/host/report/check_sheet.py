#!/usr/bin/env python3
"""Loads contact sheets in a browser, uses them as people do, and compares what is shown.

usage: check_sheet.py TEST MAKER BROWSER FOLDER
  TEST     the name of a function below
  MAKER    the program that writes sheets
  BROWSER  Chromium; empty where there is none
  FOLDER   an empty folder of the test's own is made here; pictures of the window stay in it
"""

import pathlib
import shutil
import subprocess
import sys
import urllib.parse

from browser import Browser

EVIL = ["<img src=x onerror=document.title='run'>.arw", "\"onmouseover=\"document.title='run'\" x=\".arw",
        "javascript:document.title='run'", "a#b?c%41 ä 'q'.arw"]
NAMES = """[...document.querySelectorAll('.card')].filter((one) => !one.hidden && !one.closest('.folder').hidden)
           .map((one) => one.dataset.name)"""
COUNT = "document.getElementById('shown').textContent"
FOCUSED = "document.activeElement.closest('.card')?.dataset.name"
CARD = "[...document.querySelectorAll('.card')].find((one) => one.dataset.name === %r)"

failures = []


def expect(text, found, wanted):
    if found != wanted:
        failures.append(f"{text}\n  is  {found!r}\n  not {wanted!r}")


class Sheet:
    """A sheet of that many files in a browser."""

    def __init__(self, maker, browser, folder, count):
        self.file = folder / "sheet.html"
        subprocess.run([maker, str(self.file), str(count)], check=True)
        self.browser = browser

    def open(self, fragment=""):
        self.browser.open(self.file.as_uri() + "#" + fragment)

    def names(self):
        return self.browser.value(NAMES)

    def is_quiet(self, what):
        """Nothing of a name was run, nothing was refused by the page's policy, nothing came from elsewhere."""
        expect(what + ": the title", self.browser.value("document.title"), "Recovered photographs")
        expect(what + ": elements from names",
               self.browser.value("document.querySelectorAll('img[src=x], [onerror], [onmouseover]').length"), 0)
        troubles = [one["params"] for one in self.browser.events
                    if one.get("method") in ("Log.entryAdded", "Runtime.exceptionThrown")]
        expect(what + ": troubles", troubles, [])
        beyond = [one for one in self.browser.requests() if not one.startswith(self.file.parent.as_uri())]
        expect(what + ": asked for", beyond, [])


def images(*numbers):
    return [f"IMG_{number}.ARW" for number in numbers]


def sorts_and_filters(maker, browser, folder):
    sheet = Sheet(maker, browser, folder, 16)
    for fragment, names, count in (
            ("verdict=partial&sort=name", images(11, 19), "2 of 16 shown"),
            ("verdict=partial&sort=rows", images(11, 19), "2 of 16 shown"),
            ("verdict=whole,partial&sort=rows", images(9, 10, 12, 14, 17, 18, 20, 22, 11, 19), "10 of 16 shown"),
            ("verdict=partial,preview-only&sort=size", images(21, 19, 13, 11), "4 of 16 shown"),
            ("verdict=not-repaired", [*images(15), EVIL[0], *images(23), EVIL[1]], "4 of 16 shown"),
            ("find=img_1&sort=verdict", images(10, 12, 14, 17, 18, 11, 19, 13, 15), "9 of 16 shown"),
            ("find=dcim/100/img_1&sort=size", images(19, 18, 17, 14, 13, 12, 11, 10, 15), "9 of 16 shown"),
            ("sort=name&find=IMG_9", images(9), "1 of 16 shown"),
            ("find=nothing", [], "0 of 16 shown"),
            ("verdict=unheard&sort=of&view=wide", images(9, 10, 11, 12, 13, 14, 15) + [EVIL[0]]
             + images(17, 18, 19, 20, 21, 22, 23) + [EVIL[1]], "all 16 shown")):
        sheet.open(fragment)
        expect(fragment, sheet.names(), names)
        expect(fragment, browser.value(COUNT), count)
        sheet.is_quiet(fragment)
    sheet.open()
    browser.value("document.querySelector('.tile.partial').click()")
    expect("after a click", sheet.names(), images(11, 19))
    expect("after a click", browser.value("document.querySelector('.tile.partial').ariaPressed"), "true")
    expect("after a click", browser.value("document.querySelector('.part').textContent"), "2 of 16 shown")
    browser.value("(() => { const find = document.getElementById('find'); find.value = '19';"
                  " find.dispatchEvent(new Event('input')); })()")
    expect("typed", sheet.names(), images(19))
    expect("typed", browser.value("location.hash"), "#verdict=partial&find=19")


def remembers_the_view(maker, browser, folder):
    sheet = Sheet(maker, browser, folder, 16)
    compact = "document.body.classList.contains('compact')"
    sheet.open()
    expect("a few files", browser.value(compact), False)
    browser.value("document.querySelector('[data-view=compact]').click()")
    expect("switched", browser.value(compact), True)
    expect("switched", browser.value("location.hash"), "#view=compact")
    sheet.open()
    expect("opened again", browser.value(compact), True)
    sheet.open("view=large")
    expect("asked for", browser.value(compact), False)


def shows_names_as_they_are(maker, browser, folder):
    sheet = Sheet(maker, browser, folder, 32)
    sheet.open()
    for name in EVIL:
        card = CARD % name
        expect(name, browser.value(card + ".querySelector('h3').textContent"), name)
        wanted = (folder / "card/DCIM/100").as_uri() + "/" + urllib.parse.quote(name, safe="")
        link = browser.value(f"[...({card}).querySelectorAll('a')].at(-1).href")
        expect(name + ": link", urllib.parse.unquote(link), urllib.parse.unquote(wanted))
        expect(name + ": link", urllib.parse.urlsplit(link)[3:], ("", ""))
        browser.value(card + ".querySelector('.mount').click()")
        expect(name + ", large", browser.value("document.getElementById('viewed').textContent"), name)
        browser.key("Escape")
    sheet.is_quiet("names")
    # The policy holds although the page has texts of others in it.
    browser.value("""(() => { const box = document.createElement('div'); document.body.append(box);
        box.innerHTML = '<img src=x onerror="document.title=1"><p onclick="document.title=2" style="color:red">';
        box.lastChild.click(); })()""")
    browser.settle()
    expect("after markup was put in", browser.value("document.title"), "Recovered photographs")


def is_used_with_the_keyboard(maker, browser, folder):
    sheet = Sheet(maker, browser, folder, 32)
    browser.window(1280, 900)
    sheet.open("view=large")
    columns = browser.value("getComputedStyle(document.querySelector('.sheet')).gridTemplateColumns.split(' ').length")
    expect("columns", columns, 3)
    expect("ways in with Tab", browser.value("document.querySelectorAll('.mount[tabindex=\"0\"]').length"), 1)
    browser.value("document.querySelector('.folder summary').focus()")
    browser.key("Tab")
    for key, name in (("", "IMG_9.ARW"), ("ArrowRight", "IMG_10.ARW"), ("ArrowDown", "IMG_13.ARW"),
                      ("ArrowLeft", "IMG_12.ARW"), ("ArrowUp", "IMG_9.ARW"), ("ArrowUp", "IMG_9.ARW"),
                      ("ArrowLeft", "IMG_9.ARW"), ("End", EVIL[3]), ("ArrowRight", EVIL[3]), ("Home", "IMG_9.ARW"),
                      ("ArrowRight", "IMG_10.ARW"), ("ArrowRight", "IMG_11.ARW")):
        if key:
            browser.key(key)
        expect("focus after " + key, browser.value(FOCUSED), name)
    expect("outline", browser.value("getComputedStyle(document.activeElement).outlineStyle"), "solid")
    browser.picture(folder / "focus.png")
    browser.key("Enter")
    viewed = "document.querySelector('.viewer').open && document.getElementById('viewed').textContent"
    expect("after Enter", browser.value(viewed), "IMG_11.ARW")
    browser.settle()
    figures = "[...document.querySelectorAll('.figures figure')].map((one) => [one.textContent, one.querySelector('img').naturalWidth])"
    repaired, inside, sample = "Repaired photograph", "JPEG from inside the damaged file", "Sample: another photograph"
    expect("large", browser.value(figures), [[repaired, 480], [inside, 480], [sample, 480]])
    expect("lost areas", browser.value("document.querySelectorAll('.figures figure:first-child rect.lost').length"), 2)
    expect("link", browser.value("document.querySelector('.about a.jpeg').href"),
           (folder / "out/IMG_11.salvaged.jpg").as_uri())
    browser.key("ArrowRight")
    expect("after ArrowRight", browser.value(viewed), "IMG_12.ARW")
    (folder / "out/IMG_13.salvaged.jpg").unlink()
    browser.key("ArrowRight")
    browser.settle()
    expect("a preview alone, its file is gone", browser.value(figures), [[inside, 480]])
    browser.key("ArrowRight")
    browser.key("ArrowRight")
    expect("nothing", browser.value("document.querySelector('.figures').textContent"), "No picture was recovered")
    browser.key("Escape")
    browser.settle()
    expect("after Escape", browser.value(viewed), False)
    expect("focus after Escape", browser.value(FOCUSED), "IMG_15.ARW")
    browser.value((CARD % "IMG_21.ARW") + ".querySelector('.mount').click()")
    browser.settle()
    expect("a preview alone", browser.value(figures), [[inside, 480]])
    expect("from its file", browser.value("document.querySelector('.figures img').src"),
           (folder / "out/IMG_21.salvaged.jpg").as_uri())


def speaks_to_screen_readers(maker, browser, folder):
    sheet = Sheet(maker, browser, folder, 16)
    sheet.open("view=compact")
    browser.call("Accessibility.enable")
    tree = []

    def named(role):
        return [one.get("name", {}).get("value") for one in tree
                if one.get("role", {}).get("value") == role and not one.get("ignored")]

    for _ in range(200): # The browser makes its tree in steps.
        browser.settle()
        tree = browser.call("Accessibility.getFullAXTree")["nodes"]
        if "IMG_15.ARW" in named("heading"):
            break
    for role, name in (("button", "Show IMG_9.ARW, whole, large"), ("button", "Show IMG_15.ARW, lost, large"),
                       ("searchbox", "Find"), ("combobox", "Sort by"), ("heading", "card/DCIM/100"),
                       ("heading", "IMG_11.ARW"), ("button", "Compact"), ("main", "Files"), ("group", "View")):
        expect(f"{role} {name}", name in named(role), True)
    unnamed = [role for role in ("button", "link", "searchbox", "combobox", "heading") if not all(named(role))]
    expect("without a name", unnamed, [])


def shows_thousands_of_files_at_once(maker, browser, folder):
    """Usable: the script is ready and two frames were drawn. While other work slows the machine down, the time that
    the page has the processor counts."""
    sheet = Sheet(maker, browser, folder, 5000)
    expect("below 20 MB", sheet.file.stat().st_size < 20_000_000, True)
    expect("pictures beside the page", len(list((folder / "sheet_files").iterdir())), 4375 - 4)
    browser.window(1280, 900)
    browser.call("Performance.enable", timeDomain="threadTicks")
    sheet.open("view=compact")
    drawn = browser.value("""new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(() =>
        done(performance.now()))))""")
    ready = browser.value("performance.getEntriesByName('ready')[0].startTime")
    metrics = browser.call("Performance.getMetrics")["metrics"]
    work = 1000 * next(one["value"] for one in metrics if one["name"] == "ThreadTime")
    print(f"ready after {ready:.0f} ms, drawn after {drawn:.0f} ms; {work:.0f} ms of the processor")
    expect("usable within two seconds", min(work, drawn) < 2000, True)
    browser.until("a picture", "document.querySelector('.mount img') !== null")
    browser.settle()
    expect("count", browser.value(COUNT), "all 5000 shown")
    asked = len(browser.requests())
    expect(f"pictures out of sight wait ({asked} asked for)", 10 < asked < 500, True)
    expect("entries out of sight wait", browser.value("document.querySelectorAll('.mount').length") < 500, True)
    expect("pictures are shown", browser.value("document.querySelector('.mount img').naturalWidth"), 480)
    sheet.is_quiet("thousands")
    browser.value("document.querySelector('.tile.partial').click()")
    expect("partial", browser.value(COUNT), "625 of 5000 shown")
    browser.until("the first of them", "document.querySelector('.card.partial .mount') !== null")
    expect("first of them", browser.value("document.querySelectorAll('.card.partial')[0].querySelector('h3').textContent"),
           "IMG_11.ARW")
    browser.value("document.querySelector('.card.partial .mount').focus()")
    browser.key("End")
    browser.until("the last of them", "document.activeElement.querySelector('img') !== null")
    browser.settle()
    expect("last of them", browser.value(FOCUSED), "IMG_5003.ARW")
    expect("it has come", browser.value("document.activeElement.querySelector('img').naturalWidth > 0"), True)
    browser.key("Enter")
    browser.settle()
    expect("sample", browser.value("[...document.querySelectorAll('.figures img')].at(-1).naturalWidth"), 480)
    sheet.is_quiet("at the end")


def fits_every_window(maker, browser, folder):
    """Leaves pictures of all views, for people to look at."""
    sheet = Sheet(maker, browser, folder, 300)
    for width, height in ((1280, 900), (360, 740)):
        for scheme in ("light", "dark"):
            browser.window(width, height, scheme)
            for view in ("large", "compact", "viewer"):
                sheet.open("view=" + view.replace("viewer", "large"))
                browser.until("the entries", "document.querySelectorAll('.mount').length > 2")
                if view == "viewer":
                    browser.value("document.querySelectorAll('.mount')[2].click()")
                elif width < 1280:
                    browser.value("document.querySelector('.sheet').scrollIntoView()")
                browser.picture(folder / f"{view}-{width}-{scheme}.png")
                expect(f"{view}, {width}: wider than the window",
                       browser.value("document.documentElement.scrollWidth <= innerWidth"), True)
            page = browser.value("getComputedStyle(document.body).backgroundColor")
            expect(scheme, page, {"light": "rgb(244, 243, 240)", "dark": "rgb(21, 23, 26)"}[scheme])


def main():
    test, maker, program, folder = sys.argv[1:]
    if not program:
        print("SKIP: needs Chromium")
        return 0
    place = pathlib.Path(folder)
    shutil.rmtree(place, ignore_errors=True)
    place.mkdir(parents=True)
    with Browser(program) as browser:
        globals()[test](maker, browser, place)
    for failure in failures:
        print(failure)
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
