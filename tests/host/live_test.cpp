#include "link_test.h"
#include "live_actions.h"

#include "host/live/live_layout.h"
#include "host/live/live_painter.h"
#include "host/live/row_order.h"
#include "host/live/station_table.h"
#include "host/live/trend.h"

#include <clocale>
#include <cmath>

namespace {

using namespace test_host;
using rtu::LiveState;

class LiveScreen : public LinkTest
{
protected:
    void show(const std::vector<std::string> &addresses)
    {
        std::vector<rtu::TagRange> tags;
        for (const std::string &address : addresses) {
            tags.push_back(tag(address));
            tags.back().name = "n" + std::to_string(tags.size());
        }
        feed.reset(new rtu::LiveFeed(link(), *line, tags));
        state.reset(new LiveState(rtu::liveRows(tags), actions));
        painter.reset(new rtu::LivePainter(*feed, "/dev/ttyUSB0"));
    }

    rtu::Screen paint(int rows = 24, int columns = 80)
    {
        return painter->paint(*state, rows, columns, line->now() + milliseconds(400));
    }

    /** The first line of the screen that holds the text; empty for none. */
    static std::string lineWith(const rtu::Screen &screen, const std::string &part)
    {
        for (std::size_t row = 0; row < screen.lines.size(); ++row) {
            if (contains(screen.text(row), part))
                return screen.text(row);
        }
        return std::string();
    }

    void showStations(int stations)
    {
        std::vector<std::string> addresses;
        for (int station = 1; station <= stations; ++station)
            addresses.push_back("4x1@" + std::to_string(station));
        show(addresses);
    }

    void readOnce(const std::string &address)
    {
        const rtu::OneOffRead read = link().read(rtu::TagDefinition(1, QString::fromStdString(address)));
        while (!read.ended())
            step();
    }

