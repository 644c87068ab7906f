/**
 * @file
 * A host that calls the driver at random and keeps to the guide in everything,
 * on a line where all sorts of things go wrong.
 */
#ifndef LEGAL_HOST_H
#define LEGAL_HOST_H

#include "checker/checked_host.h"
#include "property/virtual_line.h"
#include "support/random.h"

#include <string>

namespace checked {

class LegalHost
{
public:
    explicit LegalHost(std::uint32_t seed);

    /** One call, or one request and its reply. */
    void step();

    /** What happened, to see that a run reaches everything. */
    struct Reach
    {
        int replies = 0;
        int dropped = 0;
        int timeOuts = 0;
        int givenUp = 0;
        int writes = 0;
        int oneOffReads = 0;
        int transfers = 0;
        int reports = 0;
    };
    static Reach reach;

private:
    /** A range that one call may be about. */
    struct Range
    {
        int station;
        QString type;
        int address;
        int count;
    };

    void setUp();
    void makePlan();
    void registerRows();
    void poll();
    void write();
    void read();
    void readOnce();
    void requestTransfer();
    void askEditorCalls();
    bool transferUnderWay();

    Range range(const QString &type, int longest);
    QString anyType();
    static bool isBits(const QString &type);
    static bool isDouble(const QString &type);
    static bool answers(const QByteArray &reply, const FRAME_PRO &frame);

    CheckedHost host;
    support::Random random;
    property::VirtualLine line;
    int link = 1;
    int words = 32;
    bool rowsKnown = false;
    bool rowsLoadable = false;
    std::string swapStations; ///< the list only grows
};

} // namespace checked

#endif
