"""Batch conversion and checking on dask.distributed.

    python3 -m kelpfileio.batch --check parts/*.stl > records.jsonl
    python3 -m kelpfileio.batch --to obj --out-dir out/ --workers 8 parts/*
    python3 -m kelpfileio.batch --to stl --out-dir /shared/out --scheduler tcp://head:8786 --files-from list.txt

Each file gives one JSON Lines record (file, output, ok, error, reason,
message, notes, vertices, faces, bounds, seconds). Files go to the workers in chunks;
a chunk whose worker dies (a crash, or the nanny ending a worker over its
memory limit) is split and its files retried alone, and a file that kills a
worker twice on its own is recorded as "crashed". The run ends with "N passed, M
failed" on standard error and exits with status 1 when any file failed.
"""
import argparse
import contextlib
import glob
import json
import logging
import os
import shutil
import sys

from . import _batchwork
from ._files import FORMATS


def _arguments(argv):
    writable = [name for name, (_e, _c, _r, can_write) in FORMATS.items() if can_write]
    parser = argparse.ArgumentParser(prog="python3 -m kelpfileio.batch", description=__doc__.split("\n\n")[0])
    parser.add_argument("files", nargs="*", help="files to convert or check")
    parser.add_argument("--files-from", metavar="LIST", help="a file with one path per line ('-': standard input)")
    action = parser.add_mutually_exclusive_group(required=True)
    action.add_argument("--to", choices=writable, help="convert every file to this format")
    action.add_argument("--check", action="store_true", help="only read every file")
    parser.add_argument("--out-dir", default=".", help="where converted files go (default: the current directory)")
    parser.add_argument("--format", choices=[n for n, f in FORMATS.items() if f[2]], help="read every file as this")
    parser.add_argument("--max-faces", type=int, help="refuse files announcing more faces")
    parser.add_argument("--workers", type=int, default=os.cpu_count() or 1,
                        help="local worker processes, one thread each (default: one per core)")
    parser.add_argument("--memory-limit", default="auto", help="per local worker, e.g. 2GB (default: RAM / workers)")
    parser.add_argument("--scheduler", metavar="tcp://HOST:PORT", help="run on this existing cluster instead")
    parser.add_argument("--chunk-size", type=int, default=32, help="files per task (default: 32)")
    parser.add_argument("--records", metavar="FILE", help="write the records here instead of standard output")
    args = parser.parse_args(argv)
    if args.files_from:
        with (contextlib.nullcontext(sys.stdin) if args.files_from == "-" else open(args.files_from)) as listing:
            args.files += [line.strip() for line in listing if line.strip()]
    if not args.files:
        parser.error("no files given")
    if args.workers < 1 or args.chunk_size < 1:
        parser.error("--workers and --chunk-size must be at least 1")
    return args


@contextlib.contextmanager
def _client(args):
    import dask
    from distributed import Client, LocalCluster

    if args.scheduler:
        with Client(args.scheduler) as client:
            yield client
        return
    # A task whose worker dies is not run again elsewhere: the batch splits
    # its chunk itself, so that one bad file kills at most three workers. Tasks
    # wait at the scheduler until a worker is free, so a dying worker takes
    # only the task it was running with it.
    settings = {"distributed.scheduler.allowed-failures": 0, "distributed.scheduler.worker-saturation": 1.0}
    with dask.config.set(settings):
        with LocalCluster(n_workers=args.workers, threads_per_worker=1, processes=True, dashboard_address=None,
                          memory_limit=args.memory_limit, silence_logs=logging.CRITICAL) as cluster, \
                Client(cluster) as client:
            yield client


class _Progress:
    def __init__(self, total, stream):
        self.total, self.done, self.stream = total, 0, stream
        self.shown = stream.isatty()

    def advance(self, count):
        self.done += count
        if self.shown:
            filled = 30 * self.done // self.total
            self.stream.write(f"\r[{'#' * filled}{'.' * (30 - filled)}] {self.done}/{self.total} files")
            self.stream.flush()

    def close(self):
        if self.shown:
            self.stream.write("\n")


_ATTEMPTS_ALONE = 2


def _crashed(path, error):
    return {"file": path, "output": None, "ok": False, "error": "crashed", "reason": None,
            "message": f"{type(error).__name__}: {error}", "notes": [], "vertices": None, "faces": None,
            "bounds": None, "seconds": None}


def run(args, out):
    """Runs the batch, writing records to `out`; returns (passed, failed)."""
    from distributed import as_completed

    files = [os.path.abspath(path) for path in args.files]
    out_dir = os.path.abspath(args.out_dir)
    if args.to:
        os.makedirs(out_dir, exist_ok=True)
    options = {"to": args.to, "out_dir": out_dir, "format": args.format, "max_faces": args.max_faces}
    passed = failed = 0
    progress = _Progress(len(files), sys.stderr)
    with _client(args) as client:
        chunks = {}
        pending = as_completed()
        def submit(chunk, attempt=1):
            future = client.submit(_batchwork.convert_chunk, chunk, options, pure=False)
            chunks[future] = (chunk, attempt)
            pending.add(future)
        for start in range(0, len(files), args.chunk_size):
            submit(files[start:start + args.chunk_size])
        for future in pending:
            chunk, attempt = chunks.pop(future)
            try:
                records = future.result()
            except Exception as error:  # the worker died under this chunk, or with its result
                if len(chunk) > 1:
                    for path in chunk:
                        submit([path])
                    continue
                # A file alone is tried twice: a worker can also die just
                # after finishing it, under the next file, taking the result.
                if attempt < _ATTEMPTS_ALONE:
                    submit(chunk, attempt + 1)
                    continue
                records = [_crashed(chunk[0], error)]
            for record in records:
                out.write(json.dumps(record) + "\n")
                passed, failed = (passed + 1, failed) if record["ok"] else (passed, failed + 1)
            out.flush()
            progress.advance(len(records))
    progress.close()
    for leftover in glob.glob(os.path.join(glob.escape(out_dir), _batchwork.STAGING_PREFIX + "*")):
        shutil.rmtree(leftover, ignore_errors=True)
    return passed, failed


def main(argv=None):
    args = _arguments(argv)
    with (open(args.records, "w") if args.records else contextlib.nullcontext(sys.stdout)) as out:
        passed, failed = run(args, out)
    print(f"{passed} passed, {failed} failed", file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
