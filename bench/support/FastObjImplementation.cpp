// fast_obj is a single header; its implementation is compiled here, into the
// benchmark programs only.
#define FAST_OBJ_IMPLEMENTATION
#include <fast_obj.h>
