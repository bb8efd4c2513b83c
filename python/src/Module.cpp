// _kelpfileio: the library's ten functions for the Python package kelpfileio.
// Readers hand their arrays over without a copy; writers copy the caller's
// arrays into a container first. Which dtypes, shapes and index ranges are
// acceptable is checked by the package before it gets here; this layer only
// refuses buffers of the wrong layout.
#include "ExportedArray.h"
#include "LibraryCalls.h"
#include "kelp/FormatTable.h"

#include <KelpFileIO.h>

#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>

namespace py = pybind11;
using KelpCore::KelpPointSet;
using KelpCore::KelpTriMesh;

namespace KelpPython {
namespace {

using KelpTool::Container;
using KelpTool::Format;

// The kelp tool's table of formats, so that names, extensions and functions
// are listed once for both hosts.
const Format& formatNamed(const std::string& name) {
    const Format* format = KelpTool::formatByName(name);
    if (!format) throw py::value_error("unknown format '" + name + "'");
    return *format;
}

void exportPoints(KelpPointSet& points, py::dict& arrays) {
    arrays["vertices"] = ExportedArray::fromVector(std::move(points.vertices), 3);
    if (points.vertexAttributes & KelpCore::KelpAttributeNormals)
        arrays["vertex_normals"] = ExportedArray::fromVector(std::move(points.vertexNormals), 3);
}

void exportMesh(KelpTriMesh& mesh, py::dict& arrays) {
    exportPoints(mesh, arrays);
    arrays["faces"] = ExportedArray::fromVector(std::move(mesh.faces), 3);
    if (!mesh.texCoords.empty()) arrays["texcoords"] = ExportedArray::fromVector(std::move(mesh.texCoords), 2);
    if (!mesh.faceTexCoordIndices.empty())
        arrays["face_texcoord_indices"] = ExportedArray::fromVector(std::move(mesh.faceTexCoordIndices), 3);
    KelpCore::KelpImageData<unsigned char>& image = mesh.textureImage;
    if (image.data) {
        arrays["texture"] = ExportedArray::fromPixels(image.data, image.height, image.width, image.channels);
        image.data = nullptr;  // the exported array owns the pixels now
    }
}

py::tuple outcomeTuple(const CallOutcome& outcome, py::object arrays) {
    return py::make_tuple(outcome.ok, outcome.reason, outcome.notes, outcome.progress, std::move(arrays));
}

// Copies a C-contiguous buffer of rows of `columns` items into `rows`.
template <typename Row>
void copyRows(const py::dict& arrays, const char* name, const char* formats, std::vector<Row>& rows) {
    if (!arrays.contains(name) || arrays[name].is_none()) return;
    using Item = typename Row::value_type;
    const py::buffer_info info = py::reinterpret_borrow<py::buffer>(arrays[name]).request();
    const std::size_t columns = std::tuple_size_v<Row>;
    const bool layout = info.ndim == 2 && info.itemsize == sizeof(Item) && !info.format.empty() &&
                        std::strchr(formats, info.format.back()) && info.shape[1] == static_cast<py::ssize_t>(columns) &&
                        info.strides[1] == info.itemsize && info.strides[0] == info.itemsize * info.shape[1];
    if (!layout) throw py::value_error(std::string(name) + ": expected a C-contiguous (n, " + std::to_string(columns) + ") array");
    rows.resize(static_cast<std::size_t>(info.shape[0]));
    if (!rows.empty()) std::memcpy(rows.data(), info.ptr, rows.size() * sizeof(Row));
}

void fillPoints(const py::dict& arrays, KelpPointSet& points) {
    copyRows(arrays, "vertices", "f", points.vertices);
    points.vertexCount = static_cast<std::uint32_t>(points.vertices.size());
    points.vertexFlags.assign(points.vertexCount, 0u);
    copyRows(arrays, "vertex_normals", "f", points.vertexNormals);
    if (!points.vertexNormals.empty()) points.vertexAttributes |= KelpCore::KelpAttributeNormals;
    points.updateVertexAttributes();
}

void fillMesh(const py::dict& arrays, KelpTriMesh& mesh) {
    fillPoints(arrays, mesh);
    copyRows(arrays, "faces", "IL", mesh.faces);
    mesh.faceCount = static_cast<std::uint32_t>(mesh.faces.size());
    mesh.faceFlags.assign(mesh.faceCount, 0u);
    // Every face is written, so the header count is the face count.
    mesh.recordedFaceCount = mesh.faceCount;
    copyRows(arrays, "texcoords", "f", mesh.texCoords);
    mesh.texCoordCount = static_cast<std::uint32_t>(mesh.texCoords.size());
    mesh.hasTexture = mesh.texCoordCount != 0;
    copyRows(arrays, "face_texcoord_indices", "IL", mesh.faceTexCoordIndices);
    mesh.hasFaceTexCoordIndices = !mesh.faceTexCoordIndices.empty() && mesh.faceTexCoordIndices.size() == mesh.faceCount;
    if (arrays.contains("texture") && !arrays["texture"].is_none()) {
        const py::buffer_info info = py::reinterpret_borrow<py::buffer>(arrays["texture"]).request();
        if (info.ndim != 3 || info.itemsize != 1 || info.strides[2] != 1 || info.strides[1] != info.shape[2] ||
            info.strides[0] != info.shape[1] * info.shape[2])
            throw py::value_error("texture: expected a C-contiguous (height, width, channels) uint8 array");
        const std::size_t bytes = static_cast<std::size_t>(info.shape[0] * info.shape[1] * info.shape[2]);
        mesh.textureImage.data = new unsigned char[bytes ? bytes : 1];
        std::memcpy(mesh.textureImage.data, info.ptr, bytes);
        mesh.textureImage.height = static_cast<std::uint32_t>(info.shape[0]);
        mesh.textureImage.width = static_cast<std::uint32_t>(info.shape[1]);
        mesh.textureImage.channels = static_cast<std::uint32_t>(info.shape[2]);
    }
}

}  // namespace
}  // namespace KelpPython

