/*
 * Bit sets of a fixed number of bits.
 *
 * Bit n of the bytes that go in is byte n / 8, mask 1 << (n mod 8). A set belongs to whoever created it.
 * Texts name the bits that are set in rising order, runs as ranges: "0,3-7,12", and "none" for no bit. A null
 * set has no bits. Nothing is thrown.
 */
#ifndef KOV_PLATFORM_BITFIELD_H
#define KOV_PLATFORM_BITFIELD_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct bitfield bitfield;

/* A set of `bits` bits, all clear. Null when memory is out. */
bitfield *bitfield_create(uint32_t bits);

/* Frees a set; null does nothing. */
void bitfield_destroy(bitfield *set);

/* Copies bits 0 to nbits - 1 of `bytes` over bits from_bit to from_bit + nbits - 1 of the set; the others
 * stay. Reads no byte behind the one with the last bit. 0: copied. Non-zero, and nothing has changed: more
 * bits than the set has room for from `from_bit` on, or a null pointer (`bytes` may be null when nbits is 0).
 */
int bitfield_copy_in(bitfield *set, uint32_t from_bit, const void *bytes, uint32_t nbits);

/* Non-zero when the bit is set; 0 when it is clear or past the end. */
int bitfield_test(const bitfield *set, uint32_t bit);

/* The bits as one text, never null. It stands in static storage and holds until the next call of this
 * function. What does not fit into 1023 characters is cut behind a comma and ends with "...". */
const char *bitfield_sprintf(const bitfield *set);

/* The bits as lines of at most 60 characters behind `prefix`, each ended with a newline; at least one line. A
 * null prefix is an empty one. Allocated: free it with mtrack_free. Null when memory is out. */
char *bitfield_sprintf_to_buffer(const bitfield *set, const char *prefix);

/* Frees a text of bitfield_sprintf_to_buffer; null does nothing. */
void mtrack_free(void *block);

#ifdef __cplusplus
}
#endif

#endif
