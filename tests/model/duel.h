/**
 * @file
 * The exported entry points and the plain driver side by side: one call on
 * both, then everything that a host or a test can see of them compared.
 *
 * A call is a kind and a seed, and all its arguments follow from the seed. So a
 * sequence of calls can be cut down to the few that matter and run again.
 */
#ifndef MODEL_DUEL_H
#define MODEL_DUEL_H

#include "model/faulty_slave.h"
#include "model/generators.h"
#include "model/plain_driver.h"
#include "support/host_memory.h"

#include <string>
#include <vector>

namespace model {

enum CallKind {
    DescriptorCalls, // protocol type, parameters, property pages
    SetCallBack,
    InitProperty,
    CheckAddrValidity,
    CheckAddr,
    RegListByType,
    RegDiscription,
    MultiCopy,
    SetRcpAddress,
    AddrMerge,
    AddConditionRead,
    GetSendFrame,
    DealRcvFrame,
    GetData,
    SetData,
    HostRequest, // the host itself sets or takes back a block request, or fills its word buffer
    CallKinds
};

struct Call
{
    CallKind kind;
    std::uint32_t seed;
    Spread spread;
};

/** One call of the value-change callback, with what the callback read back when it did. */
struct Event
{
    int link;
    int station;
    QString regType;
    int address;
    std::vector<unsigned char> readBack;
};

/** An argument, or seldom a null pointer, and what the driver is to take it for. */
template <typename Value>
struct Given
{
    Given(Random &random, Value &argument)
        : pointer(random.chance(1) ? nullptr : &argument)
        , value(pointer ? argument : Value())
    {
    }

    Value *const pointer;
    const Value value;
};

class Duel
{
public:
    Duel();
    ~Duel();

    /** Runs the call on both; the first difference, or an empty text. */
    std::string run(const Call &call);

    /** The last call with its arguments and results; kept only when asked for. */
    std::string trace;
    bool tracing = false;

    /** How often each kind of event occurred, to see that a run reaches everything. */
    struct Reach
    {
        int frames = 0;
        int accepted = 0;
        int resent = 0;
        int givenUp = 0;
        int changes = 0;
        int conditionEnds = 0;
        int recipeWords = 0;
        int blockTransfers = 0;
        int fullQueues = 0;
        int blockedHeads = 0;
        int remembered = 0;  ///< replies to requests whose last reply was known
        int unchanged = 0;   ///< those of them that said the same
        int nestedCalls = 0; ///< calls that callbacks made
    };
    Reach reach;

private:
    Duel(const Duel &);
    Duel &operator=(const Duel &);

    /** What each side has of its own. */
    struct Side : support::HostMemory
    {
        Side() : HostMemory(HostWords) {}
        std::vector<Event> events;
        std::uint32_t nestedCalls = 0; ///< by callbacks of the call that runs
    };

    static int realCallBack(int linkId, int station, QString *regType, int address);
    void onRealChange(int linkId, int station, const QString &regType, int address);
    void onPlainChange(int linkId, int station, const QString &regType, int address);
    bool readsBack(const QString &regType, int address) const;
    void callFromCallBack(Side &side, const QString &regType);
    void writeFromCallBack(Random &random, bool toDriver);
    void planFromCallBack(Random &random, bool toDriver);
    void setUpFromCallBack(Random &random, Side &side);

    std::string dispatch(const Call &call, Random &random);
    std::string descriptorCalls();
    std::string setCallBack(Random &random);
    std::string initProperty(Random &random);
    std::string checkAddrValidity(Random &random);
    std::string checkAddr(Random &random);
    std::string regListByType(Random &random);
    std::string regDiscription(Random &random);
    std::string multiCopy(Random &random);
    std::string setRcpAddress(Random &random);
    std::string addrMerge(Random &random, Spread spread);
    std::string addConditionRead(Random &random, Spread spread);
    std::string getSendFrame(Random &random);
    std::string dealRcvFrame(Random &random, Spread spread);
    void noteWhatIsRemembered(const QByteArray &reply);
    std::string getData(Random &random, Spread spread);
    std::string setData(Random &random, Spread spread);
    void hostRequest(Random &random);

    std::string compareSides();
    void note(const std::string &text);

    static Duel *current;

    PlainDriver plain;
    FaultySlave slave;
    Side realSide;
    Side plainSide;
    FRAME_PRO lastFrame = FRAME_PRO();
    bool answered = true;
    int readBackMode = 0;
    bool nesting = false; ///< callbacks of this call call the driver
    bool insideNested = false;
    std::uint32_t nestedSeed = 0;

    /** What the last write went to: some calls come back to it. */
    struct Target
    {
        int station = 1;
        QString regType = QLatin1String("4x_bit");
        int address = 3;
        int count = 2;
    };
    Target pickTarget(Random &random, Spread spread);
    Target lastWritten;
};

} // namespace model

#endif
