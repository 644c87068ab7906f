/**
 * @file
 * A host that calls the driver at random, as a host may, and watches the rules.
 */
#ifndef PROPERTY_RANDOM_HOST_H
#define PROPERTY_RANDOM_HOST_H

#include "property/cache_shadow.h"
#include "property/findings.h"
#include "property/poll_rules.h"
#include "property/virtual_line.h"
#include "support/host_memory.h"

#include <deque>
#include <string>
#include <vector>

namespace property {

class RandomHost : private support::HostMemory
{
public:
    explicit RandomHost(std::uint32_t seed);
    ~RandomHost();

    /** One call, or one request and its reply. */
    void step();

    Findings findings;
    PollRules rules;
    CacheShadow shadow;
    VirtualLine line;

    int recipeWordsCompared = 0;
    int slaveElementsCompared = 0;
    int editorCalls = 0;

    /** The last steps, oldest first. */
    std::string tail() const;

private:
    RandomHost(const RandomHost &);
    RandomHost &operator=(const RandomHost &);

    enum { HostWords = 2048 };

    void note(const std::string &text);

    void initialise();
    void buildPlan();
    void registerRecipes();
    void poll();
    void deal(const FRAME_PRO &frame, const QByteArray &reply);
    void checkSlave(const VARIABLE &unit);
    void writeSomething();
    void readSomething();
    void askForConditionRead();
    void askForTransfer();
    void compareTransfer(int requestByte);
    void editorCall();
    void describe();

    int randomStation() { return random.between(1, 3); }
    int randomStart(const QString &regType);

    support::Random random;
    support::ChangeRecorder recorder;
    std::deque<std::string> history;
    QVector<_RCP_VAR_PRO> rows;
    bool rowsWritable = false;
    bool transactionGenuine = false; ///< every reply of the transaction so far was the right one
    bool transferGenuine = false;    ///< every reply of the transfer so far was the right one
    bool flooding = false;
    int linkId = 0;
    int limit = 0;
    bool localOnly = false;
    int nextTag = 1000;
};

} // namespace property

#endif
