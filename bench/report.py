#!/usr/bin/python3
"""Writes bench/RESULTS.md and bench/results.png from one bench/run.

Reads the Google Benchmark JSON files and kelp_peak lines that bench/run left
in its results directory. Ratios use CPU time: the machine is shared, and CPU
time moves less than wall time when other processes compete for the cores.
"""
import argparse
import datetime
import glob
import json
import os
import platform
import re
import subprocess

# Every benchmark the report knows: name -> (format, case, role).
# A case is one input file read by several readers (kelp, peers, the floor).
KNOWN = {
    "BM_StlBinary1M_Kelp": ("STL", "stl-binary", "kelp"),
    "BM_StlBinary1M_Assimp": ("STL", "stl-binary", "assimp"),
    "BM_StlBinary1M_Floor": ("STL", "stl-binary", "floor"),
    "BM_StlBinary1MClustered_Kelp": ("STL", "stl-clustered", "kelp"),
    "BM_StlAscii200k_Kelp": ("STL", "stl-ascii", "kelp"),
    "BM_StlAscii200k_Assimp": ("STL", "stl-ascii", "assimp"),
    "BM_StlAscii200k_Floor": ("STL", "stl-ascii", "floor"),
    "BM_StlWrite1M": ("STL", "stl-write", "kelp"),
    "BM_StlWeld1M_Even": ("STL", "stl-weld", "evenly spread"),
    "BM_StlWeld1M_Clustered": ("STL", "stl-weld", "clustered"),
    "BM_AscRead": ("ASC", "asc", "kelp"),
    "BM_AscIfstreamLineLoop": ("ASC", "asc", "ifstream line loop"),
    "BM_AscFloorReadBytes": ("ASC", "asc", "floor"),
    "BM_AscWrite": ("ASC", "asc-write", "kelp"),
    "BM_DxfRead": ("DXF", "dxf", "kelp"),
    "BM_DxfFscanfLoop": ("DXF", "dxf", "fscanf loop"),
    "BM_DxfFloorReadBytes": ("DXF", "dxf", "floor"),
    "BM_3dsRead": ("3DS", "3ds", "kelp"),
    "BM_3dsAssimp": ("3DS", "3ds", "assimp"),
    "BM_3dsFloorReadBytes": ("3DS", "3ds", "floor"),
    "BM_ObjReadAllBytes": ("OBJ", "obj", "floor"),
    "BM_ObjKelpRead": ("OBJ", "obj", "kelp"),
    "BM_ObjTinyObjLoader": ("OBJ", "obj", "tinyobjloader"),
    "BM_ObjFastObj": ("OBJ", "obj", "fast_obj"),
    "BM_ObjRapidObj": ("OBJ", "obj", "rapidobj"),
    "BM_PlyBinaryMiniply": ("PLY", "ply-binary", "miniply"),
    "BM_PlyAsciiMiniply": ("PLY", "ply-ascii", "miniply"),
    "BM_ObjAssimpRead": ("OBJ", "obj", "assimp"),
    "BM_ObjKelpWrite": ("OBJ", "obj-write", "kelp"),
    "BM_ObjAssimpWrite": ("OBJ", "obj-write", "assimp"),
    "BM_JpegKelpReadImage": ("OBJ", "jpeg", "kelp"),
    "BM_JpegStbImage": ("OBJ", "jpeg", "stb_image"),
    "BM_PlyBinaryKelp": ("PLY", "ply-binary", "kelp"),
    "BM_PlyBinaryFloorReadBytes": ("PLY", "ply-binary", "floor"),
    "BM_PlyBinaryAssimp": ("PLY", "ply-binary", "assimp"),
    "BM_PlyAsciiKelp": ("PLY", "ply-ascii", "kelp"),
    "BM_PlyAsciiFloorReadBytes": ("PLY", "ply-ascii", "floor"),
    "BM_PlyAsciiAssimp": ("PLY", "ply-ascii", "assimp"),
    "BM_WrlRead": ("VRML", "wrl", "kelp"),
    "BM_WrlFloorReadBytes": ("VRML", "wrl", "floor"),
}

