/*
 * The syslog message catalogue of the KOV service, as read-only data.
 *
 * The library raises no syslog message itself. The server and the other KOV processes that link it raise
 * theirs through these records, which the platform's syslog library reads. The records lie in memory in the
 * order of the list below: msg_component_KOV, the syslog_msg_ records, the facility, the msg_error_ records.
 * All texts are static. The words 0x505 and 10 are the platform syslog library's and are passed on as they
 * are.
 */
#ifndef KOV_CATALOGUE_H
#define KOV_CATALOGUE_H

#include <kov/kov_base.h>

KOV_BEGIN_DECLS

/* clang-format off */

/*
 * One row a message: name, syslog severity (2 critical to 7 debug), bits added to the severity word of its
 * msg_error_ record, flags word (decimal), text. SERVICE messages have a syslog_msg_KOV_ record, LIBRARY messages a
 * syslog_msg_lib_ record.
 * Deliberate: only the severity word of the error record carries the bit 0x100.
 */
#define KOV_CATALOGUE(SERVICE, LIBRARY) \
    SERVICE(INITERR,                      3, 0,     0,  "%s init failed")                                                                           \
    SERVICE(INFRA_SYSERR,                 3, 0,     10, "%s failed with error - %s (0x%08x) - in %s()")                                             \
    SERVICE(PTHREAD,                      2, 0,     10, "%s failed with error - %d in %s()")                                                        \
    SERVICE(REGERR,                       3, 0,     0,  "Failed to register with component %s, Failed in %s.")                                      \
    SERVICE(MALLOC_FAILED,                3, 0,     10, "Memory allocation failed for %s structure in %s")                                          \
    SERVICE(INFORM,                       6, 0,     10, "%s")                                                                                       \
    SERVICE(IPC_UNKNOWN_MSG,              6, 0,     10, "Received unknown IPC message with opcode %d, dropping it in %s()")                         \
    SERVICE(IPC_RECV,                     3, 0,     10, "Error returned from coop_ipc_recv(), errno: %s (0x%08x) in %s()")                          \
    SERVICE(IPC_SEND,                     3, 0,     10, "Error returned from ipc_send(), errno: %s (0x%08x) in %s()")                               \
    SERVICE(IPC_SEND_DEBUG,               7, 0,     10, "Debug: Error returned from ipc_send(), errno: %s (0x%08x) in minor function %s()")         \
    SERVICE(IPC_DROP,                     3, 0,     10, "Error returned from ipc_drop(), errno: %s (0x%08x) in %s()")                               \
    SERVICE(IPC_NOMSG,                    4, 0,     10, "No IPC payload found on %s queue, opc %d")                                                 \
    SERVICE(FEATURE_STATUS,               6, 0,     10, "FM status for feature %s failed with error: %s(0x%08x).\n")                                \
    SERVICE(OAK_INSERT,                   3, 0,     10, "Oak insert failed in %s")                                                                  \
    SERVICE(PTADD_ERR,                    3, 0,     10, "PT Add failed for %s in %s")                                                               \
    SERVICE(PTDEL_ERR,                    3, 0,     10, "PT Delete failed for %s in %s")                                                            \
    SERVICE(IM_API_FAILED,                2, 0,     10, "API %s failed for 0x%x with err: 0x%x in %s")                                              \
    SERVICE(URIB_RT_MODIFY,               3, 0,     10, "URIB route modify operation failed during %s")                                             \
    SERVICE(RDBREAD,                      3, 0,     10, "RDB read operation failed for type %d in %s")                                              \
    SERVICE(API_FAILED,                   2, 0,     10, "API %s failed in %s")                                                                      \
    SERVICE(API_FAILED_ERR,               2, 0,     10, "API %s failed with %s(0x%x) in %s")                                                        \
    SERVICE(EVENT_WAIT,                   3, 0,     10, "Error while waiting for %s event, error - %s\n")                                           \
    SERVICE(TXLIST,                       4, 0,     10, "%s")                                                                                       \
    SERVICE(MAC_BD_MAX_LIMIT,             5, 0,     10, "(%s) [%s] Hosts sharing MAC %s(%s) has exceeded max limit %lu, dropping new hosts")        \
    SERVICE(DUP_HOSTS,                    5, 0,     10, "(%s) [%s] Detected a potential duplicate host %s")                                         \
    SERVICE(CONV_LIMIT_REACHED,           5, 0,     10, "(%s) [%s] Hit Conversational-Learning %s %s threshold for remote host %s, action %s (%s)") \
    LIBRARY(LIB_API_FAILED,               3, 0,     10, "%s - failed in %s()")                                                                      \
    LIBRARY(LIB_MALLOC_FAILED,            2, 0,     10, "malloc() failed for allocating %s in %s()")                                                \
    LIBRARY(LIB_INT_ERROR,                3, 0,     10, "%s in %s()")                                                                               \
    LIBRARY(LIB_IPC_SEND,                 3, 0,     10, "Error returned from ipc_send(), errno: %s in %s()")                                        \
    LIBRARY(LIB_IPC_SEND_DEBUG,           7, 0,     10, "Debug: Error returned from ipc_send(), errno: %s in minor function %s()")                  \
    SERVICE(UNEXPECT,                     3, 0x100, 10, "%s L%d: %s")                                                                               \
    SERVICE(AUTO_CONF_PROFILE_APPLIED,    6, 0,     10, "%s")                                                                                       \
    SERVICE(AUTO_CONF_PROFILE_DOWNLOADED, 6, 0,     10, "%s")                                                                                       \
    SERVICE(AUTO_CONF_PROFILE_UNAPPLIED,  6, 0,     10, "%s")                                                                                       \
    SERVICE(AUTO_CONF_PROFILE_REFRESH,    6, 0,     10, "%s")                                                                                       \
    SERVICE(AUTO_CONF_PROFILE_ERROR,      3, 0,     10, "%s")                                                                                       \
    SERVICE(AUTO_CONF_REFRESH_ERROR,      3, 0,     0,  "%s")                                                                                       \
    SERVICE(AUTO_CONF_PROFILE_WARNING,    4, 0,     10, "%s")                                                                                       \
    SERVICE(XVLAN_ERR,                    3, 0,     10, "Auto configuring xlated vlan mapping failed with error - %s in %s")                        \
    SERVICE(AUTO_CONF_WARNING,            4, 0,     10, "%s\n")

