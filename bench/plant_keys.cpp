#include "bench/plant_keys.h"

#include "tests/support/host_memory.h"
#include "tests/support/records.h"

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
    static support::HostMemory memory(65536);
    int status = 0;
    const std::string property = "1#0#0#3#" + std::to_string(maxReadWords);
    intf_setAddrValueChangeCallBack(countReport);
    intf_initProperty(memory.hostArea.data(), 0, memory.hostWords.data(), &status, property.c_str(), &memory.hostMutex);
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

QList<KEY_ADDRESS> scatteredKeys(int count)
{
    std::mt19937 random(1);
    QList<KEY_ADDRESS> keys;
    for (int i = 0; i < count; ++i) {
        const Place place = nextPlace(random);
        keys << support::key(place.station, place.type, place.address, 1 + static_cast<int>(random() % 2));
    }
    return keys;
}

QVector<_RCP_VAR_PRO> scatteredRows(int count)
{
    std::mt19937 random(2);
    QVector<_RCP_VAR_PRO> rows;
    for (int i = 0; i < count; ++i) {
        const Place place = nextPlace(random);
        rows << support::row(1, place.station, place.type, place.address, 2, 2 * i % 60000);
    }
    return rows;
}
