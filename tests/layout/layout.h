/*
 * The verbs of the layout tests. Each claim is a static assertion, so a wrong number does not compile; each
 * is counted, so that a test program can say how many it holds and a file without any fails.
 *
 * The numbers stand twice where a pointer or a natural alignment makes the ABIs differ: 64-bit, then 32-bit.
 */
#ifndef KOV_TESTS_LAYOUT_H
#define KOV_TESTS_LAYOUT_H

#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#ifdef __cplusplus
#define LAYOUT_ASSERT static_assert
#else
#define LAYOUT_ASSERT _Static_assert
#endif

#define LAYOUT_JOIN_(a, b) a##b
#define LAYOUT_JOIN(a, b) LAYOUT_JOIN_(a, b)
/* __COUNTER__ moves only here, so that its last value is the number of claims. */
#define LAYOUT_CLAIM(truth, text)                                                                            \
    enum { LAYOUT_JOIN(layout_claim_, __COUNTER__) = 1 };                                                    \
    LAYOUT_ASSERT(truth, text)
#define LAYOUT_MAIN(topic)                                                                                   \
    int main(void)                                                                                           \
    {                                                                                                        \
        const int claims = __COUNTER__;                                                                      \
        printf("%d claims about %s hold\n", claims, topic);                                                  \
        return claims > 0 ? 0 : 1;                                                                           \
    }

#if UINTPTR_MAX == UINT32_MAX
#define LAYOUT_BY_ABI(lp64, ilp32) (ilp32)
#else
#define LAYOUT_BY_ABI(lp64, ilp32) (lp64)
#endif

#define SIZE_IS(type, size) LAYOUT_CLAIM(sizeof(type) == (size), "size of " #type)
#define SIZE_BY_ABI(type, lp64, ilp32) SIZE_IS(type, LAYOUT_BY_ABI(lp64, ilp32))

/* A field's offset and width. */
#define FIELD_IS(type, field, offset, width)                                                                 \
    LAYOUT_CLAIM(offsetof(type, field) == (offset) && sizeof(((type *)0)->field) == (width),                 \
                 "offset and width of " #type "." #field)
#define FIELD_BY_ABI(type, field, offset64, width64, offset32, width32)                                      \
    FIELD_IS(type, field, LAYOUT_BY_ABI(offset64, offset32), LAYOUT_BY_ABI(width64, width32))

#endif
