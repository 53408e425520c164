// A process hears that the one it depends on went away, and that there is a successor.
#include "host/host_test.h"
#include "host/raw_socket.h"

#include <kov/platform/ipc.h>

#include <memory>
#include <vector>

namespace
{

using host_test::Child;

constexpr std::uint32_t node = 0xfe000000u;
constexpr std::uint32_t server_sap = 1248;

class Peer : public host_test::Host
{
protected:
    // A process that serves when it is told to, until it is killed.
    std::unique_ptr<Child> server() const
    {
        const std::string path = directory.path();
        return std::make_unique<Child>([path](const Child::Side &side) {
            side.hear();
            if (kov_host_attach_server(path.c_str(), "server", server_sap) != 0)
                return 1;
            side.tell(1);
            return kov_host_run();
        });
    }
    static void serve(const Child &server)
    {
        server.go();
        ASSERT_EQ(server.next(), 1);
    }

    void watch()
    {
        ASSERT_EQ(kov_host_peer_watch(
                      server_sap,
                      [](std::uint32_t sap, int present, void *arg) {
                          EXPECT_EQ(sap, server_sap);
                          static_cast<std::vector<int> *>(arg)->push_back(present);
                      },
                      &heard),
                  0);
    }
    // Watches a server that is there, and loses it.
    void watch_and_kill(Child &server)
    {
        serve(server);
        attach();
        watch();
        server.kill();
    }
    void hear(std::size_t count)
    {
        run_until([&] { return heard.size() >= count; });
    }
    // A process that reads so many messages and tells how many it has, and none after that.
    std::unique_ptr<Child> reader(int messages) const
    {
        const std::string path = directory.path();
        return std::make_unique<Child>([path, messages](const Child::Side &side) {
            side.hear();
            if (kov_host_attach_server(path.c_str(), "server", server_sap) != 0)
                return 1;
            side.tell(1);
            struct Reading {
                const Child::Side &side;
                int wanted, seen;
            } reading{side, messages, 0};
            kov_host_on_message(
                [](const ipc_message *, void *arg) {
                    auto *self = static_cast<Reading *>(arg);
                    self->side.tell(++self->seen);
                    if (self->seen == self->wanted)
                        kov_host_on_message(nullptr, nullptr);
                },
                &reading);
            return kov_host_run();
        });
    }

    // Watches a reader that is there, and sends it messages that it reads.
    void have_read(Child &reader, int messages)
    {
        serve(reader);
        attach();
        watch();
        for (int i = 1; i <= messages; ++i) {
            EXPECT_EQ(send(), 0);
            EXPECT_EQ(reader.next(), i);
        }
    }

