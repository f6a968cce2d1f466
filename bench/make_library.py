"""Makes a library for runs of many machines: python3 make_library.py DIRECTORY BOOKS [SEED]

Of a hundred books, 90 are texts of 1 to 60 KB with chapters, 5 are sites of three pages with a picture, 4 are MOBI
books and one is damaged and cannot be made: in folders of a hundred. The same numbers make the same library.
"""

import random
import shutil
import sys
from pathlib import Path

MOBI = Path(__file__).resolve().parents[1] / "tests" / "fixtures" / "mobi"
WORDS = ("the ships lay in harbour all summer long and nobody went to sea before storm came over hill where "
         "old light burned by night while children counted boats that did not return from north").split()


def paragraph(chance):
    words = chance.choices(WORDS, k=chance.randint(20, 120))
    return " ".join(words).capitalize() + "."


def text(chance):
    size, parts = int(1000 * 60 ** chance.random()), []
    while sum(map(len, parts)) < size:
        if len(parts) % 12 == 0:
            parts.append(f"CHAPTER {len(parts) // 12 + 1}")
        parts.append(paragraph(chance))
    return "\n\n".join(parts) + "\n"


def make_site(folder, chance):
    folder.mkdir()
    links = "".join(f'<p><a href="page-{i}.html">Page {i}</a></p>' for i in (1, 2))
    (folder / "index.html").write_text(f"<title>Site</title><h1>Site</h1>{links}<img src='photo.jpg' alt='A photo'>")
    for i in (1, 2):
        body = "".join(f"<p>{paragraph(chance)}</p>" for _ in range(10))
        (folder / f"page-{i}.html").write_text(f"<title>Page {i}</title><h1>Page {i}</h1>{body}")
    shutil.copy(MOBI / "source" / "photo.jpg", folder)


def main(directory, books, seed=1):
    originals = [MOBI / name for name in ("old.mobi", "new.mobi", "both.mobi")]
    for number in range(int(books)):
        chance = random.Random(f"{seed}/{number}")
        folder = Path(directory, f"{number // 100:04}")
        folder.mkdir(parents=True, exist_ok=True)
        place = number % 100
        if place < 90:
            (folder / f"text-{number}.txt").write_text(text(chance))
        elif place < 95:
            make_site(folder / f"site-{number}", chance)
        elif place < 99:
            shutil.copy(originals[place % len(originals)], folder / f"mobi-{number}.mobi")
        else:
            (folder / f"damaged-{number}.mobi").write_bytes(originals[0].read_bytes()[:2000])


if __name__ == "__main__":
    main(*sys.argv[1:])
