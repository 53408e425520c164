/* The syslog message catalogue: records that a platform's syslog library reads as rows of words. Where a
 * 32-bit reader sees a row of 32-bit words, the 64-bit ABI has natural widths. */
#include <kov/kov_catalogue.h>

#include "layout.h"

SIZE_BY_ABI(kov_msg_component, 16, 8);
FIELD_BY_ABI(kov_msg_component, name, 0, 8, 0, 4);
FIELD_BY_ABI(kov_msg_component, zero, 8, 4, 4, 4);

SIZE_BY_ABI(kov_syslog_facility, 16, 12);
FIELD_BY_ABI(kov_syslog_facility, name, 0, 8, 0, 4);
FIELD_BY_ABI(kov_syslog_facility, number, 8, 4, 4, 4);
FIELD_BY_ABI(kov_syslog_facility, value, 12, 4, 8, 4);

SIZE_BY_ABI(kov_syslog_msg, 32, 16);
FIELD_BY_ABI(kov_syslog_msg, name, 0, 8, 0, 4);
FIELD_BY_ABI(kov_syslog_msg, zero, 8, 4, 4, 4);
FIELD_BY_ABI(kov_syslog_msg, format, 16, 8, 8, 4);
FIELD_BY_ABI(kov_syslog_msg, severity, 24, 4, 12, 4);

SIZE_BY_ABI(kov_syslog_lib_msg, 40, 20);
FIELD_BY_ABI(kov_syslog_lib_msg, name, 0, 8, 0, 4);
FIELD_BY_ABI(kov_syslog_lib_msg, component, 8, 8, 4, 4);
FIELD_BY_ABI(kov_syslog_lib_msg, format, 16, 8, 8, 4);
FIELD_BY_ABI(kov_syslog_lib_msg, format_with_pid, 24, 8, 12, 4);
FIELD_BY_ABI(kov_syslog_lib_msg, severity, 32, 4, 16, 4);

SIZE_BY_ABI(kov_msg_error, 64, 44);
FIELD_BY_ABI(kov_msg_error, component, 0, 8, 0, 4);
FIELD_BY_ABI(kov_msg_error, name, 8, 8, 4, 4);
FIELD_BY_ABI(kov_msg_error, text, 16, 8, 8, 4);
FIELD_BY_ABI(kov_msg_error, zero, 24, 4, 12, 4);
FIELD_BY_ABI(kov_msg_error, flags, 28, 4, 16, 4);
FIELD_BY_ABI(kov_msg_error, zeros, 32, 12, 20, 12);
FIELD_BY_ABI(kov_msg_error, severity, 44, 4, 32, 4);
FIELD_BY_ABI(kov_msg_error, syslog, 48, 8, 36, 4);
FIELD_BY_ABI(kov_msg_error, lib_syslog, 56, 8, 40, 4);

LAYOUT_MAIN("the message catalogue")
