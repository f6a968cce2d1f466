"""Albums of the reader's edition, through the tool."""

import ctypes
import resource
import struct
import xml.etree.ElementTree as ET
import zlib

from book import NCX, SOURCE, Book, ToolTest, leave_for_epubcheck

SEEDS = SOURCE / "fuzz" / "seeds" / "picture"
WIDTH, HEIGHT = 32, 64  # of the upright picture: blocks of JPEG fit in, whichever way it lies
COLOURS = ((200, 30, 30), (30, 160, 60), (40, 60, 200), (230, 220, 60))

# Where a pixel of the upright picture is stored, as Exif numbers the ways to turn it.
STORED = {
    1: lambda x, y: (x, y), 2: lambda x, y: (WIDTH - 1 - x, y),
    3: lambda x, y: (WIDTH - 1 - x, HEIGHT - 1 - y), 4: lambda x, y: (x, HEIGHT - 1 - y),
    5: lambda x, y: (y, x), 6: lambda x, y: (y, WIDTH - 1 - x),
    7: lambda x, y: (HEIGHT - 1 - y, WIDTH - 1 - x), 8: lambda x, y: (HEIGHT - 1 - y, x),
}
JPEG = ctypes.CDLL("libturbojpeg.so.0")
FAST_UPSAMPLING = 256  # mixes no colours of neighbours
JPEG.tjInitCompress.restype = JPEG.tjInitDecompress.restype = ctypes.c_void_p


