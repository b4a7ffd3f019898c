#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""bench/download.py BIN FOLDER: how long the download window takes to fetch a pack of 500 MB from a
service on this machine, to curl -o into the same folder, each until the bytes are on the disk. The
programs are those of BIN, everything else lies in FOLDER. Prints lines of FIGURE|VALUES|LIMIT|UNIT,
one value for each round."""
import os, re, statistics, subprocess, sys, time, urllib.request

ROUNDS = 15
PACK_BYTES = 500_000_000

programs, folder = (os.path.abspath(argument) for argument in sys.argv[1:])
packs, target, database = (os.path.join(folder, name) for name in ("packs", "download", "db"))
os.mkdir(packs)
os.mkdir(target, 0o700)
with open(os.path.join(packs, "BIG-1.exe"), "wb") as pack:
    for _ in range(PACK_BYTES // 1_000_000):
        pack.write(os.urandom(1_000_000))


def service(*arguments, text=None):
    subprocess.run([os.path.join(programs, "practorium-service"), *arguments], input=text, text=True, check=True,
                   stdout=subprocess.DEVNULL)


# Seconds until the file is on the disk, and removes it.
def kept(name):
    path = os.path.join(target, name)
    start = time.monotonic()
    subprocess.run(["sync", path], check=True)
    seconds = time.monotonic() - start
    if os.path.getsize(path) != PACK_BYTES:
        sys.exit(f"{path} is not whole")
    os.remove(path)
    os.sync()
    return seconds


def curl():
    start = time.monotonic()
    subprocess.run(["curl", "-sS", "-o", os.path.join(target, "curl"), f"{endpoint}?sid={session}&eid=BIG-1"], check=True)
    return time.monotonic() - start + kept("curl")


# Seconds, the window's 99th percentile and the growth of its memory.
def window():
    home = dict.fromkeys(["HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_RUNTIME_DIR", "TMPDIR"], target)
    output = subprocess.run([os.path.join(programs, "bench_download"), endpoint, "a@b.example", "secret"], check=True,
                            env=dict(os.environ, QT_QPA_PLATFORM="offscreen", **home), stdout=subprocess.PIPE).stdout
    rate, wait, growth = map(float, output.split())
    return PACK_BYTES / 1e6 / rate + kept("BIG-1.exe"), wait, growth


service("add-user", "--database", database, "a@b.example", text="secret\n")
service("grant", "--database", database, "a@b.example", "BIG-1")
running = subprocess.Popen([os.path.join(programs, "practorium-service"), "serve", "--database", database, "--packs", packs],
                           stdout=subprocess.PIPE, text=True)
try:
    endpoint = running.stdout.readline().strip()
    with urllib.request.urlopen(endpoint, b"LOGIN?email=a@b.example&pwd=secret;") as reply:
        session = re.search("sid=([^;&]*)", reply.read().decode())[1]
    # The service computes the pack's digest for the first who asks.
    curl()
    floors, windows = [], []
    for _ in range(ROUNDS):
        floors.append(curl())
        windows.append(window())
finally:
    running.terminate()
    running.wait()

seconds, waits, growths = zip(*windows)
ratios = [mine / floor for mine, floor in zip(seconds, floors)]
row = lambda figure, values, limit, unit: print(f"{figure}|{' '.join(f'{value:.3f}' for value in values)}|{limit}|{unit}")
row(f"a pack of 500 MB to the window and the disk ({statistics.median(seconds):.2f} s), to curl -o and sync", ratios, 1.6, "x")
row("the window answers meanwhile, 99th percentile", waits, 50, "ms")
row("its memory grows by", growths, 8, "MB")
