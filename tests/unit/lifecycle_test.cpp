// Opening and closing the library: what is set, what stays, and in which order the platform is asked.
#include "lab.h"

#include <algorithm>
#include <cstring>

namespace
{

using fake::Call;

const char *const uri = "fake://running/0/kov_rdb_info";

class Lifecycle : public Lab
{
protected:
    static kov_rdb_geninfo_t general(uint32_t fabric)
    {
        kov_rdb_geninfo_t record = {};
        kov_rdb_geninfo_default_init(&record);
        record.fabric_id = fabric;
        return record;
    }

    // Numbers in every field that initialisation resets, and in every field that it leaves.
    static void fill_context()
    {
        kov_api.word_2 = 2;
        kov_api.debug_enabled = 1;
        kov_api.ipc_handle = 4;
        kov_api.sap = 5;
        kov_api.uuid = 6;
        std::strcpy(kov_api.client_name, "seven");
        kov_api.registration_done = 8;
        kov_api.ack_pending = 9;
        kov_api.mtype_mask = 10;
        kov_api.cache_enabled = 11;
        kov_api.profile_key_count = 12;
        kov_api.profile_msg_len = 13;
        kov_api.profile_key_read = 14;
        kov_api.profile_msg = &kov_api; // never read: only forgotten
        kov_api.notify_callback = handler;
        for (kov_cache_desc &desc : kov_api.cache)
            desc = {1, 2, 3, 4, 5, 6, 7, nullptr};
        kov_api.vrf_count = 20;
        kov_api.vrf_bytes = 21;
        kov_api.profile_test_uuid = 22;
        kov_api.profile_cb_registered = 23;
        kov_api.profile_resp_cb = kov_api.profile_check_cb =
            kov_api.profile_clear_cb = [](auto...) -> uint32_t { return 0; };
    }

