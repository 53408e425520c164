/*
 * Interfaces: what an interface index means.
 *
 * The index is the platform's 32-bit encoding of an interface; the library takes it apart through these
 * calls only. The types that the library knows: 9 a VLAN interface, 55 a bridge-domain interface (both are
 * SVIs), 26 and 31 physical ports, 22 a port-channel. 0 is no interface.
 */
#ifndef KOV_PLATFORM_INTERFACES_H
#define KOV_PLATFORM_INTERFACES_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The type of an interface. 0: `*type` is set. Else a status that the platform's syserr2str explains, and
 * `*type` is untouched. The interface need not exist: the index alone is looked at. */
int if_index_get_type(uint32_t ifindex, uint32_t *type);

/* Writes the interface's name, NUL-terminated and cut to `cap` bytes. For an index that has no name the
 * buffer becomes the empty text. 0: a name was written; else a status. */
int im_get_ifindex_name(uint32_t ifindex, char *buf, uint32_t cap);

/* Where a physical port is: its slot, and its port on that slot, both as the platform counts them. 0 and the
 * value, or a status as above when the index is not a physical port's. */
int if_index_get_slot(uint32_t ifindex, uint8_t *slot);
int if_index_get_port(uint32_t ifindex, uint8_t *port);

/* The number of a port-channel. 0 and the value, or a status as above when the index is not a
 * port-channel's. */
int if_index_port_channel_get_fields(uint32_t ifindex, uint16_t *channel);

/* The index of the interface with the local number `iod`: the number by which this process's packets name
 * it. 0 and the index, or a status as above when no interface has the number. */
int lcache_im_get_ifindex_frm_iod(int32_t iod, uint32_t *ifindex);

/* A status of these calls as text, for any number at all: the library has statuses of its own, such as -1.
 * Never null; holds for at least seven more calls. */
const char *syserr2str(int status);

#ifdef __cplusplus
}
#endif

#endif
