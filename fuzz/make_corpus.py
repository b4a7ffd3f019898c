#!/usr/bin/env python3
"""Writes the seeds of the exam corpus into the folder "corpus/exam" beside this file."""
import pathlib
import struct
import sys

here = pathlib.Path(__file__).resolve().parent
sys.dont_write_bytecode = True
sys.path.insert(0, str(here.parent / "bench"))
from gen_exam import exam  # noqa: E402

single = dict(problem="Which one?", choices=[("This", True), ("That", False)])
several = dict(problem="Which two?\r\nPick.", why="  Both stand in the list. ", exhibit="list.gif", hint=True,
               choices=[("A", True), ("B", False), ("C", True)])
bare = dict(problem="", choices=[])
whole = exam("EX-1", "Small", 1000, 700, 60, [single, several], b"\x01\x02\x03")
seeds = {
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
