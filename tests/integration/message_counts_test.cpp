// What becomes of a message, by type and by cause: sent by a server and received by a client that are both
// this process.
#include "client_commands.h"
#include "message_counts.h"
#include "messages.h"
#include "publisher.h"
#include "real_lab.h"

#include <kov/kov_api.h>
#include <kov_host.h>

#include <arpa/inet.h>
#include <cstring>

namespace
{

using namespace kov_lab;

Bytes with_header(void (*change)(kov_client_msg &header), Bytes message)
{
    kov_client_msg header;
    std::memcpy(&header, message.data(), sizeof header);
    change(header);
    std::memcpy(message.data(), &header, sizeof header);
    return message;
}

class ReceivedMessages : public integration::RealLab
{
protected:
    void SetUp() override
    {
        std::string why;
        std::filesystem::create_directory(runtime());
        ASSERT_NE(Publisher::open(runtime(), false, why), nullptr) << why;
        ASSERT_EQ(kov_host_attach_server(runtime().c_str(), "kovd", KOV_SERVER_SAP), 0) << kov_host_error();
        open_client();
        before_ = message_counts();
    }
    void TearDown() override
    {
        kov_deregister_client();
        kov_api_close();
        kov_host_detach();
    }

    // From here on messages come from nobody who serves a client.
    void lose_server()
    {
        kov_host_detach();
        ASSERT_EQ(kov_host_attach_tool(runtime().c_str()), 0) << kov_host_error();
        open_client();
    }
    std::uint32_t register_for(std::initializer_list<std::uint32_t> mtypes) const
    {
        std::uint32_t list[KOV_MTYPE_LIST_LENGTH] = {};
        for (const std::uint32_t mtype : mtypes)
            list[mtype] = mtype;
        return kov_register_client(client_, "unit", list, nullptr);
    }
    // What kov_lab_dispatch gave for it.
    std::uint32_t send(const Bytes &message, std::uint32_t opcode = KOV_OPC_CLIENT)
    {
        const std::uint32_t before = received_;
        EXPECT_EQ(ipc_send(kov_host_ipc_handle(), KOV_SERVER_NODE,
                           static_cast<std::uint32_t>(ipc_sap_get(client_)), opcode, message.data(),
                           static_cast<std::uint32_t>(message.size()), 0, 0, 0),
                  0);
        while (received_ == before)
            EXPECT_GE(kov_host_run_once(-1), 0);
        return result_;
    }
    static Bytes word_message(std::uint32_t mtype)
    {
        const std::uint8_t record[4] = {};
        return make_message(mtype, record);
    }

    // Every count that grew since the last call: "9 wrong_length 1", in the order of the types.
    std::string grown()
    {
        std::string text;
        const MessageCounts &now = message_counts();
        for (std::size_t type = 0; type < now.size(); ++type)
            for (std::size_t i = 0; i < outcome_count; ++i)
                if (const std::uint64_t more = now[type].of[i] - before_[type].of[i])
                    text += (text.empty() ? "" : ", ") + std::to_string(type) + " " +
                            outcome_key(static_cast<Outcome>(i)) + " " + std::to_string(more);
        before_ = now;
        return text;
    }

    std::uint32_t received_ = 0;

private:
    void open_client()
    {
        client_ = kov_host_ipc_open(0);
        kov_host_on_message(receive, this);
    }
    static void receive(const ipc_message *msg, void *arg)
    {
        auto &self = *static_cast<ReceivedMessages *>(arg);
        if (kov_host_message_handle(msg) != self.client_)
            return; // the server's own
        self.result_ = kov_lab_dispatch(msg);
        ++self.received_;
    }

