#!/usr/bin/env python3
"""Compares books of pages with the pages, as a parser of its own sees them, and with other programs.

    sites.py BUILD_DIR [--only WORD] [--peers]

The inputs, bench/sites.txt, are packages of Debian, which are fetched and unpacked, not installed.
Needs python3-html5lib, python3-lxml and epubcheck; --peers what there is of ebook-convert and pandoc.
"""
import argparse
import collections
import os
import pathlib
import re
import shutil
import subprocess
import sys
import urllib.parse
import zipfile

import html5lib
from lxml import etree

HERE = pathlib.Path(__file__).resolve().parent
SCRATCH = HERE.parent / "build/sites"
EPUBCHECK = "/usr/share/java/epubcheck.jar"
LIMIT = 600  # seconds for a program
SHOWN = 6  # examples of what is wrong

Kind = collections.namedtuple("Kind", "kind package page treatment")

# What no browser shows, and what a book has no use for.
HIDDEN = {"script", "style", "template", "noscript", "noframes", "noembed", "iframe", "title", "head",
          "svg", "datalist", "audio", "video", "object", "canvas"}
FORMS = {"select", "textarea", "button", "input"}
BLOCKS = set("""address article aside blockquote body br caption center dd details dialog dir div dl dt
    fieldset figcaption figure footer form h1 h2 h3 h4 h5 h6 header hr li listing main menu nav ol p
    plaintext pre section summary table tbody td tfoot th thead tr ul xmp""".split())
COUNTED = {"headings": ("h1", "h2", "h3", "h4", "h5", "h6"), "lists": ("ul", "ol", "menu", "dir", "map"),
           "tables": ("table",), "listings": ("pre", "listing", "xmp", "plaintext"), "dl": ("dl",)}
KIND_OF = {name: kind for kind, names in COUNTED.items() for name in names}
PERMALINKS = ("#", "¶", "§", "🔗", "∞")
TOKENS = {"mi", "mn", "mo", "mtext", "ms"}
NO_TEXT = {"annotation", "annotation-xml"}
NET = ("http", "https", "ftp", "mailto", "news", "irc", "tel")
NO_HOST = set("<>^|%")
GENERATED = 2  # style sheets that every page of a book has


def name_of(element):
    return element.tag.rpartition("}")[2] if isinstance(element.tag, str) else None


def plain(text):
    """Without blanks, which markup may add and take, and without what XML cannot hold."""
    return re.sub(r"[\x00-\x20\x7f\xa0\ufffe\uffff\u200b]+", "", text)


