// Scenario files, good and bad, through the loader alone.
#include "fields.h"
#include "real_lab.h"
#include "scenario.h"

#include <kov/kov_enums.h>

#include <set>

namespace
{

using namespace kov_lab;

class ScenarioFile : public integration::RealLab
{
protected:
    // What the loader says about a file with this text, the file's own path taken off.
    std::vector<std::string> mistakes_in(const std::string &text)
    {
        const std::string file = write("scenario.json", text);
        load(file);
        for (std::string &mistake : mistakes_)
            if (mistake.starts_with(file + ":"))
                mistake.erase(0, file.size() + 1);
        return mistakes_;
    }
    bool load(const std::string &file) { return load_scenario(file, scenario_, mistakes_); }
    const kov_rdb_sviinfo_t &svi(const char *name)
    {
        std::string why;
        return scenario_.svis.at(svi_of_name(name, why));
    }

    Scenario scenario_;
    std::vector<std::string> mistakes_;
};

TEST_F(ScenarioFile, TheLeafHasTwoTenantsAndFortySvisInEveryMode)
{
    ASSERT_TRUE(load(leaf())) << mistakes_.front();
    EXPECT_EQ(scenario_.vrfs, (std::vector<std::string>{"production", "guest"}));
    EXPECT_EQ(scenario_.svis.size(), 40u);
    std::set<std::uint32_t> modes;
    for (const auto &[ifindex, record] : scenario_.svis) {
        EXPECT_EQ(ifindex, std::uint32_t{record.svi_ifindex});
        modes.insert(record.fwd_mode);
    }
    EXPECT_EQ(modes, (std::set<std::uint32_t>{0, 1, 2, 3}));
}

TEST_F(ScenarioFile, TheLeafsControlSegmentIsBoundCompletely)
{
    ASSERT_TRUE(load(leaf()));
    const kov_rdb_sviinfo_t &control = svi("vlan3900");
    EXPECT_EQ(scenario_.general->fabric_ctrl_svi, std::uint32_t{control.svi_ifindex});
    EXPECT_EQ(control.is_fabric_ctrl_seg, 1u);
    EXPECT_EQ(kov_is_vaddr_bind_complete(&control), 1u);
}

TEST_F(ScenarioFile, EveryKindOfFieldArrivesInTheRecord)
{
    ASSERT_TRUE(mistakes_in(R"({
      "vrfs": ["blue"],
      "general": { "fabric_id": 4294967295, "conv_learning": true, "anycast_gw_mac": "00:11:22:aa:bb:cc",
                   "switch_role": ["border", "spine"], "fabric_ctrl_svi": "bdi100", "fwd_encap": "vxlan",
                   "mobdom": "west wing", "geninfo_flag12": 0 },
      "svis": [ { "svi": "bdi100", "vlan_id": 7, "is_up": true, "v4_prefix": "10.1.2.3/20",
                  "v6_prefix": "2001:db8::5/48", "vrf_name": "blue", "fwd_mode": "proxy-gateway",
                  "gw_mac": "0011.22AA.bbcc", "suppress_arp": true } ]
    })")
                    .empty());
    const kov_rdb_geninfo_t &general = *scenario_.general;
    EXPECT_EQ(general.fabric_id, 0xffffffffu);
    EXPECT_EQ(general.conv_learning, 1u);
    EXPECT_EQ(general.anycast_gw_mac[5], 0xcc);
    EXPECT_EQ(general.switch_role, std::uint32_t{KOV_SWITCH_ROLE_BORDER | KOV_SWITCH_ROLE_SPINE});
    EXPECT_EQ(general.fwd_encap, std::uint32_t{KOV_FWD_ENCAP_VXLAN});
    EXPECT_EQ(general.geninfo_flag12, 0);
    EXPECT_EQ(general.urib_conv_aging_timeout, 1800u) << "a field that is not given keeps its default";
    EXPECT_STREQ(general.mobdom, "west wing");
    const kov_rdb_sviinfo_t &record = svi("bdi100");
    EXPECT_EQ(record.vlan_id, 7u);
    EXPECT_EQ(record.v4_prefix.addr, 0x0a010203u) << "host order";
    EXPECT_EQ(record.v4_prefix.len, 20u);
    EXPECT_EQ(record.v6_prefix.addr[15], 5);
    EXPECT_EQ(record.v6_prefix.len, 48);
    EXPECT_STREQ(record.vrf_name, "blue");
    EXPECT_EQ(record.fwd_mode, std::uint32_t{KOV_FWD_MODE_PROXY_GATEWAY});
    EXPECT_EQ(record.gw_mac[3], 0xaa);
    EXPECT_EQ(record.suppress_arp, 1u);
}

