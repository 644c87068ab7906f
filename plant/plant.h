/**
 * @file
 * Simulated slaves on one serial line.
 *
 * A Plant holds several stations with their four tables and answers requests
 * in a thread of its own, either at the far end of a pseudo-terminal pair that
 * it makes itself (start()) or on a port that exists (serveOn()). The protocol
 * answers are libmodbus's; the plant adds what a server library does not have:
 * several stations on one line, holes in the tables, values that move, the time
 * that characters take on a real line, and faults.
 *
 * A pseudo-terminal has no baud rate. With a baud rate in the Line the plant
 * hands bytes over at the pace of a real line: a request counts as received
 * once its characters would have passed, the slave keeps its own silence and
 * turnaround delay, and the last byte of the answer comes when its last bit
 * would have been received. Without a baud rate it answers at once.
 *
 * Addresses are zero-based here; the text of simulation files counts from 1.
 *
 * Threads. Every member may be called from any thread while the plant runs,
 * but start(), serveOn(), stop(), unplug() and replug() not while another is called.
 */
#ifndef RTU_PLANT_H
#define RTU_PLANT_H

#include <modbus_rtu_host/line_parameters.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace plant {

enum class Table { Coils, DiscreteInputs, InputRegisters, HoldingRegisters };

/** How the bytes travel. */
struct Line
{
    int baud = 0;                         ///< 0: not paced, answers come at once
    int characterBits = 11;               ///< start, data, parity and stop bits of a character
    std::chrono::nanoseconds silence{-1}; ///< kept by the slaves before they answer; below 0: see silenceOf()
    std::chrono::nanoseconds lump{std::chrono::milliseconds(1)}; ///< bytes of a paced answer are handed over this often
    bool adapterTicks = false; ///< lumps at fixed ticks, the last one late, as USB adapters with a latency timer do
};

/** Time of one character; 0 when the line is not paced. */
std::chrono::nanoseconds characterTime(const Line &line);

/** The silence around frames: 3.5 characters, 1.75 ms above 19200 baud, 0 when not paced; or as set. */
std::chrono::nanoseconds silenceOf(const Line &line);

enum class FaultKind {
    NoReply,       ///< the request is not heard: nothing is done and nothing answered
    LateReply,     ///< the answer starts `value` milliseconds late
    WrongCrc,      ///< one byte of the check sum is wrong
    FlippedBit,    ///< one bit somewhere in the answer is wrong
    Truncated,     ///< the answer ends early by at least one byte
    TooLong,       ///< further bytes follow the answer
    WrongStation,  ///< the answer names another station, with the right check sum
    WrongFunction, ///< the answer names another function, with the right check sum
    Exception,     ///< exception answer with code `value`; nothing is done
    Echo,          ///< the request comes back before the answer, as on a two-wire line with local echo
    GarbageBefore  ///< noise before the answer
};

/** A fault that strikes matching requests. */
struct Fault
{
    enum { Any = -1, NoLimit = -1 };

    FaultKind kind = FaultKind::NoReply;
    double rate = 1.0;   ///< share of the matching requests that it strikes
    unsigned seed = 1;   ///< of the choice and of the random bytes and bits
    int station = Any;   ///< only this station
    int function = Any;  ///< only this function code
    int times = NoLimit; ///< strikes this often, then no more
    int value = 0;       ///< exception code, or lateness in milliseconds
};

/**
 * Reads a fault from words: a kind ("no-reply", "late-reply MS", "wrong-crc",
 * "flipped-bit", "truncated", "too-long", "wrong-station", "wrong-function",
 * "exception N", "echo", "garbage-before") and then, in any order, "rate R",
 * "seed N", "station N", "function N", "times N".
 *
 * @return false with the reason in @p error
 */
bool parseFault(const std::string &text, Fault *fault, std::string *error);

/** The name of a fault kind as parseFault() reads it. */
const char *faultName(FaultKind kind);

/** A value that moves by itself with time. */
struct Motion
{
    enum Shape {
        Ramp,    ///< from low to high in steps, then again from low
        Sine,    ///< between low and high in `period`
        Counter, ///< one more every `period`, wrapping at the width of the value
        Toggle   ///< 0 and 1 in turns, changing every `period`
    };