class Page:
    """What is visible on a page, in order."""

    def __init__(self, root, path):
        self.path = path
        self.counts = collections.Counter()
        self.sentences, self.links, self.ids, self.titles = [], [], set(), []
        self.sheets, self.frames, self.forms, self.marks = [], [], 0, 0
        self.base, self.run, self.in_links = "", [], 0
        self.language = next((value for name, value in root.attrib.items()
                              if name.rpartition("}")[2] in ("lang", "xml:lang")), "")
        for head in root:
            if name_of(head) == "head":
                self.read_head(head)
        for element in root:
            if name_of(element) in ("body", "frameset"):
                self.walk(element, ())
        self.end_run()
        self.text = "".join(self.sentences)

    def read_head(self, head):
        for element in head.iter():
            name = name_of(element)
            if name == "title":
                self.titles.append(plain("".join(element.itertext())))
            elif name == "base":
                self.base = element.get("href", "")
            elif name == "style":
                self.add_sheet(element, None)
            elif name == "link" and "stylesheet" in element.get("rel", "").lower().split():
                if "alternate" not in element.get("rel", "").lower():
                    self.add_sheet(element, element.get("href"))

    def add_sheet(self, element, href):
        media = element.get("media", "").lower()
        if not media or "screen" in media or "all" in media:
            self.sheets.append((href, "".join(element.itertext())))

    def walk(self, element, around):
        """Whether there is anything to be seen in it."""
        name = name_of(element)
        if name is None or name in HIDDEN or "hidden" in element.attrib or name in NO_TEXT:
            if name in ("iframe", "noscript", "object"):
                self.frames.append(element.get("src", ""))
            self.counts["drawings"] += name == "svg"
            return name == "svg"
        if name in FORMS:
            self.forms += 1
            return False
        if name == "frame":
            self.frames.append(element.get("src", ""))
        if element.get("id"):
            self.ids.add(element.get("id"))
        if name == "a" and element.get("name"):
            self.ids.add(element.get("name"))
        if name == "a" and self.is_permalink(element, around):
            self.marks += 1
            return False
        breaks = name in BLOCKS
        if breaks or name in TOKENS:
            self.end_run()
        place = len(self.links)
        if name == "area" and element.get("alt"):
            self.sentences.append(plain(element.get("alt")))
            self.in_links += len(plain(element.get("alt")))
        if name in ("a", "area") and element.get("href", "#") != "#":
            self.links.append(element.get("href"))
        self.run.append(element.text or "")
        seen = name in ("img", "area") or bool(plain(element.text or ""))
        inside = (*around, name)
        for child in element:
            seen |= self.walk(child, inside)
            self.run.append(child.tail or "")
            seen |= bool(plain(child.tail or ""))
        if breaks or name in TOKENS:
            self.end_run()
        if name in KIND_OF and seen and (name != "pre" or "pre" not in around):
            self.counts[KIND_OF[name]] += 1
            if KIND_OF[name] == "headings":
                self.titles.append(plain("".join(self.texts(element))))
        if name == "a":
            self.in_links += len(plain("".join(element.itertext())))
        if name == "a" and not seen:
            del self.links[place:place + 1]
        return seen

    def texts(self, element):
        yield element.text or ""
        for child in element:
            if name_of(child) not in HIDDEN and not self.is_permalink(child, ("h1",)):
                yield from self.texts(child)
            yield child.tail or ""

    @staticmethod
    def is_permalink(element, around):
        beside = any(name[0] == "h" and name[1:].isdigit() for name in around) or around[-1:] == ("dt",)
        return (beside and element.get("href", "").startswith("#") and
                plain("".join(element.itertext())) in PERMALINKS)

    def end_run(self):
        text, self.run = "".join(self.run), []
        if plain(text):
            pieces = map(plain, re.split(r"(?<=[.!?])\s+|(?<=[。！？])", text))
            self.sentences += filter(None, pieces)


class Site:
    """The pages that a page leads to, below its directory."""

    def __init__(self, top):
        self.top, self.pages = top.resolve(), {}
        waiting = collections.deque([self.top])
        while waiting:
            path = waiting.popleft()
            if path in self.pages:
                continue
            page = self.pages[path] = Page(html5lib.parse(path.read_bytes(),
                                                          namespaceHTMLElements=False), path)
            for target in (*page.frames, *page.links):
                found = self.file(page, target)
                if found and found.suffix.lower() in (".html", ".htm", ".xhtml"):
                    waiting.append(found)

    def file(self, page, target):
        """The file in the directory of the first page that is meant, or nothing."""
        target = "".join(target.strip().split("\n"))
        base = urllib.parse.urljoin("file:" + urllib.parse.quote(str(page.path)), page.base)
        parts = urllib.parse.urlsplit(urllib.parse.urljoin(base, target))
        if not target or parts.scheme != "file" or target.startswith("/"):
            return None
        path = pathlib.Path(os.path.normpath(urllib.parse.unquote(parts.path)))
        if path.is_dir():
            path /= "index.html"
        return path if path.is_relative_to(self.top.parent) and path.is_file() else None

    def target(self, page, href):
        """Where a link leads: ("out", URI), ("in", page, whether to an id of it), or nothing."""
        scheme = urllib.parse.urlsplit("https:" + href if href.startswith("//") else href).scheme
        if scheme.lower() in NET:
            return outward(href) and ("out", outward(href))
        found = None if scheme else self.file(page, href or "#")
        if found is None and href.startswith("#"):
            found = page.path
        if found not in self.pages:
            return None
        shown = [self.pages.get(self.file(self.pages[found], frame)) for frame in self.pages[found].frames]
        if not self.pages[found].text and any(shown):
            found = max(filter(None, shown), key=lambda page: len(page.text) - page.in_links).path
        fragment = urllib.parse.unquote(href.partition("#")[2])
        return "in", found, fragment in self.pages[found].ids


