/**
 * @file
 * A tag's place and format, looked up and found right: what turns bytes of the
 * driver into values and back.
 */
#ifndef KIT_TAGS_TAG_LAYOUT_H
#define KIT_TAGS_TAG_LAYOUT_H

#include "kit/driver/register_catalog.h"
#include "kit/tags/area.h"

#include <modbus_rtu_host/tag_definition.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace rtu {

/** What a tag is wanted for. */
enum class TagUse { Read, Write };

class TagLayout
{
public:
    /** @throws Error that says what is wrong and what would be right */
    TagLayout(DriverLibrary &driver, const RegisterCatalog &catalog, const TagDefinition &definition, TagUse use);

    const TagDefinition &definition() const { return m_definition; }
    const RegisterType &type() const { return m_type; }
    QString regType() const { return m_regType; }
    /** Zero-based, in the units of the register type. */
    int addressOf(int value) const { return m_address + value * m_type.unitsPerValue(); }
    Area area(int firstValue, int values) const;
    Area area() const { return area(0, m_definition.values); }
    /** "station 1 4x100", for messages. */
    QString label() const;
    bool sameTarget(const TagLayout &other) const;
    /** Whether a write of one may change values of the other; station 0 is all stations. */
    bool sharesPlace(const TagLayout &other) const;

    double number(std::uint32_t raw) const;
    QString text(const std::vector<std::uint32_t> &raw) const;

    /** @throws Error when the tag cannot hold the number */
    std::uint32_t rawOf(double number) const;
    /** As many as the tag has. @throws Error */
    std::vector<std::uint32_t> rawOf(const std::vector<double> &numbers) const;
    /** The registers of a text, filled with zeros. @throws Error */
    std::vector<std::uint32_t> rawOfText(const QString &text) const;

    /** Values out of the bytes of intf_getData() and of the word buffer. */
    std::vector<std::uint32_t> decode(const unsigned char *bytes, int values) const;
    /** The bytes that intf_setData() and the word buffer take. */
    std::vector<unsigned char> encode(const std::vector<std::uint32_t> &raw, int firstValue, int values) const;

private:
    void findType(const RegisterCatalog &catalog);
    void checkStation(TagUse use) const;
    void checkFormat();
    void checkAddress(DriverLibrary &driver, const QString &text);
    QString valueText(std::uint32_t raw) const;
    bool isNumber() const;

    TagDefinition m_definition;
    RegisterType m_type;
    QString m_regType;
    int m_address = 0;
};

/** The values of a tag as the driver's cache has them now. */
std::vector<std::uint32_t> cachedValues(DriverLibrary &driver, const TagLayout &layout);

} // namespace rtu

#endif
