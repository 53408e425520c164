// What an operator sees of the inside of a client: the library's report, and what the switch can do.
#include "real_lab.h"

namespace
{

using namespace integration;

class ShownReport : public RealLab
{
protected:
    // The value behind a label, in the lines that follow `heading`.
    static std::string value(const std::string &text, const std::string &heading, const std::string &label)
    {
        const std::size_t from = text.find(heading);
        const std::size_t at = from == text.npos ? from : text.find("\n" + label, from);
        if (at == text.npos)
            return "(none)";
        const std::size_t begin = text.find(" : ", at) + 3;
        return text.substr(begin, text.find('\n', begin) - begin);
    }
};

TEST_F(ShownReport, IsTheClientsOwnAndFollowsTheServer)
{
    serve();
    client("arp", "4,8,9");
    std::string text = ask("-c arp show cache");
    EXPECT_EQ(value(text, "KOV Cache", "Is Initialized"), "Yes");
    EXPECT_EQ(value(text, "KOV Cache", "Client Flags"), "0x00000310");
    EXPECT_EQ(value(text, "KOV Cache", "Vrf allocs/Bytes"), "3/192");

    text = ask("-c arp show cache detail");
    EXPECT_EQ(value(text, "RDB Type                       : 1", "Fabric Id"), "7");
    EXPECT_EQ(value(text, "RDB Type                       : 1", "Router MAC"), "(none)")
        << "not registered for 16";
    EXPECT_EQ(value(text, "RDB Type                       : 4", "#Allocs/Bytes Alloc"), "60/1200");
    EXPECT_EQ(value(text, "RDB Type                       : 6", "#Allocs/Bytes Alloc"), "0/0");
    ask("set geninfo fabric_id=42");
    ask("-c arp wait handled 1");
    EXPECT_EQ(value(ask("-c arp show cache detail"), "RDB Type                       : 1", "Fabric Id"),
              "42");
}

TEST_F(ShownReport, RefusesWordsThatItDoesNotKnow)
{
    serve();
    client("arp");
    const Result refused = kovctl("-c arp show cache everything");
    EXPECT_EQ(refused.status, 2);
    EXPECT_EQ(refused.err, "usage: show cache [detail]\n");
}

TEST_F(ShownReport, OfTheCapabilityFollowsTheCardWhichThisMachineHasOnlyWhenToldSo)
{
    const std::string both = "fabric forwarding: yes\n"
                             "host auto-configuration: yes\n"
                             "the card supports auto-configuration only: no\n";
    const std::string one = "fabric forwarding: no\n"
                            "host auto-configuration: yes\n"
                            "the card supports auto-configuration only: yes\n";
    serve();
    client("arp");
    EXPECT_EQ(ask("-c arp show capability"), both);
    EXPECT_EQ(ask("-c arp set card 0x2300"), "the card is 0x2300\n");
    EXPECT_EQ(ask("-c arp show capability"), one);
    EXPECT_EQ(ask("-c arp set card 8717"), "the card is 0x220d\n");
    EXPECT_EQ(ask("-c arp show capability"), both);
    ask("-c arp load " + write("card.json", R"({"card_type": "0x0000"})"));
    EXPECT_EQ(ask("-c arp show capability"), one);
    EXPECT_EQ(ask("-c arp set card none"), "the card is none\n");
    EXPECT_EQ(ask("-c arp show capability"), both);
}

} // namespace