def read_sheet(path):
    return path.read_text("utf-8", "replace") if path else ""


def has_rules(css):
    """Whether a sheet has more than variables, fonts, which may not be there, and what is printed."""
    css = re.sub(r"/\*.*?\*/", " ", css, flags=re.DOTALL)
    css = re.sub(r"@media\s+print\s*\{([^{}]*\{[^{}]*\})*[^{}]*\}", "", css)
    css = re.sub(r"@font-face\s*\{[^{}]*\}", "", css)
    return "@import" in css or re.search(r"[{;]\s*(?!--)[a-z-]+\s*:", css)


def outward(href):
    """A link to the web, however it is escaped; nothing where browsers find no host in it."""
    href = "".join(href.split())
    href = "https:" + href if href.startswith("//") else href
    scheme, colon, rest = urllib.parse.unquote(href, errors="replace").partition(":")
    if rest.startswith("//"):
        host, slash, path = rest[2:].partition("/")
        if set(host) & NO_HOST:
            return None
        if not host.isascii():
            rest = "//" + host.encode("idna").decode() + slash + path
    return scheme.lower() + colon + rest


class Book:
    """The documents of a book, and the page that each was made of."""

    def __init__(self, path, site):
        self.archive = zipfile.ZipFile(path)
        container = self.tree("META-INF/container.xml")
        package = container.find(".//{*}rootfile").get("full-path")
        self.folder = package.rpartition("/")[0]
        opf = self.tree(package)
        self.language = opf.findtext(".//{*}language")
        items = {item.get("id"): item for item in opf.iterfind(".//{*}item")}
        self.names = [urllib.parse.unquote(items[ref.get("idref")].get("href"))
                      for ref in opf.iterfind(".//{*}itemref")]
        own = {ref.get("href") for ref in opf.iterfind(".//{*}guide/{*}reference")
               if ref.get("type") in ("cover", "toc")}
        self.roots = {name: self.tree(self.member(name)) for name in self.names if name not in own}
        self.docs = {name: Page(root, name) for name, root in self.roots.items()}
        self.ncx = self.tree(next(self.member(urllib.parse.unquote(item.get("href")))
                                  for item in items.values()
                                  if item.get("media-type") == "application/x-dtbncx+xml"))
        self.page_of = self.match(site) if site else {}

    def member(self, name):
        return os.path.normpath(os.path.join(self.folder, name))

    def tree(self, name):
        return etree.fromstring(self.archive.read(name), etree.XMLParser(huge_tree=True))

    def match(self, site):
        """By the sentences that few pages have."""
        holders = collections.defaultdict(set)
        for path, page in site.pages.items():
            for sentence in [*page.sentences, *page.titles]:
                holders[sentence].add(path)
        found = {}
        for name, doc in self.docs.items():
            votes = collections.Counter()
            for sentence in {*doc.sentences, *doc.titles}:
                for path in holders.get(sentence, ()):
                    votes[path] += len(sentence) / len(holders[sentence]) ** 2
            if votes:
                best = max(votes.values())
                # Of pages that are all the same, each takes one.
                same = [path for path, vote in votes.items() if vote == best]
                taken = set(found.values())
                found[name] = next((path for path in same if path not in taken), same[0])
        return found

    def docs_of(self, path):
        return [name for name in self.docs if self.page_of.get(name) == path]

    def counts_of(self, names):
        """What goes on in the next document counts once."""
        total = collections.Counter()
        for name in names:
            total += self.docs[name].counts
        for before, after in zip(names, names[1:]):
            last, first = self.way(before, -1), self.way(after, 0)
            for one, other in zip(last, first):
                if one != other:
                    break
                if one[0] in KIND_OF:
                    total[KIND_OF[one[0]]] -= 1
        return total

    def way(self, name, child):
        element, way = self.roots[name].find("{*}body"), []
        while element is not None and len(element):
            element = element[child]
            way.append((name_of(element), element.get("class")))
        return way

    def target(self, name, href):
        if urllib.parse.urlsplit(href).scheme:
            return "out", outward(href)
        path, _, fragment = href.partition("#")
        path = urllib.parse.unquote(path) or name
        if path not in self.docs or (fragment and fragment not in self.docs[path].ids):
            return "broken", href
        return "in", self.page_of.get(path), bool(fragment)

    def contents(self):
        """(depth, title, document) of each entry."""
        found = []

        def walk(node, depth):
            for point in node.iterfind("{*}navPoint"):
                source = point.find("{*}content").get("src").partition("#")[0]
                found.append((depth, point.findtext("{*}navLabel/{*}text"), source))
                walk(point, depth + 1)
        walk(self.ncx.find("{*}navMap"), 1)
        return found


