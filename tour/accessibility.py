#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Takes the program through a sitting or a download as a screen reader would: by
the names, roles, states and actions on the accessibility bus alone, without a
pixel, a mouse or a key. What it hears on the way it writes to OUT.

accessibility.py sitting PROGRAM OUT             chooses NET-101, which is installed, and
                                                 CLOCK, which takes a minute
accessibility.py download PROGRAM OUT USER PASSWORD

To be run on a display with a window manager and on a session bus of its own.
"""
import re
import subprocess
import sys
import time
import warnings

import gi

gi.require_version('Atspi', '2.0')
from gi.repository import Atspi, GLib  # noqa: E402

# Names of functions that later versions have under others, too.
warnings.simplefilter('ignore', DeprecationWarning)

PATIENCE = 30  # seconds
Role = Atspi.Role
State = Atspi.StateType

# What a user acts on, and the action that it must offer.
ACTIONS = {
    Role.PUSH_BUTTON: ('Press',),
    Role.LINK: ('Press',),
    Role.CHECK_BOX: ('Toggle', 'Press'),
    Role.RADIO_BUTTON: ('Toggle', 'Press'),
}
# What is nothing without a name, beside these. A label without a text says nothing.
NAMED = {Role.FRAME, Role.DIALOG, Role.ALERT, Role.TEXT, Role.PASSWORD_TEXT, Role.LIST, Role.LIST_ITEM, Role.TABLE,
         Role.TABLE_CELL, Role.COLUMN_HEADER, Role.TABLE_COLUMN_HEADER, Role.TREE, Role.TREE_TABLE, Role.SCROLL_BAR,
         Role.PROGRESS_BAR, Role.IMAGE, Role.ICON, Role.NOTIFICATION} | set(ACTIONS)
# What only holds other things.
HOLDERS = {Role.FILLER, Role.PANEL, Role.SCROLL_PANE, Role.VIEWPORT, Role.LAYERED_PANE, Role.SEPARATOR}
WINDOWS = {Role.FRAME, Role.DIALOG, Role.ALERT, Role.WINDOW}

faults = []


class Heard:
    """The events of the program since it was started."""

    def __init__(self, out):
        self.out = out
        self.events = []
        self.listener = Atspi.EventListener.new(self.on_event)
        for kind in ('object:state-changed', 'object:property-change:accessible-value'):
            self.listener.register(kind)

    def on_event(self, event):
        try:
            role, name = event.source.get_role(), event.source.get_name() or ''
            value = None
            if event.type.startswith('object:property-change:accessible-value'):
                value = event.source.get_value_iface().get_current_value()
        except (GLib.Error, SystemError):  # it is gone again
            return
        self.events.append((event.type, event.detail1, role, name, value))
        if event.type == 'object:state-changed:showing' and event.detail1 and role == Role.NOTIFICATION:
            print(f'says      {name}', file=self.out, flush=True)
        else:
            print(f'event     {event.type} {event.detail1} {role.value_nick} "{name}" {value or ""}', file=self.out, flush=True)

    def said(self, start=0):
        return [name for kind, on, role, name, value in self.events[start:]
                if kind == 'object:state-changed:showing' and on and role == Role.NOTIFICATION]

    def values(self):
        return [value for kind, on, role, name, value in self.events if value is not None]

    def changed(self, state, name, on=1, start=0):
        return any(kind == 'object:state-changed:' + state and detail == on and heard == name
                   for kind, detail, role, heard, value in self.events[start:])


def wait(condition, what):
    """What the condition gives, once it gives something; events are heard meanwhile."""
    end = time.monotonic() + PATIENCE
    context = GLib.MainContext.default()
    while True:
        while context.iteration(False):
            pass
        try:
            result = condition()
        except (GLib.Error, SystemError):  # what was asked is gone again
            result = None
        if result:
            return result
        if time.monotonic() > end:
            raise TimeoutError(what)
        # Wakes up for the next event.
        GLib.timeout_add(20, lambda: False)
        context.iteration(True)


def children(node):
    """None of a node that is gone by now: its count is an error without a text."""
    try:
        return [child for index in range(node.get_child_count()) if (child := node.get_child_at_index(index)) is not None]
    except (GLib.Error, SystemError):
        return []


def states(node):
    return set(node.get_state_set().get_states())


def tree(node):
    """Of what is in view, from the node on down."""
    if State.VISIBLE not in states(node):
        return
    yield node
    for child in children(node):
        yield from tree(child)


def actions(node):
    interface = node.get_action_iface()
    return [] if interface is None else [interface.get_action_name(i) for i in range(interface.get_n_actions())]


def act(node):
    """The node's own action."""
    offered = actions(node)
    for index, name in enumerate(offered):
        if name in ACTIONS.get(node.get_role(), ('Toggle', 'Press')):
            node.get_action_iface().do_action(index)
            return
    raise LookupError(f'{node.get_role_name()} "{node.get_name()}" has no action but {offered}')


