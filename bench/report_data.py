"""What the benchmark report reads: the benchmarks and cases it knows, the runs
and peak-memory lines of one bench/run, and the number formats of its tables."""
import glob
import json
import os
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
    "stl-ascii": dict(text=True, short="STL\nASCII", title="STL ASCII read + weld, 200,000 triangles",
                      file="stl-ascii-sphere-200k.stl", count=2e5, unit="triangles", peak="kelp-stl",
                      peers={"assimp": "assimp-join"}),
    "stl-write": dict(title="STL binary write, 1,000,000 triangles", file="stl-sphere-1m-out.stl", count=1e6,
                      unit="triangles"),
    "stl-weld": dict(title="STL welding alone, 1,000,000-triangle soups (3,000,000 corners)", file=None,
                     count=1e6, unit="triangles", reference="evenly spread", vs="× evenly spread"),
    "asc": dict(text=True, short="ASC", title="ASC read, 1,000,000 points", file="cloud-1m.asc", count=1e6, unit="points", peak="kelp-asc"),
    "asc-write": dict(title="ASC write, 1,000,000 points", file="cloud-1m-out.asc", count=1e6, unit="points"),
    "dxf": dict(text=True, short="DXF", title="DXF read, 1,000,000 POINT entities", file="cloud-1m.dxf", count=1e6, unit="points",
                peak="kelp-dxf"),
    "3ds": dict(short="3DS", title="3DS read, 60 objects, 3,600,000 triangles", file="grid-60x60k.3ds", count=3.6e6,
                unit="triangles", peak="kelp-3ds"),
    "obj": dict(text=True, short="OBJ", title="OBJ read, 1,000,000 triangles, v/vt/vn corners", file="bench-1m.obj", count=1e6,
                unit="triangles", peak="kelp-obj"),
    "obj-write": dict(title="OBJ write, 1,000,000 triangles (file size: the library's output)",
                      file="bench-out-kelp.obj", count=1e6, unit="triangles"),
    "jpeg": dict(title="JPEG texture load, 4096 x 4096 RGB", file="bench-4096.jpg", count=None, unit=None),
    "ply-binary": dict(short="PLY\nbinary", title="PLY binary_little_endian read, 2,000,000 vertices, 4,000,000 triangles",
                       file="mesh-2m-4m-le.ply", count=4e6, unit="triangles", peak="kelp-ply"),
    "ply-ascii": dict(text=True, short="PLY\nASCII", title="PLY ASCII read, 200,000 triangles", file="mesh-200k-ascii.ply", count=2e5,
                      unit="triangles", peak="kelp-ply"),
    "wrl": dict(text=True, short="VRML", title="VRML 1.0 read, 1,000,000 triangles", file="vrml-grid-1m.wrl", count=1e6, unit="triangles",
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
# Files beyond the per-format cases that a text reader's memory target covers:
# (format, kelp_peak reader, file); the 10M OBJ is the largest scaling file.
LARGE_TEXT_FILES = (("OBJ", "kelp-obj", "scaling-10000000.obj"),)

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


def peak_budget(reader, file, peak):
    """Bytes a read grew the process's peak by, and its text-reader budget
    (None for readers without one)."""
    grown = (peak["peak_kb"] - peak["baseline_kb"]) * 1024
    if reader not in TEXT_READERS:
        return grown, None
    limit = BUDGET_FACTOR * peak["container_bytes"] + BUDGET_SLACK
    if reader == "kelp-stl" and "ascii" in file:
        limit += 36 * (peak["triangles"] or 0)
    return grown, limit


def load_baseline(results):
    """The reads of bench/baseline/run: file -> "before"/"current" -> list of
    reads (cpu_seconds, vertices, triangles), the earlier commit, and why the
    comparison was skipped (empty when it ran)."""
    reads = {}
    path = os.path.join(results, "baseline.jsonl")
    if os.path.exists(path):
        for line in open(path):
            if line.startswith("{"):
                p = json.loads(line)
                if p.get("ok"):
                    reads.setdefault(os.path.basename(p["file"]), {}).setdefault(p["label"], []).append(p)
    return reads, read_text(results, "baseline-commit.txt"), read_text(results, "baseline-skipped.txt")


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