def run(*command):
    """Code, what it said, seconds, processor seconds and peak MB."""
    figures = SCRATCH / "figures"
    timed = ("/usr/bin/time", "-o", figures, "-f", "%e %U %S %M", "timeout", str(LIMIT))
    done = subprocess.run([str(part) for part in (*timed, *command)], stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT)
    wall, user, system, peak = map(float, figures.read_text().split("\n")[-2].split())
    return (done.returncode, done.stdout.decode(errors="replace"), wall, user + system,
            peak * 1024 / 1e6)


def messages_of(book):
    words = run("java", "-jar", EPUBCHECK, "-q", book)[1]
    return [line for line in words.splitlines() if re.match("(ERROR|WARNING|FATAL)", line)]


def saved_page(top, folder):
    """The page and its folder as browsers save them: all files beside each other, links absolute."""
    root = html5lib.parse(top.read_bytes(), treebuilder="lxml", namespaceHTMLElements=False).getroot()
    files = folder / (top.stem + "_files")
    files.mkdir(parents=True)
    for element in root.iter("a", "img", "link", "script"):
        for attribute in ("src", "href"):
            value = element.get(attribute)
            if not value or value.startswith("#") or urllib.parse.urlsplit(value).scheme:
                continue
            source = top.parent / urllib.parse.unquote(value.partition("#")[0].partition("?")[0])
            if element.tag == "a":
                element.set(attribute, urllib.parse.urljoin("https://example.org/wiki/", value))
            elif source.is_file():
                shutil.copy(source, files / source.name)
                element.set(attribute, f"./{files.name}/{urllib.parse.quote(source.name)}")
    saved = folder / top.name
    saved.write_bytes(etree.tostring(root, method="html", encoding="utf-8"))
    return saved


def reencoded(top, folder, encoding):
    """The directory of a page, with its pages in another encoding, and saying so."""
    shutil.copytree(top.parent, folder)
    for path in folder.rglob("*.html"):
        text = re.sub(r"(?i)(charset=[\"']?)utf-8", r"\g<1>" + encoding, path.read_text("utf-8"))
        path.write_bytes(text.encode(encoding, "xmlcharrefreplace"))
    return folder / top.name


def fetch(kind):
    """The page, after its package was unpacked and what is to be done to it was done."""
    place = SCRATCH / "packages" / kind.package
    if not place.exists():
        files = SCRATCH / "archives"
        files.mkdir(parents=True, exist_ok=True)
        subprocess.run(["apt-get", "download", "-qq", kind.package], cwd=files, check=True)
        package = next(files.glob(f"{kind.package}_*.deb"))
        subprocess.run(["dpkg", "-x", package, place], check=True)
    page = place / kind.page
    if kind.treatment:
        folder = SCRATCH / "treated" / kind.package
        shutil.rmtree(folder, ignore_errors=True)
        page = (saved_page(page, folder) if kind.treatment == "saved" else
                reencoded(page, folder, kind.treatment.removeprefix("as ")))
    return page