TEST_F(ScenarioFile, AVlanInterfaceHasItsVlanFromItsName)
{
    ASSERT_TRUE(mistakes_in(R"({"svis": [{"svi": "vlan77"}]})").empty());
    EXPECT_EQ(svi("vlan77").vlan_id, 77u);
}

TEST_F(ScenarioFile, AMissingFileIsNamed)
{
    EXPECT_FALSE(load(path("none.json")));
    EXPECT_EQ(mistakes_,
              (std::vector<std::string>{path("none.json") + ": cannot be read: No such file or directory"}));
}

TEST_F(ScenarioFile, ADirectoryIsNoScenario)
{
    EXPECT_FALSE(load(path("")));
    ASSERT_EQ(mistakes_.size(), 1u);
    EXPECT_EQ(mistakes_[0], path("") + ": cannot be read: Is a directory");
}

struct Bad {
    const char *what;
    const char *text;
    const char *mistake; // begins so
};

std::ostream &operator<<(std::ostream &out, const Bad &bad) { return out << bad.what; }

class BadScenario : public ScenarioFile, public testing::WithParamInterface<Bad>
{
};

TEST_P(BadScenario, IsRefusedWithLineAndField)
{
    const std::vector<std::string> mistakes = mistakes_in(GetParam().text);
    ASSERT_EQ(mistakes.size(), 1u);
    EXPECT_TRUE(mistakes[0].starts_with(GetParam().mistake)) << mistakes[0];
}

