// Questions about one port, port tracking and port L2DCI: one suite, run for both.
#include "cache/slots.h"
#include "lab.h"

using fake::Call;

namespace
{

struct Tracking {
    using Record = kov_rdb_port_tracking_t;
    static constexpr uint32_t type = 3, mtype = 10, other_mtype = 20;
    static constexpr auto ask = kov_get_port_tracking;
    static constexpr auto apply = kov_cache_port_tracking;
    static constexpr const char *name = "kov_get_port_tracking";
    static constexpr const char *checking = "Checking for port tracking enabled on ";
    static constexpr const char *failed = "RDB port tracking RDB read failed for slot_num ";
    static constexpr const char *is_enabled = "Port tracking is enabled on ";
    static constexpr const char *is_not_enabled = "Port tracking is not enabled on ";
};

struct L2dci {
    using Record = kov_rdb_port_l2dci_t;
    static constexpr uint32_t type = 5, mtype = 20, other_mtype = 10;
    static constexpr auto ask = kov_get_port_l2dci;
    static constexpr auto apply = kov_cache_port_l2dci;
    static constexpr const char *name = "kov_get_port_l2dci";
    static constexpr const char *checking = "Checking for port l2dci enabled on ";
    static constexpr const char *failed = "RDB port l2dci RDB read failed for slot_num ";
    static constexpr const char *is_enabled = "Port l2dci is enabled on ";
    static constexpr const char *is_not_enabled = "Port l2dci is not enabled on ";
};

// eth3/7 stands in slot 2, port 6; the records call that slot 3, port 7.
constexpr uint32_t eth = 0x68000206, po = 0x58000014, vlan = 0x2400000A;

template <class Kind>
class PortQuery : public Lab
{
protected:
    using Record = typename Kind::Record;
    using Texts = std::vector<std::string>;

    PortQuery()
    {
        platform.interfaces.add_port(eth, 2, 6, "eth3/7");
        platform.interfaces.add_channel(po, 20, "po20");
        platform.interfaces.add_vlan(vlan, "vlan10");
        EXPECT_EQ(kov_api_init(), 1u);
        debug_on();
        clear_traces();
    }

    static Record with_ports(std::initializer_list<unsigned> ports, uint16_t num_bits = 256)
    {
        Record rec = {};
        rec.num_bits = num_bits;
        for (const unsigned port : ports)
            rec.port_bits[port / 8] = static_cast<uint8_t>(rec.port_bits[port / 8] | 1u << port % 8);
        return rec;
    }

    void stand_at(uint8_t slot, uint8_t port) { platform.interfaces.add_port(eth, slot, port, "eth"); }
    void be_channel(uint16_t number) { platform.interfaces.add_channel(po, number, "po"); }

