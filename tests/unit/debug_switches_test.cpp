// Tracing on and off, from a command line and by terminal name.
#include "lab.h"

namespace
{

using fake::Call;

const char *const tty_field = "_CLI_TTY_NAME_FIELD";

class DebugSwitches : public Lab
{
protected:
    bool on_at(const std::string &tty) const { return platform.debug.is_on(33, 1, tty); }
    unsigned wrapper_calls() const
    {
        return platform.calls.count(Call::dbgw_library_dbg_enable) +
               platform.calls.count(Call::dbgw_library_dbg_disable);
    }
};

TEST_F(DebugSwitches, ACommandLineSwitchesItsOwnTerminal)
{
    EXPECT_EQ(kov_api_debug_on(platform.cli.context()), 1u);
    EXPECT_EQ(kov_api.debug_enabled, 1u);
    EXPECT_TRUE(on_at("console0"));
    EXPECT_EQ(platform.debug.terminals.size(), 1u) << "library 33, level 1 only";

    EXPECT_EQ(kov_api_debug_off(platform.cli.context()), 1u);
    EXPECT_EQ(kov_api.debug_enabled, 0u);
    EXPECT_FALSE(on_at("console0"));
}

TEST_F(DebugSwitches, ATerminalCanBeNamedDirectly)
{
    EXPECT_EQ(kov_api_vty_dbg_on("vty7"), 1u);
    EXPECT_EQ(kov_api.debug_enabled, 1u);
    EXPECT_TRUE(on_at("vty7"));
    EXPECT_EQ(kov_api_vty_dbg_off("vty7"), 1u);
    EXPECT_EQ(kov_api.debug_enabled, 0u);
    EXPECT_FALSE(on_at("vty7"));
}

TEST_F(DebugSwitches, AContextWithoutATerminalNameChangesNothing)
{
    const auto damages = {
        +[](fake::Platform &p) { p.cli.fields.erase(tty_field); },
        +[](fake::Platform &p) { p.cli.fields[tty_field] = ""; },
        +[](fake::Platform &p) { p.cli.fields[tty_field] = std::nullopt; },
    };
    for (const auto damage : damages) {
        damage(platform);
        for (const uint32_t enabled : {0u, 1u}) {
            kov_api.debug_enabled = enabled;
            EXPECT_EQ(kov_api_debug_on(platform.cli.context()), 0u);
            EXPECT_EQ(kov_api_debug_off(platform.cli.context()), 0u);
            EXPECT_EQ(kov_api.debug_enabled, enabled);
        }
    }
    EXPECT_EQ(wrapper_calls(), 0u);
}

TEST_F(DebugSwitches, AContextThatCannotBeReadChangesNothing)
{
    platform.calls.fail(Call::cli_get_string, 1, 2);
    EXPECT_EQ(kov_api_debug_on(platform.cli.context()), 0u);
    EXPECT_EQ(kov_api_debug_off(platform.cli.context()), 0u);
    EXPECT_EQ(kov_api.debug_enabled, 0u);
    EXPECT_EQ(wrapper_calls(), 0u);
}

TEST_F(DebugSwitches, ANullTerminalNameChangesNothing)
{
    for (const uint32_t enabled : {0u, 1u}) {
        kov_api.debug_enabled = enabled;
        EXPECT_EQ(kov_api_vty_dbg_on(nullptr), 0u);
        EXPECT_EQ(kov_api_vty_dbg_off(nullptr), 0u);
        EXPECT_EQ(kov_api.debug_enabled, enabled);
    }
    EXPECT_EQ(wrapper_calls(), 0u);
}

// Deliberate: an empty name is a name here; only the command-line form takes it for none.
TEST_F(DebugSwitches, AnEmptyNameIsANameHereOnlyTheCommandLineFormTakesItForNone)
{
    EXPECT_EQ(kov_api_vty_dbg_on(""), 1u);
    EXPECT_EQ(kov_api.debug_enabled, 1u);
    EXPECT_EQ(kov_api_vty_dbg_off(""), 1u);
    EXPECT_EQ(kov_api.debug_enabled, 0u);
    EXPECT_EQ(wrapper_calls(), 2u);
}

TEST_F(DebugSwitches, TheWrappersAnswerDoesNotMatter)
{
    platform.calls.fail(Call::dbgw_library_dbg_enable);
    platform.calls.fail(Call::dbgw_library_dbg_disable);
    EXPECT_EQ(kov_api_vty_dbg_on("vty7"), 1u);
    EXPECT_EQ(kov_api.debug_enabled, 1u);
    EXPECT_EQ(kov_api_vty_dbg_off("vty7"), 1u);
    EXPECT_EQ(kov_api.debug_enabled, 0u);
}

TEST_F(DebugSwitches, OneTerminalSwitchedOffStopsTheTracesOfAll)
{
    kov_api_vty_dbg_on("a");
    kov_api_vty_dbg_on("b");
    kov_api_vty_dbg_off("a");
    EXPECT_TRUE(on_at("b"));
    EXPECT_EQ(kov_api.debug_enabled, 0u);
    kov_get_fabric_id();
    expect_traces({});
}

TEST_F(DebugSwitches, TheyNeedNoOpenLibraryAndOutliveItsOpening)
{
    kov_api_wait_for_init = 1;
    EXPECT_EQ(kov_api_debug_on(platform.cli.context()), 1u);
    EXPECT_EQ(kov_api.initialized, 0u);
    kov_api_wait_for_init = 0;
    EXPECT_EQ(kov_api_init(), 1u);
    EXPECT_EQ(kov_api.debug_enabled, 1u);
    expect_traces({"KOV Api successfully initialized"});
}

} // namespace
