/*
 * libkov_dll: ask the KOV service about the fabric.
 *
 * This header is the chief one: it has the life of the library in a process and brings in all the others.
 *
 *   kov_base.h        conventions of every call: read them first
 *   kov_api.h         initialise, register, receive
 *   kov_query.h       what the fabric looks like now
 *   kov_svi_list.h    all SVIs in a ferro forwarding mode
 *   kov_enums.h       what the numbers in the answers mean
 *   kov_capability.h  what the switch itself can do
 *   kov_events.h      tell the server about hosts
 *   kov_cache.h       control of the local cache
 *   kov_messages.h    the messages between client and server
 *   kov_records.h     the published records and their key
 *   kov_profile.h     auto-configuration: what a client tells the server about a host
 *   kov_vault.h       the records of the persistent store
 *   kov_codec.h       records to and from their stored form
 *   kov_debug.h       traces, interface names
 *   kov_catalogue.h   the service's syslog messages, as data
 *
 * A client's life:
 *
 *   kov_register_client(handle, "arp", types, on_message);   // asks the server, does not wait
 *   ...each message that the process receives: kov_dispatch(msg);   // the acknowledgement fills the cache
 *   kov_get_fwd_mode(svi);                                   // answered from the cache
 *   kov_deregister_client();                                 // frees the cache
 *   kov_api_close();
 *
 * A process may also ask without registering; then every answer is read from the shared database.
 */
#ifndef KOV_API_H
#define KOV_API_H

#include <kov/kov_base.h>
#include <kov/kov_cache.h>
#include <kov/kov_capability.h>
#include <kov/kov_catalogue.h>
#include <kov/kov_codec.h>
#include <kov/kov_debug.h>
#include <kov/kov_enums.h>
#include <kov/kov_events.h>
#include <kov/kov_messages.h>
#include <kov/kov_profile.h>
#include <kov/kov_query.h>
#include <kov/kov_records.h>
#include <kov/kov_svi_list.h>
#include <kov/kov_vault.h>
#include <kov/platform/ipc.h>

KOV_BEGIN_DECLS

/* The host process defines this flag; the library imports it. Non-zero: the KOV feature is not enabled yet,
 * and the library must not initialise itself on first use. */
extern uint32_t kov_api_wait_for_init;

/* Initialises the library: opens the shared database "kov_rdb_info" and resets the context. Nobody has to
 * call it, the first call of any kind does; it does not look at kov_api_wait_for_init. 1 on success or when
 * initialised already, 0 when the database cannot be found or opened (nothing changes; the next call tries
 * again). */
KOV_EXPORT uint32_t kov_api_init(void);

/* 1 when the library is, or has now been, initialised; 0 when it cannot be used. */
KOV_EXPORT uint32_t kov_api_initialized(void);

/* Closes the database and empties the caches. 1, or 0 when the library was not initialised. It does not
 * deregister; a later call of any kind initialises the library again. */
KOV_EXPORT uint32_t kov_api_close(void);

/* 0 when the client registered for message type `mtype`, so that its record is read from the cache; 1
 * otherwise. `caller` is named in the trace; null suppresses that trace. */
KOV_EXPORT uint32_t kov_is_mtype_not_registered(int32_t mtype, const char *caller);

/* 1 when the library is initialised and a register request has been tried and not been withdrawn since (also
 * while the acknowledgement is pending, and after a register request that could not be sent); else 0. */
KOV_EXPORT uint32_t kov_is_client_attached(void);

/* The client's message handler. `msg`, converted to host order (kov_messages.h), holds until it returns; the
 * cache is already refreshed. It may query, register, deregister, close and dispatch. All of the records are
 * there, but for types 1 to 3 and 12: trust neither the count of these nor the length of type 12. */
typedef void (*kov_notify_callback)(const kov_client_msg *msg);

/* Asks the server for messages: `handle` is the process's transport handle, `name` at most 128 characters,
 * `mtypes` exactly 21 entries of which those from 1 to 20 count. A null handler is accepted. 1 when the
 * request was sent or the client is registered already; 0 for a handle without access point, a null or longer
 * name, a null or empty list, or a failed send. The answer comes as a message of type 2 through kov_dispatch.
 */
KOV_EXPORT uint32_t kov_register_client(int32_t handle, const char *name, const uint32_t *mtypes,
                                        kov_notify_callback callback);

/* Withdraws the registration and disables the cache. 1 when sent or when there was nothing to withdraw; 0
 * when not initialised or the send failed (then nothing changes). */
KOV_EXPORT uint32_t kov_deregister_client(void);

/* 1 once the server has acknowledged the registration, else 0. */
KOV_EXPORT uint32_t kov_is_client_registration_done(void);

/* Takes one message that the process received. 1 when it was a valid KOV client message of a type that the
 * client registered for, and has been handled; 0 otherwise. 0 does not say that nothing happened: a valid
 * message of another type has refreshed the cache, the acknowledgement has completed the registration, and
 * the call may have initialised the library. The message stays the caller's. */
KOV_EXPORT uint32_t kov_dispatch(const ipc_message *msg);

KOV_END_DECLS

#endif