    Shape shape = Counter;
    std::int64_t low = 0;
    std::int64_t high = 65535;
    std::int64_t step = 1;
    std::chrono::milliseconds period{1000};
};

/** What happened to one station since the start. */
struct Counters
{
    unsigned long requests = 0;   ///< requests with a right check sum
    unsigned long answers = 0;    ///< answers sent, exceptions and faulty ones included
    unsigned long exceptions = 0; ///< exception answers
    unsigned long faults = 0;     ///< requests struck by a fault
};

/** Bytes on the line since the start, for a master that wants to know whether to wait. */
struct Traffic
{
    unsigned long heard = 0;   ///< taken from the master; what they ask for has been scheduled
    unsigned long sent = 0;    ///< handed over to the master
    unsigned long waiting = 0; ///< scheduled, their time has not come
    bool inRequest = false;    ///< a request has begun and not ended
};

/** Bytes that go back on the line because of a request. */
struct Outgoing
{
    std::vector<std::uint8_t> bytes;
    std::chrono::nanoseconds delay{0}; ///< beyond the silence after the request
    bool echo = false;                 ///< travels together with the request itself
};

class Plant
{
public:
    Plant();
    ~Plant();
    Plant(const Plant &) = delete;
    Plant &operator=(const Plant &) = delete;

    // --- description -----------------------------------------------------------

    /** Adds what a simulation file describes; see plant/README.md for the format. */
    bool loadFile(const std::string &path, std::string *error);
    /** The same from text; @p name stands in messages. */
    bool loadText(const std::string &text, const std::string &name, std::string *error);

    void setLine(const Line &line);
    Line line() const;
    void addStation(int station);
    std::vector<int> stations() const;
    /** Delay of a station's answers beyond the silence. */
    void setTurnaround(int station, std::chrono::nanoseconds delay);
    /** Makes addresses exist; all others are holes, which answer exception 2. */
    void define(int station, Table table, int first, int count, std::uint16_t value = 0);
    /** Makes addresses holes again. */
    void makeHole(int station, Table table, int first, int count);
    /** Lets the value at an address move; with two registers it is 32 bits wide, high word first. */
    void setMotion(int station, Table table, int address, const Motion &motion, int registers = 1);

    // --- running -----------------------------------------------------------------

    /**
     * Starts answering at the far end of a new pseudo-terminal pair.
     *
     * @param link where to put a symbolic link to the device, so that its path
     *        outlives unplug() and replug(); empty for none
     */
    bool start(std::string *error, const std::string &link = std::string());
    /** What a master opens after start(): the link, or the device itself. */
    std::string devicePath() const;
    /** Starts answering on an existing port. A real port paces itself; the Line's baud rate serves pseudo-terminals. */
    bool serveOn(const std::string &port, const rtu::LineParameters &parameters, std::string *error);
    void stop();
    /** False before start() or serveOn(), after stop(), and when the port of serveOn() went away. */
    bool running() const;

    /** Takes the device of start() away: its path vanishes, an open descriptor sees a hang-up. */
    void unplug();
    bool replug(std::string *error);

    // --- at run time ---------------------------------------------------------------

    /** A station that is off hears nothing. */
    void setStationOn(int station, bool on);
    bool stationIsOn(int station) const;

    void addFault(const Fault &fault);
    void clearFaults();

    /** The value that a station holds now; 0 where there is none. */
    std::uint16_t peek(int station, Table table, int address) const;
    void poke(int station, Table table, int address, std::uint16_t value);
    /** Two registers, high word first. */
    std::uint32_t peekDouble(int station, Table table, int address) const;
    void pokeDouble(int station, Table table, int address, std::uint32_t value);

    /** Stops the moving values where they are, and lets them go on from there. */
    void holdMotion(bool hold);

    Counters counters(int station) const;

    /** Does what a request with a right check sum asks for, without a port: for masters on virtual time. */
    std::vector<Outgoing> answer(const std::vector<std::uint8_t> &request);

    Traffic traffic() const;
    /** Hands over at once what waits for its time. */
    void sendWaiting();

    /** Keeps the bytes of all requests from now on, as heard on the line, for requests(). */
    void recordRequests(bool record);
    std::vector<std::vector<std::uint8_t>> requests() const;

private:
    class Core;
    std::unique_ptr<Core> core;
};

} // namespace plant

#endif
