"""Several Python threads calling the library at once (run under the asan
preset too): the calls are serialised and every result is the one a lone
call gives."""
import threading

import numpy as np

import kelpfileio


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
