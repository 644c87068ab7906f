/**
 * @file
 * One line with its own copy of the driver: polled, written to, kept in order.
 *
 * @code
 *   rtu::LinkSettings settings;
 *   settings.port = "/dev/ttyUSB0";
 *   rtu::Link link(settings);
 *   rtu::Tag level = link.addTag(rtu::TagDefinition(1, "4x100"));
 *   link.onChange([](const rtu::TagChange &change) { ... });
 *   link.start();
 *   link.write(level, 12.5);
 * @endcode
 */
#ifndef MODBUS_RTU_HOST_LINK_H
#define MODBUS_RTU_HOST_LINK_H

#include <modbus_rtu_host/error.h>
#include <modbus_rtu_host/line.h>
#include <modbus_rtu_host/link_settings.h>
#include <modbus_rtu_host/one_off_read.h>
#include <modbus_rtu_host/recipe_row.h>
#include <modbus_rtu_host/statistics.h>
#include <modbus_rtu_host/tag.h>
#include <modbus_rtu_host/tag_change.h>
#include <modbus_rtu_host/transaction.h>
#include <modbus_rtu_host/transfer.h>
#include <modbus_rtu_host/write.h>
#include <modbus_rtu_host/write_options.h>

#include <functional>
#include <memory>
#include <vector>

namespace rtu {

class LinkCore;

/** What a step did. */
enum class LinkStep {
    Idle,   ///< nothing to send now; see Link::nextStep()
    Done,   ///< one frame was sent and its reply judged
    NoPort, ///< the port is not there; see Link::nextStep()
    Stopped ///< stop() was called meanwhile
};

/**
 * Either call start(), and the link polls on a thread of its own, or call step()
 * from a loop of yours: not both at a time.
 *
 * Threads. Every call from any thread, save that step() belongs to one thread at a
 * time. Callbacks run on the link's thread (the one that steps), with no lock held.
 * They may call the link, stop it and destroy it, and may throw: what they throw
 * ends there and is counted.
 *
 * Errors. What the caller does wrong, and what cannot be opened, throws Error. What
 * happens on the line comes as a result.
 */
class MODBUS_RTU_HOST_EXPORT Link
{
public:
    /** Loads a copy of the driver; opens no port yet. @throws Error */
    explicit Link(const LinkSettings &settings);
    /** The same over a line of the caller's, such as one on virtual time. settings.port is not looked at. */
    Link(const LinkSettings &settings, std::unique_ptr<Line> line);
    /**
     * Stops. What has not ended, ends: writes as not sent, rows as not tried, or unconfirmed when on the line.
     * Whoever is told of it and asks this link for more gets an Error.
     */
    ~Link();
    Link(const Link &) = delete;
    Link &operator=(const Link &) = delete;

    // --- tags ----------------------------------------------------------------------

    /** Watches a tag from the next round on; however often tags come and go, each round is made whole. @throws Error */
    Tag addTag(const TagDefinition &definition);
    /** Watches it no more, from the next round on. */
    void removeTag(const Tag &tag);
    std::vector<Tag> tags() const;

    // --- calls back; set them before start() or the first step() ---------------------

    void onChange(std::function<void(const TagChange &)> listener);
    /** The port came (true) or went (false). */
    void onPort(std::function<void(bool open)> listener);
    /** What is worth telling people, such as tags that had to be taken out of the plan. */
    void onNotice(std::function<void(const QString &text)> listener);
    /** Every tag without a pace of its own had its turn; those of silent stations without being read. */
    void onRound(std::function<void()> listener);
    /** Every frame that went over the line. */
    void onTransaction(std::function<void(const Transaction &)> observer);

    // --- polling ---------------------------------------------------------------------

    /** Opens the port now. @throws Error with the reason when it is not to be had */
    void open();
    /**
     * Polls on a thread of its own until stop(). A port that is away is tried again and again. Refused in a callback
     * of a step(), and in one that has stopped the link: start it afterwards.
     *
     * @throws Error
     */
    void start();
    /** Ends the polling, soon, whatever the line does. Tags, waiting writes and reads stay; start() goes on. */
    void stop();
    bool running() const;

    /**
     * Does the next thing: at most one frame and its reply. Waits for the line alone. Refused in a callback of the
     * link's own thread: step it afterwards.
     *
     * @throws Error
     */
    LinkStep step();
    /** After LinkStep::Idle or NoPort: when there may be something to do. Anything asked for comes earlier. */
    TimePoint nextStep() const;

    // --- asking ------------------------------------------------------------------------

    /**
     * Writes a number, in the tag's format and scale. The tag shows it from the next
     * step on, with Quality::Unconfirmed. A write to the same tag that still waits is
     * replaced.
     *
     * @throws Error when the tag cannot be written or cannot hold the number
     */
    Write write(const Tag &tag, double number, const WriteOptions &options = WriteOptions());
    /** All values of a tag. */
    Write write(const Tag &tag, const std::vector<double> &numbers, const WriteOptions &options = WriteOptions());
    /** A text of characters of Latin-1, for tags of TagFormat::Text. */
    Write write(const Tag &tag, const QString &text, const WriteOptions &options = WriteOptions());
    /** Values that no tag watches; station 0 writes to all slaves. */
    Write write(const TagDefinition &where, const std::vector<double> &numbers,
                const WriteOptions &options = WriteOptions());

    /** Reads once. @param done called with the end as WriteOptions::done. @throws Error */
    OneOffRead read(const TagDefinition &where, std::function<void(const ReadResult &)> done = nullptr);

    /**
     * Writes the rows to the slaves. A row that fails does not keep those after it from being tried.
     *
     * @throws Error also where LinkSettings::localWritesOnly keeps writes from the slaves
     */
    Transfer load(const std::vector<RecipeRow> &rows, std::function<void(const TransferResult &)> done = nullptr);
    /** Reads the rows from the slaves. @throws Error */
    Transfer save(const std::vector<RecipeRow> &rows, std::function<void(const TransferResult &)> done = nullptr);
    /** Reads the rows and compares them with their numbers. @throws Error */
    Transfer compare(const std::vector<RecipeRow> &rows, std::function<void(const TransferResult &)> done = nullptr);

    // --- looking -----------------------------------------------------------------------

    LinkStatistics statistics() const;
    LinkSettings settings() const;

private:
    std::shared_ptr<LinkCore> m_core;
};

} // namespace rtu

#endif
