#include "host/cli/tag_selection.h"

#include "host/tags/address_hint.h"
#include "host/text/csv.h"
#include "host/text/numbers.h"
#include "host/tags/tag_table.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <stdexcept>

namespace rtu {

namespace {

/** The driver's notation for what -t says: the type, and the format behind a colon. */
struct TableType
{
    std::string type;
    std::string format;
};

TableType tableType(const std::string &text)
{
    const std::size_t colon = text.find(':');
    const std::string table = text.substr(0, colon);
    const std::string format = colon == std::string::npos ? std::string() : text.substr(colon + 1);
    if (table != "0" && table != "1" && table != "3" && table != "4")
        throw std::invalid_argument("-t " + text
                                    + ": the table is 0 (coils), 1 (discrete inputs), 3 (input registers) "
                                      "or 4 (holding registers)");
    if (colon == std::string::npos)
        return TableType{table + "x", std::string()};
    static const std::map<std::string, std::string> endings = {
        {"int16", ""},        {"uint16", ""},      {"hex", ""},           {"bin", ""},          {"int", "_double"},
        {"int32", "_double"}, {"uint", "_double"}, {"uint32", "_double"}, {"float", "_double"},
    };
    const auto ending = endings.find(format);
    if (ending == endings.end() || table == "0" || table == "1")
        throw std::invalid_argument("-t " + text
                                    + ": formats are int16, uint16, hex, bin, int, uint and float, for "
                                      "tables 3 and 4");
    return TableType{table + "x" + ending->second, format};
}

/** Such as 9x1 or 4X1: of no type that there is, but no value either. */
bool triesATable(const std::string &text)
{
    return text.size() > 2 && text[0] >= '1' && text[0] <= '9' && (text[1] == 'x' || text[1] == 'X');
}

/** Such as 0x10, which is a number, and alone also a coil. */
bool isPrefixed(const std::string &text)
{
    std::uint64_t number = 0;
    return readPrefixed(text, &number);
}

bool looksLikeNumber(const std::string &text)
{
    return !text.empty() && text.find_first_not_of("0123456789+-.eE") == std::string::npos;
}

/** A number in any notation, and a word such as "on". */
bool looksLikeValue(const std::string &text)
{
    static const char *const words[] = {"on", "off", "true", "false"};
    const bool isWord = std::any_of(std::begin(words), std::end(words), [&](const char *word) { return text == word; });
    return isWord || looksLikeNumber(text) || isPrefixed(text);
}

bool isWhole(const std::string &text)
{
    return !text.empty() && text.find_first_not_of("0123456789", text[0] == '-' ? 1 : 0) == std::string::npos;
}

/** "2,5" for a float: two numbers, or one as much of Europe writes it. */
void refuseDecimalComma(const std::string &text, const std::vector<std::string> &values, const TagRange &tag)
{
    const bool pairs = values.size() % 2 == 0 && std::all_of(values.begin(), values.end(), isWhole);
    if (tag.format.format != Format::Float || !pairs)
        return;
    throw std::invalid_argument(tag.label() + ": \"" + text
                                + "\" may be numbers with a decimal comma, or twice as many without: write 2.5 for the "
                                  "one, 2.0,5.0 for the other");
}

bool hasMinus(const std::string &text)
{
    return text[0] == '-';
}

class Selector
{
public:
    Selector(DriverLibrary &driver, const RegisterCatalog &catalog, const Options &options)
        : m_driver(driver)
        , m_catalog(catalog)
        , m_options(options)
    {
    }

    TagSelection select()
    {
        const bool named = !m_options.tagFile.empty() || namesAddress();
        m_targetIsUsual = !m_options.typeOrReferenceGiven && !named;
        if (m_options.typeOrReferenceGiven || !named)
            addReferences();
        for (const std::string &argument : m_options.arguments)
            addArgument(argument);
        finishTarget();
        if (!m_options.tagFile.empty())
            addTagFile();
        refuseBroadcastReads();
        return m_selection;
    }

private:
    bool isAddress(const std::string &argument) const
    {
        const bool value = m_options.typeOrReferenceGiven && isPrefixed(argument);
        return !value && !looksLikeNumber(argument) && m_catalog.prefixOf(argument);
    }

    bool namesAddress() const
    {
        for (const std::string &argument : m_options.arguments) {
            if (isAddress(argument))
                return true;
        }
        return false;
    }

    /** -t and -r in the driver's notation; what follows is written there. */
    void addReferences()
    {
        const TableType table = tableType(m_options.typeText);
        const int lowest = m_options.zeroBased ? 0 : 1;
        const int highest = lowest + 65535;
        for (int reference : parseNumberList(m_options.referenceText, lowest, highest, "reference")) {
            const std::string text =
                table.type + std::to_string(reference + 1 - lowest) + (table.format.empty() ? "" : ":" + table.format);
            const std::vector<TagRange> tags = parse(text);
            m_target.insert(m_target.end(), tags.begin(), tags.end());
        }
    }

    std::vector<TagRange> parse(const std::string &text) const
    {
        std::vector<TagRange> tags = parseTags(m_driver, m_catalog, text, m_options.stations, m_options.values);
        for (TagRange &tag : tags)
            tag.format.lowWordFirst = m_options.lowWordFirst;
        return tags;
    }

    /** Behind an address that takes numbers, 0x10 could be one, or a coil. */
    void refuseDoubtful(const std::string &argument) const
    {
        std::uint64_t number = 0;
        if (m_options.mode != Mode::Poll || m_target.empty() || !readPrefixed(argument, &number))
            return;
        const TagRange &target = m_target.front();
        if (target.type.isBit() || !target.type.writable)
            return;
        const std::string address = target.rangeLabel();
        throw std::invalid_argument(argument + " behind " + address + " could be the number " + std::to_string(number)
                                    + " or a coil: write " + address + "=" + argument + " for the number, and put "
                                    + argument + " in front of " + address + ", or write " + argument
                                    + "@STATION, for the coil");
    }

