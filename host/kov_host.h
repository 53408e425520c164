/*
 * kov_host: a loop, a transport handle, a database and a command line for a process on a Linux machine.
 *
 * libkov_host implements the platform services of include/kov/platform/ with files and sockets in one
 * runtime directory; every process that attaches to the same directory is on the same "switch". This header
 * is what a process needs beside those services. A whole client:
 *
 *     static void on_message(const ipc_message *msg, void *arg) { (void)arg; kov_dispatch(msg); }
 *
 *     int main(void)
 *     {
 *         if (kov_host_attach(NULL, "arp") != 0) {
 *             fprintf(stderr, "%s\n", kov_host_error());
 *             return 1;
 *         }
 *         kov_host_on_message(on_message, NULL);
 *         kov_host_stop_on_signals();
 *         kov_register_client(kov_host_ipc_handle(), "arp", types, handler);
 *         int status = kov_host_run();
 *         kov_host_detach();
 *         return status;
 *     }
 *
 * Conventions. One thread: call everything from the thread that attached, callbacks run there too, and do
 * not fork while attached. Unless said otherwise a call returns 0 for success and -1 for failure, and
 * kov_host_error then says what is wrong in one sentence. Times are milliseconds of the monotonic clock.
 * Nothing here throws.
 *
 * The runtime directory is the caller's `dir` when that is not null, else $KOV_HOST_DIR, else /run/kov for
 * root and $XDG_RUNTIME_DIR/kov for everybody else. It must belong to the caller's user. In it stand
 * kov_rdb_info (the database), ipc/ (a socket for each service access point) and cli/ (a socket for each
 * named process). docs/transport.md and docs/command-line.md describe the bytes.
 */
#ifndef KOV_HOST_H
#define KOV_HOST_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A received message; kov/platform/ipc.h has the calls that read opcode, size and payload. */
typedef struct ipc_message ipc_message;

/* ---- Attaching ------------------------------------------------------------------------------------ */

/*
 * Attaches this process as the client process `name`: claims the name, opens a transport handle on a free
 * service access point (2000 and up) and serves a command line under the name. Names are 1 to 64 characters
 * of A-Z a-z 0-9 . _ - and begin with a letter or a digit.
 * Fails when the directory is absent (the server creates it), belongs to another user, may be written by
 * others, cannot be written, is too long a path for a socket, when a living process has the name, or when
 * this process is attached already. What a killed process left behind is no obstacle.
 */
int kov_host_attach(const char *dir, const char *name);

/* Attaches the server: as above, but creates the directory (mode 0750) when it is absent, and binds the given
 * service access point (the library's clients send to 1248). Fails with "a server is already running in DIR
 * (pid N)" while another living process has it. */
int kov_host_attach_server(const char *dir, const char *name, uint32_t sap);

/* Attaches a short-lived tool: a transport handle, no name and no command line. */
int kov_host_attach_tool(const char *dir);

/* Gives everything back: stops timers and watches, ends the sessions, closes the handles and the database,
 * removes this process's sockets. Does nothing when not attached. Not from within a callback. */
void kov_host_detach(void);

/* 1 when attached. */
int kov_host_attached(void);

/* The runtime directory in use; when not attached the one that a null `dir` means. Null (with an error) when
 * there is none. Holds until the next attach or detach. */
const char *kov_host_dir(void);

/* The name given at attaching, "" for a tool or when not attached. */
const char *kov_host_name(void);

/* What went wrong in the last call that failed, "" before the first. Also says why osal_rdb_open refused a
 * database. Holds until the next failure. */
const char *kov_host_error(void);

/* ---- Messages ------------------------------------------------------------------------------------- */

/* The most bytes that one message carries. */
#define KOV_HOST_MAX_MESSAGE 131072u

/* The handle opened at attaching, 1 or more; 0 when not attached. It is what kov_register_client takes. */
int32_t kov_host_ipc_handle(void);

/* One more handle, on the service access point `sap`, or on a free one for 0. Returns the handle, or -1. */
int32_t kov_host_ipc_open(uint32_t sap);

/* Closes a handle that kov_host_ipc_open gave. What its peers had sent and nobody received is gone. */
int kov_host_ipc_close(int32_t handle);

/*
 * Says who gets the received messages, of all handles; a null `cb` means nobody, and messages then wait in
 * their queues until those are full. Messages of one sender come in the order in which it sent them. The
 * host owns the message and frees it when `cb` returns: keep no pointer. While `cb` runs no other message is
 * delivered, also not when it yields.
 */