def sentences_there(site, book):
    """How many are there in order, elsewhere on their page, and which are nowhere."""
    there, elsewhere, missing = 0, 0, []
    for path, page in site.pages.items():
        text = "".join(book.docs[name].text for name in book.docs_of(path))
        at = 0
        for sentence in page.sentences:
            found = text.find(sentence, at)
            if found >= 0:
                there, at = there + 1, found + len(sentence)
            elif sentence in text:
                elsewhere += 1
            else:
                missing.append((path.name, sentence))
    return there, elsewhere, missing


def links_of(targets, kind, pages=()):
    """How often each target of a kind is linked; pages that look the same are one."""
    first = {}
    for path in pages:
        first.setdefault(pages[path].text, path)
    return collections.Counter(
        (kind, first[pages[target[1]].text], *target[2:]) if target[1] in pages else target
        for target in targets if target and target[0] == kind)


class Row:
    """All that is known of a page and its book."""

    def __init__(self, kind, tool):
        self.kind, self.wrong = kind, []
        top = fetch(kind)
        books = {}
        for options in ((), ("--keep-navigation", "yes")):
            path = SCRATCH / f"{kind.package}-{len(options)}.epub"
            code, said, seconds, _, peak = run(tool, "convert", "-fq", "--cover", "none", top, "-o", path,
                                               *options)
            if code:
                raise SystemExit(f"{top}: {said}")
            if not options:
                self.seconds, self.peak, self.book = seconds, peak, path
            books[bool(options)] = path
        self.site = Site(top)
        whole, lean = Book(books[True], self.site), Book(books[False], self.site)
        self.compare(whole, lean)
        self.messages = messages_of(books[False])
        self.wrong += [("epubcheck", *self.messages[:SHOWN])] if self.messages else []

    def note(self, what, items):
        if items:
            self.wrong.append((what, *[str(item)[:160] for item in list(items)[:SHOWN]]))

    def compare(self, whole, lean):
        pages = self.site.pages
        self.total = sum(len(page.sentences) for page in pages.values())
        self.there, self.elsewhere, missing = sentences_there(self.site, whole)
        self.left_out = self.there + self.elsewhere - sum(sentences_there(self.site, lean)[:2])
        self.note("sentences", missing)
        self.counts = collections.Counter()
        self.found = collections.Counter()
        for path, page in pages.items():
            self.counts += page.counts
            found = whole.counts_of(whole.docs_of(path))
            self.found += found
            self.note(f"counts of {path.name}: source, book",
                      [(kind, page.counts[kind], found[kind]) for kind in COUNTED
                       if page.counts[kind] != found[kind]])
        self.compare_links(whole)
        lean_targets = [lean.target(name, href)
                        for name, doc in lean.docs.items() for href in doc.links]
        self.broken = sum(links_of(lean_targets, "broken").values())
        self.note("broken", links_of(lean_targets, "broken"))
        self.styled = [0, 0]
        for path, page in pages.items():
            sheets = [href for href, css in page.sheets
                      if has_rules(css if href is None else read_sheet(self.site.file(page, href)))]
            docs = whole.docs_of(path)
            if sheets and docs:
                self.styled[0] += 1
                there = all(len(whole.docs[name].sheets) >= len(sheets) + GENERATED for name in docs)
                self.styled[1] += there
                self.note(f"styles of {path.name}: {sheets}",
                          [] if there else [whole.docs[name].sheets for name in docs[:1]])
        self.compare_contents(lean)

    def compare_links(self, book):
        wanted = [self.site.target(page, href)
                  for page in self.site.pages.values() for href in page.links]
        targets = [book.target(name, href) for name, doc in book.docs.items() for href in doc.links]
        self.links = {}
        for kind in ("in", "out"):
            source, there = (links_of(of, kind, self.site.pages) for of in (wanted, targets))
            lacking = source - there
            self.links[kind] = (sum(source.values()), sum(lacking.values()))
            self.note(f"links {kind} lacking", lacking)

    def compare_contents(self, book):
        titles = {title for page in self.site.pages.values() for title in page.titles}
        entries = [entry for entry in book.contents() if entry[2] in book.page_of]
        self.entries, self.depth = len(entries), max((entry[0] for entry in entries), default=0)
        self.foreign = [title for _, title, _ in entries if plain(title) not in titles]
        self.note("entries that are no heading", self.foreign)
        said = next((page.language for page in self.site.pages.values() if page.language), "")
        self.language = f"{book.language} ({said or 'unsaid'})"

    def cells(self):
        counts = [f"{self.found[kind]}/{self.counts[kind]}" for kind in COUNTED]
        inside, out = self.links["in"], self.links["out"]
        return [self.kind.kind, self.kind.package, len(self.site.pages),
                f"{self.there}+{self.elsewhere}/{self.total}", self.left_out, *counts,
                f"{inside[0] - inside[1]}/{inside[0]}", self.broken, f"{out[0] - out[1]}/{out[0]}",
                f"{self.styled[1]}/{self.styled[0]}", f"{self.entries}, {self.depth}",
                len(self.foreign), self.language, len(self.messages), f"{self.seconds:.2f}",
                f"{self.peak:.0f}"]


