"""kelpfileio: KelpFileIO's readers and writers for Python.

    import kelpfileio
    mesh = kelpfileio.read("part.stl")       # Mesh: vertices (N, 3) float32, faces (M, 3) uint32
    kelpfileio.write("part.obj", mesh)

Results are exactly those of the C++ library, quirks included (see the
README's Python section). Batch conversion: python3 -m kelpfileio.batch.
"""
from ._files import (FORMATS, ReadError, WriteError, format_for, read, read_3ds, read_asc, read_dxf, read_obj,
                     read_ply, read_stl, read_wrl, write, write_asc, write_obj, write_stl)
from ._geometry import Mesh, PointCloud

__all__ = [
    "FORMATS", "Mesh", "PointCloud", "ReadError", "WriteError", "format_for", "read", "read_3ds", "read_asc",
    "read_dxf", "read_obj", "read_ply", "read_stl", "read_wrl", "write", "write_asc", "write_obj", "write_stl",
]
