/*
 * What the switch itself can do: not every model supports both host auto-configuration and fabric forwarding.
 *
 * The answer is the capability word of the function "kov_pd_get_platform_cap" when the process has one, and
 * otherwise follows from the type of the switch's card. Nothing is remembered between two calls: each test
 * asks again. No call needs an initialised library.
 */
#ifndef KOV_CAPABILITY_H
#define KOV_CAPABILITY_H

#include <kov/kov_base.h>

KOV_BEGIN_DECLS

/* Bits of the capability word. */
enum kov_platform_cap_bit {
    KOV_PLATFORM_CAP_AUTOCONFIG = 0x1, /* host auto-configuration */
    KOV_PLATFORM_CAP_FWD = 0x2         /* fabric forwarding */
};

/*
 * Computes the capability word anew; both tests below begin with it. A provider's word is taken over whatever
 * it is; without one the word is 1 (auto-configuration only) or 3 (both), as kov_is_platform_p42 says.
 *
 * The provider is optional: `void kov_pd_get_platform_cap(uint32_t *cap)`, a function with C linkage that is
 * found by its name among the global symbols of the process, at each call. `*cap` is 0 before it is called.
 */
KOV_EXPORT void kov_init_get_platform_cap(void);

/* Whether fabric forwarding is supported: 2 or 0. */
KOV_EXPORT int32_t kov_test_fwd_supported(void);

/* Whether host auto-configuration is supported: 1 or 0. */
KOV_EXPORT int32_t kov_test_autoconfig_supported(void);

/* 1 when the switch's card type says that it supports auto-configuration only; 0 when it supports both, and
 * when the card cannot be read. A provider has no say here. Both calls are the same. */
KOV_EXPORT uint32_t kov_is_platform_p42(void);
KOV_EXPORT uint32_t kov_is_platform_autoconf_only(void);

KOV_END_DECLS

#endif
