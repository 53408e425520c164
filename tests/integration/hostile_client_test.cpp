// Clients that lie, or send what no client sends: refused, counted, and nothing else comes of it.
#include "../host/raw_socket.h"
#include "profile_lab.h"

#include <kov/platform/ipc.h>
#include <kov_host.h>

#include <cstring>
#include <unistd.h>

namespace
{

using namespace integration;
using kov_lab::Bytes;

class HostileClient : public RealLab
{
protected:
    ~HostileClient() override { kov_host_detach(); }

    void attach()
    {
        ASSERT_EQ(kov_host_attach_tool(runtime().c_str()), 0) << kov_host_error();
        request_.major = KOV_MSG_MAJOR;
        request_.mtype = KOV_MTYPE_REGISTER;
        request_.pid = static_cast<std::uint32_t>(getpid());
        request_.sap = ipc_sap_get(kov_host_ipc_handle());
        request_.mtype_mask = 1u << 9;
        std::strcpy(request_.client_name, "honest");
    }
    void send() { send(&request_, sizeof request_); }
    void send(const void *bytes, std::size_t size, std::uint32_t opcode = KOV_OPC_CLIENT)
    {
        ASSERT_EQ(ipc_send(kov_host_ipc_handle(), KOV_SERVER_NODE, KOV_SERVER_SAP, opcode, bytes,
                           static_cast<std::uint32_t>(size), 0, 0, 0),
                  0);
    }

    // A request about a host, and four zero bytes behind it.
    Bytes asking(std::uint8_t op, const std::string &host)
    {
        kov_profile_request profile{};
        profile.client = request_;
        profile.client.mtype = KOV_MTYPE_PROFILE_MGMT;
        profile.key_count = 1;
        profile.key_len = sizeof(kov_uhost_key_t);
        kov_uhost_key_t key = key_with(host, {"vlan=11"});
        key.op = op;
        Bytes bytes(sizeof profile + sizeof key + 4);
        std::memcpy(bytes.data(), &profile, sizeof profile);
        std::memcpy(bytes.data() + sizeof profile, &key, sizeof key);
        return bytes;
    }

