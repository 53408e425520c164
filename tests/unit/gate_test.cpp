// The gates that every public call passes.
#include "lab.h"

#include "api/gate.h"

namespace
{

class Gate : public Lab
{
protected:
    static std::string not_registered_trace(const std::string &caller, int32_t mtype)
    {
        return caller + "(): Client unit has not registered for mtype: " + std::to_string(mtype) +
               ", doing an RDB based lookup";
    }
};

const int32_t mtypes[] = {INT32_MIN, -33, -32, -1, 0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11,       12,
                          13,        14,  15,  16, 17, 18, 19, 20, 21, 31, 32, 36, 41, 52, 64, INT32_MAX};

// Deliberate: the shift count is taken modulo 32.
TEST_F(Gate, TheShiftCountIsTakenModulo32)
{
    register_client({4, 9, 20});
    debug_on();
    for (const int32_t mtype : mtypes) {
        const uint32_t bit = static_cast<uint32_t>(mtype) % 32;
        const bool registered = bit == 4 || bit == 9 || bit == 20;
        clear_traces();
        EXPECT_EQ(kov_is_mtype_not_registered(mtype, "here"), registered ? 0u : 1u) << mtype;
        expect_traces(registered ? std::vector<std::string>()
                                 : std::vector{not_registered_trace("here", mtype)});
    }
}

TEST_F(Gate, ANullCallerIsNeverTraced)
{
    register_client({4});
    debug_on();
    EXPECT_EQ(kov_is_mtype_not_registered(4, nullptr), 0u);
    EXPECT_EQ(kov_is_mtype_not_registered(5, nullptr), 1u);
    expect_traces({});
}

TEST_F(Gate, TheMaskCountsWhileTheAcknowledgementIsPendingAndAfterIt)
{
    register_client({4});
    EXPECT_EQ(kov_is_mtype_not_registered(4, "f"), 0u);
    acknowledge();
    EXPECT_EQ(kov_is_mtype_not_registered(4, "f"), 0u);
    kov_deregister_client();
    EXPECT_EQ(kov_is_mtype_not_registered(4, "f"), 1u);
}

TEST_F(Gate, AMaskThatOutlivedAClosingAnswersOnceTheLibraryIsOpenAgain)
{
    register_client({4});
    kov_api_close();
    EXPECT_EQ(kov_is_mtype_not_registered(4, "f"), 0u);
    EXPECT_EQ(kov_api.initialized, 1u);
}

TEST_F(Gate, ALibraryThatCannotOpenIsRegisteredForNothing)
{
    kov_api.mtype_mask = UINT32_MAX;
    platform.db.refuse_open = true;
    debug_on();
    EXPECT_EQ(kov_is_mtype_not_registered(4, "f"), 1u);
    expect_traces({"API callled even before KOV is enabled, do init",
                   "osal_rdb_open() failed for uri fake://running/0/kov_rdb_info",
                   "kov_is_mtype_not_registered(): Not initialized with KOV Api"});
}

TEST_F(Gate, NotInitialisedIsTracedWithoutACallerToo)
{
    kov_api_wait_for_init = 1;
    debug_on();
    EXPECT_EQ(kov_is_mtype_not_registered(4, nullptr), 1u);
    expect_traces({"API called even before KOV is enabled, ignore",
                   "kov_is_mtype_not_registered(): Not initialized with KOV Api"});
}

TEST_F(Gate, ALongestClientNameIsTracedWhole)
{
    const std::string name(128, 'n');
    register_client({4}, name.c_str());
    debug_on();
    EXPECT_EQ(kov_is_mtype_not_registered(5, "f"), 1u);
    expect_traces({"f(): Client " + name + " has not registered for mtype: 5, doing an RDB based lookup"});
}

// ----------------------------------------------------------------------------- the gates as queries use them

struct PairCase {
    std::initializer_list<uint32_t> registered;
    uint32_t answer;
    std::vector<int32_t> traced;
};

TEST_F(Gate, OfTwoTypesTheSecondIsAskedOnlyWhenTheFirstIsNotRegistered)
{
    const PairCase cases[] = {
        {{6}, 0, {}},
        {{17}, 0, {6}},
        {{6, 17}, 0, {}},
        {{4}, 1, {6, 17}},
    };
    for (const PairCase &c : cases) {
        EXPECT_EQ(register_client(c.registered), 1u);
        debug_on();
        clear_traces();
        EXPECT_EQ(kov::not_registered(6, 17, "two"), c.answer);
        std::vector<std::string> expected;
        for (const int32_t mtype : c.traced)
            expected.push_back(not_registered_trace("two", mtype));
        expect_traces(expected);
    }
}

TEST_F(Gate, TheInlineGatesAnswerAsTheExportedOnes)
{
    register_client({4, 9});
    for (const int32_t mtype : mtypes)
        EXPECT_EQ(kov::not_registered(mtype, nullptr), kov_is_mtype_not_registered(mtype, nullptr)) << mtype;
    EXPECT_TRUE(kov::initialized());
    kov_api_close();
    kov_api_wait_for_init = 1;
    EXPECT_FALSE(kov::initialized());
    for (const int32_t mtype : mtypes)
        EXPECT_EQ(kov::not_registered(mtype, nullptr), 1u) << mtype;
}

TEST_F(Gate, AGateThatOpensNothingAsksNothingOfThePlatform)
{
    register_client({4});
    platform.calls.clear();
    EXPECT_EQ(kov::not_registered(4, "f"), 0u);
    EXPECT_EQ(kov::not_registered(5, "f"), 1u);
    EXPECT_EQ(kov_api_initialized(), 1u);
    EXPECT_TRUE(platform.calls.log().empty());
}

// ---------------------------------------------------------------------------------------------- attachment

TEST_F(Gate, AClientIsAttachedFromItsRegistrationToItsDeregistration)
{
    EXPECT_EQ(kov_is_client_attached(), 0u);
    EXPECT_EQ(kov_api.initialized, 1u);
    register_client({4});
    EXPECT_EQ(kov_is_client_attached(), 1u);
    acknowledge();
    EXPECT_EQ(kov_is_client_attached(), 1u);
    kov_deregister_client();
    EXPECT_EQ(kov_is_client_attached(), 0u);
}

TEST_F(Gate, OnlyTheHandleMinusOneIsUnattached)
{
    EXPECT_EQ(kov_api_init(), 1u);
    for (const int32_t handle : {0, 1, -2, INT32_MIN, INT32_MAX}) {
        kov_api.ipc_handle = handle;
        EXPECT_EQ(kov_is_client_attached(), 1u) << handle;
    }
    kov_api.ipc_handle = -1;
    EXPECT_EQ(kov_is_client_attached(), 0u);
}

TEST_F(Gate, ALibraryThatIsNotOpenHasNoClient)
{
    register_client({4});
    kov_api_close();
    kov_api_wait_for_init = 1;
    EXPECT_EQ(kov_api.ipc_handle, fake::Transport::handle);
    EXPECT_EQ(kov_is_client_attached(), 0u);
}

} // namespace
