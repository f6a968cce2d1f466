"""The server: strangers who mean harm, kills at any moment, and what its manual says."""

import http.client
import io
import json
import os
import random
import re
import resource
import signal
import socket
import stat
import subprocess
import threading
import time
import unittest
import zipfile
from contextlib import suppress
from pathlib import Path
from urllib.parse import quote

from book import KAVEPUB, SOURCE, ToolTest, as_bytes, data_rows

TEXT = b"Chapter 1\n\nIt was the best of times.\n\nChapter 2\n\nIt was the worst of times.\n"
ROUNDS = int(os.environ.get("KAV_KILLS", "2"))
UPLOADS = int(os.environ.get("KAV_UPLOADS", "30"))
FINISHED = {"done", "failed", "cancelled"}


def form(name, content=b"evil"):
    head = b'Content-Disposition: form-data; name="file"; filename="%s"' % as_bytes(name)
    return b"--bound\r\n" + head + b"\r\n\r\n" + content + b"\r\n--bound--\r\n"


def packed(kind):
    """A ZIP file that is made to harm."""
    link = zipfile.ZipInfo("evil.txt")
    link.external_attr = (stat.S_IFLNK | 0o777) << 16
    entries = {"up": [("../evil.txt", "evil")], "absolute": [("/tmp/evil.txt", "evil")],
               "link": [(link, "/etc/passwd")], "twice": [("evil.txt", "1"), ("evil.txt", "2")],
               "folder": [("evil.txt", "1"), ("evil.txt/evil.txt", "2")],
               "bomb": [("evil.txt", bytes(20 << 20))], "programs": [("evil", "\x7fELF")],
               "many": [(f"{i}.txt", "") for i in range(20001)], "half": [("a.txt", "evil" * 99)]}
    file = io.BytesIO()
    with zipfile.ZipFile(file, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, content in entries[kind]:
            archive.writestr(name, content, zipfile.ZIP_DEFLATED)
    return file.getvalue()[:60 if kind == "half" else None]


class Server:
    """A running server, and a visitor of it with a cookie."""

    def __init__(self, store, *options, jobs=2, most=resource.RLIM_INFINITY):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (most, most))
        self.process = subprocess.Popen(
            [KAVEPUB, "serve", "--port", "0", "--store", store, f"-j{jobs}", *options], text=True,
            stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, preexec_fn=limit)
        self.address = self.process.stdout.readline().strip()
        self.port = int(re.search(r":(\d+)/$", self.address)[1])
        self.cookie = None

    def ask(self, method, path, body=None, headers=()):
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=20)
        known = {"Cookie": self.cookie} if self.cookie else {}
        connection.request(method, path, body, {**known, **dict(headers)})
        answer = connection.getresponse()
        content = answer.read()
        if answer.getheader("Set-Cookie"):
            self.cookie = answer.getheader("Set-Cookie").split(";")[0]
        connection.close()
        is_json = answer.getheader("Content-Type") == "application/json"
        return answer, json.loads(content) if is_json else content

    def send(self, name="novel.txt", content=TEXT, query=""):
        answer, told = self.ask("POST", f"/books?name={quote(name)}{query}", content)
        assert answer.status == 201, told
        return told["books"][0]["id"]

    def await_book(self, book, states=FINISHED):
        while (told := self.ask("GET", f"/books/{book}")[1])["state"] not in states:
            time.sleep(0.02)
        return told

    def talk(self, request):
        """The answer to what need not be HTTP; empty when the connection was cut before it."""
        with socket.create_connection(("127.0.0.1", self.port), timeout=10) as connection:
            answer = b""
            with suppress(OSError):  # what is refused unread may be answered and cut while it is sent
                connection.sendall(request)
                connection.shutdown(socket.SHUT_WR)
            with suppress(ConnectionError):
                while piece := connection.recv(65536):
                    answer += piece
            return answer

    def stop(self, how=signal.SIGTERM):
        self.process.send_signal(how)
        self.process.stdout.close()
        return self.process.wait(20)


class ServeTest(ToolTest):
    def serve(self, *options, **more):
        server = Server(self.dir / "store", *options, **more)
        self.addCleanup(lambda: server.process.poll() is not None or server.stop(signal.SIGKILL))
        return server

    def left(self, folder):
        return sorted(path.name for path in (self.dir / "store" / folder).iterdir())

    def await_none(self, folder):
        deadline = time.monotonic() + 5
        while self.left(folder) and time.monotonic() < deadline:
            time.sleep(0.02)
        self.assertEqual([], self.left(folder))


