// The importer's requests: which properties of the "vertex", "face" and
// "tristrips" elements it asks the reader for, in which types, and where in
// the load records (PlyImport.h) their values land.
#pragma once

#include "ply/PlyFile.h"

#include <array>

namespace KelpPly {

enum PlyVertexRequest {
    VertexX, VertexY, VertexZ, VertexFlags, VertexQuality, VertexRed, VertexGreen, VertexBlue,
    VertexDiffuseRed, VertexDiffuseGreen, VertexDiffuseBlue, VertexConfidence, VertexNx, VertexNy, VertexNz,
    VertexRequestCount
};

enum PlyFaceRequest { FaceFlags, FaceRed, FaceGreen, FaceBlue, FaceColourList, FaceRequestCount };

// Scalars of "vertex" into PlyVertexRecord; the table is built on first use.
const PlyPropertyRequest& vertexRequest(PlyVertexRequest index);
// The optional properties of "face" into PlyFaceRecord.
const PlyPropertyRequest& faceRequest(PlyFaceRequest index);

// The accepted encodings of face corners, in the order they are tried.
inline constexpr std::size_t kFaceCornerEncodings = 5;
const std::array<PlyPropertyRequest, kFaceCornerEncodings>& faceCornerRequests();

// Strips: int items with an int count into a fresh buffer per strip.
const PlyPropertyRequest& stripRequest();

}  // namespace KelpPly
