// Messages between access points, in one process and in several.
#include "host/host_test.h"
#include "host/raw_socket.h"

#include <kov/platform/coop_sched.h>
#include <kov/platform/ipc.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <sys/resource.h>
#include <sys/socket.h>
#include <vector>

namespace
{

using host_test::Child;

constexpr std::uint32_t node = 0xfe000000u;
constexpr std::uint32_t server_sap = 1248;
constexpr std::uint32_t opcode = 0x3d400;

struct Received {
    std::uint32_t opcode;
    std::uint32_t sap;
    std::int32_t pid;
    std::uint32_t uid;
    std::uint32_t gid;
    std::int32_t handle;
    std::vector<std::uint8_t> bytes;
    bool null_payload;
};

Received copy_of(const ipc_message *msg)
{
    const auto *bytes = static_cast<const std::uint8_t *>(ipc_payload_get(msg));
    Received copy{ipc_opc_get(msg),
                  kov_host_message_sap(msg),
                  kov_host_message_pid(msg),
                  kov_host_message_uid(msg),
                  kov_host_message_gid(msg),
                  kov_host_message_handle(msg),
                  {},
                  bytes == nullptr};
    if (bytes != nullptr)
        copy.bytes.assign(bytes, bytes + ipc_payload_size(msg));
    return copy;
}

int send(std::int32_t from, std::uint32_t sap, const std::vector<std::uint8_t> &bytes,
         std::uint32_t op = opcode)
{
    return ipc_send(from, node, sap, op, bytes.data(), static_cast<std::uint32_t>(bytes.size()), 0, 0, 0);
}

std::vector<std::uint8_t> bytes_of(std::uint32_t number)
{
    std::vector<std::uint8_t> bytes(sizeof number);
    std::memcpy(bytes.data(), &number, sizeof number);
    return bytes;
}

std::uint32_t number_of(const Received &message)
{
    std::uint32_t number = 0;
    if (message.bytes.size() == sizeof number)
        std::memcpy(&number, message.bytes.data(), sizeof number);
    return number;
}

class Ipc : public host_test::Host
{
protected:
    void SetUp() override
    {
        attach("test");
        other = kov_host_ipc_open(0);
        ASSERT_GT(other, handle);
        receive();
    }

    void receive()
    {
        kov_host_on_message(
            [](const ipc_message *msg, void *arg) {
                static_cast<std::vector<Received> *>(arg)->push_back(copy_of(msg));
            },
            &received);
    }

    std::uint32_t other_sap() const { return static_cast<std::uint32_t>(ipc_sap_get(other)); }

    void receive_all(std::size_t count)
    {
        run_until([&] { return received.size() >= count; });
        run_ready();
        ASSERT_EQ(received.size(), count);
    }

    // A connection of a peer that makes its own frames.
    host_test::RawSocket raw_connection(std::uint32_t sap) const
    {
        return host_test::RawSocket::connected_to(directory / ("ipc/sap-" + std::to_string(sap)));
    }

    static std::vector<std::uint8_t> frame(std::uint32_t length, std::size_t payload)
    {
        const std::uint32_t header[] = {opcode, 77, length};
        std::vector<std::uint8_t> bytes(sizeof header + payload, 0xab);
        std::memcpy(bytes.data(), header, sizeof header);
        return bytes;
    }

