/*
 * Command line: what the library asks of the command that runs it, and where its output goes.
 *
 * `cli` is the platform's context of one running command. The process passes it in; the library hands it
 * back to these calls during the same call and keeps no copy. `cli` is never null here.
 */
#ifndef KOV_PLATFORM_CLI_H
#define KOV_PLATFORM_CLI_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Looks up a text of the command. The field "_CLI_TTY_NAME_FIELD" is the name of the terminal that runs it,
 * the name that dbgw.h takes. 0: `*out` is set, to a text that holds as long as the command runs. Non-zero:
 * there is no such field, `*out` is untouched. */
int cli_get_string(void *cli, const char *field, const char **out);

/* Non-zero: the word `name` was given with the command. */
int cli_is_set(void *cli, const char *name);

/* Prints to the command's terminal. 1: printed; 0: the output is gone, and nothing more will appear. */
uint32_t cli_cmd_printf(void *cli, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

/* Asks whether output should go on: the place for a pager's question. Non-zero: go on; 0: stop now. May run
 * other tasks of the process while a person thinks, and those may call the library. */
int cli_more_output(void *cli);

#ifdef __cplusplus
}
#endif

#endif
