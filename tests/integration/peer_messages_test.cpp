// What clients tell the server about hosts, and what an operator sees of every frame, both ways.
#include "real_lab.h"

namespace
{

using namespace integration;

class PeerMessages : public RealLab
{
protected:
    // The server's frames at a terminal, from here on.
    std::unique_ptr<Process> frames() const
    {
        auto terminal = start("kovctl", {"debug", "on"});
        EXPECT_TRUE(terminal->says("traces of kovd; Ctrl-C ends"));
        return terminal;
    }
};

struct Told {
    const char *command; // to the client
    const char *result;
    const char *frame; // that the server shows
};

TEST_F(PeerMessages, TheServerReceivesWhatAClientTellsOfHosts)
{
    // clang-format off
    const Told rows[] = {
        {"verify red 10.1.2.3",       "kov_send_host_verify_notification(red, IPv4, 10.1.2.3) = 0",
         "verify host 10.1.2.3 in VRF red"},
        {"verify red 2001:db8::7",    "kov_send_host_verify_notification(red, IPv6, 2001:db8::7) = 0",
         "verify host (IPv6) in VRF red"},
        {"report 10.1.2.3 vlan10 vlan=10 port=eth1/5", "kov_arp_nd_host_verification_resp(10.1.2.3 on vlan10, ARP) = 1",
         "ARP verified 10.1.2.3 on vlan10"},
        {"report 2001:db8::7 vlan10 iod=44", "kov_arp_nd_host_verification_resp(2001:db8::7 on vlan10, ND) = 1",
         "ND verified 2001:db8::7 on iod 44"},
    };
    // clang-format on
    serve();
    client("arp");
    const auto terminal = frames();
    for (const Told &row : rows) {
        EXPECT_EQ(ask(std::string("-c arp ") + row.command), std::string(row.result) + "\n");
        EXPECT_TRUE(terminal->says(row.frame)) << terminal->output();
    }
    EXPECT_EQ(terminal->stop().status, 0);
}

TEST_F(PeerMessages, TheServersTerminalShowsFramesInBothDirections)
{
    serve();
    const auto terminal = frames();
    Process &arp = client("arp", "9");
    EXPECT_TRUE(terminal->says("register \"arp\" (pid ")) << terminal->output();
    EXPECT_TRUE(terminal->says("(arp): type 2, registration acknowledgement"));
    ask("set svi vlan10 fwd_mode=standard");
    EXPECT_TRUE(terminal->says("(arp): type 9, SVI forwarding mode: vlan10"));
    arp.stop();
    forget(arp);
    EXPECT_TRUE(terminal->says("deregister \"arp\" (pid "));
    EXPECT_EQ(terminal->stop().status, 0);
}

TEST_F(PeerMessages, AReportThatCannotBeSentSaysSoAndIsCounted)
{
    Process &server = serve();
    Process &arp = client("arp");
    server.stop();
    forget(server);
    EXPECT_TRUE(arp.says("the server is gone"));
    const Result refused = kovctl("-c arp verify red 10.1.2.3");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err,
              "kov_send_host_verify_notification(red, IPv4, 10.1.2.3) = 111, Connection refused\n");
    EXPECT_EQ(kovctl("-c arp report 10.1.2.3 vlan10").status, 1);
    EXPECT_EQ(status("messages not sent", "arp"), "2");
}

} // namespace
