"""The library's surface: the symbols it exports, the libraries it needs, and that nothing runs when it is loaded.

Arguments: the readelf program and the library.
"""

import re
import subprocess
import sys

CONVERTERS = "UCS GBK BIG5 ISO8859 WINCP CP949".split()
EXPORTS = {"g_stCharset_entry", "g_stCOMMON_detector", "IsUnicodeBE", "IsUnicodeLE"}
EXPORTS |= {f"g_st{name}_converter" for name in CONVERTERS}
EXPORTS |= {f"IsCp{page}" for page in [*range(1250, 1259), 874]}
EXPORTS |= {f"IsIso8859_{part}" for part in range(1, 17) if part != 12}
EXPORTS |= {f"CHARSET_{name}" for name in "GetLoglevel Printf DBG_Printf MALLOCZ REALLOC".split()}
EXPORTS |= {f"ZU_CHARSET_{name}" for name in "GetMinCodetype GetMaxCodetype TestUnicode_Len UNICODEToUTF8code".split()}


def same(what, found, expected):
    if sorted(found) != sorted(expected):
        missing, surplus = sorted(set(expected) - set(found)), sorted(set(found) - set(expected))
        sys.exit(f"{what}: missing {missing}, surplus {surplus}, of {len(found)} found")


text = subprocess.run([sys.argv[1], "-W", "--dyn-syms", "-d", "-S", sys.argv[2]], check=True, capture_output=True,
                      text=True, env={"LC_ALL": "C"}).stdout
same("exports", re.findall(r" (?:GLOBAL|WEAK) +DEFAULT +\d+ (\w+)", text), EXPORTS)
same("needed libraries", re.findall(r"\(NEEDED\).*\[(.*)\]", text), ["libvemora_utils.so", "libc.so.6"])
same("code run at load", re.findall(r"\] (\.(?:pre)?init\w*|\.ctors) |\((?:PRE)?INIT\w*\)", text), [])
assert len(EXPORTS) == 44
