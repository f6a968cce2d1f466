#!/usr/bin/env python3
"""Makes the inputs of the benchmarks, the same ones each time.

    make_inputs.py DIRECTORY INPUT...

An input is KIND-SIZE: english, chinese, html, mobi (in MB), pages or chapters (how many).
Words follow Zipf's law, as they do in any language.
"""
import itertools
import pathlib
import random
import struct
import sys
import textwrap
import zlib

sys.path.append(str(pathlib.Path(__file__).resolve().parent.parent / "tests/fixtures/mobi"))
import old_books  # pylint: disable=wrong-import-position

MB = 1_000_000
VOCABULARY = 20_000
POOL = 20_000  # paragraphs to choose from: far more than a deflated page can look back on
SYLLABLES = [onset + vowel + coda for onset in ("b", "c", "d", "f", "h", "l", "m", "s", "t", "th", "w")
             for vowel in "aeio" for coda in ("", "n", "r")]
HANZI = [chr(0x4E00 + 7 * number) for number in range(2500)]

# What is wrong with pages as they are found: {0} is a text, {1} a number, {2} a link.
FAULTS = ["<p>{0}</p>\n", "<p>{0}\n", "<P ALIGN=center>{0}</P>\n", "<p id=p{1}>{0}</p>\n",
          "<p><font face=Arial color=red>{0}</font></p>\n", "<center>{0}</center>\n",
          "<p><b>{0}<i> and</b> so on</i></p>\n", "<div>{0}<br>Rhythm & Blues<br/>1 < 2</div>\n",
          "<a name='n{1}'></a><p>{0} <a href=\"{2}\">more</a></p>\n", "<p onclick='x()'>{0}</p>\n",
          "<ul><li>{0}<li><a href=#p{1}>up</a></ul>\n", "<h2>{1}</h2><p>{0}</p>\n",
          "<table width=100% bgcolor=#fff><tr><td nowrap>{0}<td>caf&eacute;</table>\n",
          "<blockquote>{0}</blockquote>\n", "<p><u>{0}</u> &copy; 2001 <nobr>x&y</nobr></p>\n"]


def english_word(rng, rank):
    return "".join(rng.choices(SYLLABLES, k=1 if rank < 100 else rng.randint(1, 4)))


def chinese_word(rng, rank):
    length = 1 if rank < 300 else rng.choice((1, 2, 2, 2, 3))
    return "".join(HANZI[int(len(HANZI) ** rng.random()) - 1] for _ in range(length))


