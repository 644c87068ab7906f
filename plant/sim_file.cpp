#include "plant/sim_file.h"

#include "plant/number_text.h"

#include <sstream>
#include <stdexcept>

namespace plant {

namespace {

using Words = std::vector<std::string>;

struct TypeName
{
    const char *name;
    Table table;
    int registers; ///< of one value; 0 for a bit
};

const TypeName TypeNames[] = {
    {"0x", Table::Coils, 0},
    {"1x", Table::DiscreteInputs, 0},
    {"3x", Table::InputRegisters, 1},
    {"4x", Table::HoldingRegisters, 1},
    {"3x_double", Table::InputRegisters, 2},
    {"4x_double", Table::HoldingRegisters, 2},
};

struct Range
{
    const TypeName *type;
    int first; ///< zero-based
    int count; ///< bits or registers

    int stride() const { return type->registers == 2 ? 2 : 1; }
};

const int LastReference = 65536;
const int LastStation = 247;

[[noreturn]] void refuse(const std::string &reason)
{
    throw std::runtime_error(reason);
}

std::string quoted(const std::string &word)
{
    return "\"" + word + "\"";
}

const TypeName *typeNamed(const std::string &name)
{
    for (const TypeName &type : TypeNames) {
        if (name == type.name)
            return &type;
    }
    return nullptr;
}

long long integer(const std::string &word)
{
    const std::string sign = word.compare(0, 1, "-") == 0 ? "-" : "";
    const bool hex = word.compare(sign.size(), 2, "0x") == 0;
    long long value = 0;
    if (!readNumber(hex ? sign + word.substr(sign.size() + 2) : word, &value, hex ? 16 : 10))
        refuse(quoted(word) + " is not a whole number");
    return value;
}

long long integer(const std::string &word, long long low, long long high, const std::string &what)
{
    const long long value = integer(word);
    if (value < low || value > high)
        refuse(what + " goes from " + std::to_string(low) + " to " + std::to_string(high) + ", not " + word);
    return value;
}

std::chrono::nanoseconds milliseconds(const std::string &word)
{
    double value = 0;
    if (!readNumber(word, &value) || !(value >= 0 && value < 1e7))
        refuse(quoted(word) + " is not a time in milliseconds");
    return std::chrono::nanoseconds(static_cast<std::int64_t>(value * 1e6));
}

Words split(const std::string &line)
{
    std::istringstream stream(line.substr(0, line.find('#')));
    Words words;
    std::string word;
    while (stream >> word)
        words.push_back(word);
    return words;
}

class Reader
{
public:
    explicit Reader(Plant &plant) : m_plant(plant), m_line(plant.line()) {}

    void readLine(const std::string &line)
    {
        m_words = split(line);
        m_next = 0;
        if (m_words.empty())
            return;
        const std::string first = take("a word");
        readStatement(first);
        if (m_next < m_words.size())
            refuse("what does " + quoted(m_words[m_next]) + " mean here?");
    }

private:
    bool more() const { return m_next < m_words.size(); }

    std::string take(const std::string &what)
    {
        if (!more())
            refuse(what + " is missing");
        return m_words[m_next++];
    }

    bool takeIf(const std::string &word)
    {
        if (!more() || m_words[m_next] != word)
            return false;
        ++m_next;
        return true;
    }

    void expect(const std::string &word)
    {
        if (!takeIf(word))
            refuse(quoted(word) + " is missing");
    }

    std::string takeRest()
    {
        std::string rest;
        while (more())
            rest += m_words[m_next++] + ' ';
        return rest;
    }

    int station() const
    {
        if (m_station < 0)
            refuse("a \"station N\" line has to come first");
        return m_station;
    }

    void readStatement(const std::string &first)
    {
        if (const TypeName *type = typeNamed(first))
            return readTable(takeRange(type));
        if (first == "station")
            return readStation();
        if (first == "hole")
            return readHole();
        if (first == "fault")
            return readFault();
        if (first == "turnaround")
            return m_plant.setTurnaround(station(), milliseconds(take("a time")));
        if (first == "off")
            return m_plant.setStationOn(station(), false);
        readLineSetting(first);
    }

    void readStation()
    {
        m_station = static_cast<int>(integer(take("a station number"), 1, LastStation, "a station"));
        m_plant.addStation(m_station);
    }

    void readLineSetting(const std::string &name)
    {
        if (name == "baud")
            m_line.baud = static_cast<int>(integer(take("a baud rate"), 0, 10000000, "the baud rate"));
        else if (name == "character")
            m_line.characterBits = static_cast<int>(integer(take("a number of bits"), 9, 12, "a character"));
        else if (name == "silence")
            m_line.silence = milliseconds(take("a time"));
        else if (name == "lump")
            m_line.lump = milliseconds(take("a time"));
        else if (name == "adapter") {
            m_line.lump = milliseconds(take("a time"));
            m_line.adapterTicks = true;
        } else
            refuse("unknown word " + quoted(name)
                   + "; a line begins with station, 0x, 1x, 3x, 4x, 3x_double, "
                     "4x_double, hole, fault, turnaround, off, baud, character, silence, lump or adapter");
        m_plant.setLine(m_line);
    }