    std::int32_t other = 0;
    std::vector<Received> received;
};

TEST_F(Ipc, AMessageArrivesWithItsOpcodeBytesAndSender)
{
    ASSERT_EQ(send(handle, other_sap(), {1, 2, 3}, 0x13c04), 0);
    receive_all(1);
    EXPECT_EQ(received[0].opcode, 0x13c04u);
    EXPECT_EQ(received[0].bytes, (std::vector<std::uint8_t>{1, 2, 3}));
    EXPECT_EQ(received[0].sap, static_cast<std::uint32_t>(ipc_sap_get(handle)));
    EXPECT_EQ(received[0].handle, other);
    EXPECT_EQ(received[0].pid, ::getpid());
    EXPECT_EQ(received[0].uid, ::geteuid());
    EXPECT_EQ(received[0].gid, ::getegid());
}

TEST_F(Ipc, AnEmptyMessageHasANullPayload)
{
    ASSERT_EQ(ipc_send(handle, node, other_sap(), opcode, nullptr, 0, 0, 0, 0), 0);
    ASSERT_EQ(ipc_send(handle, node, other_sap(), opcode, "x", 0, 0, 0, 0), 0);
    receive_all(2);
    EXPECT_TRUE(received[0].null_payload);
    EXPECT_TRUE(received[1].null_payload);
}

TEST_F(Ipc, MessagesKeepTheirBoundariesAndTheirOrder)
{
    const std::size_t sizes[] = {1, 50, 0, 164, 5555, 65536, 2, 73, 4096};
    std::uint8_t fill = 0;
    for (const std::size_t size : sizes)
        ASSERT_EQ(send(handle, other_sap(), std::vector<std::uint8_t>(size, ++fill)), 0) << size;
    receive_all(std::size(sizes));
    fill = 0;
    for (std::size_t i = 0; i < std::size(sizes); ++i)
        EXPECT_EQ(received[i].bytes, std::vector<std::uint8_t>(sizes[i], ++fill)) << i;
}

TEST_F(Ipc, TheLongestMessageArrivesAndALongerOneIsRefused)
{
    std::vector<std::uint8_t> bytes(KOV_HOST_MAX_MESSAGE, 0x5a);
    ASSERT_EQ(send(handle, other_sap(), bytes), 0);
    receive_all(1);
    EXPECT_EQ(received[0].bytes, bytes);
    bytes.push_back(0);
    errno = 0;
    EXPECT_NE(send(handle, other_sap(), bytes), 0);
    EXPECT_EQ(errno, EMSGSIZE);
}

TEST_F(Ipc, AProcessMaySendToItself)
{
    ASSERT_EQ(send(handle, static_cast<std::uint32_t>(ipc_sap_get(handle)), {9}), 0);
    receive_all(1);
    EXPECT_EQ(received[0].handle, handle);
}

TEST_F(Ipc, NothingArrivesBeforeTheSenderReturnsToItsLoop)
{
    ASSERT_EQ(send(handle, other_sap(), {1}), 0);
    EXPECT_TRUE(received.empty());
    receive_all(1);
}

TEST_F(Ipc, WhatCannotBeSentIsRefusedWithItsReason)
{
    const struct {
        const char *what;
        std::int32_t from;
        std::uint32_t node;
        std::uint32_t sap;
        const void *payload;
        std::uint32_t size;
        int reason;
    } rows[] = {
        {"handle 0", 0, node, other_sap(), "x", 1, EBADF},
        {"handle -1", -1, node, other_sap(), "x", 1, EBADF},
        {"a handle never opened", 99, node, other_sap(), "x", 1, EBADF},
        {"another node", handle, 0xfe000001u, other_sap(), "x", 1, EHOSTUNREACH},
        {"a null payload", handle, node, other_sap(), nullptr, 1, EINVAL},
        {"nobody", handle, node, 1, "x", 1, ECONNREFUSED},
        {"the server that is not there", handle, node, server_sap, "x", 1, ECONNREFUSED},
    };
    for (const auto &row : rows) {
        const kov_host_counters before = counters();
        errno = 0;
        EXPECT_NE(ipc_send(row.from, row.node, row.sap, opcode, row.payload, row.size, 0, 0, 0), 0)
            << row.what;
        EXPECT_EQ(errno, row.reason) << row.what;
        EXPECT_EQ(counters().ipc_send_failures, before.ipc_send_failures + 1) << row.what;
        EXPECT_EQ(counters().ipc_peer_absent - before.ipc_peer_absent, row.reason == ECONNREFUSED ? 1u : 0u);
        EXPECT_EQ(counters().ipc_sends, before.ipc_sends) << row.what;
    }
}

TEST_F(Ipc, AFullQueueIsAnErrorAndLosesNothing)
{
    const kov_host_counters before = counters();
    std::uint32_t sent = 0;
    while (send(handle, other_sap(), bytes_of(sent)) == 0)
        ++sent;
    EXPECT_EQ(errno, EAGAIN);
    EXPECT_GT(sent, 100u);
    EXPECT_EQ(counters().ipc_queue_full, before.ipc_queue_full + 1);
    EXPECT_EQ(counters().ipc_send_failures, before.ipc_send_failures + 1);
    EXPECT_EQ(counters().ipc_sends, before.ipc_sends + sent);
    receive_all(sent);
    for (std::uint32_t i = 0; i < sent; ++i)
        EXPECT_EQ(number_of(received[i]), i);
    EXPECT_EQ(send(handle, other_sap(), bytes_of(sent)), 0);
    receive_all(sent + 1);
    EXPECT_EQ(counters().ipc_receives, before.ipc_receives + sent + 1);
}

TEST_F(Ipc, AFullQueueOfOnePeerLeavesTheOthersOpen)
{
    const std::int32_t third = kov_host_ipc_open(0);
    while (send(handle, other_sap(), {1}) == 0) {
    }
    EXPECT_EQ(send(handle, static_cast<std::uint32_t>(ipc_sap_get(third)), {2}), 0);
}

TEST_F(Ipc, FramesThatLieAboutTheirLengthAreThrownAwayAndCounted)
{
    const auto peer = raw_connection(other_sap());
    const std::vector<std::uint8_t> frames[] = {
        {1, 2, 3},                                                 // shorter than a header
        frame(8, 4),                                               // less than it says
        frame(2, 4),                                               // more than it says
        frame(0xffffffffu, 0),                                     // far more
        frame(KOV_HOST_MAX_MESSAGE + 1, KOV_HOST_MAX_MESSAGE + 1), // truthful, too long
        {},                                                        // nothing at all
    };
    const kov_host_counters before = counters();
    for (const auto &bytes : frames)
        peer.send(bytes);
    const std::vector<std::uint8_t> good = frame(4, 4);
    peer.send(good);
    receive_all(1);
    EXPECT_EQ(received[0].bytes, std::vector<std::uint8_t>(4, 0xab));
    EXPECT_EQ(received[0].sap, 77u);
    EXPECT_EQ(received[0].pid, ::getpid());
    EXPECT_EQ(counters().ipc_frames_refused, before.ipc_frames_refused + std::size(frames));
}

TEST_F(Ipc, WhatAPeerSentBeforeItLeftStillArrives)
{
    auto peer = raw_connection(other_sap());
    const std::vector<std::uint8_t> good = frame(4, 4);
    for (int i = 0; i < 40; ++i)
        peer.send(good);
    peer.close();
    const kov_host_counters before = counters();
    receive_all(40);
    EXPECT_EQ(counters().ipc_frames_refused, before.ipc_frames_refused);
}

// The kernel calls such an end a reset. It is an error of the connection, and no reason to leave what waits.
TEST_F(Ipc, WhatAPeerSentThatNeverReadItsGreetingStillArrives)
{
    kov_host_on_message(nullptr, nullptr);
    auto peer = raw_connection(other_sap());
    for (int i = 0; i < 40; ++i)
        peer.send(frame(4, 4));
    run_ready();
    EXPECT_TRUE(peer.is_ready()) << "accepted and greeted";
    peer.close();
    receive();
    receive_all(40);
}

TEST_F(Ipc, WhoIsAcceptedIsGreeted)
{
    const auto peer = raw_connection(other_sap());
    EXPECT_FALSE(peer.is_ready());
    run_ready();
    std::uint8_t bytes[20];
    ASSERT_EQ(::recv(peer.fd(), bytes, sizeof bytes, MSG_DONTWAIT), 12);
    const std::uint32_t greeting[] = {0, other_sap(), 0};
    EXPECT_EQ(std::memcmp(bytes, greeting, sizeof greeting), 0);
}

TEST_F(Ipc, MorePeersThanAreServedWaitAndLoseNothing)
{
    rlimit limit{};
    ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &limit), 0);
    const rlimit former = limit;
    limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, 4096);
    if (limit.rlim_cur < 2048 || ::setrlimit(RLIMIT_NOFILE, &limit) != 0)
        GTEST_SKIP() << "needs 2048 descriptors";
    std::vector<host_test::RawSocket> peers;
    const std::vector<std::uint8_t> good = frame(4, 4);
    for (int i = 0; i < 600; ++i) {
        peers.push_back(raw_connection(other_sap()));
        peers.back().send(good);
    }
    run_ready();
    EXPECT_EQ(received.size(), 512u);
    for (int i = 0; i < 100; ++i)
        peers[static_cast<std::size_t>(i)].close();
    receive_all(600);
    peers.clear();
    run_ready();
    ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &former), 0);
}