PYBIND11_MODULE(_kelpfileio, m) {
    using namespace KelpPython;
    m.doc() = "KelpFileIO's file functions; use the kelpfileio package instead of this module";

    py::class_<ExportedArray>(m, "ExportedArray", py::buffer_protocol())
        .def_buffer(&ExportedArray::buffer)
        .def_property_readonly("address", &ExportedArray::address);

    // (name, extensions, "mesh" or "points", readable, writable) per format.
    m.def("formats", [] {
        py::list table;
        for (const Format& format : KelpTool::formats())
            table.append(py::make_tuple(format.name, format.extensions,
                                        format.container == Container::Mesh ? "mesh" : "points",
                                        format.readMesh || format.readPoints, format.writeMesh || format.writePoints));
        return table;
    });

    // Each call returns (ok, reason, notes, progress lines, arrays or None).
    m.def("read", [](const std::string& name, const std::string& path) {
        const Format& format = formatNamed(name);
        py::dict arrays;
        if (format.readMesh) {
            auto mesh = std::make_unique<KelpTriMesh>();
            const CallOutcome outcome = runSerialised([&] { return format.readMesh(path.c_str(), mesh.get()); });
            exportMesh(*mesh, arrays);
            return outcomeTuple(outcome, arrays);
        }
        if (!format.readPoints) throw py::value_error("no reader for format '" + name + "'");
        auto points = std::make_unique<KelpPointSet>();
        const CallOutcome outcome = runSerialised([&] { return format.readPoints(path.c_str(), points.get()); });
        exportPoints(*points, arrays);
        return outcomeTuple(outcome, arrays);
    });
    // A point format's writer takes the vertices of whatever it is given; a
    // mesh format's writer takes a mesh (without faces for a point cloud).
    m.def("write", [](const std::string& name, const std::string& path, const py::dict& arrays) {
        const Format& format = formatNamed(name);
        if (format.writeMesh) {
            auto mesh = std::make_unique<KelpTriMesh>();
            fillMesh(arrays, *mesh);
            return outcomeTuple(runSerialised([&] { return format.writeMesh(path.c_str(), mesh.get()); }), py::none());
        }
        if (!format.writePoints) throw py::value_error("no writer for format '" + name + "'");
        auto points = std::make_unique<KelpPointSet>();
        fillPoints(arrays, *points);
        return outcomeTuple(runSerialised([&] { return format.writePoints(path.c_str(), points.get()); }), py::none());
    });
    m.def("stl_announced_faces", [](const std::string& path) -> std::optional<std::uint32_t> {
        std::uint32_t count = 0;
        bool binary;
        {
            py::gil_scoped_release released;
            binary = KelpGraphic::KelpStlAnnouncedFaces(path.c_str(), &count);
        }
        if (!binary) return std::nullopt;
        return count;
    });
}
