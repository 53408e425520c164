/*
 * What every public header of the library stands on: integer types, linkage, visibility.
 *
 * Conventions of the whole interface
 * - Plain C structures and free functions; no errors are thrown, none is stored. Most calls return a
 *   uint32_t, 1 for success or true and 0 for failure or false; a query returns a documented default when
 *   the library is not initialised or the record is absent. The few exceptions say so at their place.
 * - One thread. The library takes no locks; call it from the one cooperative thread of the process.
 * - Pointers that a call returns point into the library's own storage. They hold until the next call of
 *   the same kind, unless the call says otherwise. Copy what you need to keep.
 * - Integers are in host byte order unless a field says network order. The library runs on little-endian
 *   machines only.
 * - "size" counts bytes, "length" counts characters.
 */
#ifndef KOV_BASE_H
#define KOV_BASE_H

#include <stdint.h>

#ifdef __cplusplus
#define KOV_BEGIN_DECLS extern "C" {
#define KOV_END_DECLS }
#else
#define KOV_BEGIN_DECLS
#define KOV_END_DECLS
#endif

/* Marks what the shared object exports; everything else in it is hidden. */
#define KOV_EXPORT __attribute__((visibility("default")))

/* Records whose bytes are fixed: no padding, fields at any offset. Never take the address of a field. */
#define KOV_PACKED __attribute__((packed))

#endif
