// Where hosts are: a client or the operator wants to know, the server has clients verify it, their probes
// tell.
#include "real_lab.h"
#include "verifications.h"

#include <sstream>

namespace
{

using namespace integration;

class Verification : public RealLab
{
protected:
    // Until the server has so many results, the last of which comes behind whatever the client has told.
    void all_found(int results) const
    {
        ask("-c arp report 192.0.2.1 vlan1");
        ask("wait found " + std::to_string(results));
        EXPECT_EQ(status("hosts found"), std::to_string(results));
    }
    // The line of `list hosts` that begins with these words, without its padding.
    std::string row_of(const std::string &host) const
    {
        std::istringstream list(ask("list hosts"));
        for (std::string line; std::getline(list, line);) {
            std::string row;
            for (const std::string &word : words_of(line))
                row += word + " ";
            if (row.starts_with(host + " "))
                return row.substr(0, row.size() - 1);
        }
        return "(no " + host + ")";
    }
};

struct Probe {
    const char *host;
    const char *there;  // the words of "set host"; null: it is not there
    const char *client; // what the client says of it
    const char *frame;  // that the server receives; null: none
    const char *row;    // of the server's list
};

// clang-format off
const Probe probes[] = {
    {"10.1.2.3", "10.1.2.3 vlan10 vlan=10 iod=44 port=eth1/5 port_iod=45",
     "check of 10.1.2.3 (reference 0): No Error: Other\n  it answers on vlan10; told the server\n",
     "ARP verified 10.1.2.3 on vlan10, VLAN 10, port eth1/5", "10.1.2.3 - the operator yes arp vlan10, VLAN 10, port eth1/5 arp"},
    {"10.1.2.4", "10.1.2.4 vlan11",
     "check of 10.1.2.4 (reference 0): No Error: Other\n  it answers on vlan11; told the server\n",
     "ARP verified 10.1.2.4 on vlan11", "10.1.2.4 - the operator yes arp vlan11 arp"},
    {"2001:db8::7", "2001:db8::7 vlan10 iod=44",
     "check of 2001:db8::7 (reference 0): No Error: Other\n  it answers on vlan10; told the server\n",
     "ND verified 2001:db8::7 on iod 44", "2001:db8::7 - the operator yes arp iod 44 arp"},
    {"10.1.2.9", nullptr,
     "check of 10.1.2.9 (reference 0): No Error: Other\n  it does not answer\n", nullptr, "10.1.2.9 - the operator no - - arp"},
    {"2001:db8::9", nullptr,
     "check of 2001:db8::9 (reference 0): No Error: Other\n  it does not answer\n", nullptr, "2001:db8::9 - the operator no - - arp"},
};
// clang-format on

TEST_F(Verification, AClientReportsTheHostsThatAnswerItAndNoOther)
{
    serve();
    Process &arp = client("arp");
    const auto terminal = frames();
    int found = 0;
    for (const Probe &probe : probes) {
        SCOPED_TRACE(probe.host);
        if (probe.there != nullptr)
            ask(std::string("-c arp set host ") + probe.there);
        const std::string host = probe.host;
        EXPECT_EQ(ask("verify arp " + host), "asked arp to verify " + host + "\n");
        EXPECT_TRUE(terminal->says("(arp): type 12, profile message: check of " + host));
        EXPECT_TRUE(arp.says(std::string("check this: ") + probe.client)) << arp.output();
        EXPECT_TRUE(probe.frame == nullptr || terminal->says(probe.frame)) << terminal->output();
        found += probe.frame != nullptr ? 1 : 0;
        all_found(++found);
        EXPECT_EQ(row_of(host), probe.row);
    }
    EXPECT_EQ(status("hosts to verify"), "5");
    EXPECT_EQ(terminal->stop().status, 0);
}

TEST_F(Verification, WhatOneClientWantsToKnowTheOthersAreAsked)
{
    serve();
    Process &arp = client("arp");
    Process &nd = client("nd", "12");
    client("modes", "9");
    Process &bgp = client("bgp");
    ask("-c arp set host 10.1.2.3 vlan10 vlan=10");
    ask("-c bgp set host 10.1.2.3 vlan99");
    ask("-c bgp verify red 10.1.2.3");
    EXPECT_TRUE(arp.says("it answers on vlan10; told the server"));
    EXPECT_TRUE(nd.says("check of 10.1.2.3 (reference 0): No Error: Other\n  it does not answer\n"));
    all_found(2);
    EXPECT_EQ(row_of("10.1.2.3"), "10.1.2.3 red bgp yes arp vlan10, VLAN 10 arp,nd");
    EXPECT_EQ(bgp.output().find("check this"), std::string::npos) << "it asked because it does not know";
    EXPECT_EQ(status("handled", "modes"), "0");

    ask("-c arp del host 10.1.2.3");
    ask("-c bgp verify red 10.1.2.3");
    EXPECT_TRUE(arp.says("it does not answer")) << "the host has gone";
    all_found(3);
    EXPECT_EQ(row_of("10.1.2.3"), "10.1.2.3 red bgp no arp vlan10, VLAN 10 arp,nd")
        << "where it was found before, which is no answer";
}

TEST_F(Verification, AHostOfTwoVrfsIsTwoHostsAndAResultNamesNoVrf)
{
    serve();
    Process &arp = client("arp");
    client("bgp", "9");
    ask("-c bgp verify red 10.1.2.3");
    ask("-c bgp verify guest 10.1.2.3");
    EXPECT_TRUE(arp.says(
        "it does not answer\ncheck this: check of 10.1.2.3 (reference 0): No Error: Other\n  it does"));
    EXPECT_EQ(row_of("10.1.2.3 red"), "10.1.2.3 red bgp no - - arp");
    EXPECT_EQ(row_of("10.1.2.3 guest"), "10.1.2.3 guest bgp no - - arp");
    ask("-c arp report 10.1.2.3 vlan10");
    all_found(2);
    EXPECT_EQ(row_of("10.1.2.3 red"), "10.1.2.3 red bgp yes arp vlan10 arp");
    EXPECT_EQ(row_of("10.1.2.3 guest"), "10.1.2.3 guest bgp yes arp vlan10 arp");
    EXPECT_EQ(lines_in(ask("list hosts")), 4u) << "the two, and the one that all_found() reports";
}

TEST_F(Verification, NobodyCanBeAskedForAnIpv6HostOfAnotherClient)
{
    serve();
    Process &arp = client("arp");
    client("bgp");
    const auto terminal = frames();
    ask("-c bgp verify red 2001:db8::7");
    EXPECT_TRUE(terminal->says("nobody is asked: the address of an IPv6 host does not travel"));
    EXPECT_EQ(status("hosts to verify"), "0");
    EXPECT_EQ(status("handled", "arp"), "0");
    EXPECT_EQ(arp.output().find("check this"), std::string::npos);
    EXPECT_EQ(terminal->stop().status, 0);
}

TEST_F(Verification, AHostWithAProfileIsCheckedUnderTheReferenceOfItsClient)
{
    serve();
    Process &arp = client("arp");
    ask("-c arp profile add 10.1.2.8 vni=5000");
    ask("-c arp profile add 10.1.2.3 vni=10116");
    ask("-c arp wait handled 2");
    ask("-c arp set host 10.1.2.3 vlan10");
    ask("verify arp 10.1.2.3");
    EXPECT_TRUE(arp.says("check this: check of 10.1.2.3 (reference 2): No Error: Other, VNI 10116, bridge "
                         "domain 116\n  it answers on vlan10; told the server\n"));
    ask("profile check arp 10.1.2.8");
    EXPECT_TRUE(arp.says("check this: check of 10.1.2.8 (reference 1): No Error: Other, VNI 5000\n"
                         "  it does not answer\n"));
}

TEST_F(Verification, AReportThatNobodyAskedForIsKeptToo)
{
    serve();
    client("arp");
    EXPECT_EQ(lines_in(ask("list hosts")), 1u);
    ask("-c arp report 10.1.2.3 vlan10");
    ask("wait found 1");
    EXPECT_EQ(row_of("10.1.2.3"), "10.1.2.3 - - yes arp vlan10 -");
}

TEST_F(Verification, TheHostsThatAnswerAClientAreItsOperatorsWord)
{
    serve();
    client("arp");
    EXPECT_EQ(ask("-c arp set host 10.1.2.3 vlan10 vlan=10 port=eth1/5"),
              "10.1.2.3 answers a probe on vlan10\n");
    EXPECT_EQ(ask("-c arp set host 2001:db8::7 vlan11"), "2001:db8::7 answers a probe on vlan11\n");
    EXPECT_EQ(ask("-c arp set host 10.1.2.3 vlan12 vlan=12"), "10.1.2.3 answers a probe on vlan12\n");
    EXPECT_EQ(ask("-c arp list hosts"), "Host                                    Interface  VLAN  Port\n"
                                        "10.1.2.3                                vlan12     12    none\n"
                                        "2001:db8::7                             vlan11     0     none\n");
    EXPECT_EQ(ask("-c arp del host 2001:db8::7"), "2001:db8::7 answers no more\n");
    EXPECT_EQ(lines_in(ask("-c arp list hosts")), 2u);
}

// ---- In one process --------------------------------------------------------------------------------------

void ask_for(kov_lab::Verifications &hosts, const std::string &host, const std::string &vrf = "red")
{
    hosts.ask({host, vrf, "bgp", "arp", false, {}, {}});
}

TEST(Verifications, AreThoseOfTheLatestHostsThatWereWantedOrFound)
{
    kov_lab::Verifications hosts;
    for (int i = 0; i < 1025; ++i)
        ask_for(hosts, "host " + std::to_string(i));
    EXPECT_EQ(hosts.all().size(), 1024u);
    EXPECT_EQ(hosts.all().front().host, "host 1") << "host 0 was the oldest";
    ask_for(hosts, "host 1");
    EXPECT_EQ(hosts.all().front().host, "host 2");
    EXPECT_EQ(hosts.all().back().host, "host 1") << "asked anew";
    hosts.found("host 2", "vlan10", "arp");
    EXPECT_EQ(hosts.all().front().host, "host 3");
    EXPECT_EQ(hosts.all().back().host, "host 2");
    hosts.found("host 0", "vlan11", "nd");
    EXPECT_EQ(hosts.all().size(), 1024u);
    EXPECT_EQ(hosts.all().front().host, "host 4") << "host 3 made room";
    EXPECT_EQ(hosts.all().back().host, "host 0");
    EXPECT_EQ(hosts.all().back().found_by, "nd");
    EXPECT_EQ(hosts.asked(), 1026u);
    EXPECT_EQ(hosts.found(), 2u);
}

TEST(Verifications, KeepWhatWasFoundAndWhetherItAnswersTheLatestWish)
{
    kov_lab::Verifications hosts;
    ask_for(hosts, "h");
    EXPECT_FALSE(hosts.all().back().answered);
    hosts.found("h", "vlan10", "arp");
    EXPECT_TRUE(hosts.all().back().answered);
    ask_for(hosts, "h");
    ASSERT_EQ(hosts.all().size(), 1u);
    EXPECT_FALSE(hosts.all().back().answered);
    EXPECT_EQ(hosts.all().back().place, "vlan10");
    EXPECT_EQ(hosts.all().back().found_by, "arp");
    hosts.found("h", "vlan12", "nd");
    EXPECT_TRUE(hosts.all().back().answered);
    EXPECT_EQ(hosts.all().back().place, "vlan12");
    EXPECT_EQ(hosts.all().back().found_by, "nd");
}

TEST(Verifications, OfAHostInTwoVrfsMoveTogetherWhenItIsFound)
{
    kov_lab::Verifications hosts;
    ask_for(hosts, "h", "red");
    ask_for(hosts, "i", "red");
    ask_for(hosts, "h", "guest");
    hosts.found("h", "vlan10", "arp");
    ASSERT_EQ(hosts.all().size(), 3u);
    EXPECT_EQ(hosts.all()[0].host, "i");
    EXPECT_FALSE(hosts.all()[0].answered);
    EXPECT_EQ(hosts.all()[1].vrf, "red");
    EXPECT_EQ(hosts.all()[2].vrf, "guest");
    EXPECT_EQ(hosts.all()[1].place, "vlan10");
    EXPECT_EQ(hosts.all()[2].place, "vlan10");
}

} // namespace
