"""The "Targets" table of bench/RESULTS.md and the comparison with the library
before its scanning core. Every row is measured in this run; where a target is
not met, the row points to the format's notes (bench/notes.md), which hold the
profile of what stands in the way."""
import statistics

from report_data import CASES, FORMATS, KNOWN, LARGE_TEXT_FILES, fmt_bytes, fmt_ratio, fmt_time, peak_budget, ratio, \
    skipped_peers

ABSENT_PEERS = "skipped: the peer sources (../shared/peers) were absent when the benchmarks were built"


class Targets:
    def __init__(self, report):
        self.report = report
        self.rows = []  # (format, target, measured, status, why)
        self.reads, self.commit, self.baseline_skipped = report.baseline
        self.commit = self.commit or "the earlier commit"

    # --- measurements ------------------------------------------------------
    def faster(self, case, peer):
        """The peer's CPU time over the library's on the same file."""
        return ratio(self.report.time(case, peer), self.report.time(case, "kelp"))

    def floor(self, case):
        return ratio(self.report.time(case, "kelp"), self.report.time(case, "floor"))

    def before(self, case):
        """Medians of the earlier and the current library's reads of the case's
        file, and the number of reads behind each, or None."""
        reads = self.reads.get(CASES[case]["file"], {})
        old, new = reads.get("before"), reads.get("current")
        if not old or not new:
            return None
        median = lambda group: statistics.median(p["cpu_seconds"] for p in group)  # noqa: E731
        return median(old), median(new), min(len(old), len(new))

    # --- rows --------------------------------------------------------------
    def add(self, fmt, target, measured, met, why=None):
        """One row; `met` is True, False, None (not measured) or "reported"."""
        if met == "reported":
            status, why = "reported", ""
        elif met is None:
            status, why = "not measured", why or "no measurement in this run"
        else:
            status, why = ("met", "") if met else ("not met", why or f"see the [{fmt} notes](#{fmt.lower()})")
        self.rows.append((fmt, target, measured, status, why))

    def at_least(self, fmt, target, value, limit, text):
        self.add(fmt, target, text if value is not None else "–", None if value is None else value >= limit)

    def at_most(self, fmt, target, value, limit, text):
        self.add(fmt, target, text if value is not None else "–", None if value is None else value <= limit)

    def peer(self, fmt, case, peer, target, limit):
        """A peer from ../shared/peers: said to be skipped where it was absent."""
        r = self.faster(case, peer)
        if r is None and skipped_peers:
            self.add(fmt, target, "–", None, ABSENT_PEERS)
        elif limit is None:
            self.add(fmt, target, f"{fmt_ratio(r)} faster" if r else "–", "reported" if r else None)
        else:
            self.at_least(fmt, target, r, limit, f"{fmt_ratio(r)} faster")

    def against_before(self, fmt, case, what, limit):
        what = f"{what} of {CASES[case]['file']}"
        target = f"{what} ≥ {limit:g}× faster than before the scanning core ({self.commit})" if limit else \
            f"{what} against the library before the scanning core ({self.commit}; reported)"
        measured = self.before(case)
        if measured is None:
            self.add(fmt, target, "–", None, self.baseline_skipped or "bench/baseline/run did not run")
            return
        old, new, reads = measured
        r = ratio(old, new)
        text = f"{fmt_ratio(r)} faster ({fmt_time(old)} before, {fmt_time(new)} now; median of {reads})"
        if limit:
            self.at_least(fmt, target, r, limit, text)
        else:
            self.add(fmt, target, text, "reported")

    def memory(self, fmt, reader, file):
        extra = " + 36 B per triangle" if reader == "kelp-stl" else ""
        target = f"peak memory on {file} within 1.5× the arrays + 16 MiB{extra}"
        peak = self.report.peaks.get((reader, file))
        if peak is None:
            self.add(fmt, target, "–", None, f"kelp_peak did not read {file} in this run")
            return
        grown, limit = peak_budget(reader, file, peak)
        self.at_most(fmt, target, grown, limit, f"{fmt_bytes(grown)} of a {fmt_bytes(limit)} budget")

    def mbps(self, fmt, case, limit):
        m = self.report.mbps(case)
        self.at_least(fmt, f"≥ {limit} MB/s", m, limit, f"{m:.0f} MB/s" if m else "–")

    # --- the table ---------------------------------------------------------
    def table(self):
        self.stl()
        r = self.faster("obj", "tinyobjloader")
        self.at_least("OBJ", "read no slower than tinyobjloader", r, 1, f"{fmt_ratio(r)} faster")
        self.peer("OBJ", "obj", "fast_obj", "read no slower than fast_obj", 1)
        self.peer("OBJ", "obj", "rapidobj", "read time against rapidobj (exact floats, its own threads; reported)",
                  None)
        self.against_before("OBJ", "obj", "read", None)
        self.peer("PLY", "ply-ascii", "miniply", "ASCII read no slower than miniply", 1)
        self.against_before("PLY", "ply-ascii", "ASCII read", None)
        r = self.faster("ply-binary", "assimp")
        self.at_least("PLY", "binary ≥ 5× faster than assimp", r, 5, f"{fmt_ratio(r)} faster")
        r = self.floor("ply-binary")
        self.at_most("PLY", "binary within 3× of the floor", r, 3, f"{fmt_ratio(r)} the floor")
        self.mbps("VRML", "wrl", 50)
        r = self.floor("wrl")
        self.at_most("VRML", "within 10× of the floor", r, 10, f"{fmt_ratio(r)} the floor")
        self.against_before("VRML", "wrl", "read", 1.5)
        r = self.faster("3ds", "assimp")
        self.at_least("3DS", "≥ 3× faster than assimp", r, 3, f"{fmt_ratio(r)} faster")
        self.mbps("DXF", "dxf", 30)
        self.against_before("DXF", "dxf", "read", 1.5)
        m, r = self.report.mbps("asc"), self.faster("asc", "ifstream line loop")
        self.add("ASC", "MB/s and ratio to a plain ifstream line loop (no target)",
                 f"{m:.0f} MB/s, {fmt_ratio(r)} faster than the loop" if m and r else "–",
                 "reported" if m and r else None)
        self.against_before("ASC", "asc", "read", 2)
        for case, info in CASES.items():
            if info.get("text"):
                fmt = next(f for f, c, _ in KNOWN.values() if c == case)
                self.memory(fmt, info["peak"], info["file"])
        for fmt, reader, file in LARGE_TEXT_FILES:
            self.memory(fmt, reader, file)
        order = {fmt: i for i, fmt in enumerate(FORMATS)}
        return sorted(self.rows, key=lambda row: order.get(row[0], len(order)))

    def stl(self):
        r = self.faster("stl-binary", "assimp")
        self.at_least("STL", "binary read+weld ≥ 3× faster than assimp (JoinIdenticalVertices)", r, 3,
                      f"{fmt_ratio(r)} faster")
        r = self.floor("stl-binary")
        self.at_most("STL", "binary read+weld within 4× of the floor", r, 4, f"{fmt_ratio(r)} the floor")
        r = ratio(self.report.time("stl-weld", "clustered"), self.report.time("stl-weld", "evenly spread"))
        r2 = ratio(self.report.time("stl-clustered", "kelp"), self.report.time("stl-binary", "kelp"))
        self.at_most("STL", "clustered weld within 3× of evenly spread", r, 3,
                     f"{fmt_ratio(r)} (weld alone)" + (f"; {fmt_ratio(r2)} (read + weld)" if r2 else ""))
        self.against_before("STL", "stl-ascii", "ASCII read", 1.5)


