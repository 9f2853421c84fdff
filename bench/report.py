"""Turns the results in build/bench into report.md there; with --full also into docs/performance.md and its plots.

With --instructions only the table of instructions in docs/performance.md is renewed, from bench/instructions.csv.
"""
import csv
import json
import math
import re
import subprocess
import sys
from pathlib import Path

import matplotlib
matplotlib.use("Agg")
import matplotlib.pyplot as plt

TOP = Path(__file__).resolve().parent.parent
RESULTS = TOP / "build/bench"
DOCUMENT = TOP / "docs/performance.md"

MIXES = {"ascii": "ASCII", "dense": "dense", "mixed": "mixed"}
CONVERSION_SIZES = [1024, 65536, 4194304]
TARGET_SIZES = [65536, 4194304]
SMALL_SIZES = [128, 1024]
DETECTION_SIZES = [16, 128, 1024, 8192, 65536, 1048576, 4194304]
CONVERSION_TARGETS = {  # relative to iconv: ASCII, dense, mixed
    "GBK": (57, 4.5, 5.5), "Big5": (75, 4, 6), "CP949": (53, 4.5, 6.5), "CP1251": (78, 9, 13),
    "ISO-8859-1": (50, 12, 14), "UTF-16LE": (32, 12, 11), "UTF-8": (58, 30, 25)}
DETECTION_RIVALS = ["uchardet", "enca"]
AHEAD_FROM_8K_EXEMPT = {"ASCII subtitles", "UTF-8 subtitles"}
# The mark alone answers there; western text is there for judging.
OUTSIDE_TARGETS = {"UTF-16LE with mark", "CP1252 subtitles", "CP1252 dense"}
JUDGING_SIZES = [1024, 8192, 65536, 1048576]
COLOURS = {"zucharset": "#c1272d", "iconv": "#4d4d4d", "ICU": "#0071bc", "uchardet": "#8cae00", "enca": "#9467bd"}


def load(part):
    """The context and the median of every benchmark by its name."""
    report = json.loads((RESULTS / f"{part}.json").read_text())
    runs = sorted(report["benchmarks"], key=lambda run: run["family_index"])  # they ran in random order
    medians = {run["run_name"]: run for run in runs if run.get("aggregate_name") == "median"}
    assert all(run["time_unit"] == "ns" for run in medians.values())
    return report["context"], medians


def geometric_mean(values):
    return math.exp(math.fsum(map(math.log, values)) / len(values)) if values else math.nan


def times(ratio, target=0.0):
    if math.isnan(ratio):
        return "-"
    text = f"{ratio:.0f}" if ratio >= 100 else "<0.01" if ratio < 0.01 else f"{ratio:#.3g}"
    return text if ratio >= target else f"{text} (missed)"


def size_name(size):
    return f"{size} B" if size < 1024 else f"{size >> 10} KB" if size < 1 << 20 else f"{size >> 20} MB"


def table(header, rows):
    lines = ["| " + " | ".join(header) + " |", "|---|" + "---:|" * (len(header) - 1)]
    return "\n".join(lines + ["| " + " | ".join(row) + " |" for row in rows]) + "\n"


