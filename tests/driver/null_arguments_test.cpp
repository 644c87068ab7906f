// Null pointers: what cannot be read counts as empty, what cannot be written is left out.

#include "support/driver_fixture.h"

namespace {

using namespace support;

class NullArguments : public DriverFixture
{
protected:
    QString type = QString::fromLatin1("4x");
    QString text = QString::fromLatin1("5");
    int address = 77;
};

TEST_F(NullArguments, Descriptors)
{
    intf_getProtocolType(nullptr);
    intf_getDriverParameter(nullptr);
    intf_getDriverPropertyPage(nullptr);
    intf_SetDriverPropertyPage(nullptr);
}

TEST_F(NullArguments, PropertyStringCountsAsEmpty)
{
    setData(1, "4x", 0, 1, "01 00");
    EXPECT_EQ(init(nullptr), 1);
    EXPECT_EQ(driver.linkId, 1);
    EXPECT_EQ(driver.maxReadWords, 100);
    EXPECT_TRUE(driver.writeList.isEmpty());
}

TEST_F(NullArguments, StatusOutputIsLeftOut)
{
    EXPECT_EQ(intf_initProperty(hostArea.data(), 0, hostWords.data(), nullptr, "6#0#0#3#20", &hostMutex), 1);
    EXPECT_EQ(driver.linkId, 6);
}

TEST_F(NullArguments, AllOfInitialisation)
{
    EXPECT_EQ(intf_initProperty(nullptr, 0, nullptr, nullptr, nullptr, nullptr), 1);
}

TEST_F(NullArguments, AddressValidity)
{
    EXPECT_EQ(intf_checkAddrValidity(nullptr, &text, &address, 1, 1), 3);
    EXPECT_EQ(intf_checkAddrValidity(&type, nullptr, &address, 1, 1), 4);
    EXPECT_EQ(intf_checkAddrValidity(&type, &text, nullptr, 1, 1), 0);
    QString bitType = QString::fromLatin1("4x_bit");
    QString bitText = QString::fromLatin1("1.5");
    EXPECT_EQ(intf_checkAddrValidity(&bitType, &bitText, nullptr, 1, 0), 0);
    EXPECT_EQ(intf_checkAddrValidity(&bitType, nullptr, nullptr, 1, 0), 4);
    EXPECT_EQ(intf_checkAddrValidity(nullptr, nullptr, nullptr, 1, 1), 3);
}

TEST_F(NullArguments, AddressCheck)
{
    EXPECT_EQ(intf_checkAddr(nullptr, &text, &address, 1, 1, 0), 3);
    EXPECT_EQ(intf_checkAddr(&type, nullptr, &address, 1, 1, 0), 4);
    EXPECT_EQ(intf_checkAddr(&type, &text, nullptr, 1, 1, 0), 0);
    QString bitType = QString::fromLatin1("4x_bit");
    QString bitText = QString::fromLatin1("1.5");
    EXPECT_EQ(intf_checkAddr(&bitType, &bitText, nullptr, -1, 1, 0), 0);
    EXPECT_EQ(intf_checkAddr(nullptr, nullptr, nullptr, 1, 1, 0), 3);
}

TEST_F(NullArguments, TypeLists)
{
    EXPECT_EQ(intf_getRegListByType(0, nullptr), 1);
    EXPECT_EQ(intf_getRegListByType(1, nullptr), 1);
    EXPECT_EQ(intf_getRegListByType(2, nullptr), 0);
}

TEST_F(NullArguments, Descriptions)
{
    QList<QString> list;
    EXPECT_EQ(intf_getRegDiscription(nullptr, &list), 0);
    EXPECT_TRUE(list.isEmpty());
    QString last = QString::fromLatin1("4x_double");
    EXPECT_EQ(intf_getRegDiscription(&last, nullptr), 1);
    EXPECT_EQ(intf_getRegDiscription(nullptr, nullptr), 0);
}

TEST_F(NullArguments, MultiCopy)
{
    QVector<QString> texts;
    QVector<int> addresses;
    EXPECT_EQ(intf_multiCopy(nullptr, 0, 2, 1, &texts, &addresses), 0);
    EXPECT_TRUE(texts.isEmpty());
    EXPECT_TRUE(addresses.isEmpty());
    EXPECT_EQ(intf_multiCopy(&type, 65535, 2, 1, nullptr, &addresses), 2);
    EXPECT_EQ(addresses.size(), 2);
    EXPECT_EQ(intf_multiCopy(&type, 0, 2, 1, &texts, nullptr), 1);
    EXPECT_EQ(texts.size(), 2);
    EXPECT_EQ(intf_multiCopy(&type, 0, 2, 1, nullptr, nullptr), 1);
}

TEST_F(NullArguments, RecipeRowsCountAsNone)
{
    QVector<_RCP_VAR_PRO> rows;
    rows << row(1, 1, "4x", 0, 2, 0);
    ASSERT_EQ(intf_setRcpAddress(&rows), 1);
    EXPECT_EQ(intf_setRcpAddress(nullptr), 0);
    EXPECT_TRUE(driver.rcpAddrs.isEmpty());
    EXPECT_EQ(driver.rcpBlocks.size(), 1);
}

TEST_F(NullArguments, KeysCountAsNone)
{
    ASSERT_EQ(plan(Keys() << key(1, "4x", 0, 2)), 1);
    EXPECT_EQ(intf_addrMerge(nullptr), 0);
    EXPECT_TRUE(driver.cyclicReadList.isEmpty());
}

TEST_F(NullArguments, ConditionReadOfNothingSendsNothing)
{
    EXPECT_EQ(intf_addConditionRead(nullptr, 3), 1);
    EXPECT_EQ(nextRequest(), QByteArray());
}

TEST_F(NullArguments, SendFrameKeepsTheFrameForTheNextCall)
{
    plan(Keys() << key(1, "4x", 0, 10));
    intf_getSendFrame(nullptr);
    EXPECT_EQ(nextRequest(), adu("01 03 00 00 00 0A"));
}

TEST_F(NullArguments, ReplyCountsAsTimeOut)
{
    plan(Keys() << key(1, "4x", 0, 1));
    nextFrame();
    EXPECT_EQ(intf_dealRcvFrame(nullptr, &errorText), static_cast<int>(SendAgain));
    EXPECT_EQ(intf_dealRcvFrame(nullptr, nullptr), static_cast<int>(SendAgain));
    EXPECT_EQ(intf_dealRcvFrame(nullptr, nullptr), static_cast<int>(RequestGivenUp));
    EXPECT_EQ(intf_dealRcvFrame(nullptr, nullptr), static_cast<int>(NothingPending));
}

TEST_F(NullArguments, InformationIsLeftOut)
{
    plan(Keys() << key(1, "4x", 0, 1));
    nextFrame();
    QByteArray reply = wordsReply(1, 3, {5});
    EXPECT_EQ(intf_dealRcvFrame(&reply, nullptr), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(getData(1, "4x", 0, 1, 2), payload("05 00"));
}

TEST_F(NullArguments, ReadOut)
{
    const char *const types[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double", "5x"};
    for (const char *name : types) {
        QString regType = QString::fromLatin1(name);
        EXPECT_EQ(intf_getData(1, &regType, 0, 3, nullptr), 1) << name;
    }
    unsigned char out[4] = {9, 9, 9, 9};
    EXPECT_EQ(intf_getData(1, nullptr, 0, 2, out), 1);
    EXPECT_EQ(out[0], 9);
    EXPECT_EQ(intf_getData(1, nullptr, 0, 2, nullptr), 1);
}

TEST_F(NullArguments, WriteRequest)
{
    const char *const types[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double", "5x"};
    for (const char *name : types) {
        QString regType = QString::fromLatin1(name);
        EXPECT_EQ(intf_setData(1, &regType, 0, 3, nullptr, 0), 1) << name;
        EXPECT_EQ(intf_setData(1, &regType, 0, 250, nullptr, 0), 1) << name;
    }
    unsigned char data[4] = {1, 0, 1, 0};
    const int queued = static_cast<int>(driver.writeList.size());
    EXPECT_EQ(intf_setData(1, nullptr, 0, 2, data, 0), 1);
    EXPECT_EQ(intf_setData(1, nullptr, 0, 2, nullptr, 0), 1);
    EXPECT_EQ(driver.writeList.size(), queued);
}

// Nothing is read from the data of a write that has no elements: the outcome is that of any other pointer.
TEST_F(NullArguments, WriteRequestWithoutElements)
{
    const struct
    {
        const char *type;
        int count;
        int queued;
    } writes[] = {
        {"0x", 0, 1},        {"0x", -3, 1},        {"1x", 0, 0},  {"3x", -3, 0},    {"3x_double", 0, 0},
        {"3x_bit", -3, 0},   {"4x", 0, 0},         {"4x", -3, 1}, {"4x_bit", 0, 0}, {"4x_bit", -3, 1},
        {"4x_double", 0, 0}, {"4x_double", -3, 1}, {"5x", 0, 0},
    };
    unsigned char data[1] = {1};
    for (const auto &write : writes) {
        unsigned char *const pointers[] = {data, nullptr};
        for (unsigned char *pointer : pointers) {
            init("1#0#0#3#100");
            QString regType = QString::fromLatin1(write.type);
            EXPECT_EQ(intf_setData(1, &regType, 7, write.count, pointer, 0), 1);
            EXPECT_EQ(driver.writeList.size(), write.queued) << write.type << " " << write.count;
            EXPECT_TRUE(driver.dataAreas.isEmpty()) << write.type << " " << write.count;
        }
    }
}

TEST_F(NullArguments, HostObjectsMayBeMissingWhilePolling)
{
    int status = -1;
    intf_initProperty(nullptr, 0, nullptr, &status, "1#0#0#3#100", nullptr);
    plan(Keys() << key(1, "4x", 0, 1));
    EXPECT_EQ(exchange(wordsReply(1, 3, {5})), static_cast<int>(ReplyAccepted));

    intf_initProperty(hostArea.data(), 0, nullptr, &status, "1#0#0#3#100", nullptr);
    hostArea[BlockWriteRequest] = 1;
    plan(Keys() << key(1, "4x", 0, 1));
    EXPECT_EQ(nextRequest(), adu("01 03 00 00 00 01")) << "without a mutex there is no block request";

    intf_initProperty(nullptr, 0, nullptr, &status, "1#0#0#3#100", &hostMutex);
    plan(Keys() << key(1, "4x", 0, 1));
    EXPECT_EQ(nextRequest(), adu("01 03 00 00 00 01")) << "without an area there is no block request";
}

TEST_F(NullArguments, WordBufferMayBeMissingInBlockTransfers)
{
    int status = -1;
    intf_initProperty(hostArea.data(), 0, nullptr, &status, "1#0#0#1#100", &hostMutex);
    QVector<_RCP_VAR_PRO> rows;
    rows << row(1, 1, "4x", 0, 2, 0);
    ASSERT_EQ(intf_setRcpAddress(&rows), 1);

    hostArea[BlockReadRequest] = 1;
    EXPECT_EQ(exchange(wordsReply(1, 3, {5, 6})), static_cast<int>(ReplyAccepted));
    EXPECT_EQ(hostArea[BlockReadRequest], 0);

    hostArea[BlockWriteRequest] = 1;
    const FRAME_PRO frame = nextFrame();
    EXPECT_LE(frame.frameLen, 13);
}

} // namespace