    Actions actions;
    std::unique_ptr<rtu::LiveFeed> feed;
    std::unique_ptr<LiveState> state;
    std::unique_ptr<rtu::LivePainter> painter;
};

TEST_F(LiveScreen, FillsEveryLineExactly)
{
    show({"4x1..30", "0x1", "4x_bit3.5"});
    poll();
    for (int rows : {10, 12, 24, 60}) {
        for (int columns : {40, 50, 80, 200}) {
            const rtu::Screen screen = paint(rows, columns);
            EXPECT_EQ(static_cast<std::size_t>(rows), screen.lines.size());
            for (std::size_t row = 0; row < screen.lines.size(); ++row) {
                const int width = rtu::textWidth(screen.text(row));
                EXPECT_TRUE(width == columns || width == 0)
                    << rows << 'x' << columns << " line " << row << ": " << width;
            }
        }
    }
}

TEST_F(LiveScreen, ShowsValueRawAgeAndMark)
{
    show({"4x1"});
    EXPECT_FALSE(contains(lineWith(paint(), "1:4x1 "), "42")); // not read yet
    poll();
    const std::string row = lineWith(paint(), "1:4x1 ");
    EXPECT_TRUE(contains(row, "42")) << row;
    EXPECT_TRUE(contains(row, "0x002A")) << row;
    EXPECT_TRUE(contains(row, "400 ms")) << row;
}

TEST_F(LiveScreen, NeverCutsAValueInSilence)
{
    show({"4x1:bin", "4x_double3:bin", "4x_double5:float", "4x_double7:int32"});
    usual = 0;
    for (int upper : {2, 4, 6})
        registers(1)[upper] = 0x8080; // as a float the longest text that there is
    poll();
    for (int columns : {80, 100, 200}) {
        const rtu::Screen screen = paint(24, columns);
        EXPECT_TRUE(contains(lineWith(screen, "1:4x1 "), "0b0000000000000000 ")) << columns;
        EXPECT_TRUE(contains(lineWith(screen, "1:4x_double5 "), "-1.1754944e-38 ")) << columns;
        EXPECT_TRUE(contains(lineWith(screen, "1:4x_double7 "), "-2139095040 ")) << columns;
    }
    const std::string wide = lineWith(paint(24, 100), "1:4x_double3 ");
    EXPECT_TRUE(contains(wide, "0b10000000100000000000000000000000 ")) << wide;
    const std::string narrow = lineWith(paint(24, 80), "1:4x_double3 ");
    EXPECT_TRUE(contains(narrow, "0b10000000100")) << narrow;
    EXPECT_TRUE(contains(narrow, "00.. ")) << narrow;
    EXPECT_TRUE(contains(narrow, "0x80800000")) << narrow;
}

TEST_F(LiveScreen, KeepsAgeAndMarkOnNarrowScreens)
{
    silent = {1};
    show({"4x1", "4x_double9:hex", "4x2"});
    poll();
    for (int columns : {50, 60, 80}) {
        const rtu::Screen screen = paint(15, columns);
        EXPECT_TRUE(contains(lineWith(screen, "1:4x1 "), "error")) << screen.text(7);
        EXPECT_TRUE(contains(lineWith(screen, "address"), "age  mark")) << columns;
        EXPECT_TRUE(contains(screen.text(0), "open")) << columns;
    }
}

TEST_F(LiveScreen, ShowsATagHoweverManyStationsThereAre)
{
    showStations(20);
    poll();
    for (int rows : {24, 60}) {
        const rtu::Screen screen = paint(rows, 80);
        EXPECT_FALSE(lineWith(screen, "1:4x1 ").empty()) << rows;
        EXPECT_FALSE(lineWith(screen, " trace ").empty()) << rows;
        EXPECT_EQ(rows == 60, lineWith(screen, "20 stations in all").empty()) << rows;
    }
}

TEST_F(LiveScreen, ShowsSilentStationsFirstWhereNotAllFit)
{
    silent = {17};
    showStations(20);
    poll();
    const rtu::Screen screen = paint(24, 80);
    EXPECT_TRUE(contains(screen.text(4), "17  silent")) << screen.text(4);
    EXPECT_TRUE(contains(screen.text(8), "20 stations in all, 1 silent")) << screen.text(8);
}

TEST_F(LiveScreen, ValuesComeFirstOnSmallScreens)
{
    silent = {17};
    showStations(20);
    poll();
    for (int rows : {10, 12, 16}) {
        const rtu::Screen screen = paint(rows, 40);
        int values = 0;
        for (std::size_t row = 0; row < screen.lines.size(); ++row)
            values += contains(screen.text(row), ":4x1 ") ? 1 : 0;
        EXPECT_LE(6, values) << rows;
        EXPECT_TRUE(contains(screen.text(0), "1 of 20 silent")) << screen.text(0);
    }
}

TEST_F(LiveScreen, ShowsValueUnitAndTroubleInFortyColumns)
{
    silent = {2};
    std::vector<rtu::TagRange> tags = {tag("4x100"), tag("4x100@2"), tag("4x_double101:float")};
    tags[0].unit = "\xC2\xB0"
                   "C";
    feed.reset(new rtu::LiveFeed(link(), *line, tags));
    state.reset(new LiveState(rtu::liveRows(tags), actions));
    painter.reset(new rtu::LivePainter(*feed, "/dev/serial/by-id/usb-something-very-long, 19200 baud 8E1"));
    poll();
    const rtu::Screen screen = paint(10, 40);
    EXPECT_TRUE(contains(lineWith(screen, "1:4x100 "), " 42 ")) << lineWith(screen, "1:4x100 ");
    EXPECT_EQ('!', lineWith(screen, "2:4x100 ")[0]) << "no room for the word";
    EXPECT_TRUE(contains(screen.text(0), "open  1 of 2 silent")) << screen.text(0);
}

TEST_F(LiveScreen, TellsWhatAStationCostsTheOthers)
{
    showStations(2);
    silent = {2};
    paint();
    poll(2);
    EXPECT_TRUE(contains(lineWith(paint(), " stn  state    line"), "frames"));
    const std::string dead = lineWith(paint(), "2  silent");
    EXPECT_TRUE(contains(dead, " % ")) << dead;
    EXPECT_FALSE(contains(dead, "  0 % ")) << "it has just been found dead: " << dead;
    line->advance(std::chrono::seconds(1));
    for (int i = 0; i < 70; ++i) {
        step();
        paint();
    }
    EXPECT_TRUE(contains(lineWith(paint(24, 40), "1  answers"), " % ")) << "in forty columns as well";
}

TEST_F(LiveScreen, DrawsTheTrendOfTheChosenValue)
{
    show({"4x1"});
    for (int value : {10, 20, 30}) {
        registers(1)[0] = value;
        poll();
    }
    state->press('g');
    const rtu::Screen screen = paint(24, 40);
    EXPECT_TRUE(contains(lineWith(screen, "trend of 1:4x1"), ", 3 in ")) << lineWith(screen, "trend of");
    EXPECT_TRUE(contains(lineWith(screen, " 30 | "), "|   *")) << lineWith(screen, " 30 | ");
    EXPECT_TRUE(contains(lineWith(screen, " 10 | "), "| *  ")) << lineWith(screen, " 10 | ");
    EXPECT_FALSE(lineWith(paint(10, 40), "trend of 1:4x1").empty());
}

TEST_F(LiveScreen, ShowsAnotherFormatAndRecordsTheDefinedOne)
{
    show({"4x1"});
    poll();
    feed->setFormat(0, rtu::Format::Binary);
    EXPECT_TRUE(contains(lineWith(paint(), "1:4x1 "), "0b0000000000101010")) << lineWith(paint(), "1:4x1 ");
    EXPECT_EQ(rtu::Format::Unsigned, feed->board().tags()[0].format.format);
}

TEST_F(LiveScreen, SortsByWhatTheUserLooksFor)
{
    silent = {2};
    show({"4x9", "4x1@2", "4x5"});
    poll(2);
    registers(1)[4] = 7;
    poll();
    const auto first = [&](rtu::RowOrder order) { return rtu::orderedRows(order, feed->board()).front().tag; };
    EXPECT_EQ(0u, first(rtu::RowOrder::AsGiven));
    EXPECT_EQ(0u, first(rtu::RowOrder::ByName));
    EXPECT_EQ(2u, first(rtu::RowOrder::ByAddress));
    EXPECT_EQ(2u, first(rtu::RowOrder::LastChanged));
    EXPECT_EQ(1u, first(rtu::RowOrder::TroubleFirst));
}

/** The link's thread notes changes while the user sorts. */
TEST(RowOrder, AsksOfEachRowOnceWhenItChanged)
{
    std::vector<rtu::LiveRow> rows;
    for (std::size_t tag = 0; tag < 50; ++tag)
        rows.push_back(rtu::LiveRow{tag, 0});
    rtu::TimePoint now;
    const auto moving = [&now](const rtu::LiveRow &) { return now += milliseconds(1); };
    const std::vector<rtu::LiveRow> sorted = rtu::lastChangedFirst(rows, moving);
    ASSERT_EQ(50u, sorted.size());
    EXPECT_EQ(rtu::TimePoint() + milliseconds(50), now);
    for (std::size_t i = 0; i < sorted.size(); ++i)
        EXPECT_EQ(49 - i, sorted[i].tag);
}

TEST(LiveLayout, HandsOutEveryLineAndValuesFirst)
{
    for (int rows : {10, 16, 24, 60}) {
        for (int values : {1, 5, 200}) {
            for (int stations : {1, 3, 30}) {
                for (rtu::LowerPart lower : {rtu::LowerPart::Trace, rtu::LowerPart::TallTrace, rtu::LowerPart::Trend}) {
                    const rtu::LiveLayout l = rtu::liveLayout(rows, values, stations, lower);
                    EXPECT_EQ(rows - 2, l.rates + l.counts + l.stations + l.values + l.lower);
                    EXPECT_LE(std::min(values + 1, 4), l.values);
                    if (lower == rtu::LowerPart::Trace) {
                        EXPECT_LE(std::min(values + 1, 7), l.values);
                    } else if (lower == rtu::LowerPart::Trend) {
                        EXPECT_LE(3, l.lower);
                    }
                }
            }
        }
    }
}

TEST(Trend, StandsInTheMiddleWithoutChangesAndLeavesOutWhatIsNoNumber)
{
    EXPECT_TRUE(rtu::trendLines({}, 5, 40).empty());
    EXPECT_TRUE(rtu::trendLines({std::nan("")}, 5, 40).empty());
    const std::vector<std::string> flat = rtu::trendLines({7, 7, std::nan(""), 7}, 3, 40);
    ASSERT_EQ(3u, flat.size());
    EXPECT_EQ("       7 | ***", flat[1]);
    for (const std::string &line : rtu::trendLines(std::vector<double>(500, 1.0), 3, 40))
        EXPECT_GE(40, rtu::textWidth(line));
}

TEST_F(LiveScreen, KeepsTheVerdictOfLongFrames)
{
    show({"4x1..60"});
    poll();
    for (int columns : {50, 60, 80, 132})
        EXPECT_TRUE(contains(lineWith(paint(24, columns), "60 registers"), "[good]")) << columns;
}

TEST_F(LiveScreen, TellsWhatWasNotReadYet)
{
    show({"4x1"});
    const std::string row = lineWith(paint(), "1:4x1 ");
    EXPECT_FALSE(contains(row, "0x")) << row;
}

TEST_F(LiveScreen, TellsWhichValueIsChosen)
{
    show({"4x1..200"});
    EXPECT_FALSE(lineWith(paint(), "value 1 of 200").empty());
    state->press(rtu::KeyEnd);
    EXPECT_FALSE(lineWith(paint(), "value 200 of 200").empty());
    EXPECT_FALSE(lineWith(paint(60), "1:4x170 ").empty()); // no rows wasted after the window grew
}

TEST_F(LiveScreen, GivesTheTraceWhatTheTagsLeaveOver)
{
    show({"4x1"});
    poll(50);
    const rtu::Screen screen = paint(40);
    int lines = 0;
    for (std::size_t row = 0; row < screen.lines.size(); ++row)
        lines += contains(screen.text(row), "read holding") || contains(screen.text(row), "[good]");
    EXPECT_EQ(40 - 9, lines); // panel 3, stations 2, tags 2, header of the trace, footer
}

TEST_F(LiveScreen, ScrollsBackInTheHeldTrace)
{
    show({"4x1"});
    readOnce("4x100");
    poll(50);
    EXPECT_TRUE(lineWith(paint(), "4x100").empty());
    for (int i = 0; i < 50; ++i) {
        state->press('[');
        paint();
    }
    EXPECT_FALSE(lineWith(paint(), "4x100").empty());
    EXPECT_FALSE(lineWith(paint(), "lines back)").empty());
    for (int i = 0; i < 50; ++i)
        state->press(']');
    EXPECT_TRUE(lineWith(paint(), "4x100").empty());
    EXPECT_FALSE(lineWith(paint(), "(held)").empty());
}

TEST_F(LiveScreen, ShowsTheAgeOfEachStation)
{
    settings.roundInterval = milliseconds(300);
    show({"4x1"});
    poll(2);
    EXPECT_TRUE(contains(lineWith(paint(), "answers"), "300/300 ms")) << lineWith(paint(), "answers");
}

TEST_F(LiveScreen, SaysWhyTypedTextIsRefused)
{
    show({"4x1"});
    state->press(rtu::KeyEnter);
    state->press('U' - '@');
    for (char key : std::string("wrong"))
        state->press(key);
    state->press(rtu::KeyEnter);
    const rtu::Screen screen = paint();
    EXPECT_TRUE(contains(screen.text(22), "no value"));
    EXPECT_TRUE(contains(screen.text(23), "wrong"));
}

TEST_F(LiveScreen, MarksErrors)
{
    silent = {1};
    show({"4x1"});
    poll();
    const rtu::Screen screen = paint();
    EXPECT_TRUE(contains(lineWith(screen, "1:4x1 "), "error"));
    EXPECT_TRUE(contains(screen.text(23), "Error: R,1#4x1(1)")) << screen.text(23);
    EXPECT_TRUE(contains(lineWith(screen, "silent"), "1"));
}

TEST_F(LiveScreen, HighlightsChanges)
{
    usual = 0;
    show({"4x9", "4x1"});
    poll();
    registers(1)[0] = 5;
    poll();
    EXPECT_TRUE(contains(lineWith(paint(), "1:4x1 "), "new"));
    EXPECT_FALSE(contains(lineWith(paint(), "1:4x9 "), "new"));
    const rtu::Screen later = painter->paint(*state, 24, 80, line->now() + std::chrono::seconds(10));
    EXPECT_FALSE(contains(lineWith(later, "1:4x1 "), "new"));
}

TEST_F(LiveScreen, KeepsTheChosenValueInView)
{
    show({"4x1..100"});
    for (int i = 0; i < 60; ++i)
        state->press(rtu::KeyDown);
    EXPECT_FALSE(lineWith(paint(), "1:4x61 ").empty());
    EXPECT_TRUE(lineWith(paint(), "1:4x1 ").empty());
    state->press(rtu::KeyHome);
    EXPECT_FALSE(lineWith(paint(), "1:4x1 ").empty());
}

TEST_F(LiveScreen, PutsTheCursorIntoTheInput)
{
    show({"4x1"});
    state->press(rtu::KeyEnter);
    const rtu::Screen screen = paint();
    EXPECT_EQ(23, screen.cursorRow);
    EXPECT_TRUE(contains(screen.text(23), "New value of 1:4x1 (uint16): 12"));
    EXPECT_EQ(static_cast<int>(screen.text(23).find("12 ")) + 2, screen.cursorColumn);
    state->press(rtu::KeyEscape);
    EXPECT_EQ(-1, paint().cursorRow);
}

TEST_F(LiveScreen, ShowsWhatIsTypedInFortyColumns)
{
    show({"4x_double1001:float@12"});
    const std::string longest = "0b10000000100000000000000000000001";
    for (int begin : {int(rtu::KeyEnter), int('f'), int('/')}) {
        state->press(begin);
        std::string typed;
        for (char key : longest) {
            state->press(key);
            typed += key;
            const rtu::Screen screen = paint(10, 40);
            ASSERT_GT(40, screen.cursorColumn) << typed;
            const std::string shown = screen.text(9).substr(0, static_cast<std::size_t>(screen.cursorColumn));
            const std::string end = typed.substr(typed.size() - std::min<std::size_t>(typed.size(), 16));
            EXPECT_TRUE(shown.size() > end.size() && shown.substr(shown.size() - end.size()) == end) << shown;
        }
        for (std::size_t at = typed.size(); at-- > 0;) {
            state->press(rtu::KeyLeft);
            const rtu::Screen screen = paint(10, 40);
            ASSERT_TRUE(screen.cursorColumn > 0 && screen.cursorColumn < 40) << at;
            EXPECT_EQ(typed[at], screen.text(9)[static_cast<std::size_t>(screen.cursorColumn)]) << at;
        }
        EXPECT_TRUE(contains(paint(10, 80).text(9), typed));
        state->press(rtu::KeyEscape);
    }
}

TEST_F(LiveScreen, AsksInAsManyWordsAsTheInputLeavesRoomFor)
{
    show({"4x_double1001:float@12"});
    state->press(rtu::KeyEnter);
    EXPECT_TRUE(contains(paint(10, 43).text(9), " New value of 12:4x_double1001 (float): 12 "));
    EXPECT_TRUE(contains(paint(10, 42).text(9), " 12:4x_double1001 (float): 12 "));
    for (char key : std::string("1234567890123"))
        state->press(key);
    EXPECT_TRUE(contains(paint(10, 40).text(9), " 12:4x_double1001: 1234567890123 "));
    for (char key : std::string("4567890123"))
        state->press(key);
    EXPECT_EQ(" 12:4x_double1001:<45678901234567890123 ", paint(10, 40).text(9));
}

TEST_F(LiveScreen, ShowsAndHoldsTheTrace)
{
    show({"4x1"});
    poll();
    EXPECT_FALSE(lineWith(paint(), "read holding registers 4x1").empty());
    state->press('p');
    paint();
    readOnce("4x100");
    EXPECT_TRUE(lineWith(paint(), "4x100").empty());
    EXPECT_FALSE(lineWith(paint(), "(held)").empty());
    state->press('p');
    EXPECT_FALSE(lineWith(paint(), "4x100").empty());
}

TEST_F(LiveScreen, TellsThatThePortIsGone)
{
    show({"4x1"});
    EXPECT_TRUE(contains(paint().text(0), "open"));
    line->plugged = false;
    step();
    EXPECT_TRUE(contains(paint().text(0), "GONE"));
}

TEST_F(LiveScreen, SaysThatTheWindowIsTooSmall)
{
    show({"4x1"});
    EXPECT_TRUE(contains(paint(5, 30).text(0), "too small"));
    EXPECT_FALSE(contains(paint(10, 40).text(0), "too small"));
    EXPECT_EQ(1u, paint(1, 1).lines.size());
}

TEST_F(LiveScreen, NewsOfAWriteComeOnce)
{
    show({"4x1"});
    feed->noteEnd("1:4x1: 5 -> -7, acknowledged");
    EXPECT_EQ("1:4x1: 5 -> -7, acknowledged", feed->takeNews());
    EXPECT_EQ("", feed->takeNews());
}

TEST_F(LiveScreen, HasRoomForALongMessage)
{
    show({"4x1..30"});
    poll();
    const std::string cause = "after 3 attempts not one byte came back, while others answer, so the line works: look "
                              "at its power, its address, and its end of the wires";
    state->setMessage(cause);
    for (int columns : {40, 80, 200}) {
        const rtu::Screen screen = paint(10, columns);
        std::string told;
        for (std::size_t row = 0; row < screen.lines.size(); ++row)
            told += screen.text(row).substr(0, screen.text(row).find_last_not_of(' ') + 1);
        EXPECT_TRUE(contains(told, cause)) << columns << ": " << told;
        EXPECT_EQ(10u, screen.lines.size());
        EXPECT_FALSE(lineWith(screen, "1:4x1 ").empty()) << "values stay";
    }
    state->press('/');
    state->setMessage(cause);
    EXPECT_FALSE(lineWith(paint(10, 40), "end of the wires").empty());
    EXPECT_FALSE(lineWith(paint(10, 40), "Search:").empty());
}

TEST_F(LiveScreen, NamesNoKeyByHalf)
{
    show({"4x1"});
    for (int columns = 40; columns < 120; ++columns) {
        const std::string last = paint(10, columns).text(9);
        const std::string text = last.substr(0, last.find_last_not_of(' ') + 1);
        for (const char *half : {"  q", "  s", "  d", "  f", "search  s s", "off/", "plu"})
            EXPECT_FALSE(text.size() >= std::string(half).size()
                         && text.compare(text.size() - std::string(half).size(), std::string::npos, half) == 0)
                << columns << ": " << text;
        EXPECT_LT(text.size(), static_cast<std::size_t>(columns) + 1);
    }
}

TEST_F(LiveScreen, HelpIsWholeOnNarrowScreens)
{
    show({"4x1"});
    state->press('?');
    EXPECT_FALSE(lineWith(paint(30, 40), "wait").empty());
    EXPECT_FALSE(lineWith(paint(30, 40), "           changed, trouble").empty());
}

TEST_F(LiveScreen, HelpNamesTheSlavesKeysOnlyWhereThereAreAny)
{
    show({"4x1"});
    state->press('?');
    EXPECT_FALSE(lineWith(paint(), "add a fault").empty());
    state->press('?');
    actions.hasSlaves = false;
    state->press('?');
    EXPECT_TRUE(lineWith(paint(), "add a fault").empty());
}

TEST(PairText, HasOneUnitForBoth)
{
    using std::chrono::microseconds;
    struct Case
    {
        long median;
        long percentile95; ///< in microseconds
        const char *text;
    };
    const Case cases[] = {
        {12000, 15000, "12.0/15.0 ms"},    {999960, 1040000, "1/1.0 s"},   {850, 12000, "0.85/12.0 ms"},
        {20000, 1500000, "0.02/1.5 s"},    {999000, 999000000, "1/999 s"}, {2000000, 2100000, "2.0/2.1 s"},
        {1234, 999000000, "0.0012/999 s"},
    };
    for (const Case &each : cases) {
        const std::string text = rtu::pairText(microseconds(each.median), microseconds(each.percentile95));
        EXPECT_EQ(each.text, text);
        EXPECT_GE(12u, text.size()) << "what the column has room for";
    }
    EXPECT_EQ("-", rtu::pairText(rtu::Duration(0), rtu::Duration(0)));
}

} // namespace
