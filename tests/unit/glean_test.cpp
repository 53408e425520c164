// Gleans: when the server is told, what it is told, byte by byte, and what the caller is told.
#include "aggr_cache.h"
#include "no_texts.h"

#include <cerrno>

namespace
{

using fake::Bytes;
using fake::Call;

constexpr int ipv4 = 1, ipv6 = 0;
constexpr uint32_t svi = 0x09000010, port = 0x1A000105, vrf_id = 0x21222324, passed_through = 0xA1A2A3A4;
constexpr uint32_t other_mode = 1, proxy_with_route = 2, proxy_without_route = 0;

// What stands behind an IPv4 address.
const Bytes as_given = {0xE4, 0xE5, 0xE6, 0xE7, 0xE8, 0xE9, 0xEA, 0xEB, 0xEC, 0xED, 0xEE, 0xEF};

// An address as a glean hands it in: 16 bytes, of which IPv4 uses the first four, at an odd address.
fake::OddBlock host(const std::string &text)
{
    const Prefix prefix = text + "/0";
    Bytes bytes(prefix.record.prefix, prefix.record.prefix + 16);
    if (!prefix.family)
        std::copy(as_given.begin(), as_given.end(), bytes.begin() + 4);
    return fake::OddBlock(bytes);
}

Bytes bytes_of_host(const std::string &text)
{
    const fake::OddBlock block = host(text);
    return {block.data(), block.data() + 16};
}

const std::string route_exists = "Route exists with cond_flag 1, conv_flag 0, notify 1";
const std::string no_route = "Route doest not exist, notify ";
const std::string notified = "Successfully notified KOV about this active conversation";

class Glean : public AggrCache
{
protected:
    Glean()
    {
        platform.interfaces.add_vlan(svi, "vlan16");
        platform.interfaces.add_port(port, 1, 5, "eth2/6");
        platform.routes.vrf_names[vrf_id] = "red";
    }

    // A client whose register request is out of the way; its answers come from the cache or the database.
    void attach(std::initializer_list<uint32_t> mtypes = {4})
    {
        register_client(mtypes);
        platform.ipc.sent.clear();
        platform.calls.clear();
        clear_traces();
    }
    void publish_svi(uint32_t mode) { publish(svi_in_mode(svi, mode)); }
    void publish_conditional_routing(bool on)
    {
        kov_rdb_geninfo_t general = default_general_info();
        general.conv_learning = on;
        publish(general);
    }
    static uint32_t seen(int family, const fake::Route *rt, const std::string &dst, const std::string &src)
    {
        return kov_process_glean_notification(rt, vrf_id, port, passed_through, svi, family, host(dst).data(),
                                              host(src).data());
    }
    static uint32_t seen(const fake::Route *rt) { return seen(ipv4, rt, "10.1.2.3", "10.9.8.7"); }

    std::size_t sends() const { return platform.ipc.sent.size(); }

