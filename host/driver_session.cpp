#include "driver_session.h"

#include <algorithm>
#include <cstdlib>

namespace rtu {

namespace {

const int RegistersPerRequest = 125;
const int BitsPerRequest = 2000;

/** The longest run of values of this type that one request of the protocol reads. */
int valuesPerRequest(const RegisterType &type, int maxWords)
{
    const int registers = std::max(1, std::min(maxWords, RegistersPerRequest));
    if (type.bitInRegister)
        return std::max(1, (registers - 1) * 16); // the first bit may be anywhere in its register
    if (type.isBit())
        return BitsPerRequest;
    return std::max(1, registers / type.unitsPerValue());
}

std::vector<std::string> fieldsOf(const std::string &text, char separator)
{
    std::vector<std::string> fields(1);
    for (char c : text) {
        if (c == separator)
            fields.emplace_back();
        else
            fields.back() += c;
    }
    return fields;
}

} // namespace

std::string DriverProperty::text() const
{
    if (!raw.empty())
        return raw;
    std::string result = std::to_string(linkId) + "#" + (localWriteOnly ? "1" : "0") + "#0#" + std::to_string(attempts)
                         + "#" + std::to_string(maxWords) + "#" + (swapAll ? "1" : "0");
    for (std::size_t i = 0; i < swapStations.size(); ++i)
        result += (i == 0 ? "_" : ",") + std::to_string(swapStations[i]);
    return result;
}

void DriverProperty::adopt(const std::string &text)
{
    raw = text;
    const std::vector<std::string> fields = fieldsOf(text, '#');
    if (fields.size() < 5)
        return;
    linkId = std::atoi(fields[0].c_str());
    localWriteOnly = std::atoi(fields[1].c_str()) != 0;
    attempts = std::atoi(fields[3].c_str());
    maxWords = std::atoi(fields[4].c_str());
}

KEY_ADDRESS keyOf(const TagRange &tag, int firstValue, int values)
{
    KEY_ADDRESS key = KEY_ADDRESS();
    key.keyText = QString::fromStdString(tag.name);
    key.station = tag.station;
    key.regType = tag.qtType();
    key.startAddr = tag.addressOf(firstValue);
    key.count = values * tag.type.unitsPerValue();
    key.field7 = driverFormatCode(tag.format.format, tag.type.width);
    return key;
}

QList<KEY_ADDRESS> keysOf(const std::vector<TagRange> &tags, int maxWords)
{
    QList<KEY_ADDRESS> keys;
    for (const TagRange &tag : tags) {
        const int most = valuesPerRequest(tag.type, maxWords);
        for (int first = 0; first < tag.values; first += most)
            keys << keyOf(tag, first, std::min(most, tag.values - first));
    }
    return keys;
}

DriverSession::~DriverSession()
{
    int status = 0;
    m_driver.initProperty(nullptr, 0, nullptr, &status, "", nullptr);
}

void DriverSession::configure(const DriverProperty &property)
{
    m_property = property;
    int status = 0;
    m_driver.initProperty(m_area.data(), 0, m_words.data(), &status, property.text().c_str(), &m_mutex);
}

int DriverSession::plan(const std::vector<TagRange> &tags)
{
    QList<KEY_ADDRESS> keys = keysOf(tags, m_property.maxWords);
    return m_driver.addrMerge(&keys);
}

void DriverSession::raise(int position)
{
    m_mutex.lock();
    m_area[static_cast<std::size_t>(position)] = 1;
    m_mutex.unlock();
}

bool DriverSession::blockTransferPending()
{
    m_mutex.lock();
    const bool pending = m_area[BlockWriteRequest] != 0 || m_area[BlockReadRequest] != 0;
    m_mutex.unlock();
    return pending;
}

void DriverSession::clearBlockRequests()
{
    m_mutex.lock();
    m_area[BlockWriteRequest] = 0;
    m_area[BlockReadRequest] = 0;
    m_mutex.unlock();
}

} // namespace rtu
