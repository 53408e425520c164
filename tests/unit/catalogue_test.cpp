// Every word of every record of the syslog message catalogue, and their order in memory.
//
// The rows are written out once more here, without the list that the library stamps its records from.
#include <kov/kov_catalogue.h>

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace
{

struct Row {
    const char *name;
    uint32_t syslog_severity, error_severity, flags;
    const char *text;
    const kov_msg_error *error;
    const kov_syslog_msg *service;
    const kov_syslog_lib_msg *library;
};

#define SERVICE(NAME, SEVERITY, ERROR_SEVERITY, FLAGS, TEXT)                                                 \
    {                                                                                                        \
#NAME, SEVERITY, ERROR_SEVERITY, FLAGS, TEXT, &msg_error_KOV_##NAME, &syslog_msg_KOV_##NAME, nullptr \
    }
#define LIBRARY(NAME, SEVERITY, ERROR_SEVERITY, FLAGS, TEXT)                                                 \
    {                                                                                                        \
#NAME, SEVERITY, ERROR_SEVERITY, FLAGS, TEXT, &msg_error_KOV_##NAME, nullptr, &syslog_msg_lib_##NAME \
    }

// Name, severity, severity word of the msg_error_ record, flags word, text.
// clang-format off
const Row rows[] = {
    SERVICE(INITERR, 3, 3, 0, "%s init failed"),
    SERVICE(INFRA_SYSERR, 3, 3, 10, "%s failed with error - %s (0x%08x) - in %s()"),
    SERVICE(PTHREAD, 2, 2, 10, "%s failed with error - %d in %s()"),
    SERVICE(REGERR, 3, 3, 0, "Failed to register with component %s, Failed in %s."),
    SERVICE(MALLOC_FAILED, 3, 3, 10, "Memory allocation failed for %s structure in %s"),
    SERVICE(INFORM, 6, 6, 10, "%s"),
    SERVICE(IPC_UNKNOWN_MSG, 6, 6, 10, "Received unknown IPC message with opcode %d, dropping it in %s()"),
    SERVICE(IPC_RECV, 3, 3, 10, "Error returned from coop_ipc_recv(), errno: %s (0x%08x) in %s()"),
    SERVICE(IPC_SEND, 3, 3, 10, "Error returned from ipc_send(), errno: %s (0x%08x) in %s()"),
    SERVICE(IPC_SEND_DEBUG, 7, 7, 10, "Debug: Error returned from ipc_send(), errno: %s (0x%08x) in minor function %s()"),
    SERVICE(IPC_DROP, 3, 3, 10, "Error returned from ipc_drop(), errno: %s (0x%08x) in %s()"),
    SERVICE(IPC_NOMSG, 4, 4, 10, "No IPC payload found on %s queue, opc %d"),
    SERVICE(FEATURE_STATUS, 6, 6, 10, "FM status for feature %s failed with error: %s(0x%08x).\n"),
    SERVICE(OAK_INSERT, 3, 3, 10, "Oak insert failed in %s"),
    SERVICE(PTADD_ERR, 3, 3, 10, "PT Add failed for %s in %s"),
    SERVICE(PTDEL_ERR, 3, 3, 10, "PT Delete failed for %s in %s"),
    SERVICE(IM_API_FAILED, 2, 2, 10, "API %s failed for 0x%x with err: 0x%x in %s"),
    SERVICE(URIB_RT_MODIFY, 3, 3, 10, "URIB route modify operation failed during %s"),
    SERVICE(RDBREAD, 3, 3, 10, "RDB read operation failed for type %d in %s"),
    SERVICE(API_FAILED, 2, 2, 10, "API %s failed in %s"),
    SERVICE(API_FAILED_ERR, 2, 2, 10, "API %s failed with %s(0x%x) in %s"),
    SERVICE(EVENT_WAIT, 3, 3, 10, "Error while waiting for %s event, error - %s\n"),
    SERVICE(TXLIST, 4, 4, 10, "%s"),
    SERVICE(MAC_BD_MAX_LIMIT, 5, 5, 10, "(%s) [%s] Hosts sharing MAC %s(%s) has exceeded max limit %lu, dropping new hosts"),
    SERVICE(DUP_HOSTS, 5, 5, 10, "(%s) [%s] Detected a potential duplicate host %s"),
    SERVICE(CONV_LIMIT_REACHED, 5, 5, 10, "(%s) [%s] Hit Conversational-Learning %s %s threshold for remote host %s, action %s (%s)"),
    LIBRARY(LIB_API_FAILED, 3, 3, 10, "%s - failed in %s()"),
    LIBRARY(LIB_MALLOC_FAILED, 2, 2, 10, "malloc() failed for allocating %s in %s()"),
    LIBRARY(LIB_INT_ERROR, 3, 3, 10, "%s in %s()"),
    LIBRARY(LIB_IPC_SEND, 3, 3, 10, "Error returned from ipc_send(), errno: %s in %s()"),
    LIBRARY(LIB_IPC_SEND_DEBUG, 7, 7, 10, "Debug: Error returned from ipc_send(), errno: %s in minor function %s()"),
    SERVICE(UNEXPECT, 3, 0x103, 10, "%s L%d: %s"),
    SERVICE(AUTO_CONF_PROFILE_APPLIED, 6, 6, 10, "%s"),
    SERVICE(AUTO_CONF_PROFILE_DOWNLOADED, 6, 6, 10, "%s"),
    SERVICE(AUTO_CONF_PROFILE_UNAPPLIED, 6, 6, 10, "%s"),
    SERVICE(AUTO_CONF_PROFILE_REFRESH, 6, 6, 10, "%s"),
    SERVICE(AUTO_CONF_PROFILE_ERROR, 3, 3, 10, "%s"),
    SERVICE(AUTO_CONF_REFRESH_ERROR, 3, 3, 0, "%s"),
    SERVICE(AUTO_CONF_PROFILE_WARNING, 4, 4, 10, "%s"),
    SERVICE(XVLAN_ERR, 3, 3, 10, "Auto configuring xlated vlan mapping failed with error - %s in %s"),
    SERVICE(AUTO_CONF_WARNING, 4, 4, 10, "%s\n"),
};
// clang-format on

static_assert(std::size(rows) == 41);

TEST(Catalogue, TheComponentIsKov)
{
    EXPECT_STREQ(msg_component_KOV.name, "KOV");
    EXPECT_EQ(msg_component_KOV.zero, 0u);
}

TEST(Catalogue, TheFacilityIsKov6040)
{
    EXPECT_STREQ(syslog_fac_LOG_KOV.name, "kov");
    EXPECT_EQ(syslog_fac_LOG_KOV.number, 6040u);
    EXPECT_EQ(syslog_fac_LOG_KOV.value, 0x505u);
}

TEST(Catalogue, FiveMessagesAreTheLibrarys)
{
    std::size_t libraries = 0;
    for (const Row &row : rows) {
        EXPECT_EQ(row.library != nullptr, std::string(row.name).rfind("LIB_", 0) == 0) << row.name;
        libraries += row.library != nullptr;
    }
    EXPECT_EQ(libraries, 5u);
}

TEST(Catalogue, AServiceMessagesRecordHasNameZeroFormatAndSeverity)
{
    for (const Row &row : rows) {
        if (!row.service)
            continue;
        EXPECT_STREQ(row.service->name, row.name);
        EXPECT_EQ(row.service->zero, 0u) << row.name;
        EXPECT_EQ(row.service->format, std::string("<<%%%s-%d-") + row.name + ">> " + row.text);
        EXPECT_EQ(row.service->severity, row.syslog_severity) << row.name;
    }
    EXPECT_STREQ(syslog_msg_KOV_INITERR.format, "<<%%%s-%d-INITERR>> %s init failed");
}

TEST(Catalogue, ALibraryMessagesRecordHasNameComponentTwoFormatsAndSeverity)
{
    for (const Row &row : rows) {
        if (!row.library)
            continue;
        const std::string prefix = std::string("<<%%%s-%d-KOV_") + row.name + ">> ";
        EXPECT_STREQ(row.library->name, row.name);
        EXPECT_STREQ(row.library->component, "KOV") << row.name;
        EXPECT_EQ(row.library->format, prefix + row.text);
        EXPECT_EQ(row.library->format_with_pid, prefix + "(pid=%d) " + row.text);
        EXPECT_EQ(row.library->severity, row.syslog_severity) << row.name;
    }
    EXPECT_STREQ(syslog_msg_lib_LIB_API_FAILED.format, "<<%%%s-%d-KOV_LIB_API_FAILED>> %s - failed in %s()");
    EXPECT_STREQ(syslog_msg_lib_LIB_API_FAILED.format_with_pid,
                 "<<%%%s-%d-KOV_LIB_API_FAILED>> (pid=%d) %s - failed in %s()");
}

TEST(Catalogue, AnErrorRecordPointsAtItsComponentNameTextAndSyslogRecord)
{
    for (const Row &row : rows) {
        SCOPED_TRACE(row.name);
        EXPECT_EQ(row.error->component, &msg_component_KOV);
        EXPECT_STREQ(row.error->name, row.name);
        EXPECT_STREQ(row.error->text, row.text);
        EXPECT_EQ(row.error->zero, 0u);
        EXPECT_EQ(row.error->flags, row.flags);
        for (const uint32_t zero : row.error->zeros)
            EXPECT_EQ(zero, 0u);
        EXPECT_EQ(row.error->severity, row.error_severity);
        EXPECT_EQ(row.error->syslog, row.service);
        EXPECT_EQ(row.error->lib_syslog, row.library);
    }
}

// Deliberate: only the severity word of the error record carries the bit 0x100.
TEST(Catalogue, OnlyTheSeverityWordOfTheErrorRecordCarriesTheBit0x100)
{
    EXPECT_EQ(syslog_msg_KOV_UNEXPECT.severity, 3u);
    EXPECT_EQ(msg_error_KOV_UNEXPECT.severity, 0x103u);
}

TEST(Catalogue, ThreeMessagesHaveNoFlagsAndTheOthersTen)
{
    std::vector<std::string> without;
    for (const Row &row : rows) {
        if (row.error->flags == 0)
            without.push_back(row.name);
        else
            EXPECT_EQ(row.error->flags, 10u) << row.name;
    }
    EXPECT_EQ(without, (std::vector<std::string>{"INITERR", "REGERR", "AUTO_CONF_REFRESH_ERROR"}));
}

TEST(Catalogue, TheRecordsLieInTheOrderOfTheTableSyslogFirstThenTheFacilityThenTheErrors)
{
    std::vector<const void *> expected;
    for (const Row &row : rows)
        expected.push_back(row.service ? static_cast<const void *>(row.service) : row.library);
    expected.push_back(&syslog_fac_LOG_KOV);
    for (const Row &row : rows)
        expected.push_back(row.error);
    ASSERT_EQ(expected.size(), 83u);
    for (std::size_t i = 1; i < expected.size(); ++i)
        EXPECT_LT(reinterpret_cast<uintptr_t>(expected[i - 1]), reinterpret_cast<uintptr_t>(expected[i]))
            << "record " << i;
}

#if __SIZEOF_POINTER__ == 4
// What a reader that knows nothing but rows of 32-bit words sees.
TEST(Catalogue, IsRowsOf32BitWordsWherePointersAre)
{
    for (const Row &row : rows) {
        uint32_t words[11];
        static_assert(sizeof words == sizeof *row.error);
        std::memcpy(words, row.error, sizeof words);
        const auto word_of = [](const void *p) {
            return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(p));
        };
        EXPECT_EQ(words[0], word_of(&msg_component_KOV)) << row.name;
        EXPECT_EQ(words[4], row.flags) << row.name;
        EXPECT_EQ(words[8], row.error_severity) << row.name;
        EXPECT_EQ(words[9], word_of(row.service)) << row.name;
        EXPECT_EQ(words[10], word_of(row.library)) << row.name;
        for (const std::size_t zero : {3u, 5u, 6u, 7u})
            EXPECT_EQ(words[zero], 0u) << row.name;
    }
}
#endif

} // namespace
