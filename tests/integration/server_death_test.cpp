// The server dies and returns; a client process lives through it.
#include "profile_messages.h"
#include "real_lab.h"

#include <kov/platform/ipc.h>
#include <kov_host.h>

#include <csignal>
#include <random>
#include <unistd.h>

namespace
{

using namespace integration;

class ServerDeath : public RealLab
{
protected:
    void kill(Process &process)
    {
        process.signal(SIGKILL);
        EXPECT_EQ(process.finish().status, 128 + SIGKILL);
        forget(process);
    }
};

TEST_F(ServerDeath, TheCacheAnswersWhileTheServerIsGoneAndItsReturnIsNoticed)
{
    Process &first = serve();
    Process &arp = client("arp");
    ask("set geninfo fabric_id=42");
    ask("-c arp wait received 2");
    kill(first);
    EXPECT_TRUE(arp.says("the server is gone; the cache goes on answering"));
    EXPECT_EQ(ask("-c arp get fabric-id"), "kov_get_fabric_id() = 42, from cache\n");
    EXPECT_EQ(status("registered", "arp"), "yes");
    EXPECT_EQ(status("server losses", "arp"), "1");

    serve(); // publishes the scenario anew
    EXPECT_TRUE(arp.says("the server is back; asked it to register arp"));
    ask("-c arp wait returned 1");
    ask("-c arp wait registered");
    EXPECT_EQ(ask("-c arp get fabric-id"), "kov_get_fabric_id() = 7, from cache\n");
    EXPECT_EQ(status("clients"), "1");
    ask("set geninfo fabric_id=43");
    EXPECT_TRUE(arp.says("type 4, fabric id: 43"));
    EXPECT_EQ(ask("-c arp get fabric-id"), "kov_get_fabric_id() = 43, from cache\n");
}

TEST_F(ServerDeath, AClientThatIsToldToStopMeanwhileSaysThatNobodyIsThere)
{
    Process &server = serve();
    Process &arp = client("arp");
    kill(server);
    EXPECT_TRUE(arp.says("the server is gone"));
    const Result &result = arp.stop();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "kov-agent: the server is gone; nobody to deregister from\n");
    forget(arp);
}

TEST_F(ServerDeath, WhatTheServerDidNotReadAndWhatCouldNotBeSentIsCountedAndTold)
{
    Process &first = serve();
    Process &arp = client("arp");
    ask("set geninfo fabric_id=42");
    handled("arp", 1);
    first.signal(SIGSTOP);
    for (int i = 0; i < 3; ++i)
        ask("-c arp report 10.1.2.3 vlan10"); // the server's queue takes it
    kill(first);
    EXPECT_TRUE(
        arp.says("the server is gone; the cache goes on answering; messages not sent: 0, not read: 3\n"));
    for (const char *line : {"-c arp report 10.1.2.3 vlan10", "-c arp verify red 10.1.2.3"})
        EXPECT_EQ(kovctl(line).status, 1) << line;
    EXPECT_EQ(ask("-c arp get fabric-id"), "kov_get_fabric_id() = 42, from cache\n");

    serve();
    EXPECT_TRUE(
        arp.says("the server is back; asked it to register arp; messages not sent: 2, not read: 0\n"));
    ask("-c arp wait returned 1");
    ask("-c arp wait registered");
    expect_agreement("arp");
    EXPECT_EQ(status("messages not sent", "arp"), "2");
    EXPECT_EQ(status("messages unread", "arp"), "3");
    EXPECT_EQ(status("hosts found"), "0") << "nothing is sent again";
}

TEST_F(ServerDeath, WhatADeadClientDidNotReadIsCountedByTheServerAndToldOnItsTerminals)
{
    serve();
    Process &arp = client("arp");
    const auto terminal = frames();
    arp.signal(SIGSTOP);
    for (int i = 1; i <= 3; ++i)
        ask("set geninfo fabric_id=" + std::to_string(100 + i)); // the client's queue takes it
    kill(arp);
    ask("set geninfo fabric_id=200");
    EXPECT_TRUE(
        terminal->says("kovd: warning: client \"arp\" (SAP 2000) is struck off: Connection refused; 1 "
                       "messages lost\n"))
        << terminal->output();
    EXPECT_EQ(status("messages unread"), "3");
    EXPECT_EQ(status("messages lost"), "1");
    EXPECT_EQ(terminal->stop().status, 0);
}

// What stood in the client's socket when the server died: a tool plays the part of that.
TEST_F(ServerDeath, AClientThatFindsAHostMeanwhileSaysThatTheServerCannotBeTold)
{
    Process &server = serve();
    Process &arp = client("arp");
    ask("-c arp set host 10.1.2.3 vlan10");
    kill(server);
    EXPECT_TRUE(arp.says("the server is gone"));
    kov_profile_reply reply{};
    reply.code = kov_lab::code_check;
    const auto check = kov_lab::profile_message(kov_lab::host_key("10.1.2.3", KOV_PROFILE_OP_CHECK), reply);
    ASSERT_EQ(kov_host_attach_tool(runtime().c_str()), 0) << kov_host_error();
    EXPECT_EQ(ipc_send(kov_host_ipc_handle(), KOV_SERVER_NODE, 2000, KOV_OPC_CLIENT, check.data(),
                       static_cast<std::uint32_t>(check.size()), 0, 0, 0),
              0);
    kov_host_detach();
    EXPECT_TRUE(arp.says("it answers on vlan10; the server cannot be told\n")) << arp.output();
    EXPECT_EQ(status("messages not sent", "arp"), "1");
}

// Killed while it changes, commits, tells and starts, at points that no test could name.
TEST_F(ServerDeath, AHundredDeathsAtRandomPointsLeaveTheClientWithWhatTheDatabaseHolds)
{
    constexpr int deaths = 100;
    const char *const modes[] = {"standard", "proxy-gateway", "anycast-gateway"};
    std::mt19937 random(
        20260); // NOLINT(bugprone-random-generator-seed,cert-msc51-cpp): the same points each time
    Process *server = &serve();
    client("arp");
    for (int death = 1; death <= deaths; ++death) {
        SCOPED_TRACE(death);
        const auto change =
            start("kovctl", {"set", "svi", "vlan10", std::string("fwd_mode=") + modes[random() % 3],
                             "svi_word10=" + std::to_string(death)});
        ::usleep(static_cast<useconds_t>(random() % 20000));
        kill(*server);
        change->finish(); // well or not, as the server let it
        EXPECT_TRUE(ask("-c arp get fwd-mode vlan10").ends_with(", from cache\n")) << "nobody is there";
        EXPECT_EQ(kovctl("-c arp report 10.1.2.3 vlan10").status, 1);
        server = &serve();
        ASSERT_EQ(kovctl("-c arp wait returned " + std::to_string(death)).status, 0);
        ASSERT_EQ(kovctl("-c arp wait registered").status, 0);
        EXPECT_TRUE(ask("-c arp get fwd-mode vlan10").ends_with(", from cache\n"));
        expect_agreement("arp");
    }
    EXPECT_EQ(status("server losses", "arp"), std::to_string(deaths));
    EXPECT_EQ(status("server returns", "arp"), std::to_string(deaths));
    EXPECT_EQ(status("messages not sent", "arp"), std::to_string(deaths)) << "none is lost in silence";
}

} // namespace
