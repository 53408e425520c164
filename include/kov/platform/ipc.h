/*
 * Message transport: how the library sends to the server, and how it reads what the process received.
 *
 * A payload travels whole from one handle to a node and a service access point (SAP) with an opcode. The
 * process owns the handles and receives the messages; the library only sends on a handle that the process
 * gave it and reads messages that the process passed in. No call waits, and no call delivers a message to
 * the process before it returns: a reply comes later, from the process's loop.
 *
 * Handles start at 1. 0 and negative numbers are never valid: the library holds 0 before its first
 * initialisation and -1 while it is not registered, and some calls send with whatever it holds.
 */
#ifndef KOV_PLATFORM_IPC_H
#define KOV_PLATFORM_IPC_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A received message. It belongs to whoever received it; the library reads it during one call and keeps
 * no pointer into it. */
typedef struct ipc_message ipc_message;

/*
 * Sends `len` bytes to `sap` on `node`. The payload is copied before the call returns; it may be null when
 * `len` is 0. `a`, `b` and `c` are the transport's own; the library passes 0.
 * Returns 0 when the message stands in the peer's queue, in the order of the calls. Any other result means
 * that nothing was sent, and errno says why; never is a message lost in silence. errno is at least:
 *   EBADF         the handle is 0, negative or not open
 *   ECONNREFUSED  nobody serves the SAP now; a later send tries again
 *   EAGAIN        the peer's queue is full
 *   EMSGSIZE      longer than the transport carries (it carries at least 65536 bytes)
 *   EINVAL        a null payload with a length
 *   EHOSTUNREACH  no such node
 */
int ipc_send(int32_t handle, uint32_t node, uint32_t sap, uint32_t opcode, const void *payload, uint32_t len,
             uint32_t a, uint32_t b, uint32_t c);

/* The SAP that a handle is bound to, at which its replies arrive; negative for a handle that is not open. */
int32_t ipc_sap_get(int32_t handle);

/*
 * A word of option bits a handle keeps for an opcode, 0 until it is set. The library sets bit 0x10 on the
 * server's opcode while the client is registered and clears it afterwards; the bits' effect is the
 * transport's. Get returns 0 for a handle that is not open. Set returns 0, else non-zero with errno.
 */
uint32_t ipc_options_get(int32_t handle, uint32_t opcode);
int ipc_options_set(int32_t handle, uint32_t opcode, uint32_t options);

/* What a received message carries. The payload is `ipc_payload_size` readable bytes, at any alignment, and
 * holds as long as the message; it is null when there is none. `msg` is never null. */
uint32_t ipc_opc_get(const ipc_message *msg);
uint32_t ipc_payload_size(const ipc_message *msg);
const void *ipc_payload_get(const ipc_message *msg);

#ifdef __cplusplus
}
#endif

#endif
