/*
 * Bounded strings and the endpoint id of a process.
 *
 * The string calls never write past `cap` bytes of `dst`, always end it with a NUL, and never read further
 * than they can use: the source of a copy may lack its NUL when its first cap - 1 bytes are readable. With
 * a capacity of 0 or a null `dst` they write nothing. `cap` counts the whole buffer, the NUL included.
 */
#ifndef KOV_PLATFORM_OSAL_H
#define KOV_PLATFORM_OSAL_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Copies `src` (null: an empty text) into `dst`, cut to cap - 1 characters. `dst` == `src` is fine; other
 * overlaps are not. Returns `dst`. */
char *osal_strcpy(char *dst, const char *src, uint32_t cap);

/* Appends `src` (null: nothing) to the text in `dst`, cut so that the whole fits `cap` bytes. A `dst` with no
 * NUL among its `cap` bytes gets one as its last byte and nothing is appended. Returns `dst`. */
char *osal_strcat(char *dst, const char *src, uint32_t cap);

/* Formats like printf, cut to cap - 1 characters. Returns the number of characters written, without the NUL
 * (also when it cut), or a negative number for a format that cannot be printed. */
int osal_snprintf(char *dst, uint32_t cap, const char *fmt, ...) __attribute__((format(printf, 3, 4)));

/* The endpoint id of a process of this machine: the platform's own number for it. The library only carries
 * it to the server. 0 for a pid below 1. */
uint32_t osal_get_epid(int32_t pid);

#ifdef __cplusplus
}
#endif

#endif