TEST_F(Ipc, WithoutAReceiverMessagesWait)
{
    kov_host_on_message(nullptr, nullptr);
    ASSERT_EQ(send(handle, other_sap(), {1}), 0);
    run_ready();
    ASSERT_EQ(send(handle, other_sap(), {2}), 0);
    run_ready();
    EXPECT_TRUE(received.empty());
    receive();
    receive_all(2);
    kov_host_on_message(nullptr, nullptr);
    ASSERT_EQ(send(handle, other_sap(), {3}), 0);
    run_ready();
    EXPECT_EQ(received.size(), 2u);
}

TEST_F(Ipc, OptionsAreKeptPerHandleAndOpcode)
{
    EXPECT_EQ(ipc_options_get(handle, opcode), 0u);
    EXPECT_EQ(ipc_options_set(handle, opcode, 0x10), 0);
    EXPECT_EQ(ipc_options_set(handle, opcode + 1, 0x20), 0);
    EXPECT_EQ(ipc_options_set(other, opcode, 0x40), 0);
    EXPECT_EQ(ipc_options_get(handle, opcode), 0x10u);
    EXPECT_EQ(ipc_options_get(handle, opcode + 1), 0x20u);
    EXPECT_EQ(ipc_options_get(other, opcode), 0x40u);
    EXPECT_EQ(ipc_options_set(handle, opcode, 0), 0);
    EXPECT_EQ(ipc_options_get(handle, opcode), 0u);
    errno = 0;
    EXPECT_NE(ipc_options_set(0, opcode, 1), 0);
    EXPECT_EQ(errno, EBADF);
    EXPECT_EQ(ipc_options_get(-1, opcode), 0u);
}