    // The calls that open or close something, in order.
    std::vector<Call> openings() const
    {
        std::vector<Call> all;
        for (const Call call : platform.calls.log())
            if (call == Call::svcmgr_running_cfg_uri_get || call == Call::svcmgr_uri_complete ||
                call == Call::osal_rdb_open || call == Call::osal_rdb_close || call == Call::oak_init_new ||
                call == Call::svcmgr_uuid_get)
                all.push_back(call);
        return all;
    }
};

// ------------------------------------------------------------------------------------------------- opening

TEST_F(Lifecycle, NothingRunsBeforeTheFirstCall)
{
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_EQ(kov_rdb_lib_handle, nullptr);
    EXPECT_TRUE(platform.calls.log().empty());
}

TEST_F(Lifecycle, AQueryBeforeAnythingElseOpensTheLibraryAndIsAnswered)
{
    publish(general(77));
    EXPECT_EQ(kov_get_fabric_id(), 77u);
    EXPECT_EQ(kov_api.initialized, 1u);
    EXPECT_TRUE(platform.db.opened(uri));
}

TEST_F(Lifecycle, OpeningAsksForTheUriAndOpensThatDatabase)
{
    EXPECT_EQ(kov_api_init(), 1u);
    EXPECT_EQ(openings(), (std::vector{Call::svcmgr_running_cfg_uri_get, Call::svcmgr_uri_complete,
                                       Call::osal_rdb_open, Call::svcmgr_uuid_get, Call::oak_init_new}));
    EXPECT_TRUE(platform.db.opened(uri));
}

TEST_F(Lifecycle, TheDescriptorNamesTheOpenDatabase)
{
    EXPECT_EQ(kov_api_init(), 1u);
    ASSERT_NE(kov_rdb_lib_handle, nullptr);
    EXPECT_STREQ(kov_rdb_lib_handle->name, "kov_rdb_info");
    EXPECT_STREQ(kov_rdb_lib_handle->uri, uri);
    EXPECT_EQ(kov_rdb_lib_handle->mode, 2u);
    for (const uint32_t word : kov_rdb_lib_handle->word)
        EXPECT_EQ(word, 0u);
}

TEST_F(Lifecycle, ALongestUriFitsTheDescriptorAndIsTheOneThatIsClosed)
{
    const std::string longest(255 - std::strlen("/0/kov_rdb_info"), 'u');
    platform.system.running_uri = longest;
    EXPECT_EQ(kov_api_init(), 1u);
    EXPECT_EQ(kov_rdb_lib_handle->uri, longest + "/0/kov_rdb_info");
    EXPECT_EQ(kov_api_close(), 1u);
    EXPECT_FALSE(platform.db.is_open());
}

TEST_F(Lifecycle, OpeningResetsTheContextButForWhatOutlivesIt)
{
    fill_context();
    platform.debug.check_answer = 0;
    EXPECT_EQ(kov_api_init(), 1u);

    EXPECT_EQ(kov_api.initialized, 1u);
    EXPECT_EQ(kov_api.word_2, 0u);
    EXPECT_EQ(kov_api.ipc_handle, -1);
    EXPECT_EQ(kov_api.uuid, fake::System::uuid);
    EXPECT_EQ(kov_api.registration_done, 0u);
    EXPECT_EQ(kov_api.ack_pending, 0u);
    EXPECT_EQ(kov_api.cache_enabled, 0u);
    EXPECT_EQ(kov_api.profile_key_count, 0);
    EXPECT_EQ(kov_api.profile_msg_len, 0u);
    EXPECT_EQ(kov_api.profile_key_read, 0);
    EXPECT_EQ(kov_api.profile_msg, nullptr);
    EXPECT_EQ(kov_api.notify_callback, nullptr);
    EXPECT_EQ(kov_api.fabric_ctrl_svi, nullptr);
    expect_all_counters({});

    EXPECT_EQ(kov_api.debug_enabled, 1u);
    EXPECT_EQ(kov_api.sap, 5);
    EXPECT_STREQ(kov_api.client_name, "seven");
    EXPECT_EQ(kov_api.mtype_mask, 10u);
    EXPECT_EQ(counters(0), (Counters{1, 2, 3, 4, 5, 6, 7}));
    EXPECT_EQ(kov_api.vrf_count, 20u);
    EXPECT_EQ(kov_api.vrf_bytes, 21u);
    EXPECT_EQ(kov_api.profile_test_uuid, 22u);
    EXPECT_EQ(kov_api.profile_cb_registered, 23u);
    EXPECT_NE(kov_api.profile_resp_cb, nullptr);
    EXPECT_NE(kov_api.profile_check_cb, nullptr);
    EXPECT_NE(kov_api.profile_clear_cb, nullptr);
    kov_api.vrf_count = kov_api.vrf_bytes = 0;
}

TEST_F(Lifecycle, OpeningTwiceDoesNotResetTheSecondTime)
{
    EXPECT_EQ(kov_api_init(), 1u);
    kov_api.uuid = 1;
    kov_api.ipc_handle = 2;
    kov_api.cache[3].rdb_hits = 4;
    const std::size_t calls = platform.calls.log().size();
    EXPECT_EQ(kov_api_init(), 1u);
    EXPECT_EQ(kov_api_initialized(), 1u);
    EXPECT_EQ(kov_api.uuid, 1u);
    EXPECT_EQ(kov_api.ipc_handle, 2);
    EXPECT_EQ(kov_api.cache[3].rdb_hits, 4u);
    EXPECT_EQ(platform.calls.log().size(), calls);
}

// Deliberate: the triple l is part of the text.
TEST_F(Lifecycle, TheTripleLIsPartOfTheText)
{
    debug_on();
    EXPECT_EQ(kov_api_initialized(), 1u);
    ASSERT_FALSE(traces().empty());
    EXPECT_EQ(traces()[0], "API callled even before KOV is enabled, do init");
}

TEST_F(Lifecycle, OpeningIsTracedAndTheOpenLibraryIsSilent)
{
    debug_on();
    EXPECT_EQ(kov_api_initialized(), 1u);
    expect_traces({"API callled even before KOV is enabled, do init", "KOV Api successfully initialized"});
    clear_traces();
    EXPECT_EQ(kov_api_initialized(), 1u);
    EXPECT_EQ(kov_api_init(), 1u);
    expect_traces({});
}

TEST_F(Lifecycle, EveryOpeningStartsItsCountersAtZero)
{
    kov_get_fabric_id();
    expect_all_counters({{KOV_RDB_GENINFO, {.rdb_hits = 1}}});
    kov_api_close();
    EXPECT_EQ(kov_api_init(), 1u);
    expect_all_counters({});
}

// ------------------------------------------------------------------------------------------ failing to open

struct OpenFailure {
    Call call;
    const char *trace;
};

const OpenFailure open_failures[] = {
    {Call::svcmgr_running_cfg_uri_get, "svcmgr_uri_complete failed"},
    {Call::svcmgr_uri_complete, "svcmgr_uri_complete failed"},
    {Call::osal_rdb_open, "osal_rdb_open() failed for uri fake://running/0/kov_rdb_info"},
};

TEST_F(Lifecycle, AFailureToOpenLeavesTheContextAsItWasAndTheNextCallTriesAgain)
{
    fill_context();
    debug_on();
    for (const OpenFailure &failure : open_failures) {
        SCOPED_TRACE(fake::name_of(failure.call));
        const fake::Bytes before = context_bytes();
        clear_traces();
        platform.calls.fail(failure.call);
        EXPECT_EQ(kov_api_init(), 0u);
        expect_traces({failure.trace});
        EXPECT_EQ(context_bytes(), before);
        EXPECT_EQ(kov_rdb_lib_handle, nullptr);
        EXPECT_FALSE(platform.db.is_open());
    }
    EXPECT_EQ(kov_api_initialized(), 1u);
    kov_api.vrf_count = kov_api.vrf_bytes = 0;
}

TEST_F(Lifecycle, AFailedReopeningKeepsTheDescriptorOfTheClosedDatabase)
{
    EXPECT_EQ(kov_api_init(), 1u);
    const osal_rdb_desc *const closed = kov_rdb_lib_handle;
    EXPECT_EQ(kov_api_close(), 1u);
    platform.db.refuse_open = true;
    EXPECT_EQ(kov_api_initialized(), 0u);
    EXPECT_EQ(kov_rdb_lib_handle, closed);
    EXPECT_STREQ(closed->uri, uri);
}

// -------------------------------------------------------------------------------------- being told to wait

TEST_F(Lifecycle, AHostThatWaitsKeepsEveryCallFromOpening)
{
    kov_api_wait_for_init = 1;
    debug_on();
    EXPECT_EQ(kov_api_initialized(), 0u);
    expect_traces({"API called even before KOV is enabled, ignore"});
    clear_traces();

    const uint32_t types[KOV_MTYPE_LIST_LENGTH] = {4};
    EXPECT_EQ(kov_is_client_attached(), 0u);
    EXPECT_EQ(kov_is_client_registration_done(), 0u);
    EXPECT_EQ(kov_register_client(fake::Transport::handle, "c", types, handler), 0u);
    EXPECT_EQ(kov_deregister_client(), 0u);
    EXPECT_EQ(kov_is_mtype_not_registered(4, "f"), 1u);
    EXPECT_EQ(dispatch(2), 0u);
    EXPECT_EQ(kov_api_enable_cache(), 0);
    EXPECT_EQ(kov_api_disable_cache(), 1u);
    EXPECT_EQ(kov_cache_rdb_geninfo(1, nullptr), 0u);
    EXPECT_EQ(kov_clear_cache_rdb_geninfo(1, nullptr), 0u);
    EXPECT_EQ(kov_get_fabric_id(), 0u);
    EXPECT_EQ(kov_get_fwd_mode(1), 4u);
    EXPECT_EQ(kov_api_close(), 0u);

    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_TRUE(openings().empty());
    EXPECT_TRUE(platform.ipc.sent.empty());
    EXPECT_FALSE(traced("API callled even before KOV is enabled, do init"));
}

TEST_F(Lifecycle, AnyNonZeroFlagMeansWait)
{
    for (const uint32_t flag : {1u, 2u, 0x80000000u, UINT32_MAX}) {
        kov_api_wait_for_init = flag;
        EXPECT_EQ(kov_api_initialized(), 0u) << flag;
    }
}

// Deliberate: only the first use waits; a process that opens the library itself is not held back.
TEST_F(Lifecycle, OnlyTheFirstUseWaitsAProcessThatOpensTheLibraryItselfIsNotHeldBack)
{
    kov_api_wait_for_init = 1;
    EXPECT_EQ(kov_api_init(), 1u);
    EXPECT_EQ(kov_api_initialized(), 1u);
}

// ------------------------------------------------------------------------------------------------- closing

TEST_F(Lifecycle, ClosingAClosedLibraryGives0AndDoesNothing)
{
    debug_on();
    EXPECT_EQ(kov_api_close(), 0u);
    expect_traces({});
    EXPECT_EQ(kov_api_init(), 1u);
    EXPECT_EQ(kov_api_close(), 1u);
    EXPECT_EQ(kov_api_close(), 0u);
    EXPECT_EQ(platform.calls.count(Call::osal_rdb_close), 1u);
}

TEST_F(Lifecycle, ClosingWithoutARegistrationSaysSo)
{
    EXPECT_EQ(kov_api_init(), 1u);
    debug_on();
    EXPECT_EQ(kov_api_close(), 1u);
    expect_traces(
        {"kov_api_disable_cache(): Not registered with KOV api", "KOV Api successfully de-initialized"});
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_FALSE(platform.db.is_open());
}

TEST_F(Lifecycle, ClosingEmptiesTheCachesAndKeepsTheClient)
{
    publish(general(77));
    register_and_acknowledge({4});
    expect_counters(KOV_RDB_GENINFO, {.cached = 1, .rdb_hits = 1, .allocs = 1, .bytes = 181, .data = true});
    platform.ipc.sent.clear();
    EXPECT_EQ(kov_api_close(), 1u);

    expect_all_counters({{KOV_RDB_GENINFO, {.rdb_hits = 1}}});
    EXPECT_EQ(kov_api.cache_enabled, 0u);
    EXPECT_STREQ(kov_api.client_name, "unit");
    EXPECT_EQ(kov_api.mtype_mask, 1u << 4);
    EXPECT_EQ(kov_api.ipc_handle, fake::Transport::handle);
    EXPECT_EQ(kov_api.sap, fake::Transport::sap);
    EXPECT_EQ(kov_api.registration_done, 1u);
    EXPECT_NE(kov_rdb_lib_handle, nullptr);
    EXPECT_TRUE(platform.ipc.sent.empty()) << "closing does not deregister";
}

// Deliberate: the database goes first; the clears that follow still read it, and find nothing.
TEST_F(Lifecycle, TheDatabaseGoesFirstTheClearsThatFollowStillReadItAndFindNothing)
{
    kov_rdb_sviinfo_t control = {};
    control.svi_ifindex = 100;
    control.fwd_mode = KOV_FWD_MODE_ANYCAST_GATEWAY;
    control.is_fabric_ctrl_seg = control.is_up = control.vaddr_bound = 1;
    control.v4_prefix.addr = 0x0A000001;
    publish(control);
    publish(general(77));
    register_and_acknowledge({9});
    ASSERT_NE(kov_api.fabric_ctrl_svi, nullptr);
    kov_clear_cache_rdb_geninfo(1, nullptr); // the control SVI's clear will want it back
    platform.calls.clear();
    EXPECT_EQ(kov_api_close(), 1u);

    const std::vector<Call> &log = platform.calls.log();
    const auto closed = std::find(log.begin(), log.end(), Call::osal_rdb_close);
    const auto read = std::find(log.begin(), log.end(), Call::osal_rdb_read);
    ASSERT_NE(closed, log.end());
    ASSERT_NE(read, log.end());
    EXPECT_LT(closed - log.begin(), read - log.begin());
    EXPECT_EQ(platform.leaks(), fake::Leaks());
    EXPECT_EQ(counters(KOV_RDB_GENINFO).data, false);
}

TEST_F(Lifecycle, ADatabaseThatDoesNotCloseDoesNotStopTheClosing)
{
    EXPECT_EQ(kov_api_init(), 1u);
    platform.calls.fail(Call::osal_rdb_close);
    EXPECT_EQ(kov_api_close(), 1u);
    EXPECT_EQ(kov_api.initialized, 0u);
}

TEST_F(Lifecycle, ALibraryThatWasClosedOpensAgainUnattached)
{
    register_and_acknowledge({4});
    EXPECT_EQ(kov_api_close(), 1u);
    EXPECT_EQ(kov_is_client_attached(), 0u);
    EXPECT_EQ(kov_api.initialized, 1u);
    EXPECT_EQ(kov_is_client_registration_done(), 0u);
    EXPECT_EQ(kov_api.mtype_mask, 1u << 4);
    EXPECT_EQ(kov_api.notify_callback, nullptr);
    EXPECT_TRUE(platform.db.opened(uri));
}

TEST_F(Lifecycle, OpeningAndClosingManyTimesHoldsNothing)
{
    for (int i = 0; i < 100; ++i) {
        EXPECT_EQ(kov_api_init(), 1u);
        EXPECT_EQ(kov_api_close(), 1u);
    }
    EXPECT_EQ(platform.leaks(), fake::Leaks());
    EXPECT_FALSE(platform.db.is_open());
}

// ---------------------------------------------------------------------------------- the host's own objects

TEST_F(Lifecycle, TheHostsOwnObjectsAreNeverTouched)
{
    static_assert(sizeof filter_name1 == 50 && sizeof filter_name2 == 50 && sizeof filter_name3 == 50);
    kov_debug_log_to_file = 1;
    kov_enable_log_to_file = 2;
    kov_vault_handle = &kov_api;
    ddb_ipcops_ix_t = 4;
    for (char *const name : {filter_name1, filter_name2, filter_name3})
        std::memset(name, 'x', 50);

    debug_on();
    register_and_acknowledge({4, 9});
    kov_get_fabric_id();
    kov_deregister_client();
    kov_api_close();

    EXPECT_EQ(kov_debug_log_to_file, 1u);
    EXPECT_EQ(kov_enable_log_to_file, 2u);
    EXPECT_EQ(kov_vault_handle, &kov_api);
    EXPECT_EQ(ddb_ipcops_ix_t, 4u);
    for (const char *const name : {filter_name1, filter_name2, filter_name3})
        EXPECT_EQ(std::string(name, 50), std::string(50, 'x'));

    kov_debug_log_to_file = kov_enable_log_to_file = ddb_ipcops_ix_t = 0;
    kov_vault_handle = nullptr;
    for (char *const name : {filter_name1, filter_name2, filter_name3})
        std::memset(name, 0, 50);
}

TEST_F(Lifecycle, TheDecodeBufferIs8192Bytes) { EXPECT_EQ(sizeof kov_api_tlv_buf, 8192u); }

} // namespace
