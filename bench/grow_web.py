#!/usr/bin/env python3
"""Grows a web of Word snapshots to a wished size without adding documents,
headings or pages: each plain paragraph of a snapshot (a <p ...> ... </p>
with no picture, anchor, footnote, field or list mark in it) is repeated in
place.  The style blocks, headings, tables, pictures and footnotes stay as
they are, so the build meets the same limits (pages, classes, footnotes)
with longer sections.

    grow_web.py TARGET_MB SNAPSHOT...     rewrites each snapshot in place
"""
import re
import sys

PARA = re.compile(rb'<p[ >].*?</p>', re.S)
KEEP_OUT = (b'<img', b'<v:', b'mso-footnote', b'<a ', b'<h', b'<![', b'<!--', b'<table',
            b'<td', b'Fig', b'Bild', b'Abb', b'[see', b'Glossar', b'MsoToc', b'D_', b'$', b'@list', b'class=Code')


def decode(raw):
    """The text of a snapshot as bytes of one byte per character, and how to
    encode it back: UTF-16 snapshots are turned into bytes and back."""
    if raw[:2] == b'\xff\xfe':
        return raw[2:].decode('utf-16-le').encode('latin-1', 'replace'), 'utf16'
    return raw, None


def encode(text, kind):
    if kind == 'utf16':
        return b'\xff\xfe' + text.decode('latin-1').encode('utf-16-le')
    return text


def plain(p):
    return not any(k in p for k in KEEP_OUT)


def in_tables(text, start):
    """Whether a position lies inside a table: paragraphs of a cell stay
    single, so that no table outgrows the look-ahead of the passes."""
    spans = []
    depth, at = 0, start
    for m in re.finditer(rb'<table|</table', text[start:], re.I):
        if m.group(0).lower() == b'<table':
            if depth == 0:
                at = start + m.start()
            depth += 1
        elif depth > 0:
            depth -= 1
            if depth == 0:
                spans.append((at, start + m.end()))
    return lambda pos: any(a <= pos < b for a, b in spans)


def repeatable(text):
    """The paragraphs of the body that are repeated."""
    body = text.find(b'<body')
    if body < 0:
        return []
    inside = in_tables(text, body)
    return [m for m in PARA.finditer(text, body) if plain(m.group(0)) and not inside(m.start())]


def split(text):
    """(rest, repeatable) sizes of a snapshot's text."""
    rep = sum(len(m.group(0)) for m in repeatable(text))
    return len(text) - rep, rep


def grow(text, times):
    if times <= 1:
        return text
    out, last = [], 0
    for m in repeatable(text):
        out.append(text[last:m.end()])
        out.append((b'\n\n' + m.group(0)) * (times - 1))
        last = m.end()
    out.append(text[last:])
    return b''.join(out)


def main():
    target = float(sys.argv[1]) * 1e6
    files = sys.argv[2:]
    texts = {}
    rest = rep = 0
    for f in files:
        with open(f, 'rb') as fh:
            texts[f] = decode(fh.read())
        r, p = split(texts[f][0])
        rest, rep = rest + r, rep + p
    times = max(1, round((target - rest) / rep)) if rep else 1
    total = 0
    for f, (text, kind) in texts.items():
        data = encode(grow(text, times), kind)
        with open(f, 'wb') as fh:
            fh.write(data)
        total += len(data)
    print('%d snapshots, plain paragraphs repeated %d times: %.1f MB' % (len(files), times, total / 1e6))


if __name__ == '__main__':
    main()