def look_at(window):
    """Notes what is wrong with any of its controls."""
    count = 0
    for node in tree(window):
        role, name, now = node.get_role(), node.get_name() or '', states(node)
        what = f'{window.get_name()}: {node.get_role_name()} "{name}"'
        count += 1

        def expect(holds, fault, what=what):
            if not holds and f'{what}: {fault}' not in faults:
                faults.append(f'{what}: {fault}')

        expect(role not in (Role.INVALID, Role.UNKNOWN), 'no role')
        expect(name or role not in NAMED, 'no name')
        expect(State.FOCUSABLE not in now or role not in HOLDERS, 'takes the focus and has no role')
        if role in ACTIONS or role in (Role.TEXT, Role.PASSWORD_TEXT):
            enabled = State.ENABLED in now
            expect(enabled == (State.SENSITIVE in now), 'enabled or not')
            expect(not enabled or State.FOCUSABLE in now, 'cannot take the focus')
            expect(not enabled or role not in ACTIONS or set(ACTIONS[role]) & set(actions(node)), f'no action but {actions(node)}')
        if role in (Role.TEXT, Role.PASSWORD_TEXT):
            expect(node.get_text_iface() is not None, 'no text')
            expect(State.EDITABLE not in now or node.get_editable_text_iface() is not None, 'cannot be edited')
        if role in (Role.PROGRESS_BAR, Role.SCROLL_BAR):
            expect(node.get_value_iface() is not None, 'no value')
        if role in (Role.LIST_ITEM, Role.TABLE_CELL):
            expect(State.SELECTABLE in now, 'not selectable')
    print(f'looked at {count} in "{window.get_name()}"', flush=True)
    return window


def outline(window, depth=0):
    names = [state.value_nick for state in sorted(states(window))]
    lines = [f'{"  " * depth}{window.get_role_name()} "{window.get_name()}" "{window.get_description()}" {actions(window)} {names}']
    for child in children(window):
        if State.VISIBLE in states(child):
            lines += outline(child, depth + 1)
    return lines


class Program:
    def __init__(self, program, out):
        self.heard = Heard(out)
        self.out = out
        self.process = subprocess.Popen([program])
        self.application = wait(self.find, 'the program on the bus')

    def find(self):
        for application in children(Atspi.get_desktop(0)):
            if application.get_process_id() == self.process.pid:
                # What it says now, each time.
                application.set_cache_mask(Atspi.Cache.NONE)
                return application
        if self.process.poll() is not None:
            sys.exit(f'the program ended with {self.process.returncode}')
        return None

    def windows(self):
        return [window for window in children(self.application) if State.VISIBLE in states(window)]

    def window(self, pattern):
        """The window whose title matches, once it is there and is the active one."""
        def found():
            for window in self.windows():
                if re.match(pattern, window.get_name() or '') and State.ACTIVE in states(window):
                    return window
            return None
        window = wait(found, f'the window {pattern}')
        print('\n'.join(outline(window)), file=self.out, flush=True)
        return look_at(window)

    def gone(self, pattern):
        wait(lambda: not any(re.match(pattern, window.get_name() or '') for window in self.windows()), f'{pattern} to close')

    def box(self, text, answer):
        """Answers a message box with that text."""
        def found():
            for window in self.windows():
                if window.get_role() == Role.ALERT and any(text in (node.get_name() or '') for node in tree(window)):
                    return window
            return None
        window = look_at(wait(found, f'a box with "{text}"'))
        self.press(window, answer)
        wait(lambda: self.process.poll() is not None or found() is None, f'the box with "{text}" to close')

    @staticmethod
    def one(window, role, pattern=''):
        for node in tree(window):
            if node.get_role() in (role if isinstance(role, tuple) else (role,)) and re.match(pattern, node.get_name() or ''):
                return node
        return None

    def find_in(self, window, role, pattern=''):
        return wait(lambda: self.one(window, role, pattern), f'{role} {pattern} in {window.get_name()}')

    def press(self, window, pattern, role=Role.PUSH_BUTTON):
        button = self.find_in(window, role, pattern)
        wait(lambda: State.SENSITIVE in states(button), f'{pattern} to be enabled')
        act(button)

    def says(self, pattern, start=0):
        return wait(lambda: next((text for text in self.heard.said(start) if re.search(pattern, text)), None),
                    f'"{pattern}" to be said')

    def mark_of_events(self):
        return len(self.heard.events)

    def check(self, node, name=None, on=True):
        """Ticks or chooses it, and sees and hears that it is so."""
        start = self.mark_of_events()
        name = name or node.get_name()
        act(node)
        wait(lambda: (State.CHECKED in states(node)) == on, f'{name} to be checked: {on}')
        wait(lambda: self.heard.changed('checked', name, int(on), start), f'{name} to be heard as checked: {on}')

    def write(self, node, text):
        node.get_editable_text_iface().set_text_contents(text)
        if node.get_role() != Role.PASSWORD_TEXT:
            wait(lambda: Atspi.Text.get_text(node, 0, -1) == text, f'{node.get_name()} to hold {text}')

    def close(self, window):
        """By the window manager: these windows leave that to their frame."""
        subprocess.run(['wmctrl', '-F', '-c', window.get_name()], check=True)

    def exit(self, main):
        self.press(main, 'Exit')
        self.box('Are you sure you want to exit Practorium?', 'Yes')
        wait(lambda: self.process.poll() is not None, 'the program to end')
        if self.process.returncode != 0:
            faults.append(f'the program ended with {self.process.returncode}')