/* clang-format on */

typedef struct kov_msg_component {
    const char *name;
    uint32_t zero;
} kov_msg_component;

typedef struct kov_syslog_facility {
    const char *name;
    uint32_t number;
    uint32_t value;
} kov_syslog_facility;

/* The format's first conversion takes the facility's upper-case name, the second the severity. */
typedef struct kov_syslog_msg {
    const char *name;
    uint32_t zero;
    const char *format;
    uint32_t severity;
} kov_syslog_msg;

typedef struct kov_syslog_lib_msg {
    const char *name;
    const char *component;
    const char *format;
    const char *format_with_pid; /* a process id comes third */
    uint32_t severity;
} kov_syslog_lib_msg;

typedef struct kov_msg_error {
    const kov_msg_component *component;
    const char *name;
    const char *text;
    uint32_t zero;
    uint32_t flags;
    uint32_t zeros[3];
    uint32_t severity;
    const kov_syslog_msg *syslog;         /* null for LIBRARY messages */
    const kov_syslog_lib_msg *lib_syslog; /* null for SERVICE messages */
} kov_msg_error;

#define KOV_DECLARE_SERVICE(NAME, SEVERITY, BITS, FLAGS, TEXT)                                               \
    KOV_EXPORT extern const kov_syslog_msg syslog_msg_KOV_##NAME;                                            \
    KOV_EXPORT extern const kov_msg_error msg_error_KOV_##NAME;
#define KOV_DECLARE_LIBRARY(NAME, SEVERITY, BITS, FLAGS, TEXT)                                               \
    KOV_EXPORT extern const kov_syslog_lib_msg syslog_msg_lib_##NAME;                                        \
    KOV_EXPORT extern const kov_msg_error msg_error_KOV_##NAME;

KOV_EXPORT extern const kov_msg_component msg_component_KOV;
KOV_EXPORT extern const kov_syslog_facility syslog_fac_LOG_KOV;
KOV_CATALOGUE(KOV_DECLARE_SERVICE, KOV_DECLARE_LIBRARY)

#undef KOV_DECLARE_SERVICE
#undef KOV_DECLARE_LIBRARY

KOV_END_DECLS

#endif
