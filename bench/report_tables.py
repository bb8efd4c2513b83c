"""The text of bench/RESULTS.md: one table per case, the targets, scaling and
peak memory, and the prose of bench/notes.md under each format."""
import datetime
import os
import platform
import re

import report_chart
from report_data import (
    CASES, FORMATS, KNOWN, PEAK_READER, SCALING, SHARED_PEERS, fmt_bytes, fmt_rate, fmt_ratio, fmt_time,
    load_baseline, load_peaks, load_runs, machine, peak_budget, ratio, read_text, role_from, skipped_peers,
)
from report_targets import Targets, baseline_section


class Report:
    def __init__(self, args):
        self.args = args
        self.runs = load_runs(args.results)
        self.peaks = load_peaks(args.results)
        self.baseline = load_baseline(args.results)
        self.cases = {}  # case -> role -> run
        self.case_format = {}
        self.scaling = []
        for run in self.runs:
            if run["family"].startswith("BM_Scale"):
                self.scaling.append(run)
                continue
            known = KNOWN.get(run["family"])
            if known:
                fmt, case, role = known
            else:  # a benchmark the table above does not know yet: one case per program
                fmt = run["program"].replace("kelp_bench_", "").upper()
                case, role = run["program"], role_from(run["family"], run["label"])
                if run["label"] and run["label"] not in ("kelp", "floor", "assimp", "tinyobjloader"):
                    case = f"{run['program']}:{run['label']}"
                CASES.setdefault(case, dict(title=f"{run['program']} {run['label']}".strip(), file=None,
                                            count=run["triangles"], unit="triangles"))
            self.case_format[case] = fmt
            self.cases.setdefault(case, {}).setdefault(role, run)
        self.lines = []

    def file_size(self, case):
        name = CASES.get(case, {}).get("file")
        if name:
            path = os.path.join(self.args.scratch, name)
            if os.path.exists(path):
                return os.path.getsize(path)
        return None

    def time(self, case, role, clock="cpu"):
        run = self.cases.get(case, {}).get(role)
        return run[clock] if run else None

    def mbps(self, case, role="kelp"):
        size, t = self.file_size(case), self.time(case, role)
        return size / t / 1e6 if size and t else None

    def peak_for(self, case, role):
        info = CASES.get(case, {})
        reader = info.get("peak") if role == "kelp" else info.get("peers", {}).get(role, PEAK_READER.get(role))
        if not reader or not info.get("file"):
            return None
        return self.peaks.get((reader, info["file"]))

    def out(self, text=""):
        self.lines.append(text)

    def case_table(self, case):
        info = CASES.get(case, {})
        roles = self.cases[case]
        size = self.file_size(case)
        title = info.get("title", case)
        self.out(f"**{title}**" + (f" ({size / 1e6:.1f} MB)" if size else ""))
        self.out()
        reference = info.get("reference", "kelp")
        self.out("| reader | wall | CPU | MB/s | " + (info.get("unit") or "items") +
                 f"/s | peak memory | {info.get('vs', 'kelp is … faster')} | × floor |")
        self.out("|---|---|---|---|---|---|---|---|")
        order = [reference] + [r for r in roles if r not in (reference, "floor")] + ["floor"]
        kelp_cpu = self.time(case, reference)
        floor_cpu = self.time(case, "floor")
        for role in order:
            run = roles.get(role)
            if not run:
                continue
            cpu = run["cpu"]
            mb = f"{size / cpu / 1e6:,.0f}" if size and cpu else "–"
            per = fmt_rate(info["count"] / cpu, "") if info.get("count") and cpu else "–"
            peak = self.peak_for(case, role)
            peak_text = fmt_bytes((peak["peak_kb"] - peak["baseline_kb"]) * 1024) if peak else "–"
            vs = fmt_ratio(ratio(cpu, kelp_cpu)) if role not in (reference, "floor") else ""
            floor = fmt_ratio(ratio(cpu, floor_cpu)) if role != "floor" else "1×"
            if not floor_cpu:
                floor = "–"
            name = {"kelp": "KelpFileIO", "floor": "floor: read the bytes"}.get(role, role)
            self.out(f"| {name} | {fmt_time(run['real'])} | {fmt_time(cpu)} | {mb} | {per} | {peak_text} | "
                     f"{vs} | {floor} |")
        self.out()

    # --- scaling -----------------------------------------------------------
    def scaling_tables(self):
        if not self.scaling:
            return
        self.out("## Scaling")
        self.out()
        self.out("Time per triangle (CPU) for the same read at each size; a flat row means the cost grows "
                 "linearly once the file's bytes per triangle are taken into account (the indices get longer "
                 "as the files grow; the row \"file bytes per triangle\" shows by how much). The floor's own "
                 "cost per byte rises at the larger sizes, where the buffers outgrow the caches and every "
                 "page of fresh memory is faulted in, so compare each row with the floor row. At 10^7 a read "
                 "runs once per repetition (the peers once in all), so that column is the noisiest.")
        self.out()
        families = {}
        for run in self.scaling:
            for prefix, (title, _) in SCALING.items():
                if run["family"].startswith(prefix):
                    families.setdefault(title, {}).setdefault(
                        role_from(run["family"], run["label"]), {})[int(run["triangles"] or 0)] = run
        sizes = sorted({int(r["triangles"] or 0) for r in self.scaling})
        for title, roles in families.items():
            self.out(f"**{title}**")
            self.out()
            self.out("| reader | " + " | ".join(f"10^{len(str(s)) - 1}" for s in sizes) + " |")
            self.out("|---|" + "---|" * len(sizes))
            for role in ["kelp"] + sorted(r for r in roles if r not in ("kelp", "floor")) + ["floor"]:
                if role not in roles:
                    continue
                cells = []
                for s in sizes:
                    run = roles[role].get(s)
                    cells.append(f"{run['cpu'] / s * 1e9:.0f} ns" if run else "–")
                name = {"kelp": "KelpFileIO", "floor": "floor"}.get(role, role)
                self.out(f"| {name} | " + " | ".join(cells) + " |")
            sizes_row = []
            for s in sizes:
                run = next((r[s] for r in roles.values() if s in r), None)
                sizes_row.append(f"{run['file_bytes'] / s:.0f} B" if run and run.get("file_bytes") else "–")
            self.out("| file bytes per triangle | " + " | ".join(sizes_row) + " |")
            self.out()
        self.scaling_families = families

    # --- peak memory -------------------------------------------------------
    def peak_table(self):
        if not self.peaks:
            return
        self.out("## Peak memory")
        self.out()
        self.out("Each reader reads one file in a fresh process (`bench/peak`, `kelp_peak <reader> <file>`). "
                 "Peak is the growth of the process's peak resident set (ru_maxrss) over the read; the floor "
                 "is the bytes of the arrays the reader hands back (what any reader must hold at the end).")
        self.out()
        self.out("The budget of the library's text readers is 1.5 times the arrays plus 16 MiB (the ASCII STL "
                 "reader may add its 36-byte-per-triangle corner list).")
        self.out()
        self.out("| file | reader | triangles (points) | peak | arrays | peak / arrays | text-reader budget |")
        self.out("|---|---|---|---|---|---|---|")
        for (reader, file), p in self.peaks.items():
            grown, limit = peak_budget(reader, file, p)
            budget = "" if limit is None else f"{fmt_bytes(limit)}: {'within' if grown <= limit else 'over'}"
            self.out(f"| {file} | {reader} | {p['triangles'] or p['vertices']:,} | {fmt_bytes(grown)} | "
                     f"{fmt_bytes(p['container_bytes'])} | {fmt_ratio(ratio(grown, p['container_bytes']))} | {budget} |")
        absent = sorted({peer for peer in SHARED_PEERS if any(peer.replace("_", "") in n.lower().replace("_", "")
                                                                for n in skipped_peers)})
        if skipped_peers:
            self.out()
            self.out("Peers skipped (sources in ../shared/peers absent at build time): " + ", ".join(absent or SHARED_PEERS) + ".")
        self.out()


    # --- document ----------------------------------------------------------
    def notes(self):
        notes, current = {}, None
        path = os.path.join(os.path.dirname(os.path.abspath(__file__)), "notes.md")
        if os.path.exists(path):
            for line in open(path):
                m = re.match(r"^## (\S+)", line)
                if m:
                    current = m.group(1)
                    notes[current] = []
                elif current:
                    notes[current].append(line.rstrip("\n"))
        return {k: "\n".join(v).strip() for k, v in notes.items()}

    def write(self):
        model, cores, memory, compiler = machine()
        started = read_text(self.args.results, "started.txt")
        finished = read_text(self.args.results, "finished.txt")
        when = datetime.datetime.fromtimestamp(int(started), datetime.timezone.utc) if started else \
            datetime.datetime.now(datetime.timezone.utc)
        minutes = (int(finished) - int(started)) / 60 if started and finished else None
        self.out("# Benchmark results")
        self.out()
        self.out("Generated by `bench/run` (tables, targets and `results.png` come from one run; do not edit "
                 "them by hand — the prose per format lives in `bench/notes.md`).")
        self.out()
        if self.args.quick:
            self.out("> **Quick run** (`bench/run --quick`): one repetition of each benchmark, a 0.1 s minimum "
                     "time, scaling only up to 10^5 triangles (the per-format files are full size). The full "
                     "figures come from `bench/run` without `--quick` (three repetitions, medians, scaling to "
                     "10^7).")
            self.out()
        self.out(f"- Date: {when:%Y-%m-%d %H:%M} UTC" + (f", run took {minutes:.0f} min" if minutes else ""))
        self.out(f"- Machine: {model}, {cores} cores, {memory}; {platform.system()} {platform.release()}")
        if compiler:
            self.out(f"- Compiler: {compiler}, `release` preset")
        self.out(f"- Load: before `{read_text(self.args.results, 'load-before.txt')}`; after "
                 f"`{read_text(self.args.results, 'load-after.txt')}`")
        self.out("- The machine is shared (2 cores, other builds and fuzzers running), so wall times are noisy. "
                 "Peers run in the same process on the same file right beside the library's reader, and all "
                 "ratios use CPU time. The floor is the time to read the file's bytes into memory from the "
                 "page cache. \"kelp is … faster\" is the peer's time over the library's; \"× floor\" is a "
                 "reader's time over the floor's.")
        self.out("- Chart: [results.png](results.png) (left: each reader's time over the floor; right: time "
                 "per triangle at 10^4 … 10^7 triangles).")
        self.out()
        self.out("## Targets")
        self.out()
        self.out("Each target is measured in this run; where one is not met, the format's notes below say "
                 "what stands in the way.")
        self.out()
        self.out("| format | target | measured | status | where not met |")
        self.out("|---|---|---|---|---|")
        for fmt, target, text, status, why in Targets(self).table():
            self.out(f"| {fmt} | {target} | {text} | {status} | {why} |")
        self.out()
        notes = self.notes()
        for fmt in FORMATS + sorted(set(self.case_format.values()) - set(FORMATS)):
            cases = [c for c in self.cases if self.case_format.get(c) == fmt]
            if not cases and fmt not in notes:
                continue
            self.out(f"## {fmt}")
            self.out()
            for case in cases:
                self.case_table(case)
            if not cases:
                self.out("_Not run._")
                self.out()
            if fmt in notes:
                self.out(notes[fmt])
                self.out()
        self.scaling_tables()
        self.peak_table()
        baseline_section(self)
        with open(os.path.join(self.args.out, "RESULTS.md"), "w") as handle:
            handle.write("\n".join(self.lines).rstrip() + "\n")
        report_chart.chart(self, os.path.join(self.args.out, "results.png"))