OPTIONS = (Role.RADIO_BUTTON, Role.CHECK_BOX)


def options(window):
    """The selectors of the item on the page, in their order."""
    return [node for node in tree(window) if node.get_role() in OPTIONS and re.match(r'[A-Z]\. ', node.get_name())]


def choose_exam(program, main, code):
    start = program.mark_of_events()
    cell = program.find_in(main, (Role.TABLE_CELL, Role.LIST_ITEM), code + '$')
    act(cell)
    wait(lambda: State.SELECTED in states(cell), f'{code} to be selected')
    wait(lambda: program.heard.changed('selected', code, 1, start), 'the selection to be heard')
    program.press(main, 'Start Exam')


def answer(program, window):
    """Chooses the first options: one where there are radio buttons, two otherwise."""
    rows = options(window)
    if not rows:
        faults.append(f'{window.get_name()}: no options')
    for row in rows[:1 if rows[0].get_role() == Role.RADIO_BUTTON else 2]:
        program.check(row)
    return rows


def sit(program):
    main = program.window('Practorium$')
    program.press(main, 'About', Role.LINK)
    about = program.window('About Practorium')
    program.press(about, 'OK')
    program.gone('About')
    program.press(main, 'Start Exam')
    program.box('Please select an exam to start', 'OK')

    choose_exam(program, main, 'NET-101')
    exam = program.window(r'Exam: NET-101 - Item 1 of \d+$')
    program.says(r'^Exam: NET-101 - Item 1 of \d+\. A site is assigned')
    program.says(r'^Time Remaining: 00:59$')
    # One of a few, which replaces the other; then several, up to the limit.
    rows = answer(program, exam)
    program.check(rows[1])
    wait(lambda: State.CHECKED not in states(rows[0]), 'the first option to be given up')
    for number in range(2, 11):
        start = program.mark_of_events()
        program.press(exam, 'Next')
        exam = program.window(rf'Exam: NET-101 - Item {number} of \d+$')
        program.says(rf'- Item {number} of', start)
        rows = answer(program, exam)
        if number == 3:
            act(rows[2])
            program.box('You cannot select more than 2 options', 'OK')
            wait(lambda row=rows[2]: State.CHECKED not in states(row), 'the third option to stay free')
        if number in (2, 4):
            program.check(program.find_in(exam, Role.CHECK_BOX, 'Mark this item for review'))
        if number == 4:
            program.press(exam, 'Exhibit')
            exhibit = program.window('Exhibit$')
            picture = program.find_in(exhibit, Role.IMAGE, 'Exhibit picture')
            if 'campus.gif' not in (picture.get_description() or ''):
                faults.append('the exhibit has no description')
            program.press(exhibit, 'Close')
            program.gone('Exhibit')
    program.press(exam, 'Previous')
    exam = program.window(r'Exam: NET-101 - Item 9 of')

    program.press(exam, 'Review')
    review = program.window('Item Review')
    items = [node for node in tree(review) if node.get_role() == Role.LIST_ITEM]
    texts = [(item.get_name(), item.get_description()) for item in items]
    if texts[:4] != [('1 - B', 'Complete'), ('2 - A', 'Marked for review'), ('3 - A,B', 'Complete'), ('4 - A', 'Marked for review')]:
        faults.append(f'Item Review: the items are {texts[:4]}')
    program.press(review, 'Go To')
    program.box('Please enter the question number', 'OK')
    review = program.window('Item Review')
    program.write(program.find_in(review, Role.TEXT, 'Question number'), '1')
    program.press(review, 'Go To')
    exam = program.window(r'Exam: NET-101 - Item 1 of')
    program.press(exam, 'Review')
    start = program.mark_of_events()
    program.press(program.window('Item Review'), 'Review Marked')
    exam = program.window(r'Exam: NET-101 - Item 2 of \d+ - Reviewing Marked$')
    program.says('Item 2 .*Marked for review', start)
    program.press(exam, 'Next')
    exam = program.window(r'Exam: NET-101 - Item 4 of \d+ - Reviewing Marked$')
    # Behind the last marked item comes the list.
    program.press(exam, 'Next')
    review = program.window('Item Review')
    program.press(review, 'End Exam')
    program.box('Are you sure you want to end the exam?', 'Yes')
    report = program.window('Score Report')
    program.says(r'Required Score: \d+. Your Score: \d+')
    program.press(report, 'Exit')

    exam = program.window(r'Exam: NET-101 - Item 1 of')
    program.says(r'- Item 1 of .*(IN)?CORRECT\. Answer: B')
    program.press(exam, 'Why')
    why = program.window('Explaination - Question: 1$')
    text = program.find_in(why, Role.TEXT, 'Explanation')
    if 'prefix' not in Atspi.Text.get_text(text, 0, -1):
        faults.append('the explanation cannot be read')
    program.press(why, 'Close')
    exam = program.window(r'Exam: NET-101 - Item 1 of')
    program.close(exam)
    main = program.window('Practorium$')

    # The clock of the last minute: every ten seconds and no more.
    choose_exam(program, main, 'CLOCK')
    exam = program.window(r'Exam: CLOCK - Item 1 of')
    start = program.mark_of_events()
    program.says(r'^Time Remaining: 00:00:50$')
    program.says(r'^Time Remaining: 00:00:40$')
    said = [text for text in program.heard.said(start) if text.startswith('Time')]
    if len(said) > 3:
        faults.append(f'the clock says {said}')
    program.close(exam)
    program.box('Are you sure you want to terminate the exam?', 'Yes')
    program.exit(program.window('Practorium$'))


