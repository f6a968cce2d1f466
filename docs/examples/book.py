"""Makes a book through the C record, from Python: book.py BOOK [LIBRARY]"""

import sys
from ctypes import CDLL, CFUNCTYPE, POINTER, Structure, c_char_p, c_int, c_void_p

Data = c_void_p
Progress = CFUNCTYPE(c_int, c_void_p, c_int, c_int)


def entry(*arguments, result=c_int):
    return CFUNCTYPE(result, *arguments)


class EpubService(Structure):
    _fields_ = [
        ("data", Data),
        ("InitEpub", entry(Data, c_char_p, c_char_p, c_char_p)),
        ("ClearUp", entry(Data, result=None)),
        ("StartPage", entry(Data)),
        ("EndPage", entry(Data)),
        ("AddTextLineToPage", entry(Data, c_char_p)),
        ("AddImageToPage", entry(Data, c_char_p)),
        ("AddImageToEpub", entry(Data, c_char_p)),
        ("GenerateEpub", entry(Data, c_char_p)),
        ("AddHtmlToEpub", entry(Data, c_char_p)),
        ("Txt2Epub", entry(*[c_char_p] * 5, c_void_p, Progress)),
        ("Mobi2Epub", entry(*[c_char_p] * 3, c_void_p, Progress)),
    ]


def load(library):
    kav_epub = CDLL(library)
    kav_epub.CreateEpubService.restype = POINTER(EpubService)
    kav_epub.FreeEpubService.argtypes = [POINTER(EpubService)]
    kav_epub.FreeEpubService.restype = None
    return kav_epub


def check(code):
    if code != 0:
        sys.exit(f"The book failed with code {code}.")


def make_book(kav_epub, path):
    record = kav_epub.CreateEpubService()
    epub = record.contents
    try:
        check(epub.InitEpub(epub.data, b".", "Grüße".encode(), b"A Writer"))
        check(epub.StartPage(epub.data))
        for line in ("First line,\n", "second line.\n", "third line: 你好.\n"):
            check(epub.AddTextLineToPage(epub.data, line.encode()))
        check(epub.EndPage(epub.data))
        check(epub.GenerateEpub(epub.data, path.encode()))
    finally:
        kav_epub.FreeEpubService(record)  # removes the working files, too


if __name__ == "__main__":
    make_book(load(sys.argv[2] if len(sys.argv) > 2 else "libKav_Epub.so"), sys.argv[1])
