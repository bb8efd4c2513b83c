"""The worker side of kelpfileio.batch: one chunk of files, one record each.

Runs inside dask worker processes (one thread each), so it may change the
working directory: the OBJ writer names its texture side files from the
path it is given, and only a bare file name puts them beside the OBJ file.
"""
import math
import os
import shutil
import tempfile
import time

from . import _files

# Staging directories inside --out-dir start with this; a worker that dies
# while writing leaves one behind, and the batch removes them at its end.
STAGING_PREFIX = ".kelp-staging-"


def _bounds(vertices):
    if not len(vertices):
        return None
    def finite(values):
        return [float(v) if math.isfinite(v) else None for v in values]
    return {"min": finite(vertices.min(axis=0)), "max": finite(vertices.max(axis=0))}


def _write_staged(geometry, source, to, out_dir):
    """Writes into a private directory, then renames the side files and the
    file itself into out_dir, so out_dir never holds a half-written output."""
    name = os.path.splitext(os.path.basename(source))[0] + "." + to
    staging = tempfile.mkdtemp(prefix=STAGING_PREFIX, dir=out_dir)
    try:
        here = os.getcwd()
        os.chdir(staging)
        try:
            _files.write(name, geometry, to)
        finally:
            os.chdir(here)
        for entry in sorted(os.listdir(staging), key=lambda entry: entry == name):
            os.replace(os.path.join(staging, entry), os.path.join(out_dir, entry))
    finally:
        shutil.rmtree(staging, ignore_errors=True)
    return os.path.join(out_dir, name)


def _failure(error):
    """error: the exception's type; reason: the library's reason for a
    ReadError/WriteError, the system's for other OSErrors; message: the whole
    text."""
    reason = getattr(error, "reason", None)
    if reason is None and not hasattr(error, "reason") and isinstance(error, OSError):
        reason = error.strerror
    return {"ok": False, "error": type(error).__name__, "reason": reason, "message": str(error),
            "notes": list(getattr(error, "notes", []) or [])}


def process(path, options):
    """One file's record: read it, then write it (unless options["to"] is None)."""
    record = {"file": path, "output": None, "ok": True, "error": None, "reason": None, "message": None, "notes": [],
              "vertices": None, "faces": None, "bounds": None, "seconds": None}
    start = time.perf_counter()
    try:
        geometry = _files.read(path, options.get("format"), max_faces=options.get("max_faces"))
        record["notes"] = list(geometry.notes)
        record["vertices"] = len(geometry.vertices)
        record["faces"] = len(geometry.faces) if isinstance(geometry, _files.Mesh) else None
        record["bounds"] = _bounds(geometry.vertices)
        if options.get("to"):
            record["output"] = _write_staged(geometry, path, options["to"], options["out_dir"])
    except Exception as error:  # every failure of one file becomes its record
        record.update(_failure(error))
    record["seconds"] = time.perf_counter() - start
    return record


def convert_chunk(paths, options):
    return [process(path, options) for path in paths]
