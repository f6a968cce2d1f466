"""Texts of all encodings: recognised, decoded, and set in the paragraphs that they have."""

import json
import random
import re
import unittest

from book import XHTML, Book, ToolTest
from text_test import as_in_a_book

CHINESE = """第一章 风雪夜归人

那年冬天，雪下得特别大。老李从县城回来的时候，天已经黑透了，村口的灯一盏也没有亮。他把棉袄裹紧，低着头往家里走，脚底下的雪咯吱咯吱地响。
“你怎么才回来？”妻子站在门口，手里提着一盏煤油灯，“孩子们都睡了，饭在锅里。”
老李没有说话，只是点了点头。他想起白天在车站看见的那个人，心里忽然不安起来。
"""
TRADITIONAL = """第一章 風雪夜歸人

那年冬天，雪下得特別大。老李從縣城回來的時候，天已經黑透了，村口的燈一盞也沒有亮。他把棉襖裹緊，低著頭往家裡走，腳底下的雪咯吱咯吱地響。
「你怎麼才回來？」妻子站在門口，手裡提著一盞煤油燈，「孩子們都睡了，飯在鍋裡。」
"""
JAPANESE = """一　雪の夜

その年の冬は、雪がとても多かった。健一が町から帰ってきたとき、あたりはもう真っ暗で、村の入り口には明かりひとつ見えなかった。彼は外套の襟を立て、うつむいて家へ向かった。
「遅かったのね」と、妻が戸口に立って言った。「子どもたちはもう寝ましたよ。ご飯は温めてあります」
"""
KOREAN = """제1장 눈 오는 밤

그해 겨울에는 눈이 유난히 많이 내렸다. 민수가 읍내에서 돌아왔을 때 날은 이미 어두워졌고 마을 어귀에는 불빛 하나 보이지 않았다. 그는 외투 깃을 세우고 고개를 숙인 채 집으로 걸어갔다.
"왜 이제야 와요?" 아내가 문 앞에 서서 물었다. "아이들은 벌써 잠들었어요."
"""
RUSSIAN = """Глава первая. Метель

В ту зиму снега выпало очень много. Когда Иван вернулся из города, было уже совсем темно, и у околицы не горел ни один огонек. Он поднял воротник и, опустив голову, пошел к дому.
- Что же ты так поздно? - спросила жена, стоя на пороге с лампой в руке. - Дети давно спят.
"""
FRENCH = """Chapitre premier. La neige

Cette année-là, l'hiver fut très rigoureux et la neige tomba pendant des semaines. Lorsque Étienne revint de la ville, il faisait déjà nuit noire, et pas une lumière ne brillait à l'entrée du village.
« Où étais-tu passé ? » demanda sa femme, debout sur le seuil. « Le dîner est prêt. »
"""
GERMAN = """Erstes Kapitel. Der Schnee

In jenem Winter fiel sehr viel Schnee. Als Jürgen aus der Stadt zurückkehrte, war es schon völlig dunkel, und am Eingang des Dorfes brannte kein einziges Licht.
„Warum kommst du so spät?“, fragte seine Frau. „Das Essen für 3 € steht im Ofen.“ Er nickte bloß.
"""
POLISH = """Rozdział pierwszy. Śnieżyca

Tamtej zimy spadło bardzo dużo śniegu. Gdy Łukasz wrócił z miasta, było już zupełnie ciemno, a przy wjeździe do wsi nie świeciło się ani jedno światło. Podniósł kołnierz i ze spuszczoną głową ruszył w stronę domu.
- Dlaczego tak późno? - zapytała żona, stojąc na progu z lampą w ręku.
"""
HUNGARIAN = """Első fejezet. A hó

Azon a télen nagyon sok hó esett. Amikor Gergő hazatért a városból, már teljesen sötét volt, és a falu szélén egyetlen fény sem égett. Felhajtotta a gallérját, és lehajtott fejjel elindult a ház felé.
- Miért jössz ilyen későn? - kérdezte a felesége, aki lámpával a kezében állt a küszöbön.
"""
GREEK = """Κεφάλαιο πρώτο. Το χιόνι

Εκείνο τον χειμώνα έπεσε πολύ χιόνι. Όταν ο Γιάννης γύρισε από την πόλη, είχε πια νυχτώσει και στην είσοδο του χωριού δεν έφεγγε ούτε ένα φως.
«Γιατί άργησες τόσο;» ρώτησε η γυναίκα του. «Τα παιδιά κοιμούνται από ώρα.»
"""
TURKISH = """Birinci bölüm. Kar

O kış çok kar yağdı. Şükrü şehirden döndüğünde hava çoktan kararmıştı ve köyün girişinde tek bir ışık bile yanmıyordu. Yakasını kaldırdı, başını öne eğip eve doğru yürüdü.
"Neden bu kadar geç kaldın?" diye sordu karısı.
"""
HEBREW = """פרק ראשון. השלג

באותו חורף ירד שלג רב מאוד. כאשר חזר יוסף מן העיר, כבר היה חושך גמור, ובכניסה לכפר לא דלק אף אור אחד. הוא הרים את צווארונו והלך אל הבית בראש מורכן.
"""
ARABIC = """الفصل الأول. الثلج

في ذلك الشتاء تساقط الثلج بكثرة. عندما عاد أحمد من المدينة كان الظلام قد حل تماما، ولم يكن عند مدخل القرية أي ضوء. رفع ياقته ومشى نحو البيت مطرق الرأس.
"""
THAI = """บทที่หนึ่ง หิมะ

ฤดูหนาวปีนั้นหิมะตกหนักมาก เมื่อสมชายกลับมาจากในเมือง ฟ้าก็มืดสนิทแล้ว และที่ทางเข้าหมู่บ้านไม่มีแสงไฟสักดวง เขายกคอเสื้อขึ้นแล้วก้มหน้าเดินกลับบ้าน
"""
WIDE = ("utf-8", "utf-8-sig", "utf-16", "utf-16le", "utf-16be", "utf-32", "utf-32le", "utf-32be")
TEXTS = {
    "chinese": (CHINESE, ("gbk", "gb18030")),
    "traditional": (TRADITIONAL, ("big5",)),
    "japanese": (JAPANESE, ("shift-jis", "cp932", "euc-jp", "iso-2022-jp")),
    "korean": (KOREAN, ("euc-kr", "cp949", "iso-2022-kr")),
    "russian": (RUSSIAN, ("koi8-r", "windows-1251", "cp866", "iso-8859-5")),
    "french": (FRENCH, ("windows-1252", "iso-8859-1", "macintosh")),
    "german": (GERMAN, ("windows-1252",)),
    "polish": (POLISH, ("windows-1250", "iso-8859-2")),
    "hungarian": (HUNGARIAN, ("windows-1250", "iso-8859-2")),
    "greek": (GREEK, ("windows-1253", "iso-8859-7")),
    "turkish": (TURKISH, ("windows-1254", "iso-8859-9")),
    "hebrew": (HEBREW, ("windows-1255",)),
    "arabic": (ARABIC, ("windows-1256",)),
    "thai": (THAI, ("windows-874",)),
}
PYTHON_NAMES = {"macintosh": "mac-roman", "windows-874": "cp874"}


