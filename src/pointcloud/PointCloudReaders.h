// The bodies of the ASC and DXF readers, on a file their entry opened. They
// never switch the locale: the entries do (ReadAsc.cpp, ReadDxf.cpp).
#pragma once

#include <KelpPointSet.h>

#include <cstdio>

namespace KelpPointCloud {

// Appends the points of an ASC file, parsed under whatever locale is in force.
void readAscPoints(std::FILE* file, KelpCore::KelpPointSet& cloud);

// Appends the POINT entities of the ENTITIES section; false (nothing added)
// when the header check fails or the file ends before "ENTITIES".
bool readDxfPoints(std::FILE* file, KelpCore::KelpPointSet& cloud);

}  // namespace KelpPointCloud
