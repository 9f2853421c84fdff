"""How the library is linked: what an attacker who has found a fault elsewhere in the process cannot use it for.

Arguments: the readelf program and the library.
"""

import re
import subprocess
import sys

RUNTIME = """fflush free gettimeofday localtime_r malloc memcmp memcpy memmove memset raise sched_yield
    stdout strlen strrchr __memcpy_chk __stack_chk_fail __stack_chk_guard SVR_LOG_Write memcpy_s memset_s
    snprintf_s vsnprintf_s""".split()

if sys.argv[2].endswith("libzutext.so"):
    RUNTIME += "bcmp calloc memchr realloc".split()

text = subprocess.run([sys.argv[1], "-W", "-l", "-d", "--dyn-syms", sys.argv[2]], check=True, capture_output=True,
                      text=True, env={"LC_ALL": "C"}).stdout
segments = re.findall(r"^ +(\w+) +0x\w+ 0x\w+ 0x\w+ 0x\w+ 0x\w+ ([R ][W ][E ])", text, re.MULTILINE)
flags = dict(segments)
dynamic = re.findall(r"^ 0x\w+ \((\w+)\) +(.*)$", text, re.MULTILINE)
tags = dict(dynamic)
undefined = re.findall(r" UND (\w+)", text)
# What libzucharset exports is for libzutext; each library's own surface is tested apart.
others = {name for name in undefined if name not in RUNTIME and not re.match(r"Is(Iso|Cp|Unicode)|g_st", name)}
checks = {
    "the tool's output is understood": len(segments) >= 5 and len(dynamic) >= 10 and "malloc" in undefined,
    "no segment can be written and executed": all("WE" not in flag for _, flag in segments),
    "the stack is not executable": flags.get("GNU_STACK") == "RW ",
    "relocated data becomes read-only": flags.get("GNU_RELRO") == "R  ",
    "all symbols are bound when the library is loaded": "NOW" in tags.get("FLAGS", "") + tags.get("FLAGS_1", ""),
    "no code is relocated": "TEXTREL" not in tags and "TEXTREL" not in tags.get("FLAGS", ""),
    "frames with arrays are guarded": "__stack_chk_fail" in undefined,
    "nothing else is called": not others,
}
failed = [name for name, holds in checks.items() if not holds]
if failed:
    sys.exit("does not hold: " + "; ".join(failed) + f"\nundefined: {sorted(others)}")
