"""The page of the tool's server, in a browser."""

import base64
import os
import re
import select
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
import zipfile
from contextlib import suppress
from pathlib import Path

from book import BUILD, KAVEPUB, SOURCE, TESTS, ToolTest
from browser import Browser

PAGE = SOURCE / "hosts" / "serve" / "page"
AXE = next(BUILD.glob("npm/axe-core-*/package/axe.min.js"), None)
HAS_ENGINE = any(BUILD.glob("npm/epubjs-*")) and any(BUILD.glob("npm/jszip-*"))
NOVEL = "Chapter {n}\n\n" + "A sentence of the {n}. chapter, which tells of the sea. " * 300 + "\n\n"
ARROW_RIGHT, ESCAPE = "\ue014", "\ue00c"
HARM = "parent.harmed = top.harmed = true"
PICTURE = TESTS / "fixtures" / "mobi" / "source" / "map.png"
PASSWORD = "a long enough password"


def setUpModule():
    if not shutil.which("chromedriver"):
        print("There is no chromedriver.")
        sys.exit(77)


def novel(title, author, chapters=3):
    return f"{title}\n\nby {author}\n\n" + "".join(NOVEL.format(n=n + 1) for n in range(chapters))


class Server:
    """The tool's server, at a port of its own, with books of its own."""

    def __init__(self, store, *options):
        self.process = subprocess.Popen([KAVEPUB, "serve", "--port", "0", "--store", store, *options],
                                        text=True, stdout=subprocess.PIPE)
        self.url = re.search(r"http://\S+", self.process.stdout.readline())[0]

    def leaves(self):
        """The processes below it that have none below them."""
        def below(pid):
            found = []
            for children in Path(f"/proc/{pid}/task").glob("*/children"):
                with suppress(OSError):  # its thread may end meanwhile
                    found += children.read_text().split()
            return {leaf for child in found for leaf in below(child)} or {int(pid)}
        return below(self.process.pid)

    def close(self):
        self.process.terminate()
        self.process.wait(timeout=20)
        self.process.stdout.close()


