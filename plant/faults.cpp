#include "plant/faults.h"

#include "plant/number_text.h"

#include <cmath>
#include <sstream>

namespace plant {

namespace {

struct KindName
{
    FaultKind kind;
    const char *name;
    bool takesValue;
};

const KindName KindNames[] = {
    {FaultKind::NoReply, "no-reply", false},
    {FaultKind::LateReply, "late-reply", true},
    {FaultKind::WrongCrc, "wrong-crc", false},
    {FaultKind::FlippedBit, "flipped-bit", false},
    {FaultKind::Truncated, "truncated", false},
    {FaultKind::TooLong, "too-long", false},
    {FaultKind::WrongStation, "wrong-station", false},
    {FaultKind::WrongFunction, "wrong-function", false},
    {FaultKind::Exception, "exception", true},
    {FaultKind::Echo, "echo", false},
    {FaultKind::GarbageBefore, "garbage-before", false},
};

const std::size_t MostStrayBytes = 4;

bool refuse(std::string *error, const std::string &reason)
{
    if (error)
        *error = reason;
    return false;
}

/** What a word takes: whole numbers, but for the rate. */
struct NumberWord
{
    const char *name;
    double lowest;
    double highest;
};

const NumberWord NumberWords[] = {
    {"late-reply", 0, 3600000}, {"exception", 1, 255}, {"rate", 0, 1},           {"seed", 0, 4294967295.0},
    {"station", 0, 255},        {"function", 1, 127},  {"times", 0, 1000000000},
};

const NumberWord *numberWord(const std::string &name)
{
    for (const NumberWord &word : NumberWords) {
        if (name == word.name)
            return &word;
    }
    return nullptr;
}

/** Takes the number that belongs to a word. */
bool takeNumber(std::istringstream &words, const NumberWord &word, double *number, std::string *error)
{
    std::string text;
    words >> text;
    const bool whole = std::string(word.name) != "rate";
    const bool good = readNumber(text, number) && *number >= word.lowest && *number <= word.highest
                      && (!whole || *number == std::floor(*number));
    if (good)
        return true;
    std::ostringstream reason;
    reason.precision(10);
    reason << '"' << word.name << "\" needs a " << (whole ? "whole " : "") << "number from " << word.lowest << " to "
           << word.highest;
    if (!text.empty())
        reason << ", not \"" << text << '"';
    return refuse(error, reason.str());
}

bool readKind(std::istringstream &words, Fault *fault, std::string *error)
{
    std::string name;
    words >> name;
    for (const KindName &entry : KindNames) {
        if (name != entry.name)
            continue;
        fault->kind = entry.kind;
        if (!entry.takesValue)
            return true;
        double number = 0;
        if (!takeNumber(words, *numberWord(name), &number, error))
            return false;
        fault->value = static_cast<int>(number);
        return true;
    }
    std::string known;
    for (const KindName &entry : KindNames)
        known += std::string(known.empty() ? "" : ", ") + entry.name;
    return refuse(error, "unknown fault \"" + name + "\"; there are " + known);
}

bool isOption(const std::string &name)
{
    return name == "rate" || name == "seed" || name == "station" || name == "function" || name == "times";
}

void applyOption(const std::string &name, double number, Fault *fault)
{
    if (name == "rate")
        fault->rate = number;
    else if (name == "seed")
        fault->seed = static_cast<unsigned>(number);
    else if (name == "station")
        fault->station = static_cast<int>(number);
    else if (name == "function")
        fault->function = static_cast<int>(number);
    else
        fault->times = static_cast<int>(number);
}

} // namespace

const char *faultName(FaultKind kind)
{
    for (const KindName &entry : KindNames) {
        if (entry.kind == kind)
            return entry.name;
    }
    return "";
}

bool parseFault(const std::string &text, Fault *fault, std::string *error)
{
    std::istringstream words(text);
    Fault parsed;
    if (!readKind(words, &parsed, error))
        return false;
    std::string name;
    while (words >> name) {
        double number = 0;
        if (!isOption(name))
            return refuse(error, "unknown word \"" + name + "\"; there are rate, seed, station, function and times");
        if (!takeNumber(words, *numberWord(name), &number, error))
            return false;
        applyOption(name, number, &parsed);
    }
    *fault = parsed;
    return true;
}

bool ArmedFault::strikes(int station, int function)
{
    if (fault.station != Fault::Any && fault.station != station)
        return false;
    if (fault.function != Fault::Any && fault.function != function)
        return false;
    if (fault.times != Fault::NoLimit && struck >= fault.times)
        return false;
    if (!dice.falls(fault.rate))
        return false;
    ++struck;
    return true;
}

Mishaps Faults::strike(int station, int function, bool heard)
{
    Mishaps mishaps;
    for (ArmedFault &armed : m_faults) {
        if (!heard && armed.fault.kind != FaultKind::Echo)
            continue;
        if (!armed.strikes(station, function))
            continue;
        mishaps.any = true;
        switch (armed.fault.kind) {
        case FaultKind::NoReply:
            mishaps.unheard = true;
            break;
        case FaultKind::LateReply:
            mishaps.late += std::chrono::milliseconds(armed.fault.value);
            break;
        case FaultKind::Exception:
            mishaps.exception = armed.fault.value;
            break;
        case FaultKind::Echo:
            mishaps.echo = true;
            break;
        default:
            mishaps.onAnswer.push_back(&armed);
        }
    }
    return mishaps;
}

namespace {

void addNoise(Bytes &answer, Bytes::iterator before, Dice &dice)
{
    Bytes noise(1 + dice.below(MostStrayBytes));
    for (std::uint8_t &byte : noise)
        byte = static_cast<std::uint8_t>(dice.below(256));
    answer.insert(before, noise.begin(), noise.end());
}

} // namespace

void spoil(Bytes &answer, ArmedFault &armed)
{
    if (answer.size() < 4)
        return;
    Dice &dice = armed.dice;
    switch (armed.fault.kind) {
    case FaultKind::WrongCrc:
        answer.back() = static_cast<std::uint8_t>(answer.back() + 1 + dice.below(255));
        return;
    case FaultKind::FlippedBit: {
        const std::size_t bit = dice.below(answer.size() * 8);
        answer[bit / 8] = static_cast<std::uint8_t>(answer[bit / 8] ^ (1 << (bit % 8)));
        return;
    }
    case FaultKind::Truncated:
        answer.resize(1 + dice.below(answer.size() - 1));
        return;
    case FaultKind::TooLong:
        addNoise(answer, answer.end(), dice);
        return;
    case FaultKind::WrongStation:
        answer[0] = static_cast<std::uint8_t>(answer[0] + 1 + dice.below(254));
        renewCheckSum(answer);
        return;
    case FaultKind::WrongFunction:
        // Another function of an ordinary answer, never an exception.
        answer[1] = static_cast<std::uint8_t>((answer[1] + 1 + dice.below(126)) & 0x7F);
        renewCheckSum(answer);
        return;
    case FaultKind::GarbageBefore:
        addNoise(answer, answer.begin(), dice);
        return;
    default:
        return;
    }
}

} // namespace plant
