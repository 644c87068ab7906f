#include "link_test.h"

#include "host/report/line_recorder.h"
#include "host/report/log_file.h"
#include "host/text/csv.h"
#include "host/text/wall_clock.h"
#include "support/file_content.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

using namespace test_host;

enum Column { Time, Station, Type, Address, Name, Value, Raw, Unit, Status, Error, Old };

class Recorder : public LinkTest
{
protected:
    void record(const std::vector<std::string> &addresses, rtu::OutputForm form = rtu::OutputForm::Csv)
    {
        records.reset(new rtu::Records(out, form, false));
        recorder.reset(new rtu::LineRecorder(link(), *line));
        recorder->addRecords(*records);
        std::vector<rtu::TagRange> tags;
        for (const std::string &address : addresses)
            tags.push_back(tag(address));
        board.reset(new rtu::TagBoard(link(), *line, tags));
        recorder->watch(*board);
        link().onTransaction([this](const rtu::Transaction &transaction) { finished = transaction.finished; });
    }

    /** The rows since the last call. */
    std::vector<std::vector<std::string>> rows()
    {
        std::istringstream in(out.str());
        out.str(std::string());
        std::vector<std::vector<std::string>> found;
        for (std::string text; std::getline(in, text);)
            found.push_back(rtu::splitCsv(text));
        return found;
    }

    /** "1:4x1 ok", "2 station silent" for each row. */
    std::vector<std::string> story()
    {
        std::vector<std::string> told;
        for (const std::vector<std::string> &row : rows()) {
            const std::string place = row[Type].empty() ? row[Station] : row[Station] + ":" + row[Type] + row[Address];
            told.push_back(place + (place.empty() ? "" : " ") + row[Status]);
        }
        return told;
    }

    std::ostringstream out;
    std::unique_ptr<rtu::Records> records;
    std::unique_ptr<rtu::LineRecorder> recorder;
    std::unique_ptr<rtu::TagBoard> board;
    rtu::TimePoint finished; ///< of the last transaction
};

using Story = std::vector<std::string>;

TEST_F(Recorder, AValueIsThereWithItsReplyThoughTheRoundHangsOnADeadStation)
{
    silent = {2};
    record({"4x1@1", "4x1@2", "4x1@3"});
    while (rows().empty()) {
        ASSERT_EQ(0, static_cast<int>(finished.time_since_epoch().count())) << "a reply that left no row";
        step();
    }
    link(); // the first reply is in, and nothing else has been asked
    EXPECT_EQ(1u, line->sent.size());
}

TEST_F(Recorder, TheTimeIsThatOfTheReply)
{
    record({"4x1..2"});
    poll();
    const rtu::TimePoint arrived = finished;
    line->advance(std::chrono::seconds(100));
    const auto all = rows();
    ASSERT_EQ(2u, all.size());
    EXPECT_EQ(rtu::timeStamp(arrived), all[0][Time]);
    EXPECT_EQ("42", all[0][Value]);
}

TEST_F(Recorder, PartsOfALongTagComeWithTheirOwnReplies)
{
    record({"4x1..200"});
    poll();
    const auto all = rows();
    ASSERT_EQ(200u, all.size());
    EXPECT_NE(all.front()[Time], all.back()[Time]);
    for (std::size_t i = 0; i < all.size(); ++i)
        EXPECT_EQ(std::to_string(i + 1), all[i][Address]);
}

TEST_F(Recorder, SilenceAndReturnOfAStationAreRows)
{
    settings.questionInterval = milliseconds(200);
    record({"4x1@1", "4x1000@2", "4x1@2"});
    poll();
    story();
    silent = {2};
    poll();
    EXPECT_EQ((Story{"1:4x1 ok", "2 station silent", "2:4x1 error", "2:4x1000 error"}), story());
    poll();
    EXPECT_EQ((Story{"1:4x1 ok", "2:4x1000 error", "2:4x1 error"}), story()) << "silent still, told once";
    silent.clear();
    Story told;
    for (int i = 0; i < 1000 && std::find(told.begin(), told.end(), "2 station back") == told.end(); ++i) {
        step();
        for (const std::string &row : story())
            told.push_back(row);
    }
    ASSERT_FALSE(told.empty());
    EXPECT_NE(told.end(), std::find(told.begin(), told.end(), "2 station back")) << testing::PrintToString(told);
    EXPECT_EQ("2:4x", told.back().substr(0, 4)) << "the value that came with it follows";
}

TEST_F(Recorder, AReadThatFailsHasNoValueWhateverWasThereBefore)
{
    record({"4x1"});
    poll();
    rows();
    silent = {1};
    poll();
    const auto all = rows();
    ASSERT_EQ(2u, all.size());
    EXPECT_EQ("", all[1][Value]);
    EXPECT_EQ("R,1#4x1(1)", all[1][Error]);
}

