// Profiles as words and as bytes: options, messages and requests.
#include "frames.h"
#include "profile_lab.h"

#include <algorithm>
#include <cstring>

namespace
{

using namespace integration;
using namespace kov_lab;

TEST(ProfileOptions, AreWrittenInTheWordsInWhichTheyAreRead)
{
    const std::string text =
        "entity=33 vni=5000 vlan=7 mac=0011.2233.4455 domain=d host_id=i vrf=red profile=web "
        "instance=w1 include_vrf=blue include_profile=base include_instance=b1 user_data=u "
        "param=mtu=9000 param=x include_param=y";
    const std::vector<std::string> words = words_of(text);
    std::vector<const char *> pointers;
    for (const std::string &word : words)
        pointers.push_back(word.c_str());
    EXPECT_EQ(options_text(key_with("h", pointers).options), text);
    EXPECT_EQ(options_text(key_with("h", {}).options), "");
    EXPECT_EQ(options_text(key_with("h", {"vni=5000", "profile=my web", "param=a b"}).options),
              "vni=5000 \"profile=my web\" \"param=a b\"");
    EXPECT_EQ(options_text(key_with("h", {"vni=5000", "vlan=7"}).options), "vni=5000 vlan=7")
        << "a host with both is keyed on its segment";
    EXPECT_EQ(options_text(key_with("h", {"vlan=7", "entity=16"}).options), "entity=16 vlan=7");
}

TEST(ProfileOptions, AreRefusedWithTheReason)
{
    const std::string fitting = "param=" + std::string(255, 'x');
    const std::string parameter = fitting + 'x';
    const std::vector<const char *> many(9, fitting.c_str());
    kov_profile_options_t options;
    std::string why;
    EXPECT_FALSE(parse_options(std::vector{parameter.c_str()}, options, why));
    EXPECT_EQ(why, "param: is longer than 255 characters");
    EXPECT_FALSE(parse_options(many, options, why));
    EXPECT_EQ(why, "param: there is no room for more");
    EXPECT_FALSE(parse_options(std::vector{"mac=x"}, options, why));
    EXPECT_TRUE(why.starts_with("mac: ")) << why;
}

TEST(ProfileOptions, FromAPeerAreToldAsFarAsTheyLieInTheirList)
{
    kov_profile_options_t options{};
    options.config_profile.param_count = 255;
    options.config_profile.c_param_tlv[1] = 1;
    options.config_profile.c_param_tlv[2] = '\033';
    options.config_profile.c_param_tlv[4] = 255;
    const std::string text = options_text(options);
    EXPECT_TRUE(text.starts_with("param=? param= param=")) << text;
    options.config_profile.c_param_tlv[4 + 255] = 1;
    std::memset(options.config_profile.c_param_tlv, 255, sizeof options.config_profile.c_param_tlv);
    const std::string full = options_text(options);
    EXPECT_EQ(static_cast<std::size_t>(std::count(full.begin(), full.end(), '=')), 7u)
        << "seven entries of 257 bytes lie in 2048, the eighth does not";
}

TEST(ProfileMessage, IsTheKeyAndItsReplyBehindAHeader)
{
    kov_profile_reply reply{};
    reply.code = 42;
    reply.vni = 0x010203;
    reply.bd = 0x0405;
    reply.vlan = 7;
    const Bytes message = profile_message(key_with("h1", {"vni=5000"}), reply);
    EXPECT_EQ(message.size(), 5555u);
    EXPECT_EQ(hex(message, 0, 4), "35000c00");
    EXPECT_EQ(hex(message, 20, 8), "00000001"
                                   "000015b3")
        << "one key, network order";
    EXPECT_EQ(hex(message, 161, 13), "06"
                                     "03"
                                     "00000000"
                                     "00000000"
                                     "02"
                                     "6831");
    EXPECT_EQ(hex(message, 5535, 20), "2a000000"
                                      "03020100"
                                      "0504"
                                      "0000"
                                      "07000000"
                                      "00000000")
        << "host order";
    EXPECT_EQ(describe_sent(message),
              "type 12, profile message: add of h1 (reference 0): Clear: Profile deleted");
}

struct BadRequest {
    std::size_t at;
    std::uint8_t byte;
    const char *why;
};

TEST(ProfileRequest, IsBelievedOnlyWithAWholeHostsKey)
{
    Bytes good(176 + 5374);
    good[0] = 53;
    good[2] = 12;
    good[164] = 1;
    good[168] = 5374 & 0xff;
    good[169] = 5374 >> 8;
    good[172] = 6;
    good[173] = 9;
    good[182] = 45;
    std::string why;
    ASSERT_TRUE(host_key_of(good, why));
    EXPECT_EQ(describe_frame(KOV_OPC_CLIENT, good), "profile operation 9 of  (reference 0)");
    for (const BadRequest &row : {BadRequest{164, 2, "its profile request has no host's key"},
                                  BadRequest{168, 0, "its profile request has no host's key"},
                                  BadRequest{172, 2, "its profile request has no host's key"},
                                  BadRequest{182, 46, "its host's key is longer than 45 bytes"}}) {
        Bytes bad = good;
        bad[row.at] = row.byte;
        EXPECT_FALSE(host_key_of(bad, why)) << row.at;
        EXPECT_EQ(why, row.why);
    }
    good.resize(176 + 5374 + 204);
    EXPECT_TRUE(host_key_of(good, why)) << "longer by a key that could not be sent";
    good.resize(176 + 5373);
    EXPECT_FALSE(host_key_of(good, why)) << "three zero bytes behind the key, not four";
    EXPECT_EQ(why, "its profile request has no host's key");
    EXPECT_EQ(describe_frame(KOV_OPC_CLIENT, good), "profile request, key of 5374 bytes");
}

} // namespace
