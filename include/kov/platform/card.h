/*
 * The card: which model of switch this is.
 */
#ifndef KOV_PLATFORM_CARD_H
#define KOV_PLATFORM_CARD_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/*
 * Fills a zeroed block of 6 bytes, aligned for a 16-bit integer, of which the library reads one: the 16-bit
 * card type code at offset 2, in host order. 0 when it is filled; any other result means that the card cannot
 * be read, and the block does not matter.
 */
int get_card_module_info(void *info6);

/*
 * The platform's catalogue of the card types whose switches support both host auto-configuration and fabric
 * forwarding. Always 26 codes; a platform with fewer repeats one. Of a type that is not here the library
 * takes the switch to support auto-configuration only, so a new model that supports both has to be added.
 */
extern const uint16_t card_types_supporting_both[26];

#ifdef __cplusplus
}
#endif

#endif
