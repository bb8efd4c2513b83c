"""The containers Python sees: Mesh and PointCloud, holding NumPy arrays.

Arrays that come from a reader share the library's buffers (no copy) and stay
valid after the Mesh is gone. Arrays given by the caller are kept as given;
the writers convert and check them.
"""
import numpy as np


def _wrap(value):
    return None if value is None else np.asarray(value)


class PointCloud:
    """Points read by read_dxf/read_asc: vertices (N, 3) float32.

    notes: the kept behaviours of the library that changed the result of the
    read ("name: text" lines, see docs/report.md); empty for built geometry.
    """

    __slots__ = ("vertices", "vertex_normals", "notes")

    def __init__(self, vertices, vertex_normals=None):
        self.vertices = _wrap(vertices)
        self.vertex_normals = _wrap(vertex_normals)
        self.notes = []

    def __repr__(self):
        return f"{type(self).__name__}({len(self.vertices)} vertices)"


class Mesh(PointCloud):
    """A triangle mesh.

    vertices (N, 3) float32, faces (M, 3) uint32, and where the file has them
    (None otherwise): vertex_normals (N, 3) float32, texcoords (K, 2) float32,
    face_texcoord_indices (M, 3) uint32, texture (H, W, C) uint8.
    """

    __slots__ = ("faces", "texcoords", "face_texcoord_indices", "texture")

    def __init__(self, vertices, faces, vertex_normals=None, texcoords=None,
                 face_texcoord_indices=None, texture=None):
        super().__init__(vertices, vertex_normals)
        self.faces = _wrap(faces)
        self.texcoords = _wrap(texcoords)
        self.face_texcoord_indices = _wrap(face_texcoord_indices)
        self.texture = _wrap(texture)

    def __repr__(self):
        return f"Mesh({len(self.vertices)} vertices, {len(self.faces)} faces)"


def _rows(name, value, columns, dtype):
    """`value` as a C-contiguous (n, columns) array of `dtype`, or ValueError."""
    array = np.asarray(value)
    if array.ndim != 2 or array.shape[1] != columns:
        raise ValueError(f"{name} must have shape (n, {columns}), not {array.shape}")
    if np.dtype(dtype).kind == "u":
        if array.dtype.kind not in "iub":
            raise ValueError(f"{name} must hold integers, not {array.dtype}")
    elif array.dtype.kind not in "iubf":
        raise ValueError(f"{name} must hold numbers, not {array.dtype}")
    return array


def _indices(name, value, count, of):
    array = _rows(name, value, 3, np.uint32)
    if array.size:
        low, high = array.min(), array.max()
        if low < 0 or high >= count:
            bad = low if low < 0 else high
            raise ValueError(f"{name} index {bad} is out of range for {count} {of}")
    return np.ascontiguousarray(array, dtype=np.uint32)


def writer_arrays(geometry, container):
    """The checked arrays a writer takes from `geometry`: vertices (and
    normals) for a point format, the whole mesh for a mesh format."""
    if not isinstance(geometry, PointCloud):
        raise TypeError(f"expected a kelpfileio Mesh or PointCloud, not {type(geometry).__name__}")
    vertices = np.ascontiguousarray(_rows("vertices", geometry.vertices, 3, np.float32), dtype=np.float32)
    count = len(vertices)
    arrays = {"vertices": vertices}
    if geometry.vertex_normals is not None:
        normals = _rows("vertex_normals", geometry.vertex_normals, 3, np.float32)
        if len(normals) != count:
            raise ValueError(f"vertex_normals has {len(normals)} rows for {count} vertices")
        arrays["vertex_normals"] = np.ascontiguousarray(normals, dtype=np.float32)
    if container == "points" or not isinstance(geometry, Mesh):
        return arrays
    arrays["faces"] = _indices("faces", geometry.faces, count, "vertices")
    if geometry.texcoords is not None:
        arrays["texcoords"] = np.ascontiguousarray(
            _rows("texcoords", geometry.texcoords, 2, np.float32), dtype=np.float32)
    if geometry.face_texcoord_indices is not None:
        known = 0 if geometry.texcoords is None else len(arrays["texcoords"])
        arrays["face_texcoord_indices"] = _indices(
            "face_texcoord_indices", geometry.face_texcoord_indices, known, "texcoords")
    if geometry.texture is not None:
        texture = np.asarray(geometry.texture)
        if texture.ndim != 3 or texture.shape[2] not in (1, 3, 4):
            raise ValueError(f"texture must have shape (height, width, 1|3|4), not {texture.shape}")
        if texture.dtype.kind not in "iu" or (texture.size and (texture.min() < 0 or texture.max() > 255)):
            raise ValueError(f"texture must hold bytes (0 to 255), not {texture.dtype}")
        arrays["texture"] = np.ascontiguousarray(texture, dtype=np.uint8)
    return arrays
