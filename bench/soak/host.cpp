#include "host.h"

#include "tests/support/buffer_word.h"
#include "tests/support/records.h"

#include <algorithm>
#include <cstring>

namespace soak {

namespace {

const int recipeStations = 3;
const int swappedStation = 2; // low word first
const int readTag = -1;
const char *const property = "7#0#1000#3#40#0_2";
const size_t namedDisagreements = 10;

std::string nameOf(int station, const char *type, int address)
{
    return std::to_string(station) + ":" + type + ":" + std::to_string(address);
}

int functionOf(const FRAME_PRO &frame)
{
    return frame.frame[1];
}

bool isRecipe(const VARIABLE &unit)
{
    return unit.startAddr >= FirstRecipe && unit.regType.startsWith(QLatin1String("4x"))
           && unit.regType != QLatin1String("4x_bit");
}

bool isHostWrite(const FRAME_PRO &frame)
{
    return !isRecipe(frame.var) && (functionOf(frame) > 4 || frame.var.regType == QLatin1String("4x_bit"));
}

bool isBitInRegister(const char *type)
{
    return std::strcmp(type, "3x_bit") == 0 || std::strcmp(type, "4x_bit") == 0;
}

bool isDouble(const char *type)
{
    return std::strcmp(type, "3x_double") == 0 || std::strcmp(type, "4x_double") == 0;
}

/** A number that looks random and follows from a place, a write and a position. */
unsigned int mixed(int a, int b, int c)
{
    unsigned int value = static_cast<unsigned int>(a) * 0x9E3779B1u + static_cast<unsigned int>(b) * 0x85EBCA77u
                         + static_cast<unsigned int>(c) * 0xC2B2AE3Du;
    value ^= value >> 15;
    value *= 0x2C1B3C6Du;
    return value ^ value >> 13;
}

} // namespace

void Books::disagree(const std::string &what)
{
    ++disagreementCount;
    if (disagreements.size() < namedDisagreements)
        disagreements.push_back("transaction " + std::to_string(transactions) + ": " + what);
}

Host *Host::current = nullptr;

Host::Host(Plant &slaves, Line &serialLine, const Precautions &hostPrecautions, std::uint32_t seed)
    : HostMemory(recipeStations * RecipeRegisters)
    , plant(slaves)
    , line(serialLine)
    , precautions(hostPrecautions)
    , random(seed)
    , planLength(0)
    , readWaits(false)
    , recipeRequest(0)
    , recipeGivenUp(false)
{
    current = this;
    intf_setAddrValueChangeCallBack(&Host::callBack);
    int status = 0;
    intf_initProperty(hostArea.data(), 0, hostWords.data(), &status, property, &hostMutex);
    plan();
    addPlaces();
    registerRecipes();
    fillCache();
}

Host::~Host()
{
    intf_setAddrValueChangeCallBack(nullptr);
    intf_initProperty(nullptr, 0, nullptr, nullptr, "", nullptr);
    current = nullptr;
}

// --- start-up -------------------------------------------------------------------------

void Host::watch(QList<KEY_ADDRESS> &keys, int station, const char *type, int first, int count)
{
    keys << support::key(station, type, first, count);
    const int step = isDouble(type) ? 2 : 1;
    for (int address = first; address < first + count; address += step) {
        itemOf[nameOf(station, type, address)] = items.size();
        const Item item = {station, type, address, 0};
        items.push_back(item);
    }
}

void Host::plan()
{
    QList<KEY_ADDRESS> keys;
    for (int station = FirstStation; station < FirstStation + Stations; ++station) {
        watch(keys, station, "0x", 0, Coils);
        watch(keys, station, "1x", 0, Inputs);
        watch(keys, station, "3x", 0, InputRegisters);
        watch(keys, station, "3x_bit", 0, 32);
        watch(keys, station, "3x_double", 4, 10);
        watch(keys, station, "4x", 0, MovingRegisters);
        watch(keys, station, "4x_bit", 0, 32);
        watch(keys, station, "4x_double", 4, 10);
        watch(keys, station, "4x", FirstWord, 20);
        watch(keys, station, "4x_double", FirstDouble, 20);
        watch(keys, station, "4x_bit", 16 * FirstBitRegister, 160);
        watch(keys, station, "4x", FirstBitRegister, 10);
    }
    planLength = intf_addrMerge(&keys);
}

/** Places do not overlap, so that each element has one newest write. */
void Host::addPlaces()
{
    const auto add = [this](int station, const char *type, int address, int count) {
        const Place place = {station, type, address, count, 0, 0, false};
        places.push_back(place);
    };
    for (int station = FirstStation; station < FirstStation + Stations; ++station) {
        for (int i = 0; i < 4; ++i) {
            add(station, "0x", 4 * i, 1);
            add(station, "0x", 4 * i + 1, 3);
            add(station, "4x", FirstWord + 5 * i, 1);
            add(station, "4x", FirstWord + 5 * i + 1, 4);
            add(station, "4x_double", FirstDouble + 4 * i, 2);
            add(station, "4x_bit", 16 * (FirstBitRegister + i), 1);
            add(station, "4x_bit", 16 * (FirstBitRegister + i) + 3, 5);
        }
        add(station, "0x", 16, 16);
        add(station, "4x_double", FirstDouble + 16, 4);
        add(station, "4x_bit", 16 * (FirstBitRegister + 5) + 9, 20); // bits of two registers
    }
}

void Host::registerRecipes()
{
    QVector<_RCP_VAR_PRO> rows;
    const auto add = [&rows](int station, const char *type, int offset, int count) {
        rows << support::row(7, station, type, FirstRecipe + offset, count, (station - 1) * RecipeRegisters + offset);
    };
    for (int station = 1; station <= recipeStations; ++station) {
        add(station, "4x", 0, 20);
        add(station, "4x", 20, 20);
        for (int offset = 40; offset < RecipeRegisters; offset += 2)
            add(station, "4x_double", offset, 2);
    }
    intf_setRcpAddress(&rows);
}

/**
 * Every area that a read, a write or a failed request may ever ask for is made
 * now: what the memory grows by afterwards is a leak. Failed reads of coils mark
 * areas in steps of 8, far behind the coils themselves.
 */
void Host::fillCache()
{
    static const char *const types[] = {"0x", "1x", "3x", "4x"};
    const int beyondAll = 8 * (Coils + 10);
    std::vector<unsigned char> values(2 * beyondAll);
    for (int station = FirstStation; station < FirstStation + Stations; ++station) {
        for (const char *name : types) {
            QString type = QString::fromLatin1(name);
            intf_getData(station, &type, 0, beyondAll, values.data());
        }
    }
}

// --- reports and the screen -----------------------------------------------------------

int Host::callBack(int linkId, int station, QString *regType, int address)
{
    current->report(linkId, station, *regType, address);
    return 0;
}

void Host::report(int linkId, int station, const QString &type, int address)
{
    ++books.reports;
    if (linkId == -1) {
        ++books.readsEnded;
        books.readsFailed += address == -1 ? 1 : 0;
        if (!readWaits)
            books.disagree("the end of a one-off read that nobody asked for");
        readWaits = false;
        return;
    }
    if (station != -1)
        refresh(station, type, address);
}

/** Values are read after the call of the driver: inside the callback the cache still holds the old one. */
void Host::refresh(int station, const QString &type, int address)
{
    const auto found = itemOf.find(nameOf(station, type.toLatin1().constData(), address));
    if (found == itemOf.end()) {
        books.disagree("a report about something that is not watched: "
                       + nameOf(station, type.toLatin1().constData(), address));
        return;
    }
    reported.push_back(found->second);
}

void Host::refreshRegister(int station, int address)
{
    const auto mark = [this, station](const char *type, int at) {
        const auto found = itemOf.find(nameOf(station, type, at));
        if (found != itemOf.end())
            reported.push_back(found->second);
    };
    mark("4x", address);
    mark("4x_double", address);
    mark("4x_double", address - 1);
    for (int bit = 0; bit < 16; ++bit)
        mark("4x_bit", 16 * address + bit);
}

void Host::refreshCovered(const VARIABLE &unit)
{
    if (unit.regType == QLatin1String("0x")) {
        for (int i = 0; i < unit.count; ++i)
            refresh(unit.station, unit.regType, unit.startAddr + i);
        return;
    }
    const int width = unit.regType == QLatin1String("4x_bit") ? 16 : 1;
    const int last = (unit.startAddr + unit.count - 1) / width;
    for (int address = unit.startAddr / width; address <= last; ++address)
        refreshRegister(unit.station, address);
}

void Host::showReported()
{
    for (std::size_t i : reported)
        items[i].shown = valueOf(items[i]);
    reported.clear();
}

long Host::valueOf(const Item &item) const
{
    QString type = QString::fromLatin1(item.type);
    unsigned char bytes[4] = {0, 0, 0, 0};
    intf_getData(item.station, &type, item.address, isDouble(item.type) ? 2 : 1, bytes);
    return static_cast<long>(bytes[0] | bytes[1] << 8) + (static_cast<long>(bytes[2] | bytes[3] << 8) << 16);
}

long Host::slaveValueOf(const Item &item)
{
    const support::SlaveTables &slave = plant.slave(item.station);
    if (std::strcmp(item.type, "0x") == 0)
        return slave.coils.at(item.address);
    if (std::strcmp(item.type, "1x") == 0)
        return slave.discreteInputs.at(item.address);
    const std::map<int, int> &registers = item.type[0] == '3' ? slave.inputRegisters : slave.holdingRegisters;
    if (isBitInRegister(item.type))
        return registers.at(item.address / 16) >> item.address % 16 & 1;
    if (isDouble(item.type))
        return static_cast<long>(registers.at(item.address)) << 16 | registers.at(item.address + 1);
    return registers.at(item.address);
}

// --- what the host does ---------------------------------------------------------------

void Host::step()
{
    plant.move();
    if (books.transactions % 2000 == 0)
        line.switchOff(FirstStation + random.below(Stations));
    if (books.transactions % 2000 == 120)
        line.switchOff(0);
    act();
    poll();
    if (books.transactions % 1000 == 500)
        judgeScreen();
}

void Host::act()
{
    const int number = random.below(1000);
    if (number < 120)
        write();
    if (number == 999) { // a screen full of values at once
        for (int i = 0; i < 60; ++i)
            write();
    }
    if (number % 20 == 7 && !readWaits)
        askForRead();
    if (number % 250 == 9 && recipeRequest == 0)
        startRecipe();
    showReported();
}

void Host::write()
{
    const size_t index = random.next() % places.size();
    Place &place = places[index];
    ++books.writesIssued;
    std::vector<unsigned char> data = dataOf(place, ++place.issued);
    QString type = QString::fromLatin1(place.type);
    const int tag = place.issued * static_cast<int>(places.size()) + static_cast<int>(index);
    intf_setData(place.station, &type, place.address, place.count, data.data(), tag);
}

std::vector<unsigned char> Host::dataOf(const Place &place, int number) const
{
    const bool coils = std::strcmp(place.type, "0x") == 0;
    const bool bits = isBitInRegister(place.type);
    std::vector<unsigned char> data(static_cast<size_t>(coils ? place.count : 2 * place.count), 0);
    const int filled = coils || bits ? place.count : 2 * place.count;
    for (int i = 0; i < filled; ++i) {
        const unsigned int value = mixed(place.station * 4096 + place.address, number, i);
        data[static_cast<size_t>(i)] = static_cast<unsigned char>(coils || bits ? value & 1u : value & 0xFFu);
    }
    return data;
}

void Host::askForRead()
{
    static const char *const types[] = {"0x", "1x", "3x", "4x", "4x_bit"};
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = FirstStation + random.below(Stations);
    const char *const type = types[random.below(5)];
    key.regType = QString::fromLatin1(type);
    // Runs of register bits begin with a register, else the driver reads one short.
    key.startAddr = isBitInRegister(type) ? 0 : random.below(10);
    key.count = 1 + random.below(10);
    key.field7 = isBitInRegister(type) || type[0] < '3' ? -1 : 1; // coils and inputs are 0x and 1x
    ++books.readsAsked;
    readWaits = true;
    intf_addConditionRead(&key, readTag);
}

void Host::startRecipe()
{
    const bool toSlaves = random.below(2) == 0;
    for (unsigned short &word : hostWords) {
        const int low = toSlaves ? random.byte() : 0xEE;
        const int high = toSlaves ? random.byte() : 0xEE;
        word = support::bufferWord(high << 8 | low);
    }
    ++books.recipesAsked;
    recipeGivenUp = false;
    recipeRequest = toSlaves ? BlockWriteRequest : BlockReadRequest;
    raise(recipeRequest);
}

void Host::endRecipe()
{
    if (recipeRequest == 0 || raised(recipeRequest) != 0)
        return;
    recipeRequest = 0;
    ++books.recipesEnded;
    books.recipesFailed += recipeGivenUp ? 1 : 0;
    if (!recipeGivenUp && !recipeWordsMatch())
        books.disagree("a recipe transfer that ended well: buffer and slaves differ");
}

/** Word by word: the buffer against the slaves, with the word order of 32-bit values. */
bool Host::recipeWordsMatch()
{
    for (int station = 1; station <= recipeStations; ++station) {
        for (int offset = 0; offset < RecipeRegisters; ++offset) {
            const bool highFirst = offset >= 40 && station != swappedStation;
            const int place = highFirst ? offset ^ 1 : offset;
            const size_t word = static_cast<size_t>((station - 1) * RecipeRegisters + place);
            const int value = support::bufferWord(hostWords[word]);
            if (plant.slave(station).holdingRegisters.at(FirstRecipe + offset) != value)
                return false;
        }
    }
    return true;
}

// --- polling --------------------------------------------------------------------------

void Host::poll()
{
    FRAME_PRO frame;
    if (intf_getSendFrame(&frame) == 0)
        return;
    ++books.transactions;
    const QByteArray request = support::requestBytes(frame);
    const QByteArray reply = line.exchange(request);
    QByteArray handedOver = reply;
    QString information;
    const int verdict = intf_dealRcvFrame(&handedOver, &information);
    if (verdict == 1 && functionOf(frame) <= 4 && reply != plant.answer(request))
        books.disagree("an accepted read that says something else than the slave: "
                       + nameOf(frame.var.station, frame.var.regType.toLatin1().constData(), frame.var.startAddr));
    books.accepted += verdict == 1 ? 1 : 0;
    books.sentAgain += verdict == 8 ? 1 : 0;
    books.givenUp += verdict == 2 ? 1 : 0;
    if (isHostWrite(frame))
        judgeWrite(frame, verdict, information);
    else if (isRecipe(frame.var) && verdict == 2)
        recipeGivenUp = true;
    endRecipe();
    showReported();
}

void Host::judgeWrite(const FRAME_PRO &frame, int verdict, const QString &information)
{
    const bool lastFrame = functionOf(frame) > 4;
    if (verdict == 8 || (verdict == 1 && !lastFrame))
        return;
    const int tags = static_cast<int>(places.size());
    Place &place = places[static_cast<size_t>(frame.var.userData % tags)];
    const int number = frame.var.userData / tags;
    if (number <= place.ended || number > place.issued)
        books.disagree("a write that ends twice or was never made: "
                       + nameOf(place.station, place.type, place.address));
    books.writesReplaced += number - place.ended - 1;
    place.ended = number;
    place.failed = verdict == 2;
    ++(place.failed ? books.writesFailed : books.writesAcknowledged);
    if (place.failed && !information.startsWith(QLatin1String("W,")))
        books.disagree("a failed write without its error text");
    if (!place.failed && !slaveHolds(place, number))
        books.disagree("an acknowledged write that the slave does not hold: "
                       + nameOf(place.station, place.type, place.address));
    if (precautions.refresh)
        refreshCovered(frame.var);
}

bool Host::slaveHolds(const Place &place, int number)
{
    const std::vector<unsigned char> data = dataOf(place, number);
    for (int i = 0; i < place.count; ++i) {
        const size_t at = static_cast<size_t>(i);
        const Item element = {place.station, isDouble(place.type) ? "4x" : place.type, place.address + i, 0};
        const bool bits = std::strcmp(place.type, "4x") != 0 && !isDouble(place.type);
        const size_t word = isDouble(place.type) ? at ^ 1u : at;
        const long value = bits ? data[at] : data[2 * word] | data[2 * word + 1] << 8;
        if (slaveValueOf(element) != value)
            return false;
    }
    return true;
}

// --- the end --------------------------------------------------------------------------

bool Host::busy() const
{
    const bool writing =
        std::any_of(places.begin(), places.end(), [](const Place &place) { return place.ended != place.issued; });
    return writing || readWaits || recipeRequest != 0;
}

void Host::rest()
{
    for (int i = 0; i < 100000 && busy(); ++i)
        poll();
    if (busy())
        books.disagree("a write, one-off read or recipe that never ended");
}

void Host::settle()
{
    rest();
    line.stopFaults();
    for (int i = 0; i < 2 * planLength; ++i)
        poll();
}

/** At any time: what has been reported is what can be read. */
void Host::judgeScreen()
{
    for (const Item &item : items) {
        if (item.shown != valueOf(item))
            books.disagree("what was reported and the cache differ: " + nameOf(item.station, item.type, item.address));
    }
}

void Host::judge()
{
    judgeScreen();
    for (const Item &item : items) {
        const long held = slaveValueOf(item);
        const std::string name = nameOf(item.station, item.type, item.address);
        if (valueOf(item) != held)
            books.disagree("cache and slave differ at the end: " + name);
    }
    for (const Place &place : places) {
        if (place.issued > 0 && !place.failed && !slaveHolds(place, place.issued))
            books.disagree("the newest write was acknowledged and is not in the slave: "
                           + nameOf(place.station, place.type, place.address));
    }
    if (books.writesIssued != books.writesAcknowledged + books.writesFailed + books.writesReplaced)
        books.disagree("the number of writes");
    if (books.readsAsked != books.readsEnded)
        books.disagree("the number of one-off reads");
    if (books.recipesAsked != books.recipesEnded)
        books.disagree("the number of recipe transfers");
    if (books.transactions != books.accepted + books.sentAgain + books.givenUp)
        books.disagree("the number of transactions");
}

} // namespace soak
