/**
 * @file
 * A panel for the end-to-end tests: the built library, loaded as a panel loads
 * it, under the host kit's frame exchange. It hands
 * the driver every reply, the wrong ones too.
 */
#ifndef END_TO_END_PANEL_H
#define END_TO_END_PANEL_H

#include "kit/driver/block_memory.h"
#include "kit/driver/driver_library.h"
#include "kit/poll/frame_exchange.h"

#include <cstdint>
#include <string>
#include <vector>

class Panel
{
public:
    struct Settings
    {
        std::string property = "7#0#0#3#120";
        bool removeEcho = false;
    };

    Panel(rtu::Line &line, const Settings &settings);
    ~Panel();

    /** Empties the driver. @param property its property string */
    void configure(const std::string &property);
    /** Adds to what plan() makes a read plan of. */
    void watch(int station, const std::string &type, int address, int count);
    /** Result: frames in a round. */
    int plan();

    /** Sends one frame; there has to be one. */
    const rtu::Transaction &step();
    /** Verdicts of one request: steps until it is done with or given up. */
    std::vector<int> verdicts();
    /** Steps until a whole round of the plan has passed and nothing else is waiting. */
    void settle();
    /** Steps until a block transfer has ended. */
    void finishBlockTransfer();

    /** Values as the driver shows them: a bit, a register or a 32-bit value each. */
    std::vector<std::int64_t> shown(int station, const std::string &type, int address, int count);
    void write(int station, const std::string &type, int address, const std::vector<std::int64_t> &values);
    void readOnce(int station, const std::string &type, int address, int count);

    rtu::DriverLibrary driver;
    rtu::BlockMemory memory;           ///< its block request bytes
    std::vector<unsigned short> words; ///< that block transfers write from and read to
    std::vector<rtu::ValueChange> changes;
    std::vector<rtu::Transaction> transactions;

private:
    bool nextFrame();
    void judge();

    rtu::Line &m_line;
    std::atomic<bool> m_stopping{false};
    rtu::FrameExchange m_exchange;
    FRAME_PRO m_frame;
    rtu::Transaction m_transaction;
    bool m_resend = false;
    QList<KEY_ADDRESS> m_keys;
    int m_round = 0;
};

/** Units of the driver's counts in one value: two registers of a 32-bit value, else one. */
int unitsPerValue(const std::string &type);
bool isBitType(const std::string &type);

/** The function code that a frame carries. */
int functionOf(const rtu::Transaction &transaction);

#endif
