#include "panel.h"

#include "kit/line/frame_check.h"
#include "support/driver_file.h"

#include <stdexcept>

namespace {

/** More frames than any test needs: a loop that does not end is reported. */
const int MostSteps = 5000;

bool endsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Far beyond what a loaded machine takes; waiting costs nothing on a PlantLine.
const rtu::Duration Patience = std::chrono::seconds(60);

rtu::LinkSettings settingsFor(bool removeEcho)
{
    rtu::LinkSettings settings;
    settings.parameters.baud = 0;
    settings.replyTimeout = Patience;
    settings.lateReplyGuard = Patience;
    settings.replyGap = Patience;
    settings.checkReplies = false; // the driver is to judge them
    settings.echo = removeEcho ? rtu::Echo::Always : rtu::Echo::Never;
    return settings;
}

} // namespace

int unitsPerValue(const std::string &type)
{
    return endsWith(type, "_double") ? 2 : 1;
}

bool isBitType(const std::string &type)
{
    return endsWith(type, "_bit") || type == "0x" || type == "1x";
}

int functionOf(const rtu::Transaction &transaction)
{
    return static_cast<unsigned char>(transaction.request.at(1));
}

Panel::Panel(rtu::Line &line, const Settings &settings)
    : driver(support::driverFile())
    , words(65536)
    , m_line(line)
    , m_exchange(line, settingsFor(settings.removeEcho), m_stopping)
{
    driver.setChangeListener([this](const rtu::ValueChange &change) { changes.push_back(change); });
    configure(settings.property);
}

/** The driver has borrowed memory of the panel's; it is given back. */
Panel::~Panel()
{
    int status = 0;
    driver.initProperty(nullptr, 0, nullptr, &status, "", nullptr);
}

void Panel::configure(const std::string &property)
{
    int status = 0;
    driver.initProperty(memory.area(), 0, words.data(), &status, property.c_str(), memory.mutex());
}

namespace {

KEY_ADDRESS keyOf(int station, const std::string &type, int address, int count)
{
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = station;
    key.regType = QString::fromStdString(type);
    key.startAddr = address;
    key.count = count;
    key.field7 = isBitType(type) ? -1 : 1;
    return key;
}

} // namespace

void Panel::watch(int station, const std::string &type, int address, int count)
{
    m_keys << keyOf(station, type, address, count);
}

int Panel::plan()
{
    m_round = driver.addrMerge(&m_keys);
    return m_round;
}

/** The driver says "nothing" once after a burst of queued requests; only twice is nothing left. */
bool Panel::nextFrame()
{
    return driver.getSendFrame(&m_frame) == 1 || driver.getSendFrame(&m_frame) == 1;
}

const rtu::Transaction &Panel::step()
{
    if (!nextFrame() || !m_line.ensureOpen())
        throw std::runtime_error("there was nothing to send");
    rtu::Sending sending;
    sending.resend = m_resend;
    sending.timeout = Patience;
    if (m_exchange.exchange(m_frame, sending, m_transaction) != rtu::ExchangeEnd::Judged)
        throw std::runtime_error("the frame was not sent");
    judge();
    transactions.push_back(m_transaction);
    return transactions.back();
}

void Panel::judge()
{
    rtu::Transaction &t = m_transaction;
    QByteArray reply = t.reply; // the driver may work on these bytes in place
    reply.detach();
    t.verdict = driver.dealRcvFrame(&reply, &t.information);
    m_resend = t.verdict == rtu::VerdictSendAgain;
    if (t.verdict == rtu::VerdictGivenUp)
        m_exchange.giveUp();
    if (t.good() && t.expectedReply > 0)
        t.warning = QString::fromStdString(rtu::describeMismatch(t.request, t.reply));
}

std::vector<int> Panel::verdicts()
{
    std::vector<int> verdicts;
    do {
        verdicts.push_back(step().verdict);
    } while (verdicts.back() == rtu::VerdictSendAgain && verdicts.size() < MostSteps);
    return verdicts;
}

void Panel::settle()
{
    int polled = 0;
    for (int steps = 0; polled < m_round; ++steps) {
        if (steps == MostSteps)
            throw std::runtime_error("polling does not come round");
        const rtu::Transaction &transaction = step();
        const bool cyclic = transaction.tag == rtu::CyclicTag && transaction.isRead;
        if (!cyclic)
            polled = 0;
        else if (transaction.verdict != rtu::VerdictSendAgain)
            ++polled;
    }
}

void Panel::finishBlockTransfer()
{
    for (int steps = 0; memory.requested(); ++steps) {
        if (steps == MostSteps)
            throw std::runtime_error("the block transfer does not end");
        step();
    }
}

std::vector<std::int64_t> Panel::shown(int station, const std::string &type, int address, int count)
{
    std::vector<unsigned char> bytes(static_cast<std::size_t>(count) * 4 + 4);
    QString name = QString::fromStdString(type);
    driver.getData(station, &name, address, count, bytes.data());
    const std::size_t width = isBitType(type) ? 1 : 2 * static_cast<std::size_t>(unitsPerValue(type));
    std::vector<std::int64_t> values;
    for (int i = 0; i < count / unitsPerValue(type); ++i) {
        std::int64_t value = 0;
        for (std::size_t byte = width; byte-- > 0;)
            value = value * 256 + bytes[static_cast<std::size_t>(i) * width + byte];
        values.push_back(value);
    }
    return values;
}

void Panel::write(int station, const std::string &type, int address, const std::vector<std::int64_t> &values)
{
    const int width = isBitType(type) ? 1 : 2 * unitsPerValue(type);
    std::vector<unsigned char> bytes;
    for (std::int64_t value : values) {
        for (int byte = 0; byte < width; ++byte)
            bytes.push_back(static_cast<unsigned char>(value >> (8 * byte) & 0xFF));
    }
    bytes.resize(bytes.size() + values.size() * 2); // bit writes want room for two bytes a bit
    QString name = QString::fromStdString(type);
    const int count = static_cast<int>(values.size()) * unitsPerValue(type);
    driver.setData(station, &name, address, count, bytes.data(), 99);
}

void Panel::readOnce(int station, const std::string &type, int address, int count)
{
    KEY_ADDRESS key = keyOf(station, type, address, count);
    driver.addConditionRead(&key, 55);
}
