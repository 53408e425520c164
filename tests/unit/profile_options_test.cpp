// Profile options: the fresh record and the two parameter lists, byte by byte.
#include "samples.h"

#include <kov/kov_profile.h>

#include <ostream>

namespace
{

using fake::Bytes;

constexpr std::size_t room = 2048;

// One of the two lists: where it stands in the record, and its calls.
struct List {
    const char *name;
    std::size_t count_at, area_at;
    uint32_t (*add)(kov_profile_options_t *, const char *);
    uint32_t (*clear)(kov_profile_options_t *);
};

void PrintTo(const List &list, std::ostream *out) { *out << list.name; }

const List lists[] = {
    {"param", 627, 628, kov_profile_options_add_param, kov_profile_options_clear_param},
    {"include", 2968, 2969, kov_profile_options_add_include_param, kov_profile_options_clear_include_param},
};

class ProfileOptions : public Lab, public testing::WithParamInterface<List>
{
protected:
    ProfileOptions() : bytes_(sizeof(kov_profile_options_t))
    {
        EXPECT_EQ(kov_profile_options_init(options()), 1u);
    }

    kov_profile_options_t *options() { return reinterpret_cast<kov_profile_options_t *>(bytes_.data()); }
    uint32_t add(const std::string &text) { return list.add(options(), text.c_str()); }
    unsigned count() const { return bytes_[list.count_at]; }
    void set_count(uint8_t count) { bytes_[list.count_at] = count; }
    Bytes area(std::size_t from, std::size_t size) const
    {
        return bytes_at(&bytes_[list.area_at + from], size);
    }
    // Nine entries, so that `left` bytes of the area are free.
    void fill_up_to(std::size_t left)
    {
        for (int i = 0; i < 8; ++i)
            EXPECT_EQ(add(std::string(240, 'f')), 1u);
        EXPECT_EQ(add(std::string(room - std::size_t{8} * 242 - 2 - left, 'g')), 1u);
    }

