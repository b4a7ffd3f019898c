#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""bench/check.py BIN FOLDER: how long practorium-author of BIN takes to check 1,000 packages that
are made in FOLDER, each with 10 to 50 items and one or two exhibits. Beside it stands what it takes
to read their files and do nothing with them. Prints a line of FIGURE|VALUES|LIMIT|UNIT, one value
for each round."""
import os, random, statistics, struct, subprocess, sys, time, zlib

from gen_exam import exam

ROUNDS = 15
PACKAGES = 1000
LIMIT = 2
WIDTH, HEIGHT = 640, 480

programs, folder = sys.argv[1:]
chance = random.Random(1)


# A drawing in 24 bits: boxes of one colour each, some with noise like a photo.
def drawing():
    rows = [bytearray(b"\xff" * 3 * WIDTH) for _ in range(HEIGHT)]
    for box in range(12):
        left, top = chance.randrange(WIDTH - 160), chance.randrange(HEIGHT - 120)
        colour = chance.randbytes(3) * 160
        for row in rows[top:top + 120]:
            row[3 * left:3 * (left + 160)] = chance.randbytes(3 * 160) if box == 0 else colour
    return rows


def png(rows):
    def chunk(kind, data):
        return struct.pack(">I", len(data)) + kind + data + struct.pack(">I", zlib.crc32(kind + data))

    head = struct.pack(">IIBBBBB", WIDTH, HEIGHT, 8, 2, 0, 0, 0)
    pixels = zlib.compress(b"".join(b"\0" + row for row in rows))
    return b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", head) + chunk(b"IDAT", pixels) + chunk(b"IEND", b"")


def bmp(rows):
    pixels = b"".join(reversed(rows))
    return b"BM" + struct.pack("<IIIIiiHHIIiiII", 54 + len(pixels), 0, 54, 40, WIDTH, HEIGHT, 1, 24, 0, len(pixels), 0, 0, 0, 0) + pixels


def text(characters):
    words = "the router switch policy packet which of following statements about access list is true".split()
    return " ".join(chance.choice(words) for _ in range(characters // 6))


def item(exhibit):
    options = [(text(60), number == 0) for number in range(4)]
    return dict(problem=text(240), why=text(320), choices=options, exhibit=exhibit)


def write(path, content):
    with open(path, "wb") as file:
        file.write(content)


pictures = [(png(rows), bmp(rows)) for rows in (drawing() for _ in range(20))]
packages = [os.path.join(folder, f"PACKAGE-{number}") for number in range(PACKAGES)]
files = []
for number, package in enumerate(packages):
    os.mkdir(package)
    exhibits = dict(zip(["first.png", "second.bmp"][:1 + number % 2], chance.choice(pictures)))
    items = [item(dict(enumerate(exhibits)).get(position, "")) for position in range(10 + number % 41)]
    contents = {f"PACKAGE-{number}.exam": exam(f"P-{number}", "Exam", 1000, 700, 120, items), **exhibits}
    for name, content in contents.items():
        files.append(os.path.join(package, name))
        write(files[-1], content)

seconds, floors = [], []
for _ in range(ROUNDS + 1):
    start = time.monotonic()
    for path in files:
        with open(path, "rb", buffering=0) as file:
            file.readall()
    floors.append(time.monotonic() - start)
    start = time.monotonic()
    subprocess.run([os.path.join(programs, "practorium-author"), "check", *packages], check=True, stdout=subprocess.DEVNULL)
    seconds.append(time.monotonic() - start)
# The first round has filled the caches.
print(f"1,000 packages are checked (their files are read in {statistics.median(floors[1:]):.2f} s)"
      f"|{' '.join(f'{value:.3f}' for value in seconds[1:])}|{LIMIT}|s")