def paragraphs(rng, make_word, blank, comma, stop):
    """A pool of paragraphs of three to eight sentences, each with words of a topic of its own."""
    words = [make_word(rng, rank) for rank in range(VOCABULARY)]
    sums = list(itertools.accumulate(1 / (rank + 2.7) for rank in range(VOCABULARY)))

    def sentence(topic):
        chosen = rng.choices(words, cum_weights=sums, k=rng.randint(4, 20))
        chosen += rng.choices(topic, k=len(chosen) // 4)
        rng.shuffle(chosen)
        middle = len(chosen) // 2
        return (blank.join(chosen[:middle]) + comma + blank.join(chosen[middle:])).capitalize() + stop

    def paragraph():
        topic = rng.choices(words, cum_weights=sums, k=10)
        return blank.join(sentence(topic) for _ in range(rng.randint(3, 8)))

    return [paragraph() for _ in range(POOL)]


def english(rng):
    return paragraphs(rng, english_word, " ", ", ", ".")


def write_text(path, rng, pool, size):
    with path.open("w", encoding="utf-8") as file:
        while file.tell() < size:
            file.write("".join(rng.choices(pool, k=50)))


def write_english(path, size):
    rng = random.Random(1)
    wrapped = [textwrap.fill(text, 70, initial_indent="  ") + "\n" for text in english(rng)]
    write_text(path, rng, wrapped, size * MB)


def write_chinese(path, size):
    rng = random.Random(2)
    pool = paragraphs(rng, chinese_word, "", "，", "。")
    write_text(path, rng, [f"\u3000\u3000{text}\n" for text in pool], size * MB)


def write_pages(path, size):
    path.write_text("x\n" * 60 * size, encoding="ascii")


def write_chapters(path, size):
    rng = random.Random(5)
    pool = [textwrap.fill(text, 70) for text in english(rng)]
    with path.open("w", encoding="utf-8") as file:
        for number in range(1, size + 1):
            file.write(f"CHAPTER {number}\n\n{rng.choice(pool)}\n\n\n")


def png(rng, side):
    """A picture that does not compress."""
    rows = b"".join(b"\0" + rng.randbytes(3 * side) for _ in range(side))
    file = b"\x89PNG\r\n\x1a\n"
    for kind, data in ((b"IHDR", struct.pack(">IIBBBBB", side, side, 8, 2, 0, 0, 0)),
                       (b"IDAT", zlib.compress(rows, 1)), (b"IEND", b"")):
        file += struct.pack(">I", len(data)) + kind + data + struct.pack(
            ">I", zlib.crc32(kind + data))
    return file


def write_html(path, size):
    """A site of pages of about 24 KB in folders of a hundred, with a picture each."""
    rng = random.Random(3)
    pool = english(rng)
    count = size * MB // 30_000
    places = [f"part-{number // 100}/chapter-{number}.html" for number in range(count)]
    for number, place in enumerate(places):
        links = ["../" + place for place in rng.choices(places, k=3)]
        links += ["../" + places[(number + 1) % count], "../index.html", "http://example.org/?a=1&b=2"]
        body = [rng.choice(FAULTS).format(rng.choice(pool), rng.randint(1, 30), rng.choice(links))
                for _ in range(50)]
        body.append(f"<img src=picture-{number}.png width=44><a href={links[3]}>Next</a>")
        page = path / place
        page.parent.mkdir(parents=True, exist_ok=True)
        page.write_text(f"<HTML><HEAD><TITLE>Chapter {number}</TITLE></HEAD>\n<BODY BGCOLOR=white>\n"
                        + "".join(body) + "</BODY></HTML>\n", encoding="utf-8")
        (page.parent / f"picture-{number}.png").write_bytes(png(rng, 44))
    items = "".join(f"<li><a href=\"{place}\">{place}</a>\n" for place in places)
    (path / "index.html").write_text(f"<title>A Site</title><body><ul>{items}</ul>", encoding="utf-8")


def palmdoc(piece):
    """A text record in the codes of PalmDOC for a blank and a letter."""
    for byte in range(0x41, 0x7B):
        piece = piece.replace(bytes([0x20, byte]), bytes([byte ^ 0x80]))
    return piece


def write_mobi(path, size):
    """A book of 30 % text and 70 % pictures, 70 KB each, with a cover and a linked contents list."""
    rng = random.Random(4)
    pool = english(rng)
    pictures = [png(rng, 153) for _ in range(max(1, size * 7 * MB // 10 // 70_000))]
    chapters = []
    for number in range(1, len(pictures) + 1):
        text = f"<mbp:pagebreak/><h1>Chapter {number}</h1><p><img recindex=\"{number:05}\"></p>"
        texts = rng.choices(pool, k=75)
        chapters.append((text + "".join(f"<p width=\"1em\">{text}</p>" for text in texts)).encode())
    item = "<p><a filepos={:010}>Chapter {:06}</a></p>"
    place = len(item.format(0, 0)) * len(chapters) + len("<html><body>")
    contents = ""
    for number, chapter in enumerate(chapters, 1):
        contents += item.format(place, number)
        place += len(chapter)
    text = b"<html><body>" + contents.encode() + b"".join(chapters) + b"</body></html>"
    texts = [palmdoc(piece) for piece in old_books.pieces(text)]
    first = old_books.record_0(len(text), len(texts), 2, 65001, "A Book",
                               [(100, b"Ada Example"), (201, struct.pack(">I", 0))],
                               first_other=1 + len(texts), first_image=1 + len(texts))
    path.write_bytes(old_books.database("A_Book", b"BOOKMOBI", [first] + texts + pictures))


WRITERS = {"english": (write_english, ".txt"), "chinese": (write_chinese, ".txt"),
           "html": (write_html, ""), "mobi": (write_mobi, ".mobi"), "pages": (write_pages, ".txt"),
           "chapters": (write_chapters, ".txt")}


def main():
    directory = pathlib.Path(sys.argv[1])
    directory.mkdir(parents=True, exist_ok=True)
    for name in sys.argv[2:]:
        kind, size = name.split("-")
        print(f"Making {name}", flush=True)
        write, extension = WRITERS[kind]
        unfinished = directory / (name + ".part")
        write(unfinished, int(size))
        unfinished.rename(directory / (name + extension))


if __name__ == "__main__":
    main()