class Page(ToolTest):
    """One browser for all, as it takes longer to come up than to do anything."""

    @classmethod
    def setUpClass(cls):
        directory = tempfile.TemporaryDirectory(ignore_cleanup_errors=True)
        cls.addClassCleanup(directory.cleanup)
        cls.place = Path(directory.name)
        cls.server = Server(cls.place / "server")
        cls.addClassCleanup(cls.server.close)
        cls.browser = Browser(cls.place / "profile")
        cls.addClassCleanup(cls.browser.close)

    def setUp(self):
        super().setUp()
        self.browser.look()
        self.browser.speak("en")
        self.visit(self.server.url)

    def visit(self, url):
        self.browser.open(url)
        self.browser.until("return !document.querySelector('#room').hidden ||"
                           "       !document.querySelector('#login').hidden")

    def tearDown(self):
        self.browser.enter()
        self.browser.run("return fetch('/books', {method: 'DELETE'})")

    def row(self, title, state):
        """The selector of a book, when it is so far."""
        self.browser.until("return [...document.querySelectorAll('.book')].some(row => row.dataset.state"
                           " === arguments[1] && row.querySelector('h3').textContent === arguments[0])",
                           title, state)
        return self.browser.run("const row = [...document.querySelectorAll('.book')].find(row => row."
                                "querySelector('h3').textContent === arguments[0]);"
                                "return `.book[data-id='${row.dataset.id}']`", title)

    def text(self, selector):
        return self.browser.run("return document.querySelector(arguments[0]).textContent", selector)

    def check_access(self, state, **looks):
        """What axe finds wrong with what is shown, in all looks."""
        if not AXE:
            print(f"Without axe-core: {state} is not checked")
            return
        if not self.browser.run("return window.axe !== undefined"):
            self.browser.run(AXE.read_text())
        for look in [{}, {"theme": "dark"}, {"width": 360, "height": 740}]:
            # Colours are looked at when they have come to rest.
            self.browser.look(motion="reduce", **look)
            found = self.browser.run("return axe.run(document, {iframes: false, resultTypes: ['violations']})"
                                     ".then(({violations}) => violations.flatMap(({id, nodes}) =>"
                                     "  nodes.map(({html, failureSummary}) => [id, html, failureSummary])))")
            self.assertEqual(found, [], f"{state}, {look}")
        self.browser.look()

    def download(self, selector):
        """The file that a link leaves."""
        self.browser.command("Browser.setDownloadBehavior", behavior="allow",
                             downloadPath=str(self.dir / "downloads"), eventsEnabled=False)
        self.browser.click(selector)
        return self.browser.wait_for(self.downloaded)

    def downloaded(self):
        """The file that was downloaded: its name may be there, empty, while its bytes come under another."""
        files = list((self.dir / "downloads").glob("*")) if (self.dir / "downloads").exists() else []
        whole = len(files) == 1 and files[0].suffix in (".epub", ".zip") and files[0].stat().st_size
        return files[0] if whole else None

    def check_download(self, row, expected):
        made = self.download(row + " [data-doing=download]")
        self.assertEqual(made.read_bytes(), expected.read_bytes())
        made.unlink()

    def bring(self, title, author):
        self.write(title + ".txt", content=novel(title, author).encode())
        self.browser.type("#files", str(self.dir / (title + ".txt")))
        return self.row(title, "done")

    def test_books_are_made_of_what_is_dropped(self):
        self.check_access("empty")
        for name in ("Tides", "Dunes"):
            self.write(name + ".txt", content=novel(name, "Ada North").encode())
        self.browser.drop("#drop", self.dir / "Tides.txt", self.dir / "Dunes.txt")
        self.row("Dunes", "done")
        self.write("Harbour.html", content=b"<title>The Harbour</title><h1>The Harbour</h1>"
                   b"<img src='Harbour_files/map.png' alt='a map'><p>Boats.")
        shutil.copytree(TESTS / "fixtures" / "mobi" / "source", self.dir / "Harbour_files")
        self.browser.drop("#drop", self.dir / "Harbour.html", self.dir / "Harbour_files")
        harbour = self.download(self.row("The Harbour", "done") + " [data-doing=download]")
        with zipfile.ZipFile(harbour) as book:
            self.assertTrue(any(name.endswith(".png") for name in book.namelist()))
        harbour.unlink()
        self.browser.drop("#drop", TESTS / "fixtures" / "mobi" / "lighthouse.mobi")
        self.browser.until("return document.querySelectorAll('[data-state=done]').length === 4")
        self.write("bad.mobi", content=b"This is none.")
        self.browser.drop("#drop", self.dir / "bad.mobi")
        self.assertIn("MOBI", self.text(self.row("bad.mobi", "failed") + " .why"))
        self.assertIn("No book was made", self.text("#said"))
        with open(self.dir / "huge.txt", "wb") as huge:
            huge.truncate(1 << 30)
        self.browser.drop("#drop", self.dir / "huge.txt")
        self.assertIn("larger than what is taken here: 537", self.text(self.row("huge.txt", "refused") + " .why"))
        self.check_access("done, failed and refused")
        self.browser.open(self.server.url)  # a page that is closed loses nothing
        self.browser.until("return document.querySelectorAll('[data-state=done]').length === 4")
        with zipfile.ZipFile(self.download("#download-all")) as books:
            self.assertEqual(len(books.namelist()), 4)
            self.assertIsNone(books.testzip())
        self.browser.click("#forget-all")
        self.check_access("to be forgotten")
        self.browser.click("#sure .main")
        self.browser.until("return document.querySelectorAll('.book').length === 0")

    def test_a_folder_is_brought_with_its_paths(self):
        self.write("site/index.html", content=b"<title>A site</title><h1>Begin</h1>"
                   b"<p><a href='deep/next.html'>next</a>")
        self.write("site/deep/next.html", content=b"<h1>Then</h1><p>The end.")
        self.browser.drop("#drop", self.dir / "site")
        chapters = self.text(self.row("A site", "done") + " .chapters")
        self.assertIn("Begin", chapters)
        self.assertIn("Then", chapters)

    def test_progress_is_seen_and_cancelled(self):
        self.write("Long.txt", content=novel("The Long", "Cy West", 1500).encode())
        idle = self.server.leaves()
        self.browser.drop("#drop", self.dir / "Long.txt")

        def is_on_its_way():
            """Lets the cells go on for a moment: on a quick machine the book would be there at once."""
            for how in [signal.SIGCONT, signal.SIGSTOP]:
                for cell in self.server.leaves() - idle:
                    with suppress(ProcessLookupError):
                        os.kill(cell, how)
                time.sleep(0.01)
            return self.browser.run("return [...document.querySelectorAll('[data-state=converting] progress')]"
                                    ".some(progress => progress.value > 0 && progress.value < 1)")

        self.browser.wait_for(is_on_its_way, "the progress of a book that is being made")
        self.check_access("busy")
        self.browser.click("[data-state=converting] [data-doing=cancel]")
        self.row("Long.txt", "cancelled")
        self.assertIn("Cancelled", self.text("#said"))

    def test_a_title_is_changed_and_the_file_is_that_of_the_tool(self):
        self.bring("Dunes", "Ben South")
        tides = self.bring("Tides", "Ada North")
        self.kavepub("convert", "Tides.txt", "-o", "tool.epub")
        self.check_download(tides, self.dir / "tool.epub")
        self.browser.click(tides + " [data-doing=edit]")
        self.check_access("being changed")
        self.browser.type("#edit [name=title]", "Ebb & <b>flow</b>")
        self.browser.type("#edit [name=author]", "Ada North; Ben South")
        self.browser.run("const choice = document.querySelector('#edit [name=cover]');"
                         "choice.value = 'own'; choice.dispatchEvent(new Event('change'))")
        self.browser.type("#edit [name=cover-own]", str(PICTURE))
        self.browser.click("#edit .main")
        changed = self.row("Ebb & <b>flow</b>", "done")
        self.assertIn("Ada North, Ben South", self.text(changed + " .facts"))
        self.kavepub("convert", "Tides.txt", "-fo", "tool.epub", "--author", "Ada North",
                     "--author", "Ben South", "--cover", PICTURE, "--title", "Ebb & <b>flow</b>")
        self.check_download(changed, self.dir / "tool.epub")
        self.browser.click(changed + " [data-doing=forget]")
        self.browser.until("return document.querySelectorAll('.book').length === 1")
        self.assertTrue(self.browser.run("return document.activeElement === "
                                         "document.querySelector('.book .doings').firstElementChild"))

    @unittest.skipUnless(HAS_ENGINE, "there was no reading engine to build with")
    def test_a_book_is_read(self):
        tides = self.bring("Tides", "Ada North")
        self.browser.click(tides + " [data-doing=read]")
        self.enter_reader()
        self.browser.click("#contents")
        self.check_access("contents")
        self.browser.click("#chapters li:nth-child(2) button")
        self.browser.until("return document.querySelector('#place').textContent.startsWith('Chapter 2')")
        self.assertIn("sentence of the 2. chapter", self.chapter())
        self.turn(ARROW_RIGHT)
        self.browser.click("#larger")
        self.browser.click("#night")
        self.check_access("reading")
        self.browser.press(ESCAPE)
        self.browser.enter()
        self.browser.until("return !document.querySelector('#reading').open")
        self.assertEqual(self.browser.run("return document.activeElement.dataset.doing"), "read")
        self.browser.click(tides + " [data-doing=read]")
        self.enter_reader()
        self.assertEqual(self.browser.run("return document.documentElement.dataset.theme"), "night")
        self.assertTrue(self.text("#place").startswith("Chapter 2"))

    def enter_reader(self, frame="#reading iframe"):
        self.browser.enter(frame)
        self.browser.until("return document.querySelector('#book')?.dataset.page")

    def chapter(self):
        return self.browser.run("return document.querySelector('#book iframe').contentDocument.body.innerText")

    def turn(self, how):
        before = self.browser.run("return document.querySelector('#book').dataset.page")
        if how.startswith("#"):
            self.browser.click(how)
        else:
            self.browser.press(how)
        self.browser.until("return document.querySelector('#book').dataset.page !== arguments[0]", before)

    @unittest.skipUnless(HAS_ENGINE, "there was no reading engine to build with")
    def test_a_hostile_book_is_only_read(self):
        with Trap() as trap:
            book = base64.b64encode(hostile_book(self.dir / "book.epub", trap.url)).decode()
            self.browser.run("""
                const bytes = Uint8Array.from(atob(arguments[0]), c => c.charCodeAt(0)).buffer;
                const frame = Object.assign(document.createElement('iframe'), {src: 'reader/', id: 'frame'});
                frame.sandbox = 'allow-scripts allow-same-origin';
                addEventListener('message', () => frame.contentWindow.postMessage(
                  {type: 'open', id: 'x', title: '<img src=x onerror=harmed=1>', bytes}, '*'), {once: true});
                document.querySelector('#reading').replaceChildren(frame);
                document.querySelector('#reading').showModal();""", book)
            self.enter_reader("#frame")
            self.assertIn("Only text", self.chapter())
            self.assertEqual(self.text("#chapters button"), f'<img src="x" onerror="{HARM}">')
            self.browser.run("for (const link of document.querySelector('#book iframe').contentDocument"
                             ".querySelectorAll('a')) link.click()")
            self.turn("#next")
            self.browser.enter()
            self.assertEqual(trap.connections, 0)
        self.assertIsNone(self.browser.run("return window.harmed ?? frame.contentWindow.harmed"))

    def test_a_hostile_title_is_only_shown(self):
        title = f'<img src=x onerror="{HARM}">'
        self.write("page.html", content=f"<title>{title.replace('<', '&lt;')}</title><p>Text"
                   f"<script>{HARM}</script>".encode())
        self.browser.drop("#drop", self.dir / "page.html")
        self.row(title, "done")
        self.assertIsNone(self.browser.run("return window.harmed"))

    def test_the_page_is_locked_by_a_password(self):
        hashed = self.kavepub("serve", "--hash-password", input=PASSWORD + "\n")
        self.write("hash", content=hashed.stdout.encode())
        server = Server(self.dir / "store", "--password-file", self.dir / "hash")
        self.addCleanup(server.close)
        self.visit(server.url)
        self.check_access("locked")
        self.browser.type("#password", "another one\n")
        self.browser.until("return document.querySelector('#trouble').textContent === "
                           "'This is not the password.'")
        self.browser.run("document.querySelector('#password').value = ''")
        self.browser.type("#password", PASSWORD + "\n")
        self.browser.until("return !document.querySelector('#room').hidden")
        self.assertEqual(self.text("#trouble"), "")
        self.bring("Tides", "Ada North")
        self.browser.click("#logout")
        self.browser.until("return !document.querySelector('#login').hidden &&"
                           "       !document.querySelector('.book')")

    def test_words_are_the_same_in_all_languages(self):
        keys = """const keysOf = (table, path) => typeof table === 'object' && !table.other
                    ? Object.keys(table).flatMap(key => keysOf(table[key], `${path}.${key}`)) : [path];
                  return import('/texts.js').then(({texts}) =>
                    Object.values(texts).map(table => keysOf(table, '').sort()))"""
        english, *others = self.browser.run(keys)
        for other in others:
            self.assertEqual(other, english)
        sources = "".join(path.read_text() for path in PAGE.rglob("*") if path.suffix in (".js", ".html"))
        asked = re.findall(r"data-(?:text|label)=\"([^\"]+)\"|say\('([^']+)'", sources)
        self.assertLessEqual({f".{a or b}" for a, b in asked}, set(english))
        self.browser.speak("zh-CN,en")
        self.visit(self.server.url)
        self.assertEqual(self.text("#choose-files"), "选择文件")
        self.assertEqual(self.browser.run("return document.documentElement.lang"), "zh-Hans")


