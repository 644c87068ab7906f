// What the keys of the live view do.

#include "link_test.h"
#include "live_actions.h"

namespace {

using namespace test_host;
using rtu::LiveState;

class LiveKeys : public testing::Test
{
protected:
    LiveKeys() : state({{0, 0}, {0, 1}, {1, 0}}, actions) {}

    void press(const std::string &keys)
    {
        for (char key : keys)
            state.press(key);
    }

    Actions actions;
    LiveState state;
};

TEST_F(LiveKeys, ChooseAValueWithinTheTable)
{
    state.press(rtu::KeyUp);
    EXPECT_EQ(0u, state.selected());
    state.press(rtu::KeyDown);
    EXPECT_EQ(1u, state.selected());
    state.press(rtu::KeyPageDown);
    EXPECT_EQ(2u, state.selected());
    state.press(rtu::KeyHome);
    EXPECT_EQ(0u, state.selected());
    state.press(rtu::KeyEnd);
    EXPECT_EQ(2u, state.selected());
}

TEST_F(LiveKeys, EditAValueInPlace)
{
    state.press(rtu::KeyDown);
    state.press(rtu::KeyEnter);
    EXPECT_EQ(LiveState::Mode::Edit, state.mode());
    EXPECT_EQ("12", state.input());
    state.press(rtu::KeyBackspace);
    press("7");
    state.press(rtu::KeyLeft);
    state.press(rtu::KeyLeft);
    press("-");
    EXPECT_EQ("-17", state.input());
    state.press(rtu::KeyDelete);
    EXPECT_EQ("-7", state.input());
    state.press(rtu::KeyEnter);
    EXPECT_EQ(std::vector<std::string>(1, "write 0.1 -7"), actions.calls);
    EXPECT_EQ("written", state.message());
    EXPECT_EQ(LiveState::Mode::Browse, state.mode());
}

TEST_F(LiveKeys, TheFirstKeyReplacesTheOldValue)
{
    press("e5");
    EXPECT_EQ("5", state.input());
    press("6");
    EXPECT_EQ("56", state.input());
    state.press(rtu::KeyEscape);
    press("e");
    state.press(rtu::KeyRight);
    press("5");
    EXPECT_EQ("125", state.input()) << "who moves about wants to keep it";
}

TEST_F(LiveKeys, SpaceTogglesABit)
{
    state.press(rtu::KeyDown);
    press(" ");
    EXPECT_EQ(std::vector<std::string>(1, "toggle 0.1"), actions.calls);
    EXPECT_EQ("toggled", state.message());
}

TEST_F(LiveKeys, WaitingWritesAreTakenBack)
{
    press("x");
    EXPECT_EQ(std::vector<std::string>(1, "cancel"), actions.calls);
    EXPECT_EQ("taken back", state.message());
}

TEST_F(LiveKeys, LeaveAnEditWithoutWriting)
{
    press("e5");
    state.press(rtu::KeyEscape);
    EXPECT_TRUE(actions.calls.empty());
    EXPECT_EQ(LiveState::Mode::Browse, state.mode());
}

TEST_F(LiveKeys, LeaveWhatWasRefusedToBePutRight)
{
    state.press(rtu::KeyEnter);
    press("\x15wrong");
    state.press(rtu::KeyEnter);
    EXPECT_EQ(LiveState::Mode::Edit, state.mode());
    EXPECT_EQ("wrong", state.input());
    EXPECT_EQ("no value", state.message());
    state.press(rtu::KeyBackspace);
    EXPECT_EQ("", state.message());
    state.press(rtu::KeyEnter);
    EXPECT_EQ((std::vector<std::string>{"write 0.0 wrong", "write 0.0 wron"}), actions.calls);
    EXPECT_EQ(LiveState::Mode::Browse, state.mode());
    press("fwrong");
    state.press(rtu::KeyEnter);
    EXPECT_EQ(LiveState::Mode::Fault, state.mode());
    EXPECT_EQ("no fault", state.message());
}

TEST_F(LiveKeys, ScrollTheHeldTrace)
{
    press("[");
    EXPECT_TRUE(state.tracePaused());
    EXPECT_EQ(3u, state.traceBack());
    state.setTracePage(10, 15);
    press("[[");
    state.setTracePage(10, 15);
    EXPECT_EQ(15u, state.traceBack());
    press("]");
    EXPECT_EQ(5u, state.traceBack());
    press("]]");
    EXPECT_EQ(0u, state.traceBack());
    press("[p");
    EXPECT_FALSE(state.tracePaused());
    EXPECT_EQ(0u, state.traceBack());
}

TEST_F(LiveKeys, SearchNamesAndAddresses)
{
    press("/1.");
    EXPECT_EQ(2u, state.selected());
    press("9");
    EXPECT_EQ(0u, state.selected()) << "back where it began";
    EXPECT_EQ("No value has \"1.9\"", state.message());
    state.press(rtu::KeyBackspace);
    state.press(rtu::KeyEnter);
    EXPECT_EQ(2u, state.selected());
    EXPECT_EQ(LiveState::Mode::Browse, state.mode());
    press("/LEVEL 0");
    state.press(rtu::KeyEnter);
    EXPECT_EQ(0u, state.selected());
    press("n");
    EXPECT_EQ(1u, state.selected());
    press("n");
    EXPECT_EQ(0u, state.selected()) << "round the end";
    press("N");
    EXPECT_EQ(1u, state.selected());
    press("/1.0");
    state.press(rtu::KeyEscape);
    EXPECT_EQ(1u, state.selected());
}

TEST_F(LiveKeys, SortAndKeepTheChosenValue)
{
    press("s");
    EXPECT_EQ("Sorted by name", state.message());
    EXPECT_EQ(2u, state.selected());
    EXPECT_EQ(1u, state.rows().front().tag);
    press("ssss");
    EXPECT_EQ("In the order given", state.message());
    EXPECT_EQ(0u, state.selected());
}

TEST_F(LiveKeys, ChangeTheFormatAndShowTheTrend)
{
    state.press(rtu::KeyEnd);
    press("d");
    EXPECT_EQ(std::vector<std::string>(1, "format 1"), actions.calls);
    EXPECT_EQ("as hex", state.message());
    EXPECT_FALSE(state.trend());
    press("g");
    EXPECT_TRUE(state.trend());
}

TEST_F(LiveKeys, TurnThePagesOfTheHelp)
{
    press("?");
    state.setHelpPage(7, 13);
    state.press(rtu::KeyDown);
    EXPECT_EQ(7u, state.helpTop());
    EXPECT_EQ(LiveState::Mode::Help, state.mode());
    state.press(rtu::KeyDown);
    EXPECT_EQ(LiveState::Mode::Browse, state.mode());
    press("?");
    EXPECT_EQ(0u, state.helpTop());
}

TEST_F(LiveKeys, DoNotQuitWhileEditing)
{
    press("eq");
    EXPECT_FALSE(state.quit());
    EXPECT_EQ("q", state.input());
}

TEST_F(LiveKeys, SayWhyAValueCannotBeWritten)
{
    actions.refused = "3x is read-only";
    press("e");
    EXPECT_EQ(LiveState::Mode::Browse, state.mode());
    EXPECT_EQ("3x is read-only", state.message());
}

TEST_F(LiveKeys, KeepTheirAnswerFromRemarks)
{
    EXPECT_TRUE(state.takesRemark());
    state.setRemark("station 1: no answer");
    EXPECT_TRUE(state.takesRemark()) << "a newer one";
    actions.refused = "3x is read-only";
    press("e");
    EXPECT_EQ("3x is read-only", state.message());
    EXPECT_FALSE(state.takesRemark());
    press("k");
    EXPECT_TRUE(state.takesRemark());
}

TEST_F(LiveKeys, WorkOnTheSimulatedSlaves)
{
    press("fwrong-crc");
    state.press(rtu::KeyEnter);
    press("Foru");
    EXPECT_EQ((std::vector<std::string>{"fault wrong-crc", "clear", "switch 0", "read 0", "plug"}), actions.calls);
}

TEST_F(LiveKeys, LeaveARealPortAlone)
{
    actions.hasSlaves = false;
    press("fFou");
    EXPECT_TRUE(actions.calls.empty());
    EXPECT_EQ(LiveState::Mode::Browse, state.mode());
}

TEST(LiveKeysWithoutTags, DoNothing)
{
    Actions actions;
    LiveState state({}, actions);
    for (int key : {int(rtu::KeyUp), int(rtu::KeyDown), int(rtu::KeyEnd), int(rtu::KeyEnter), int('r'), int('o')})
        state.press(key);
    EXPECT_TRUE(actions.calls.empty());
    state.press('q');
    EXPECT_TRUE(state.quit());
}

} // namespace