    static std::string checking(const std::string &what) { return Kind::checking + what; }
    static std::string not_registered()
    {
        return std::string(Kind::name) +
               "(): Client unit has not registered for mtype: " + std::to_string(Kind::mtype) +
               ", doing an RDB based lookup";
    }
    static std::string nameless_not_registered()
    {
        return std::string(Kind::name) +
               "(): Client  has not registered for mtype: " + std::to_string(Kind::mtype) +
               ", doing an RDB based lookup";
    }
    static std::string looking_up(const char *where)
    {
        return std::string("Doing ") + where + " based lookup for " + std::to_string(Kind::type);
    }
    static std::string no_place(const std::string &interface, const std::string &place,
                                const std::string &status)
    {
        return std::string(Kind::name) + "(): Unable to retrieve " + interface + " ifindex slot/port (" +
               place + "), status error " + status;
    }
};

using Kinds = testing::Types<Tracking, L2dci>;

struct KindNames {
    template <class Kind>
    static std::string GetName(int)
    {
        return Kind::type == 3 ? "PortTracking" : "PortL2dci";
    }
};
TYPED_TEST_SUITE(PortQuery, Kinds, KindNames);

// -------------------------------------------------------------------------- which source answers, and what

struct GateCase {
    bool registered, cached, updating;
    bool in_database, in_cache;
};

std::vector<GateCase> all_gate_cases()
{
    std::vector<GateCase> cases;
    for (unsigned bits = 0; bits < 32; ++bits)
        cases.push_back(
            {(bits & 1) != 0, (bits & 2) != 0, (bits & 4) != 0, (bits & 8) != 0, (bits & 16) != 0});
    return cases;
}

std::ostream &operator<<(std::ostream &out, const GateCase &c)
{
    return out << (c.registered ? "registered, " : "not registered, ") << (c.cached ? "cached, " : "")
               << (c.updating ? "updating, " : "") << (c.in_database ? "in the database, " : "")
               << (c.in_cache ? "in the cache" : "");
}

TYPED_TEST(PortQuery, IsAnsweredFromTheCacheOnlyWhenRegisteredAndCachedAndNotBeingUpdated)
{
    for (const GateCase &c : all_gate_cases()) {
        // The database says that the port is on, the cache that it is off, or the other way round.
        for (const bool on_in_cache : {false, true}) {
            SCOPED_TRACE(testing::Message() << c << (on_in_cache ? ", on there" : ""));
            const auto on = this->with_ports({7}), off = this->with_ports({6, 8});
            this->platform.db.clear();
            kov_api_close();
            kov_api_init();
            this->register_client({c.registered ? TypeParam::mtype : TypeParam::other_mtype});
            const auto &in_cache = on_in_cache ? on : off;
            if (c.in_cache)
                TypeParam::apply(&in_cache, 3);
            if (c.in_database)
                this->publish(3, on_in_cache ? off : on);
            kov_cache_desc &desc = kov_api.cache[TypeParam::type];
            desc.cached = c.cached;
            desc.updating = c.updating;
            this->clear_traces();

            const bool from_cache = c.registered && c.cached && !c.updating;
            const bool found = from_cache ? c.in_cache : c.in_database;
            const bool answer = found && (from_cache == on_in_cache);
            EXPECT_EQ(TypeParam::ask(eth), answer);

            Counters expected = {.cached = c.cached, .updating = c.updating};
            (from_cache ? expected.cache_hits : expected.rdb_hits) = 1;
            expected.update_hits = !from_cache && c.updating;
            if (c.in_cache)
                expected.allocs = 1, expected.bytes = 35, expected.data = true;
            this->expect_all_counters({{TypeParam::type, expected}});

            std::vector<std::string> texts = {this->checking("eth3/7")};
            if (!c.registered)
                texts.push_back(this->not_registered());
            texts.push_back(this->looking_up(from_cache ? "Cache" : "RDB"));
            if (found)
                texts.push_back(this->checking(answer ? "7 in 7" : "7 in 6,8"));
            texts.push_back((answer ? TypeParam::is_enabled : TypeParam::is_not_enabled) +
                            std::string("eth3/7"));
            this->expect_traces(texts);
            desc.updating = 0;
        }
    }
}

TYPED_TEST(PortQuery, OfAClientThatHasNotRegisteredReadsTheDatabaseAlsoWhenTheCacheIsFilled)
{
    this->register_and_acknowledge({TypeParam::mtype});
    this->publish(3, this->with_ports({7}));
    EXPECT_EQ(TypeParam::ask(eth), 0u);
    kov_api.mtype_mask = 0;
    EXPECT_EQ(TypeParam::ask(eth), 1u);
}

// ------------------------------------------------------------------------------------------------ refusals

TYPED_TEST(PortQuery, WithoutAnInitialisedLibraryIsZero)
{
    kov_api_close();
    kov_api_wait_for_init = 1;
    this->clear_traces();
    const std::string ignored = "API called even before KOV is enabled, ignore";
    const std::string refused = std::string(TypeParam::name) + "(): Not initialized with KOV Api";
    EXPECT_EQ(TypeParam::ask(eth), 0u);
    EXPECT_EQ(TypeParam::ask(0), 0u);
    this->expect_traces({ignored, refused, ignored, refused});
}

TYPED_TEST(PortQuery, OfInterfaceZeroIsZero)
{
    EXPECT_EQ(TypeParam::ask(0), 0u);
    this->expect_traces({std::string(TypeParam::name) + "(): Invalid if_index"});
    EXPECT_EQ(this->platform.calls.count(Call::if_index_get_type), 0u);
    this->expect_all_counters({});
}

TYPED_TEST(PortQuery, OfAnythingButAPortOrAPortChannelIsZero)
{
    EXPECT_EQ(TypeParam::ask(vlan), 0u);
    EXPECT_EQ(TypeParam::ask(0x12345678), 0u);
    this->platform.calls.fail(Call::if_index_get_type);
    EXPECT_EQ(TypeParam::ask(eth), 0u);
    this->expect_traces({"vlan10 is not a physical port/PCM", "- is not a physical port/PCM",
                         "eth3/7 is not a physical port/PCM"});
    this->expect_all_counters({});
}

TYPED_TEST(PortQuery, OfAPlaceThatCannotBeFoundIsZeroAndTellsHowFarItCame)
{
    const struct {
        const char *what;
        uint32_t ifindex;
        uint8_t slot, port;
        uint16_t channel;
        Call fails;
        std::string place, status;
    } cases[] = {
        {"slot fails", eth, 2, 6, 0, Call::if_index_get_slot, "0/0", "19"},
        {"port fails", eth, 2, 6, 0, Call::if_index_get_port, "2/0", "19"},
        {"channel fails", po, 0, 0, 20, Call::if_index_port_channel_get_fields, "0/0", "19"},
        {"slot 156", eth, 156, 6, 0, Call::osal_rdb_close, "156/6", "-1"},
        {"slot 255", eth, 255, 6, 0, Call::osal_rdb_close, "255/6", "-1"},
        {"port 255", eth, 2, 255, 0, Call::osal_rdb_close, "2/255", "-1"},
        {"the 99th slot of channels", po, 0, 0, 25245, Call::osal_rdb_close, "255/0", "-1"},
        {"its end", po, 0, 0, 25499, Call::osal_rdb_close, "255/254", "-1"},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        this->stand_at(c.slot, c.port);
        this->be_channel(c.channel);
        this->platform.calls.fail(c.fails);
        this->clear_traces();
        EXPECT_EQ(TypeParam::ask(c.ifindex), 0u);
        this->expect_traces({this->no_place(c.ifindex == eth ? "eth" : "po", c.place, c.status)});
        this->platform.calls.mend();
    }
    this->expect_all_counters({});
    EXPECT_EQ(this->platform.db.reads(), 0u);
}

// ------------------------------------------------------------------------------------------- slots and ports

TYPED_TEST(PortQuery, ReadsTheRecordOfTheSlotOneAboveAndTestsThePortOneAbove)
{
    const struct {
        const char *what;
        uint32_t ifindex;
        uint8_t slot, port;
        uint16_t channel;
        uint8_t record_slot;
        unsigned record_port;
    } cases[] = {
        {"the first port", eth, 0, 0, 0, 1, 1},
        {"the last port", eth, 155, 254, 0, 156, 255},
        {"slot 155", eth, 155, 6, 0, 156, 7},
        {"channel 0", po, 0, 0, 0, 157, 1},
        {"channel 254", po, 0, 0, 254, 157, 255},
        {"channel 255", po, 0, 0, 255, 158, 1},
        {"channel 25244", po, 0, 0, 25244, 255, 255},
        {"channel 25500, on a physical slot", po, 0, 0, 25500, 1, 1},
        {"channel 65279, on the last physical slot", po, 0, 0, 65279, 156, 255},
        {"channel 65535", po, 0, 0, 65535, 158, 1},
    };
    for (const auto &c : cases) {
        SCOPED_TRACE(c.what);
        this->stand_at(c.slot, c.port);
        this->be_channel(c.channel);
        this->platform.db.clear();
        this->publish(c.record_slot, this->with_ports({c.record_port}));
        EXPECT_EQ(TypeParam::ask(c.ifindex), 1u);
        this->publish(c.record_slot, this->with_ports({c.record_port - 1}));
        EXPECT_EQ(TypeParam::ask(c.ifindex), 0u);
    }
}

TYPED_TEST(PortQuery, AcceptsBothTypesOfPhysicalPort)
{
    this->publish(3, this->with_ports({7}));
    this->platform.interfaces.by_index[eth].type = 31;
    EXPECT_EQ(TypeParam::ask(eth), 1u);
}

TYPED_TEST(PortQuery, TellsEveryPortOfASlotApart)
{
    typename TestFixture::Record rec = this->with_ports({});
    for (unsigned i = 0; i < 32; ++i)
        rec.port_bits[i] = static_cast<uint8_t>(0x35 * i + 0x1D);
    this->publish(3, rec);
    for (unsigned port = 0; port <= 254; ++port) {
        this->stand_at(2, static_cast<uint8_t>(port));
        const unsigned bit = port + 1;
        EXPECT_EQ(TypeParam::ask(eth), (rec.port_bits[bit / 8] >> bit % 8 & 1u)) << port;
    }
}

TYPED_TEST(PortQuery, OfAPortBehindTheValidBitsIsZero)
{
    for (const uint16_t num_bits : std::initializer_list<uint16_t>{0, 1, 7, 8, 256}) {
        SCOPED_TRACE(num_bits);
        this->publish(3, this->with_ports({1, 6, 7, 8}, num_bits));
        EXPECT_EQ(TypeParam::ask(eth), num_bits > 7);
    }
}

// ---------------------------------------------------------------------------- a record that cannot be read

TYPED_TEST(PortQuery, OfARecordWithMoreBitsThanASlotHasIsACopyFailure)
{
    for (const uint16_t num_bits : std::initializer_list<uint16_t>{257, 264, 65535}) {
        SCOPED_TRACE(num_bits);
        this->publish(3, this->with_ports({7}, num_bits));
        this->clear_traces();
        EXPECT_EQ(TypeParam::ask(eth), 0u);
        this->expect_traces({this->checking("eth3/7"), this->nameless_not_registered(),
                             this->looking_up("RDB"), TypeParam::failed + std::string("3")});
        EXPECT_EQ(this->platform.heap.live_blocks(), 0u);
    }
}

TYPED_TEST(PortQuery, WithoutABitSetIsACopyFailureToo)
{
    this->publish(3, this->with_ports({7}));
    for (const Call call : {Call::bitfield_create, Call::bitfield_copy_in, Call::alloc}) {
        SCOPED_TRACE(fake::name_of(call));
        this->platform.calls.fail(call);
        this->clear_traces();
        EXPECT_EQ(TypeParam::ask(eth), 0u);
        this->expect_traces({this->checking("eth3/7"), this->nameless_not_registered(),
                             this->looking_up("RDB"), TypeParam::failed + std::string("3")});
        this->platform.calls.mend();
        EXPECT_EQ(this->platform.heap.live_blocks(), 0u);
    }
    EXPECT_EQ(TypeParam::ask(eth), 1u);
}

TYPED_TEST(PortQuery, OfADamagedRecordIsZero)
{
    this->publish_bytes(this->slot_key(TypeParam::type, 3), {9, 9, 9});
    EXPECT_EQ(TypeParam::ask(eth), 0u);
    EXPECT_TRUE(this->traced(this->checking("7 in none")));
    EXPECT_TRUE(this->traced(TypeParam::is_not_enabled + std::string("eth3/7")));
}

TYPED_TEST(PortQuery, GivesItsBitSetBackAfterEveryAnswer)
{
    this->publish(3, this->with_ports({7}));
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(TypeParam::ask(eth), 1u);
    EXPECT_EQ(this->platform.heap.live_blocks(), 0u);
}

TYPED_TEST(PortQuery, OpensTheLibraryWhenThatHasNotHappenedYet)
{
    kov_api_close();
    this->publish(3, this->with_ports({7}));
    EXPECT_EQ(TypeParam::ask(eth), 1u);
    EXPECT_EQ(kov_api.initialized, 1u);
}

TEST_F(Lab, ThePortsOfOneKindSayNothingAboutTheOthers)
{
    platform.interfaces.add_port(eth, 2, 6, "eth3/7");
    kov_rdb_port_tracking_t rec = {};
    rec.num_bits = 8;
    rec.port_bits[0] = 0x80;
    publish(3, rec);
    EXPECT_EQ(kov_get_port_tracking(eth), 1u);
    EXPECT_EQ(kov_get_port_l2dci(eth), 0u);
    expect_all_counters({{3, {.rdb_hits = 1}}, {5, {.rdb_hits = 1}}});
}

} // namespace