    const List &list = GetParam();
    Bytes bytes_;
};

INSTANTIATE_TEST_SUITE_P(Of, ProfileOptions, testing::ValuesIn(lists),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(ProfileOptionsInit, ZeroesAll5318BytesAndNoMore)
{
    Bytes bytes(5318 + 2, 0x5A), expected(5320);
    expected.front() = expected.back() = 0x5A;
    EXPECT_EQ(kov_profile_options_init(reinterpret_cast<kov_profile_options_t *>(&bytes[1])), 1u);
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(kov_profile_options_init(nullptr), 0u);
}

TEST_P(ProfileOptions, ParametersFollowEachOtherWithTagLengthAndTextAndNoNul)
{
    EXPECT_EQ(add("a=1"), 1u);
    EXPECT_EQ(add("bb"), 1u);
    EXPECT_EQ(count(), 2u);
    EXPECT_EQ(area(0, 11), (Bytes{0, 3, 'a', '=', '1', 0, 2, 'b', 'b', 0, 0}));
}

TEST_P(ProfileOptions, AppendingTouchesNothingButTheListAndItsCount)
{
    Bytes expected = bytes_;
    expected[list.count_at] = 1;
    expected[list.area_at + 1] = 1;
    expected[list.area_at + 2] = 'x';
    EXPECT_EQ(add("x"), 1u);
    EXPECT_EQ(bytes_, expected);
}

TEST_P(ProfileOptions, TheTagIsLeftAsItIs)
{
    bytes_[list.area_at] = 0x77;
    EXPECT_EQ(add("x"), 1u);
    EXPECT_EQ(area(0, 3), (Bytes{0x77, 1, 'x'}));
}

TEST_P(ProfileOptions, AnEmptyTextIsAnEntryOfLengthZero)
{
    EXPECT_EQ(add(""), 1u);
    EXPECT_EQ(add("z"), 1u);
    EXPECT_EQ(count(), 2u);
    EXPECT_EQ(area(0, 5), (Bytes{0, 0, 0, 1, 'z'}));
}

TEST_P(ProfileOptions, AParameterThatNeedsExactlyTheRemainingRoomIsAcceptedAndOneByteMoreIsNot)
{
    fill_up_to(10);
    const Bytes before = bytes_;
    EXPECT_EQ(add("123456789"), 0u);
    EXPECT_EQ(bytes_, before);
    EXPECT_EQ(add("12345678"), 1u);
    EXPECT_EQ(count(), 10u);
    EXPECT_EQ(area(room - 10, 10), (Bytes{0, 8, '1', '2', '3', '4', '5', '6', '7', '8'}));
    EXPECT_EQ(add(""), 0u); // the area is full
}

TEST_P(ProfileOptions, AFullAreaAndOneWithASingleByteLeftTakeNoEntry)
{
    for (const std::size_t left : {0u, 1u}) {
        kov_profile_options_init(options());
        fill_up_to(left);
        const Bytes before = bytes_;
        EXPECT_EQ(add(""), 0u) << left;
        EXPECT_EQ(bytes_, before) << left;
    }
}

// Deliberate: room is needed for the whole text, but a text of 256 characters or more is stored modulo 256.
TEST_P(ProfileOptions, ATextOf256CharactersOrMoreNeedsRoomForAllOfThemAndIsStoredModulo256)
{
    EXPECT_EQ(add(std::string(255, 'a')), 1u);
    EXPECT_EQ(add(std::string(256, 'b')), 1u);
    EXPECT_EQ(add(std::string(259, 'c')), 1u);
    EXPECT_EQ(count(), 3u);
    Bytes expected(257, 'a');
    expected[0] = 0;
    expected[1] = 255;
    const Bytes rest = {0, 0, 0, 3, 'c', 'c', 'c', 0};
    expected.insert(expected.end(), rest.begin(), rest.end());
    EXPECT_EQ(area(0, expected.size()), expected);

    kov_profile_options_init(options());
    EXPECT_EQ(add(std::string(room - 1, 'd')), 0u);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(add(std::string(room - 2, 'd')), 1u); // 2046 characters become 254
    EXPECT_EQ(area(0, 3), (Bytes{0, 254, 'd'}));
}

TEST_P(ProfileOptions, TheCountWrapsAt256)
{
    for (int i = 0; i < 255; ++i)
        EXPECT_EQ(add(""), 1u);
    EXPECT_EQ(count(), 255u);
    EXPECT_EQ(add(""), 1u);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(add("x"), 1u); // from the first entry again
    EXPECT_EQ(area(0, 3), (Bytes{0, 1, 'x'}));
}

TEST_P(ProfileOptions, ClearingKeepsTheBytesAndTheNextAddOverwritesTheFirstEntry)
{
    add("abc");
    add("def");
    EXPECT_EQ(list.clear(options()), 1u);
    EXPECT_EQ(count(), 0u);
    EXPECT_EQ(area(0, 10), (Bytes{0, 3, 'a', 'b', 'c', 0, 3, 'd', 'e', 'f'}));
    EXPECT_EQ(add("z"), 1u);
    EXPECT_EQ(count(), 1u);
    EXPECT_EQ(area(0, 10), (Bytes{0, 1, 'z', 'b', 'c', 0, 3, 'd', 'e', 'f'}));
}

TEST_P(ProfileOptions, ACountThatLeavesTheAreaIsRefusedAndNothingChanges)
{
    for (const uint8_t length : Bytes{255, 254, 100}) {
        kov_profile_options_init(options());
        std::fill_n(bytes_.begin() + static_cast<std::ptrdiff_t>(list.area_at), room, length);
        set_count(200);
        const Bytes before = bytes_;
        EXPECT_EQ(add("x"), 0u);
        EXPECT_EQ(bytes_, before);
    }
}

TEST_P(ProfileOptions, NullRecordsAndTextsAre0ToAddAnd1ToClear)
{
    const Bytes before = bytes_;
    EXPECT_EQ(list.add(nullptr, "x"), 0u);
    EXPECT_EQ(list.add(options(), nullptr), 0u);
    EXPECT_EQ(list.clear(nullptr), 1u);
    EXPECT_EQ(bytes_, before);
}

TEST_P(ProfileOptions, NeedNoOpenLibraryAndTraceNothing)
{
    add("x");
    list.clear(options());
    EXPECT_EQ(kov_api.initialized, 0u);
    EXPECT_TRUE(platform.calls.log().empty());
}

} // namespace
