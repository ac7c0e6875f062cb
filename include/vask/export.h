/*
 * Version, visibility and linkage of the C interface. Every other header includes this one.
 */
#ifndef VASK_EXPORT_H_
#define VASK_EXPORT_H_

#include <stdint.h>

/* Version of this interface: MAJOR moves when a record or a result changes, MINOR when something is added. */
#define VASK_VERSION_MAJOR 0
#define VASK_VERSION_MINOR 3
#define VASK_VERSION_PATCH 0

/* Marks what the shared library exports; everything else in it is hidden. On Windows a program that uses the
 * library as a DLL defines VASK_DLL, as the CMake package does: the exported variables need it there. */
#if defined(_WIN32) && defined(VASK_DLL)
#define VASK_API __declspec(dllimport)
#elif defined(_WIN32)
#define VASK_API
#elif defined(__GNUC__)
#define VASK_API __attribute__((visibility("default")))
#else
#define VASK_API
#endif

/* Enclose declarations with C linkage. */
#ifdef __cplusplus
#define VASK_BEGIN_DECLS extern "C" {
#define VASK_END_DECLS }
#else
#define VASK_BEGIN_DECLS
#define VASK_END_DECLS
#endif

VASK_BEGIN_DECLS

/**
 * Get the version of the library that is running.
 *
 * return  a constant text such as "0.3.0"
 */
VASK_API const char *vask_version(void);

VASK_END_DECLS

#endif /* VASK_EXPORT_H_ */