class Trap:
    """Listens where nobody should call."""

    def __enter__(self):
        self.listening = socket.create_server(("127.0.0.1", 0))
        self.url = f"http://127.0.0.1:{self.listening.getsockname()[1]}"
        return self

    def __exit__(self, *_):
        self.listening.close()

    @property
    def connections(self):
        """How many wait to be taken: none should."""
        return len(select.select([self.listening], [], [], 0)[0])


def hostile_book(path, trap):
    """A book that no converter made: with all that could run or load something."""
    chapter = f"""<html xmlns="http://www.w3.org/1999/xhtml"><head><title>x</title>
      <script>{HARM}</script><script src="{trap}/1.js"/><link rel="stylesheet" href="{trap}/2.css"/>
      <style>@import url({trap}/3.css); body {{ background: url({trap}/4.png) }}</style>
      <meta http-equiv="refresh" content="0;url={trap}/5"/><base href="{trap}/"/></head>
      <body onload="{HARM}" style="background-image: url({trap}/6.png)"><p>Only text.</p>
      <img src="{trap}/7.png" alt="" onerror="{HARM}"/><iframe src="{trap}/8"/>
      <iframe srcdoc="&lt;script>{HARM}&lt;/script>"/><object data="{trap}/9"/><embed src="{trap}/10"/>
      <a href="javascript:{HARM}">a</a><a href="{trap}/11" target="_top">b</a>
      <svg xmlns="http://www.w3.org/2000/svg" onload="{HARM}"><script>{HARM}</script></svg>
      <form action="{trap}/12"><button autofocus="" onfocus="{HARM}">c</button></form>
      <video src="{trap}/13" autoplay=""/><audio src="{trap}/14" autoplay=""/></body></html>"""
    package = """<package xmlns="http://www.idpf.org/2007/opf" version="2.0" unique-identifier="i">
      <metadata xmlns:dc="http://purl.org/dc/elements/1.1/"><dc:title>&lt;script></dc:title>
      <dc:identifier id="i">x</dc:identifier><dc:language>en</dc:language></metadata><manifest>
      <item id="a" href="a.xhtml" media-type="application/xhtml+xml"/>
      <item id="b" href="b.xhtml" media-type="application/xhtml+xml"/>
      <item id="n" href="toc.ncx" media-type="application/x-dtbncx+xml"/></manifest>
      <spine toc="n"><itemref idref="a"/><itemref idref="b"/></spine></package>"""
    label = f'<img src="x" onerror="{HARM}">'.replace("<", "&lt;")
    toc = f"""<ncx xmlns="http://www.daisy.org/z3986/2005/ncx/" version="2005-1"><navMap><navPoint id="p"
      playOrder="1"><navLabel><text>{label}</text></navLabel><content src="a.xhtml"/></navPoint></navMap></ncx>"""
    container = """<container xmlns="urn:oasis:names:tc:opendocument:xmlns:container" version="1.0"><rootfiles>
      <rootfile full-path="p.opf" media-type="application/oebps-package+xml"/></rootfiles></container>"""
    with zipfile.ZipFile(path, "w") as archive:
        for name, content in {"mimetype": "application/epub+zip", "META-INF/container.xml": container,
                              "p.opf": package, "toc.ncx": toc, "a.xhtml": chapter, "b.xhtml": chapter}.items():
            archive.writestr(name, content)
    return path.read_bytes()


if __name__ == "__main__":
    unittest.main()