    std::int32_t client_ = 0;
    std::uint32_t result_ = 99;
    MessageCounts before_{};
};

TEST_F(ReceivedMessages, AreNotForAClientThatDidNotRegister)
{
    EXPECT_EQ(send(word_message(9)), 0u);
    EXPECT_EQ(send(acknowledgement()), 0u);
    EXPECT_EQ(grown(), "2 not_registered 1, 9 not_registered 1");
}

TEST_F(ReceivedMessages, AreHandledOrAcknowledgedOrNotOfATypeThatIsWanted)
{
    ASSERT_EQ(register_for({9}), 1u);
    EXPECT_EQ(send(word_message(9)), 1u) << "also while the acknowledgement is awaited";
    EXPECT_EQ(send(word_message(10)), 0u);
    EXPECT_EQ(grown(), "9 handled 1, 10 type_not_wanted 1");
    EXPECT_EQ(send(acknowledgement()), 0u) << "handed to nobody";
    EXPECT_EQ(kov_is_client_registration_done(), 1u);
    EXPECT_EQ(grown(), "2 acknowledged 1");
    EXPECT_EQ(send(word_message(9)), 1u);
    EXPECT_EQ(send(word_message(9)), 1u);
    EXPECT_EQ(send(make_message(0)), 0u);
    EXPECT_EQ(send(make_message(KOV_MTYPE_PROFILE_MGMT)), 0u) << "of any length";
    EXPECT_EQ(grown(), "0 type_not_wanted 1, 9 handled 2, 12 type_not_wanted 1");
}

TEST_F(ReceivedMessages, OfAnAcknowledgementThatTheClientRegisteredForAreHandled)
{
    ASSERT_EQ(register_for({2}), 1u);
    EXPECT_EQ(send(acknowledgement()), 1u);
    EXPECT_EQ(grown(), "2 handled 1");
}

struct Flaw {
    const char *what;
    std::uint32_t opcode;
    Bytes message;
    const char *counted;
};

TEST_F(ReceivedMessages, ThatAreNoneCountByTheFirstThingThatIsWrong)
{
    const Bytes good = word_message(9);
    const auto cut = [&](std::size_t size) {
        return Bytes(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(size));
    };
    const Flaw flaws[] = {
        {"another opcode", KOV_OPC_CLIENT + 1, good, "21 foreign_opcode 1"},
        {"another opcode, nothing in it", 0, {}, "21 foreign_opcode 1"},
        {"nothing in it", KOV_OPC_CLIENT, {}, "21 too_short 1"},
        {"a byte of the header missing", KOV_OPC_CLIENT, cut(160), "21 too_short 1"},
        {"a byte of the record missing", KOV_OPC_CLIENT, cut(164), "9 wrong_length 1"},
        {"another version", KOV_OPC_CLIENT, with_header([](kov_client_msg &h) { h.major = 52; }, good),
         "21 unknown_kind 1"},
        {"a type too high", KOV_OPC_CLIENT, with_header([](kov_client_msg &h) { h.mtype = 21; }, good),
         "21 unknown_kind 1"},
        {"a length too short", KOV_OPC_CLIENT,
         with_header([](kov_client_msg &h) { h.length = htonl(164); }, good), "9 wrong_length 1"},
        {"a count too high", KOV_OPC_CLIENT, with_header([](kov_client_msg &h) { h.count = htonl(2); }, good),
         "9 wrong_length 1"},
        {"a count that overflows", KOV_OPC_CLIENT,
         with_header([](kov_client_msg &h) { h.count = htonl(0x40000001); }, good), "9 wrong_length 1"},
        {"a flaw and a type that is not wanted", KOV_OPC_CLIENT,
         with_header([](kov_client_msg &h) { h.mtype = 10, h.count = htonl(2); }, good), "10 wrong_length 1"},
    };
    ASSERT_EQ(register_for({9}), 1u);
    send(acknowledgement());
    grown();
    for (const Flaw &flaw : flaws) {
        EXPECT_EQ(send(flaw.message, flaw.opcode), 0u) << flaw.what;
        EXPECT_EQ(grown(), flaw.counted) << flaw.what;
    }
    Bytes longer = good;
    longer.resize(longer.size() + 7);
    EXPECT_EQ(send(longer), 1u) << "more than its length is none";
    EXPECT_EQ(grown(), "9 handled 1");
}

TEST_F(ReceivedMessages, OfEveryTypeCountUnderIt)
{
    ASSERT_EQ(register_for({4, 5, 6, 9, 10, 14, 15, 16, 20}), 1u);
    send(acknowledgement());
    grown();
    for (const std::uint32_t mtype : {4u, 5u, 6u, 9u, 10u, 14u, 15u, 16u, 20u}) {
        EXPECT_EQ(send(word_message(mtype)), 1u);
        EXPECT_EQ(grown(), std::to_string(mtype) + " handled 1");
    }
}

// A request that cannot be sent leaves a client that counts as attached, and for which nothing is taken.
TEST_F(ReceivedMessages, ThatAreRefusedForNoReasonOfTheirOwnCountAsTheLibrarys)
{
    lose_server();
    EXPECT_EQ(register_for({9}), 0u);
    ASSERT_EQ(kov_is_client_attached(), 1u);
    EXPECT_EQ(send(word_message(9)), 0u);
    EXPECT_EQ(send(word_message(10)), 0u);
    EXPECT_EQ(send(acknowledgement()), 0u);
    EXPECT_EQ(grown(), "2 type_not_wanted 1, 9 by_library 1, 10 type_not_wanted 1");
}

TEST_F(ReceivedMessages, AddUpToWhatCame)
{
    ASSERT_EQ(register_for({9}), 1u);
    const std::uint64_t handled = handled_messages();
    const auto total = [] {
        std::uint64_t sum = 0;
        for (const TypeCounts &type : message_counts())
            sum += type.accepted() + type.refused();
        return sum;
    };
    const std::uint64_t before = total();
    send(acknowledgement());
    send(word_message(9));
    send(word_message(10));
    send({1, 2, 3});
    send({}, 7);
    EXPECT_EQ(total() - before, received_);
    EXPECT_EQ(handled_messages() - handled, 1u);
}

TEST_F(ReceivedMessages, RememberWhenTheLastOneCameThatWasNotInVain)
{
    ASSERT_EQ(register_for({9}), 1u);
    const std::uint64_t start = now_ms();
    send(word_message(10));
    send(word_message(9));
    send(with_header([](kov_client_msg &h) { h.count = 0; }, word_message(15)));
    EXPECT_GE(message_counts()[9].last_ms, start);
    EXPECT_LE(message_counts()[9].last_ms, now_ms());
    EXPECT_GE(message_counts()[10].last_ms, start) << "it would refresh a cache";
    EXPECT_LT(message_counts()[15].last_ms, start) << "refused";
}

TEST_F(ReceivedMessages, ThatAreNoneAtAllAreNotCounted)
{
    EXPECT_EQ(kov_lab_dispatch(nullptr), 0u);
    EXPECT_EQ(grown(), "");
}

} // namespace