class Conversion:
    def __init__(self, part="conversion"):
        self.context, self.runs = load(part)
        self.encodings = list(dict.fromkeys(name.split("/")[1] for name in self.runs if name.startswith("conversion/")))

    def speed(self, encoding, mix, size, state, who):
        run = self.runs.get(f"conversion/{encoding}/{mix}/{size}/{state}/{who}")
        return run["bytes_per_second"] if run else math.nan

    def ratio(self, encoding, mix, state, who="zucharset", sizes=tuple(CONVERSION_SIZES)):
        return geometric_mean([self.speed(encoding, mix, size, state, who) /
                               self.speed(encoding, mix, size, state, "iconv") for size in sizes])

    def copy_ratio(self, encoding, sizes):
        """How many times as fast as iconv with ASCII text it is to copy the text unread."""
        return geometric_mean([self.runs[f"fixed/memcpy/{size}"]["bytes_per_second"] /
                               self.speed(encoding, "ascii", size, "warm", "iconv") for size in sizes])

    def target_table(self, v3):
        """The targets hold for the faster build, where there is one."""
        builds = [("base", self)] + ([("v3", v3)] if v3 else [])
        header = ["Encoding", "memcpy of ASCII"] + [f"{title}, {what}" for title in MIXES.values()
                                                    for what in ["target"] + [name for name, _ in builds]]
        rows = []
        for encoding, targets in CONVERSION_TARGETS.items():
            # UTF-16 becomes half as long: that is no copy.
            row = [encoding, "-" if encoding.startswith("UTF-16") else times(self.copy_ratio(encoding, TARGET_SIZES))]
            for mix, target in zip(MIXES, targets):
                ratios = [build.ratio(encoding, mix, "warm", sizes=TARGET_SIZES) for _, build in builds]
                row += [f"{target:g}"] + [times(ratio) for ratio in ratios[:-1]] + [times(ratios[-1], target)]
            rows.append(row)
        return table(header, rows)

    def small_table(self, v3):
        """Microseconds of a call for a text of the size of one cue."""
        floor = self.runs["fixed/trace lines"]["cpu_time"] / 1000
        builds = [("base", self)] + ([("v3", v3)] if v3 else [])
        header = ["Microseconds a call"] + [f"{mix} {size_name(size)}, {who}" for size in SMALL_SIZES
                                            for mix in ("ASCII", "mixed") for who in [name for name, _ in builds] + ["iconv"]]
        rows = []
        for encoding in self.encodings:
            row = [encoding]
            for size in SMALL_SIZES:
                for mix in ("ascii", "mixed"):
                    for build, who in [(build, "zucharset") for _, build in builds] + [(self, "iconv")]:
                        speed = build.speed(encoding, mix, size, "warm", who)
                        row.append("-" if math.isnan(speed) else f"{size / speed * 1e6:.2f}")
            rows.append(row)
        return table(header, rows) + f"\nThe floor, what the two trace lines take: {floor:.2f} microseconds.\n"

    def size_table(self, title="Held converter"):
        return table([title] + [f"{mix} {size_name(size)}" for mix in MIXES.values() for size in CONVERSION_SIZES],
                     [[encoding] + [times(self.ratio(encoding, mix, "warm", sizes=[size])) for mix in MIXES
                                    for size in CONVERSION_SIZES] for encoding in self.encodings])

    def other_table(self):
        columns = [("cold", "zucharset", "new each time"), ("warm", "ICU", "ICU"), ("cold", "ICU", "ICU, new each time")]
        return table(["Encoding"] + [f"{mix}, {title}" for *_, title in columns for mix in MIXES.values()],
                     [[encoding] + [times(self.ratio(encoding, mix, state, who)) for state, who, _ in columns
                                    for mix in MIXES] for encoding in self.encodings])

    def plot(self, path):
        figure, axes = plt.subplots(2, 1, figsize=(10, 8), sharex=True, constrained_layout=True)
        for axis, mix in zip(axes, ["ascii", "dense"]):
            for place, who in enumerate(["zucharset", "ICU", "iconv"]):
                speeds = [geometric_mean([self.speed(encoding, mix, size, "warm", who) for size in CONVERSION_SIZES]) / 1e6
                          for encoding in self.encodings]
                axis.bar([x + 0.27 * (place - 1) for x in range(len(speeds))], speeds, 0.25, label=who, color=COLOURS[who])
            axis.set_yscale("log")
            axis.set_ylim(100, 30000)
            axis.set_yticks([100, 200, 500, 1000, 2000, 5000, 10000, 20000])
            axis.yaxis.set_major_formatter(lambda value, _: f"{value:g}")
            axis.minorticks_off()
            axis.set_ylabel("MB/s of input")
            axis.set_title("Plain ASCII subtitles" if mix == "ascii" else "Dense text in the encoding's language", loc="left")
            axis.grid(axis="y", alpha=0.4)
            axis.set_axisbelow(True)
        axes[1].set_xticks(range(len(self.encodings)), self.encodings)
        axes[0].legend(ncol=3, loc="upper right", bbox_to_anchor=(1, 1.14), frameon=False)
        figure.suptitle("Conversion to UTF-8: geometric mean over 1 KB, 64 KB and 4 MB, held converter")
        save(figure, path)