typedef void (*kov_host_message_fn)(const ipc_message *msg, void *arg);
void kov_host_on_message(kov_host_message_fn cb, void *arg);

/* Who sent a message: the service access point it claims, for replies, and what the kernel says about the
 * process that opened the connection (a peer cannot forge these three). And the handle it arrived at. */
uint32_t kov_host_message_sap(const ipc_message *msg);
int32_t kov_host_message_pid(const ipc_message *msg);
uint32_t kov_host_message_uid(const ipc_message *msg);
uint32_t kov_host_message_gid(const ipc_message *msg);
int32_t kov_host_message_handle(const ipc_message *msg);

/*
 * Says who hears when the process that serves the service access point `sap` goes away and when one serves it
 * again; a null `cb` means nobody. `present` is 0 and 1 in turn. It begins with what is found now: where
 * nobody serves, the first call is a 1, else a 0. A process that dies and is replaced at once is a 0 and then
 * a 1 all the same. What the dead process had sent is still delivered. A return is noticed within a few
 * hundredths of a second after the process's loop runs. Inside the callback a client registers again:
 *
 *     static void on_server(uint32_t sap, int present, void *arg)
 *     {
 *         (void)sap, (void)arg;
 *         if (present && kov_deregister_client())
 *             kov_register_client(kov_host_ipc_handle(), "arp", types, handler);
 *     }
 *
 * When one of the two fails, the server is gone again, and its next return is a next call. The cache answers
 * until kov_deregister_client, the database until the acknowledgement, the refilled cache from there on.
 */
typedef void (*kov_host_peer_fn)(uint32_t sap, int present, void *arg);
int kov_host_peer_watch(uint32_t sap, kov_host_peer_fn cb, void *arg);

/* ---- The loop ------------------------------------------------------------------------------------- */

/* Runs callbacks as their causes arise until kov_host_stop, whose status it returns; -1 when not attached or
 * when called from within a callback. */
int kov_host_run(void);

/* Makes kov_host_run return `status` once the running callback has returned. */
void kov_host_stop(int status);

/* Waits at most `timeout_ms` (0: not at all; negative: without end) until something is ready, and runs what
 * is ready, once. Returns the number of callbacks run, or -1. For processes that have a loop of their own. */
int kov_host_run_once(int timeout_ms);

/* SIGINT and SIGTERM stop the loop with status 0 instead of killing the process, until detaching. */
int kov_host_stop_on_signals(void);

/* Calls `cb` after `first_ms`, and then every `every_ms` (0: just once). Returns the timer's id, 1 or more,
 * or -1. A late timer is run once, not once for each time it missed. `cb` may stop its own timer. */
typedef void (*kov_host_timer_fn)(int timer, void *arg);
int kov_host_timer_start(uint32_t first_ms, uint32_t every_ms, kov_host_timer_fn cb, void *arg);

/* Stops a timer; -1 for one that is not running. */
int kov_host_timer_stop(int timer);

/* Calls `cb` when `fd` is ready in one of the ways in `events`, again and again as long as it is. The
 * descriptor stays the caller's: unwatch it before closing it. Hang-up and errors are always reported. */
enum { KOV_HOST_READ = 1, KOV_HOST_WRITE = 2, KOV_HOST_HANGUP = 4 };
typedef void (*kov_host_fd_fn)(int fd, uint32_t events, void *arg);
int kov_host_fd_watch(int fd, uint32_t events, kov_host_fd_fn cb, void *arg);

/* Stops watching; -1 when `fd` is not watched. To change the events, unwatch and watch again. */
int kov_host_fd_unwatch(int fd);

/*
 * How long a callback may run before the library's walks let other callbacks run in between; 5000 to begin
 * with, 0 yields at each opportunity. A callback that is running is never entered again while it yields: not
 * that timer, not that descriptor, no further message, no further command of that session.
 */
void kov_host_time_slice(uint32_t microseconds);

/* ---- The command line ------------------------------------------------------------------------------ */

/*
 * A command: one or more words ("show cache"). A line runs the command whose words begin it, the longest
 * such; the words that follow are its arguments. `cli` goes to the calls of kov/platform/cli.h (and to the
 * library's calls that take one): cli_cmd_printf prints, cli_is_set finds an argument, cli_more_output asks
 * whether to go on. `argv` has `argc` texts, which hold until the command returns. The result is the
 * command's exit status; 0 is success. "help", "complete" and "show host" are there already. `help` is one
 * line. Both texts are copied. Fails for an empty name or one that is taken. Commands can be added before
 * attaching, and outlive it.
 */
