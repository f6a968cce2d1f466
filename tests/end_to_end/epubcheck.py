"""Lets epubcheck look at all books that other tests have left for it: one call for many of them, as most
of its time goes into its start, and a call a processor."""

import json
import os
import subprocess
import sys
from pathlib import Path

from book import LEFT

COMMAND = ["java", "-XX:+UseSerialGC", "-XX:TieredStopAtLevel=1", "-cp", "/usr/share/java/epubcheck.jar",
           Path(__file__).with_name("EpubCheckAll.java")]


def size(place):
    return (place / "book.epub").stat().st_size


def messages(report):
    """Those of a report as identifiers; of one that is about many things, with the element."""
    for message in json.loads(report.read_text())["messages"]:
        is_guide = 'element "guide" incomplete' in message["message"]
        yield message["ID"] + (" guide" if is_guide else "")


def check_all(places):
    """Writes a report beside each book; the largest books are dealt out first."""
    hands = [[] for _ in range(min(os.cpu_count(), len(places)))]
    for place in sorted(places, key=size, reverse=True):
        min(hands, key=lambda hand: sum(map(size, hand))).append(place)
    calls = [subprocess.Popen([*COMMAND, *hand], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
             for hand in hands]
    if any([call.wait() for call in calls]):
        sys.exit("epubcheck could not look at all books")


def main():
    places = sorted(path.parent for path in LEFT.glob("*/book.epub"))
    check_all(places)
    wrong = 0
    for place in places:
        found = sorted(set(messages(place / "report.json")))
        if found != json.loads((place / "allowed.json").read_text()):
            wrong += 1
            print(place, *found)
    print(f"{len(places)} books, {wrong} of them wrong")
    return wrong


if __name__ == "__main__":
    sys.exit(main())
