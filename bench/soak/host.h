/**
 * @file
 * The host of the soak: it polls, writes, asks for one-off reads and moves
 * recipes, keeps a screen that shows what the driver reports, and books every
 * request.
 *
 * Beyond the plain use of the entry points it does two things for its screen. It
 * reads anew what a write covered when that write is acknowledged: the driver
 * reports nothing then, although a value read in between may have been shown. And
 * it reads all bits of a register anew when a bit write of it ends: the report
 * names the first bit of that write alone.
 */
#ifndef SOAK_HOST_H
#define SOAK_HOST_H

#include "line.h"

#include "driver/modbus_rtu_interface.h"
#include "tests/support/host_memory.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace soak {

/** Everything that is booked. */
struct Books
{
    long transactions = 0;
    long accepted = 0;
    long sentAgain = 0;
    long givenUp = 0;
    long reports = 0;
    long writesIssued = 0;
    long writesAcknowledged = 0;
    long writesFailed = 0;
    long writesReplaced = 0; ///< by a newer one to the same place, before they were sent
    long readsAsked = 0;     ///< one-off reads
    long readsEnded = 0;
    long readsFailed = 0;
    long recipesAsked = 0;
    long recipesEnded = 0;
    long recipesFailed = 0;

    std::vector<std::string> disagreements; ///< the first few
    long disagreementCount = 0;

    void disagree(const std::string &what);
};

class Host : private support::HostMemory
{
public:
    Host(Plant &plant, Line &line, const Precautions &precautions, std::uint32_t seed);
    ~Host();

    /** One transaction, with what the host does between two of them. */
    void step();

    /** Polls until all that was asked for has ended. */
    void rest();

    /** The same, then the whole plan once more over a line without faults. */
    void settle();

    /** Compares cache, screen and slaves element by element, and the books with each other. */
    void judge();

    Books books;

private:
    /** A place that the host writes to. */
    struct Place
    {
        int station;
        const char *type;
        int address;
        int count;
        int issued;  ///< number of the newest write
        int ended;   ///< number of the write that ended last
        bool failed; ///< the one that ended last was given up
    };

    /** One element on the screen, and what it shows. */
    struct Item
    {
        int station;
        const char *type;
        int address;
        long shown;
    };

    static int callBack(int linkId, int station, QString *regType, int address);
    static Host *current;

    void plan();
    void watch(QList<KEY_ADDRESS> &keys, int station, const char *type, int first, int count);
    void addPlaces();
    void registerRecipes();
    void fillCache();

    void report(int linkId, int station, const QString &type, int address);
    void refresh(int station, const QString &type, int address);
    void refreshRegister(int station, int address);
    void refreshCovered(const VARIABLE &unit);
    void showReported();

    void act();
    void write();
    void askForRead();
    void startRecipe();
    void endRecipe();

    void poll();
    void judgeWrite(const FRAME_PRO &frame, int verdict, const QString &information);
    bool slaveHolds(const Place &place, int number);
    bool recipeWordsMatch();
    void judgeScreen();

    std::vector<unsigned char> dataOf(const Place &place, int number) const;
    long valueOf(const Item &item) const;
    long slaveValueOf(const Item &item);
    bool busy() const;

    Plant &plant;
    Line &line;
    const Precautions precautions;
    Random random;
    std::vector<Place> places;
    std::vector<Item> items;
    std::unordered_map<std::string, std::size_t> itemOf;
    std::vector<std::size_t> reported; ///< items to be read anew after the call of the driver
    int planLength;
    bool readWaits;    ///< a one-off read has been asked for and has not ended
    int recipeRequest; ///< request byte of the transfer that runs, 0 for none
    bool recipeGivenUp;
};

} // namespace soak

#endif
