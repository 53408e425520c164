/*
 * System manager and clock: where a named database lives, who this process is, what time it is.
 */
#ifndef KOV_PLATFORM_SVCMGR_H
#define KOV_PLATFORM_SVCMGR_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The URI of the running configuration, the base of every other URI. Static storage, holds for the life of
 * the process. Null when it is unknown; the library passes a null on to svcmgr_uri_complete. */
const char *svcmgr_running_cfg_uri_get(void);

/* The URI of the database `name` under `base`. `kind` is 0. Static storage that holds until the next call,
 * shorter than 256 characters. Null when `base` or `name` is null, or when the result would not fit. */
const char *svcmgr_uri_complete(const char *base, uint32_t kind, const char *name);

/* The identity of this process: not 0, the same in every call of the process. */
uint32_t svcmgr_uuid_get(void);

/* Stores the monotonic clock, in the platform's unit. The value never goes back while the machine is up. */
void orb_sys_mclock_get(uint64_t *out);

#ifdef __cplusplus
}
#endif

#endif