    Range takeRange(const TypeName *type)
    {
        const std::string text = take("an address");
        const std::size_t dots = text.find("..");
        const std::string firstText = text.substr(0, dots);
        const int first = static_cast<int>(integer(firstText, 1, LastReference, "an address"));
        const int width = type->registers == 2 ? 2 : 1;
        int last = first + width - 1;
        if (dots != std::string::npos)
            last = static_cast<int>(integer(text.substr(dots + 2), first, LastReference, "the end of the range"));
        if (last > LastReference)
            refuse("a 32-bit value needs two registers, there is none after " + firstText);
        m_openEnded = dots == std::string::npos;
        Range range{type, first - 1, last - first + 1};
        if (range.count % width != 0)
            refuse("a range of 32-bit values covers an even number of registers");
        return range;
    }

    void readHole()
    {
        const std::string name = take("a register type");
        const TypeName *type = typeNamed(name);
        if (!type)
            refuse(quoted(name) + " is not a register type");
        const Range range = takeRange(type);
        m_plant.makeHole(station(), type->table, range.first, range.count);
    }

    void readFault()
    {
        Fault fault;
        std::string reason;
        if (!parseFault(takeRest(), &fault, &reason))
            refuse(reason);
        if (fault.station == Fault::Any && m_station >= 0)
            fault.station = m_station;
        m_plant.addFault(fault);
    }

    void readTable(Range range)
    {
        if (takeIf("="))
            return readValues(range);
        const Motion motion = takeMotion();
        for (int address = range.first; address < range.first + range.count; address += range.stride())
            m_plant.setMotion(station(), range.type->table, address, motion, range.stride());
    }

    void readValues(Range range)
    {
        std::vector<long long> values;
        while (more())
            values.push_back(takeValue(*range.type));
        if (values.empty())
            refuse("a value is missing after \"=\"");
        if (m_openEnded)
            range.count = static_cast<int>(values.size()) * range.stride();
        if (range.first + range.count > LastReference)
            refuse("the values go beyond address 65536");
        const std::size_t places = static_cast<std::size_t>(range.count / range.stride());
        if (values.size() > places)
            refuse("there are more values than places in the range");
        m_plant.define(station(), range.type->table, range.first, range.count);
        for (std::size_t i = 0; i < places; ++i)
            put(range, static_cast<int>(i), values[i % values.size()]);
    }

    long long takeValue(const TypeName &type)
    {
        const std::string word = take("a value");
        if (type.registers == 0)
            return integer(word, 0, 1, "a bit");
        if (type.registers == 1)
            return integer(word, -32768, 65535, "a register");
        return integer(word, -2147483648LL, 4294967295LL, "a 32-bit value");
    }

    void put(const Range &range, int place, long long value)
    {
        const int address = range.first + place * range.stride();
        if (range.type->registers == 2)
            m_plant.pokeDouble(station(), range.type->table, address, static_cast<std::uint32_t>(value));
        else
            m_plant.poke(station(), range.type->table, address, static_cast<std::uint16_t>(value));
    }

    Motion takeMotion()
    {
        const std::string shape = take("\"=\" with values, or ramp, sine, counter or toggle");
        Motion motion;
        if (shape == "ramp") {
            motion.shape = Motion::Ramp;
            takeLimits(&motion);
            if (takeIf("step"))
                motion.step = integer(take("a step"), 1, 4294967295LL, "a step");
            expect("every");
        } else if (shape == "sine") {
            motion.shape = Motion::Sine;
            takeLimits(&motion);
            expect("period");
        } else if (shape == "counter") {
            motion.shape = Motion::Counter;
            motion.low = takeIf("from") ? integer(take("a number")) : 0;
            expect("every");
        } else if (shape == "toggle") {
            motion.shape = Motion::Toggle;
            expect("every");
        } else
            refuse(quoted(shape) + " is neither \"=\" nor ramp, sine, counter or toggle");
        const auto period = std::chrono::duration_cast<std::chrono::milliseconds>(milliseconds(take("a time")));
        if (period.count() < 1)
            refuse("a time of at least 1 millisecond is needed");
        motion.period = period;
        return motion;
    }

    void takeLimits(Motion *motion)
    {
        motion->low = integer(take("the lowest value"));
        motion->high = integer(take("the highest value"));
        if (motion->high < motion->low)
            refuse("the lowest value comes first");
    }

    Plant &m_plant;
    Line m_line;
    Words m_words;
    std::size_t m_next = 0;
    int m_station = -1;
    bool m_openEnded = false; ///< the last range had no end: as many addresses as values
};

} // namespace

bool readSimulation(const std::string &text, const std::string &name, Plant &plant, std::string *error)
{
    Reader reader(plant);
    std::istringstream lines(text);
    std::string line;
    for (int number = 1; std::getline(lines, line); ++number) {
        try {
            reader.readLine(line);
        } catch (const std::exception &reason) {
            if (error)
                *error = name + ":" + std::to_string(number) + ": " + reason.what();
            return false;
        }
    }
    return true;
}

} // namespace plant
