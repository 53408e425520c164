/*
 * Debug traces: the only way in which the library tells what it does. A trace is printed when the process has
 * switched tracing on here and the platform's debug wrapper has library 33, level 1 on for some terminal.
 */
#ifndef KOV_DEBUG_H
#define KOV_DEBUG_H

#include <kov/kov_base.h>

KOV_BEGIN_DECLS

/* Traces on and off for the terminal of a command-line context. 1 when switched; 0 when the context names no
 * terminal (nothing changes). Needs no initialised library. */
KOV_EXPORT uint32_t kov_api_debug_on(void *cli);
KOV_EXPORT uint32_t kov_api_debug_off(void *cli);

/* The same for a terminal given by name. 0 for a null name. */
KOV_EXPORT uint32_t kov_api_vty_dbg_on(const char *tty);
KOV_EXPORT uint32_t kov_api_vty_dbg_off(const char *tty);

/* The name of an interface, "-" when it has none. Rotating buffer: holds for seven more display calls. */
KOV_EXPORT const char *kov_ifindex_name_str(uint32_t ifindex);

/* Objects for the host process's own use; the library neither reads nor writes them. */
KOV_EXPORT extern uint32_t kov_debug_log_to_file;
KOV_EXPORT extern uint32_t kov_enable_log_to_file;
KOV_EXPORT extern void *kov_vault_handle;
KOV_EXPORT extern char filter_name1[50];
KOV_EXPORT extern char filter_name2[50];
KOV_EXPORT extern char filter_name3[50];
KOV_EXPORT extern uint32_t ddb_ipcops_ix_t;

KOV_END_DECLS

#endif
