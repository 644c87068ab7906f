#include "host/report/tag_board.h"

#include "host/tags/link_tags.h"

#include "kit/poll/request_end.h"

#include <algorithm>
#include <stdexcept>

namespace rtu {

namespace {

Area areaOfTag(const TagRange &tag)
{
    return areaOf(tag.station, tag.qtType(), tag.address, tag.count());
}

} // namespace

TagBoard::TagBoard(Link &link, Line &line, const std::vector<TagRange> &tags)
    : m_line(line)
    , m_tags(tags)
    , m_errors(tags.size())
{
    for (const TagRange &tag : tags) {
        try {
            m_handles.push_back(link.addTag(definitionOf(tag)));
        } catch (const Error &error) {
            throw std::invalid_argument(error.what());
        }
        m_changed.emplace_back(static_cast<std::size_t>(tag.values));
    }
    link.onChange([this](const TagChange &change) { noteChange(change); });
    link.onTransaction([this](const Transaction &transaction) { noteRead(transaction); });
}

void TagBoard::noteChange(const TagChange &change)
{
    const auto found = std::find(m_handles.begin(), m_handles.end(), change.tag);
    if (found == m_handles.end())
        return;
    const std::vector<std::uint32_t> &before = change.before.raw();
    const std::vector<std::uint32_t> &after = change.after.raw();
    const TimePoint now = m_line.now();
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::vector<TimePoint> &changed = m_changed[static_cast<std::size_t>(found - m_handles.begin())];
    for (std::size_t i = 0; i < changed.size(); ++i) {
        if (before[i] != after[i])
            changed[i] = now;
    }
}

/** What went wrong with a tag before it was read well is no reason for what goes wrong later. */
void TagBoard::noteRead(const Transaction &t)
{
    const bool ended = t.verdict == VerdictGivenUp || t.verdict == VerdictGood;
    if (!ended || t.tag == static_cast<int>(Source::Write))
        return;
    const Area area = areaOf(t.station, t.regType, t.startAddr, t.count);
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (std::size_t i = 0; i < m_tags.size(); ++i) {
        if (area.overlaps(areaOfTag(m_tags[i])))
            m_errors[i] = t.good() ? std::string() : t.information.toStdString();
    }
}

TagState TagBoard::state(std::size_t tag) const
{
    const TagValue value = m_handles[tag].value();
    TagState state;
    state.raw = value.raw();
    state.known = value.time != TimePoint();
    state.read = value.time;
    state.failed = value.quality == Quality::Refused || value.quality == Quality::StationSilent;
    if (!state.failed)
        return state;
    const std::lock_guard<std::mutex> lock(m_mutex);
    state.error = m_errors[tag].empty() ? "no answer" : m_errors[tag];
    return state;
}

TimePoint TagBoard::changed(std::size_t tag, int value) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_changed[tag][static_cast<std::size_t>(value)];
}

} // namespace rtu
