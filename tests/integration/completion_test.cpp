// What may stand where in kovctl's lines: each level of a command, and what a process knows.
#include "real_lab.h"

namespace
{

using namespace integration;

class Completion : public RealLab
{
protected:
    // The candidates of the last word, joined by blanks.
    std::string of(std::vector<std::string> words) const
    {
        words.insert(words.begin(), {"complete", "--"});
        const Result result = run_lab("kovctl", words);
        EXPECT_EQ(result.status, 0);
        EXPECT_EQ(result.err, "");
        std::string joined;
        for (const std::string &word : words_of(result.out))
            joined += (joined.empty() ? "" : " ") + word;
        return joined;
    }
    // The same through bash and lab/kovctl.bash: what the line would be completed to, a line each.
    std::string in_bash(const std::string &line) const
    {
        const std::string script =
            ". " + source("lab/kovctl.bash") + "; COMP_LINE='" + line +
            "'; COMP_POINT=${#COMP_LINE}; compopt() { :; }; "
            // As bash breaks words: at blanks, and at "=" and ":" too.
            "read -ra COMP_WORDS <<<\"${COMP_LINE//[=:]/ = }\"; [[ $COMP_LINE != *' ' ]] || "
            "COMP_WORDS+=(''); "
            "COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _kovctl; printf '%s\\n' \"${COMPREPLY[@]}\"";
        return run({"/bin/bash", "-c", script},
                   {{"KOV_HOST_DIR", runtime()}, {"PATH", std::string(KOV_BIN_DIR) + ":/usr/bin:/bin"}})
            .out;
    }
};

TEST_F(Completion, KnowsTheWordsOfCommandsLevelByLevel)
{
    serve();
    client("arp");
    EXPECT_EQ(of({""}),
              "audit debug del get help inject list load profile set show stats status verify wait watch");
    EXPECT_EQ(of({"li"}), "list");
    EXPECT_EQ(of({"set", ""}), "geninfo port prefix svi topology");
    EXPECT_EQ(of({"-c", "arp", "set", ""}), "card host route vrf");
    EXPECT_EQ(of({"debug", ""}), "off on");
    EXPECT_EQ(of({"nonsense", ""}), "");
}

TEST_F(Completion, KnowsWhatTheServerPublishes)
{
    serve();
    client("arp");
    EXPECT_EQ(of({"show", "svi", "vlan39"}), "vlan3900");
    EXPECT_EQ(of({"del", "topology", "11"}), "11 110 111 112 113 114 115 116 117 118 119");
    EXPECT_EQ(of({"set", "port", "po"}), "po1 po10 po2 po300");
    EXPECT_EQ(of({"set", "prefix", ""}), "default guest production red");
    EXPECT_EQ(of({"profile", "check", ""}), "");
    EXPECT_EQ(of({"inject", ""}), "arp");
    EXPECT_EQ(of({"inject", "arp", "35", "n"}), "nd-verified");
    EXPECT_EQ(of({"profile", "reply", "no-"}), "no-error no-error-other no-error-refresh");
}

TEST_F(Completion, KnowsFieldsAndTheirValues)
{
    serve();
    EXPECT_EQ(of({"set", "svi", "vlan10", "v"}), "v4_prefix= v6_prefix= vaddr_bound= vlan_id= vrf_name=");
    EXPECT_EQ(of({"set", "svi", "vlan10", "is_up="}), "is_up=no is_up=yes");
    EXPECT_EQ(of({"set", "svi", "vlan10", "is_up=no", "fwd_mode=p"}), "fwd_mode=proxy-gateway");
    EXPECT_EQ(of({"set", "svi", "vlan10", "as="}),
              "as=fabric-ctrl-seg as=svi as=svi-change as=svi-migration");
    EXPECT_EQ(of({"set", "topology", "10", "svi=vlan39"}), "svi=vlan3900")
        << "the server's names, behind a field";
    EXPECT_EQ(of({"set", "geninfo", "fwd_encap="}), "fwd_encap=fabric fwd_encap=vxlan");
}

TEST_F(Completion, KnowsQueriesAndTheirArgumentsWithAndWithoutAClient)
{
    serve();
    client("arp");
    for (const bool inside : {false, true}) {
        const auto with = [&](std::vector<std::string> words) {
            if (inside)
                words.insert(words.begin(), {"-c", "arp"});
            return of(words);
        };
        EXPECT_EQ(with({"get", "fabric-c"}), "fabric-ctrl-seg fabric-ctrl-seg-info");
        EXPECT_EQ(with({"get", "fwd-mode", "vlan39"}), "vlan3900");
        EXPECT_EQ(with({"get", "forwarding-mode", "vlan10", "eth1/47"}), "eth1/47");
        EXPECT_EQ(with({"get", "conv-aging-timeout", ""}), "ipv4 ipv6");
        EXPECT_EQ(with({"get", "fabric-id", ""}), "");
    }
}

TEST_F(Completion, KnowsWhatAClientAloneKnows)
{
    serve();
    client("arp");
    ask("-c arp set vrf 5 red");
    ask("-c arp set route red 10.1.0.0/16");
    ask("-c arp set host 10.1.2.3 vlan10");
    EXPECT_EQ(of({"-c", "arp", "set", "route", ""}), "red");
    EXPECT_EQ(of({"-c", "arp", "del", "route", "red", ""}), "10.1.0.0/16");
    EXPECT_EQ(of({"-c", "arp", "set", "route", "red", "10.1.0.0/16", "con"}), "conditional converted");
    EXPECT_EQ(of({"-c", "arp", "del", "host", "10"}), "10.1.2.3");
    EXPECT_EQ(of({"-c", "arp", "glean", "red", "10.1.2.3", "10.1.2.4", "vlan39"}), "vlan3900");
    EXPECT_EQ(of({"-c", "arp", "glean", "red", "10.1.2.3", "10.1.2.4", "vlan10", "iif=eth1/47"}),
              "iif=eth1/47");
    EXPECT_EQ(of({"-c", "arp", "show", "cache", ""}), "detail");
    EXPECT_EQ(of({"-c", "arp", "profile", "add", "10.1.2.3", "include_v"}), "include_vrf=");
}

TEST_F(Completion, KnowsKovctlsOwnOptionsAndTheirValues)
{
    serve();
    client("arp");
    client("nd");
    EXPECT_EQ(of({"-c", ""}), "arp nd");
    EXPECT_EQ(of({"--client", "n"}), "nd");
    EXPECT_EQ(of({"--"}), "--client --dir --help --json");
    EXPECT_EQ(of({"watch", "--t"}), "--types");
    EXPECT_EQ(of({"watch", "--types", "svi,to"}), "svi,topology");
    EXPECT_EQ(of({"watch", "--types", "a"}), "all anycast-gw-mac");
    EXPECT_EQ(of({"wait", ""}), "clients found idle server");
    EXPECT_EQ(of({"-c", "arp", "wait", "re"}), "received registered returned");
    EXPECT_EQ(of({"-c", "arp", "load", source("lab/scenarios/l")}), source("lab/scenarios/leaf.json"));
    EXPECT_EQ(of({"-d", source("lab/sc")}), source("lab/scenarios/"));
    EXPECT_EQ(of({"-d", path("elsewhere"), "show", "svi", ""}), "") << "nobody is there";
}

TEST_F(Completion, WithoutAServerHasKovctlsOwnWords)
{
    EXPECT_EQ(of({""}), "audit debug get load stats wait watch");
    EXPECT_EQ(of({"set", ""}), "");
    EXPECT_EQ(of({"-c", ""}), "");
}

TEST_F(Completion, GoesThroughBash)
{
    serve();
    EXPECT_EQ(in_bash("kovctl show svi vlan39"), "vlan3900\n");
    EXPECT_EQ(in_bash("kovctl set "), "geninfo\nport\nprefix\nsvi\ntopology\n");
    EXPECT_EQ(in_bash("kovctl set svi vlan10 is_up="), "no\nyes\n") << "behind the mark at which bash breaks";
    EXPECT_EQ(in_bash("kovctl set svi vlan10 is_up=y"), "yes\n");
    EXPECT_EQ(in_bash("kovctl set svi vlan10 is_u"), "is_up=\n");
}

} // namespace
