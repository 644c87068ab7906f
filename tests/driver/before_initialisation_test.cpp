// Every call before the first intf_initProperty() is safe and finds nothing to do.
// No test of this program may initialise the driver.

#include "driver/modbus_rtu_master.h"

#include <gtest/gtest.h>

namespace {

TEST(BeforeInitialisation, PollCallsFindNothing)
{
    FRAME_PRO frame = FRAME_PRO();
    EXPECT_EQ(intf_getSendFrame(&frame), 0);
    QByteArray reply("\x01\x03\x00", 3);
    QString information = QString::fromLatin1("replaced");
    EXPECT_EQ(intf_dealRcvFrame(&reply, &information), 0);
    EXPECT_TRUE(information.isEmpty());
}

TEST(BeforeInitialisation, DescriptorsAndEditorCallsWork)
{
    int type = 5;
    intf_getProtocolType(&type);
    EXPECT_EQ(type, 0);
    QString text;
    intf_getDriverParameter(&text);
    EXPECT_EQ(text.count(QLatin1Char(',')), 17);
    intf_getDriverPropertyPage(&text);
    EXPECT_EQ(text, QString::fromLatin1("0_0"));
    intf_SetDriverPropertyPage(&text);
    EXPECT_TRUE(text.isEmpty());

    QList<QString> list;
    EXPECT_EQ(intf_getRegListByType(0, &list), 1);
    QString regType = QString::fromLatin1("4x");
    QString addressText = QString::fromLatin1("7");
    EXPECT_EQ(intf_getRegDiscription(&regType, &list), 0);
    EXPECT_EQ(list.size(), 9);
    int address = -1;
    EXPECT_EQ(intf_checkAddrValidity(&regType, &addressText, &address, 1, 1), 0);
    EXPECT_EQ(address, 6);
    EXPECT_EQ(intf_checkAddr(&regType, &addressText, &address, 1, 1, 0), 0);
    QVector<QString> texts;
    QVector<int> addresses;
    EXPECT_EQ(intf_multiCopy(&regType, 0, 2, 1, &texts, &addresses), 1);
    EXPECT_EQ(addresses.size(), 2);
}

TEST(BeforeInitialisation, ReadOutGivesZeros)
{
    QString regType = QString::fromLatin1("4x");
    unsigned char out[4] = {9, 9, 9, 9};
    EXPECT_EQ(intf_getData(1, &regType, 0, 2, out), 1);
    for (unsigned char value : out)
        EXPECT_EQ(value, 0);
}

TEST(BeforeInitialisation, WriteRequestsShowInTheCache)
{
    const char *const types[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double", "5x"};
    unsigned char data[8] = {1, 0, 1, 0, 1, 0, 1, 0};
    for (const char *name : types) {
        QString regType = QString::fromLatin1(name);
        EXPECT_EQ(intf_setData(1, &regType, 10, 2, data, 0), 1) << name;
    }
    QString coils = QString::fromLatin1("0x");
    unsigned char out[2] = {9, 9};
    EXPECT_EQ(intf_getData(1, &coils, 10, 2, out), 1);
    EXPECT_EQ(out[0], 1);
    EXPECT_EQ(out[1], 0);
}

TEST(BeforeInitialisation, ConditionReadsAndPlansAreTaken)
{
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = 1;
    key.regType = QString::fromLatin1("4x");
    key.count = 3;
    EXPECT_EQ(intf_addConditionRead(&key, 0), 1);
    QList<KEY_ADDRESS> keys;
    EXPECT_EQ(intf_addrMerge(&keys), 0);
    keys << key;
    EXPECT_EQ(intf_addrMerge(&keys), 1);
    QVector<_RCP_VAR_PRO> rows;
    EXPECT_EQ(intf_setRcpAddress(&rows), 0);
}

} // namespace