class Attacks(ServeTest):
    def request(self, server, row, book):
        _, line, headers, body, _ = row
        body = as_bytes(body.replace("{id}", book))
        headers = headers.replace("{port}", str(server.port)).split("|")[:-1]
        if body.startswith(b"form "):
            body = form(body[5:].decode(errors="surrogateescape"))
            headers.append("Content-Type: multipart/form-data; boundary=bound")
        if body.startswith(b"zip "):
            body = packed(body[4:].decode())
        given = {header.split(":")[0] for header in headers}
        if "Host" not in given:
            headers.append(f"Host: 127.0.0.1:{server.port}")
        if not given & {"Content-Length", "Transfer-Encoding"}:
            headers.append(f"Content-Length: {len(body)}")
        head = "\r\n".join([f"{line.replace('{id}', book)} HTTP/1.1", *headers, "Connection: close"])
        return as_bytes(head) + b"\r\n\r\n" + body

    def test_rows(self):
        server = self.serve("--max-upload", "2")
        book = server.send()
        theirs = server.await_book(book)
        for row in data_rows("serve_attacks.txt"):
            with self.subTest(attack=row[0]):
                answer = server.talk(self.request(server, row, book))
                status, _, code = row[4].partition(" ")
                self.assertTrue(answer.startswith(f"HTTP/1.1 {status} ".encode()), answer[-300:])
                if code:
                    self.assertEqual(code, json.loads(answer.split(b"\r\n\r\n")[1])["error"]["code"])
                self.assertNotIn(b"\r\nX-Evil", answer)
                self.assertNotIn(str(self.dir).encode(), answer, "tells where things lie")
        self.assertEqual(theirs, server.ask("GET", f"/books/{book}")[1])
        self.assertEqual([book], self.left("books"))
        self.assertEqual(1, len(self.left("uploads")))
        self.assertEqual([], list(self.dir.rglob("evil*")))
        self.assertEqual(0, server.stop())

    def test_texts_are_only_texts(self):
        server = self.serve()
        evil = "<script>alert(1)</script>\n\nevent: gone\ndata: {}\n\n\u2028"
        book = server.send("<img onerror=alert(1)>\"';%.txt", query="&title=" + quote(evil))
        told = server.await_book(book)
        self.assertEqual(evil, told["options"]["title"])
        events = server.ask("GET", f"/books/{book}/events")[1].decode()
        self.assertEqual(1, len(re.findall("^event:", events, re.MULTILINE)), events)
        answer, made = server.ask("GET", f"/books/{book}/book.epub")
        self.assertRegex(answer.getheader("Content-Disposition"),
                         r"^attachment; filename\*=UTF-8''[\w.%-]+$")
        pages = zipfile.ZipFile(io.BytesIO(made))
        self.assertFalse(any(b"<script" in pages.read(name) for name in pages.namelist()))
        for path in ["/", "/status", "/books", f"/books/{book}", f"/books/{book}/book.epub"]:
            answer = server.ask("GET", path)[0]
            headers = answer.headers
            self.assertEqual((200, "nosniff"), (answer.status, headers["X-Content-Type-Options"]))
            policy = headers["Content-Security-Policy"]
            self.assertTrue(policy.startswith("default-src 'none'"), policy)
            self.assertNotIn("unsafe", policy)

    def test_slow_clients(self):
        server = self.serve("--patience", "1", "--max-upload", "1")
        head = f"POST /books?name=a.txt HTTP/1.1\r\nHost: 127.0.0.1:{server.port}\r\n".encode()
        slow = {"silent": (b"", b""), "headers": (head, b"X: 1\r\n"),
                "body": (head + b"Content-Length: 99999\r\n\r\n", b"e"),
                "chunks": (head + b"Transfer-Encoding: chunked\r\n\r\n", b"1\r\ne\r\n"),
                "pipelined": (b"GET /status HTTP/1.1\r\n", b"X: 1\r\n")}
        endings = {}

        def drip(name, first, then):
            begun = time.monotonic()
            with socket.create_connection(("127.0.0.1", server.port), timeout=0.3) as connection:
                try:
                    connection.sendall(first)
                    while time.monotonic() - begun < 8:
                        connection.sendall(then)
                        try:
                            if connection.recv(100) == b"":
                                break
                        except TimeoutError:
                            pass
                except ConnectionError:
                    pass
            endings[name] = time.monotonic() - begun

        threads = [threading.Thread(target=drip, args=(name, *texts)) for name, texts in slow.items()]
        for thread in threads:
            thread.start()
        self.assertEqual(200, server.ask("GET", "/status")[0].status)
        endless = server.talk(head + b"Transfer-Encoding: chunked\r\n\r\n" + b"ffff\r\n" +
                              (b"e" * 0xFFFF + b"\r\nffff\r\n") * 3000)
        self.assertIn(endless[:12], [b"", b"HTTP/1.1 413"])
        for thread in threads:
            thread.join()
        self.assertEqual(slow.keys(), endings.keys())
        self.assertLess(max(endings.values()), 7, endings)
        self.await_none("uploads")

    def test_limits(self):
        server = self.serve("--max-books", "1", "--max-store", "1")
        full = server.ask("POST", "/books?name=a.txt", b"e" * (2 << 20))
        self.assertEqual((507, "disk-full"), (full[0].status, full[1]["error"]["code"]))
        self.assertEqual("done", server.await_book(server.send())["state"])
        second = server.ask("POST", "/books?name=a.txt", TEXT)
        self.assertEqual((429, "too-many-books"), (second[0].status, second[1]["error"]["code"]))
        server.ask("DELETE", "/books")
        self.assertEqual([[], []], [self.left("books"), self.left("uploads")])
        server.stop()
        server = self.serve(most=100_000)  # as a disk that is full
        full = server.ask("POST", "/books?name=a.txt", b"e" * 200_000)
        self.assertEqual((507, "disk-full"), (full[0].status, full[1]["error"]["code"]))
        self.assertEqual([], self.left("uploads"))

    def test_passwords(self):
        refused = subprocess.run([KAVEPUB, "serve", "--listen", "0.0.0.0:0", "--store", self.dir],
                                 capture_output=True, text=True, timeout=20)
        self.assertEqual(2, refused.returncode, refused.stderr)
        hashed = subprocess.run([KAVEPUB, "serve", "--hash-password"], input="correct horse\n",
                                capture_output=True, text=True, timeout=20).stdout
        self.assertRegex(hashed, r"^\$y\$")
        self.write("hash", content=hashed.encode())
        options = ["--listen", "0.0.0.0:0", "--password-file", self.dir / "hash"]
        server = self.serve(*options)

        def log_in(password):
            return server.ask("POST", "/session", json.dumps({"password": password}))[0].status
        self.assertEqual(200, server.ask("GET", "/")[0].status)
        self.assertEqual("needed", server.ask("GET", "/status")[1]["login"])
        self.assertEqual(401, server.ask("POST", "/books?name=a.txt", TEXT)[0].status)
        self.assertEqual([403, 204], [log_in("wrong"), log_in("correct horse")])
        self.assertEqual("done", server.await_book(server.send())["state"])
        cookie = server.cookie
        server.stop()
        server = self.serve(*options)
        server.cookie = cookie
        self.assertEqual(1, len(server.ask("GET", "/books")[1]["books"]))
        self.assertEqual(204, server.ask("DELETE", "/session")[0].status)
        server.cookie = cookie
        self.assertEqual(401, server.ask("GET", "/books")[0].status)
        self.assertEqual([403] * 10 + [429], [log_in("wrong") for _ in range(11)])


