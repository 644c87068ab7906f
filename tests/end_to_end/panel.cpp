#include "panel.h"

#include <stdexcept>

namespace {

/** More frames than any test needs: a loop that does not end is reported. */
const int MostSteps = 5000;

bool endsWith(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

rtu::PollSettings pollSettings(bool removeEcho)
{
    rtu::PollSettings settings;
    // Far beyond what a loaded machine takes; waiting costs nothing on a PlantLine.
    settings.replyTimeout = std::chrono::seconds(60);
    settings.lateReplyGuard = std::chrono::seconds(60);
    settings.timing.setReplyGap(std::chrono::seconds(60));
    settings.removeEcho = removeEcho;
    return settings;
}

rtu::DriverProperty propertyFrom(const std::string &text)
{
    rtu::DriverProperty property;
    property.adopt(text);
    return property;
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
    : driver(END_TO_END_DRIVER)
    , session(driver)
    , m_loop(driver, line, pollSettings(settings.removeEcho))
{
    driver.setChangeListener([this](const rtu::ValueChange &change) { changes.push_back(change); });
    session.configure(propertyFrom(settings.property));
    m_loop.addObserver([this](const rtu::Transaction &transaction) { transactions.push_back(transaction); });
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

const rtu::Transaction &Panel::step()
{
    if (m_loop.step() != rtu::StepResult::Done)
        throw std::runtime_error("there was nothing to send");
    return transactions.back();
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
    for (int steps = 0; session.blockTransferPending(); ++steps) {
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