class Detection:
    def __init__(self, part="detection"):
        self.context, self.runs = load(part)
        names = [name.split("/") for name in self.runs if name.startswith("detection/")]
        self.texts = list(dict.fromkeys(name[1] for name in names))
        self.sizes = [size for size in DETECTION_SIZES if any(int(name[2]) == size for name in names)]

    def time(self, text, size, who="zucharset"):
        run = self.runs.get(f"detection/{text}/{size}/{who}")
        return run["cpu_time"] / 1000 if run else math.nan

    def ratio(self, text, size, who):
        return self.time(text, size, who) / self.time(text, size)

    def target_table(self):
        texts = [text for text in self.texts if text not in OUTSIDE_TARGETS]
        rows = []
        for who in DETECTION_RIVALS:
            if math.isnan(self.time(texts[0], 65536, who)):
                rows.append([f"against {who}", "-", "not installed"])
                continue
            due = [(text, size) for text in texts for size in self.sizes
                   if size >= 65536 or size >= 8192 and text not in AHEAD_FROM_8K_EXEMPT]
            missed = [f"{text} {size_name(size)} ({times(self.ratio(text, size, who))})"
                      for text, size in due if self.ratio(text, size, who) <= 1]
            rows.append([f"ahead of {who}: every text from 64 KB, all but ASCII and UTF-8 from 8 KB", "all",
                         f"{len(due) - len(missed)} of {len(due)}" + ("; missed: " + ", ".join(missed) if missed else "")])
            mean = geometric_mean([self.ratio(text, size, who) for text in texts for size in self.sizes
                                   if 8192 <= size <= 1048576])
            rows.append([f"times as fast as {who}, geometric mean over the texts, 8 KB to 1 MB", "3", times(mean, 3)])
        clear = self.runs["fixed/memset of an instance"]
        floor = geometric_mean([self.time(text, 16) for text in texts]) * 1000 / clear["cpu_time"]
        rows.append([f"16-byte identify over a memset of an instance ({clear['label']}), at most", "3",
                     f"{floor:.2f}" + ("" if floor <= 3 else " (missed)")])
        worst = max(self.time(text, 16) for text in texts) * 1000 / clear["cpu_time"]
        rows.append(["the same, worst text", "3", f"{worst:.2f}" + ("" if worst <= 3 else " (missed)")])
        return table(["Criterion", "target", "measured"], rows)

    def time_table(self, title):
        return table([title] + [size_name(size) for size in self.sizes],
                     [[text] + [f"{self.time(text, size):.1f}" for size in self.sizes] for text in self.texts])

    def judging_table(self, title):
        """Judging, and behind it what libzucharset's own detection takes, which is part of it."""
        header, limits, kept = [title], ["limit"], ["texts within it"]
        rows = [[text] for text in self.texts]
        for size in JUDGING_SIZES:
            limit = 250 + size / 1000
            judging = [self.time(text, size, "zutext") for text in self.texts]
            header += [size_name(size), f"{size_name(size)}, detection"]
            limits += [f"{limit:.0f}", ""]
            kept += [f"{sum(time <= limit for time in judging)} of {len(judging)}", ""]
            for row, time in zip(rows, judging):
                row += [f"{time:.0f}" + (" (missed)" if time > limit else ""), f"{self.time(row[0], size):.0f}"]
        return table(header, [limits, kept] + rows)

    def judging_tables(self, v3):
        tables = [self.judging_table("Microseconds, base")] + ([v3.judging_table("Microseconds, v3")] if v3 else [])
        return "\n".join(tables)

    def size_tables(self, v3):
        sizes = [size_name(size) for size in self.sizes]
        tables = [self.time_table("Microseconds, base")] + ([v3.time_table("Microseconds, v3")] if v3 else [])
        for who in DETECTION_RIVALS + ["ICU"]:
            tables.append(table([f"Times as fast as {who}"] + sizes,
                                [[text] + [times(self.ratio(text, size, who)) for size in self.sizes]
                                 for text in self.texts]))
        fixed = {name: self.runs[f"fixed/{name}"]["cpu_time"] / 1000
                 for name in ("memset of an instance", "create and close")}
        tables.append("Fixed cost: " + ", ".join(f"{name} {time:.1f} µs" for name, time in fixed.items()) + ".\n")
        return "\n".join(tables)

    def answer_table(self):
        columns = ["zucharset", "zutext"] + DETECTION_RIVALS + ["ICU"]
        return table(["Answers at 64 KB"] + columns,
                     [[text] + [self.runs.get(f"detection/{text}/65536/{who}", {}).get("label") or "none"
                                for who in columns] for text in self.texts])

    def plot(self, path):
        shown = ["ASCII subtitles", "UTF-8 subtitles", "GBK subtitles", "CP949 subtitles", "CP1251 dense", "UTF-16LE subtitles"]
        figure, axes = plt.subplots(2, 3, figsize=(12, 8), sharex=True, sharey=True, constrained_layout=True)
        for axis, text in zip(axes.flat, shown):
            for who in ["zucharset"] + DETECTION_RIVALS + ["ICU"]:
                axis.plot(self.sizes, [self.time(text, size, who) for size in self.sizes], marker="o", markersize=4,
                          linewidth=2.5 if who == "zucharset" else 1.5, color=COLOURS[who], label=who)
            axis.set_xscale("log")
            axis.set_yscale("log")
            axis.set_xticks([16, 1024, 65536, 4194304], ["16 B", "1 KB", "64 KB", "4 MB"])
            axis.minorticks_off()
            axis.set_title(text)
            axis.grid(alpha=0.4)
        for axis in axes[:, 0]:
            axis.set_ylabel("microseconds")
        figure.suptitle("Time to detect the encoding of a text")
        axes[0, 0].legend(frameon=False)
        save(figure, path)


