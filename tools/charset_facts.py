"""Conversion tables of the character sets, worked out from Python's own codecs.

The codecs supply the published mappings; what they do not define (Private Use areas, unread
cells, positions that the library leaves unmapped on purpose) stands here as data.
"""

UNDEFINED = 0xFFFD


class FactError(Exception):
    """A source of facts is missing, or does not hold what the tables need."""


def code_point(codec, *code):
    """The code point of one code, or UNDEFINED."""
    try:
        text = bytes(code).decode(codec)
    except UnicodeDecodeError:
        return UNDEFINED
    return ord(text) if len(text) == 1 else UNDEFINED


# GBK

GBK_ENTRIES = 24080
GBK_LEADS = range(0x81, 0xFF)
GBK_COLUMNS = range(0x40, 0xFF)
GBK_UNREAD_TRAIL = 0x7F
GBK_UNREAD_VALUE = 0x3F

# First lead, last lead, first trail, last trail, first code point; the code points rise by one
# from pair to pair, row after row.
GBK_PRIVATE_USE_RUNS = (
    (0xAA, 0xAF, 0xA1, 0xFE, 0xE000), (0xF8, 0xFE, 0xA1, 0xFE, 0xE234),
    (0xA1, 0xA7, 0x40, 0xA0, 0xE4C6),
    (0xA2, 0xA2, 0xAB, 0xB0, 0xE766), (0xA2, 0xA2, 0xE3, 0xE4, 0xE76C),
    (0xA2, 0xA2, 0xEF, 0xF0, 0xE76E), (0xA2, 0xA2, 0xFD, 0xFE, 0xE770),
    (0xA4, 0xA4, 0xF4, 0xFE, 0xE772),
    (0xA5, 0xA5, 0xF7, 0xFE, 0xE77D),
    (0xA6, 0xA6, 0xB9, 0xC0, 0xE785), (0xA6, 0xA6, 0xD9, 0xDF, 0xE78D),
    (0xA6, 0xA6, 0xEC, 0xED, 0xE794), (0xA6, 0xA6, 0xF3, 0xF3, 0xE796),
    (0xA6, 0xA6, 0xF6, 0xFE, 0xE797),
    (0xA7, 0xA7, 0xC2, 0xD0, 0xE7A0), (0xA7, 0xA7, 0xF2, 0xFE, 0xE7AF),
    (0xA8, 0xA8, 0x96, 0xA0, 0xE7BC), (0xA8, 0xA8, 0xBC, 0xBC, 0xE7C7),
    (0xA8, 0xA8, 0xBF, 0xBF, 0xE7C8), (0xA8, 0xA8, 0xC1, 0xC4, 0xE7C9),
    (0xA8, 0xA8, 0xEA, 0xFE, 0xE7CD),
    (0xA9, 0xA9, 0x58, 0x58, 0xE7E2), (0xA9, 0xA9, 0x5B, 0x5B, 0xE7E3),
    (0xA9, 0xA9, 0x5D, 0x5F, 0xE7E4), (0xA9, 0xA9, 0x89, 0x95, 0xE7E7),
    (0xA9, 0xA9, 0x97, 0xA3, 0xE7F4), (0xA9, 0xA9, 0xF0, 0xFE, 0xE801),
    (0xD7, 0xD7, 0xFA, 0xFE, 0xE810),
    (0xFE, 0xFE, 0x50, 0xA0, 0xE815),
)


def gbk_private_use():
    """Code point of every Private Use pair."""
    pairs = {}
    for first_lead, last_lead, first_trail, last_trail, point in GBK_PRIVATE_USE_RUNS:
        for lead in range(first_lead, last_lead + 1):
            for trail in range(first_trail, last_trail + 1):
                if trail != GBK_UNREAD_TRAIL:
                    pairs[lead, trail] = point
                    point += 1
    return pairs


def gbk_table():
    private_use = gbk_private_use()
    values = []
    for lead in GBK_LEADS:
        for trail in GBK_COLUMNS:
            if trail == GBK_UNREAD_TRAIL:
                values.append(GBK_UNREAD_VALUE)
                continue
            point = code_point("gbk", lead, trail)
            if (point == UNDEFINED) != ((lead, trail) in private_use):
                raise FactError(f"codec gbk: {lead:02X}{trail:02X} is U+{point:04X}, which does "
                                "not fit the Private Use runs; run this with CPython's gbk codec")
            values.append(private_use.get((lead, trail), point))
    return values + [0] * (GBK_ENTRIES - len(values))


