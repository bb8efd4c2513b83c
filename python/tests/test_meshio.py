"""The meshio plugin: registration order, results and failures."""
import numpy as np
import pytest

meshio = pytest.importorskip("meshio")

import kelpfileio
from kelpfileio import meshio_plugin


def test_registration_is_idempotent_and_orders_by_preference():
    from meshio import _helpers
    for prefer, stl_order in ((True, ["kelpfileio-stl", "stl"]), (True, ["kelpfileio-stl", "stl"]),
                              (False, ["stl", "kelpfileio-stl"]), (False, ["stl", "kelpfileio-stl"])):
        meshio_plugin.register(prefer=prefer)
        assert _helpers.extension_to_filetypes[".stl"] == stl_order
        assert _helpers.extension_to_filetypes[".vrml"] == ["kelpfileio-wrl"]


@pytest.mark.parametrize("name, cell_type", [("scene.wrl", "triangle"), ("two-objects.3ds", "triangle"),
                                             ("points.dxf", "vertex"), ("sphere-binary.stl", "triangle")])
def test_meshio_read_gives_our_arrays(samples, name, cell_type):
    meshio_plugin.register(prefer=True)
    ours = kelpfileio.read(samples / name)
    mesh = meshio.read(samples / name)
    np.testing.assert_array_equal(mesh.points, ours.vertices)
    assert [block.type for block in mesh.cells] == [cell_type]
    if cell_type == "triangle":
        np.testing.assert_array_equal(mesh.cells[0].data, ours.faces)


@pytest.mark.parametrize("name, data", [("broken.3ds", b"not a 3ds file"),
                                        ("broken.ply", b"ply\nformat ascii 1.0\nend_header\n")])
def test_a_failed_read_raises_our_error_not_system_exit(tmp_path, name, data):
    meshio_plugin.register(prefer=True)
    (tmp_path / name).write_bytes(data)
    with pytest.raises(kelpfileio.ReadError):
        meshio.read(tmp_path / name)