HEAD = ("| Kind | Package | Pages | Sentences in order + elsewhere/all | Left out as navigation "
        "| Headings | Lists | Tables | Listings | Definition lists | Links inside | Broken | Links out "
        "| Pages with their styles | Contents: entries, levels | of no heading | Language (page) "
        "| epubcheck | s | MB |\n"
        "|---|---|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|--:|---|--:|--:|--:|")


def peers(kind, tool):
    """What other programs make of a page, a line each."""
    top = fetch(kind)
    commands = {"kavepub": (tool, "convert", "-fq", top, "-o"),
                "ebook-convert": ("ebook-convert", top),
                "pandoc": ("pandoc", top, f"--resource-path={top.parent}", "-o")}
    for program, command in commands.items():
        if not shutil.which(command[0]):
            continue
        path = SCRATCH / f"{kind.package}-{program}.epub"
        path.unlink(missing_ok=True)
        code, _, seconds, cpu, peak = run(*command, path)
        cells = [kind.kind, program, f"{seconds:.2f}", f"{cpu:.2f}", f"{peak:.0f}"]
        if code or not path.exists():
            cells += ["none", "", "", ""]
        else:
            book = Book(path, None)
            targets = [book.target(name, href) for name, doc in book.docs.items() for href in doc.links]
            cells += [len(messages_of(path)), len(book.names),
                      sum(links_of(targets, "out").values()), len(book.contents())]
        yield "| " + " | ".join(map(str, cells)) + " |"


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--only", default="", help="of the kind or package of an input")
    parser.add_argument("--peers", action="store_true", help="the other programs, beside ours")
    arguments = parser.parse_args()
    SCRATCH.mkdir(parents=True, exist_ok=True)
    tool = arguments.build.resolve() / "bin/kavepub"
    rows = [line.split("\t") for line in (HERE / "sites.txt").read_text("utf-8").splitlines()
            if not line.startswith("#")]
    kinds = [Kind(*(row + [""])[:4]) for row in rows]
    kinds = [kind for kind in kinds if arguments.only in f"{kind.kind} {kind.package}"]
    if arguments.peers:
        print("| Kind | Program | s | CPU s | MB | epubcheck | Documents | Links out | Contents |\n"
              "|---|---|--:|--:|--:|--:|--:|--:|--:|")
        for kind in kinds:
            for line in peers(kind, tool):
                print(line, flush=True)
        return
    print(HEAD)
    for kind in kinds:
        row = Row(kind, tool)
        print("| " + " | ".join(map(str, row.cells())) + " |", flush=True)
        for what, *examples in row.wrong:
            print(f"{kind.kind}: {what}", *examples, sep="\n    ", file=sys.stderr, flush=True)


if __name__ == "__main__":
    main()
