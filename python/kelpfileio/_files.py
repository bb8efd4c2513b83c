"""read and write: the library's functions with Python's errors.

Every call releases the GIL and takes the library's process-wide lock (the
library's calls must not overlap), and the caller's locale is put back after
it. The STL reader's progress lines go to the logger "kelpfileio" at DEBUG.
"""
import errno
import logging
import os

from . import _kelpfileio
from ._geometry import Mesh, PointCloud, writer_arrays

log = logging.getLogger("kelpfileio")

# name -> (extensions, "mesh" or "points", readable, writable)
FORMATS = {name: (tuple(ext), container, readable, writable)
           for name, ext, container, readable, writable in _kelpfileio.formats()}


class _FileError(OSError):
    def __init__(self, message, path, format, reason=None, notes=()):
        super().__init__(message)
        self.path = path
        self.format = format
        #: Why the library refused the file, where it says (None otherwise).
        self.reason = reason
        self.notes = list(notes)

    def __str__(self):
        text = self.args[0]
        return f"{text}: {self.reason}" if self.reason else text


class ReadError(_FileError):
    """A reader returned false (or the file was refused by max_faces)."""


class WriteError(_FileError):
    """A writer returned false."""


def format_for(path, format=None):
    """The format name for `path`: `format` if given, else by extension
    (case-insensitive; ".vrml" is VRML). ValueError when unknown."""
    if format is not None:
        name = format.lower()
        if name not in FORMATS:
            raise ValueError(f"unknown format {format!r}; known: {', '.join(FORMATS)}")
        return name
    extension = os.path.splitext(os.fspath(path))[1].lower()
    for name, (extensions, *_rest) in FORMATS.items():
        if extension in extensions:
            return name
    raise ValueError(f"cannot tell the format of {os.fspath(path)!r} from its extension; pass format=")


def _native(path):
    return os.fsencode(os.fspath(path))


def _log_progress(lines):
    for line in lines:
        log.debug("%s", line)


def read(path, format=None, *, max_faces=None):
    """Reads `path` into a Mesh (STL, OBJ, PLY, VRML, 3DS) or a PointCloud
    (DXF, ASC), by extension unless `format` is given.

    max_faces: refuse (ReadError) a file that announces more faces. A binary
    STL announces its face count in its header, and its arrays are sized from
    it, so it is refused before anything is allocated; the other formats
    allocate in proportion to their size and are refused on their result.
    """
    name = format_for(path, format)
    if not FORMATS[name][2]:
        raise ValueError(f"{name} files cannot be read")
    # Missing and unreadable files raise FileNotFoundError/PermissionError
    # here (the VRML reader would report success on them).
    with open(path, "rb"):
        pass
    native = _native(path)
    if max_faces is not None and name == "stl":
        announced = _kelpfileio.stl_announced_faces(native)
        if announced is not None and announced > max_faces:
            raise ReadError(f"refused {os.fspath(path)}", path, name,
                            f"it announces {announced} faces, more than max_faces={max_faces}")
    ok, reason, notes, progress, arrays = _kelpfileio.read(name, native)
    _log_progress(progress)
    if not ok:
        raise ReadError(f"the {name} reader failed on {os.fspath(path)}", path, name, reason, notes)
    if FORMATS[name][1] == "points":
        cloud = PointCloud(arrays["vertices"], arrays.get("vertex_normals"))
        cloud.notes = notes
        return cloud
    mesh = Mesh(arrays["vertices"], arrays["faces"], arrays.get("vertex_normals"), arrays.get("texcoords"),
                arrays.get("face_texcoord_indices"), arrays.get("texture"))
    mesh.notes = notes
    if max_faces is not None and len(mesh.faces) > max_faces:
        raise ReadError(f"refused {os.fspath(path)}", path, name,
                        f"it holds {len(mesh.faces)} faces, more than max_faces={max_faces}")
    return mesh


def write(path, geometry, format=None):
    """Writes `geometry` to `path` as STL, OBJ or ASC (by extension unless
    `format` is given). A PointCloud is written as ASC or as an OBJ of points;
    ASC takes a Mesh's vertices. Arrays are converted to float32/uint32/uint8
    and checked first: ValueError names the offending shape or index."""
    name = format_for(path, format)
    _extensions, container, _readable, writable = FORMATS[name]
    if not writable:
        raise ValueError(f"{name} files cannot be written; writable: "
                         + ", ".join(n for n, f in FORMATS.items() if f[3]))
    if name == "stl" and not isinstance(geometry, Mesh):
        raise ValueError("STL holds triangles only; a point cloud cannot be written as STL")
    arrays = writer_arrays(geometry, container)
    ok, reason, notes, _progress, _ = _kelpfileio.write(name, _native(path), arrays)
    if ok:
        return
    # The writers fail only when the file cannot be created: say why if the
    # system can tell.
    text = os.fspath(path)
    directory = os.path.dirname(os.path.abspath(text))
    if not os.path.isdir(directory):
        raise FileNotFoundError(errno.ENOENT, os.strerror(errno.ENOENT), text)
    if not os.access(directory, os.W_OK) or (os.path.exists(text) and not os.access(text, os.W_OK)):
        raise PermissionError(errno.EACCES, os.strerror(errno.EACCES), text)
    raise WriteError(f"the {name} writer failed on {text}", path, name, reason, notes)


def _reader(name):
    def read_format(path, *, max_faces=None):
        return read(path, name, max_faces=max_faces)
    read_format.__name__ = f"read_{name}"
    read_format.__doc__ = f"read(path, format={name!r}, max_faces=max_faces)"
    return read_format


def _writer(name):
    def write_format(path, geometry):
        write(path, geometry, name)
    write_format.__name__ = f"write_{name}"
    write_format.__doc__ = f"write(path, geometry, format={name!r})"
    return write_format


read_stl, read_obj, read_ply, read_wrl, read_3ds, read_dxf, read_asc = (
    _reader(n) for n in ("stl", "obj", "ply", "wrl", "3ds", "dxf", "asc"))
write_stl, write_obj, write_asc = (_writer(n) for n in ("stl", "obj", "asc"))
