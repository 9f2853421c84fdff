# A library's surface: the symbols it exports, the libraries it needs, and that nothing runs when it is loaded.
# Arguments: the readelf program and the library.

import re
import subprocess
import sys
from pathlib import Path

EXPORTS = "IsUnicodeBE IsUnicodeLE IsCp874 g_stCharset_entry g_stCOMMON_detector".split()
EXPORTS += [f"g_st{name}_converter" for name in "UCS GBK BIG5 ISO8859 WINCP CP949".split()]
EXPORTS += [f"IsCp{page}" for page in range(1250, 1259)] + [f"IsIso8859_{part}" for part in range(1, 17) if part != 12]
EXPORTS += [f"CHARSET_{name}" for name in "GetLoglevel Printf DBG_Printf MALLOCZ REALLOC".split()]
EXPORTS += [f"ZU_CHARSET_{name}" for name in "GetMinCodetype GetMaxCodetype TestUnicode_Len UNICODEToUTF8code".split()]

assert len(EXPORTS) == 44
TEXT_HEADER = (Path(__file__).resolve().parents[1] / "include/zutext.h").read_text()
TEXT_EXPORTS = re.findall(r"^ZUTEXT_API [^;(]*?(\w+)\(", TEXT_HEADER, re.MULTILINE)
exports, needed = {
    "libzucharset.so": (EXPORTS, ["libvemora_utils.so", "libc.so.6"]),
    "libzutext.so": (TEXT_EXPORTS, ["libzucharset.so", "libc.so.6"]),
}[Path(sys.argv[2]).name]

text = subprocess.run([sys.argv[1], "-W", "--dyn-syms", "-d", "-S", sys.argv[2]], check=True, capture_output=True,
                      text=True, env={"LC_ALL": "C"}).stdout
for what, pattern, expected in [
    ("exports", r" (?:GLOBAL|WEAK) +DEFAULT +\d+ (\w+)", exports),
    ("needed libraries", r"\(NEEDED\).*\[(.*)\]", needed),
    ("code run at load", r"\] (\.(?:pre)?init\w*|\.ctors) |\((?:PRE)?INIT\w*\)", []),
]:
    found = re.findall(pattern, text)
    assert sorted(found) == sorted(expected), f"{what}: {sorted(set(found) ^ set(expected))} of {len(found)} found"
