#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Starts the program and waits until its window lists the samples, as assistive
technology sees it."""
import subprocess
import sys
import time

import gi

gi.require_version('Atspi', '2.0')
from gi.repository import Atspi  # noqa: E402

wanted = {'NET-101', 'LNX-101', 'SQL-101', 'WORLD-101'}


def names(accessible):
    found = {accessible.get_name()}
    for index in range(accessible.get_child_count()):
        if (child := accessible.get_child_at_index(index)) is not None:
            found |= names(child)
    return found


with subprocess.Popen(['practorium']) as program:
    found = set()
    end = time.monotonic() + 60
    while not wanted <= found and time.monotonic() < end and program.poll() is None:
        time.sleep(0.2)
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            if (application := desktop.get_child_at_index(index)) and application.get_name().lower() == 'practorium':
                found |= names(application)
    program.kill()
sys.exit(0 if wanted <= found else f'missing: {sorted(wanted - found)} of {sorted(found)}')