def encode(text, encoding):
    return text.encode(PYTHON_NAMES.get(encoding, encoding))


def big_mark(text, encoding):
    """With the byte order that Python does not choose by itself."""
    return ("\ufeff" + text).encode(encoding + "be")


class Encodings(ToolTest):
    def reports(self, *arguments):
        done = self.kavepub("convert", "--json", "--paragraphs", "wrapped", *arguments)
        self.assertEqual(done.stderr, "")
        return [json.loads(line) for line in done.stdout.splitlines()]

    def test_detected(self):
        """Each encoding in each size, as one batch."""
        sources = {}
        (self.dir / "texts").mkdir()
        for language, (text, encodings) in TEXTS.items():
            paragraph = text.splitlines()[2] + "\n"
            for size, sized in (("paragraph", paragraph), ("text", text), ("pages", text * 60)):
                named = [(encoding, encode(sized, encoding)) for encoding in WIDE + encodings]
                named += [("big " + e, big_mark(sized, e)) for e in ("utf-16", "utf-32")]
                for encoding, data in named:
                    name = f"{language} {size} {encoding}.txt"
                    (self.dir / "texts" / name).write_bytes(data)
                    sources["texts/" + name] = sized
        reports = self.reports("texts")
        self.assertEqual(len(reports), len(sources))
        for report in reports:
            source = report["inputs"][0]
            with self.subTest(source):
                self.assertEqual(report["status"], "done", report["message"])
                self.assertRegex(report["message"], r"^[A-Z0-9-]+, wrapped lines$")
                self.assertEqual(Book(self.dir / report["output"]).text_of_pages(),
                                 as_in_a_book(sources[source].encode()))

    def test_declared(self):
        for language, (text, encodings) in TEXTS.items():
            for encoding in WIDE + encodings:
                with self.subTest(language, encoding=encoding):
                    (self.dir / "in.txt").write_bytes(encode(text, encoding))
                    name = encoding.removesuffix("-sig")
                    report, = self.reports("--force", "--encoding", name, "in.txt")
                    self.assertEqual(report["message"], name + ", wrapped lines")
                    self.assertEqual(Book(self.dir / "in.epub").text_of_pages(),
                                     as_in_a_book(text.encode()))

    def test_line_ends(self):
        wanted = "one two three "
        rows = (
            ("CR LF", b"one\r\ntwo\r\nthree\r\n", wanted),
            ("CR", b"one\rtwo\rthree\r", wanted),
            ("all kinds", b"one\ntwo\rthree\r\n", wanted),
            ("end of file", b"one\r\ntwo\r\nthree\r\n\x1a", wanted),
            ("only end of file", b"\x1a", ""),
            ("end of file inside", b"one\x1atwo\n", "onetwo "),  # no book can hold it
            ("mark alone", b"\xef\xbb\xbf", ""),
            ("UTF-16", "one\r\ntwo\r\nthree\r\n\x1a".encode("utf-16le"), wanted),
            ("CR and LF far apart", b"x" * 65535 + b"\r\ny\n", "x" * 65535 + " y "),
            ("letter cut by a buffer", b"\r" + b"x" * 65533 + "雪".encode() + b"\n",
             " " + "x" * 65533 + "雪 "),
        )
        for name, data, text in rows:
            with self.subTest(name):
                (self.dir / "in.txt").write_bytes(data)
                report, = self.reports("--force", "in.txt")
                self.assertEqual(report["status"], "done", report["message"])
                self.assertEqual(Book(self.dir / "in.epub").text_of_pages(), text)

    def test_errors_name_the_byte(self):
        snow = "雪下得特别大，天已经黑透了。"
        broken = snow.encode() * 3 + b"\xff" + snow.encode()
        rows = (
            # name, bytes, --encoding, the byte of the message, the text with errors replaced
            ("Latin as UTF-8", b"caf\xe9 noir", "utf-8", 4, "caf\ufffd noir"),
            ("broken UTF-8, detected", broken, "auto", 127, snow * 3 + "\ufffd" + snow),
            ("cut at the end", b"ok " + snow.encode()[:-1], "utf-8", 43, "ok " + snow[:-1] + "\ufffd"),
            ("GBK", b"ab\xd1\xa9\xff\x20\xd1\xa9", "gbk", 5, "ab雪\ufffd 雪"),
            ("UTF-16 stays in step", b"a\0\0\xdcb\0", "utf-16le", 3, "a\ufffdb"),
            ("UTF-32 stays in step", b"a\0\0\0\0\0\x11\0b\0\0\0", "utf-32le", 5, "a\ufffdb"),
            ("odd length", b"a\0b", "utf-16le", 3, "a\ufffd"),
            ("far in", b"a\n" * 50_000 + b"\xe9" + b"a\n" * 50_000, "utf-8", 100_001,
             "a " * 50_000 + "\ufffd" + "a " * 50_000),
            ("a letter held back", b"Vi\xea\xf2t a\xcc", "cp1258", None, "Việt à"),
        )
        for name, data, encoding, byte, text in rows:
            with self.subTest(name):
                (self.dir / "in.txt").write_bytes(data)
                report, = self.reports("--force", "--encoding", encoding, "in.txt")
                if byte is None:
                    self.assertEqual(report["status"], "done")
                else:
                    self.assertRegex(report["message"], rf"^in\.txt: byte {byte} is not valid .*"
                                     "; name the right --encoding, or use --encoding-errors replace$")
                self.reports("--force", "--encoding", encoding, "--encoding-errors", "replace", "in.txt")
                # Runs of replacements count as one: how many bytes make one error is iconv's choice.
                found = re.sub("\ufffd+", "\ufffd", Book(self.dir / "in.epub").text_of_pages())
                self.assertEqual(found, text)

    def test_names_of_encodings(self):
        (self.dir / "in.txt").write_bytes(b"caf\xe9\n")
        for name in ("klingon", "utf-8//IGNORE", ""):
            with self.subTest(name):
                report, = self.reports("--encoding", name, "in.txt")
                self.assertIn(f'the encoding "{name}" is not known; `iconv -l` lists',
                              report["message"])


