"""Shared fixtures: the generated samples, inputs built in the test, and the
C++ library's own results (through kelp_python_reference) to compare with."""
import os
import struct
import subprocess

import numpy as np
import pytest

ARRAYS = {  # name -> (dtype, columns) as the package exposes them
    "vertices": (np.float32, 3), "faces": (np.uint32, 3), "vertex_normals": (np.float32, 3),
    "texcoords": (np.float32, 2), "face_texcoord_indices": (np.uint32, 3), "texture": (np.uint8, None),
}

SAMPLES = ["cloud.asc", "cube.obj", "points.dxf", "pyramid-ascii.ply", "pyramid-be.ply", "pyramid-le.ply",
           "scene.wrl", "sphere-ascii.stl", "sphere-binary.stl", "two-objects.3ds"]


def binary_stl(count, triangles, high_bytes=False):
    """A binary STL whose header announces `count` and which holds `triangles`
    (each three corners of three floats). high_bytes: 128 bytes of 0xFF
    follow instead, which make a file of any size binary."""
    data = bytearray(80) + struct.pack("<I", count)
    for corners in triangles:
        data += bytes(12) + struct.pack("<9f", *(v for corner in corners for v in corner)) + bytes(2)
    return bytes(data) + (b"\xff" * 128 if high_bytes else b"")


# Files that show the library's surprising results, built here.
QUIRKS = {
    # a final line feed repeats the last point: 2 lines, 3 points
    "trailing-newline.asc": b"1 2 3\n4 5 6\n",
    # the header count drives the face count: 3 faces from 1 triangle
    "header-count.stl": binary_stl(3, [((0, 0, 0), (1, 0, 0), (0, 1, 0))]),
    # VRML reading always succeeds: another version gives an empty mesh
    "version-two.wrl": b"#VRML V2.0 utf8\nShape {}\n",
}


@pytest.fixture(scope="session")
def samples(tmp_path_factory):
    tool = os.environ.get("KELP_SAMPLES_TOOL")
    if not tool:
        pytest.skip("kelp-samples was not built (KELP_BUILD_TOOLS=OFF)")
    directory = tmp_path_factory.mktemp("samples")
    subprocess.run([tool, str(directory)], check=True, capture_output=True)
    for name, data in QUIRKS.items():
        (directory / name).write_bytes(data)
    return directory


def reference(format, path, work, write=None):
    """The C++ call's result: (ok, {array name: bytes}, texture shape). With
    write=(format, path) the C++ writer then writes the container there."""
    out = work / f"reference-{os.path.basename(path)}"
    out.mkdir(exist_ok=True)
    command = [os.environ["KELP_REFERENCE_TOOL"], format, str(path), str(out)] + [str(w) for w in write or ()]
    subprocess.run(command, check=True, capture_output=True)
    ok, _vertices, _faces, width, height, channels = map(int, (out / "result.txt").read_text().split())
    return bool(ok), {p.stem: p.read_bytes() for p in out.glob("*.bin")}, (height, width, channels)
