/*
 * The commands that a client process serves on its command line, ready to be added with one call, and the
 * texts of a message. kov-agent uses both; kovctl runs the same commands in itself when no client is named.
 *
 *   get QUERY [ARGUMENT...]   asks the library in this process; the answer says whether it came from the
 *                             cache or from the database, by what the host's read counters did meanwhile
 *   show cache [detail]       the library's own report, paged on a terminal
 *   show capability           what the switch itself can do
 *   verify VRF ADDRESS        asks the server to verify a host
 *   report ADDRESS INTERFACE  tells the server what a probe of a host showed
 *   profile add|del|check     asks the server about the profile of a host; the answer is for the callbacks
 *   glean VRF DEST SOURCE SVI hands the library a packet to a destination that is not resolved yet
 *   set, del, list            the VRFs and routes of this process, by which a glean is judged, and the hosts
 *                             that answer its probes
 *   status                    registration, messages and reads, one "name: value" each line
 *   stats [--json]            counters by record type and by message type, with the causes of refusals
 *   debug on | debug off      the library's traces on the terminal that asks
 *
 * Status of a command: 0 done, 1 refused, 2 used wrongly. Nothing here throws. The texts belong to this
 * module; a message's text holds until the next call.
 */
#ifndef KOV_LAB_CLIENT_COMMANDS_H
#define KOV_LAB_CLIENT_COMMANDS_H

#include <kov/kov_events.h>
#include <kov/kov_messages.h>
#include <kov/kov_profile.h>
#include <kov/platform/ipc.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Adds the commands to this process, and takes kov_host_on_session_end for what "debug on" leaves behind.
 * Returns 0, or -1 with kov_host_error. */
int kov_lab_add_client_commands(void);

/* kov_dispatch, and what it makes of each message is counted for "status" and "stats". */
uint32_t kov_lab_dispatch(const ipc_message *msg);

/* What "get" runs, for a process that has no command line: `argv` is the query and its arguments. Returns the
 * command's status; `*text` is its output, JSON when `json` is not 0, which holds until the next call. */
int kov_lab_get(int argc, const char *const *argv, int json, const char **text);

/* What "audit" runs, for a client that wants to look at itself: a table, or a JSON text when `json` is not 0.
 * Returns 0 when the cache says what the database says, 1 when not, 2 when the audit could not be made.
 * `*text` holds until the next call. Not from within a message handler: the message's own change is then only
 * half way through the cache. */
int kov_lab_audit(int json, const char **text);

/* A message as one line: "type 9, SVI forwarding mode: vlan10". It is one that kov_dispatch handed out. */
const char *kov_lab_message_text(const kov_client_msg *msg);

/* What this process answers now to the questions that a message is about, a line each: the forwarding modes
 * of its SVIs, the bits of its ports, the general information; "" for a message about anything else. Asking
 * counts as any question does. Holds until the next call. */
const char *kov_lab_answers_text(const kov_client_msg *msg);

/* What a profile callback is told, as one line: "add of 10.1.2.3 (reference 1): No Error, VNI 5000". The
 * arguments are the callback's own. Holds until the next call. */
const char *kov_lab_profile_text(uint32_t code, uint32_t op, uint32_t host_ref, uint32_t key_len,
                                 const uint8_t *key_data, const kov_profile_reply *reply);

/* Probes the host that a check callback names, by its key: a lab has no wire, so the host answers when "set
 * host" has said where it is. 1 when it does, with what kov_arp_nd_host_verification_resp takes in `*found`
 * and `*nd`; 0 when it does not. */
int kov_lab_probe(uint32_t key_len, const uint8_t *key_data, kov_host_verified *found, uint32_t *nd);

/* What of this process's messages was lost since the last call: "; messages not sent: 2, not read: 1",
 * where the second may be too high (ipc_peer_unread in kov_host.h). "" when nothing was. Holds until the next
 * call. */
const char *kov_lab_losses_text(void);

/* The queries of "get", a line each, for a help text. */
const char *kov_lab_query_help(void);

/* A list of message types, "svi,topology", "9,18", "4-20" or "all", as kov_register_client takes it: 21
 * entries. Returns null, or what is wrong with the text; that holds until the next call. */
const char *kov_lab_parse_types(const char *text, uint32_t *types);

#ifdef __cplusplus
}
#endif

#endif