typedef int (*kov_host_command_fn)(void *cli, int argc, const char *const *argv, void *arg);
int kov_host_command_add(const char *name, const char *help, kov_host_command_fn fn, void *arg);

/*
 * What a command offers besides, each of which may be left out (null, 0); -1 for a command that is not there.
 * `complete` prints the words that may stand as the last of `argv`, a line each: what is typed of it so far,
 * perhaps nothing, is in `argv[argc - 1]`, and those that do not fit it are left out by the caller. A line
 * "NAME=" wants a value behind it; "<KIND>" stands for words that this process does not know
 * (docs/command-line.md has the kinds). `arg` is the command's.
 * `json` non-zero: the command answers with one JSON value when kov_host_cli_json(cli) is 1; without it
 * "--json" is refused before the command runs.
 */
typedef void (*kov_host_complete_fn)(void *cli, int argc, const char *const *argv, void *arg);
int kov_host_command_offer(const char *name, kov_host_complete_fn complete, int json);

/* 1 when the line had "--json". */
int kov_host_cli_json(void *cli);

/*
 * Says who hears when a session of this process's command line has ended, in whatever way; a null `cb` means
 * nobody. `terminal` is the name that it had: the terminal and its debug switches are gone already. It may
 * come in the midst of any call that prints or traces, and of kov_host_detach, so it should do little. `cb`
 * must not throw. It outlives attachments.
 */
typedef void (*kov_host_session_end_fn)(const char *terminal, void *arg);
void kov_host_on_session_end(kov_host_session_end_fn cb, void *arg);

/* Runs a line as if it had been typed, with the output to this process's stdout and "stderr" as its terminal.
 * Returns the command's status, or -1 for an unknown command. */
int kov_host_command_run(const char *line);

/* Calls `fn` like a command with the `argc` words of `argv` (null: none) and returns all that it printed: for
 * a process that reads a report itself. Its `cli` has no terminal and nobody is asked. Null when memory is
 * short. Holds until the next call. */
const char *kov_host_command_text(kov_host_command_fn fn, int argc, const char *const *argv, void *arg);

/* The other end: a session with the command line of the process `name` (kovctl is made of these). Needs no
 * attaching. `rows` is the height of the terminal, 0 when output goes elsewhere and nobody is to be asked. */
typedef struct kov_host_session kov_host_session;
kov_host_session *kov_host_session_open(const char *dir, const char *name, uint32_t rows);
void kov_host_session_close(kov_host_session *session);

/* Sends one line to be run. Wait for KOV_HOST_CLI_DONE before the next. */
int kov_host_session_command(kov_host_session *session, const char *line);

/* Answers KOV_HOST_CLI_MORE: non-zero goes on. */
int kov_host_session_answer(kov_host_session *session, int more);

/* What the other end says next. `text` is NUL-terminated and holds until the next call of the session. */
enum {
    KOV_HOST_CLI_OUTPUT = 1, /* text of the running command */
    KOV_HOST_CLI_TRACE = 2,  /* text of a trace, a whole line; also between commands */
    KOV_HOST_CLI_MORE = 3,   /* a pager's question: answer it */
    KOV_HOST_CLI_DONE = 4    /* the command returned `status` */
};
typedef struct kov_host_cli_event {
    uint32_t kind;
    int32_t status;
    const char *text;
    uint32_t size; /* of the text, without its NUL */
} kov_host_cli_event;

/* Waits at most `timeout_ms` (negative: without end). 1: `*event` is set; 0: nothing came; -1: the other end
 * is gone. kov_host_session_fd is readable when there is something. */
int kov_host_session_next(kov_host_session *session, int timeout_ms, kov_host_cli_event *event);
int kov_host_session_fd(const kov_host_session *session);

/* The name of the terminal that the other end gave this session; holds as long as the session. */
const char *kov_host_session_terminal(const kov_host_session *session);

/* ---- Interfaces ------------------------------------------------------------------------------------ */