def upright():
    return {(x, y): COLOURS[x * 2 // WIDTH + y * 2 // HEIGHT * 2]
            for y in range(HEIGHT) for x in range(WIDTH)}


def lying(orientation):
    """Width, height and pixels as they are stored."""
    stored = {STORED[orientation](*place): pixel for place, pixel in upright().items()}
    width, height = (max(place[side] for place in stored) + 1 for side in (0, 1))
    return width, height, b"".join(bytes(stored[x, y]) for y in range(height) for x in range(width))


def tiff(orientation):
    width, height, pixels = lying(orientation)
    values = ((256, width), (257, height), (258, 8), (259, 1), (262, 2), (273, 8), (274, orientation),
              (277, 3), (278, height), (279, len(pixels)))
    entries = b"".join(struct.pack("<HHLL", tag, 4 if tag in (273, 279) else 3, 1, value)
                       for tag, value in values)
    return (b"II*\0" + struct.pack("<L", 8 + len(pixels)) + pixels +
            struct.pack("<H", len(values)) + entries + bytes(4))


def jpeg(orientation, cut=0, **notes):
    """A JPEG; cut: how many pixels its width lacks of whole blocks; notes: a description, a title as
    Windows has it."""
    width, height, pixels = lying(orientation)
    file, size = ctypes.c_void_p(), ctypes.c_ulong()
    JPEG.tjCompress2(ctypes.c_void_p(JPEG.tjInitCompress()), pixels, width - cut, width * 3, height, 0,
                     ctypes.byref(file), ctypes.byref(size), 2, 90, 0)
    texts = [(tag, kind, notes[name].encode(encoding)) for name, tag, kind, encoding in
             (("description", 0x10E, 2, "utf-8"), ("title", 0x9C9B, 1, "utf-16le")) if name in notes]
    entries, behind = struct.pack(">HHLHH", 0x112, 3, 1, orientation, 0), b""
    for tag, kind, text in texts:
        entries += struct.pack(">HHLL", tag, kind, len(text), 26 + 12 * len(texts) + len(behind))
        behind += text
    exif = b"Exif\0\0MM\0*" + struct.pack(">LH", 8, 1 + len(texts)) + entries + bytes(4) + behind
    bare = ctypes.string_at(file, size.value)
    return bare[:2] + b"\xff\xe1" + struct.pack(">H", len(exif) + 2) + exif + bare[2:]


def pixels_of_jpeg(file):
    pixels = ctypes.create_string_buffer(WIDTH * HEIGHT * 3)
    JPEG.tjDecompress2(ctypes.c_void_p(JPEG.tjInitDecompress()), file, ctypes.c_ulong(len(file)),
                       pixels, WIDTH, 0, HEIGHT, 0, FAST_UPSAMPLING)
    return pixels.raw


def pixels_of_png(file):
    """Of one with two bits a pixel and a palette."""
    assert struct.unpack(">2L3B", file[16:27]) == (WIDTH, HEIGHT, 2, 3, 0)
    palette, data, at = b"", b"", 8
    while at < len(file):
        [size] = struct.unpack(">L", file[at:at + 4])
        palette += file[at + 8:at + 8 + size] if file[at + 4:at + 8] == b"PLTE" else b""
        data += file[at + 8:at + 8 + size] if file[at + 4:at + 8] == b"IDAT" else b""
        at += size + 12
    rows, row = zlib.decompress(data), WIDTH // 4 + 1
    assert not any(rows[::row])  # filters
    numbers = [rows[y * row + 1 + x // 4] >> 6 - x % 4 * 2 & 3
               for y in range(HEIGHT) for x in range(WIDTH)]
    return b"".join(palette[number * 3:number * 3 + 3] for number in numbers)


class Albums(ToolTest):
    def album(self, files, **options):
        """The book of these, and what the tool says to it."""
        for name, content in files.items():
            self.write(name, content=content)
        done = self.kavepub("convert", "--force", *files, "-o", "album.epub", **options)
        self.assertEqual(done.returncode, 0, done.stderr)
        book = Book(self.dir / "album.epub")
        leave_for_epubcheck(book.path, set())
        return book, done.stderr

    def test_every_way_to_lie(self):
        book, _ = self.album({f"{kind.__name__}-{way}": kind(way) 
                              for kind in (jpeg, tiff) for way in STORED})
        whole = b"".join(bytes(pixel) for pixel in upright().values())
        for way in STORED:
            with self.subTest(way):
                self.assertEqual(pixels_of_png(book.read(f"OEBPS/tiff-{way}.png")), whole)
                turned = book.read(f"OEBPS/jpeg-{way}.jpg")
                differences = [abs(a - b) for a, b in zip(pixels_of_jpeg(turned), whole)]
                self.assertLess(max(differences), 40)
                self.assertEqual(turned.count(b"\x01\x12\0\3\0\0\0\1\0\1"), 1)  # is upright

    def test_what_cannot_be_turned_stays(self):
        large = bytearray(jpeg(6))
        frame = large.index(b"\xff\xc0") + 5
        large[frame:frame + 4] = struct.pack(">HH", 14142, 14142)
        for picture in (jpeg(6, cut=3), bytes(large)):
            book, words = self.album({"a.jpg": picture})
            self.assertIn("cannot be turned", words)
            self.assertEqual(book.read("OEBPS/a.jpg"), picture)

    def test_kinds(self):
        book, words = self.album({seed.name: seed.read_bytes() for seed in sorted(SEEDS.iterdir())})
        self.assertIn("animated.webp: holds 3 pictures", words)
        types = [name.rpartition(".")[2] for name in book.names if not name.endswith("xhtml")]
        self.assertEqual([types.count(kind) for kind in ("png", "jpg", "gif", "svg")], [9, 3, 1, 1])
        entries = ET.fromstring(book.read("OEBPS/toc.ncx")).findall(".//ncx:navLabel/ncx:text", NCX)
        titles = {entry.text for entry in entries}
        self.assertLessEqual({"A Wood", "A drawn house", "Quarters", "colours"}, titles)
        self.assertNotIn(b"alert", book.read("OEBPS/drawing.svg"))

    def test_titles_of_photographs(self):
        book, _ = self.album({"a.jpg": jpeg(1, description="By the sea"),
                              "b.jpg": jpeg(1, title="Am Wasser: 海"),
                              "c.jpg": jpeg(1, description="IMG", title="At night"), "d.jpg": jpeg(1)})
        entries = ET.fromstring(book.read("OEBPS/toc.ncx")).findall(".//ncx:navLabel/ncx:text", NCX)
        titles = [entry.text for entry in entries]
        self.assertEqual(titles[-4:], ["By the sea", "Am Wasser: 海", "At night", "d"])

    def test_bombs(self):
        """What tells of 200 million pixels is not unpacked; nor is one that is too long for PNG."""
        size = struct.pack("<4LLL", 0, 0, 54, 40, 14142, 14142)
        bitmap = b"BM" + size + struct.pack("<HH6L", 1, 1, *[0] * 6)
        strip = bytearray((SEEDS / "animated.webp").read_bytes())
        strip[29] = 0x10  # of its height
        for picture, words in (bitmap, "67 million pixels"), (bytes(strip), "a rare form"):
            self.write("large", content=picture)
            done = self.kavepub("convert", "large")
            self.assertEqual((done.returncode, words in done.stderr), (1, True), done.stderr)

    def test_many(self):
        """More than a process may have open."""
        def limit():
            resource.setrlimit(resource.RLIMIT_NOFILE, (64, 64))
        picture = (SEEDS / "titled.png").read_bytes()
        book, _ = self.album({f"{i}.png": picture for i in range(200)}, preexec_fn=limit)
        self.assertEqual(len(book.spine), 201)
