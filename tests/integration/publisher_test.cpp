// What stands in the database, key by key: read back through the platform's calls, as a client would.
#include "publisher.h"
#include "real_lab.h"

#include <kov/kov_codec.h>
#include <kov/platform/rdb.h>
#include <kov_host.h>

#include <cstring>

namespace
{

using namespace kov_lab;

class Published : public integration::RealLab
{
protected:
    Published()
    {
        std::string why;
        std::filesystem::create_directory(runtime());
        publisher_ = Publisher::open(runtime(), false, why);
        EXPECT_NE(publisher_, nullptr) << why;
        std::snprintf(db_.uri, sizeof db_.uri, "kov-host:%s", path("run/kov_rdb_info").c_str());
    }
    ~Published() override { osal_rdb_close(db_.uri); }

    void publish(const std::string &text)
    {
        Scenario scenario;
        std::vector<std::string> mistakes;
        ASSERT_TRUE(load_scenario(write("scenario.json", text), scenario, mistakes)) << mistakes.front();
        std::string why;
        ASSERT_TRUE(publisher_->publish(scenario, why)) << why;
        ASSERT_NE(osal_rdb_open(db_.uri, 0), 0) << db_.uri;
    }
    void change(const std::vector<Edit> &edits)
    {
        std::string why;
        EXPECT_TRUE(publisher_->change(edits, why)) << why;
    }
    // The record under the key, decoded; nothing when there is none.
    template <typename Record>
    std::optional<Record> read(const kov_rdb_key &key, int (*decode)(const void *, std::uint32_t, Record *))
    {
        const void *tlv = nullptr;
        std::uint32_t size = 0;
        Record record{};
        if (osal_rdb_read(&db_, &key, sizeof key, &tlv, &size) == 0)
            return std::nullopt;
        EXPECT_EQ(decode(tlv, size, &record), 0);
        return record;
    }
    std::size_t count()
    {
        kov_rdb_key key{};
        const void *next = &key;
        const void *tlv = nullptr;
        std::uint32_t size = 0;
        std::size_t number = 0;
        while ((number == 0 ? osal_rdb_get_first : osal_rdb_get_next)(&db_, &key, sizeof key, &next, &tlv,
                                                                      &size) != 0) {
            std::memcpy(&key, next, sizeof key);
            ++number;
        }
        return number;
    }
    static kov_rdb_key key_of(kov_rdb_type type, std::uint32_t number)
    {
        kov_rdb_key key{};
        key.type = type;
        key.of.number = number;
        return key;
    }
    static kov_rdb_key prefix_key(const char *vrf, std::uint8_t family, const kov_rdb_aggr_sub_pfx_t &record)
    {
        kov_rdb_key key{};
        key.type = KOV_RDB_AGGR_SUB_PFX;
        std::strcpy(key.of.vrf_name, vrf);
        key.family = family;
        std::memcpy(key.prefix, record.prefix, sizeof key.prefix);
        return key;
    }

    std::unique_ptr<Publisher> publisher_;
    osal_rdb_desc db_{};
};

const char *const small = R"({
  "vrfs": [ "blue" ],
  "line_cards": [ { "card": "eth3", "ports": 16 } ],
  "port_channels": [ "po255" ],
  "general": { "fabric_id": 9 },
  "svis": [ { "svi": "vlan10" } ],
  "topologies": [ { "bd": 4660, "vni": 70000, "suppress_arp_mode": "l2", "svi": "vlan10" } ],
  "ports": [ { "port": "eth3/9", "tracking": true }, { "port": "po255", "l2dci": true } ],
  "prefixes": [ { "vrf": "blue", "prefixes": [ "10.1.0.0/16", "2001:db8::/32" ] } ]
})";

TEST_F(Published, EachOfTheSixKindsIsFoundUnderItsKey)
{
    publish(small);
    EXPECT_EQ(count(), 7u);
    EXPECT_EQ(read(key_of(KOV_RDB_GENINFO, 0), kov_ha_geninfo_to_struct)->fabric_id, 9u);
    EXPECT_EQ(read(key_of(KOV_RDB_SVIINFO, 0x2400000a), kov_ha_sviinfo_to_struct)->suppress_arp, 1u);
    const auto topology = read(key_of(KOV_RDB_L2RIB_TOPO_INFO, 4660), kov_ha_l2rib_topo_info_to_struct);
    ASSERT_TRUE(topology);
    EXPECT_EQ(topology->bd, 4660u);
    EXPECT_EQ(topology->vni, 70000u);
    EXPECT_EQ(topology->suppress_arp_l3_svi, 0x2400000au);
    const auto tracking = read(key_of(KOV_RDB_PORT_TRACKING, 3), kov_ha_port_tracking_to_struct);
    ASSERT_TRUE(tracking);
    EXPECT_EQ(tracking->num_bits, 17u);
    EXPECT_EQ(tracking->port_bits[1], 1u << 1);
    const auto l2dci = read(key_of(KOV_RDB_PORT_L2DCI, 158), kov_ha_port_l2dci_to_struct);
    ASSERT_TRUE(l2dci);
    EXPECT_EQ(l2dci->num_bits, 256u);
    EXPECT_EQ(l2dci->port_bits[0], 1u << 1);
    std::string why;
    for (const char *text : {"10.1.0.0/16", "2001:db8::/32"}) {
        const Network network = *parse_network(text, why);
        const auto found =
            read(prefix_key("blue", network.family, record_of(network)), kov_ha_aggr_sub_pfx_to_struct);
        ASSERT_TRUE(found) << text;
        EXPECT_EQ(std::memcmp(found->prefix, record_of(network).prefix, sizeof found->prefix), 0) << text;
    }
}

TEST_F(Published, ASlotWithoutPortsHasNoRecord)
{
    publish(small);
    const std::uint32_t port = kov_host_ifindex_parse("eth3/9");
    change({put_tracking(3, publisher_->state().slot_with(publisher_->state().tracking, port, false))});
    EXPECT_FALSE(read(key_of(KOV_RDB_PORT_TRACKING, 3), kov_ha_port_tracking_to_struct));
    EXPECT_TRUE(publisher_->state().tracking.empty());
    EXPECT_EQ(count(), 6u);
}

TEST_F(Published, EveryRecordCanBeErased)
{
    publish(small);
    std::vector<Edit> edits = {erase_general(), erase_svi(0x2400000a), erase_topology(4660),
                               put_tracking(3, {}), put_l2dci(158, {})};
    for (const Prefix &prefix : publisher_->state().prefixes)
        edits.push_back(erase(prefix));
    change(edits);
    EXPECT_EQ(count(), 0u);
    EXPECT_TRUE(publisher_->state().prefixes.empty());
    EXPECT_TRUE(publisher_->state().topologies.empty());
    EXPECT_TRUE(publisher_->state().l2dci.empty());
    EXPECT_FALSE(publisher_->state().general);
}

TEST_F(Published, AChangeOfWhichTheDatabaseRefusesAPartChangesNothing)
{
    publish(small);
    Edit bad = put(default_svi(0x2400000b));
    bad.tlv->clear();
    std::string why;
    EXPECT_FALSE(publisher_->change(std::vector<Edit>{erase_general(), bad}, why));
    EXPECT_TRUE(why.starts_with("the database refuses the change: ")) << why;
    EXPECT_EQ(count(), 7u);
    EXPECT_TRUE(publisher_->state().general);
    EXPECT_EQ(publisher_->state().svis.size(), 1u);
}

TEST_F(Published, PublishingTakesAwayWhatWasThere)
{
    publish(small);
    publish("{}");
    EXPECT_EQ(count(), 0u);
}

} // namespace