// clang-format off
const Bad bad_scenarios[] = {
    {"Empty",             "",                                               " is empty"},
    {"NotJson",           "{\n  \"vrfs\": [\n    oops ]\n}",                "3:5: is not JSON: "},
    {"Unfinished",        "{\n  \"general\": {\n",                          "2:15: is not JSON: "},
    {"TrailingText",      "{}\n{}",                                         "2:1: is not JSON: "},
    {"NotAnObject",       "[1, 2]",                                         "1: scenario: must be an object, not [1,2]"},
    {"UnknownTopKey",     "{\n\n  \"svi\": []\n}",                          "3: svi: is not known here"},
    {"UnknownField",      "{\n \"general\": {\n  \"fabric\": 1 } }",        "3: general.fabric: is not a field; the fields are fabric_id, "},
    {"UnknownSviField",   "{\"svis\": [\n{\"svi\": \"vlan1\"},\n{\"svi\": \"vlan2\",\n \"mode\": \"standard\"}]}", "4: svis[1].mode: is not a field; the fields are vlan_id, "},
    {"RepeatedKey",       "{\"general\": {\n\"fabric_id\": 1,\n\"fabric_id\": 2}}", "3: fabric_id: stands twice"},
    {"RangeAbove",        "{\"general\":\n{\"fabric_id\":\n4294967296}}",   "2: general.fabric_id: 4294967296 is out of range, it must be from 0 to 4294967295"},
    {"RangeBelow",        "{\"general\": {\"fabric_id\": -1}}",             "1: general.fabric_id: -1 is out of range"},
    {"RangeOfAByte",      "{\"general\": {\"geninfo_flag12\": 256}}",       "1: general.geninfo_flag12: 256 is out of range, it must be from 0 to 255"},
    {"RangeOfAVlan",      "{\"svis\": [{\"svi\": \"bdi1\", \"vlan_id\": 4095}]}", "1: svis[0].vlan_id: 4095 is out of range, it must be from 0 to 4094"},
    {"FractionalNumber",  "{\"general\": {\"fabric_id\": 1.5}}",            "1: general.fabric_id: must be a whole number, not 1.5"},
    {"NumberAsText",      "{\"general\": {\"fabric_id\": \"7\"}}",          "1: general.fabric_id: must be a whole number, not \"7\""},
    {"SwitchAsNumber",    "{\"general\": {\"conv_learning\": 1}}",          "1: general.conv_learning: must be true or false, not 1"},
    {"RoleAsText",        "{\"general\": {\"switch_role\": \"leaf\"}}",     "1: general.switch_role: must be a list of roles, not \"leaf\""},
    {"RoleInListNoText",  "{\"general\": {\"switch_role\": [\n1]}}",        "2: general.switch_role[0]: must be a text in quotes, not 1"},
    {"RoleUnknown",       "{\"general\": {\"switch_role\": [\"leaf\", \"king\"]}}", "1: general.switch_role: \"king\" is none of leaf, border, spine, dci-node"},
    {"ModeUnknown",       "{\"svis\": [{\"svi\": \"vlan1\",\n\"fwd_mode\": \"turbo\"}]}", "2: svis[0].fwd_mode: \"turbo\" is none of standard, proxy-gateway, anycast-gateway, conditional-proxy-gateway"},
    {"EncapUnknown",      "{\"general\": {\"fwd_encap\": \"gre\"}}",        "1: general.fwd_encap: \"gre\" is none of fabric, vxlan"},
    {"MacTooShort",       "{\"general\": {\"router_mac\": \"0011.2233\"}}", "1: general.router_mac: \"0011.2233\" is not a MAC address"},
    {"MacOddSeparators",  "{\"general\": {\"router_mac\": \"00112.233.4455\"}}", "1: general.router_mac: \"00112.233.4455\" is not a MAC address"},
    {"MacNotHex",         "{\"general\": {\"router_mac\": \"00:11:22:33:44:5g\"}}", "1: general.router_mac: \"00:11:22:33:44:5g\" is not a MAC address"},
    {"PrefixNoLength",    "{\"svis\": [{\"svi\": \"vlan1\", \"v4_prefix\": \"10.1.1.1\"}]}", "1: svis[0].v4_prefix: \"10.1.1.1\" is not an address with a prefix length"},
    {"PrefixLongLength",  "{\"svis\": [{\"svi\": \"vlan1\", \"v4_prefix\": \"10.1.1.1/33\"}]}", "1: svis[0].v4_prefix: \"10.1.1.1/33\" has a prefix length that is not from 0 to 32"},
    {"V6InTheV4Field",    "{\"svis\": [{\"svi\": \"vlan1\", \"v4_prefix\": \"2001:db8::1/64\"}]}", "1: svis[0].v4_prefix: \"2001:db8::1/64\" is not an address"},
    {"V6LongLength",      "{\"svis\": [{\"svi\": \"vlan1\", \"v6_prefix\": \"2001:db8::1/129\"}]}", "1: svis[0].v6_prefix: \"2001:db8::1/129\" has a prefix length"},
    {"SviWithoutName",    "{\"svis\": [\n{\"is_up\": true}]}",              "2: svis[0]: has no \"svi\""},
    {"SviNameNoText",     "{\"svis\": [{\"svi\": 10}]}",                    "1: svis[0].svi: must be a text in quotes, not 10"},
    {"SviIsAPort",        "{\"svis\": [{\"svi\": \"eth1/5\"}]}",            "1: svis[0].svi: \"eth1/5\" is not an SVI"},
    {"SviOfNoVlan",       "{\"svis\": [{\"svi\": \"vlan5000\"}]}",          "1: svis[0].svi: \"vlan5000\" is not an SVI"},
    {"SviTwice",          "{\"svis\": [\n{\"svi\": \"vlan1\"},\n{\"svi\": \"vlan2\"},\n{\"svi\": \"vlan1\"}]}", "4: svis[2].svi: vlan1 is there already, at line 2"},
    {"SvisNoList",        "{\"svis\": {}}",                                 "1: svis: must be a list of SVIs, not {}"},
    {"SviNoObject",       "{\"svis\": [\n\"vlan1\"]}",                      "2: svis[0]: must be an object, not \"vlan1\""},
    {"GeneralNoObject",   "{\"general\": 5}",                               "1: general: must be an object, not 5"},
    {"VrfUnknown",        "{\"vrfs\": [\"blue\"], \"svis\": [{\"svi\": \"vlan1\",\n \"vrf_name\": \"red\"}]}", "2: svis[0].vrf_name: \"red\" is not among the vrfs"},
    {"VrfTwice",          "{\"vrfs\": [\"blue\",\n\"blue\"]}",              "2: vrfs[1]: \"blue\" is there already"},
    {"VrfTooLong",        "{\"vrfs\": [\"123456789012345678901234567890123\"]}", "1: vrfs[0]: must have 1 to 32 characters"},
    {"VrfNoText",         "{\"vrfs\": [null]}",                             "1: vrfs[0]: must be a text in quotes, not null"},
    {"VrfsNoList",        "{\"vrfs\": \"blue\"}",                           "1: vrfs: must be a list of names, not \"blue\""},
    {"ControlSviAbsent",  "{\"general\": {\n\"fabric_ctrl_svi\": \"vlan9\"}}", "2: general.fabric_ctrl_svi: vlan9 is not among the svis"},
    {"MobdomWithNul",     "{\"general\": {\"mobdom\": \"a\\u0000b\"}}",     "1: general.mobdom: holds a NUL character"},
    {"DescriptionNoText", "{\"description\": 1}",                           "1: description: must be a text in quotes, not 1"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Table, BadScenario, testing::ValuesIn(bad_scenarios),
                         [](const auto &row) { return std::string(row.param.what); });

TEST_F(ScenarioFile, AMobilityDomainOf127CharactersFitsAnd128DoNot)
{
    EXPECT_TRUE(mistakes_in("{\"general\": {\"mobdom\": \"" + std::string(127, 'm') + "\"}}").empty());
    const auto mistakes = mistakes_in("{\"general\": {\"mobdom\": \"" + std::string(128, 'm') + "\"}}");
    ASSERT_EQ(mistakes.size(), 1u);
    EXPECT_EQ(mistakes[0], "1: general.mobdom: is longer than 127 characters");
}

TEST_F(ScenarioFile, AllMistakesAreReportedAtOnce)
{
    EXPECT_EQ(mistakes_in("{\"general\": {\"fabric_id\": -1},\n\"svis\": [{\"svi\": \"vlan0\"}],\n\"x\": 1}")
                  .size(),
              3u);
}

TEST_F(ScenarioFile, ShortAndLongTextsOfEveryFieldAreTakenBack)
{
    ASSERT_TRUE(load(leaf()));
    for (const auto &[ifindex, record] : scenario_.svis)
        for (const Field &field : svi_fields()) {
            kov_rdb_sviinfo_t copy = default_svi(ifindex);
            std::string why;
            ASSERT_TRUE(set_field(field, &copy, field_text(field, &record), why))
                << field.name << ": " << why;
            EXPECT_TRUE(same_field(field, &copy, &record)) << field.name;
        }
    for (const Field &field : geninfo_fields()) {
        kov_rdb_geninfo_t copy = default_geninfo();
        std::string why;
        ASSERT_TRUE(set_field(field, &copy, field_text(field, &*scenario_.general), why))
            << field.name << why;
        EXPECT_TRUE(same_field(field, &copy, &*scenario_.general)) << field.name;
    }
}

} // namespace