TEST_F(Ipc, AHandleHasItsAccessPointUntilItIsClosed)
{
    EXPECT_EQ(ipc_sap_get(handle), 2000);
    EXPECT_EQ(ipc_sap_get(other), 2001);
    EXPECT_EQ(ipc_sap_get(0), -1);
    EXPECT_EQ(ipc_sap_get(-1), -1);
    const std::uint32_t sap = other_sap();
    EXPECT_EQ(kov_host_ipc_close(other), 0);
    EXPECT_EQ(ipc_sap_get(other), -1);
    EXPECT_EQ(kov_host_ipc_close(other), -1);
    errno = 0;
    EXPECT_NE(send(handle, sap, {1}), 0);
    EXPECT_EQ(errno, ECONNREFUSED);
    EXPECT_EQ(kov_host_ipc_close(handle), -1) << "the process's own handle stays";
}

TEST_F(Ipc, AnAccessPointThatIsTakenIsRefusedWithThePid)
{
    EXPECT_EQ(kov_host_ipc_open(other_sap()), -1);
    EXPECT_EQ(std::string(kov_host_error()), "service access point 2001 is taken by a running process (pid " +
                                                 std::to_string(::getpid()) + ")");
    EXPECT_GT(kov_host_ipc_open(4711), 0);
}

