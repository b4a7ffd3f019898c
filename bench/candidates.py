#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""candidates.py ENDPOINT COUNT USER PASSWORD EXAM PACK

That many candidates, user 1 to COUNT, each from an address of its own on the
loopback interface, run through the whole conversation at the same time: LOGIN, LIST,
the pack, REPORT. USER has {} for the number. Whom the service refuses because it is
busy (429), or who cannot connect, tries again after the time that it names. Prints how
many are through, the seconds until the last was, the tries that were refused, and the
99th percentile of LIST in milliseconds. Whoever is not through after five minutes is
lost.

With --logins FILE: LOGIN only; prints how many a second, and writes the sessions into
the file. With --reports NUMBER: so many different reports of each after LOGIN; prints
how many a second.
"""
import argparse
import asyncio
import hashlib
import re
import time
import urllib.parse

PATIENCE = 300  # seconds
BLOCK = 1 << 18


class Busy(Exception):
    """The service asks to come again."""

    def __init__(self, seconds):
        super().__init__()
        self.seconds = seconds


class Candidate:
    spans = []  # of the reports

    def __init__(self, number, options, target, barrier):
        self.number = number
        self.barrier = barrier
        self.options = options
        self.target = target
        self.streams = None

    async def connect(self):
        number = self.number
        here = f'127.{1 + number // 62500}.{number // 250 % 250}.{1 + number % 250}'
        try:
            self.streams = await asyncio.open_connection(self.target.hostname, self.target.port, local_addr=(here, 0))
        except OSError as error:
            raise Busy(1) from error

    async def answer(self, request):
        """The answer's body, as long as the connection lasts."""
        reader, writer = self.streams
        writer.write(request)
        try:
            await writer.drain()
            head = (await reader.readuntil(b'\r\n\r\n')).decode()
        except (OSError, asyncio.IncompleteReadError) as error:
            raise Busy(1) from error
        if head.startswith('HTTP/1.1 429') or head.startswith('HTTP/1.1 50'):
            after = re.search(r'\r\nRetry-After: (\d+)\r\n', head)
            raise Busy(int(after.group(1)) if after else 1)
        if not head.startswith('HTTP/1.1 200'):
            raise RuntimeError(head)
        return int(re.search(r'\r\nContent-Length: (\d+)\r\n', head).group(1))

    async def ask(self, message):
        body = message.encode()
        size = await self.answer(f'POST {self.target.path} HTTP/1.1\r\nHost: here\r\n'
                                 f'Content-Length: {len(body)}\r\n\r\n'.encode() + body)
        return (await self.streams[0].readexactly(size)).decode()

    async def fetch(self, sid):
        """The pack's digest."""
        size = await self.answer(f'GET {self.target.path}?sid={sid}&eid={self.options.exam} HTTP/1.1\r\n'
                                 'Host: here\r\nUser-Agent: Practorium (Linux)\r\n\r\n'.encode())
        digest = hashlib.sha256()
        while size > 0:
            block = await self.streams[0].read(min(size, BLOCK))
            if not block:
                raise RuntimeError('the pack broke off')
            digest.update(block)
            size -= len(block)
        return digest.hexdigest()

    async def log_on(self):
        await self.connect()
        user = self.options.user.format(self.number)
        reply = await self.ask(f'LOGIN?email={user}&pwd={self.options.password};')
        return re.fullmatch(r'LOGIN\?status=OK&sid=(.*);', reply).group(1)

    async def run(self, digest, lists):
        sid = await self.log_on()
        if self.options.logins:
            lists.append(sid)
            return
        if self.options.reports:
            await self.send_reports(sid)
            return
        begin = time.monotonic()
        if await self.ask(f'LIST?sid={sid};') != f'LIST?status=OK&data={self.options.exam};':
            raise RuntimeError('another list')
        lists.append(time.monotonic() - begin)
        if await self.fetch(sid) != digest:
            raise RuntimeError('another pack')
        await self.report(sid, '11/22/2026 8:05:09 PM')

    async def report(self, sid, text):
        if await self.ask(f'REPORT?sid={sid}&list={self.options.exam}&time={text};') != 'REPORT?status=OK;':
            raise RuntimeError('another report')

    async def send_reports(self, sid):
        """When all others are logged on, too."""
        self.barrier[0] -= 1
        if self.barrier[0] == 0:
            self.barrier[1].set()
        await self.barrier[1].wait()
        begin = time.monotonic()
        for number in range(self.options.reports):
            await self.report(sid, f'11/23/2026 {number}')
        self.spans.append((begin, time.monotonic()))

    async def run_until_through(self, digest, lists, refused):
        while True:
            try:
                return await self.run(digest, lists)
            except Busy as busy:
                refused.append(busy.seconds)
                await asyncio.sleep(busy.seconds)
            finally:
                if self.streams:
                    self.streams[1].close()


async def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('endpoint')
    parser.add_argument('count', type=int)
    parser.add_argument('user')
    parser.add_argument('password')
    parser.add_argument('exam')
    parser.add_argument('pack')
    parser.add_argument('--logins', metavar='FILE')
    parser.add_argument('--reports', type=int)
    options = parser.parse_args()
    with open(options.pack, 'rb') as file:
        digest = hashlib.sha256(file.read()).hexdigest()
    target = urllib.parse.urlsplit(options.endpoint)
    lists, refused = [], []
    begin = time.monotonic()
    barrier = [options.count, asyncio.Event()]
    runs = [Candidate(number, options, target, barrier).run_until_through(digest, lists, refused)
            for number in range(1, options.count + 1)]
    try:
        results = await asyncio.wait_for(asyncio.gather(*runs, return_exceptions=True), PATIENCE)
    except asyncio.TimeoutError:
        results = [asyncio.TimeoutError()]
    seconds = time.monotonic() - begin
    through = sum(result is None for result in results)
    for error in {repr(result) for result in results if result is not None}:
        print(error, flush=True)
    if options.reports:
        span = max(end for _, end in Candidate.spans) - min(start for start, _ in Candidate.spans)
        print(f'{through * options.reports / span:.0f}')
    elif options.logins:
        print(f'{through / seconds:.2f}')
        with open(options.logins, 'w', encoding='ascii') as file:
            file.write(''.join(sid + '\n' for sid in lists))
    else:
        lists.sort()
        print(through, f'{seconds:.1f}', len(refused), f'{1000 * lists[len(lists) * 99 // 100]:.1f}' if lists else 0)


asyncio.run(main())