class Kills(ServeTest):
    def test_nothing_is_half_and_nothing_is_lost(self):
        chance = random.Random(2)
        for number in range(ROUNDS):
            with self.subTest(round=number):
                self.kill(chance.uniform(0.1, 0.5), chance)

    def kill(self, delay, chance):
        server = self.serve()
        server.ask("GET", "/")
        said = {}
        contents = [TEXT * chance.choice([1, 10, 20000]) for _ in range(10)]

        def send(number):
            try:
                book = server.send(f"{number}.txt", contents[number])
                said[book] = server.await_book(book)
            except (OSError, http.client.HTTPException, ValueError):
                pass
        threads = [threading.Thread(target=send, args=(number,)) for number in range(10)]
        for thread in threads:
            thread.start()
        time.sleep(delay)
        server.stop(signal.SIGKILL)
        for thread in threads:
            thread.join()
        again = self.serve()
        again.cookie = server.cookie
        books = {book["id"]: book for book in again.ask("GET", "/books")[1]["books"]}
        self.assertEqual(said, {book: books.get(book) for book in said})
        self.assertEqual(sorted(books), self.left("books"))
        self.assertEqual(len(books), len(self.left("uploads")))
        for book in books:
            made = again.ask("GET", f"/books/{book}/book.epub")[1]
            self.assertEqual(books[book]["size"], len(made))
            self.assertIsNone(zipfile.ZipFile(io.BytesIO(made)).testzip())
        again.ask("DELETE", "/books")
        self.assertEqual(0, again.stop())


