// Symbol visibility for the three shared libraries of the family. Everything
// else is built with hidden visibility, so only what carries one of these
// marks is part of a library's binary interface.
#pragma once

#if defined(_WIN32)
#define KELP_EXPORT_MARK __declspec(dllexport)
#define KELP_IMPORT_MARK __declspec(dllimport)
#else
#define KELP_EXPORT_MARK __attribute__((visibility("default")))
#define KELP_IMPORT_MARK __attribute__((visibility("default")))
#endif

#if defined(KELP_BUILDING_CORE)
#define KELP_CORE_API KELP_EXPORT_MARK
#else
#define KELP_CORE_API KELP_IMPORT_MARK
#endif

#if defined(KELP_BUILDING_IMAGELOAD)
#define KELP_IMAGELOAD_API KELP_EXPORT_MARK
#else
#define KELP_IMAGELOAD_API KELP_IMPORT_MARK
#endif

#if defined(KELP_BUILDING_FILEIO)
#define KELP_FILEIO_API KELP_EXPORT_MARK
#else
#define KELP_FILEIO_API KELP_IMPORT_MARK
#endif