    std::vector<int> heard;

public:
    int send() const { return ipc_send(handle, node, server_sap, 0x3d400, "x", 1, 0, 0, 0); }
};

TEST_F(Peer, IsHeardGoingAndComingBack)
{
    const auto first = server(), second = server();
    serve(*first);
    attach();
    watch();
    run_ready();
    EXPECT_EQ(heard, std::vector<int>()) << "nothing has changed yet";
    const kov_host_counters before = counters();
    first->kill();
    hear(1);
    serve(*second);
    hear(2);
    EXPECT_EQ(heard, (std::vector<int>{0, 1}));
    EXPECT_EQ(counters().ipc_peer_losses - before.ipc_peer_losses, 1u);
    EXPECT_EQ(counters().ipc_peer_returns - before.ipc_peer_returns, 1u);
    EXPECT_EQ(send(), 0);
}

TEST_F(Peer, ThatIsNotThereYetIsHeardWhenItComes)
{
    const auto first = server();
    // The directory is the server's to create; here it stands already.
    attach();
    watch();
    run_ready();
    EXPECT_EQ(heard, std::vector<int>());
    serve(*first);
    hear(1);
    EXPECT_EQ(heard, (std::vector<int>{1}));
}

TEST_F(Peer, ReplacedAtOnceIsHeardGoingAndComingBack)
{
    const auto first = server(), second = server();
    watch_and_kill(*first);
    serve(*second);
    hear(2);
    EXPECT_EQ(heard, (std::vector<int>{0, 1}));
}

// A process that is dying closes its descriptors in any order, and not all at once.
TEST_F(Peer, WhoseSocketTakesConnectionsIsNotBackUntilItAccepts)
{
    const auto first = server(), second = server();
    watch_and_kill(*first);
    hear(1);
    const kov_host_counters before = counters();
    {
        const auto dying = host_test::RawSocket::listening_at(directory / "ipc/sap-1248");
        while (!dying.is_ready())
            ASSERT_GE(kov_host_run_once(10), 0);
        EXPECT_EQ(send(), 0) << "into its queue";
        for (int i = 0; i < 5; ++i)
            kov_host_run_once(10);
        EXPECT_EQ(heard, (std::vector<int>{0}));
    }
    while (counters().ipc_peer_unread == before.ipc_peer_unread)
        ASSERT_GE(kov_host_run_once(10), 0);
    EXPECT_EQ(counters().ipc_peer_unread - before.ipc_peer_unread, 1u);
    serve(*second);
    hear(2);
    EXPECT_EQ(heard, (std::vector<int>{0, 1}));
    EXPECT_EQ(counters().ipc_peer_losses, before.ipc_peer_losses);
    EXPECT_EQ(counters().ipc_peer_returns - before.ipc_peer_returns, 1u);
}

TEST_F(Peer, WhoseDeathASendFindsFirstIsHeardAfterTheSend)
{
    const auto first = server(), second = server();
    watch_and_kill(*first);
    EXPECT_NE(send(), 0);
    EXPECT_EQ(heard, std::vector<int>()) << "a send calls nobody";
    hear(1);
    EXPECT_EQ(heard, (std::vector<int>{0}));
    serve(*second);
    hear(2);
    EXPECT_EQ(heard, (std::vector<int>{0, 1}));
}

TEST_F(Peer, ThatASendReachesAgainBeforeTheLoopRunsIsHeardGoingAndComingBack)
{
    const auto first = server(), second = server();
    watch_and_kill(*first);
    serve(*second);
    EXPECT_EQ(send(), 0) << "it goes to the successor";
    hear(2);
    EXPECT_EQ(heard, (std::vector<int>{0, 1}));
}

TEST_F(Peer, IsNotHeardByWhoStoppedWatching)
{
    const auto first = server(), second = server();
    watch_and_kill(*first);
    EXPECT_EQ(kov_host_peer_watch(server_sap, nullptr, nullptr), 0);
    serve(*second);
    run_ready();
    EXPECT_EQ(heard, std::vector<int>());
    watch(); // present now: a connection is made
    second->kill();
    hear(1);
    EXPECT_EQ(heard, (std::vector<int>{0}));
}

TEST_F(Peer, MayBeForgottenAndMessagesSentInsideTheCallback)
{
    struct Once {
        Peer *test;
        int calls, sent;
    } once{this, 0, -1};
    const auto first = server();
    attach();
    ASSERT_EQ(kov_host_peer_watch(
                  server_sap,
                  [](std::uint32_t, int, void *arg) {
                      auto *self = static_cast<Once *>(arg);
                      ++self->calls;
                      self->sent = self->test->send();
                      kov_host_peer_watch(server_sap, nullptr, nullptr);
                  },
                  &once),
              0);
    serve(*first);
    run_until([&] { return once.calls == 1; });
    EXPECT_EQ(once.sent, 0);
    run_ready();
    EXPECT_EQ(once.calls, 1);
}

TEST_F(Peer, ThatDiesWithMessagesInItsQueueIsCountedByTheirSender)
{
    const auto first = server(), second = server();
    serve(*first);
    attach();
    watch();
    const kov_host_counters before = counters();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(send(), 0);
    first->kill();
    hear(1);
    EXPECT_EQ(counters().ipc_peer_unread - before.ipc_peer_unread, 3u);
    EXPECT_EQ(counters().ipc_send_failures, before.ipc_send_failures) << "they were sent";
    serve(*second);
    hear(2);
    EXPECT_EQ(send(), 0);
    second->kill();
    EXPECT_NE(send(), 0) << "the send finds the death first";
    EXPECT_EQ(counters().ipc_peer_unread - before.ipc_peer_unread, 4u);
}

TEST_F(Peer, ThatHasReadAllItsMessagesLosesNone)
{
    const auto first = reader(2);
    const kov_host_counters before = counters();
    have_read(*first, 2);
    first->kill();
    hear(1);
    EXPECT_EQ(counters().ipc_peer_unread, before.ipc_peer_unread);
}

// What the peer had read is forgotten once a send finds its queue empty, and not before.
TEST_F(Peer, ThatHasReadSomeOfItsMessagesLosesAtMostTheOthers)
{
    const auto first = reader(2);
    const kov_host_counters before = counters();
    have_read(*first, 2);
    EXPECT_EQ(send(), 0);
    EXPECT_EQ(send(), 0);
    first->kill();
    hear(1);
    EXPECT_EQ(counters().ipc_peer_unread - before.ipc_peer_unread, 2u);
}

TEST_F(Peer, CannotBeWatchedByWhoIsNotAttached)
{
    EXPECT_EQ(kov_host_peer_watch(
                  server_sap, [](std::uint32_t, int, void *) {}, nullptr),
              -1);
    EXPECT_STREQ(kov_host_error(), "not attached");
}

} // namespace