def paragraphs(book):
    """Of each page, the texts of its paragraphs without blanks, which readers do not show."""
    return [[re.sub("[ \n]+", "", "".join(p.itertext())) for p in book.page(name).iter(XHTML + "p")]
            for name in book.spine]


SPEECH = ("“你来了？”\n“来了。”\n“外面冷吗？”\n“冷得很，雪一直没有停，路上连个人影也看不见。”\n"
          "她给他倒了一杯热茶，又在炉子里添了两块炭，火光照在她的脸上，忽明忽暗。\n“明天还走？”\n“走。”\n")


def wrapped(text, columns):
    return "\n".join(line[at:at + columns] for line in text.splitlines()
                     for at in range(0, len(line), columns)) + "\n"


class Paragraphs(ToolTest):
    def test_recognised(self):
        rows = (
            ("one line", "Short.\n", "wrapped"),
            ("wrapped", wrapped(FRENCH * 5, 70), "wrapped"),
            ("whole paragraphs", FRENCH, "line"),
            ("whole paragraphs in Russian", RUSSIAN, "line"),
            ("Russian verse", "Буря мглою небо кроет,\nВихри снежные крутя;\n" * 9, "wrapped"),
            ("Chinese", CHINESE, "line"),
            ("Chinese speech", SPEECH * 3, "line"),
            ("Chinese, wrapped", wrapped(CHINESE * 9, 36), "wrapped"),
            ("Chinese, wrapped narrowly", wrapped(CHINESE * 9, 20), "wrapped"),
            ("Japanese", JAPANESE, "line"),
            ("one wide line in twenty", ("short line\n" * 19 + "x" * 200 + "\n") * 9, "wrapped"),
        )
        said = {"line": "one paragraph a line", "wrapped": "wrapped lines"}
        for name, text, mode in rows:
            with self.subTest(name):
                (self.dir / "in.txt").write_text(text)
                self.convert("in.txt")
                self.assertEqual(self.report["message"], "UTF-8, " + said[mode])
                for wish in said:
                    self.convert("in.txt", "--paragraphs", wish)
                    self.assertEqual(self.report["message"], "UTF-8, " + said[wish])

    def check_lines(self, text):
        """Each line that is not blank is one paragraph, unless a page ends within it."""
        (self.dir / "in.txt").write_text(text)
        book = self.convert("in.txt", "--paragraphs", "line")
        lines = [re.sub("[ \n]+", "", line) for line in text.split("\n")]
        lines = [line for line in lines if line.strip("\t\u3000\xa0\f")]
        found = []
        for page in paragraphs(book):
            self.assertTrue(all(page), "an empty paragraph")
            goes_on = bool(found) and found[-1] != lines[len(found) - 1]
            if goes_on:
                found[-1] += page.pop(0)
            found += page
        self.assertEqual(found, lines)
        book.check_structure(self)

    def test_each_line_one_paragraph(self):
        rows = {
            "plain": "one\ntwo\nthree\n",
            "no last line feed": "one\ntwo",
            "blank lines": "\n\none\n\n\ntwo\n   \nthree\n\u3000\u3000\nfour\n\t\nfive\n",
            "page and more": "".join(f"line {i}\n" for i in range(150)),
            "leading blanks": "".join(" " * (i % 7) + f"line {i}\n" for i in range(150)),
            "bullets": "".join("•" * (i % 3) + " " * (i % 2) + f"item {i}\n" for i in range(150)),
            "bullet first": "• one\n• two\n",
            "gaps": "a    b   c\nd      e\n",
            "long lines": "".join("x" * length + "\n" for length in range(240, 520, 7)),
            "long lines of words": ("word and another " * 100 + "\n") * 40,
            "long lines in wide letters": CHINESE.replace("\n", "") * 20 + "\n" + "雪" * 5000 + "\n",
            "bullets at cuts": "".join("x" * length + "•" * 5 + " y • z" * 60 + "\n"
                                       for length in range(200, 260)),
            "blanks at cuts": "".join("x" * length + " " * 20 + "y" * 300 + "\n"
                                      for length in range(220, 260)),
            "markup": "a < b & c > d &amp; <p>\n" * 3,
        }
        for name, text in rows.items():
            with self.subTest(name):
                self.check_lines(text)

    def test_random_lines(self):
        chance = random.Random(5)
        words = ["a", "word", "雪", "“你来了？”", "•", "\uf06e", "   ", "\u3000", "\t", "𝄞", "x" * 40]
        for _ in range(40):
            lines = ["".join(chance.choice(words) for _ in range(chance.choice((0, 1, 5, 60, 300))))
                     for _ in range(chance.randint(1, 150))]
            lines.append("end")
            with self.subTest(text="\n".join(lines)[:200]):
                self.check_lines("\n".join(" " * chance.randint(0, 3) + line for line in lines))


if __name__ == "__main__":
    unittest.main()