/*
 * The interface index of a name, 0 when it is none: vlan1 to vlan4094, bdi1 to bdi65535 (a bridge domain's
 * interface), po0 to po65535, eth<slot>/<port> and sat<slot>/<port> with both 1 to 256. im_get_ifindex_name
 * of kov/platform/interfaces.h goes the other way.
 * The index: bits 31-26 the type (9 vlan, 55 bdi, 22 po, 26 eth, 31 sat); below them the VLAN, the bridge
 * domain or the channel, or (slot - 1) << 8 | (port - 1).
 */
uint32_t kov_host_ifindex_parse(const char *name);

/* Gives an interface the local number `iod`, by which lcache_im_get_ifindex_frm_iod finds it in this process;
 * index 0 takes the number back. To begin with no number is given. 0, or -1 when the index is no
 * interface's. */
int kov_host_iod_set(int32_t iod, uint32_t ifindex);

/* ---- The card -------------------------------------------------------------------------------------- */

/* Gives this process a card of the type `type`, 0 to 65535, which get_card_module_info of kov/platform/card.h
 * then reads; below 0 takes it away. To begin with there is none, and the card cannot be read. The card types
 * that support both KOV features are 0x2101 to 0x210d and 0x2201 to 0x220d. -1 for a type above 65535. */
int kov_host_card_set(int32_t type);

/* ---- Routes and VRFs ------------------------------------------------------------------------------- */

/* Gives a VRF its name, 1 to 32 characters, by which vrfmgr_get_context_name finds it in this process; null
 * takes the name back. To begin with no VRF has one. */
int kov_host_vrf_set(uint32_t vrf_id, const char *name);

/*
 * A small routing table for what the library asks about routes (kov/platform/routes.h); nothing is forwarded
 * by it, and no other process sees it. A prefix is written "10.1.0.0/16" or "2001:db8::/32"; bits behind its
 * length do not count. It is independent of attaching.
 */
enum { KOV_HOST_ROUTE_CONDITIONAL = 1, KOV_HOST_ROUTE_CONVERTED = 2 };

/* Adds the route, or changes its flags (above, or-ed). A changed route is still the same route to whoever has
 * found it. */
int kov_host_route_set(uint32_t vrf_id, const char *prefix, uint32_t flags);

/* Removes it; -1 when it is not there. */
int kov_host_route_delete(uint32_t vrf_id, const char *prefix);

/* The route of the longest prefix that holds `address` (no length; either family), or null. It is what the
 * library's calls take as a route, and holds until it is removed. */
const void *kov_host_route_find(uint32_t vrf_id, const char *address);

/* ---- Codec errors ---------------------------------------------------------------------------------- */

/* Says who gets the text of each fcodec_error_print (at most 511 characters; it holds during the call only).
 * A null `cb` puts back what is there to begin with: the text goes to stderr. `cb` must not throw. */
typedef void (*kov_host_codec_error_fn)(const char *text, void *arg);
void kov_host_on_codec_error(kov_host_codec_error_fn cb, void *arg);

/* ---- Counters -------------------------------------------------------------------------------------- */

/* What happened in this process since it started. Never reset; take differences. */
typedef struct kov_host_counters {
    uint64_t rdb_opens;          /* osal_rdb_open that succeeded */
    uint64_t rdb_open_failures;  /* osal_rdb_open that was refused */
    uint64_t rdb_reads;          /* osal_rdb_read on an open database */
    uint64_t rdb_steps;          /* osal_rdb_get_first and osal_rdb_get_next on an open database */
    uint64_t ipc_sends;          /* ipc_send that returned 0 */
    uint64_t ipc_send_failures;  /* ipc_send that returned anything else; the next two are among them */
    uint64_t ipc_queue_full;     /* ... because the peer's queue was full (EAGAIN) */
    uint64_t ipc_peer_absent;    /* ... because nobody served the SAP (ECONNREFUSED) */
    uint64_t ipc_peer_losses;    /* watched peers that went away */
    uint64_t ipc_peer_returns;   /* watched peers that came (back) */
    uint64_t ipc_peer_unread;    /* messages, sent well, that a peer went away without reading; it may have
                                    read some of them */
    uint64_t ipc_receives;       /* messages delivered */
    uint64_t ipc_frames_refused; /* frames thrown away: too short, too long, or of a length that is a lie */
    uint64_t yields;             /* times that a callback let others run */
    uint64_t commands;           /* command lines run */
    uint64_t traces;             /* trace lines, one for each terminal */
    uint64_t traces_dropped;     /* trace lines that a terminal was too slow for */
} kov_host_counters;
void kov_host_counters_get(kov_host_counters *out);

#ifdef __cplusplus
}
#endif

#endif
