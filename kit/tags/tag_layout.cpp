#include "kit/tags/tag_layout.h"

#include "kit/tags/float_bits.h"
#include "kit/tags/value_range.h"

#include <modbus_rtu_host/error.h>

#include <cmath>
#include <limits>

namespace rtu {

namespace {

const int HighestStation = 247;
const int MostValues = 65536;
const Duration LongestPace = std::chrono::hours(24 * 365);

int bitsOf(const RegisterType &type)
{
    return type.isBit() ? 1 : 16 * type.width;
}

ValueRange rangeOf(const RegisterType &type, TagFormat format)
{
    const ValueRange bit = {0, 1};
    return type.isBit() ? bit : registerRange(bitsOf(type), format == TagFormat::Signed);
}

QString plainText(double value)
{
    return QString::number(value, 'g', 15);
}

} // namespace

TagLayout::TagLayout(DriverLibrary &driver, const RegisterCatalog &catalog, const TagDefinition &definition, TagUse use)
    : m_definition(definition)
{
    findType(catalog);
    checkStation(use);
    if (use == TagUse::Write && !m_type.writable)
        throw Error(label() + QLatin1String(" is read-only; 0x, 4x, 4x_bit and 4x_double can be written"));
    if (m_definition.values < 1 || m_definition.values > MostValues)
        throw Error(label() + QLatin1String(": the number of values must be from 1 to 65536"));
    if (m_definition.pace < Duration(0) || m_definition.pace > LongestPace)
        throw Error(label() + QLatin1String(": the pace must be from 0 to a year"));
    checkFormat();
    checkAddress(driver, m_definition.address.mid(m_regType.size()));
}

void TagLayout::findType(const RegisterCatalog &catalog)
{
    const RegisterType *type = catalog.prefixOf(m_definition.address.toStdString());
    if (!type)
        throw Error(QString::fromLatin1("\"%1\" does not begin with a register type; these are %2")
                        .arg(m_definition.address, QString::fromStdString(catalog.names())));
    m_type = *type;
    m_regType = QString::fromStdString(type->name);
}

void TagLayout::checkStation(TagUse use) const
{
    if (m_definition.station >= 1 && m_definition.station <= HighestStation)
        return;
    if (m_definition.station != 0)
        throw Error(label() + QLatin1String(": stations are 1 to 247"));
    if (use == TagUse::Read)
        throw Error(label() + QLatin1String(": station 0 is all slaves, and none answers; read from 1 to 247"));
    if (m_type.bitInRegister)
        throw Error(label()
                    + QLatin1String(": a bit of a register is read before it is written, which station 0 (all slaves) "
                                    "does not answer; write the whole register (4x)"));
}

bool TagLayout::isNumber() const
{
    return m_definition.format == TagFormat::Unsigned || m_definition.format == TagFormat::Signed
           || m_definition.format == TagFormat::Float;
}

void TagLayout::checkFormat()
{
    if (m_definition.format == TagFormat::Usual)
        m_definition.format = m_type.isBit() ? TagFormat::Bit : TagFormat::Unsigned;
    const TagFormat format = m_definition.format;
    if (m_type.isBit() != (format == TagFormat::Bit))
        throw Error(label()
                    + QLatin1String(m_type.isBit() ? " is a bit: use TagFormat::Bit"
                                                   : " is no bit: any format but TagFormat::Bit will do"));
    if (format == TagFormat::Float && !m_type.isDouble())
        throw Error(label() + QLatin1String(": a float has 32 bits; use 3x_double or 4x_double"));
    if (format == TagFormat::Text && m_type.isDouble())
        throw Error(label() + QLatin1String(": texts are in single registers; use 3x or 4x"));
    if (!(std::fabs(m_definition.scale) > 0) || !std::isfinite(m_definition.scale))
        throw Error(label() + QLatin1String(": the scale must be a number other than 0"));
    if (!isNumber() && std::fabs(m_definition.scale - 1.0) > 0)
        throw Error(label() + QLatin1String(": bits, hexadecimal, binary and text have no scale; leave it at 1"));
}

void TagLayout::checkAddress(DriverLibrary &driver, const QString &text)
{
    QString regType = m_regType;
    QString address = text;
    const int units = m_definition.values * m_type.unitsPerValue();
    const int result = driver.checkAddrValidity(&regType, &address, &m_address, units, m_type.isBit() ? 0 : 1);
    if (result == 0)
        return;
    const QString range = QString::fromLatin1(" (%1 to %2)")
                              .arg(QString::fromStdString(m_type.lowest), QString::fromStdString(m_type.highest));
    if (result == 2)
        throw Error(label() + QLatin1String(": the address or the last of its values is out of range") + range);
    throw Error(label() + QLatin1String(": \"") + text + QLatin1String("\" is not an address; they are written ")
                + QString::fromStdString(m_type.notation) + range);
}

Area TagLayout::area(int firstValue, int values) const
{
    return areaOf(m_definition.station, m_regType, addressOf(firstValue), values * m_type.unitsPerValue());
}

QString TagLayout::label() const
{
    return QString::fromLatin1("station %1 %2").arg(m_definition.station).arg(m_definition.address);
}

bool TagLayout::sameTarget(const TagLayout &other) const
{
    return m_definition.station == other.m_definition.station && m_regType == other.m_regType
           && m_address == other.m_address && m_definition.values == other.m_definition.values;
}

bool TagLayout::sharesPlace(const TagLayout &other) const
{
    Area mine = area();
    const Area others = other.area();
    if (mine.station == 0 || others.station == 0)
        mine.station = others.station;
    return mine.overlaps(others);
}

double TagLayout::number(std::uint32_t raw) const
{
    if (m_definition.format == TagFormat::Float)
        return static_cast<double>(floatOf(raw)) * m_definition.scale;
    if (m_definition.format != TagFormat::Signed)
        return static_cast<double>(raw) * m_definition.scale;
    const std::int32_t value = m_type.isDouble() ? static_cast<std::int32_t>(raw) : static_cast<std::int16_t>(raw);
    return static_cast<double>(value) * m_definition.scale;
}

QString TagLayout::valueText(std::uint32_t raw) const
{
    switch (m_definition.format) {
    case TagFormat::Hex:
        return QLatin1String("0x")
               + QString::number(raw, 16).toUpper().rightJustified(4 * m_type.width, QLatin1Char('0'));
    case TagFormat::Binary:
        return QLatin1String("0b") + QString::number(raw, 2).rightJustified(bitsOf(m_type), QLatin1Char('0'));
    case TagFormat::Float:
        return QString::number(number(raw), 'g', 7);
    default:
        return QString::number(number(raw), 'g', 15);
    }
}

QString TagLayout::text(const std::vector<std::uint32_t> &raw) const
{
    QString all;
    if (m_definition.format == TagFormat::Text) {
        for (std::uint32_t word : raw) {
            for (const std::uint32_t character : {word >> 8 & 0xFFu, word & 0xFFu}) {
                if (character == 0)
                    return all;
                all += QLatin1Char(static_cast<char>(character));
            }
        }
        return all;
    }
    for (std::size_t i = 0; i < raw.size(); ++i)
        all += (i == 0 ? QString() : QString(QLatin1Char(' '))) + valueText(raw[i]);
    return all;
}

std::uint32_t TagLayout::rawOf(double number) const
{
    const double stored = number / m_definition.scale;
    if (m_definition.format == TagFormat::Float) {
        if (std::isfinite(stored) && std::fabs(stored) > static_cast<double>(std::numeric_limits<float>::max()))
            throw Error(label() + QLatin1String(": the number lies beyond 3.4e38, where 32-bit floats end"));
        return bitsOfFloat(static_cast<float>(stored));
    }
    const ValueRange range = rangeOf(m_type, m_definition.format);
    const double whole = std::floor(stored + 0.5);
    if (!range.holds(whole))
        throw Error(QString::fromLatin1("%1 cannot hold %2: it takes %3 to %4")
                        .arg(label(), plainText(number), plainText(range.lowest * m_definition.scale),
                             plainText(range.highest * m_definition.scale)));
    return static_cast<std::uint32_t>(static_cast<std::int64_t>(whole)) & valueMask(bitsOf(m_type));
}

std::vector<std::uint32_t> TagLayout::rawOf(const std::vector<double> &numbers) const
{
    if (numbers.size() != static_cast<std::size_t>(m_definition.values))
        throw Error(QString::fromLatin1("%1 takes %2 numbers at a time, not %3")
                        .arg(label())
                        .arg(m_definition.values)
                        .arg(static_cast<int>(numbers.size())));
    std::vector<std::uint32_t> raw;
    raw.reserve(numbers.size());
    for (double number : numbers)
        raw.push_back(rawOf(number));
    return raw;
}

std::vector<std::uint32_t> TagLayout::rawOfText(const QString &text) const
{
    if (m_definition.format != TagFormat::Text)
        throw Error(label() + QLatin1String(" holds numbers; only tags of TagFormat::Text take a text"));
    const QByteArray bytes = text.toLatin1();
    if (QString::fromLatin1(bytes.constData(), bytes.size()) != text)
        throw Error(label() + QLatin1String(": texts have a byte a character, which takes those of Latin-1"));
    if (bytes.size() > 2 * m_definition.values)
        throw Error(QString::fromLatin1("%1 holds %2 characters, the text has %3")
                        .arg(label())
                        .arg(2 * m_definition.values)
                        .arg(static_cast<int>(bytes.size())));
    std::vector<std::uint32_t> raw(static_cast<std::size_t>(m_definition.values));
    for (int i = 0; i < static_cast<int>(bytes.size()); ++i)
        raw[static_cast<std::size_t>(i / 2)] |= static_cast<std::uint32_t>(static_cast<unsigned char>(bytes.at(i)))
                                                << (i % 2 ? 0 : 8);
    return raw;
}

std::vector<std::uint32_t> TagLayout::decode(const unsigned char *bytes, int values) const
{
    std::vector<std::uint32_t> raw(static_cast<std::size_t>(values));
    const int size = m_type.bytesPerValue();
    for (std::uint32_t &value : raw) {
        for (int i = 0; i < size; ++i)
            value |= static_cast<std::uint32_t>(bytes[i]) << 8 * i;
        if (m_type.isDouble() && m_definition.wordOrder == WordOrder::LowFirst)
            value = value >> 16 | value << 16;
        bytes += size;
    }
    return raw;
}

std::vector<unsigned char> TagLayout::encode(const std::vector<std::uint32_t> &raw, int firstValue, int values) const
{
    std::vector<unsigned char> bytes;
    for (int i = firstValue; i < firstValue + values; ++i) {
        std::uint32_t value = raw[static_cast<std::size_t>(i)];
        if (m_type.isDouble() && m_definition.wordOrder == WordOrder::LowFirst)
            value = value >> 16 | value << 16;
        for (int byte = 0; byte < m_type.bytesPerValue(); ++byte)
            bytes.push_back(static_cast<unsigned char>(value >> 8 * byte));
    }
    return bytes;
}

std::vector<std::uint32_t> cachedValues(DriverLibrary &driver, const TagLayout &layout)
{
    const RegisterType &type = layout.type();
    const int values = layout.definition().values;
    std::vector<unsigned char> bytes(static_cast<std::size_t>(values * type.bytesPerValue()));
    QString regType = layout.regType();
    driver.getData(layout.definition().station, &regType, layout.addressOf(0), values * type.unitsPerValue(),
                   bytes.data());
    return layout.decode(bytes.data(), values);
}

} // namespace rtu