def baseline_section(report):
    """The per-reader table behind the "before the scanning core" rows."""
    reads, commit, skipped = report.baseline
    if not reads and not skipped:
        return
    out = report.out
    out("## Before the scanning core")
    out()
    if skipped:
        out(f"Skipped: {skipped}.")
        out()
        return
    targets = Targets(report)
    out(f"`bench/baseline/run` builds the library as it was at {commit}, before its scanning core, with the "
        "release settings, and builds one driver (`bench/baseline/ReadTimes.cpp`, public API only) against it "
        "and against the current library. Each read runs in a fresh process, the two libraries alternating on "
        "the same file (so every read pays its own page faults, as a host's first read does); the times are "
        "the medians of the reads' process CPU time. \"now is … faster\" is the earlier time over the current "
        "one.")
    out()
    out("| file | earlier | now | now is … faster | reads each | what was read |")
    out("|---|---|---|---|---|---|")
    for case, info in CASES.items():
        measured = targets.before(case) if info.get("file") in reads else None
        if measured is None:
            continue
        old, new, count = measured
        group = reads[info["file"]]
        shapes = {label: {(p["vertices"], p["triangles"]) for p in group[label]} for label in ("before", "current")}
        same = "the same counts" if shapes["before"] == shapes["current"] else \
            f"counts differ: earlier {sorted(shapes['before'])}, now {sorted(shapes['current'])}"
        out(f"| {info['file']} | {fmt_time(old)} | {fmt_time(new)} | {fmt_ratio(ratio(old, new))} | {count} | "
            f"{same} |")
    out()
