#include "plant/frame_bytes.h"

#include <modbus.h>

namespace plant {

namespace {

const std::size_t SmallestFrame = 4; // station, function, check sum

enum LengthState { LengthKnown, LengthNeedsMoreBytes, LengthUnknown };

/** The length of a request from its first bytes. */
LengthState requestLength(const std::uint8_t *bytes, std::size_t size, std::size_t *length)
{
    if (size < 2)
        return LengthNeedsMoreBytes;
    switch (bytes[1]) {
    case MODBUS_FC_READ_COILS:
    case MODBUS_FC_READ_DISCRETE_INPUTS:
    case MODBUS_FC_READ_HOLDING_REGISTERS:
    case MODBUS_FC_READ_INPUT_REGISTERS:
    case MODBUS_FC_WRITE_SINGLE_COIL:
    case MODBUS_FC_WRITE_SINGLE_REGISTER:
        *length = 8;
        return LengthKnown;
    case MODBUS_FC_READ_EXCEPTION_STATUS:
    case MODBUS_FC_REPORT_SLAVE_ID:
        *length = 4;
        return LengthKnown;
    case MODBUS_FC_MASK_WRITE_REGISTER:
        *length = 10;
        return LengthKnown;
    case MODBUS_FC_WRITE_MULTIPLE_COILS:
    case MODBUS_FC_WRITE_MULTIPLE_REGISTERS:
        if (size < 7)
            return LengthNeedsMoreBytes;
        *length = 9u + bytes[6];
        return LengthKnown;
    case MODBUS_FC_WRITE_AND_READ_REGISTERS:
        if (size < 11)
            return LengthNeedsMoreBytes;
        *length = 13u + bytes[10];
        return LengthKnown;
    default:
        return LengthUnknown;
    }
}

} // namespace

std::uint16_t checkSum(const std::uint8_t *bytes, std::size_t size)
{
    unsigned sum = 0xFFFF;
    for (std::size_t i = 0; i < size; ++i) {
        sum ^= bytes[i];
        for (int bit = 0; bit < 8; ++bit)
            sum = (sum & 1) ? (sum >> 1) ^ 0xA001 : sum >> 1;
    }
    return static_cast<std::uint16_t>(sum);
}

void renewCheckSum(Bytes &frame)
{
    if (frame.size() < 2)
        return;
    const std::size_t body = frame.size() - 2;
    const std::uint16_t sum = checkSum(frame.data(), body);
    frame[body] = static_cast<std::uint8_t>(sum & 0xFF);
    frame[body + 1] = static_cast<std::uint8_t>(sum >> 8);
}

bool checkSumIsRight(const std::uint8_t *frame, std::size_t size)
{
    if (size < SmallestFrame)
        return false;
    const std::uint16_t sum = checkSum(frame, size - 2);
    return frame[size - 2] == (sum & 0xFF) && frame[size - 1] == (sum >> 8);
}

bool RequestReader::take(bool lineIsQuiet, Bytes *request)
{
    for (std::size_t start = 0; start < m_bytes.size(); ++start) {
        const std::uint8_t *bytes = m_bytes.data() + start;
        const std::size_t rest = m_bytes.size() - start;
        std::size_t length = rest;
        const LengthState state = requestLength(bytes, rest, &length);
        const bool mayGrow = state != LengthKnown || length > rest;
        if (mayGrow && !lineIsQuiet) {
            m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(start));
            return false;
        }
        if (length > rest || !checkSumIsRight(bytes, length))
            continue;
        request->assign(bytes, bytes + length);
        m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(start + length));
        return true;
    }
    m_bytes.clear();
    return false;
}

} // namespace plant
