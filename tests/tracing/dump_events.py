#!/usr/bin/env python3
"""Prints the records of a trace's files, one per line, so that tests of the recorder do not need the reader.
Usage: dump_events.py FILE…"""
import re
import signal
import struct
import sys
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
KINDS = ['unfinished', 'begin', 'returned', 'threw', 'jumped', 'scan', 'lock', 'thread', 'program']
HEADER = struct.Struct('<QIIQQQIIQQIIIIIIII')
RECORD = struct.Struct('<IIIHHQ')
VALUE = struct.Struct('<BBHI')
CALL_SIZE = 24
NOT_YET = 2**64 - 1


def call_names():
    natives = re.findall(r'^ORVA_NATIVE\((\w+)', (ROOT / 'classloader/native_list.inc').read_text(), re.M)
    others = re.findall(r'^ORVA_\w+\(([\w, ]+)\)', (ROOT / 'tracing/calls/calls.inc').read_text(), re.M)
    return natives + [name.replace(', ', '::') for name in others]


def values(payload):
    texts = []
    while payload:
        kind, is_cut, elements, length = VALUE.unpack_from(payload)
        data = payload[VALUE.size:VALUE.size + length]
        payload = payload[VALUE.size + (length + 3) // 4 * 4:]
        number = int.from_bytes(data, 'little', signed=True)
        if kind == 255:
            break
        if kind == 0:
            texts.append('null')
        elif kind in (4, 6):
            quote = '"' if kind == 4 else '<>'
            texts.append(quote[0] + data.decode('utf-8', 'backslashreplace') + ('…' if is_cut else '') + quote[-1])
        elif kind == 5:
            texts.append(f'{number} of which {elements}')
        else:
            texts.append({1: str(number), 2: ['false', 'true'][number & 1], 3: 'pointer'}[kind])
        # Padding at the end of a record.
        if len(payload) < VALUE.size:
            break
    return texts


def line(kind, call, payload, names):
    if kind == 'begin':
        return [names[call], *values(payload[CALL_SIZE:])]
    if kind in ('returned', 'threw', 'jumped'):
        return [names[call], *values(payload)]
    if kind == 'scan' and not payload:
        return ['begins']
    if kind == 'scan':
        _, count, read, full, short, tails, kept = struct.unpack_from('<QiIIIII', payload)
        return [f'count={count} read={read} full={full} short={short} tail={tails} kept={kept}', *values(payload[32:])]
    if kind == 'thread':
        return [f'process={struct.unpack_from("<I", payload)[0]}', *values(payload[8:])]
    if kind == 'lock':
        times = struct.unpack_from('<QQ', payload)
        return [state for state, time in zip(('awaited', 'held'), times) if time == NOT_YET]
    return values(payload)


def dump(path, names):
    data = Path(path).read_bytes()
    (magic, version, size, limit, _, _, process, parent, end, reserved, stopped, error, attached, unseen,
     threads, missed, _, _) = HEADER.unpack_from(data)
    assert magic == 0x3165636172545652 and version == 2 and size == HEADER.size, f'{path} is not an event file'
    print(f'header process={process} parent={parent} limit={limit} stopped={stopped} error={error} '
          f'attached={attached} unseen={unseen} threads={threads}' + (f' missed={missed}' if missed else ''))

    # By thread, the ends of calls that are in the calls' first records. They are printed when the calls end.
    returns = {}

    def leave(thread, depth):
        while returns.get(thread) and returns[thread][-1][0] >= depth:
            print(*returns[thread].pop()[1])

    place = size
    while place < end:
        if place + RECORD.size > len(data):
            print('hole')
            break
        size, kind, thread, call, depth, _ = RECORD.unpack_from(data, place)
        if size == 0:
            # Claimed by a thread that was stopped before it wrote the size.
            print('hole')
            place = next((at for at in range(place, end, 8) if data[at:at + 8] != bytes(8)), end)
            continue
        payload = data[place + RECORD.size:place + size]
        assert size % 8 == 0 and size >= RECORD.size and place + size <= reserved, f'a torn record at {place}'
        leave(thread, depth)
        print(thread, depth, KINDS[kind], *(line(KINDS[kind], call, payload, names) if kind else []))
        if KINDS[kind] == 'begin' and int.from_bytes(payload[:8], 'little') != NOT_YET:
            results = values(payload[8:CALL_SIZE])
            returns.setdefault(thread, []).append((depth, [thread, depth, 'returned', names[call], *results]))
        place += size
    for thread in returns:
        leave(thread, 0)


def main():
    signal.signal(signal.SIGPIPE, signal.SIG_DFL)
    names = call_names()
    for path in sys.argv[1:]:
        dump(path, names)


main()
