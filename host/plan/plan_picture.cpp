/**
 * @file
 * The plan as a picture: one strip of addresses for each request, in groups by
 * station and with its place in the round, tags in colours, unused elements hatched.
 */
#include "host/plan/plan_view.h"

#include "host/text/numbers.h"
#include "host/text/text_width.h"
#include "host/text/wall_clock.h"

#include <algorithm>

namespace rtu {

namespace {

const double PageWidth = 960;
const double Margin = 20;
const double LabelWidth = 170;
const double NumberWidth = 26;
const double NoteWidth = 150;
const double StripHeight = 22;
const double StripStep = 46;
const double LineStep = 18;
const double WidestElement = 28;
const double LetterWidth = 6.2;
const double SmallLetterWidth = 5;

const char *const colours[] = {"#4e79a7", "#f28e2b", "#59a14f", "#b07aa1", "#edc948", "#76b7b2", "#e15759", "#9c755f"};

std::string number(double value)
{
    return fixed(value, 1);
}

std::string escaped(const std::string &text)
{
    std::string result;
    for (char c : text) {
        if (c == '&')
            result += "&amp;";
        else if (c == '<')
            result += "&lt;";
        else if (c == '>')
            result += "&gt;";
        else
            result += c;
    }
    return result;
}

std::string textAt(double x, double y, const std::string &text, const std::string &style)
{
    return "<text x=\"" + number(x) + "\" y=\"" + number(y) + "\" " + style + ">" + escaped(text) + "</text>\n";
}

std::string boxAt(double x, double y, double width, const std::string &fill, const std::string &title)
{
    return "<rect x=\"" + number(x) + "\" y=\"" + number(y) + "\" width=\"" + number(width) + "\" height=\""
           + number(StripHeight) + "\" fill=\"" + fill + "\" stroke=\"#ffffff\"><title>" + escaped(title)
           + "</title></rect>\n";
}

class Picture
{
public:
    explicit Picture(const PlanView &plan) : m_plan(plan) {}

    std::string draw()
    {
        drawTitle();
        for (int station : m_plan.stations()) {
            drawStation(station);
            for (std::size_t i = 0; i < m_plan.blocks().size(); ++i) {
                if (m_plan.blocks()[i].station == station)
                    drawBlock(m_plan.blocks()[i], i + 1);
            }
        }
        drawWarnings();
        return frame();
    }

private:
    /** Elements of all strips have the same width, so that lengths can be compared. */
    double elementWidth() const
    {
        int longest = 1;
        for (const PlanBlock &block : m_plan.blocks())
            longest = std::max(longest, block.count);
        return std::min(WidestElement, (PageWidth - 2 * Margin - LabelWidth - NoteWidth) / longest);
    }

    void drawTitle()
    {
        m_body += textAt(Margin, m_y += LineStep,
                         "Cyclic plan: " + std::to_string(m_plan.blocks().size()) + " requests a round, "
                             + durationText(m_plan.roundTime()) + " of line time"
                             + (m_plan.costs().line.baud > 0 ? " at " + lineName(m_plan.costs().line) : ""),
                         "font-size=\"15\" font-weight=\"bold\"");
    }

    void drawStation(int station)
    {
        m_y += LineStep + 8;
        m_body += textAt(Margin, m_y,
                         "Station " + std::to_string(station) + " (dead: " + durationText(m_plan.deadTime(station))
                             + " a round)",
                         "font-size=\"13\" font-weight=\"bold\"");
        m_y += 8;
    }

    /** @param number the place of the request in the round, from 1 */
    void drawBlock(const PlanBlock &block, std::size_t number)
    {
        const double left = Margin + LabelWidth;
        const double element = elementWidth();
        const double base = m_y + StripHeight * 0.7;
        m_body += textAt(Margin, base, std::to_string(number) + ".", "font-size=\"11\" fill=\"#444444\"");
        m_body += textAt(Margin + NumberWidth, base, block.rangeText(), "font-size=\"12\"");
        m_body += boxAt(left, m_y, element * block.count, "url(#unused)", "unused elements");
        for (const PlannedTag &planned : block.tags)
            drawTag(block, planned, left, element);
        const std::string note = std::to_string(block.requestBytes) + "+" + std::to_string(block.replyBytes)
                                 + " bytes, " + durationText(m_plan.lineTime(block));
        m_body += textAt(left + element * block.count + 8, base, note, "font-size=\"11\" fill=\"#444444\"");
        drawScale(block, left, element);
        drawNames(block, left + element * block.count + 8);
        m_y += StripStep;
    }

    void drawTag(const PlanBlock &block, const PlannedTag &planned, double left, double element)
    {
        const TagRange &tag = m_plan.tags()[planned.tag];
        const std::string name = tag.name.empty() ? tag.rangeLabel() : tag.name;
        const double x = left + element * planned.first;
        const double width = element * planned.count;
        const std::size_t colour = planned.tag % (sizeof(colours) / sizeof(colours[0]));
        m_body += boxAt(x, m_y, width, colours[colour],
                        name + ", " + std::to_string(block.station) + ":" + tag.label() + ", "
                            + std::to_string(tag.values) + (tag.values == 1 ? " value" : " values"));
        const std::size_t letters = static_cast<std::size_t>(std::max(0.0, (width - 4) / LetterWidth));
        if (letters >= std::min<std::size_t>(3, name.size()))
            m_body += textAt(x + 3, m_y + StripHeight * 0.7, clippedText(name, static_cast<int>(letters)),
                             "font-size=\"10\" fill=\"#ffffff\" pointer-events=\"none\"");
    }

    void drawScale(const PlanBlock &block, double left, double element)
    {
        const std::string style = "font-size=\"9\" fill=\"#666666\"";
        m_body += textAt(left, m_y + StripHeight + 10, std::to_string(block.start + 1), style);
        if (element * block.count > 60)
            m_body += textAt(left + element * block.count, m_y + StripHeight + 10,
                             std::to_string(block.start + block.count), style + " text-anchor=\"end\"");
    }

    /** Most strips are too short to hold the names of their tags. */
    void drawNames(const PlanBlock &block, double left)
    {
        const int letters = static_cast<int>((PageWidth - left) / SmallLetterWidth);
        m_body += textAt(left, m_y + StripHeight + 10, shortenedText(tagNames(m_plan, block), letters),
                         "font-size=\"9\" fill=\"#666666\"");
    }

    void drawWarnings()
    {
        m_y += 8;
        for (const std::string &warning : m_plan.warnings())
            m_body += textAt(Margin, m_y += LineStep, "Warning: " + warning, "font-size=\"12\" fill=\"#b00020\"");
    }

    std::string frame() const
    {
        const std::string size = "width=\"" + number(PageWidth) + "\" height=\"" + number(m_y + Margin) + "\"";
        return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" " + size
               + " font-family=\"sans-serif\">\n"
                 "<defs><pattern id=\"unused\" width=\"6\" height=\"6\" patternUnits=\"userSpaceOnUse\">"
                 "<rect width=\"6\" height=\"6\" fill=\"#f2f2f2\"/>"
                 "<path d=\"M0 6 L6 0\" stroke=\"#bbbbbb\" stroke-width=\"1\"/></pattern></defs>\n"
                 "<rect width=\"100%\" height=\"100%\" fill=\"#ffffff\"/>\n"
               + m_body + "</svg>\n";
    }

    const PlanView &m_plan;
    std::string m_body;
    double m_y = 8;
};

} // namespace

std::string planPicture(const PlanView &plan)
{
    return Picture(plan).draw();
}

} // namespace rtu
