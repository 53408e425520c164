// The fixture of the report's tests: records of each type, a command line that takes the report down, and the
// report's lines.
#pragma once

#include "samples.h"

#include <algorithm>

inline const std::string rule = "===================================================\n";
inline const std::string column_header =
    "  Type  Cached/Update   #Allocs/Bytes   Data       #Cache/RDB/Update Hits\n";

// "Label                          : value\n"
inline std::string line(std::string label, const std::string &value)
{
    label.resize(std::max<std::size_t>(label.size(), 30), ' ');
    return label + " : " + value + "\n";
}

class Report : public Lab
{
protected:
    Report()
    {
        platform.interfaces.add_vlan(10, "vlan10");
        platform.interfaces.add_vlan(20, "vlan20");
        platform.interfaces.add_port(port_of_slot_3, 2, 0); // the platform counts slots from 0
        platform.interfaces.add_channel(port_of_slot_157, 10);
    }

    std::string report(bool detail = false)
    {
        platform.cli.output.clear();
        platform.cli.prints.clear();
        platform.cli.questions = 0;
        platform.cli.words.clear();
        if (detail)
            platform.cli.words.insert("detail");
        result = kov_api_print_cache_stats(platform.cli.context());
        return platform.cli.output;
    }
    std::string detail() { return report(true); }

    // One record or more of each type, in the database.
    void publish_all()
    {
        kov_rdb_geninfo_t general = general_info(3);
        general.fabric_ctrl_svi = 10;
        publish(general);
        publish(fabric_ctrl_svi(10, 2));
        publish(svi_in_mode(20, 1));
        publish(3, kov_rdb_port_tracking_t{16, {0x81, 0x02}});
        publish(4, kov_rdb_port_tracking_t{8, {}});
        publish(157, kov_rdb_port_l2dci_t{24, {0, 0, 0xFF}});
        publish("blue", 0, v4(0x0A010000, 16));
        publish("blue", 0, v4(0x0A020000, 16));
        publish("blue", 1, v6(0x20, 8));
        publish("red", 1, v6(0xFD, 8));
        kov_rdb_l2rib_topo_info_t topology = {};
        topology.bd = 0x01000001;
        topology.vni = 10600;
        topology.suppress_arp_enabled = 1;
        topology.suppress_arp_mode = 2;
        topology.suppress_arp_l3_svi = 20;
        publish(topology);
    }
    static kov_rdb_aggr_sub_pfx_t v4(uint32_t address, uint8_t bits)
    {
        kov_rdb_aggr_sub_pfx_t record = {};
        std::memcpy(record.prefix, &address, 4);
        record.prefix[4] = bits;
        return record;
    }
    static kov_rdb_aggr_sub_pfx_t v6(uint8_t first, uint8_t bits)
    {
        kov_rdb_aggr_sub_pfx_t record = {};
        record.prefix[0] = first;
        record.prefix[16] = bits;
        return record;
    }
    void cache_all()
    {
        publish_all();
        register_and_acknowledge({4, 5, 6, 7, 8, 9, 10, 11, 13, 14, 15, 16, 17, 18, 19, 20});
    }

    // The server says of every record that there was that it has changed.
    void tell_of_everything()
    {
        dispatch(KOV_MTYPE_FABRIC_ID, kov_word_update{0});
        dispatch(KOV_MTYPE_SVI_FWD_MODE, kov_word_update{10}, kov_word_update{20}, kov_word_update{30});
        dispatch(KOV_MTYPE_PORT_TRACKING, kov_word_update{port_of_slot_3});
        dispatch(KOV_MTYPE_PORT_L2DCI, kov_word_update{port_of_slot_157});
        dispatch(KOV_MTYPE_AGGR_SUB_PFX, told("blue", 0, v4(0x0A010000, 16)), told("blue", 1, v6(0x20, 8)),
                 told("red", 1, v6(0xFD, 8)), told("green", 0, v4(0x0A010000, 16)));
        dispatch(KOV_MTYPE_SUPPRESS_ARP_TOPO, kov_suppress_arp_topo_update{0x01000001, 0, 0, 0, 20, 0},
                 kov_suppress_arp_topo_update{0x02000002, 0, 0, 0, 0, 0});
    }
    // Of each type a record goes or becomes another, and one comes.
    void change_everything()
    {
        publish(general_info(4));
        withdraw(key_of(2, 10));
        publish(svi_in_mode(30, 1));
        publish(3, kov_rdb_port_tracking_t{8, {0x01}});
        withdraw(slot_key(5, 157));
        withdraw(prefix_key("blue", 0, v4(0x0A010000, 16)));
        withdraw(prefix_key("red", 1, v6(0xFD, 8)));
        publish("green", 0, v4(0x0A010000, 16));
        withdraw(key_of(6, 0x01000001));
        kov_rdb_l2rib_topo_info_t topology = {};
        topology.bd = 0x02000002;
        publish(topology);
        tell_of_everything();
    }
    static kov_aggr_sub_pfx_update told(const char *vrf, uint32_t family,
                                        const kov_rdb_aggr_sub_pfx_t &record)
    {
        kov_aggr_sub_pfx_update update = {};
        std::strcpy(update.vrf_name, vrf);
        std::memcpy(update.prefix, record.prefix, sizeof update.prefix);
        update.family = family;
        return update;
    }

    static std::string pointer(const void *at)
    {
        char text[32];
        std::snprintf(text, sizeof text, "%-10p", at);
        return text;
    }
    static std::string summary_row(uint32_t type)
    {
        const kov_cache_desc &d = kov_api.cache[type];
        const auto field = [](std::string text, std::size_t width) {
            text.resize(std::max(text.size(), width), ' ');
            return text;
        };
        const auto n = [](uint32_t number) { return std::to_string(number); };
        return "  " + field(n(type), 5) + " " +
               field(std::string(d.cached ? "Yes" : "No") + "/" + (d.updating ? "Yes" : "No"), 15) + " " +
               field(n(d.allocs) + "/" + n(d.bytes), 15) + " " + pointer(d.data) + " " +
               field(n(d.cache_hits) + "/" + n(d.rdb_hits) + "/" + n(d.update_hits), 10) + "\n";
    }
    static std::string type_head(uint32_t type, const std::string &flags, const std::string &hits,
                                 const std::string &blocks)
    {
        return rule + line("RDB Type", std::to_string(type)) + line("Cached/Updated", flags) +
               line("#Cache Hits/#RDB Hits/#Updates", hits) + line("#Allocs/Bytes Alloc", blocks) +
               "\nKOV Cached Data Infomation\n";
    }
    static std::string empty_types(uint32_t from, uint32_t to)
    {
        std::string text;
        for (uint32_t type = from; type <= to; ++type)
            text += type_head(type, "No/No", "0/0/0", "0/0");
        return text;
    }

    static constexpr uint32_t port_of_slot_3 = 1001, port_of_slot_157 = 1002;
    uint32_t result = 0;
};
