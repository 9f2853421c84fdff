#!/usr/bin/env python3
"""Compares zucharset with chardet and charset-normalizer: right texts and time, over the samples of this repository.

Every sample is encoded in each of its encodings and cut to stretches of 200, 1,000 and 8,000 bytes at most. An answer
is right when the text comes out right, by whatever name. Time is this process's processor time.
"""

from __future__ import annotations

import time
import warnings
from collections.abc import Callable
from pathlib import Path
from typing import Optional

import chardet
import charset_normalizer

import zucharset

SAMPLES = Path(__file__).resolve().parents[1] / "samples" / "text"
ENCODINGS = """
chinese_simplified gbk utf-8 utf-16-le; chinese_traditional big5 utf-8; korean cp949 utf-8
russian cp1251 iso8859-5 utf-8; greek cp1253 iso8859-7; hebrew cp1255; arabic cp1256 iso8859-6; thai cp874 iso8859-11
turkish cp1254 iso8859-9
polish cp1250 iso8859-2; czech cp1250 iso8859-2; german cp1252 iso8859-1; french cp1252 iso8859-15; spanish cp1252
vietnamese cp1258; estonian cp1257 iso8859-13; romanian iso8859-16; icelandic cp1252; russian utf-16
"""
SIZES = (200, 1000, 8000)


def by_zucharset(data: bytes) -> Optional[str]:
    try:
        return zucharset.decode(data)
    except zucharset.Error:
        return None


def by_name(data: bytes, name: Optional[str]) -> Optional[str]:
    try:
        return data.decode(name) if name else None
    except (UnicodeDecodeError, LookupError):
        return None


def by_chardet(data: bytes) -> Optional[str]:
    return by_name(data, chardet.detect(data)["encoding"])


def by_normalizer(data: bytes) -> Optional[str]:
    best = charset_normalizer.from_bytes(data).best()
    return None if best is None else str(best)


def texts(size: int) -> list[tuple[str, bytes]]:
    """Three stretches of each sample in each encoding; a mark, where the codec writes one, is no part of the text."""
    made = []
    for row in ENCODINGS.replace(";", "\n").strip().splitlines():
        name, *codecs = row.split()
        sample = (SAMPLES / f"{name}.txt").read_text(encoding="utf-8")
        for codec in codecs:
            width = len(sample.encode(codec)) / len(sample)
            length = min(len(sample), int(size / width))
            for third in range(3):
                start = (len(sample) - length) * third // 2
                text = sample[start:start + length]
                if (text, text.encode(codec)) not in made:
                    made.append((text, text.encode(codec)))
    return made


def main() -> None:
    warnings.simplefilter("ignore")
    tools: dict[str, Callable[[bytes], Optional[str]]] = {
        "zucharset": by_zucharset,
        "chardet": by_chardet,
        "charset-normalizer": by_normalizer,
    }
    print("| | " + " | ".join(f"right at {size:,} bytes | ms a text" for size in SIZES) + " |")
    print("|---|" + "---:|" * 2 * len(SIZES))
    for tool, read in tools.items():
        cells = []
        for size in SIZES:
            samples = texts(size)
            read(samples[0][1])
            begin = time.process_time()
            right = sum(read(data) == text for text, data in samples)
            took = (time.process_time() - begin) / len(samples) * 1000
            cells += [f"{right} of {len(samples)}", f"{took:.2f}"]
        print(f"| {tool} | " + " | ".join(cells) + " |", flush=True)


if __name__ == "__main__":
    main()
