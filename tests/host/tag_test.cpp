#include "driver_test.h"

#include "host/tags/driver_property.h"
#include "host/text/csv.h"
#include "host/tags/tag_table.h"

#include <sstream>

namespace {

using namespace test_host;
using rtu::TagRange;

class Tags : public DriverTest
{
protected:
    std::vector<TagRange> parse(const std::string &text, int values = 1,
                                std::vector<int> stations = std::vector<int>(1, 1))
    {
        return rtu::parseTags(driver, catalog, text, stations, values);
    }

    std::vector<TagRange> table(const std::string &text)
    {
        std::istringstream in(text);
        return rtu::readTagTable(driver, catalog, in, "tags.csv");
    }

    std::string refusal(const std::string &text)
    {
        return refusalOf([&] { parse(text); });
    }

    std::string tableRefusal(const std::string &text)
    {
        return refusalOf([&] { table(text); });
    }
};

TEST_F(Tags, AreReadInTheDriversNotation)
{
    const TagRange word = parse("4x100").front();
    EXPECT_EQ("4x", word.type.name);
    EXPECT_EQ(99, word.address);
    EXPECT_EQ(1, word.values);
    EXPECT_EQ(1, word.station);

    const TagRange bit = parse("4x_bit3.5").front();
    EXPECT_EQ(37, bit.address);
    EXPECT_EQ("4x_bit3.5", bit.label());

    const TagRange both = parse("4x_double7:float@2").front();
    EXPECT_EQ(6, both.address);
    EXPECT_EQ(2, both.count());
    EXPECT_EQ(2, both.station);
    EXPECT_EQ(rtu::Format::Float, both.format.format);
}

TEST_F(Tags, HaveRanges)
{
    EXPECT_EQ(10, parse("4x1..10").front().values);
    EXPECT_EQ(10, parse("4x1..10:hex@3", 5).front().values); // the range beats -c
    const TagRange doubles = parse("4x_double1..5").front();
    EXPECT_EQ(3, doubles.values);
    EXPECT_EQ(6, doubles.count());
    EXPECT_EQ("4x_double3", doubles.label(1));
    EXPECT_EQ(5, parse("4x_bit1.14..2.2").front().values);
    EXPECT_EQ(7, parse("0x5", 7).front().values);
}

TEST_F(Tags, AreMadeForEachStation)
{
    const std::vector<TagRange> tags = parse("4x1@2,5-7");
    ASSERT_EQ(4u, tags.size());
    EXPECT_EQ(7, tags[3].station);
    EXPECT_EQ(2u, parse("4x1", 1, {8, 9}).size());
}

struct RefusedTag
{
    const char *text;
    const char *reason;
};

TEST_F(Tags, AreRefusedWithTheReason)
{
    const RefusedTag refusals[] = {
        {"9x1", "must begin with one of 0x, 1x"},
        {"4x0", "out of range"},
        {"4x65537", "out of range"},
        {"4xabc", "not an address in the notation"},
        {"4x", "not an address in the notation"},
        {"4x+5", "not an address in the notation"},
        {"4x_bit5", "ddddd.DD"},
        {"4x_bit1.16", "ddddd.DD"},
        {"4x65535..65537", "out of range"},
        {"4x9..5", "ends before it begins"},
        {"4x1:float", "does not fit 4x"},
        {"4x1@300", "a station is from 0 to 247"},
        {"4x1@x", "\"x\" is not a station from 0 to 247, nor a list of them such as 1,3,5-7"},
        {"4x1@", "nothing follows the \"@\""},
        {"4x1:", "nothing follows the \":\""},
        {"4x1..", "nothing follows the \"..\""},
        {"4x1..@2", "nothing follows the \"..\""},
    };
    for (const RefusedTag &refused : refusals)
        EXPECT_TRUE(contains(refusal(refused.text), refused.reason)) << refused.text << ": " << refusal(refused.text);
}

TEST_F(Tags, OfATableAreReadInTheUsualOrder)
{
    const std::vector<TagRange> tags = table("flow,2,4x,100,1,int16,0.1,l/h\n"
                                             "\n"
                                             "# a comment\n"
                                             "pump,,0x,5\n");
    ASSERT_EQ(2u, tags.size());
    EXPECT_EQ("flow", tags[0].name);
    EXPECT_EQ(2, tags[0].station);
    EXPECT_EQ(99, tags[0].address);
    EXPECT_EQ(rtu::Format::Signed, tags[0].format.format);
    EXPECT_DOUBLE_EQ(0.1, tags[0].format.scale);
    EXPECT_EQ("l/h", tags[0].unit);
    EXPECT_EQ(1, tags[1].station);
    EXPECT_EQ(1, tags[1].values);
}

TEST_F(Tags, OfATableReadANumberAsTheCommandLineDoes)
{
    const std::vector<TagRange> tags = table("a,0x10,4x,0x11,0b10,,0x2\n");
    ASSERT_EQ(1u, tags.size());
    EXPECT_EQ(16, tags[0].station);
    EXPECT_EQ("4x17", tags[0].label());
    EXPECT_EQ(2, tags[0].values);
    EXPECT_DOUBLE_EQ(2.0, tags[0].format.scale);
}

TEST_F(Tags, OfATableMayNameTheColumns)
{
    const std::vector<TagRange> tags = table("Address,Type,Unit,Name\n7,4x_double,kWh,\"energy, \"\"total\"\"\"\n");
    ASSERT_EQ(1u, tags.size());
    EXPECT_EQ("energy, \"total\"", tags[0].name);
    EXPECT_EQ("kWh", tags[0].unit);
    EXPECT_EQ(6, tags[0].address);
}

TEST_F(Tags, OfATableAreRefusedWithFileAndLine)
{
    const RefusedTag refusals[] = {
        {"a,1,4x,1\nb,1,5x,1\n", "tags.csv:2: unknown register type \"5x\""},
        {"a,1,4x,0\n", "tags.csv:1: 4x0: out of range"},
        {"a,0,4x,1\n", "tags.csv:1: \"0\": a station is from 1 to 247"},
        {"a,1,4x,1,1,float\n", "does not fit 4x"},
        {"a,1,4x,1,1,,0\n", "scale"},
        {"a,1,4x,1,1,,x\n", "scale"},
        {"a,1,4x,1,x\n", "\"x\" is not a count, which is one number from 1 to 65536"},
        {"a,1,4x,1,2-3\n", "\"2-3\" is not a count"},
        {"a,1-2,4x,1\n", "tags.csv:1: \"1-2\" is not a station, which is one number from 1 to 247"},
        {"a,1,,1\n", "the register type is missing"},
        {"a,1,4x\n", "the address is missing"},
        {"a,1,4x,1,1,hex,0.1\n", "a scale does not go with the format hex"},
        {"a,1,0x,1,1,,5\n", "a scale does not go with the format bit"},
        {"a,1,4x,1,1,,,m,5,surplus\n", "\"surplus\" stands behind the last column"},
        {"type,address\n4x,1,surplus\n", "tags.csv:2: \"surplus\" stands behind the last column"},
        {"type,address\n4X,1\n", "unknown register type \"4X\""},
        {"type,address\n4X,1\n", "did you mean 4x1?"},
        {"address\n40100\n", "did you mean 4x100?"},
        {"type,offset\n4x,1\n", "offsets count from 0: add 1 and call the column address"},
        {"caf\xE9,1,4x,1\n", "tags.csv:1: the text is not UTF-8"},
        {"a\x01,1,4x,1\n", "control characters"},
        {"\"a,1,4x,1\n", "a quote is not closed"},
        {"foo,bar\nx,4x1\n", "if this line names the columns, they are name, station, type, address"},
        {"type,adress\n4x,1\n", "tags.csv:1: unknown column \"adress\""},
        {"type,address,type\n4x,1,4x\n", "the column type is there twice"},
        {"address,colour\n1,red\n", "tags.csv:1: unknown column \"colour\""},
        {"type,name\n4x,a\n", "columns type and address are needed"},
        {"address,name\n1,a\n", "tags.csv:2: the register type is missing"},
    };
    for (const RefusedTag &refused : refusals)
        EXPECT_TRUE(contains(tableRefusal(refused.text), refused.reason))
            << refused.text << ": " << tableRefusal(refused.text);
}

TEST_F(Tags, OfATableHaveAllTheirFaultsTold)
{
    const std::string reason = tableRefusal("a,1,4x,0\nb,1,4x,1\nc,999,4x,1\n");
    EXPECT_EQ("tags.csv:1: 4x0", reason.substr(0, 15)) << reason;
    EXPECT_TRUE(contains(reason, "\ntags.csv:3: \"999\"")) << reason;
    EXPECT_FALSE(contains(reason, "tags.csv:2")) << reason;
    EXPECT_FALSE(contains(tableRefusal("type,adress\n4x,1\n"), "tags.csv:2")) << "the columns are not known";
}

TEST_F(Tags, OfATableSkipTheEmptyRowsOfASpreadsheet)
{
    EXPECT_EQ(2u, table("type;address\n4x;1\n;;\n  ; \n4x;2\n").size());
    EXPECT_EQ(1u, table(",,,,\ntype,address\n4x,1\n,,,\n").size());
}

TEST_F(Tags, OfATableMayBeSeparatedBySemicolonsOrTabs)
{
    for (const char *text :
         {"name;station;type;address;count;format;scale\nlevel;2;4x;7;1;;0,1\n",
          "name\tstation\ttype\taddress\tcount\tformat\tscale\nlevel\t2\t4x\t7\t1\t\t0.1\n", "level;2;4x;7;1;;0,1\n"}) {
        const std::vector<TagRange> tags = table(text);
        ASSERT_EQ(1u, tags.size()) << text;
        EXPECT_EQ("level", tags[0].name);
        EXPECT_EQ(2, tags[0].station);
        EXPECT_EQ(6, tags[0].address);
        EXPECT_DOUBLE_EQ(0.1, tags[0].format.scale);
    }
}

TEST_F(Tags, OfATableMayHaveTheHeaderOfAnotherTool)
{
    const std::vector<TagRange> tags =
        table("Tag Name,Slave ID,Register,Data_Type,Factor,Units,Comment\nlevel,2,4x7,int16,0.5,m,by hand\n");
    ASSERT_EQ(1u, tags.size());
    EXPECT_EQ("level", tags[0].name);
    EXPECT_EQ(2, tags[0].station);
    EXPECT_EQ("4x", tags[0].type.name);
    EXPECT_EQ(6, tags[0].address);
    EXPECT_EQ(rtu::Format::Signed, tags[0].format.format);
    EXPECT_EQ("m", tags[0].unit);
}

struct Meant
{
    const char *text;
    const char *hint;
};

TEST_F(Tags, AreRefusedWithWhatMayHaveBeenMeant)
{
    const Meant hints[] = {
        {"4x_bit3.05", "; did you mean 4x_bit3.5? (one digit below 10)"},
        {"4x_bit3.16", "; bits go to 15"},
        {"3.05", "; did you mean 4x_bit3.5? (one digit below 10)"},
        {"3.16", "; bits go to 15"},
        {"3.5", "; did you mean 4x_bit3.5?"},
        {"4x_float10", "; did you mean 4x_double10:float?"},
        {"4X100", "; did you mean 4x100?"},
        {"40100", "; did you mean 4x100?"},
        {"400100", "; did you mean 4x100?"},
        {"30001", "; did you mean 3x1?"},
        {"4x_Bit3.5", "; did you mean 4x_bit3.5?"},
        {"4x100:float", "; did you mean 4x_double100:float?"},
    };
    for (const Meant &meant : hints) {
        const std::string reason =
            refusalOf([&] { rtu::parseTags(driver, catalog, meant.text, std::vector<int>(1, 1), 1); });
        ASSERT_GE(reason.size(), std::string(meant.hint).size()) << meant.text;
        EXPECT_EQ(meant.hint, reason.substr(reason.size() - std::string(meant.hint).size())) << reason;
    }
    const std::string zero = refusalOf([&] { rtu::parseTags(driver, catalog, "4x0", std::vector<int>(1, 1), 1); });
    EXPECT_TRUE(contains(zero, "4x0: out of range")) << zero;
    EXPECT_FALSE(contains(zero, "did you mean")) << zero;
}

TEST_F(Tags, OfATableMayComeFromASpreadsheet)
{
    const std::vector<TagRange> tags = table("\xEF\xBB\xBF"
                                             "name,station,type,address,,\r\nT \xC2\xB0,2,4x,7,,\r\n");
    ASSERT_EQ(1u, tags.size());
    EXPECT_EQ("T \xC2\xB0", tags[0].name);
    EXPECT_EQ(2, tags[0].station);
    EXPECT_EQ(6, tags[0].address);
}

TEST_F(Tags, OfATableMayBeNamedAsAColumn)
{
    const std::vector<TagRange> tags = table("type,2,4x,7\n");
    ASSERT_EQ(1u, tags.size());
    EXPECT_EQ("type", tags[0].name);
}

TEST_F(Tags, OfAFileAreThere)
{
    const auto refusalOfFile = [&](const std::string &path) {
        return refusalOf([&] { rtu::readTagFile(driver, catalog, path); });
    };
    EXPECT_EQ("cannot read the tag file /nowhere/tags.csv: No such file or directory",
              refusalOfFile("/nowhere/tags.csv"));
    EXPECT_EQ("cannot read the tag file /: Is a directory", refusalOfFile("/"));
    EXPECT_EQ("the tag file /dev/null has no tags", refusalOfFile("/dev/null"));
}

TEST(Csv, FieldsAreQuotedWhereNeeded)
{
    for (const char *text : {"plain", "with, comma", "with \"quotes\"", "", " blanks "}) {
        const std::vector<std::string> fields = rtu::splitCsv(rtu::csvField(text) + ",x");
        ASSERT_EQ(2u, fields.size());
        EXPECT_EQ("x", fields[1]);
        if (std::string(text) != " blanks ") {
            EXPECT_EQ(text, fields[0]);
        }
    }
}

TEST(NumberList, HasNumbersAndRanges)
{
    EXPECT_EQ((std::vector<int>{1, 3, 5, 6, 7}), rtu::parseNumberList("1,3,5-7", 1, 255, "station"));
    EXPECT_EQ((std::vector<int>{32, 33, 36, 37}), rtu::parseNumberList("32,33,36:37", 1, 255, "station"));
    for (const char *text : {"", "1,", "7-5", "0", "256", "a", "1--2"})
        EXPECT_NE("nothing thrown", refusalOf([&] { rtu::parseNumberList(text, 1, 255, "station"); })) << text;
}

class Property : public DriverTest
{
};

TEST_F(Property, IsWrittenAsTheDriverReadsIt)
{
    rtu::DriverProperty property;
    EXPECT_EQ("1#0#0#3#120#0", property.text());
    property.linkId = 3;
    property.localWriteOnly = true;
    property.attempts = 5;
    property.maxWords = 32;
    property.swapStations = {1, 5};
    EXPECT_EQ("3#1#0#5#32#0_1,5", property.text());
    property.swapAll = true;
    property.swapStations.clear();
    EXPECT_EQ("3#1#0#5#32#1", property.text());
}

TEST_F(Property, IsJudgedBeforeTheDriverReadsIt)
{
    for (const char *text : {"1#0#0#3#120", "1#0#0#3#120#0", "4#0#9#2#50#0_1,5", "-1#0#0#3#120#1"})
        EXPECT_TRUE(rtu::DriverProperty::wellFormed(text)) << text;
    for (const char *text : {"", "1", "1#0#0#3", "1#0#0#x#120#0", "1#0#0#3##0", "1#0#0#3#120#0_1,", "1#0#0#3#120#0#7"})
        EXPECT_FALSE(rtu::DriverProperty::wellFormed(text)) << text;
}

TEST_F(Property, AsGivenIsUsedAsGiven)
{
    rtu::DriverProperty property;
    property.adopt("4#0#9#2#50#0_3");
    EXPECT_EQ("4#0#9#2#50#0_3", property.text());
    EXPECT_EQ(4, property.linkId);
    EXPECT_EQ(2, property.attempts);
    EXPECT_EQ(50, property.maxWords);
    EXPECT_TRUE(property.swaps(3));
    EXPECT_FALSE(property.swaps(4));
    property.adopt("4#0#9#2#50#1");
    EXPECT_TRUE(property.swaps(4));
    property.adopt("4#0#9#2#50#0_1,5");
    EXPECT_TRUE(property.swaps(5));
    EXPECT_FALSE(property.swaps(2));
}

} // namespace