TEST_F(Ipc, APeerThatClosedIsFoundOnTheNextSendAndItsSuccessorToo)
{
    const std::uint32_t sap = other_sap();
    ASSERT_EQ(send(handle, sap, {1}), 0);
    receive_all(1);
    ASSERT_EQ(kov_host_ipc_close(other), 0);
    errno = 0;
    EXPECT_NE(send(handle, sap, {2}), 0);
    EXPECT_EQ(errno, ECONNREFUSED);
    other = kov_host_ipc_open(sap);
    ASSERT_GT(other, 0);
    EXPECT_EQ(send(handle, sap, {3}), 0);
    receive_all(2);
    EXPECT_EQ(received[1].bytes, std::vector<std::uint8_t>{3});
}

TEST_F(Ipc, AReceiverMayCloseTheHandleThatItReceivesOn)
{
    kov_host_on_message(
        [](const ipc_message *msg, void *arg) {
            static_cast<std::vector<Received> *>(arg)->push_back(copy_of(msg));
            EXPECT_EQ(kov_host_ipc_close(kov_host_message_handle(msg)), 0);
        },
        &received);
    ASSERT_EQ(send(handle, other_sap(), {1}), 0);
    ASSERT_EQ(send(handle, other_sap(), {2}), 0);
    run_until([&] { return !received.empty(); });
    run_ready();
    EXPECT_EQ(received.size(), 1u);
}

TEST_F(Ipc, AReceiverThatYieldsIsNotEnteredAgain)
{
    struct State {
        int depth = 0;
        int deepest = 0;
        int messages = 0;
    } state;
    kov_host_on_message(
        [](const ipc_message *, void *arg) {
            auto &now = *static_cast<State *>(arg);
            now.deepest = std::max(now.deepest, ++now.depth);
            coop_sched_yield();
            --now.depth;
            ++now.messages;
        },
        &state);
    const std::int32_t third = kov_host_ipc_open(0);
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(send(handle, other_sap(), {1}), 0);
        ASSERT_EQ(send(third, other_sap(), {1}), 0);
        ASSERT_EQ(send(other, static_cast<std::uint32_t>(ipc_sap_get(handle)), {1}), 0);
    }
    run_until([&] { return state.messages == 15; });
    EXPECT_EQ(state.deepest, 1);
}

// ------------------------------------------------------------------------------------- several processes

class Processes : public Ipc
{
protected:
    void SetUp() override {}

    void attach_and_receive()
    {
        attach("test");
        receive();
    }

    // A server that tells when it listens, and then the bytes' number of each message.
    std::function<int(const Child::Side &)> server() const
    {
        return [where = directory.path()](const Child::Side &test) {
            if (kov_host_attach_server(where.c_str(), "kovd", server_sap) != 0)
                return 1;
            test.tell(0);
            kov_host_on_message(
                [](const ipc_message *msg, void *arg) {
                    static_cast<const Child::Side *>(arg)->tell(number_of(copy_of(msg)));
                },
                const_cast<Child::Side *>(&test));
            return kov_host_run();
        };
    }
};