    kov_registration_request request_{};
};

// A frame as the transport carries it. The host would put in the true access point.
Bytes frame_from(std::uint32_t sap, const Bytes &payload)
{
    const std::uint32_t head[] = {KOV_OPC_CLIENT, sap, static_cast<std::uint32_t>(payload.size())};
    Bytes frame(sizeof head);
    std::memcpy(frame.data(), head, sizeof head);
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
}

TEST_F(HostileClient, ThatClaimsToBeAnotherProcessIsRefused)
{
    Process &server = serve();
    attach();
    request_.pid = 1;
    send();
    EXPECT_TRUE(server.says("it claims to be process 1\n"));
    EXPECT_EQ(status("clients"), "0");
    request_.pid = static_cast<std::uint32_t>(getpid());
    request_.sap = 1248;
    send();
    EXPECT_TRUE(server.says("it claims to listen at SAP 1248\n"));
    request_.sap = ipc_sap_get(kov_host_ipc_handle());
    request_.major = 52;
    send();
    EXPECT_TRUE(server.says("version 52 is not 53\n"));
    request_.major = KOV_MSG_MAJOR;
    request_.mtype = KOV_MTYPE_SVI_FWD_MODE;
    send();
    EXPECT_TRUE(server.says("a client does not send type 9\n"));
    EXPECT_EQ(status("frames refused"), "4");
    EXPECT_EQ(status("clients"), "0");
    request_.mtype = KOV_MTYPE_REGISTER;
    send();
    ask("wait clients 1");
}

TEST_F(HostileClient, CannotWithdrawAnotherOne)
{
    Process &server = serve();
    Process &arp = client("arp");
    attach();
    request_.mtype = KOV_MTYPE_DEREGISTER;
    request_.pid = static_cast<std::uint32_t>(arp.pid());
    request_.sap = 2000;
    send();
    EXPECT_TRUE(server.says("it claims to be process"));
    EXPECT_EQ(status("clients"), "1");
}

TEST_F(HostileClient, MayWithdrawWithoutHavingRegistered)
{
    Process &server = serve(leaf(), {"-v"});
    attach();
    request_.mtype = KOV_MTYPE_DEREGISTER;
    send();
    EXPECT_TRUE(server.says("was not registered\n"));
    EXPECT_EQ(status("frames refused"), "0");
}

TEST_F(HostileClient, MayNotAskAboutHostsInAnotherOnesName)
{
    Process &server = serve(leaf(), {"-v"});
    Process &arp = client("arp");
    ask("-c arp profile add h vlan=11");
    ask("-c arp wait handled 1");
    const std::string before = ask("list profiles");
    attach();
    request_.sap = 2000;
    const auto raw = host_test::RawSocket::connected_to(runtime() + "/ipc/sap-1248");
    raw.send(frame_from(2000, asking(KOV_PROFILE_OP_DELETE, "h")));
    EXPECT_TRUE(server.says("the client at its SAP is process " + std::to_string(arp.pid()) + "\n"));
    raw.send(frame_from(2000, asking(KOV_PROFILE_OP_ADD, "other")));
    EXPECT_TRUE(server.says("profile add of other"));
    EXPECT_EQ(status("frames refused"), "2");
    EXPECT_EQ(ask("list profiles"), before);
    EXPECT_EQ(status("handled", "arp"), "1") << "nothing was answered in its place";
}

TEST_F(HostileClient, MayNotAskAboutHostsWithoutHavingRegistered)
{
    Process &server = serve();
    attach();
    const Bytes add = asking(KOV_PROFILE_OP_ADD, "h");
    send(add.data(), add.size());
    EXPECT_TRUE(server.says("it asks about a host and is not registered\n"));
    EXPECT_EQ(status("frames refused"), "1");
    EXPECT_EQ(ask("list profiles"), list_head);
}

TEST_F(HostileClient, ThatAsksForWhatIsNoOperationIsNotAnswered)
{
    Process &server = serve(leaf(), {"-v"});
    attach();
    request_.mtype_mask = 1u << KOV_MTYPE_PROFILE_MGMT;
    send();
    const Bytes nine = asking(9, "h");
    send(nine.data(), nine.size());
    EXPECT_TRUE(server.says("operation 9 is none of profiles\n"));
    EXPECT_EQ(status("frames refused"), "1");
    EXPECT_EQ(ask("list profiles"), list_head);
    const Bytes check = asking(KOV_PROFILE_OP_CHECK, "h");
    send(check.data(), check.size());
    EXPECT_TRUE(server.says("profile message: check of h (reference 0): Error: No host found\n"));
    EXPECT_EQ(server.output().find("profile message: operation 9"), std::string::npos);
}

TEST_F(HostileClient, MayNotHaveHostsVerifiedWithoutHavingRegistered)
{
    Process &server = serve();
    Process &arp = client("arp");
    attach();
    kov_host_verify_msg wanted{};
    wanted.family = 1;
    send(&wanted, sizeof wanted, KOV_OPC_HOST_VERIFY);
    EXPECT_TRUE(server.says("it wants a host to be verified and is not registered\n"));
    EXPECT_EQ(status("frames refused"), "1");
    EXPECT_EQ(status("hosts to verify"), "0");
    EXPECT_EQ(arp.output().find("check this"), std::string::npos);
    send(&wanted, sizeof wanted - 1, KOV_OPC_HOST_VERIFY);
    const kov_arp_verified_msg found{};
    send(&found, sizeof found, KOV_OPC_ARP_VERIFIED); // a report asks for no registration
    request_.mtype = KOV_MTYPE_REGISTER;
    send();
    ask("wait clients 2");
    ask("wait found 1");
    EXPECT_NE(ask("list hosts").find("pid " + std::to_string(getpid())), std::string::npos);
}

TEST_F(HostileClient, ThatSendsRubbishIsLoggedAndDoesNoHarm)
{
    Process &server = serve(leaf(), {"-v"});
    attach();
    send(nullptr, 0);
    EXPECT_TRUE(server.says("unknown frame, opcode 0x3D400, 0 bytes\n"));
    const Bytes rubbish(100000, 0xff);
    send(rubbish.data(), rubbish.size());
    EXPECT_TRUE(server.says("unknown frame, opcode 0x3D400, 100000 bytes\n"));
    send(rubbish.data(), 72, KOV_OPC_GLEAN);
    EXPECT_TRUE(server.says("unknown frame, opcode 0x3D404, 72 bytes\n"));
    send(rubbish.data(), 49, KOV_OPC_HOST_VERIFY);
    EXPECT_TRUE(server.says("it is none of the known frames: opcode 0x3D405, 49 bytes\n"));
    std::memset(request_.client_name, '\033', sizeof request_.client_name);
    send();
    EXPECT_TRUE(server.says("register \"????"));
    ask("wait clients 1");
    EXPECT_EQ(status("frames refused"), "4");
    EXPECT_EQ(status("gleans"), "0");
    EXPECT_EQ(status("hosts to verify"), "0");
}

} // namespace
