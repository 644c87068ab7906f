#include "model/call_sequences.h"

#include <algorithm>

namespace model {

namespace {

struct Phase
{
    const char *name;
    Spread spread;
    int weights[CallKinds]; // in the order of CallKind
};

const Phase phases[] = {
    //                       desc cb init va ca rl rd mc rcp am cond send deal get set host
    {"everything", Narrow, {1, 1, 1, 3, 3, 1, 1, 2, 2, 4, 8, 30, 30, 10, 20, 2}},
    {"polling", Narrow, {0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 4, 60, 60, 4, 6, 1}},
    {"steady polling", Calm, {0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 6, 400, 400, 8, 10, 1}},
    {"writing bits", Narrow, {0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 40, 40, 5, 40, 0}},
    {"write flood", Wide, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 4, 4, 2, 80, 0}},
    {"read flood", Wide, {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 80, 4, 4, 2, 4, 0}},
    {"recipes", Narrow, {0, 0, 0, 0, 0, 0, 0, 0, 4, 2, 3, 60, 60, 2, 6, 15}},
    {"planning", Narrow, {0, 1, 2, 1, 1, 0, 0, 0, 10, 30, 5, 15, 15, 10, 5, 1}},
    {"editing", Narrow, {5, 0, 0, 40, 40, 4, 8, 20, 0, 0, 0, 0, 0, 0, 0, 0}},
};

enum { SteadyPhase = 2 };

CallKind pickKind(Random &random, const Phase &phase)
{
    int total = 0;
    for (int weight : phase.weights)
        total += weight;
    int at = random.below(total);
    for (int kind = 0; kind < CallKinds; ++kind) {
        at -= phase.weights[kind];
        if (at < 0)
            return static_cast<CallKind>(kind);
    }
    return GetSendFrame;
}

} // namespace

std::vector<Call> randomCalls(std::uint32_t seed, int steps)
{
    Random random(seed);
    std::vector<Call> calls;
    // Some sequences begin before the host has set anything up.
    if (!random.chance(10)) {
        calls.push_back({SetCallBack, random.next(), Narrow});
        calls.push_back({InitProperty, random.next(), Narrow});
        calls.push_back({AddrMerge, random.next(), Narrow});
    }
    while (static_cast<int>(calls.size()) < steps) {
        const int phaseCount = static_cast<int>(sizeof phases / sizeof phases[0]);
        const int number = random.chance(25) ? 0 : random.chance(38) ? SteadyPhase : random.below(phaseCount);
        const Phase &phase = phases[number];
        // A flood comes on a fresh, widely split queue, else it takes too long to fill.
        const int length = phase.spread == Wide ? random.between(50, 500) : random.between(20, 300);
        if (random.chance(50)) {
            calls.push_back({InitProperty, random.next(), phase.spread});
            calls.push_back({AddrMerge, random.next(), phase.spread});
        }
        if (random.chance(30))
            calls.push_back({SetCallBack, random.next(), phase.spread});
        for (int i = 0; i < length; ++i)
            calls.push_back({pickKind(random, phase), random.next(), phase.spread});
    }
    calls.resize(static_cast<size_t>(std::max(steps, 1)), Call{GetSendFrame, 0, Narrow});
    return calls;
}

Disagreement runCalls(const std::vector<Call> &calls, Duel::Reach *reach)
{
    Duel duel;
    Disagreement result = {calls.size(), std::string()};
    for (size_t i = 0; i < calls.size() && result.difference.empty(); ++i) {
        result.difference = duel.run(calls[i]);
        result.step = i;
    }
    if (reach != nullptr)
        *reach = duel.reach;
    return result;
}

namespace {

bool disagrees(const std::vector<Call> &calls)
{
    return !runCalls(calls).difference.empty();
}

std::string tracedTail(const std::vector<Call> &calls)
{
    Duel duel;
    duel.tracing = true;
    std::vector<std::string> lines;
    std::string difference;
    for (size_t i = 0; i < calls.size() && difference.empty(); ++i) {
        difference = duel.run(calls[i]);
        lines.push_back(duel.trace);
    }
    std::string tail;
    for (size_t i = lines.size() > 40 ? lines.size() - 40 : 0; i < lines.size(); ++i)
        tail += "  " + lines[i] + "\n";
    return tail + "  -> " + difference + "\n";
}

} // namespace

// Drops ever smaller runs of calls as long as the drivers still disagree.
std::string shortestTail(std::vector<Call> calls, size_t failingStep)
{
    calls.resize(std::min(calls.size(), failingStep + 1), Call{GetSendFrame, 0, Narrow});
    int attempts = 0;
    for (size_t chunk = (calls.size() + 1) / 2; chunk >= 1; chunk = chunk == 1 ? 0 : (chunk + 1) / 2) {
        for (size_t at = 0; at < calls.size() && attempts < 3000;) {
            std::vector<Call> shorter(calls);
            const auto first = shorter.begin() + static_cast<std::ptrdiff_t>(at);
            shorter.erase(first, first + static_cast<std::ptrdiff_t>(std::min(chunk, calls.size() - at)));
            ++attempts;
            if (disagrees(shorter))
                calls.swap(shorter);
            else
                at += chunk;
        }
    }
    return tracedTail(calls);
}

} // namespace model