def save(figure, path):
    """As SVG; as PNG in the results, to look at."""
    figure.savefig(path, metadata={"Date": None})
    figure.savefig(RESULTS / f"{path.stem}.png", dpi=80)


def instruction_table():
    with open(TOP / "bench/instructions.csv", newline="") as file:
        lines = list(csv.DictReader(file))
    presets = [column for column in lines[0] if column not in ("operation", "text", "mix")]

    def part(title, small):
        return table([title] + presets,
                     [[" ".join([line["operation"], line["text"]] + ([line["mix"]] if line["operation"] == "convert" else []))]
                      + [line[preset] or "-" for preset in presets]
                      for line in lines if (line["operation"] == "judge small") == small])

    return part("Instructions per byte", False) + "\n" + part("Instructions per call, 1 KB", True)


def machine(conversion, detection, mode):
    model = re.search(r"model name\s*: (.*)", Path("/proc/cpuinfo").read_text())
    compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True, check=True).stdout.splitlines()[0]
    peers = {**conversion.context, **detection.context}
    versions = [f"{peer} {peers[peer]}" for peer in ("iconv", "ICU", "uchardet", "enca") if peer in peers]
    command = "./bench.sh" + (" --quick" if mode == "--quick" else "")
    return (f"Measured on {conversion.context['date'][:10]} on {conversion.context['num_cpus']} processors"
            f" {model[1] if model else 'of unknown make'}, compiler {compiler}, against {', '.join(versions)}, with"
            f" `{command}`.\n")


def write_sections(sections):
    document = DOCUMENT.read_text()
    for name, text in sections.items():
        document, found = re.subn(rf"(<!-- bench:{name} -->\n).*?(<!-- /bench -->)",
                                  lambda place: place[1] + text + place[2], document, flags=re.DOTALL)
        if found != 1:
            sys.exit(f"error: {DOCUMENT.name} needs one place marked bench:{name}, has {found}")
    DOCUMENT.write_text(document)


def main():
    mode = sys.argv[1] if len(sys.argv) > 1 else "--full"
    if mode == "--instructions":  # the committed table alone
        write_sections({"instructions": instruction_table()})
        return
    matplotlib.rcParams.update({"svg.hashsalt": "zucharset", "svg.fonttype": "none", "font.family": "sans-serif"})
    conversion, detection = Conversion(), Detection()
    conversion_v3 = Conversion("conversion-v3") if (RESULTS / "conversion-v3.json").exists() else None
    detection_v3 = Detection("detection-v3") if (RESULTS / "detection-v3.json").exists() else None
    sizes = conversion.size_table("Held converter, base")
    if conversion_v3:
        sizes += "\n" + conversion_v3.size_table("Held converter, v3")
    sections = {
        "machine": machine(conversion, detection, mode),
        "conversion-targets": conversion.target_table(conversion_v3),
        "conversion-small": conversion.small_table(conversion_v3),
        "conversion": sizes + "\n" + conversion.other_table(),
        "detection-targets": detection.target_table(),
        "detection": detection.size_tables(detection_v3) + "\n" + detection.answer_table(),
        "judging": detection.judging_tables(detection_v3),
        "instructions": instruction_table(),
    }
    (RESULTS / "report.md").write_text("\n".join(f"## {name}\n\n{text}" for name, text in sections.items()))
    plots = TOP / "docs" if mode == "--full" else RESULTS
    conversion.plot(plots / "performance-conversion.svg")
    detection.plot(plots / "performance-detection.svg")
    if mode == "--full":
        write_sections(sections)


main()
