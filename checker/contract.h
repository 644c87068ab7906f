/**
 * @file
 * The contract of one driver: what every call is checked against before and
 * after it is forwarded. Nothing is forwarded here.
 *
 * Threads: every function may be called from any thread. The lock is never held
 * while something of the host runs: no callback, no host function, no host mutex.
 */
#ifndef CHECKER_CONTRACT_H
#define CHECKER_CONTRACT_H

#include "checker/active_calls.h"
#include "checker/recipes.h"
#include "checker/replies.h"
#include "checker/reporter.h"
#include "checker/requests.h"
#include "checker/settings.h"

#include <mutex>

namespace checker {

class Contract
{
public:
    typedef ActiveCalls::List::iterator Visit;

    /** Stands where a call has no further object. */
    static const char nothingElse[];

    Contract();

    /** Tells of something that no call has to do with. */
    void tell(FindingId id, EntryPoint call, const std::string &wrong);

    /** The thread is about to enter the driver; tells what is wrong with that. */
    Visit enter(EntryPoint call);
    void leave(Visit visit);

    void callBackBegins(int station, const QString *type, int address);
    void callBackEnds();

    /** An editor call: objects that it cannot do without. */
    void editorCalled(EntryPoint call, const void *first, const void *second = nothingElse,
                      const void *third = nothingElse);
    void callBackSet(bool isNull);
    void initialising(const InitArguments &arguments);
    void rowsRegistered(const QVector<_RCP_VAR_PRO> *rows);
    void planBuilt(const QList<KEY_ADDRESS> *keys);
    void readAsked(const KEY_ADDRESS *key, int tag);
    void valuesRead(int station, const QString *type, int address, int count, const unsigned char *out);
    void valuesWritten(int station, const QString *type, int address, int count, const unsigned char *data);

    void beforeSendFrame(const FRAME_PRO *out);
    void afterSendFrame(const FRAME_PRO *out, int result);
    /** @return the request bytes, for afterReply() */
    RequestBytes beforeReply(const QByteArray *reply, const QString *information);
    void afterReply(const RequestBytes &before, int verdict);

    /** Tells of calls and callbacks that have been under way for @p patience. */
    void checkStalls(Clock::duration patience);

    /** The library is about to be unloaded. */
    void unloading();

private:
    Contract(const Contract &);
    Contract &operator=(const Contract &);

    class Session;

    void checkOrder(EntryPoint call, Findings &findings);
    void checkPhase(EntryPoint call, Findings &findings);
    void checkCallBackOrder(EntryPoint call, Findings &findings) const;
    void checkStall(ActiveCall &call, Clock::duration patience, Findings &findings);
    bool readsWhatIsReported(const Request &request);
    Settings settingsNow();

    Reporter reporter;
    std::mutex mutex; ///< over all that follows
    ActiveCalls active;
    Settings settings;
    Recipes recipes;
    Replies replies;
    bool initialised;
    bool callBackKnown;
    bool planKnown; ///< there is a plan
    bool planLost;  ///< there was one, and intf_initProperty() emptied it
};

} // namespace checker

#endif