    const fake::Route conditional = {true, false};
};

// --------------------------------------------------------------------------------------------- the message

TEST_F(Glean, AnIpv4ConversationIsToldIn73Bytes)
{
    attach();
    EXPECT_EQ(seen(&conditional), other_mode);
    ASSERT_EQ(sends(), 1u);
    const fake::Send &sent = platform.ipc.sent.front();
    EXPECT_EQ(sent.handle, fake::Transport::handle);
    EXPECT_EQ(sent.node, 0xFE000000u);
    EXPECT_EQ(sent.sap, 1248u);
    EXPECT_EQ(sent.opcode, 0x3D404u);
    EXPECT_EQ(std::vector({sent.a, sent.b, sent.c}), (std::vector{0u, 0u, 0u}));
    EXPECT_EQ(sent.payload, joined({Bytes(24),
                                    {1},                      // family
                                    {0x24, 0x23, 0x22, 0x21}, // VRF
                                    {0x05, 0x01, 0x00, 0x1A}, // incoming interface
                                    {0xA4, 0xA3, 0xA2, 0xA1}, // passed through
                                    {0x10, 0x00, 0x00, 0x09}, // source interface
                                    {3, 2, 1, 10},
                                    as_given,
                                    {7, 8, 9, 10},
                                    as_given}));
}

TEST_F(Glean, AnIpv6ConversationCarriesBothAddressesWholeAndTheLowByteOfItsFamily)
{
    for (const int family : {0, 2, -1, 0x100, 0x1FE}) {
        attach();
        EXPECT_EQ(seen(family, &conditional, "2001:db8::42", "2001:db8::1"), other_mode);
        ASSERT_EQ(sends(), 1u);
        const Bytes &payload = platform.ipc.sent.front().payload;
        ASSERT_EQ(payload.size(), 73u);
        EXPECT_EQ(payload[24], static_cast<uint8_t>(family));
        EXPECT_EQ(Bytes(payload.begin() + 41, payload.begin() + 57), bytes_of_host("2001:db8::42"));
        EXPECT_EQ(Bytes(payload.begin() + 57, payload.end()), bytes_of_host("2001:db8::1"));
    }
}

TEST_F(Glean, ANullAddressStandsForSixteenZeroBytes)
{
    for (const int family : {ipv4, ipv6}) {
        attach();
        EXPECT_EQ(
            kov_process_glean_notification(&conditional, vrf_id, port, 0, svi, family, nullptr, nullptr),
            other_mode);
        ASSERT_EQ(sends(), 1u);
        const Bytes &payload = platform.ipc.sent.front().payload;
        EXPECT_EQ(Bytes(payload.begin() + 41, payload.end()), Bytes(32));
    }
    EXPECT_TRUE(
        traced("[IPv6] Received Glean msg in Vrf id: 0x21222324 for Dest ::, Src ::(vlan16), fwd mode "
               "Standard, iif eth2/6"));
}

// ---------------------------------------------------------------------------------------------- the traces

TEST_F(Glean, TheModeIsReadFirstAndEachStepIsTraced)
{
    publish_svi(2);
    attach();
    EXPECT_EQ(seen(&conditional), other_mode);
    const std::vector<std::string> mode_and_more = traces();
    ASSERT_GE(mode_and_more.size(), 4u);
    EXPECT_EQ(mode_and_more.front(), "Reading Forwarding mode for key: vlan16  from RDB");
    const std::vector<std::string> last(mode_and_more.end() - 3, mode_and_more.end());
    EXPECT_EQ(last, (std::vector<std::string>{
                        "[IPv4] Received Glean msg in Vrf id: 0x21222324 for Dest 10.1.2.3, Src "
                        "10.9.8.7(vlan16), fwd mode Anycast Gateway, iif eth2/6",
                        route_exists, notified}));
}

TEST_F(Glean, AnIpv6GleanPrintsItsAddressesAsSuch)
{
    attach();
    seen(ipv6, &conditional, "2001:db8::42", "2001:db8::1");
    EXPECT_TRUE(traced("[IPv6] Received Glean msg in Vrf id: 0x21222324 for Dest 2001:db8::42, Src "
                       "2001:db8::1(vlan16), fwd mode Standard, iif eth2/6"));
}

// ------------------------------------------------------------------------------------------ not attached

TEST_F(Glean, AClientThatIsNotAttachedTellsNobodyAndGetsOneWhateverTheMode)
{
    publish_svi(1);
    EXPECT_EQ(seen(&conditional), 1u);
    EXPECT_EQ(traces().back(), "kov_process_glean_notification(): Not registered with KOV api");
    EXPECT_EQ(platform.calls.count(Call::urib_route_is_cond_flag_set), 0u);
    EXPECT_EQ(platform.calls.count(Call::ipc_send), 0u);
}

TEST_F(Glean, WhileTheLibraryWaitsTheModeIsInvalidAndNothingIsTold)
{
    never_initialised();
    EXPECT_EQ(seen(nullptr), 1u);
    const std::string ignored = "API called even before KOV is enabled, ignore";
    const std::string glean = "[IPv4] Received Glean msg in Vrf id: 0x21222324 for Dest 10.1.2.3, Src "
                              "10.9.8.7(vlan16), fwd mode Invalid Fwd mode, iif eth2/6";
    expect_traces({ignored, "kov_get_fwd_mode(): Not initialized with KOV Api", glean, ignored,
                   "kov_process_glean_notification(): Not registered with KOV api"});
}

// --------------------------------------------------------------------------------------------- with a route

struct RouteCase {
    int family;
    fake::Route rt;
    const char *trace;
    bool told;
};

TEST_F(Glean, OfARouteTheServerIsToldWhenItIsConditionalAndNotConverted)
{
    const RouteCase cases[] = {
        {ipv4, {false, false}, "Route exists with cond_flag 0, conv_flag 0, notify 0", false},
        {ipv4, {false, true}, "Route exists with cond_flag 0, conv_flag 1, notify 0", false},
        {ipv4, {true, false}, "Route exists with cond_flag 1, conv_flag 0, notify 1", true},
        {ipv4, {true, true}, "Route exists with cond_flag 1, conv_flag 1, notify 0", false},
        {ipv6, {false, false}, "Route exists with cond_flag 0, conv_flag 0, notify 0", false},
        {ipv6, {false, true}, "Route exists with cond_flag 0, conv_flag 1, notify 0", false},
        {ipv6, {true, false}, "Route exists with cond_flag 1, conv_flag 0, notify 1", true},
        {ipv6, {true, true}, "Route exists with cond_flag 1, conv_flag 1, notify 0", false},
    };
    for (const RouteCase &c : cases) {
        attach();
        EXPECT_EQ(seen(c.family, &c.rt, "::1", "::2"), other_mode);
        EXPECT_TRUE(traced(c.trace)) << c.trace;
        EXPECT_EQ(sends(), c.told ? 1u : 0u) << c.trace;
        EXPECT_EQ(traced(notified), c.told);
        EXPECT_EQ(platform.calls.count(Call::urib_route_is_cond_flag_set), c.family == ipv4);
        EXPECT_EQ(platform.calls.count(Call::urib_route_is_conv_flag_set), c.family == ipv4);
        EXPECT_EQ(platform.calls.count(Call::u6rib_route_is_cond_flag_set), c.family != ipv4);
        EXPECT_EQ(platform.calls.count(Call::u6rib_route_is_conv_flag_set), c.family != ipv4);
        EXPECT_EQ(platform.calls.count(Call::vrfmgr_get_context_name), 0u);
    }
}

// ------------------------------------------------------------------------------------------ without a route

TEST_F(Glean, WithoutARouteTheServerIsToldOfADestinationInTheFabric)
{
    publish_conditional_routing(true);
    publish_prefix("red", "10.1.0.0/16");
    publish_prefix("red", "2001:db8::/32");
    attach();
    EXPECT_EQ(seen(nullptr), other_mode);
    EXPECT_EQ(sends(), 1u);
    EXPECT_TRUE(
        traced("(red) [IPv4] Aggregate-subnet-prefix lookup for 10.1.2.3/32 matched for 10.1.0.0/16"));
    EXPECT_TRUE(traced(no_route + "1"));
    EXPECT_EQ(seen(ipv6, nullptr, "2001:db8::42", "::1"), other_mode);
    EXPECT_EQ(sends(), 2u);
    EXPECT_TRUE(
        traced("(red) [IPv6] Aggregate-subnet-prefix lookup for 2001:db8::42/128 matched for 2001:db8::/32"));
}

TEST_F(Glean, WithoutARouteEveryFamilyBut1IsLookedUpAsIpv6)
{
    publish_conditional_routing(true);
    publish_prefix("red", "2001:db8::/32");
    for (const int family : {0, 2, -1, 0x100, 0x101}) {
        attach();
        EXPECT_EQ(seen(family, nullptr, "2001:db8::42", "::1"), other_mode);
        EXPECT_TRUE(traced("(red) [IPv6] Aggregate-subnet-prefix lookup for 2001:db8::42/128 matched for "
                           "2001:db8::/32"))
            << family;
        ASSERT_EQ(sends(), 1u) << family;
        EXPECT_EQ(platform.ipc.sent.front().payload[24], static_cast<uint8_t>(family));
    }
}

// Deliberate: a record that cannot be decoded reads as one of zeros, the default prefix, which holds
// everything.
TEST_F(Glean, WithoutARouteADamagedPrefixMakesTheServerHearOfEveryDestinationOfItsVrf)
{
    publish_conditional_routing(true);
    publish_bytes(prefix_key("red", 0, Prefix("10.1.0.0/16").record), {1, 2, 3});
    attach();
    EXPECT_EQ(seen(ipv4, nullptr, "200.1.2.3", "10.1.2.3"), other_mode);
    EXPECT_EQ(sends(), 1u);
    EXPECT_TRUE(traced("(red) [IPv4] Aggregate-subnet-prefix lookup for 200.1.2.3/32 matched for 0.0.0.0/0"));
}

TEST_F(Glean, WithoutARouteTheServerIsNotToldOfADestinationOutside)
{
    publish_conditional_routing(true);
    publish_prefix("red", "10.1.0.0/16");
    publish_prefix("violet", "10.2.0.0/16");
    attach();
    EXPECT_EQ(seen(ipv4, nullptr, "10.2.0.1", "10.1.2.3"), other_mode);
    EXPECT_EQ(sends(), 0u);
    EXPECT_TRUE(traced(no_route + "0"));
    EXPECT_FALSE(traced(notified));
}

TEST_F(Glean, WithoutARouteAndWithConditionalRoutingOffNothingIsAskedOrTold)
{
    publish_prefix("red", "10.1.0.0/16");
    for (const bool published : {false, true}) {
        if (published)
            publish_conditional_routing(false);
        attach();
        EXPECT_EQ(seen(nullptr), other_mode);
        EXPECT_EQ(sends(), 0u);
        EXPECT_EQ(traces().back(), no_route + "0");
        EXPECT_EQ(platform.calls.count(Call::vrfmgr_get_context_name), 0u);
        EXPECT_EQ(counters(4).rdb_hits, 0u);
    }
}

TEST_F(Glean, WithoutARouteTheAnswersComeFromTheCacheOfARegisteredClient)
{
    publish_conditional_routing(true);
    publish_svi(2);
    publish_prefix("red", "10.1.0.0/16");
    register_and_acknowledge({5, 8, 9});
    platform.db.clear();
    platform.ipc.sent.clear();
    EXPECT_EQ(seen(nullptr), other_mode);
    EXPECT_EQ(sends(), 1u);
    EXPECT_EQ(platform.db.reads(), 1u) << "the fill's own";
    EXPECT_EQ(counters(4).cache_hits, 1u);
}

TEST_F(Glean, AVrfWithoutANameOrWithOneThatIsTooLongHasNoPrefixes)
{
    publish_conditional_routing(true);
    publish_prefix("red", "0.0.0.0/0");
    attach();
    platform.routes.vrf_names.erase(vrf_id);
    EXPECT_EQ(seen(nullptr), other_mode);
    EXPECT_TRUE(traced("Invalid arg"));
    EXPECT_EQ(platform.calls.count(Call::osal_strcpy), 0u) << "there is no name to copy";
    for (const unsigned length : {34u, 35u, 100u}) {
        clear_traces();
        platform.routes.vrf_names[vrf_id] = std::string(length, 'v');
        EXPECT_EQ(seen(nullptr), other_mode);
        EXPECT_TRUE(traced("vrf name too long in kov_is_rt_conditional")) << length;
    }
    EXPECT_EQ(sends(), 0u);
}

TEST_F(Glean, AVrfNameOf33CharactersPassesTheTestAndIsNoRecords)
{
    const std::string longest(33, 'v');
    publish_conditional_routing(true);
    publish_prefix(longest.substr(1), "0.0.0.0/0");
    platform.routes.vrf_names[vrf_id] = longest;
    attach();
    EXPECT_EQ(seen(nullptr), other_mode);
    EXPECT_TRUE(traced("(" + longest + ") Done Walking aggregate-subnet-prefixes"));
    EXPECT_EQ(sends(), 0u);
}

// ----------------------------------------------------------------------------------------------- the result

TEST_F(Glean, TheResultSaysOfAProxyGatewayWhetherThereWasARouteAndNothingElse)
{
    publish_conditional_routing(true);
    publish_prefix("red", "10.1.0.0/16");
    const fake::Route plain;
    for (uint32_t mode = 0; mode <= 4; ++mode) {
        SCOPED_TRACE(mode);
        publish_svi(mode);
        attach();
        EXPECT_EQ(seen(&conditional), mode == 1 ? proxy_with_route : other_mode);
        EXPECT_EQ(seen(&plain), mode == 1 ? proxy_with_route : other_mode);
        EXPECT_EQ(seen(nullptr), mode == 1 ? proxy_without_route : other_mode);
        EXPECT_EQ(sends(), 2u) << "also a proxy gateway without a route has told the server";
        EXPECT_EQ(seen(ipv4, nullptr, "11.0.0.1", "10.1.2.3"), mode == 1 ? proxy_without_route : other_mode);
        EXPECT_EQ(sends(), 2u);
    }
}

TEST_F(Glean, WithoutMemoryNothingIsToldAndTheResultIsOneWhateverTheMode)
{
    publish_svi(1);
    attach();
    platform.calls.fail(Call::alloc);
    EXPECT_EQ(seen(&conditional), 1u);
    EXPECT_EQ(traces().back(), route_exists);
    EXPECT_EQ(platform.calls.count(Call::ipc_send), 0u);
}

// Deliberate: also after a failed send.
TEST_F(Glean, AFailedSendIsTracedAndFollowedByTheTraceOfSuccess)
{
    publish_svi(1);
    for (const int error : {0, EAGAIN, ECONNREFUSED}) {
        attach();
        platform.ipc.send_errno = error;
        platform.calls.fail(Call::ipc_send);
        EXPECT_EQ(seen(&conditional), proxy_with_route);
        const std::vector<std::string> all = traces();
        EXPECT_EQ((std::vector<std::string>(all.end() - 2, all.end())),
                  (std::vector<std::string>{"ipc glean notify ipc failed", notified}));
        EXPECT_EQ(platform.heap.live_blocks(), 0u);
    }
}

TEST_F(Glean, WithTracingOffNoAddressAndNoNameIsMadeAText)
{
    publish_conditional_routing(true);
    publish_svi(1);
    publish_prefix("red", "10.1.0.0/16");
    publish_prefix("red", "2001:db8::/32");
    attach();
    kov_api_vty_dbg_off("unit");
    for (const int family : {ipv4, ipv6}) {
        const bool v4 = family == ipv4;
        EXPECT_EQ(seen(family, &conditional, "::1", "::2"), proxy_with_route);
        EXPECT_EQ(seen(family, nullptr, v4 ? "10.1.2.3" : "2001:db8::42", "::2"), proxy_without_route);
        EXPECT_EQ(seen(family, nullptr, v4 ? "11.1.2.3" : "fe80::1", "::2"), proxy_without_route);
    }
    EXPECT_EQ(kov_is_rt_conditional("red", Prefix("10.1.2.3/32").record.prefix, 0), 1u);
    EXPECT_EQ(kov_is_rt_conditional("red", Prefix("fe80::1/128").record.prefix, 1), 0u);
    EXPECT_EQ(sends(), 4u);
    expect_no_texts();
}

TEST_F(Glean, EveryFailureOnTheWayIsSurvived)
{
    const unsigned failures = sweep([&] {
        platform.routes.vrf_names[vrf_id] = "red";
        platform.interfaces.add_vlan(svi, "vlan16");
        publish_svi(1);
        publish_conditional_routing(true);
        publish_prefix("red", "10.1.0.0/16");
        register_client({5, 8, 9});
        dispatch(2);
        seen(nullptr);
        seen(&conditional);
    });
    EXPECT_GT(failures, 15u);
}

} // namespace
