"""read/write against the C++ calls, zero-copy, errors, logging and locale."""
import gc
import locale
import logging
import os
import subprocess
import sys

import numpy as np
import pytest

import kelpfileio
from kelpfileio import _kelpfileio
from conftest import ARRAYS, QUIRKS, SAMPLES, binary_stl, reference


@pytest.mark.parametrize("name", SAMPLES + list(QUIRKS))
def test_read_gives_the_cpp_calls_arrays_bit_for_bit(samples, tmp_path, name):
    path = samples / name
    format = kelpfileio.format_for(path)
    ok, expected, texture_shape = reference(format, path, tmp_path)
    assert ok
    geometry = kelpfileio.read(path)
    assert isinstance(geometry, kelpfileio.Mesh) == (kelpfileio.FORMATS[format][1] == "mesh")
    for array, (dtype, columns) in ARRAYS.items():
        value = getattr(geometry, array, None)
        if array not in expected:
            assert value is None, array
            continue
        assert value.dtype == dtype and value.flags.c_contiguous, array
        assert value.shape[1:] == ((columns,) if columns else texture_shape[1:]), array
        assert value.tobytes() == expected[array], array
    # The documented surprises, as Python sees them.
    counts = {"trailing-newline.asc": (3, None), "header-count.stl": (3, 3), "version-two.wrl": (0, 0)}
    if name in counts:
        faces = getattr(geometry, "faces", None)
        assert (len(geometry.vertices), None if faces is None else len(faces)) == counts[name]


# (sample, target format): Python's write of Python's read against the C++
# writer's output of the C++ read, every file compared (OBJ side files too).
@pytest.mark.parametrize("name, target", [("cube.obj", "obj"), ("sphere-binary.stl", "stl"), ("cloud.asc", "asc"),
                                          ("points.dxf", "obj"), ("scene.wrl", "stl"), ("two-objects.3ds", "asc")])
def test_write_gives_the_cpp_writers_files(samples, tmp_path, monkeypatch, name, target):
    out_name = "written." + target
    (tmp_path / "py").mkdir()
    (tmp_path / "cpp").mkdir()
    # Bare names from inside the directory: the OBJ writer's side files go
    # beside the file only then (its base name rule).
    monkeypatch.chdir(tmp_path / "py")
    kelpfileio.write(out_name, kelpfileio.read(samples / name), target)
    monkeypatch.chdir(tmp_path / "cpp")
    reference(kelpfileio.format_for(samples / name), samples / name, tmp_path, (target, out_name))
    written = sorted(os.listdir(tmp_path / "py"))
    assert written == sorted(os.listdir(tmp_path / "cpp"))
    assert len(written) == (3 if name == "cube.obj" else 1)
    for file in written:
        assert (tmp_path / "py" / file).read_bytes() == (tmp_path / "cpp" / file).read_bytes(), file


def test_arrays_are_the_librarys_buffers_and_outlive_the_mesh(samples):
    ok, _reason, _notes, _progress, arrays = _kelpfileio.read("obj", os.fsencode(samples / "cube.obj"))
    assert ok
    for name, exported in arrays.items():
        assert np.asarray(exported).ctypes.data == exported.address, name
    mesh = kelpfileio.read(samples / "cube.obj")
    views = {name: getattr(mesh, name) for name in ARRAYS if getattr(mesh, name) is not None}
    assert len(views) == 5  # all but vertex_normals
    copies = {name: view.copy() for name, view in views.items()}
    for name, view in views.items():
        exporter = view.base.obj if isinstance(view.base, memoryview) else view.base
        assert isinstance(exporter, _kelpfileio.ExportedArray) and exporter.address == view.ctypes.data, name
    del mesh, arrays
    gc.collect()
    for name, view in views.items():
        np.testing.assert_array_equal(view, copies[name])


def test_failures_raise_pythons_errors(samples, tmp_path):
    bad_ply = tmp_path / "bad.ply"
    bad_ply.write_bytes(b"ply\nformat ascii 1.0\nend_header\n")
    bad_stl = tmp_path / "bad.stl"  # a facet whose normal parses but whose corner does not
    bad_stl.write_bytes(b"solid x\nfacet normal 0 0 1\nouter loop\nvertex 1 2 x\nvertex 0 0 0\nvertex 0 0 0\n"
                        b"endloop\nendfacet\nendsolid x\n")
    for path, reason in ((bad_ply, "PLY: "), (bad_stl, "ASCII STL: ")):
        with pytest.raises(kelpfileio.ReadError) as failure:
            kelpfileio.read(path)
        error = failure.value
        assert isinstance(error, OSError) and error.path == path and error.format == path.suffix[1:]
        # The library's reason for the failure travels with the error.
        assert error.reason.startswith(reason) and error.reason in str(error), error.reason
    # A missing file is FileNotFoundError for every reader, VRML's (which would succeed) included.
    for extension in (".stl", ".obj", ".ply", ".wrl", ".vrml", ".3ds", ".dxf", ".asc"):
        with pytest.raises(FileNotFoundError):
            kelpfileio.read(tmp_path / ("missing" + extension))
    assert [kelpfileio.format_for(p) for p in ("A.STL", "b.Obj", "c.VRML", "d.wrl", "e.3DS")] == [
        "stl", "obj", "wrl", "wrl", "3ds"]
    with pytest.raises(ValueError, match="cannot tell the format"):
        kelpfileio.read(samples / "cube.jpg")
    with pytest.raises(ValueError, match="unknown format 'nope'"):
        kelpfileio.read(samples / "cube.obj", "nope")
    mesh = kelpfileio.read(samples / "sphere-binary.stl")
    with pytest.raises(ValueError, match="ply files cannot be written"):
        kelpfileio.write(tmp_path / "x.ply", mesh)
    with pytest.raises(FileNotFoundError):
        kelpfileio.write(tmp_path / "no" / "such.stl", mesh)
    with pytest.raises(kelpfileio.WriteError):  # a directory where the file should go
        kelpfileio.write_stl(tmp_path, mesh)
    if os.geteuid() != 0:
        (tmp_path / "locked").mkdir(mode=0o500)
        with pytest.raises(PermissionError):
            kelpfileio.write(tmp_path / "locked" / "x.stl", mesh)


