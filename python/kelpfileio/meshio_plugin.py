"""meshio plugin: meshio.read() through KelpFileIO's readers.

    import kelpfileio.meshio_plugin
    kelpfileio.meshio_plugin.register()          # .wrl, .vrml, .3ds, .dxf, .asc
    kelpfileio.meshio_plugin.register(prefer=True)  # also ahead of meshio's STL/OBJ/PLY

A failed read raises kelpfileio.ReadError: meshio's own error path prints
and calls sys.exit, which our readers never reach.
"""
import numpy as np

from . import _files

try:
    from meshio import Mesh as _MeshioMesh
    from meshio import _helpers
except ImportError as missing:  # pragma: no cover - depends on the machine
    raise ImportError("kelpfileio.meshio_plugin needs meshio (Debian: python3-meshio)") from missing

_PREFIX = "kelpfileio-"


def _to_meshio(geometry):
    if isinstance(geometry, _files.Mesh):
        point_data = {}
        if geometry.vertex_normals is not None:
            point_data["normals"] = geometry.vertex_normals
        return _MeshioMesh(geometry.vertices, [("triangle", geometry.faces)], point_data=point_data)
    cells = np.arange(len(geometry.vertices), dtype=np.uint32).reshape(-1, 1)
    return _MeshioMesh(geometry.vertices, [("vertex", cells)])


def _reader(name):
    def read(path):
        return _to_meshio(_files.read(path, name))
    return read


def register(prefer=False):
    """Registers every readable format with meshio under "kelpfileio-<name>".
    With prefer=True ours come first where meshio has a reader of its own
    (STL, OBJ, PLY); otherwise meshio's are tried first. Calling it again,
    with either value, leaves one registration in the asked order."""
    for name, (extensions, _container, readable, _writable) in _files.FORMATS.items():
        if not readable:
            continue
        ours = _PREFIX + name
        _helpers.reader_map[ours] = _reader(name)
        for extension in extensions:
            listed = [f for f in _helpers.extension_to_filetypes.get(extension, []) if f != ours]
            _helpers.extension_to_filetypes[extension] = [ours] + listed if prefer else listed + [ours]