TEST_F(Processes, AMessageReachesAnotherProcessAndItsReplyComesBack)
{
    Child server([where = directory.path()](const Child::Side &test) {
        if (kov_host_attach_server(where.c_str(), "kovd", server_sap) != 0)
            return 1;
        test.tell(0);
        kov_host_on_message(
            [](const ipc_message *msg, void *) {
                const std::uint8_t reply[] = {42};
                ipc_send(kov_host_ipc_handle(), node, kov_host_message_sap(msg), ipc_opc_get(msg), reply, 1,
                         0, 0, 0);
                kov_host_stop(kov_host_message_pid(msg) == ::getppid() ? 7 : 8);
            },
            nullptr);
        return kov_host_run();
    });
    ASSERT_EQ(server.next(), 0);
    attach_and_receive();
    ASSERT_EQ(send(handle, server_sap, {1}), 0);
    receive_all(1);
    EXPECT_EQ(received[0].bytes, std::vector<std::uint8_t>{42});
    EXPECT_EQ(received[0].sap, server_sap);
    EXPECT_EQ(received[0].pid, server.pid());
    EXPECT_EQ(server.wait(), 7) << "the sender's pid is what the kernel says";
}

TEST_F(Processes, EachSenderKeepsItsOrder)
{
    const auto sender = [where = directory.path()](std::uint32_t first) {
        return [where, first](const Child::Side &test) {
            test.hear();
            if (kov_host_attach_tool(where.c_str()) != 0)
                return 1;
            for (std::uint32_t i = 0; i < 50; ++i)
                if (send(kov_host_ipc_handle(), server_sap, bytes_of(first + i)) != 0)
                    return 2;
            return 0;
        };
    };
    Child one(sender(1000));
    Child two(sender(2000));
    ASSERT_EQ(kov_host_attach_server(dir(), "kovd", server_sap), 0) << kov_host_error();
    receive();
    one.go();
    two.go();
    run_until([&] { return received.size() >= 100; });
    EXPECT_EQ(one.wait(), 0);
    EXPECT_EQ(two.wait(), 0);
    std::uint32_t next_one = 1000;
    std::uint32_t next_two = 2000;
    for (const Received &message : received)
        EXPECT_EQ(number_of(message), number_of(message) < 2000 ? next_one++ : next_two++);
    EXPECT_EQ(next_one, 1050u);
    EXPECT_EQ(next_two, 2050u);
}

TEST_F(Processes, AServerThatWasKilledIsAnErrorAndItsSuccessorIsReached)
{
    Child first(server());
    Child second([body = server()](const Child::Side &test) {
        test.hear();
        return body(test);
    });
    ASSERT_EQ(first.next(), 0);
    attach_and_receive();
    ASSERT_EQ(send(handle, server_sap, bytes_of(1)), 0);
    EXPECT_EQ(first.next(), 1);
    first.kill();
    for (int i = 0; i < 3; ++i) {
        errno = 0;
        EXPECT_NE(send(handle, server_sap, bytes_of(2)), 0);
        EXPECT_EQ(errno, ECONNREFUSED);
    }
    second.go();
    ASSERT_EQ(second.next(), 0) << "the killed server's socket is in the way of nobody";
    EXPECT_EQ(send(handle, server_sap, bytes_of(3)), 0);
    EXPECT_EQ(second.next(), 3);
}

TEST_F(Processes, AServerThatDoesNotReadFillsItsQueueAndLosesNothing)
{
    Child server([where = directory.path()](const Child::Side &test) {
        if (kov_host_attach_server(where.c_str(), "kovd", server_sap) != 0)
            return 1;
        test.tell(0);
        test.hear();
        kov_host_on_message(
            [](const ipc_message *msg, void *arg) {
                static_cast<const Child::Side *>(arg)->tell(number_of(copy_of(msg)));
            },
            const_cast<Child::Side *>(&test));
        return kov_host_run();
    });
    ASSERT_EQ(server.next(), 0);
    attach_and_receive();
    std::uint32_t sent = 0;
    while (send(handle, server_sap, bytes_of(sent)) == 0)
        ++sent;
    EXPECT_EQ(errno, EAGAIN);
    server.go();
    for (std::uint32_t i = 0; i < sent; ++i)
        ASSERT_EQ(server.next(), i);
}

} // namespace