# What each case reads: file in the scratch directory, its element count and
# the unit of that count, and the kelp_peak reader for the library's side.
CASES = {
    "stl-binary": dict(short="STL\nbinary", title="STL binary read + weld, 1,000,000 triangles (sphere)",
                       file="stl-sphere-1m.stl", count=1e6, unit="triangles", peak="kelp-stl",
                       peers={"assimp": "assimp-join"}),
    "stl-clustered": dict(title="STL binary read + weld, 1,000,000 triangles clustered into one grid cell",
                          file="stl-clustered-1m.stl", count=1e6, unit="triangles", peak="kelp-stl"),
    "stl-ascii": dict(short="STL\nASCII", title="STL ASCII read + weld, 200,000 triangles",
                      file="stl-ascii-sphere-200k.stl", count=2e5, unit="triangles", peak="kelp-stl",
                      peers={"assimp": "assimp-join"}),
    "stl-write": dict(title="STL binary write, 1,000,000 triangles", file="stl-sphere-1m-out.stl", count=1e6,
                      unit="triangles"),
    "stl-weld": dict(title="STL welding alone, 1,000,000-triangle soups (3,000,000 corners)", file=None,
                     count=1e6, unit="triangles", reference="evenly spread", vs="× evenly spread"),
    "asc": dict(short="ASC", title="ASC read, 1,000,000 points", file="cloud-1m.asc", count=1e6, unit="points", peak="kelp-asc"),
    "asc-write": dict(title="ASC write, 1,000,000 points", file="cloud-1m-out.asc", count=1e6, unit="points"),
    "dxf": dict(short="DXF", title="DXF read, 1,000,000 POINT entities", file="cloud-1m.dxf", count=1e6, unit="points",
                peak="kelp-dxf"),
    "3ds": dict(short="3DS", title="3DS read, 60 objects, 3,600,000 triangles", file="grid-60x60k.3ds", count=3.6e6,
                unit="triangles", peak="kelp-3ds"),
    "obj": dict(short="OBJ", title="OBJ read, 1,000,000 triangles, v/vt/vn corners", file="bench-1m.obj", count=1e6,
                unit="triangles", peak="kelp-obj"),
    "obj-write": dict(title="OBJ write, 1,000,000 triangles (file size: the library's output)",
                      file="bench-out-kelp.obj", count=1e6, unit="triangles"),
    "jpeg": dict(title="JPEG texture load, 4096 x 4096 RGB", file="bench-4096.jpg", count=None, unit=None),
    "ply-binary": dict(short="PLY\nbinary", title="PLY binary_little_endian read, 2,000,000 vertices, 4,000,000 triangles",
                       file="mesh-2m-4m-le.ply", count=4e6, unit="triangles", peak="kelp-ply"),
    "ply-ascii": dict(short="PLY\nASCII", title="PLY ASCII read, 200,000 triangles", file="mesh-200k-ascii.ply", count=2e5,
                      unit="triangles", peak="kelp-ply"),
    "wrl": dict(short="VRML", title="VRML 1.0 read, 1,000,000 triangles", file="vrml-grid-1m.wrl", count=1e6, unit="triangles",
                peak="kelp-wrl"),
}

FORMATS = ["STL", "OBJ", "PLY", "VRML", "3DS", "DXF", "ASC"]
PEER_ROLES = ("assimp", "tinyobjloader", "stb_image", "fast_obj", "rapidobj", "miniply")
PEAK_READER = {"assimp": "assimp", "tinyobjloader": "tinyobjloader", "fast_obj": "fast_obj", "rapidobj": "rapidobj",
               "miniply": "miniply"}
