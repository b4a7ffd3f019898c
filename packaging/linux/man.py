#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes manual pages from what is written elsewhere already.

man.py PAGE program SUMMARY PROGRAM          from the program's --help and those of its commands
man.py PAGE page SUMMARY FILE HEADING...     from these sections of a Markdown file; "" is the text before the
                                             first heading

PAGE is the file to write, such as practorium.1.

The date of a page is that of SOURCE_DATE_EPOCH, the version is in PRACTORIUM_VERSION."""
import os
import re
import subprocess
import sys
import textwrap
import time

OPTION = re.compile(r'^  (-.*?)(?:  +(.*))?$')


def quoted(text):
    """Text as roff reads it: no sign of it is a command."""
    text = text.replace('\\', '\\e').replace('-', '\\-')
    for sign, roff in (('…', '...'), ('−', '\\-'), ('’', "'"), ('“', '"'), ('”', '"')):
        text = text.replace(sign, roff)
    return '\\&' + text if text.startswith(('.', "'")) else text


def filled(text):
    """The lines of a paragraph."""
    return [quoted(line) for line in textwrap.wrap(text, 70, break_long_words=False, break_on_hyphens=False)]


def begin(page, summary):
    name, section = os.path.basename(page).rsplit('.', 1)
    date = time.strftime('%Y-%m-%d', time.gmtime(int(os.environ.get('SOURCE_DATE_EPOCH', time.time()))))
    return [f'.TH {name.upper()} {section} {date} "Practorium {os.environ["PRACTORIUM_VERSION"]}" "Practorium"',
            '.SH NAME', f'{quoted(name)} \\- {quoted(summary)}']


def help_of(program, *words):
    environment = {**os.environ, 'COLUMNS': '80', 'LC_ALL': 'C.UTF-8', 'QT_QPA_PLATFORM': 'offscreen'}
    return subprocess.run([program, *words, '--help'], env=environment, check=True, text=True,
                          stdout=subprocess.PIPE).stdout.rstrip().split('\n')


def preformatted(lines):
    return ['.PP', '.nf', *(quoted(line) for line in lines), '.fi']


def blocks(lines):
    """Paragraphs, parted by empty lines."""
    block = []
    for line in [*lines, '']:
        if line:
            block.append(line)
        elif block:
            yield block
            block = []


def of_help(lines):
    """The text of one --help without its first line, which says how the program is called."""
    roff, term, texts = [], None, []

    def end_term():
        nonlocal term, texts
        if term:
            roff.extend(['.TP', '.B ' + quoted(term), *filled(' '.join(texts))])
        term, texts = None, []

    for block in blocks(lines):
        if block[0] in ('Options:', 'Arguments:'):
            for line in block[1:]:
                option = OPTION.match(line) if block[0] == 'Options:' else re.match(r'^  (\S.*?)  +(.*)$', line)
                if option:
                    end_term()
                    term, texts = option.group(1), [option.group(2) or '']
                else:
                    texts.append(line.strip())
            end_term()
        elif any(line.startswith(' ') for line in block):
            roff += preformatted(block)
        else:
            roff += ['.PP', *filled(' '.join(block))]
    return roff


def of_program(page, summary, path):
    lines = help_of(path)
    roff = begin(page, summary)
    usage = next(line for line in lines if line.startswith('Usage:'))
    roff += ['.SH SYNOPSIS', '.B ' + quoted(usage.removeprefix('Usage: ')), '.SH DESCRIPTION']
    roff += of_help([line for line in lines if line != usage])
    commands = [line.split()[0] for line in lines if re.match(r'^  [a-z-]+  ', line)]
    for command in commands:
        text = help_of(path, command)
        roff += ['.SH ' + command.upper(), '.B ' + quoted(text[0].removeprefix('Usage: '))]
        roff += of_help(text[1:])
    return roff


def inline(text):
    """Markdown without its marks, but with the addresses of links."""
    text = re.sub(r'!\[[^]]*\]\([^)]*\)', '', text)
    text = re.sub(r'\[([^]]*)\]\((https?:[^)]*)\)', r'\1 <\2>', text)
    text = re.sub(r'\[([^]]*)\]\([^)]*\)', r'\1', text)
    return re.sub(r'\*\*|`', '', text)


def of_markdown(lines):
    roff = []
    for block in blocks(lines):
        first = block[0]
        if first.startswith('    '):
            roff += preformatted([line[4:] for line in block])
        elif first.startswith('|'):
            for line in block:
                cells = [cell.strip() for cell in line.strip('|').split('|')]
                if not set(line) <= set('|-: ') and any(cells):
                    roff += ['.TP', '.B ' + quoted(inline(cells[0])), *filled(inline('; '.join(cells[1:])))]
        elif re.match(r'- |\d+\. ', first):
            for item in re.split(r'\n(?=- |\d+\. )', '\n'.join(block)):
                mark, text = item.split(' ', 1)
                roff += ['.IP ' + ('\\(bu 2' if mark == '-' else mark + ' 4'),
                         *filled(' '.join(inline(text).split()))]
        else:
            text = filled(inline(' '.join(block)))
            roff += ['.PP', *text] if text else []
    return roff


def of_page(page, summary, file, *headings):
    roff = begin(page, summary)
    sections, heading = {'': []}, ''
    with open(file, encoding='utf-8') as text:
        for line in text.read().split('\n'):
            if match := re.match(r'#+ (.*)', line):
                heading = match.group(1) if line.startswith('##') else ''
                sections[heading] = []
            else:
                sections[heading].append(line)
    for heading in headings:
        roff += ['.SH ' + quoted(heading or 'DESCRIPTION').upper(), *of_markdown(sections[heading])]
    return roff


def main():
    page, kind, *arguments = sys.argv[1:]
    roff = {'program': of_program, 'page': of_page}[kind](page, *arguments)
    with open(page, 'w', encoding='utf-8') as file:
        for before, line in zip(['', *roff], roff):
            # A section begins with a paragraph by itself.
            if line != '.PP' or not before.startswith('.SH'):
                file.write(line + '\n')


main()