class Interface(ServeTest):
    def test_books_are_those_of_the_tool(self):
        server = self.serve()
        self.write("novel.txt", content=TEXT)
        self.write("page.html", content=b"<title>P</title><p>Hello <img src='page_files/a.png'>")
        fixture = SOURCE / "tests" / "fixtures" / "mobi"
        picture = (fixture / "source" / "map.png").read_bytes()
        self.write("page_files/a.png", content=picture)
        mobi = (fixture / "lighthouse.mobi").read_bytes()
        self.write("lighthouse.mobi", content=mobi)
        with zipfile.ZipFile(self.dir / "site.zip", "w") as archive:
            for name in ["index.html", "pictures/a.png"]:
                archive.writestr(name, picture if name.endswith("png") else
                                 "<title>S</title><p>Hi <img src='pictures/a.png'>")
        zipfile.ZipFile(self.dir / "site.zip").extractall(self.dir / "site")
        rows = [(["novel.txt"], "novel.txt"), (["page.html", "page_files/a.png"], "page.html"),
                (["lighthouse.mobi"], "lighthouse.mobi"), (["site.zip"], "site")]
        for files, source in rows:
            with self.subTest(source=source):
                server.ask("DELETE", "/books")
                body = b"".join(form(name, (self.dir / name).read_bytes()).removesuffix(b"--bound--\r\n")
                                for name in files) + b"--bound--\r\n"
                answer, told = server.ask("POST", "/books", body, {
                    "Content-Type": "multipart/form-data; boundary=bound"})
                self.assertEqual((201, 1), (answer.status, len(told["books"])), told)
                book = told["books"][0]["id"]
                self.assertEqual("done", server.await_book(book)["state"])
                by_tool = self.kavepub("convert", "-f", source)
                self.assertEqual(0, by_tool.returncode, by_tool.stderr)
                made = (self.dir / source).with_suffix(".epub").read_bytes()
                self.assertEqual(made, server.ask("GET", f"/books/{book}/book.epub")[1])
        archive = zipfile.ZipFile(io.BytesIO(server.ask("GET", "/books.zip")[1]))
        self.assertEqual((["site.epub"], made), (archive.namelist(), archive.read("site.epub")))

    def test_cancelled_and_made_again(self):
        server = self.serve(jobs=1)
        long = server.send("long.txt", TEXT * 300_000)
        server.await_book(long, {"converting"})
        waiting = server.send("waiting.txt")
        self.assertEqual(1, server.ask("GET", f"/books/{waiting}")[1]["position"])
        for book in [waiting, long]:
            self.assertEqual(202, server.ask("POST", f"/books/{book}/cancel")[0].status)
            self.assertEqual("cancelled", server.await_book(book)["state"])
        answer, told = server.ask("POST", f"/books/{waiting}/convert", json.dumps(
            {"options": {"title": "New", "author": ["A", "B"], "chapters": "none"}}))
        self.assertEqual((202, "waiting"), (answer.status, told["state"]))
        told = server.await_book(waiting)
        self.assertEqual(("New", "A, B", []), (told["title"], told["author"], told["chapters"]))

    def test_many_at_once(self):
        """All are done, and the page answers meanwhile."""
        server = self.serve()
        server.ask("GET", "/")
        books = []
        threads = [threading.Thread(target=lambda: books.append(server.send()))
                   for _ in range(UPLOADS)]
        for thread in threads:
            thread.start()
        slowest = 0
        while any(thread.is_alive() for thread in threads):
            begun = time.monotonic()
            server.ask("GET", "/status")
            slowest = max(slowest, time.monotonic() - begun)
            time.sleep(0.02)
        self.assertEqual({"done"}, {server.await_book(book)["state"] for book in books})
        self.assertEqual(UPLOADS, len(books))
        self.assertLess(slowest, 2)

    def test_idle(self):
        server = self.serve()
        server.await_book(server.send())
        server.ask("DELETE", "/books")
        time.sleep(0.3)

        def switches():
            tasks = Path(f"/proc/{server.process.pid}/task").iterdir()
            return [re.findall(r"ctxt_switches:\s(\d+)", (task / "status").read_text())
                    for task in sorted(tasks)]
        before = switches()
        time.sleep(1)
        self.assertEqual(before, switches())

    def test_examples_of_the_manual(self):
        page = (SOURCE / "docs" / "serve.md").read_text()
        examples = re.findall(r"^```sh\n(.*?)^```$", page, re.MULTILINE | re.DOTALL)
        scripts = [text for text in examples if "curl" in text]
        self.assertGreater(len(scripts), 0)
        server = self.serve()
        self.write("novel.txt", content=TEXT)
        script = "\n".join(scripts).replace("http://127.0.0.1:8017/", server.address)
        done = subprocess.run(["bash", "-euo", "pipefail", "-c", script], cwd=self.dir,
                              capture_output=True, text=True, timeout=60)
        self.assertEqual((0, ""), (done.returncode, done.stderr), done.stdout)
        self.assertIsNone(zipfile.ZipFile(self.dir / "novel.epub").testzip())


if __name__ == "__main__":
    unittest.main()