# The peers of ../shared/peers: compiled into the benchmark programs when the
# folder is there, skipped (and said so below) when it is not.
SHARED_PEERS = ("fast_obj", "rapidobj", "miniply")
# Peak memory budget of a text reader: 1.5 times the arrays it returns plus 16 MiB.
BUDGET_FACTOR, BUDGET_SLACK = 1.5, 16 * 1024 * 1024
TEXT_READERS = ("kelp-asc", "kelp-dxf", "kelp-obj", "kelp-ply", "kelp-wrl", "kelp-stl")

SCALING = {  # benchmark family prefix -> (format title, role)
    "BM_ScaleStlBinary": ("binary STL read + weld", None),
    "BM_ScalePlyBinary": ("binary PLY read", None),
    "BM_ScaleObj": ("OBJ read", None),
}


def role_from(name, label):
    if label in ("kelp", "floor", "assimp", "tinyobjloader"):
        return label
    lowered = name.lower()
    if "floor" in lowered or "readallbytes" in lowered or "readbytes" in lowered:
        return "floor"
    if "assimp" in lowered:
        return "assimp"
    if "tinyobj" in lowered:
        return "tinyobjloader"
    return "kelp"


skipped_peers = set()  # benchmarks of peers whose sources were absent


def load_runs(results):
    runs = []
    for path in sorted(glob.glob(os.path.join(results, "kelp_bench_*.json"))):
        program = os.path.basename(path)[: -len(".json")]
        try:
            with open(path) as handle:
                data = json.load(handle)
        except (OSError, ValueError):
            continue
        entries = data.get("benchmarks", [])
        # With repetitions, the median of each benchmark stands for it.
        medians = {b["run_name"] for b in entries if b.get("aggregate_name") == "median"}
        for b in entries:
            if b.get("error_occurred"):
                if "peer sources absent" in b.get("error_message", ""):
                    skipped_peers.add(b["name"])
                continue
            if b.get("run_type") == "aggregate":
                if b.get("aggregate_name") != "median":
                    continue
            elif b.get("run_name", b["name"]) in medians:
                continue
            scale = {"ns": 1e-9, "us": 1e-6, "ms": 1e-3, "s": 1.0}[b.get("time_unit", "ns")]
            runs.append(dict(program=program, name=b["name"], label=b.get("label", ""),
                             family=b.get("run_name", b["name"]).split("/")[0],
                             real=b["real_time"] * scale, cpu=b["cpu_time"] * scale,
                             iterations=b.get("iterations", 0), triangles=b.get("triangles"),
                             bytes_per_second=b.get("bytes_per_second"),
                             file_bytes=b.get("file_bytes")))
    return runs


def load_peaks(results):
    peaks = {}
    path = os.path.join(results, "peak.jsonl")
    if os.path.exists(path):
        for line in open(path):
            line = line.strip()
            if line.startswith("{"):  # readers may print their own diagnostics
                p = json.loads(line)
                peaks[(p["reader"], os.path.basename(p["file"]))] = p
    return peaks


def fmt_time(seconds):
    if seconds is None:
        return "–"
    if seconds >= 1:
        return f"{seconds:.2f} s"
    if seconds >= 1e-3:
        return f"{seconds * 1e3:.3g} ms" if seconds < 0.1 else f"{seconds * 1e3:.0f} ms"
    return f"{seconds * 1e6:.3g} µs"


def fmt_rate(value, unit):
    if value is None:
        return "–"
    for factor, prefix in ((1e9, "G"), (1e6, "M"), (1e3, "k")):
        if value >= factor:
            return f"{value / factor:.3g} {prefix}{unit}"
    return f"{value:.3g} {unit}"


def fmt_bytes(n):
    if n is None:
        return "–"
    for factor, unit in ((1 << 30, "GiB"), (1 << 20, "MiB"), (1 << 10, "KiB")):
        if n >= factor:
            return f"{n / factor:.3g} {unit}"
    return f"{n} B"


def ratio(a, b):
    return a / b if a and b else None


def fmt_ratio(r):
    return "–" if r is None else (f"{r:.2f}×" if r < 10 else f"{r:.1f}×")


