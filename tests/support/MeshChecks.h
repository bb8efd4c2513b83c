// What every container must hold after any call: one item per element in the
// items and flags, and in the normals, aux vectors and aux values (attribute
// bits 1, 2 and 4) while their bit is set.
#pragma once

#include <KelpCore.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace KelpTest {

inline void expectSized(std::size_t count, std::uint32_t bits, const std::vector<std::size_t>& sizes) {
    const auto withBit = [&](std::uint32_t bit) { return (bits & bit) ? count : 0u; };
    EXPECT_EQ(sizes, (std::vector<std::size_t>{count, count, withBit(1), withBit(2), withBit(4)}));
}

inline void expectVertexInvariants(const KelpCore::KelpPointSet& s) {
    expectSized(s.vertexCount, s.vertexAttributes, {s.vertices.size(), s.vertexFlags.size(), s.vertexNormals.size(),
                                                    s.vertexAuxVectors.size(), s.vertexAuxValues.size()});
}

inline void expectFaceInvariants(const KelpCore::KelpTriMesh& m) {
    expectSized(m.faceCount, m.faceAttributes,
                {m.faces.size(), m.faceFlags.size(), m.faceNormals.size(), m.faceAuxVectors.size(), m.faceAuxValues.size()});
}

inline void expectInvariants(const KelpCore::KelpTriMesh& m) {
    expectVertexInvariants(m);
    expectFaceInvariants(m);
}

}  // namespace KelpTest
