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
#include <utility>
#include <vector>

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
const double NarrowestBit = 1.5;
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

struct Box
{
    double x;
    double y;
    double width;
    double height;
};

std::string boxAt(const Box &box, const std::string &fill, const std::string &title)
{
    return "<rect x=\"" + number(box.x) + "\" y=\"" + number(box.y) + "\" width=\"" + number(box.width) + "\" height=\""
           + number(box.height) + "\" fill=\"" + fill + "\" stroke=\"#ffffff\"><title>" + escaped(title)
           + "</title></rect>\n";
}

/** What is drawn already on a strip, so that no label is written over another. */
class Labels
{
public:
    /** False: something stands there. */
    bool take(double from, double to)
    {
        for (const std::pair<double, double> &other : m_taken) {
            if (from < other.second && other.first < to)
                return false;
        }
        m_taken.emplace_back(from, to);
        return true;
    }

private:
    std::vector<std::pair<double, double>> m_taken;
};

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
        m_body +=
            textAt(Margin, m_y += LineStep,
                   "Cyclic plan: " + requestsText(m_plan) + " a round, " + durationText(m_plan.roundTime())
                       + " of line time" + (m_plan.costs().line.baud > 0 ? " at " + lineName(m_plan.costs().line) : ""),
                   "font-size=\"15\" font-weight=\"bold\"");
    }

    void drawStation(int station)
    {
        m_y += LineStep + 8;
        m_body += textAt(Margin, m_y,
                         "Station " + std::to_string(station) + " (dead: " + durationText(m_plan.deadTime(station))
                             + " once)",
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
        m_body += boxAt({left, m_y, element * block.count, StripHeight}, "url(#unused)", "unused elements");
        drawTags(block, left, element);
        const std::string note = std::to_string(block.requestBytes) + "+" + std::to_string(block.replyBytes)
                                 + " bytes, " + durationText(m_plan.lineTime(block))
                                 + (block.unused > 0 ? ", " + std::to_string(block.unused) + " unused" : "");
        m_body += textAt(left + element * block.count + 8, base, note, "font-size=\"11\" fill=\"#444444\"");
        drawScale(block, left, element);
        drawNames(block, left + element * block.count + 8);
        m_y += StripStep;
    }

    /** Bits stand in the lower half of their register, above whatever else is read of it. */
    void drawTags(const PlanBlock &block, double left, double element)
    {
        Labels whole;
        Labels bits;
        for (const PlannedTag &planned : block.tags) {
            const TagRange &tag = m_plan.tags()[planned.tag];
            if (!tag.type.bitInRegister)
                drawTag(block, planned.tag, {left + element * planned.first, m_y, element * planned.count, StripHeight},
                        whole);
        }
        for (const PlannedTag &planned : block.tags) {
            if (m_plan.tags()[planned.tag].type.bitInRegister)
                drawTag(block, planned.tag, bitBox(block, planned, left, element), bits);
        }
    }

    Box bitBox(const PlanBlock &block, const PlannedTag &planned, double left, double element) const
    {
        const int bitsOfRegister = 16;
        const TagRange &tag = m_plan.tags()[planned.tag];
        const int first = std::max(tag.address, (block.start + planned.first) * bitsOfRegister);
        const int end =
            std::min(tag.address + tag.values, (block.start + planned.first + planned.count) * bitsOfRegister);
        const double bit = element / bitsOfRegister;
        const double x = left + bit * (first - block.start * bitsOfRegister);
        return {x, m_y + StripHeight / 2, std::max(NarrowestBit, bit * (end - first)), StripHeight / 2};
    }

    void drawTag(const PlanBlock &block, std::size_t index, const Box &box, Labels &labels)
    {
        const TagRange &tag = m_plan.tags()[index];
        const std::string name = tag.name.empty() ? tag.rangeLabel() : tag.name;
        const std::size_t colour = index % (sizeof(colours) / sizeof(colours[0]));
        m_body += boxAt(box, colours[colour],
                        name + ", " + std::to_string(block.station) + ":" + tag.rangeLabel() + ", "
                            + std::to_string(tag.values) + (tag.values == 1 ? " value" : " values"));
        const int letters = static_cast<int>((box.width - 4) / LetterWidth);
        if (letters >= std::min(3, textWidth(name)) && labels.take(box.x, box.x + box.width))
            m_body += textAt(box.x + 3, box.y + box.height - (box.height < StripHeight ? 2 : 7),
                             clippedText(name, letters), "font-size=\"10\" fill=\"#ffffff\" pointer-events=\"none\"");
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