def machine():
    model, cores = "unknown", 0
    try:
        for line in open("/proc/cpuinfo"):
            if line.startswith("model name") and model == "unknown":
                model = line.split(":", 1)[1].strip()
            if line.startswith("processor"):
                cores += 1
    except OSError:
        pass
    memory = ""
    try:
        for line in open("/proc/meminfo"):
            if line.startswith("MemTotal"):
                memory = f"{int(line.split()[1]) / (1 << 20):.0f} GiB RAM"
    except OSError:
        pass
    compiler = ""
    try:
        compiler = subprocess.run(["c++", "--version"], capture_output=True, text=True).stdout.splitlines()[0]
    except (OSError, IndexError):
        pass
    return model, cores or os.cpu_count(), memory, compiler


def read_text(results, name):
    try:
        return open(os.path.join(results, name)).read().strip()
    except OSError:
        return ""


class Report:
    def __init__(self, args):
        self.args = args
        self.runs = load_runs(args.results)
        self.peaks = load_peaks(args.results)
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

    # --- targets -----------------------------------------------------------
    def targets(self):
        rows = []

        def add(fmt, target, value, met, text, why):
            rows.append((fmt, target, text, "met" if met else ("not met" if met is not None else "not measured"),
                         "" if met else why))

        def faster(case, peer):
            return ratio(self.time(case, peer), self.time(case, "kelp"))

        def floor(case):
            return ratio(self.time(case, "kelp"), self.time(case, "floor"))

        stl = self.stl_targets()
        rows.extend(stl)
        r = faster("obj", "tinyobjloader")
        add("OBJ", "read no slower than tinyobjloader", r, None if r is None else r >= 1,
            f"{fmt_ratio(r)} faster", "The reader must keep the stdio results to the byte; a faster number "
            "conversion (from_chars on the in-memory buffer) for the v/vt/vn lines would close it.")
        absent = "skipped: the peer sources (../shared/peers) were absent when the benchmarks were built"
        for peer, target, limit in (("fast_obj", "read no slower than fast_obj", 1), ("rapidobj", "read time against rapidobj (exact floats, its own threads; reported)", None)):
            r = faster("obj", peer)
            if r is None and skipped_peers:
                rows.append(("OBJ", target, "–", "not measured", absent))
            elif limit is None:
                rows.append(("OBJ", target, f"{fmt_ratio(r)} faster" if r else "–", "reported", ""))
            else:
                add("OBJ", target, r, None if r is None else r >= limit, f"{fmt_ratio(r)} faster",
                    "See the OBJ notes for the profile of what stands in the way.")
        r = faster("ply-ascii", "miniply")
        if r is None and skipped_peers:
            rows.append(("PLY", "ASCII read no slower than miniply", "–", "not measured", absent))
        else:
            add("PLY", "ASCII read no slower than miniply", r, None if r is None else r >= 1, f"{fmt_ratio(r)} faster",
                "The ASCII values go through the scanning core one fscanf conversion at a time (white space, "
                "conversion, store per value); a whole-line plan for the common vertex and face layouts, as the "
                "binary reader has, would close it. miniply's floats are not exact.")
        r = faster("ply-binary", "assimp")
        add("PLY", "binary ≥ 5× faster than assimp", r, None if r is None else r >= 5, f"{fmt_ratio(r)} faster",
            "Decoding whole vertex and face instances straight from the buffer, without per-property dispatch, "
            "would close it.")
        r = floor("ply-binary")
        add("PLY", "binary within 3× of the floor", r, None if r is None else r <= 3, f"{fmt_ratio(r)} the floor",
            "The vertex and face arrays are filled element by element; reserving them and copying the fixed "
            "layout in bulk would close it.")
        m = self.mbps("wrl")
        add("VRML", "≥ 50 MB/s", m, None if m is None else m >= 50, f"{m:.0f} MB/s" if m else "–",
            "Number conversion dominates; converting straight from the read buffer would close it.")
        r = floor("wrl")
        add("VRML", "within 10× of the floor", r, None if r is None else r <= 10, f"{fmt_ratio(r)} the floor",
            "Number conversion dominates; converting straight from the read buffer would close it.")
        r = faster("3ds", "assimp")
        add("3DS", "≥ 3× faster than assimp", r, None if r is None else r >= 3, f"{fmt_ratio(r)} faster",
            "Appending vertices and faces one by one; reserving from the chunk counts would close it.")
        m = self.mbps("dxf")
        add("DXF", "≥ 30 MB/s", m, None if m is None else m >= 30, f"{m:.0f} MB/s" if m else "–",
            "The word loop reproduces fscanf; scanning the buffer in memory would close it.")
        m = self.mbps("asc")
        r = faster("asc", "ifstream line loop")
        rows.append(("ASC", "MB/s and ratio to a plain ifstream line loop (no target)",
                     f"{m:.0f} MB/s, {fmt_ratio(r)} faster than the loop" if m and r else "–", "reported", ""))
        return rows

    def stl_targets(self):
        rows = []
        missing = "The STL benchmark did not run."
        r = ratio(self.time("stl-binary", "assimp"), self.time("stl-binary", "kelp"))
        rows.append(("STL", "binary read+weld ≥ 3× faster than assimp (JoinIdenticalVertices)",
                     f"{fmt_ratio(r)} faster" if r else "–",
                     "not measured" if r is None else "met" if r >= 3 else "not met",
                     missing if r is None else "" if r >= 3 else
                     "The weld's hash lookups dominate; a radix sort of the corner keys would close it."))
        r = ratio(self.time("stl-binary", "kelp"), self.time("stl-binary", "floor"))
        rows.append(("STL", "binary read+weld within 4× of the floor", f"{fmt_ratio(r)} the floor" if r else "–",
                     "not measured" if r is None else "met" if r <= 4 else "not met",
                     missing if r is None else "" if r <= 4 else
                     "About half the time is the welding pass, welded straight from the read buffer; most of "
                     "the pass waits on the position table's cache misses. What would close it: fewer table "
                     "visits per corner (for example a larger recent-position cache on machines where it fits "
                     "the second-level cache)."))
        r = ratio(self.time("stl-weld", "clustered"), self.time("stl-weld", "evenly spread"))
        r2 = ratio(self.time("stl-clustered", "kelp"), self.time("stl-binary", "kelp"))
        rows.append(("STL", "clustered weld within 3× of evenly spread",
                     (f"{fmt_ratio(r)} (weld alone)" if r else "–") + (f"; {fmt_ratio(r2)} (read + weld)" if r2 else ""),
                     "not measured" if r is None else "met" if r <= 3 else "not met",
                     missing if r is None else "" if r <= 3 else
                     "Clustered positions collide in the grid cells; hashing the full position bits would close it."))
        return rows

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
            grown = (p["peak_kb"] - p["baseline_kb"]) * 1024
            budget = ""
            if reader in TEXT_READERS:
                limit = BUDGET_FACTOR * p["container_bytes"] + BUDGET_SLACK
                if reader == "kelp-stl" and "ascii" in file:
                    limit += 36 * (p["triangles"] or 0)
                budget = f"{fmt_bytes(limit)}: {'within' if grown <= limit else 'over'}"
            self.out(f"| {file} | {reader} | {p['triangles'] or p['vertices']:,} | {fmt_bytes(grown)} | "
                     f"{fmt_bytes(p['container_bytes'])} | {fmt_ratio(ratio(grown, p['container_bytes']))} | {budget} |")
        absent = sorted({peer for peer in SHARED_PEERS if any(peer.replace("_", "") in n.lower().replace("_", "")
                                                                for n in skipped_peers)})
        if skipped_peers:
            self.out()
            self.out("Peers skipped (sources in ../shared/peers absent at build time): " + ", ".join(absent or SHARED_PEERS) + ".")
        self.out()

    # --- chart -------------------------------------------------------------
    def chart(self, path):
        import matplotlib
        matplotlib.use("Agg")
        import matplotlib.pyplot as plt

        bars = []  # (case label, role, ratio)
        for fmt in FORMATS:
            for case, roles in self.cases.items():
                if self.case_format.get(case) != fmt or "floor" not in roles:
                    continue
                for role, run in roles.items():
                    if role != "floor":
                        bars.append((CASES.get(case, {}).get("short", f"{fmt}\n{case}"), role, run["cpu"] / roles["floor"]["cpu"]))
        has_scaling = bool(getattr(self, "scaling_families", None))
        fig, axes = plt.subplots(1, 2 if has_scaling else 1, figsize=(15 if has_scaling else 10, 6.2),
                                 gridspec_kw={"width_ratios": [2, 1]} if has_scaling else None)
        ax = axes[0] if has_scaling else axes
        labels = list(dict.fromkeys(b[0] for b in bars))
        colours = {"kelp": "#2a7ab0", "assimp": "#d9822b", "tinyobjloader": "#5aa05a",
                   "ifstream line loop": "#999999", "fscanf loop": "#777777"}
        width = 0.22
        shown = set()
        for j, label in enumerate(labels):
            group = [b for b in bars if b[0] == label]
            group.sort(key=lambda b: (b[1] != "kelp", b[1]))
            for i, (_, role, value) in enumerate(group):
                x = j + (i - (len(group) - 1) / 2) * width
                name = "KelpFileIO" if role == "kelp" else role
                ax.bar(x, value, width, color=colours.get(role, "#bbbbbb"),
                       label=None if name in shown else name)
                ax.text(x, value * 1.05, f"{value:.1f}", ha="center", va="bottom", fontsize=7)
                shown.add(name)
        ax.set_yscale("log")
        ax.axhline(1, color="black", linewidth=0.8)
        ax.set_xticks(range(len(labels)))
        ax.set_xticklabels(labels, fontsize=8)
        ax.set_ylabel("CPU time ÷ reading the bytes (log)")
        ax.set_title("Read time relative to the byte-read floor (lower is better)")
        ax.legend(fontsize=8)
        if has_scaling:
            ax2 = axes[1]
            for title, roles_ in self.scaling_families.items():
                run_by_size = roles_.get("kelp", {})
                xs = sorted(run_by_size)
                line, = ax2.plot(xs, [run_by_size[s]["cpu"] / s * 1e9 for s in xs], marker="o",
                                 label=f"KelpFileIO {title}")
                floor_by_size = roles_.get("floor", {})
                fx = sorted(floor_by_size)
                ax2.plot(fx, [floor_by_size[s]["cpu"] / s * 1e9 for s in fx], linestyle="--", marker=".",
                         color=line.get_color(), alpha=0.6, label=f"floor, {title.split(' read')[0]} file")
            ax2.set_xscale("log")
            ax2.set_yscale("log")
            ax2.set_xlabel("triangles")
            ax2.set_ylabel("ns per triangle (CPU)")
            ax2.set_title("Scaling (flat = linear cost)")
            ax2.legend(fontsize=7, loc="upper center", bbox_to_anchor=(0.5, -0.13), ncol=2)
        if self.args.quick:
            fig.suptitle("quick run (bench/run --quick)", fontsize=9, color="#aa0000")
        fig.tight_layout()
        fig.savefig(path, dpi=110)

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
        self.out("| format | target | measured | status | why, and what would close it |")
        self.out("|---|---|---|---|---|")
        for fmt, target, text, status, why in self.targets():
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
        with open(os.path.join(self.args.out, "RESULTS.md"), "w") as handle:
            handle.write("\n".join(self.lines).rstrip() + "\n")
        self.chart(os.path.join(self.args.out, "results.png"))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--results", required=True)
    parser.add_argument("--scratch", required=True)
    parser.add_argument("--out", required=True)
    parser.add_argument("--quick", action="store_true")
    Report(parser.parse_args()).write()


if __name__ == "__main__":
    main()
