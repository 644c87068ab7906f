// A host may do with the text of a report what it likes: each report has a text
// of its own, and nothing of the driver is changed with it.

#include "support/slave_fixture.h"
#include "support/unit_text.h"

namespace {

using support::Change;
using support::ChangeRecorder;
using support::Changes;
using support::key;
using support::Keys;
using support::row;

/** Records the report, then overwrites its text. */
int overwriteText(int linkId, int station, QString *regType, int address)
{
    ChangeRecorder::callBack(linkId, station, regType, address);
    for (int i = 0; i < static_cast<int>(regType->size()); ++i)
        (*regType)[i] = QLatin1Char('#'); // in place, where the text is not shared
    *regType += QLatin1String(" seen");
    return 0;
}

/** Records the report, then takes its text away. */
int clearText(int linkId, int station, QString *regType, int address)
{
    ChangeRecorder::callBack(linkId, station, regType, address);
    *regType = QString();
    return 0;
}

class ReportText : public support::SlaveFixture, public ::testing::WithParamInterface<ValueChangeCallBack>
{
protected:
    ReportText()
    {
        intf_setAddrValueChangeCallBack(GetParam());
        init("1#0#0#1#100");
    }

    static Change change(const char *type, int address) { return Change{1, 1, QString::fromLatin1(type), address}; }

    void expectReports(const Changes &expected) { EXPECT_EQ(recorder.take(), expected); }
};

INSTANTIATE_TEST_SUITE_P(Hosts, ReportText, ::testing::Values(&overwriteText, &clearText),
                         [](const ::testing::TestParamInfo<ValueChangeCallBack> &host) {
                             return host.param == &clearText ? "ClearingIt" : "OverwritingIt";
                         });

TEST_P(ReportText, OfEachCoilOfAReply)
{
    slaves.station(1).coils = {{0, 1}, {1, 1}, {2, 0}, {3, 1}};
    plan(Keys() << key(1, "0x", 0, 4, -1));
    EXPECT_EQ(step(), ReplyAccepted);
    expectReports({change("0x", 0), change("0x", 1), change("0x", 3)});
    slaves.station(1).coils.clear();
    EXPECT_EQ(step(), ReplyAccepted);
    expectReports({change("0x", 0), change("0x", 1), change("0x", 3)});
    EXPECT_EQ(findArea(1, "0x", 3), 3) << "and the areas keep their type";
}

TEST_P(ReportText, OfEachRegisterOfAReply)
{
    slaves.station(1).setHolding(0, {1, 2});
    plan(Keys() << key(1, "4x", 0, 2) << key(1, "4x_bit", 0, 32, -1) << key(1, "4x_double", 0, 2));
    EXPECT_EQ(trace(2), "PP");
    expectReports({change("4x_bit", 0), change("4x", 0), change("4x_double", 0), change("4x_bit", 17), change("4x", 1),
                   change("4x_double", 0)});
}

TEST_P(ReportText, OfEachPartOfAWrite)
{
    setData(1, "0x", 0, 2, "01 01");
    expectReports({change("0x", 0), change("0x", 1)});
    exchangeUntilGivenUp();
    expectReports({change("0x", 0), change("0x", 1)});
    EXPECT_EQ(errorText, QString::fromLatin1("W,1#0x1(2)"));
}

TEST_P(ReportText, OfEachBitOfACompletedWrite)
{
    slaves.station(1);
    setData(1, "4x_bit", 35, 2, "01 01 00 00");
    EXPECT_EQ(trace(2), "WW");
    expectReports({change("4x_bit", 35), change("4x_bit", 35)});
}

TEST_P(ReportText, OfEachWordOfARecipe)
{
    slaves.station(1);
    QVector<_RCP_VAR_PRO> rows;
    rows << row(1, 1, "4x", 0, 2, 10) << row(1, 1, "4x_double", 50, 2, 20);
    intf_setRcpAddress(&rows);
    EXPECT_EQ(transfer(BlockReadRequest), 2);
    const QString word = QString::fromLatin1("RWI");
    expectReports({{0, -1, word, 10}, {0, -1, word, 11}, {0, -1, word, 20}, {0, -1, word, 21}});
}

TEST_P(ReportText, OfTheEndOfEachConditionRead)
{
    slaves.station(1);
    KEY_ADDRESS range = key(1, "4x", 0, 1);
    for (int i = 0; i < 2; ++i) {
        intf_addConditionRead(&range, 5);
        EXPECT_EQ(trace(1), "C");
        expectReports({{-1, -1, QString::fromLatin1("-1"), 0}});
    }
}

} // namespace
