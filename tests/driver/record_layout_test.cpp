// The records: value semantics and the layout that host and driver share.

#include "support/driver_fixture.h"

#include <cstddef>
#include <cstring>
#include <type_traits>

namespace {

using namespace support;

template <typename Record>
void fillArray(Record &record, unsigned char *array)
{
    for (int i = 0; i < ModbusRtuRecordBytes; ++i)
        array[i] = static_cast<unsigned char>(i * 7 + 3);
    record.count = 1;
}

bool sameArray(const unsigned char *a, const unsigned char *b)
{
    return std::memcmp(a, b, ModbusRtuRecordBytes) == 0;
}

TEST(Records, CopyOfVariableHasTheWholeArrayWhateverCountSays)
{
    VARIABLE original = variable(3, "4x", 7, 1);
    original.userData = 11;
    fillArray(original, original.data);

    const VARIABLE copy(original);
    EXPECT_TRUE(sameArray(copy.data, original.data));
    EXPECT_EQ(copy.userData, 11);
    EXPECT_EQ(copy.station, 3);
    EXPECT_EQ(copy.regType, QString::fromLatin1("4x"));
    EXPECT_EQ(copy.startAddr, 7);
    EXPECT_EQ(copy.count, 1);

    VARIABLE assigned = variable(9, "0x", 9, 1000);
    assigned = original;
    EXPECT_TRUE(sameArray(assigned.data, original.data));
    EXPECT_EQ(assigned.userData, 11);
    EXPECT_EQ(assigned.station, 3);
    EXPECT_EQ(assigned.regType, QString::fromLatin1("4x"));
    EXPECT_EQ(assigned.startAddr, 7);
    EXPECT_EQ(assigned.count, 1);
}

TEST(Records, CopyOfFrameHasBothArraysWhole)
{
    FRAME_PRO original = FRAME_PRO();
    for (int i = 0; i < ModbusRtuRecordBytes; ++i)
        original.frame[i] = static_cast<unsigned char>(i * 5 + 1);
    original.frameLen = 8;
    original.replyLen = 25;
    original.frameKind = 3;
    original.dataLen = 20;
    original.field5 = 77;
    fillArray(original.var, original.var.data);
    original.var.regType = QString::fromLatin1("3x_bit");

    QList<FRAME_PRO> list;
    list << original;
    const FRAME_PRO copy = list.at(0);
    EXPECT_TRUE(sameArray(copy.frame, original.frame));
    EXPECT_TRUE(sameArray(copy.var.data, original.var.data));
    EXPECT_EQ(copy.frameLen, 8);
    EXPECT_EQ(copy.replyLen, 25);
    EXPECT_EQ(copy.frameKind, 3);
    EXPECT_EQ(copy.dataLen, 20);
    EXPECT_EQ(copy.field5, 77);
    EXPECT_EQ(copy.var.regType, QString::fromLatin1("3x_bit"));
}

TEST(Records, CopyOfKeyHasTheWholeArray)
{
    KEY_ADDRESS original = key(1, "4x", 2, 3, -1);
    fillArray(original, original.data);
    original.keyText = QString::fromLatin1("tank level");
    original.text2 = QString::fromLatin1("m");
    original.field1 = 5;
    original.hostOffset = 6;

    QList<KEY_ADDRESS> list;
    list << original;
    const KEY_ADDRESS copy = list.at(0);
    EXPECT_TRUE(sameArray(copy.data, original.data));
    EXPECT_EQ(copy.keyText, QString::fromLatin1("tank level"));
    EXPECT_EQ(copy.text2, QString::fromLatin1("m"));
    EXPECT_EQ(copy.field1, 5);
    EXPECT_EQ(copy.hostOffset, 6);
    EXPECT_EQ(copy.field7, -1);
}

TEST(Records, RegTypeOfACopyIsShared)
{
    const VARIABLE original = variable(1, "4x_double", 0, 2);
    const VARIABLE copy(original);
    EXPECT_EQ(copy.regType.constData(), original.regType.constData()); // one string until one of them changes
}

TEST(Records, ChangingRegTypeOfACopyLeavesTheOriginal)
{
    VARIABLE original = variable(1, "4x", 0, 2);
    VARIABLE copy(original);
    copy.regType.append(QString::fromLatin1("_bit"));
    EXPECT_EQ(original.regType, QString::fromLatin1("4x"));
    original.regType[0] = QLatin1Char('3');
    EXPECT_EQ(copy.regType, QString::fromLatin1("4x_bit"));

    _DATA_ area = _DATA_();
    area.regType = QString::fromLatin1("0x");
    _DATA_ areaCopy(area);
    areaCopy.regType.clear();
    EXPECT_EQ(area.regType, QString::fromLatin1("0x"));

    const _RCP_VAR_PRO kept = row(1, 2, "3x", 4, 5, 6, 7);
    _RCP_VAR_PRO changed(kept);
    changed.regType = QString::fromLatin1("1x");
    EXPECT_EQ(kept.regType, QString::fromLatin1("3x"));
}

TEST(Records, RecipeRowCarriesAllMembers)
{
    QVector<_RCP_VAR_PRO> rows;
    rows << row(1, 2, "3x", 4, 5, 6, 7);
    const _RCP_VAR_PRO copy = rows.at(0);
    EXPECT_EQ(copy.userData, 1);
    EXPECT_EQ(copy.station, 2);
    EXPECT_EQ(copy.regType, QString::fromLatin1("3x"));
    EXPECT_EQ(copy.startAddr, 4);
    EXPECT_EQ(copy.count, 5);
    EXPECT_EQ(copy.hostOffset, 6);
    EXPECT_EQ(copy.extra, 7);
}

// --- layout -----------------------------------------------------------------------

// Offset of the member that follows a string which starts at `stringOffset`.
size_t behindString(size_t stringOffset)
{
    return stringOffset + sizeof(QString);
}

size_t alignedForString(size_t offset)
{
    const size_t alignment = std::alignment_of<QString>::value;
    return (offset + alignment - 1) / alignment * alignment;
}

#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
#endif

TEST(RecordLayout, VariableMembersFollowEachOther)
{
    EXPECT_EQ(offsetof(VARIABLE, userData), 0u);
    EXPECT_EQ(offsetof(VARIABLE, station), 4u);
    EXPECT_EQ(offsetof(VARIABLE, regType), 8u);
    EXPECT_EQ(offsetof(VARIABLE, startAddr), behindString(8));
    EXPECT_EQ(offsetof(VARIABLE, count), behindString(8) + 4);
    EXPECT_EQ(offsetof(VARIABLE, data), behindString(8) + 8);
    EXPECT_EQ(sizeof(VARIABLE), alignedForString(behindString(8) + 8 + 1024));
}

TEST(RecordLayout, RecipeRowMembersFollowEachOther)
{
    EXPECT_EQ(offsetof(_RCP_VAR_PRO, userData), 0u);
    EXPECT_EQ(offsetof(_RCP_VAR_PRO, station), 4u);
    EXPECT_EQ(offsetof(_RCP_VAR_PRO, regType), 8u);
    EXPECT_EQ(offsetof(_RCP_VAR_PRO, startAddr), behindString(8));
    EXPECT_EQ(offsetof(_RCP_VAR_PRO, count), behindString(8) + 4);
    EXPECT_EQ(offsetof(_RCP_VAR_PRO, hostOffset), behindString(8) + 8);
    EXPECT_EQ(offsetof(_RCP_VAR_PRO, extra), behindString(8) + 12);
}

TEST(RecordLayout, KeyMembersFollowEachOther)
{
    const size_t field1 = behindString(0);
    const size_t regType = alignedForString(field1 + 12);
    const size_t text2 = behindString(regType);
    const size_t startAddr = behindString(text2);
    EXPECT_EQ(offsetof(KEY_ADDRESS, keyText), 0u);
    EXPECT_EQ(offsetof(KEY_ADDRESS, field1), field1);
    EXPECT_EQ(offsetof(KEY_ADDRESS, hostOffset), field1 + 4);
    EXPECT_EQ(offsetof(KEY_ADDRESS, station), field1 + 8);
    EXPECT_EQ(offsetof(KEY_ADDRESS, regType), regType);
    EXPECT_EQ(offsetof(KEY_ADDRESS, text2), text2);
    EXPECT_EQ(offsetof(KEY_ADDRESS, startAddr), startAddr);
    EXPECT_EQ(offsetof(KEY_ADDRESS, field7), startAddr + 4);
    EXPECT_EQ(offsetof(KEY_ADDRESS, count), startAddr + 8);
    EXPECT_EQ(offsetof(KEY_ADDRESS, data), startAddr + 12);
}

TEST(RecordLayout, FrameMembersFollowEachOther)
{
    EXPECT_EQ(offsetof(FRAME_PRO, frame), 0u);
    EXPECT_EQ(offsetof(FRAME_PRO, frameLen), 1024u);
    EXPECT_EQ(offsetof(FRAME_PRO, replyLen), 1028u);
    EXPECT_EQ(offsetof(FRAME_PRO, frameKind), 1032u);
    EXPECT_EQ(offsetof(FRAME_PRO, dataLen), 1036u);
    EXPECT_EQ(offsetof(FRAME_PRO, field5), 1040u);
    EXPECT_EQ(offsetof(FRAME_PRO, var), alignedForString(1044));
}

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

} // namespace
