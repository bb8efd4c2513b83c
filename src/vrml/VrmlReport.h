// What the VRML reader tells the call report where a number or an index list
// does not read as it is written. Each is called on that path only.
#pragma once

#include "vrml/VrmlReader.h"

namespace KelpVrml {

// A number token `text` on line `line` that ended at an "e" or "E": its
// exponent reads as a word and another number.
void noteExponent(int line, const char* text);

// A number token `text` of two characters or more starting with 0 and having
// no point, converted to `value` (the bits of its octal or hexadecimal
// reading): noted where that differs from its decimal reading.
void noteIfLeadingZero(int line, const char* text, float value);

// An index list `field` of node `nodeCode`, ending on line `line`, before
// every fourth item is dropped: noted when a dropped item of a coordIndex of
// an IndexedFaceSet is not -1 (the list holds other polygons than triangles).
void noteIfNotTriangles(int nodeCode, const VrmlField& field, int line);

// The file goes on after its first node (the look-ahead, on line `line`, is
// not the end): nothing after that node is read.
void noteFirstNodeOnly(int line);

}  // namespace KelpVrml
