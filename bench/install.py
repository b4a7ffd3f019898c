#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""bench/install.py BIN FOLDER: how long a pack of 500 MB takes to install itself, unsigned and
signed, to the floor: sha256sum of the pack, a copy of it in the same folder, and sync. BIN holds
practorium-author; everything lies in FOLDER. Prints lines of FIGURE|VALUES|LIMIT|UNIT, one value
for each round."""
import os, shutil, subprocess, sys, time

ROUNDS = 11
CONTENT_BYTES = 500_000_000
LIMIT = 1.2

programs, folder = sys.argv[1:]
bench = os.path.dirname(os.path.abspath(__file__))
home = os.path.join(folder, "home")
installed = os.path.join(home, "Practorium", "Exams", "BIG-1")
copy = os.path.join(folder, "copy")
environment = dict(os.environ, XDG_DATA_HOME=home)


def author(*arguments, text=None):
    subprocess.run([os.path.join(programs, "practorium-author"), *arguments], input=text, text=True, check=True,
                   stdout=subprocess.DEVNULL)


# The seconds of the work, with nothing of another round waiting to be written.
def seconds(work):
    shutil.rmtree(installed, ignore_errors=True)
    if os.path.exists(copy):
        os.remove(copy)
    os.sync()
    start = time.monotonic()
    work()
    return time.monotonic() - start


def measure(what, pack):
    def floor():
        subprocess.run(["sha256sum", pack], check=True, stdout=subprocess.DEVNULL)
        subprocess.run(["cp", "--reflink=never", pack, copy], check=True)
        subprocess.run(["sync"], check=True)

    def install():
        subprocess.run([pack], env=environment, check=True)

    floor()
    ratios = []
    best = None
    for _ in range(ROUNDS):
        least = seconds(floor)
        mine = seconds(install)
        best = min(best or mine, mine)
        ratios.append(f"{mine / least:.3f}")
    print(f"{what} of 500 MB installs itself ({best:.2f} s), to sha256sum, cp, sync|{' '.join(ratios)}|{LIMIT}|x", flush=True)


package = os.path.join(folder, "BIG-1")
os.mkdir(package)
subprocess.run([sys.executable, os.path.join(bench, "gen_exam.py"), os.path.join(package, "BIG-1.exam"), "10"], check=True)
# Contents that nothing can make smaller.
with open(os.path.join(package, "exhibit.png"), "wb") as exhibit:
    for _ in range(CONTENT_BYTES // 1_000_000):
        exhibit.write(os.urandom(1_000_000))

plain, signed, key = (os.path.join(folder, name) for name in ("plain", "signed", "key"))
author("pack", package, "--out", plain)
author("key", "--out", key, text="secret\n")
author("pack", package, "--out", signed, "--sign", key, "--pack-version", "1", text="secret\n")
shutil.rmtree(package)
measure("a pack", plain)
measure("a signed pack", signed)
