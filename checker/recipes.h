/**
 * @file
 * The recipe table as a whole, and the transfers that a host asks for with its
 * two request bytes.
 *
 * Not locked: the caller serialises the calls.
 */
#ifndef CHECKER_RECIPES_H
#define CHECKER_RECIPES_H

#include "checker/settings.h"

#include <QtCore/QVector>

namespace checker {

class Findings;

/** The two request bytes, as they stood under the host's mutex. */
struct RequestBytes
{
    int load; ///< byte 60115: buffer to slaves
    int save; ///< byte 60116: slaves to buffer
};

/** Reads the request bytes under the host's mutex; zeros where the host has none. */
RequestBytes readRequestBytes(const Settings &settings);

class Recipes
{
public:
    Recipes();

    /** intf_setRcpAddress(): checks the rows of this link and how they lie to each other. */
    void registerRows(const QVector<_RCP_VAR_PRO> &rows, const Settings &settings, Findings &findings);

    /** True from the first answered block of a transfer until its last. */
    bool isHalfDone() const { return halfDone != NoTransfer; }

    /** The driver is about to choose a transaction. */
    void beforeChoice(const RequestBytes &bytes, Findings &findings);

    /**
     * The driver has chosen, and given out a frame or not.
     * @param after the bytes now
     */
    void chosen(bool frameGiven, const RequestBytes &after, const Settings &settings);

    /** True while the frame on the line is one of a transfer. */
    bool inFlight() const { return flying != NoTransfer; }

    /**
     * The last frame of a transaction has been judged.
     * @param before the bytes when the reply was handed in
     * @param after the bytes now
     * @param accepted the reply was good
     */
    void judged(const RequestBytes &before, const RequestBytes &after, bool accepted, Findings &findings);

private:
    enum Transfer { NoTransfer, Load, Save };

    static bool asksFor(Transfer transfer, const RequestBytes &bytes);
    bool lacksWords(const Settings &settings) const;
    void checkBytes(const RequestBytes &bytes, Findings &findings) const;
    void checkInterruption(const RequestBytes &bytes, Findings &findings);
    void checkRowsFor(Transfer transfer, Findings &findings) const;

    QVector<_RCP_VAR_PRO> own; ///< the rows of this link, as registered last
    Transfer requested;        ///< what the bytes ask the driver for
    Transfer flying;           ///< what the frame on the line belongs to
    Transfer halfDone;         ///< has sent some of its blocks
};

} // namespace checker

#endif
