/*
 * Debug wrapper: whether a library's traces are wanted, on which terminals, and how they get there.
 *
 * A library has a number; a terminal has a name, as the command line reports it. Debugging of a library's
 * level is switched per terminal. A trace goes to every terminal on which it is on.
 * This library has number 33 and uses level 1. Its name is element 67 of dbgw_lib_id_and_names: 67, not 33.
 */
#ifndef KOV_PLATFORM_DBGW_H
#define KOV_PLATFORM_DBGW_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Non-zero: the level is on, on at least one terminal. Asked before each trace once the library's own switch
 * is on, so it should be a table look-up. 0 for an unknown library or level. */
int dbgw_library_chk_int(uint32_t lib, uint32_t level);

/* Switches a level on or off for a terminal. 0: done, also when it was so already. Non-zero: unknown library
 * or level, no such terminal, a null or empty name. The name is copied. */
int dbgw_library_dbg_enable(uint32_t lib, uint32_t level, const char *tty);
int dbgw_library_dbg_disable(uint32_t lib, uint32_t level, const char *tty);

/* Prints one trace, `fmt` with its arguments, behind `prefix`. `zero` is 0, `level` the level that was asked
 * for, `module` is dbgw_dbg_modname. The text may or may not end in a newline. errno may change. A trace
 * calls nothing of the library. */
void tracef_func(int level, const char *module, const char *prefix, int zero, const char *fmt, ...)
    __attribute__((format(printf, 5, 6)));

/* Data that the platform defines. The names: at least 68 elements, none of those read is null. */
extern const char *const dbgw_lib_id_and_names[];

/* A text about the process that stands in each trace's prefix, and the name that traces are filed under.
 * Not null; read at each trace, so they may change. */
extern const char *dbgw_library_dbg_pid_and_tag;
extern const char *dbgw_dbg_modname;

#ifdef __cplusplus
}
#endif

#endif
