// The records of the syslog message catalogue, from the list in kov_catalogue.h.
//
// The order in memory is part of the catalogue: all syslog_msg_ records in the order of the list, then the
// facility, then all msg_error_ records. One section keeps the linker from sorting them apart, and this file
// is compiled without reordering of its definitions (src/CMakeLists.txt).
#include <kov/kov_catalogue.h>

#define IN_ORDER __attribute__((section(".data.rel.ro.kov_catalogue")))

IN_ORDER const kov_msg_component msg_component_KOV = {"KOV", 0};

#define SYSLOG_SERVICE(NAME, SEVERITY, BITS, FLAGS, TEXT)                                                    \
    IN_ORDER const kov_syslog_msg syslog_msg_KOV_##NAME = {#NAME, 0, "<<%%%s-%d-" #NAME ">> " TEXT, SEVERITY};
#define SYSLOG_LIBRARY(NAME, SEVERITY, BITS, FLAGS, TEXT)                                                    \
    IN_ORDER const kov_syslog_lib_msg syslog_msg_lib_##NAME = {                                              \
        #NAME, "KOV", "<<%%%s-%d-KOV_" #NAME ">> " TEXT, "<<%%%s-%d-KOV_" #NAME ">> (pid=%d) " TEXT,         \
        SEVERITY};
KOV_CATALOGUE(SYSLOG_SERVICE, SYSLOG_LIBRARY)

IN_ORDER const kov_syslog_facility syslog_fac_LOG_KOV = {"kov", 6040, 0x505};

#define ERROR_SERVICE(NAME, SEVERITY, BITS, FLAGS, TEXT)                                                     \
    IN_ORDER const kov_msg_error msg_error_KOV_##NAME = {                                                    \
        &msg_component_KOV,     #NAME,  TEXT, 0, FLAGS, {0, 0, 0}, SEVERITY | (BITS),                        \
        &syslog_msg_KOV_##NAME, nullptr};
#define ERROR_LIBRARY(NAME, SEVERITY, BITS, FLAGS, TEXT)                                                     \
    IN_ORDER const kov_msg_error msg_error_KOV_##NAME = {                                                    \
        &msg_component_KOV,    #NAME, TEXT, 0, FLAGS, {0, 0, 0}, SEVERITY | (BITS), nullptr,                 \
        &syslog_msg_lib_##NAME};
KOV_CATALOGUE(ERROR_SERVICE, ERROR_LIBRARY)
