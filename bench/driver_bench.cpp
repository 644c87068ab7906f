// The driver's operations on Google Benchmark, peers on the same bytes beside
// them. Times are of the machine and the moment; read them as ratios.

#include "bench/plant_keys.h"
#include "bench/poll_scenarios.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

namespace {

/** Time of transactions on a line of 115200 baud, 11-bit characters, with the silences. */
double lineSeconds(int bytes, int transactions)
{
    const double characterSeconds = 11.0 / 115200;
    const double silence = 0.00175;
    return bytes * characterSeconds + 2 * transactions * silence;
}

void runScenario(benchmark::State &state, const std::string &name)
{
    const std::unique_ptr<Scenario> scenario = makeScenario(name);
    if (!scenario) {
        state.SkipWithError("no such scenario");
        return;
    }
    const int steps = scenario->stepsARound();
    for (auto _ : state) {
        for (int i = 0; i < steps; ++i) {
            if (!scenario->step()) {
                state.SkipWithError("a transaction failed");
                return;
            }
        }
    }
    const int elements = scenario->elements();
    state.SetItemsProcessed(state.iterations() * elements);
    // CPU time as a share of the time that the transactions take on the line.
    const double lineTime = static_cast<double>(state.iterations()) * lineSeconds(scenario->lineBytes(), steps);
    state.counters["cpu_per_line_time"] =
        benchmark::Counter(lineTime, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

/** One register at a random address, as a screen asks for it. */
void lookUp(benchmark::State &state)
{
    const int areas = static_cast<int>(state.range(0));
    initialiseDriver(100);
    cacheAreas(areas);
    std::mt19937 random(3);
    QString type = QLatin1String("3x");
    unsigned char out[2];
    for (auto _ : state) {
        const int area = static_cast<int>(random() % static_cast<unsigned int>(areas));
        intf_getData(100 + area / 65536, &type, area % 65536, 1, out);
        benchmark::DoNotOptimize(out[0]);
    }
}

void readOut(benchmark::State &state)
{
    const int areas = static_cast<int>(state.range(0));
    initialiseDriver(100);
    cacheAreas(areas);
    QString type = QLatin1String("3x");
    std::vector<unsigned char> out(250);
    for (auto _ : state) {
        intf_getData(100, &type, 0, 125, out.data());
        benchmark::DoNotOptimize(out.data());
    }
}

void planCyclicReads(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    QList<KEY_ADDRESS> keys = scatteredKeys(count);
    initialiseDriver(100);
    for (auto _ : state)
        benchmark::DoNotOptimize(intf_addrMerge(&keys));
    state.SetComplexityN(count);
}

void registerRecipe(benchmark::State &state)
{
    const int count = static_cast<int>(state.range(0));
    QVector<_RCP_VAR_PRO> rows = scatteredRows(count);
    initialiseDriver(100);
    for (auto _ : state)
        benchmark::DoNotOptimize(intf_setRcpAddress(&rows));
    state.SetComplexityN(count);
}

/** 513 writes to different registers into an empty queue. */
void writeBurst(benchmark::State &state)
{
    QString type = QLatin1String("4x");
    unsigned char value[2] = {1, 2};
    for (auto _ : state) {
        state.PauseTiming();
        initialiseDriver(100);
        state.ResumeTiming();
        for (int i = 0; i < 513; ++i)
            intf_setData(1, &type, i, 1, value, 0);
    }
    state.SetItemsProcessed(state.iterations() * 513);
}

void registerScenarios()
{
    for (const std::string &name : scenarioNames()) {
        if (name.rfind("plan", 0) == 0 || name.rfind("look_up", 0) == 0 || name == "nothing")
            continue; // measured below, over a range of sizes
        benchmark::RegisterBenchmark(("poll_step/" + name).c_str(),
                                     [name](benchmark::State &state) { runScenario(state, name); });
    }
}

} // namespace

BENCHMARK(lookUp)->Arg(100)->Arg(1000)->Arg(10000)->Arg(100000)->Arg(500000);
BENCHMARK(readOut)->Arg(1000)->Arg(500000);
BENCHMARK(planCyclicReads)->RangeMultiplier(10)->Range(100, 100000)->Unit(benchmark::kMillisecond);
BENCHMARK(planCyclicReads)->Arg(50000)->Unit(benchmark::kMillisecond);
BENCHMARK(registerRecipe)->RangeMultiplier(10)->Range(100, 100000)->Unit(benchmark::kMillisecond);
BENCHMARK(writeBurst)->Unit(benchmark::kMicrosecond);

int main(int argc, char **argv)
{
    registerScenarios();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
