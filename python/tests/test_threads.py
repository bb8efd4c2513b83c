"""Several Python threads calling the library at once (run under the asan
preset too): the calls are serialised and every result is the one a lone
call gives."""
import faulthandler
import os
import threading

import numpy as np

import kelpfileio
from kelpfileio import _kelpfileio


def test_threads_reading_and_writing_different_formats_get_lone_call_results(samples, tmp_path):
    names = ["sphere-binary.stl", "sphere-ascii.stl", "cube.obj", "pyramid-ascii.ply", "pyramid-le.ply",
             "scene.wrl", "two-objects.3ds", "points.dxf", "cloud.asc"]
    alone = {name: kelpfileio.read(samples / name) for name in names}
    failures = []

    def work(index, name):
        try:
            for round in range(15):
                geometry = kelpfileio.read(samples / name)
                np.testing.assert_array_equal(geometry.vertices, alone[name].vertices)
                if isinstance(geometry, kelpfileio.Mesh):
                    np.testing.assert_array_equal(geometry.faces, alone[name].faces)
                target = tmp_path / f"{index}-{round}.asc"
                kelpfileio.write(target, geometry)
        except Exception as error:  # reported by the main thread
            failures.append((name, error))

    threads = [threading.Thread(target=work, args=(i, name)) for i, name in enumerate(names)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert failures == []


def test_a_call_blocked_in_the_library_lets_other_threads_run(tmp_path):
    # The library's open of a FIFO waits for a writer, and the writer is this
    # thread, which runs only if the waiting call released the GIL. Were it
    # held, the process would hang: the watchdog ends it instead.
    fifo = tmp_path / "points.asc"
    os.mkfifo(fifo)
    results = []
    reader = threading.Thread(target=lambda: results.append(_kelpfileio.read("asc", os.fsencode(fifo))))
    faulthandler.dump_traceback_later(120, exit=True)
    try:
        reader.start()
        with open(fifo, "wb") as writer:
            writer.write(b"1 2 3\n")
        reader.join()
    finally:
        faulthandler.cancel_dump_traceback_later()
    ok, _reason, _notes, _progress, arrays = results[0]
    assert ok and np.asarray(arrays["vertices"]).tolist() == [[1, 2, 3], [1, 2, 3]]