    void addArgument(const std::string &argument)
    {
        if (!isAddress(argument)) {
            refuseUnlessValue(argument);
            m_values.push_back(argument);
            return;
        }
        refuseDoubtful(argument);
        finishTarget();
        const std::size_t equals = argument.find('=');
        m_targetIsRange = argument.substr(0, equals).find("..") != std::string::npos;
        m_target = parse(argument.substr(0, equals));
        if (equals == std::string::npos)
            return;
        const std::string values = argument.substr(equals + 1);
        m_values = splitCsv(values);
        if (!m_targetIsRange && !m_target.empty())
            refuseDecimalComma(values, m_values, m_target.front());
        finishTarget();
    }

    void refuseUnlessValue(const std::string &argument) const
    {
        const std::string numbered = fromNumberedTables(argument);
        if (m_targetIsUsual && !numbered.empty())
            throw std::invalid_argument(argument + " may be a value for 4x1 or an address; did you mean " + numbered
                                        + "? Write 4x1=" + argument + " for the value");
        const bool meantAsValue = !m_targetIsUsual || looksLikeValue(argument);
        if (!m_target.empty() && !triesATable(argument) && meantAsValue)
            return;
        const bool plan = m_options.mode == Mode::Plan;
        throw std::invalid_argument(
            "\"" + argument + "\" is neither an address nor a value for one; addresses begin with one of "
            + m_catalog.names() + ", such as 4x100" + (plan ? ", and the name of a picture ends in .svg" : "")
            + addressHint(m_catalog, argument));
    }

    /** Addresses with values behind them are written, those without are read. */
    void finishTarget()
    {
        for (const TagRange &tag : m_target) {
            if (m_values.empty())
                m_selection.reads.push_back(tag);
            else
                m_selection.writes.push_back(writeOf(tag));
        }
        m_target.clear();
        m_values.clear();
        m_targetIsRange = false;
    }

    /** "4x5 1,2": behind an equals sign alone a comma parts values; in a float it may be a decimal one. */
    void refuseLists(const TagRange &tag) const
    {
        const auto isList = [](const std::string &value) { return value.find(',') != std::string::npos; };
        const auto list = std::find_if(m_values.begin(), m_values.end(), isList);
        if (list == m_values.end() || tag.format.format == Format::Float)
            return;
        std::string apart = *list;
        std::replace(apart.begin(), apart.end(), ',', ' ');
        std::string withPoint = *list;
        std::replace(withPoint.begin(), withPoint.end(), ',', '.');
        const bool number = std::count(list->begin(), list->end(), ',') == 1;
        throw std::invalid_argument("\"" + *list + "\" behind " + tag.rangeLabel() + ": several values are written "
                                    + tag.rangeLabel() + "=" + *list + " or " + tag.rangeLabel() + " " + apart
                                    + (number ? "; decimals stand behind a point, as in " + withPoint : ""));
    }

    TagWrite writeOf(const TagRange &tag) const
    {
        refuseLists(tag);
        TagWrite write;
        write.tag = tag;
        write.tag.values = static_cast<int>(m_values.size());
        if (m_targetIsRange && write.tag.values != tag.values)
            throw std::invalid_argument(tag.rangeLabel() + ": " + std::to_string(write.tag.values) + " given for "
                                        + std::to_string(tag.values)
                                        + " values; name the first address only, or all values");
        setAddress(m_driver, write.tag, addressText(tag.type, tag.address), Access::Write);
        for (const std::string &value : m_values) {
            try {
                write.raw.push_back(parseValue(value, tag.format));
            } catch (const std::invalid_argument &error) {
                throw std::invalid_argument(tag.label() + ": " + error.what());
            }
        }
        // Who writes negative numbers reads the register as one that has them.
        if (tag.format.format == Format::Unsigned && std::any_of(m_values.begin(), m_values.end(), hasMinus))
            write.tag.format.format = Format::Signed;
        return write;
    }

    void addTagFile()
    {
        for (const TagRange &tag : readTagFile(m_driver, m_catalog, m_options.tagFile)) {
            m_selection.reads.push_back(tag);
            m_selection.reads.back().format.lowWordFirst = m_options.lowWordFirst;
        }
    }

    void refuseBroadcastReads() const
    {
        for (const TagRange &tag : m_selection.reads) {
            if (tag.station == 0)
                throw std::invalid_argument(tag.label() + ": station 0 is for writes; nobody answers a broadcast read");
        }
        for (const TagWrite &write : m_selection.writes) {
            if (write.tag.station == 0 && write.tag.type.bitInRegister)
                throw std::invalid_argument(write.tag.label()
                                            + ": bits of registers cannot be broadcast, since the "
                                              "register must be read first");
        }
    }

    DriverLibrary &m_driver;
    const RegisterCatalog &m_catalog;
    const Options &m_options;
    TagSelection m_selection;
    std::vector<TagRange> m_target;    ///< addresses that values may follow
    std::vector<std::string> m_values; ///< the values that follow
    bool m_targetIsRange = false;      ///< the user said where it ends
    bool m_targetIsUsual = false;      ///< the user named no address at all
};

} // namespace

TagSelection selectTags(DriverLibrary &driver, const RegisterCatalog &catalog, const Options &options)
{
    return Selector(driver, catalog, options).select();
}

} // namespace rtu
