#include "bench/plant_keys.h"

#include <random>
#include <string>
#include <vector>

namespace {

long reports = 0;

int countReport(int, int, QString *, int)
{
    ++reports;
    return 0;
}

const char *const typeNames[] = {"0x", "1x", "3x", "4x", "3x_bit", "4x_bit", "3x_double", "4x_double"};

/** One address of a scattered project; the same sequence in every run. */
struct Place
{
    int station;
    const char *type;
    int address;
};

Place nextPlace(std::mt19937 &random)
{
    Place place = {};
    place.station = 1 + static_cast<int>(random() % 50);
    place.type = typeNames[random() % 8];
    place.address = static_cast<int>(random() % 60000);
    return place;
}

} // namespace

void initialiseDriver(int maxReadWords)
{
    static std::vector<unsigned char> area(60117, 0);
    static std::vector<unsigned char> words(2 * 65536, 0);
    static QMutex mutex;
    int status = 0;
    const std::string property = "1#0#0#3#" + std::to_string(maxReadWords);
    intf_setAddrValueChangeCallBack(countReport);
    intf_initProperty(area.data(), 0, words.data(), &status, property.c_str(), &mutex);
}

void cacheAreas(int areas)
{
    static std::vector<unsigned char> out(2 * 65536);
    QString type = QLatin1String("3x");
    for (int station = 100; areas > 0; ++station, areas -= 65536)
        intf_getData(station, &type, 0, areas < 65536 ? areas : 65536, out.data());
}

long reportsSoFar()
{
    return reports;
}

KEY_ADDRESS planKey(int station, const char *regType, int startAddr, int count)
{
    KEY_ADDRESS key = KEY_ADDRESS();
    key.station = station;
    key.regType = QLatin1String(regType);
    key.startAddr = startAddr;
    key.count = count;
    return key;
}

QList<KEY_ADDRESS> scatteredKeys(int count)
{
    std::mt19937 random(1);
    QList<KEY_ADDRESS> keys;
    for (int i = 0; i < count; ++i) {
        const Place place = nextPlace(random);
        keys << planKey(place.station, place.type, place.address, 1 + static_cast<int>(random() % 2));
    }
    return keys;
}

QVector<_RCP_VAR_PRO> scatteredRows(int count)
{
    std::mt19937 random(2);
    QVector<_RCP_VAR_PRO> rows;
    for (int i = 0; i < count; ++i) {
        const Place place = nextPlace(random);
        _RCP_VAR_PRO row = _RCP_VAR_PRO();
        row.userData = 1;
        row.station = place.station;
        row.regType = QLatin1String(place.type);
        row.startAddr = place.address;
        row.count = 2;
        row.hostOffset = 2 * i % 60000;
        rows << row;
    }
    return rows;
}