TEST_F(Recorder, LossAndReturnOfThePortAreRows)
{
    record({"4x1"});
    poll();
    line->plugged = false;
    while (link().step() != rtu::LinkStep::NoPort)
        line->sleepUntil(link().nextStep());
    line->plugged = true;
    poll();
    const Story told = story();
    ASSERT_GE(told.size(), 4u);
    EXPECT_EQ((Story{"1:4x1 ok", "port lost", "port back", "1:4x1 ok"}), Story(told.begin(), told.begin() + 4));
}

TEST_F(Recorder, EventsAreJsonWithTheKeysOfValues)
{
    silent = {1};
    record({"4x1"}, rtu::OutputForm::Json);
    poll();
    EXPECT_TRUE(contains(out.str(),
                         "\"station\":1,\"type\":null,\"address\":null,\"name\":\"\",\"value\":null,"
                         "\"raw\":null,\"unit\":\"\",\"status\":\"station silent\",\"error\":\"R,1#4x1(1)\"}"))
        << out.str();
}

TEST_F(Recorder, BitsAndDoublesAreFoundInTheirBlocks)
{
    const rtu::Area area = rtu::areaOf(1, "4x", 2, 3); // 4x3..5
    const auto span = [&](const std::string &text) {
        const rtu::ValueSpan values = rtu::valuesIn(tag(text), area);
        return std::to_string(values.first) + "+" + std::to_string(values.count);
    };
    EXPECT_EQ("2+3", span("4x1..10"));
    EXPECT_EQ("0+0", span("4x6"));
    EXPECT_EQ("1+1", span("4x_double1..5"));
    EXPECT_EQ("0+0", span("4x_double5"));
    EXPECT_EQ("8+48", span("4x_bit2.8..6.15"));
}

class Log : public testing::Test
{
protected:
    Log() { std::remove(path.c_str()); }
    ~Log() override { std::remove(path.c_str()); }

    rtu::LogFile::Teller teller()
    {
        return [this](const std::string &text) { told.push_back(text); };
    }

    std::string content() const { return support::fileContent(path); }

    const std::string path = testing::TempDir() + "rows-" + std::to_string(::getpid()) + ".csv";
    std::vector<std::string> told;
};

TEST_F(Log, IsAppendedTo)
{
    {
        rtu::LogFile log(path, rtu::LogFile::Start::Append, teller());
        EXPECT_TRUE(log.empty());
        log.stream() << "one\n" << std::flush;
        EXPECT_FALSE(log.empty());
        EXPECT_EQ("one\n", content());
        log.stream() << "tw"; // stopped in the middle
    }
    rtu::LogFile log(path, rtu::LogFile::Start::Append, teller());
    EXPECT_FALSE(log.empty());
    log.stream() << "three\n" << std::flush;
    EXPECT_EQ("one\ntw\nthree\n", content());
    EXPECT_TRUE(rtu::LogFile(path, rtu::LogFile::Start::Anew, teller()).empty());
    EXPECT_TRUE(told.empty());
}

/** No file of this process may grow beyond so many bytes. */
class FullDisk
{
public:
    explicit FullDisk(rlim_t bytes)
    {
        std::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before;
};

TEST_F(Log, SurvivesAFullDiskAndSaysSoOnce)
{
    rtu::LogFile log(path, rtu::LogFile::Start::Append, teller());
    log.stream() << "first\n" << std::flush;
    {
        const FullDisk full(10);
        log.stream() << "second\n" << std::flush;
        log.stream() << "third\nfourth\n" << std::flush;
    }
    ASSERT_EQ(1u, told.size());
    EXPECT_TRUE(contains(told[0], "is not written: ")) << told[0];
    EXPECT_EQ(3u, log.lost());
    EXPECT_EQ("first\n", content()) << "half a row is worse than none";
    log.stream() << "fifth\n" << std::flush;
    EXPECT_EQ("first\nfifth\n", content());
    ASSERT_EQ(2u, told.size());
    EXPECT_TRUE(contains(told[1], "is written again, 3 lines are missing")) << told[1];
}

TEST_F(Log, ADeviceThatIsAlwaysFullIsToldAndGoneWithout)
{
    rtu::LogFile log("/dev/full", rtu::LogFile::Start::Append, teller());
    for (int i = 0; i < 3; ++i)
        log.stream() << "row\n" << std::flush;
    EXPECT_TRUE(log.stream().good());
    EXPECT_EQ(3u, log.lost());
    EXPECT_EQ(1u, told.size());
}

TEST_F(Log, OfAPipeThatNobodyReadsAnyMoreIsToldAndGoneWithout)
{
    std::signal(SIGPIPE, SIG_IGN);
    ASSERT_EQ(0, ::mkfifo(path.c_str(), 0600));
    const int reader = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
    rtu::LogFile log(path, rtu::LogFile::Start::Append, teller());
    log.stream() << "row\n" << std::flush;
    EXPECT_EQ(0u, told.size());
    ::close(reader);
    log.stream() << "row\n" << std::flush;
    ASSERT_EQ(1u, told.size());
    EXPECT_EQ(1u, log.lost());
}

TEST_F(Log, AFolderIsNoLog)
{
    EXPECT_THROW(rtu::LogFile("/nowhere/rows.csv", rtu::LogFile::Start::Append, teller()), std::runtime_error);
}

} // namespace
