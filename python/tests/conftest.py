"""The texts that the tests read: the samples, in the encodings that each of them is written in."""

from __future__ import annotations

from pathlib import Path
from typing import NamedTuple

import pytest

ROOT = Path(__file__).resolve().parents[2]


class Text(NamedTuple):
    name: str
    codec: str  # Python's, which makes the bytes
    encoding: str  # the library's
    language: str
    text: str
    data: bytes


TABLE = """
chinese_simplified gbk GBK zh
chinese_traditional big5 Big5 zh
korean cp949 CP949 ko
russian cp1251 Windows-1251 ru
russian iso8859-5 ISO-8859-5 ru
greek cp1253 Windows-1253 el
greek iso8859-7 ISO-8859-7 el
hebrew cp1255 Windows-1255 he
arabic cp1256 Windows-1256 ar
thai cp874 Windows-874 th
turkish cp1254 Windows-1254 tr
polish cp1250 Windows-1250 pl
czech iso8859-2 ISO-8859-2 cs
french cp1252 Windows-1252 fr
vietnamese cp1258 Windows-1258 vi
estonian cp1257 Windows-1257 et
russian utf-8 UTF-8 -
korean utf-16-le UTF-16LE -
russian utf-16-be UTF-16BE -
"""


def sample(name: str) -> str:
    return (ROOT / "samples" / "text" / f"{name}.txt").read_text(encoding="utf-8")


def texts() -> list[Text]:
    made = []
    for line in TABLE.strip().splitlines():
        name, codec, encoding, language = line.split()
        made.append(Text(name, codec, encoding, language, sample(name), sample(name).encode(codec)))
    return made


TEXTS = texts()


@pytest.fixture(params=TEXTS, ids=[f"{text.name}-{text.codec}" for text in TEXTS])
def text(request: pytest.FixtureRequest) -> Text:
    param: Text = request.param
    return param