def download(program, user, password):
    main = program.window('Practorium$')
    program.press(main, 'Download Exams', Role.LINK)
    window = program.window('Download Exams')
    program.press(window, 'Start')
    program.box('Please enter your User ID.', 'OK')
    program.write(program.find_in(window, Role.TEXT, 'User ID'), user)
    program.press(window, 'Start')
    program.box('Please enter your password.', 'OK')
    entry = program.find_in(window, (Role.PASSWORD_TEXT, Role.TEXT), 'Password')
    program.write(entry, password + '?')
    program.press(window, 'Start')
    program.box('Cannot continue because the User ID or password is incorrect', 'OK')
    program.says('Authentication failed!')
    program.write(entry, password)
    program.check(program.find_in(window, Role.CHECK_BOX, 'Remember user ID and password'))
    program.press(window, 'Start')
    for text in ('Connecting to Practorium Download Server', 'Checking for available downloads', 'Downloading: ',
                 'Installing: ', 'Performing post-installation tasks', 'Completed'):
        program.says(text)
    program.gone('Download Exams')
    values = program.heard.values()
    if not values or max(values) < 90 or len(values) > 500:
        faults.append(f'the progress is heard as {values}')
    main = program.window('Practorium$')
    for code in ('NET-101', 'LNX-101'):
        program.find_in(main, (Role.TABLE_CELL, Role.LIST_ITEM), code)
    program.exit(main)


def run(what, path, out, *account):
    with open(out, 'w', encoding='utf-8') as file:
        program = Program(path, file)
        try:
            if what == 'sitting':
                sit(program)
            else:
                download(program, *account)
        except (TimeoutError, LookupError) as fault:
            faults.append(f'missing: {fault}')
            for window in program.windows() if program.process.poll() is None else []:
                print('\n'.join(outline(window)), file=sys.stderr)
        finally:
            program.process.kill()
            program.process.wait()
    if faults:
        sys.exit('\n'.join(['What a screen reader lacks:'] + faults))


run(*sys.argv[1:])
