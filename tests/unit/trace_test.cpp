// Debug traces: when one is printed, with what around it, and what it costs when it is not.
#include "lab.h"

#include "api/print_buffer.h"
#include "api/trace.h"

namespace
{

using fake::Call;

class Traces : public Lab
{
protected:
    ~Traces() override
    {
        dbgw_library_dbg_pid_and_tag = tag_;
        dbgw_dbg_modname = module_;
    }

    // A trace's argument that tells whether it was evaluated.
    int argument() { return ++evaluated; }

    int evaluated = 0;

private:
    const char *const tag_ = dbgw_library_dbg_pid_and_tag, *const module_ = dbgw_dbg_modname;
};

TEST_F(Traces, ATraceIsPrintedWithLevelModulePrefixZeroAndText)
{
    debug_on();
    KOV_TRACE("%s(): %d", "f", argument());
    ASSERT_EQ(platform.debug.traces.size(), 1u);
    const fake::Trace &trace = platform.debug.traces[0];
    EXPECT_EQ(trace.level, 1);
    EXPECT_EQ(trace.module, "kov-unit");
    EXPECT_EQ(trace.prefix, "kov [4242] unit");
    EXPECT_EQ(trace.zero, 0);
    EXPECT_EQ(trace.text, "f(): 1");
}

TEST_F(Traces, WhileTheProcessHasDebuggingOffThePlatformIsNotAsked)
{
    platform.debug.check_answer = 1;
    KOV_TRACE("%d", argument());
    EXPECT_TRUE(platform.calls.log().empty());
    EXPECT_EQ(evaluated, 0);
}

TEST_F(Traces, WhenThePlatformSaysNoNothingIsFormatted)
{
    debug_on();
    platform.debug.check_answer = 0;
    platform.calls.clear();
    KOV_TRACE("%d", argument());
    EXPECT_EQ(platform.calls.log(), std::vector{Call::dbgw_library_chk_int});
    EXPECT_EQ(evaluated, 0);
    expect_traces({});
}

TEST_F(Traces, AnyNonZeroAnswerOfThePlatformIsAYes)
{
    debug_on();
    for (const int answer : {1, -1, 256}) {
        clear_traces();
        platform.debug.check_answer = answer;
        KOV_TRACE("yes");
        expect_traces({"yes"});
    }
}

TEST_F(Traces, ThePlatformIsAskedForLibrary33Level1)
{
    kov_api.debug_enabled = 1;
    for (const auto &[lib, level] : {std::pair{33u, 2u}, {32u, 1u}, {34u, 1u}, {67u, 1u}})
        platform.debug.terminals[{lib, level}].insert("unit");
    KOV_TRACE("no");
    expect_traces({});
    platform.debug.terminals[{33, 1}].insert("unit");
    KOV_TRACE("yes");
    expect_traces({"yes"});
}

// Deliberate: the name table's entry is 67, not the library id 33.
TEST_F(Traces, TheNameTablesEntryIs67NotTheLibraryId33)
{
    EXPECT_STREQ(dbgw_lib_id_and_names[67], "kov");
    EXPECT_EQ(std::string(kov::trace_prefix()).substr(0, 4), "kov ");
}

TEST_F(Traces, ThePrefixFollowsThePlatformsTagAndModule)
{
    debug_on();
    KOV_TRACE("a");
    dbgw_library_dbg_pid_and_tag = "(7) new";
    dbgw_dbg_modname = "other";
    KOV_TRACE("b");
    ASSERT_EQ(platform.debug.traces.size(), 2u);
    EXPECT_EQ(platform.debug.traces[0].prefix, "kov [4242] unit");
    EXPECT_EQ(platform.debug.traces[1].prefix, "kov (7) new");
    EXPECT_EQ(platform.debug.traces[1].module, "other");
}

TEST_F(Traces, ALongPrefixEndsAfter199Characters)
{
    static const std::string tag(500, 't'); // the tear-down traces too
    dbgw_library_dbg_pid_and_tag = tag.c_str();
    debug_on();
    KOV_TRACE("a");
    EXPECT_EQ(platform.debug.traces.at(0).prefix, "kov " + std::string(195, 't'));
}

TEST_F(Traces, ATextIsNotCutToThePrefixBuffer)
{
    const std::string text(1000, 'x');
    debug_on();
    KOV_TRACE("%s", text.c_str());
    expect_traces({text});
}

TEST_F(Traces, ATraceTakesPrintBuffersOnlyWhenItIsPrinted)
{
    kov_next_print_buffer = 3;
    KOV_TRACE("%s", kov_ifindex_name_str(2));
    EXPECT_EQ(kov_next_print_buffer, 3u);
    debug_on();
    KOV_TRACE("%s", kov_ifindex_name_str(2));
    EXPECT_EQ(kov_next_print_buffer, 4u);
}

TEST_F(Traces, TracingChangesNoAnswer)
{
    kov_rdb_geninfo_t record = {};
    kov_rdb_geninfo_default_init(&record);
    record.fabric_id = 77;
    publish(record);
    const uint32_t untraced = kov_get_fabric_id();
    debug_on();
    EXPECT_EQ(kov_get_fabric_id(), untraced);
    EXPECT_EQ(untraced, 77u);
    EXPECT_FALSE(traces().empty());
    expect_all_counters({{KOV_RDB_GENINFO, {.rdb_hits = 2}}});
}

} // namespace
