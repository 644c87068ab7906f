#include "checker/settings.h"

#include "checker/buffers.h"
#include "checker/findings.h"
#include "driver/qt_compat.h"

#include <QtCore/QStringList>

#include <algorithm>

namespace checker {

namespace {

enum Field { LinkField, LocalOnlyField, SpareField, AttemptsField, WordsField, SwapField };

/** Fields without which the earlier settings stay. */
const int NeededFields = 5;
const int AreaBytes = 60117;
const int LargestWords = 120;

const char *const fieldNames[] = {"link", "local only", "spare", "attempts", "words", "swap"};

/** One property string under examination. */
class PropertyCheck
{
public:
    PropertyCheck(const QString &text, Findings &found) : fields(text.split(QLatin1Char('#'))), findings(found) {}

    bool isComplete() const { return sizeOf(fields) >= NeededFields; }

    void apply(Settings &settings)
    {
        settings.link = number(fields.at(LinkField), LinkField);
        settings.localOnly = number(fields.at(LocalOnlyField), LocalOnlyField);
        number(fields.at(SpareField), SpareField);
        settings.attempts = number(fields.at(AttemptsField), AttemptsField);
        settings.words = number(fields.at(WordsField), WordsField);
        checkNumbers(settings);
        if (sizeOf(fields) > NeededFields)
            applySwap(fields.at(SwapField), settings);
        else
            checkStaying(std::vector<int>(), settings);
    }

private:
    void report(FindingId id, int field, const std::string &wrong)
    {
        findings.report(id, initPropertyCall, std::string("property, ") + fieldNames[field], wrong);
    }

    /** As the driver reads it: what is no number counts as 0. */
    int number(const QString &text, int field)
    {
        bool isNumber = false;
        const int value = text.toInt(&isNumber);
        if (!isNumber)
            report(PropertyNumber, field,
                   "\"" + std::string(text.toLatin1().constData()) + "\" is no number and counts as 0");
        return value;
    }

    void checkNumbers(const Settings &settings)
    {
        const std::string words = std::to_string(settings.words);
        if (settings.localOnly != 0)
            report(LocalOnly, LocalOnlyField, "writes change the cache and never reach a slave");
        if (settings.attempts < 1)
            report(AttemptsBelowOne, AttemptsField, std::to_string(settings.attempts) + " attempts mean one");
        if (settings.words < 1)
            report(WordsNotPositive, WordsField, words + " cuts nothing and merges nothing");
        else if (settings.words % 2 != 0)
            report(WordsOdd, WordsField, "pieces of " + words + " registers tear 32-bit values");
        if (settings.words > LargestWords)
            report(WordsTooLarge, WordsField, "blocks of " + words + " registers do not fit in a request");
    }

    void applySwap(const QString &text, Settings &settings)
    {
        const QStringList parts = text.split(QLatin1Char('_'));
        const int mode = number(parts.at(0), SwapField);
        if (mode != 0 && mode != 1)
            report(SwapMode, SwapField, "mode " + std::to_string(mode) + " means 0");
        std::vector<int> stations;
        if (sizeOf(parts) > 1 && !parts.at(1).isEmpty())
            stations = stationsOf(parts.at(1));
        checkStaying(stations, settings);
        settings.lowFirst.insert(settings.lowFirst.end(), stations.begin(), stations.end());
    }

    /** @param listed the stations that this string names */
    void checkStaying(const std::vector<int> &listed, const Settings &settings)
    {
        for (int station : settings.lowFirst) {
            if (std::find(listed.begin(), listed.end(), station) != listed.end())
                continue;
            report(SwapStationsStay, SwapField,
                   "station " + std::to_string(station) + " of an earlier call stays on the list");
            return;
        }
    }

    std::vector<int> stationsOf(const QString &text)
    {
        std::vector<int> stations;
        const QStringList texts = text.split(QLatin1Char(','));
        for (int i = 0; i < sizeOf(texts); ++i) {
            const int station = number(texts.at(i), SwapField);
            if (station < 1 || station > LastStation)
                report(SwapStation, SwapField, "there is no station " + std::to_string(station));
            stations.push_back(station);
        }
        return stations;
    }

    QStringList fields;
    Findings &findings;
};

} // namespace

bool isRelease(const InitArguments &arguments)
{
    return !arguments.area && !arguments.wordBuffer && !arguments.mutex
           && (!arguments.property || !*arguments.property);
}

bool applyInit(const InitArguments &arguments, Settings &settings, Findings &findings)
{
    settings.area = static_cast<unsigned char *>(arguments.area);
    settings.wordBuffer = static_cast<unsigned char *>(arguments.wordBuffer);
    settings.mutex = arguments.mutex;
    checkBuffer(arguments.area, AreaBytes, initPropertyCall, "hostArea", findings);
    checkBuffer(arguments.status, sizeof(int), initPropertyCall, "status", findings);
    if (isRelease(arguments))
        return false;
    if (!arguments.property) {
        findings.report(NullArgument, initPropertyCall, "property", "null counts as an empty text");
        return false;
    }
    PropertyCheck check(QString::fromLatin1(arguments.property), findings);
    if (!check.isComplete()) {
        findings.report(PropertyFields, initPropertyCall, "property",
                        "\"" + std::string(arguments.property)
                            + "\" has fewer than five fields: all earlier settings stay");
        return false;
    }
    check.apply(settings);
    return true;
}

} // namespace checker
