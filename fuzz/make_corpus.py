#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes the seeds of exams and pictures into the folder "corpus" beside this file."""
import pathlib
import struct
import sys
import zlib

here = pathlib.Path(__file__).resolve().parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(here.parent / "bench"))
from gen_exam import block, exam  # noqa: E402

single = dict(problem="Which one?", choices=[("This", True), ("That", False)])
several = dict(problem="Which two?\r\nPick.", why="  Both stand in the list. ", exhibit="list.gif", hint=True,
               choices=[("A", True), ("B", False), ("C", True)])
bare = dict(problem="", choices=[])
whole = exam("EX-1", "Small", 1000, 700, 60, [single, several], b"\x01\x02\x03")
cyrillic = dict(problem="Какой?", why="Да.", choices=[("Этот", True), ("Тот", False)])
world = dict(problem="中 – \U0001F600?", choices=[("é", True), ("ا", False)])
utf8 = exam("?-1", "?", 1000, 700, 60, [cyrillic, world], block(65001, "Ж-1", "Проба 中"), "utf-8")
seeds = {
    "page-utf8": utf8,
    "page-1251": exam("EX-1", "?", 1000, 700, 60, [cyrillic], block(1251, "Ж-1", "Проба"), "cp1251"),
    "page-932": exam("EX-1", "?", 1000, 700, 60, [cyrillic], block(932, "Ж-1", "Проба"), "cp932"),
    "page-later": exam("?", "?", 1000, 700, 60, [world], block(65001, "Ж", "").replace(b"\x1a\1", b"\x1a\2") + b"!", "utf-8"),
    "page-unknown": exam("EX-1", "?", 1000, 700, 60, [cyrillic], block(1259, "Ж-1", "Проба"), "cp1251"),
    "page-not-utf8": exam("EX-1", "?", 1000, 700, 60, [cyrillic], block(65001, "Ж-1", "Проба"), "cp1251"),
    "page-cut": exam("EX-1", "?", 1000, 700, 60, [cyrillic], block(65001, "Ж-1", "Проба")[:-1], "cp1251"),
    "empty": b"",
    "no-items": exam("EX-0", "Nothing", 1000, 700, 60, []),
    "one-item": exam("EX-1", "One", 100, 50, 1, [single]),
    "whole": whole,
    "bare-item": exam("", "", 0, 0, 0, [bare]),
    "cut-in-item": whole[:90],
    "cut-in-header": whole[:9],
    "behind-the-end": whole + b"more",
    # Counts below 0 stand for nothing, and any low word but 0 for true.
    "negative-counts": struct.pack("<iii3hi", -1, -2, -3, 1, 2, 3, 1)
    + struct.pack("<hhIiiii", 1, 1, 0x12340001, -1, -1, -1, 1) + struct.pack("<hIi", -70, 0xFFFF0000, -1),
    "many-promised": struct.pack("<iii3hi", 0, 0, 0, 1, 2, 3, 0x7FFFFFFF),
}
for name, content in seeds.items():
    (here / "corpus/exam" / name).write_bytes(content)


def chunk(kind, content):
    return struct.pack(">I", len(content)) + kind + content + struct.pack(">I", zlib.crc32(kind + content))


def segment(marker, content):
    return bytes([0xFF, marker]) + struct.pack(">H", len(content) + 2) + content


def icon(content):
    return struct.pack("<3H4B2H2I", 0, 1, 1, 2, 2, 0, 0, 1, 24, len(content), 22) + content


def dib(width, height, depth, compression=0, colours=0):
    return struct.pack("<Iii2H6I", 40, width, height, 1, depth, compression, 0, 0, 0, colours, 0)


png = (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", struct.pack(">2I5B", 2, 2, 8, 3, 0, 0, 0)) + chunk(b"PLTE", bytes(6))
       + chunk(b"tRNS", b"\x80") + chunk(b"zTXt", b"K\0\0" + zlib.compress(b"text"))
       + chunk(b"IDAT", zlib.compress(bytes(6))) + chunk(b"IEND", b""))
# One code in each Huffman table: nothing, eight by eight pixels of it.
huffman = bytes([1] + [0] * 16)
jpeg = (b"\xFF\xD8" + segment(0xE0, b"JFIF\0\1\1\0\0\1\0\1\0\0") + segment(0xFE, b"text")
        + segment(0xDB, bytes(1) + bytes([1] * 64))
        + segment(0xC0, struct.pack(">B2H4B", 8, 8, 8, 1, 1, 0x11, 0)) + segment(0xC4, b"\x00" + huffman)
        + segment(0xC4, b"\x10" + huffman) + segment(0xDA, b"\1\1\0\0\x3F\0") + b"\x3F\xFF\xD9")
frame = b"!\xF9\4\1\0\0\0\0,\0\0\0\0\2\0\1\0\0\2\2\x44\x0A\0"
pictures = {
    "bmp": b"BM" + struct.pack("<IHHI", 70, 0, 0, 54) + dib(2, 2, 24) + bytes(16),
    "bmp-runs": b"BM" + struct.pack("<IHHI", 0, 0, 0, 62) + dib(4, 2, 8, 1, 2) + bytes(8)
    + b"\4\1\0\0\0\3\1\0\1\0\0\1",
    "gif": b"GIF89a\2\0\1\0\x80\0\0\xFF\0\0\0\0\xFF" + frame + b"!\xFE\4text\0" + frame + b";",
    "jpeg": jpeg,
    "ico": icon(dib(2, 4, 24) + bytes(24)),
    "ico-png": icon(png),
    "png": png,
}
(here / "corpus/picture").mkdir(exist_ok=True)
for name, content in pictures.items():
    (here / "corpus/picture" / name).write_bytes(content)