def test_max_faces_refuses_an_announced_count_before_reading(samples, tmp_path):
    # 212 bytes announcing 10^8 triangles: reading would size 1.6 GB of faces.
    huge = tmp_path / "huge.stl"
    huge.write_bytes(binary_stl(100_000_000, [], high_bytes=True))
    with pytest.raises(kelpfileio.ReadError, match="announces 100000000 faces"):
        kelpfileio.read(huge, max_faces=1_000_000)
    # Other formats (and ASCII STL) are refused on the faces they hold.
    with pytest.raises(kelpfileio.ReadError, match="holds 512 faces"):
        kelpfileio.read(samples / "sphere-ascii.stl", max_faces=100)
    assert len(kelpfileio.read(samples / "sphere-binary.stl", max_faces=512).faces) == 512


@pytest.mark.skipif("asan" in os.environ.get("LD_PRELOAD", ""), reason="AddressSanitizer needs an unlimited address space")
def test_an_allocation_failure_is_memory_error(tmp_path):
    huge = tmp_path / "huge.stl"
    huge.write_bytes(binary_stl(200_000_000, [], high_bytes=True))  # 3.2 GB of faces
    script = ("import resource, sys, kelpfileio\n"
              "resource.setrlimit(resource.RLIMIT_AS, (2 << 30, 2 << 30))\n"
              "try:\n    kelpfileio.read(sys.argv[1])\nexcept MemoryError:\n    print('MemoryError')\n")
    result = subprocess.run([sys.executable, "-c", script, str(huge)], capture_output=True, text=True, timeout=120)
    assert result.stdout.strip() == "MemoryError", result.stderr


@pytest.mark.parametrize("field, value, message", [
    ("vertices", np.zeros((3, 2)), r"vertices must have shape \(n, 3\), not \(3, 2\)"),
    ("faces", [[0, 1, 3]], "faces index 3 is out of range for 3 vertices"),
    ("faces", [[0, 1, -1]], "faces index -1 is out of range"),
    ("faces", [[0.0, 1.0, 2.0]], "faces must hold integers"),
    ("face_texcoord_indices", [[0, 0, 1]], "face_texcoord_indices index 1 is out of range for 1 texcoords"),
    ("texture", np.zeros((2, 2, 2), np.uint8), r"texture must have shape \(height, width, 1\|3\|4\)"),
])
def test_writers_check_shapes_and_indices_first(tmp_path, field, value, message):
    arrays = {"vertices": np.eye(3), "faces": [[0, 1, 2]], "texcoords": [[0.5, 0.5]],
              "face_texcoord_indices": [[0, 0, 0]], "texture": np.zeros((2, 2, 3), np.uint8)}
    arrays[field] = value
    with pytest.raises(ValueError, match=message):
        kelpfileio.write_obj(tmp_path / "x.obj", kelpfileio.Mesh(**arrays))
    assert not (tmp_path / "x.obj").exists()


def test_point_clouds_are_not_written_as_stl(tmp_path):
    with pytest.raises(ValueError, match="STL holds triangles only"):
        kelpfileio.write(tmp_path / "x.stl", kelpfileio.PointCloud(np.zeros((2, 3))))


def test_progress_lines_go_to_the_logger_not_stdout(samples, caplog, capfd):
    with caplog.at_level(logging.DEBUG, logger="kelpfileio"):
        kelpfileio.read(samples / "sphere-binary.stl")
    assert [(r.name, r.levelno, r.getMessage()) for r in caplog.records] == [
        ("kelpfileio", logging.DEBUG, line) for line in ("OpenBinary::fn=512", "OpenBinary::read end",
                                                         "RemoveRedundant::End")]
    assert capfd.readouterr().out == ""


def test_the_callers_locale_is_put_back(tmp_path):
    bad_dxf = tmp_path / "bad.dxf"  # a failed header check leaves the library's locale switched
    bad_dxf.write_bytes(b"999\nnot a dxf\n")
    before = locale.setlocale(locale.LC_ALL, "C.UTF-8")
    try:
        with pytest.raises(kelpfileio.ReadError):
            kelpfileio.read(bad_dxf)
        assert locale.setlocale(locale.LC_ALL) == before
    finally:
        locale.setlocale(locale.LC_ALL, "C")
