// What a screen holds of a text.
#include "screen.h"

#include <gtest/gtest.h>

namespace
{

using kov_lab::cut_to;
using kov_lab::page_size;

std::string first_page(const std::string &text, unsigned rows, unsigned columns)
{
    return text.substr(0, page_size(text, {rows, columns}));
}

TEST(Screens, HoldALineInARow)
{
    EXPECT_EQ(first_page("a\nb\nc\nd\n", 3, 10), "a\nb\nc\n");
    EXPECT_EQ(first_page("a\nb\nc\n", 3, 10), "a\nb\nc\n") << "all of it";
    EXPECT_EQ(first_page("a\n\n\nd", 3, 10), "a\n\n\n");
    EXPECT_EQ(first_page("a\nb", 3, 10), "a\nb") << "a line that is not done";
    EXPECT_EQ(first_page("", 3, 10), "");
    EXPECT_EQ(first_page("a\nb\n", 1, 10), "a\n");
}

TEST(Screens, HoldAWideLineInAsManyRowsAsItTakes)
{
    EXPECT_EQ(first_page("12345\nb\nc\nd\n", 3, 5), "12345\nb\nc\n") << "as wide as the screen is one row";
    EXPECT_EQ(first_page("123456\nb\nc\nd\n", 3, 5), "123456\nb\n");
    EXPECT_EQ(first_page("a\n12345678901\n", 3, 5), "a\n") << "not within a line";
    EXPECT_EQ(first_page("12345678901234567890\n", 3, 5), "123456789012345") << "but one is longer than that";
    EXPECT_EQ(first_page("a\nb\n123456", 3, 5), "a\nb\n");
}

TEST(Screens, HoldCharactersNotBytesAndTabsToTheirStops)
{
    EXPECT_EQ(first_page("ääääääää\nb\nc\n", 2, 8), "ääääääää\nb\n");
    EXPECT_EQ(first_page("a\tb\tc\nd\n", 2, 17), "a\tb\tc\nd\n");
    EXPECT_EQ(first_page("a\tb\tc\nd\n", 2, 16), "a\tb\tc\n");
}

TEST(Screens, AreNotOverfilledByAPageThatIsCut)
{
    EXPECT_EQ(cut_to("123456\n\n12\n", {3, 4}), "1234\n\n12\n");
    EXPECT_EQ(cut_to("1\n2\n3\n4\n", {3, 20}), "1\n2\n2 more lines\n");
    EXPECT_EQ(cut_to("1\n2\n3\n4\n", {3, 3}), "1\n2\n2 m\n");
    EXPECT_EQ(cut_to("1\n2\n", {1, 20}), "2 more lines\n");
    EXPECT_EQ(cut_to("", {3, 20}), "");
}

TEST(Screens, LeaveARowForAQuestion)
{
    EXPECT_EQ(kov_lab::above_last_row({24, 80}).rows, 23u);
    EXPECT_EQ(kov_lab::above_last_row({24, 80}).columns, 80u);
    EXPECT_EQ(kov_lab::above_last_row({1, 80}).rows, 1u) << "there is none to leave";
}

} // namespace
