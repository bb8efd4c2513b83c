// Everything of the geometry module: the point set, the mesh and the image type.
#pragma once

#include <KelpImageData.h>
#include <KelpPointSet.h>
#include <KelpTriMesh.h>
