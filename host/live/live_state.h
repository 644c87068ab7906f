/**
 * @file
 * What the user of the live view is doing, and what the keys do about it.
 */
#ifndef RTU_HOST_LIVE_STATE_H
#define RTU_HOST_LIVE_STATE_H

#include "host/tags/tag.h"
#include "host/report/trace.h"

#include <string>
#include <vector>

namespace rtu {

/** One value on the screen. */
struct LiveRow
{
    std::size_t tag;
    int value;
};

std::vector<LiveRow> liveRows(const std::vector<TagRange> &tags);

/** In which the values are listed. */
enum class RowOrder { AsGiven, ByName, ByAddress, LastChanged, TroubleFirst };

/** Keys that have no character. */
enum LiveKey {
    KeyUp = 0x110000, ///< beyond every character
    KeyDown,
    KeyLeft,
    KeyRight,
    KeyPageUp,
    KeyPageDown,
    KeyHome,
    KeyEnd,
    KeyEnter,
    KeyEscape,
    KeyBackspace,
    KeyDelete
};

/** What the keys can do outside of the screen. Texts returned are messages for the user. */
class LiveActions
{
public:
    virtual ~LiveActions() = default;

    /** Why the value cannot be written; empty when it can. */
    virtual std::string refusal(const LiveRow &row) = 0;
    /** The value as it would be typed; empty where none has been read yet. */
    virtual std::string currentValue(const LiveRow &row) = 0;
    /** False with the reason in @p message when the text is no value. */
    virtual bool write(const LiveRow &row, const std::string &text, std::string *message) = 0;
    /** Turns a bit over. */
    virtual std::string toggle(const LiveRow &row) = 0;
    /** Writes that have not been sent or answered yet: "1:4x5 = 7". */
    virtual std::vector<std::string> waitingWrites() = 0;
    /** Takes back those that have not been sent. */
    virtual std::string cancelWrites() = 0;
    /** Reads the tag at once. */
    virtual std::string readNow(const LiveRow &row) = 0;
    /** Name and address, as a search finds them. */
    virtual std::string rowText(const LiveRow &row) = 0;
    virtual std::vector<LiveRow> ordered(RowOrder order) = 0;
    /** Shows the tag in another format from now on. */
    virtual std::string changeFormat(const LiveRow &row) = 0;

    /** False for a real port: the calls below do nothing then. */
    virtual bool simulated() const = 0;
    virtual bool addFault(const std::string &text, std::string *message) = 0;
    virtual std::string clearFaults() = 0;
    virtual std::string switchStation(const LiveRow &row) = 0;
    virtual std::string pullPlug() = 0;
};

class LiveState
{
public:
    enum class Mode { Browse, Edit, Fault, Search, Help };

    LiveState(std::vector<LiveRow> rows, LiveActions &actions) : m_rows(std::move(rows)), m_actions(actions) {}

    void press(int key);

    const std::vector<LiveRow> &rows() const { return m_rows; }
    std::size_t selected() const { return m_selected; }
    Mode mode() const { return m_mode; }
    bool typing() const { return m_mode != Mode::Browse && m_mode != Mode::Help; }
    bool simulated() const { return m_actions.simulated(); }
    std::vector<std::string> waitingWrites() const { return m_actions.waitingWrites(); }
    const std::string &input() const { return m_input; }
    std::size_t inputCursor() const { return m_cursor; }
    const std::string &message() const { return m_message; }
    void setMessage(const std::string &message) { m_message = message; }
    /** The line is free, or has an older remark. */
    bool takesRemark() const { return m_message.empty() || m_message == m_remark; }
    void setRemark(const std::string &remark) { m_message = m_remark = remark; }
    bool tallTrace() const { return m_tallTrace; }
    /** The course of the chosen value is drawn. */
    bool trend() const { return m_trend; }
    /** First line of the keys on the screen. */
    std::size_t helpTop() const { return m_helpTop; }
    /** Lines of the keys that fit, and how many there are. */
    void setHelpPage(std::size_t lines, std::size_t all);
    bool tracePaused() const { return m_tracePaused; }
    bool quit() const { return m_quit; }

    /** Lines that the held trace is scrolled back by. */
    std::size_t traceBack() const { return m_traceBack; }

    /** Rows that the tag table shows now; for paging. */
    void setPage(std::size_t rows) { m_page = rows; }
    /** Lines that the trace shows now, and how far back it can go. */
    void setTracePage(std::size_t lines, std::size_t furthest);

private:
    void browse(int key);
    void look(int key);
    void scrollHelp(int key);
    void sort();
    void beginSearch();
    bool find(std::size_t from, std::ptrdiff_t step);
    void findNext(std::ptrdiff_t step);
    void typeSearch(int key);
    void edit(int key);
    void move(std::ptrdiff_t by);
    void select(std::size_t row);
    void beginEdit();
    void beginInput(Mode mode, const std::string &text);
    void type(int key);
    void finishInput();
    void act(int key);
    void simulate(int key);
    void holdTrace(bool hold);

    std::vector<LiveRow> m_rows;
    LiveActions &m_actions;
    std::size_t m_selected = 0;
    std::size_t m_page = 10;
    Mode m_mode = Mode::Browse;
    std::string m_input;
    bool m_untouched = false; ///< the old value still stands there whole
    std::size_t m_cursor = 0;
    std::string m_message;
    std::string m_remark; ///< the last one that was shown
    std::size_t m_tracePage = 3;
    std::size_t m_traceBack = 0;
    std::string m_sought;
    std::size_t m_searchFrom = 0;
    RowOrder m_order = RowOrder::AsGiven;
    std::size_t m_helpTop = 0;
    std::size_t m_helpPage = 1;
    std::size_t m_helpLines = 0;
    bool m_trend = false;
    bool m_tallTrace = false;
    bool m_tracePaused = false;
    bool m_quit = false;
};

} // namespace rtu

#endif