def gb18030_pair_ranges():
    """Runs of pairs, first and last, to which GB18030 gives a character of its own while the GBK
    table keeps a Private Use code point."""
    codes = sorted(lead << 8 | trail for lead, trail in gbk_private_use()
                   if not 0xE000 <= code_point("gb18030", lead, trail) <= 0xF8FF)
    runs = []
    for code in codes:
        if runs and code == runs[-1][1] + 1:
            runs[-1][1] = code
        else:
            runs.append([code, code])
    return runs


# Big5

BIG5_LEADS = range(0xA1, 0xFA)
BIG5_TRAILS = [*range(0x40, 0x7F), *range(0xA1, 0xFF)]

# The published table leaves these without a code point of their own; the codec fills them in.
BIG5_UNMAPPED = {0xA15A, 0xA1C3, 0xA1C5, 0xA1FE, 0xA240, 0xA2CC, 0xA2CE}

# Where variants of Big5 differ: these tell that the codec holds the published one.
BIG5_TELLING = {
    0xA145: 0x2022, 0xA14E: 0xFF64, 0xA1C2: 0x203E, 0xA1E3: 0x223C, 0xA1F2: 0x2641,
    0xA1F3: 0x2609, 0xA241: 0xFF0F, 0xA242: 0xFF3C, 0xA244: 0x00A5, 0xA246: 0x00A2,
    0xA247: 0x00A3,
}


def big5_code_point(lead, trail):
    code = lead << 8 | trail
    point = UNDEFINED if code in BIG5_UNMAPPED else code_point("big5", lead, trail)
    if point != BIG5_TELLING.get(code, point):
        raise FactError(f"codec big5: {code:04X} is U+{point:04X}, not U+{BIG5_TELLING[code]:04X}:"
                        " another variant of Big5; run this with CPython's big5 codec")
    return point


def big5_table():
    """Code points as bytes, high byte first."""
    points = (big5_code_point(lead, trail) for lead in BIG5_LEADS for trail in BIG5_TRAILS)
    return [byte for point in points for byte in (point >> 8, point & 0xFF)]


# Code page 949

UHC_TRAILS = [*range(0x41, 0x5B), *range(0x61, 0x7B), *range(0x81, 0xFF)]

# The code page lacks the postal code mark of KS X 1001, which the table carries all the same.
KSC_ADDITIONS = {0xA2E8: 0x327E}


def uhc_tables(first_lead, last_lead, columns):
    """Base code point of every half row, and the distance of every code from its base."""
    bases, offsets = [], []
    for lead in range(first_lead, last_lead + 1):
        row = [code_point("cp949", lead, trail) for trail in UHC_TRAILS[:columns]]
        for half in (row[:columns // 2], row[columns // 2:]):
            bases.append(half[0])
            offsets += [point - half[0] for point in half if point != UNDEFINED]
    if not all(0 <= offset <= 0xFF for offset in offsets):
        raise FactError(f"codec cp949: the syllables of leads {first_lead:02X} to {last_lead:02X} "
                        "are not in Unicode order; run this with CPython's cp949 codec")
    return bases, offsets


def ksc_table(first_code, last_code):
    """Code points from one code of the 94 x 94 area to another, row after row."""
    values = []
    for lead in range(first_code >> 8, (last_code >> 8) + 1):
        for trail in range(0xA1, 0xFF):
            code = lead << 8 | trail
            if first_code <= code <= last_code:
                values.append(KSC_ADDITIONS.get(code, code_point("cp949", lead, trail)))
    return values


# Single-byte sets: name of each with the first and last byte that its table covers

ISO8859_RANGES = {
    "2": (0xA0, 0xFF), "3": (0xA0, 0xFF), "4": (0xA0, 0xFF), "5": (0xA0, 0xFF),
    "6": (0xA0, 0xFF), "7": (0xA0, 0xFF), "8": (0xA0, 0xFF), "9": (0xD0, 0xFF),
    "10": (0xA0, 0xFF), "13": (0xA0, 0xFF), "14": (0xA0, 0xFF), "15": (0xA0, 0xBF),
    "16": (0xA0, 0xFF),
}

WINCP_RANGES = {
    "1250": (0x80, 0xFF), "1251": (0x80, 0xFF), "1252": (0x80, 0x9F), "1253": (0x80, 0xFF),
    "1254": (0x80, 0xFF), "1255": (0x80, 0xFF), "1256": (0x80, 0xFF), "1257": (0x80, 0xFF),
    "1258": (0x80, 0xFF), "874": (0x80, 0xFF),
}


def single_byte_table(codec, first, last):
    return [code_point(codec, byte) for byte in range(first, last + 1)]
