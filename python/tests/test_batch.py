"""python3 -m kelpfileio.batch on two local workers: the samples, a broken,
a missing and a crashing file (a VRML word of 512 characters ends the
reading process, so its worker dies mid-batch)."""
import json
import os
import subprocess
import sys

import kelpfileio
from conftest import SAMPLES


def test_batch_converts_records_failures_and_survives_a_killed_worker(samples, tmp_path):
    crash = tmp_path / "crash.wrl"
    crash.write_bytes(b"#VRML V1.0 ascii\nSeparator { " + b"x" * 600 + b" }\n")
    broken = tmp_path / "broken.ply"
    broken.write_bytes(b"garbage\n")
    missing = tmp_path / "missing.stl"
    files = [samples / name for name in SAMPLES] + [crash, broken, missing]
    out_dir, records = tmp_path / "out", tmp_path / "records.jsonl"
    result = subprocess.run(
        [sys.executable, "-m", "kelpfileio.batch", "--to", "obj", "--out-dir", str(out_dir), "--workers", "2",
         "--chunk-size", "3", "--records", str(records)] + [str(f) for f in files],
        capture_output=True, text=True, timeout=240)

    by_file = {}
    for line in records.read_text().splitlines():
        record = json.loads(line)
        assert record["file"] not in by_file, "one record per file"
        by_file[record["file"]] = record
    assert sorted(by_file) == sorted(str(f) for f in files)
    failed = {str(crash): "crashed", str(broken): "ReadError", str(missing): "FileNotFoundError",
              # its kept byte-order quirk gives face indices past the vertices, which the writer refuses
              str(samples / "pyramid-be.ply"): "ValueError"}
    for path, record in by_file.items():
        assert record["error"] == failed.get(path) and record["ok"] == (path not in failed), record
        if record["ok"]:
            geometry = kelpfileio.read(path)
            assert record["vertices"] == len(geometry.vertices)
            assert record["faces"] == (len(geometry.faces) if isinstance(geometry, kelpfileio.Mesh) else None)
            assert len(kelpfileio.read(record["output"]).vertices) == len(geometry.vertices)
    assert by_file[str(missing)]["reason"] == "No such file or directory"
    assert by_file[str(broken)]["reason"].startswith("PLY: ")
    assert any(note.startswith("asc.repeated-last: ") for note in by_file[str(samples / "cloud.asc")]["notes"])
    assert by_file[str(broken)]["message"].startswith("the ply reader failed")
    passed = len(files) - len(failed)
    assert result.returncode == 1, result.stderr
    # dask's own shutdown chatter of the killed worker may come after the closing line
    assert f"{passed} passed, {len(failed)} failed" in result.stderr.splitlines(), result.stderr
    # Only finished outputs (and the textured cube's side files) are left.
    expected = {os.path.splitext(n)[0] + ".obj" for n in SAMPLES if n != "pyramid-be.ply"} | {"cube.jpg", "cube.mtl"}
    assert set(os.listdir(out_dir)) == expected
