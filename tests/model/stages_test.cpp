/**
 * Single stages of the driver against the plain ones, on more and nastier input
 * than whole call sequences give them.
 */
#include "model/generators.h"
#include "model/plain_driver.h"
#include "model/state_comparison.h"

#include "driver/modbus_rtu_master.h"
#include "support/driver_fixture.h"

#include <gtest/gtest.h>

#include <cstdio>

namespace {

using model::Random;

std::uint32_t firstSeed()
{
    const std::uint32_t seed = static_cast<std::uint32_t>(support::environmentNumber("MODBUS_SEED", 4711));
    std::printf("seed %u\n", seed);
    return seed;
}

std::string textOf(const KEY_ADDRESS &key)
{
    return std::to_string(key.station) + ":" + std::string(key.regType.toUtf8().constData()) + " "
           + std::to_string(key.startAddr) + "+" + std::to_string(key.count) + " #" + std::to_string(key.field1);
}

std::vector<std::string> textsOf(const QList<KEY_ADDRESS> &keys)
{
    std::vector<std::string> texts;
    for (int i = 0; i < static_cast<int>(keys.size()); ++i)
        texts.push_back(textOf(keys.at(i)));
    return texts;
}

std::string textOf(const _RCP_VAR_PRO &row)
{
    return std::to_string(row.station) + ":" + std::string(row.regType.toUtf8().constData()) + " "
           + std::to_string(row.startAddr) + "+" + std::to_string(row.count) + "@" + std::to_string(row.hostOffset);
}

std::vector<std::string> textsOf(const QVector<_RCP_VAR_PRO> &rows)
{
    std::vector<std::string> texts;
    for (int i = 0; i < static_cast<int>(rows.size()); ++i)
        texts.push_back(textOf(rows.at(i)));
    return texts;
}

// Few stations and types whose weight bands overlap, few addresses: equal weights abound.
KEY_ADDRESS crowdedKey(Random &random, int number)
{
    KEY_ADDRESS key = KEY_ADDRESS();
    key.field1 = number;
    key.station = random.below(3);
    key.regType = QLatin1String(random.pick({"0x", "3x_double", "4x_double", "3x_bit", "4x_bit", "4x", "3x", "5x"}));
    key.startAddr = random.chance(3) ? random.pick({65534, 65535, 1048575, -3, -1}) : random.below(30);
    key.count = random.between(random.chance(10) ? -2 : 1, random.chance(10) ? 130 : 5);
    key.hostOffset = number;
    return key;
}

TEST(StageAgainstPlainModel, MergesKeysWithManyEqualWeights)
{
    Random random(firstSeed());
    for (int round = 0; round < 1500; ++round) {
        QList<KEY_ADDRESS> keys;
        const int n = round % 50 == 0 ? 300 : random.between(1, 40);
        for (int i = 0; i < n; ++i)
            keys << crowdedKey(random, i);
        Modbus_rtu_master real;
        PlainDriver plain;
        real.maxReadWords = plain.maxReadWords = random.pick({-1, 0, 1, 2, 5, 32, 125});
        const int mode = random.pick({0, 1, 1, 1, 2, 2, 3});
        QList<KEY_ADDRESS> realKeys = keys;
        QList<KEY_ADDRESS> plainKeys = keys;
        real.addrMerge(realKeys, mode);
        plain.mergeKeys(plainKeys, mode);
        ASSERT_EQ(textsOf(realKeys), textsOf(plainKeys)) << "round " << round << ", mode " << mode;
        ASSERT_TRUE(real.rcpBlockStarts == plain.rcpBlockStarts) << "round " << round;
    }
}

TEST(StageAgainstPlainModel, RegistersRecipeRowsWithManyEqualWeights)
{
    Random random(firstSeed());
    for (int round = 0; round < 600; ++round) {
        QVector<_RCP_VAR_PRO> rows;
        const int n = round % 50 == 0 ? 300 : random.below(40);
        for (int i = 0; i < n; ++i) {
            const KEY_ADDRESS key = crowdedKey(random, i);
            _RCP_VAR_PRO row = _RCP_VAR_PRO();
            row.userData = random.chance(10) ? 6 : 5;
            row.station = key.station;
            row.regType = key.regType;
            row.startAddr = key.startAddr;
            row.count = key.count;
            row.hostOffset = i;
            row.extra = -i;
            rows << row;
        }
        Modbus_rtu_master real;
        PlainDriver plain;
        real.linkId = plain.linkId = 5;
        real.maxReadWords = plain.maxReadWords = random.pick({0, 1, 5, 32, 125});
        ASSERT_EQ(real.setRcpAddress(rows), plain.setRcpAddress(rows));
        ASSERT_EQ(textsOf(real.rcpAddrs), textsOf(plain.rcpAddrs)) << "round " << round;
        ASSERT_EQ(textsOf(real.rcpBlocks), textsOf(plain.rcpBlocks)) << "round " << round;
        ASSERT_TRUE(real.rcpBlockStarts == plain.rcpBlockStarts) << "round " << round;
    }
}

TEST(StageAgainstPlainModel, WeighsAnyAddress)
{
    Random random(firstSeed());
    const Modbus_rtu_master real;
    const PlainDriver plain;
    for (int round = 0; round < 20000; ++round) {
        const QString type = model::regType(random);
        const int station = random.chance(50) ? random.below(300) : static_cast<int>(random.next());
        const int address = random.chance(50) ? random.below(70000) : static_cast<int>(random.next());
        ASSERT_EQ(real.getRegAddressWeight(station, type, address, random.below(5)),
                  plain.getRegAddressWeight(station, type, address));
    }
}

// --- address language -----------------------------------------------------------------

const char *const registerTypes[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double", "5x"};

// Both checks of one text for one type; the address is compared on rejection as well.
void compareChecks(const PlainDriver &plain, const char *type, const QString &text, int count)
{
    QString regType = QLatin1String(type);
    QString address = text;
    for (int mode = 0; mode < 2; ++mode) {
        int real = -77;
        int expected = -77;
        const int realResult = intf_checkAddrValidity(&regType, &address, &real, count, mode);
        const int plainResult = plain.checkAddrValidity(regType, text, &expected, count, mode);
        ASSERT_EQ(realResult, plainResult) << type << " " << qPrintable(text) << " count " << count;
        ASSERT_EQ(real, expected) << type << " " << qPrintable(text) << " count " << count;
    }
    const int formats[] = {-1, 0, 1, 9};
    for (int format : formats) {
        int real = -77;
        int expected = -77;
        const int access = count & 1;
        const int realResult = intf_checkAddr(&regType, &address, &real, format, count, access);
        const int plainResult = plain.checkAddr(regType, text, &expected, format, count, access);
        ASSERT_EQ(realResult, plainResult) << type << " " << qPrintable(text) << " format " << format;
        ASSERT_EQ(real, expected) << type << " " << qPrintable(text) << " format " << format;
    }
}

TEST(StageAgainstPlainModel, ChecksEveryShortText)
{
    const char alphabet[] = {'0', '1', '6', '9', '.', '+', '-', ' ', 'x'};
    const int letters = static_cast<int>(sizeof alphabet);
    const PlainDriver plain;
    for (int length = 0; length <= 4; ++length) {
        int texts = 1;
        for (int i = 0; i < length; ++i)
            texts *= letters;
        for (int number = 0; number < texts; ++number) {
            QString text;
            for (int i = 0, rest = number; i < length; ++i, rest /= letters)
                text += QLatin1Char(alphabet[rest % letters]);
            for (const char *type : registerTypes)
                ASSERT_NO_FATAL_FAILURE(compareChecks(plain, type, text, number % 3));
        }
    }
}

TEST(StageAgainstPlainModel, ChecksRandomTexts)
{
    Random random(firstSeed());
    const PlainDriver plain;
    for (int round = 0; round < 20000; ++round) {
        const QString text = model::addressText(random);
        const int count = random.pick({-1, 0, 1, 1, 2, 16, 17, 65536, 1048576, 2147483647});
        const char *type = registerTypes[random.below(9)];
        ASSERT_NO_FATAL_FAILURE(compareChecks(plain, type, text, count));
    }
}

TEST(StageAgainstPlainModel, StepsCopies)
{
    Random random(firstSeed());
    const PlainDriver plain;
    for (int round = 0; round < 5000; ++round) {
        QString type = model::regType(random);
        const int start =
            random.chance(80) ? model::address(random, type, model::Wide) : static_cast<int>(random.next());
        const int increment = random.chance(80) ? random.between(-5, 40) : static_cast<int>(random.next());
        const int copies = random.between(-1, 40);
        QVector<QString> realTexts;
        QVector<int> realAddresses;
        QVector<QString> texts;
        QVector<int> addresses;
        const int result = plain.multiCopy(type, start, copies, increment, &texts, &addresses);
        ASSERT_EQ(intf_multiCopy(&type, start, copies, increment, &realTexts, &realAddresses), result);
        ASSERT_TRUE(realTexts == texts) << qPrintable(type) << " " << start << " + k x " << increment;
        ASSERT_TRUE(realAddresses == addresses) << qPrintable(type) << " " << start << " + k x " << increment;
    }
}

// --- frames -----------------------------------------------------------------------------

VARIABLE randomUnit(Random &random)
{
    VARIABLE unit = VARIABLE();
    unit.userData = random.below(100);
    unit.station = model::station(random);
    unit.regType = model::regType(random);
    unit.startAddr = model::address(random, unit.regType, model::Wide);
    unit.count = random.chance(30) ? random.between(-20, 1100) : model::count(random);
    const bool small = random.chance(50);
    for (unsigned char &byte : unit.data)
        byte = small ? static_cast<unsigned char>(random.below(3)) : random.byte();
    return unit;
}

TEST(StageAgainstPlainModel, BuildsFrames)
{
    Random random(firstSeed());
    for (int round = 0; round < 20000; ++round) {
        const VARIABLE unit = randomUnit(random);
        Modbus_rtu_master real;
        PlainDriver plain;
        if (random.chance(30)) {
            real.getReadFrame(unit);
            plain.getReadFrame(unit);
        } else {
            real.getWriteFrame(unit);
            plain.getWriteFrame(unit);
        }
        ASSERT_EQ(real.frameList.size(), plain.frameList.size()) << model::text(unit);
        for (int i = 0; i < static_cast<int>(plain.frameList.size()); ++i) {
            ASSERT_EQ(model::frameDifference(real.frameList.at(i), plain.frameList.at(i), TransferWriteSent),
                      std::string())
                << model::text(unit);
        }
    }
}

TEST(StageAgainstPlainModel, JudgesReplies)
{
    Random random(firstSeed());
    int verdicts[3] = {0, 0, 0};
    for (int round = 0; round < 20000; ++round) {
        FRAME_PRO frame = FRAME_PRO();
        frame.replyLen = random.chance(20) ? random.between(-2, 4) : random.between(5, 260);
        frame.dataLen = random.pick({-2, 0, 1, 20});
        Modbus_rtu_master real;
        PlainDriver plain;
        real.frameList << frame;
        plain.frameList << frame;
        QByteArray reply;
        const int length = random.chance(80) ? frame.replyLen : random.between(0, 8);
        for (int i = 0; i < length; ++i)
            reply.append(static_cast<char>(random.chance(20) ? 0xFF : random.byte()));
        if (length > 2 && random.chance(70)) {
            const unsigned int crc =
                PlainDriver::crc(reinterpret_cast<const unsigned char *>(reply.constData()), length - 2);
            reply[length - 2] = static_cast<char>(crc & 0xFF);
            reply[length - 1] = static_cast<char>(crc >> 8);
        }
        const int verdict = plain.checkRcvData(reply);
        ++verdicts[verdict];
        const unsigned char *bytes = reinterpret_cast<const unsigned char *>(reply.constData());
        ASSERT_EQ(real.check_rcv_data(bytes, length < 0 ? 0 : length), verdict) << "round " << round;
    }
    EXPECT_GT(verdicts[0], 1000);
    EXPECT_GT(verdicts[1], 1000);
    EXPECT_GT(verdicts[2], 1000);
}

// A run of areas that wraps around the 32 bits of an address, read twice: first it is made, then it
// is found unchanged.
TEST(StageAgainstPlainModel, ReadsARunThatWrapsTwice)
{
    const struct
    {
        const char *type;
        int address;
        int count;
    } cases[] = {{"4x", 2147483647, 3}, {"3x", 2147483645, 9}, {"0x", 2147483647, 3}, {"1x", 2147483640, 12}};
    for (const auto &row : cases) {
        const VARIABLE unit = support::variable(1, row.type, row.address, row.count);
        Modbus_rtu_master real;
        PlainDriver plain;
        real.sendState = plain.sendState = CyclicReadSent;
        for (int round = 0; round < 2; ++round) {
            real.getReadFrame(unit);
            plain.getReadFrame(unit);
            QByteArray reply = support::withCrc(QByteArray(plain.frameList.at(0).replyLen - 2, '\x01'));
            QString errorText;
            ASSERT_EQ(real.dealRcvFrame(reply, errorText), ReplyAccepted);
            ASSERT_EQ(plain.dealRcvFrame(&reply, &errorText), ReplyAccepted);
        }
        ASSERT_EQ(real.dataAreas.size(), plain.dataAreas.size()) << row.type;
        for (int i = 0; i < row.count; ++i) {
            EXPECT_EQ(real.dataAreas.at(i).areaIndex, plain.dataAreas.at(i).areaIndex) << row.type << " " << i;
            EXPECT_EQ(real.dataAreas.at(i).readValue, plain.dataAreas.at(i).readValue) << row.type << " " << i;
        }
    }
}

// --- queues -----------------------------------------------------------------------------

std::vector<std::string> textsOf(const QList<VARIABLE> &units, bool withPayload)
{
    std::vector<std::string> texts;
    for (int i = 0; i < static_cast<int>(units.size()); ++i) {
        const VARIABLE &unit = units.at(i);
        texts.push_back(model::text(unit));
        if (withPayload)
            texts.back() += " " + model::text(unit.data, model::payloadBytes(unit, WriteSent));
    }
    return texts;
}

TEST(StageAgainstPlainModel, SplitsAndQueuesWritesAndConditionReads)
{
    Random random(firstSeed());
    for (int round = 0; round < 400; ++round) {
        Modbus_rtu_master real;
        PlainDriver plain;
        const int limit = random.pick({-5, 0, 1, 2, 3, 7, 32, 100, 125, 300, 508});
        real.maxBlockWords = plain.maxBlockWords = limit;
        real.maxBlockBits = plain.maxBlockBits = 8 * limit;
        const model::Spread spread = random.chance(50) ? model::Narrow : model::Wide;
        const int calls = random.between(1, 60);
        for (int i = 0; i < calls; ++i) {
            const KEY_ADDRESS key = model::key(random, spread);
            const int userData = random.below(1000);
            if (random.chance(50)) {
                real.addConditionRead(key, userData);
                plain.addConditionRead(key, userData);
                continue;
            }
            const std::vector<unsigned char> data = model::hostBytes(random, key.regType, key.count);
            real.setData(key.station, key.regType, key.startAddr, key.count, data.data(), userData);
            plain.setData(key.station, key.regType, key.startAddr, key.count, data.data(), userData);
        }
        ASSERT_EQ(textsOf(real.writeList, true), textsOf(plain.writeList, true)) << "limit " << limit;
        ASSERT_EQ(textsOf(real.conditionReadList, false), textsOf(plain.conditionReadList, false)) << "limit " << limit;
        ASSERT_EQ(model::unitDifference(real.conditionVar, plain.conditionVar, 0), std::string());
    }
}

} // namespace
