"""Lists the entries of a container in the order of its directory: name, method, flags. Checks on the
way what holds for each: CRC, position, fixed time and attributes, no extra fields in either header."""

import struct
import sys
import zipfile

raw = open(sys.argv[1], "rb")
archive = zipfile.ZipFile(raw)
assert archive.testzip() is None
last = -1
listed = []
for info in archive.infolist():
    assert info.header_offset > last
    last = info.header_offset
    raw.seek(last)
    local = struct.unpack("<4s5H3L2H", raw.read(30))
    assert local[:4] == (b"PK\3\4", 20, info.flag_bits, info.compress_type), local
    assert local[6:9] == (info.CRC, info.compress_size, info.file_size), local
    assert local[10] == 0 and info.extra == b"" and info.comment == b""
    assert info.date_time == (1980, 1, 1, 0, 0, 0)
    assert info.create_system == 3 and info.external_attr == 0o100644 << 16
    name = info.orig_filename.encode("utf-8" if info.flag_bits & 0x800 else "cp437")
    listed.append(b"%s %d %d" % (name, info.compress_type, info.flag_bits))
sys.stdout.buffer.write(b"|".join(listed))
