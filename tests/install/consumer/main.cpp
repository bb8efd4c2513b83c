// An outside host: only the installed headers and libraries.
#include <KelpFileIO.h>
#include <KelpImageLoad.h>

#include <cstdio>

int main(int argc, char** argv) {
    if (argc < 2) return 2;
    KelpCore::KelpPointSet cloud;
    cloud.addVertex({1, 2, 3});
    cloud.addVertex({4, 5, 6});
    if (!KelpGraphic::KelpWriteAsc(argv[1], &cloud)) return 1;
    KelpCore::KelpPointSet back;
    if (!KelpGraphic::KelpReadAsc(argv[1], &back)) return 1;
    KelpCore::KelpTriMesh mesh;
    mesh.addFace(0, 1, 2);
    KelpCore::KelpImageData<unsigned char> image;
    (void)image;
    std::printf("read %u points, mesh has %u faces\n", back.vertexCount, mesh.faceCount);
    return 0;
}
