#include <modbus_rtu_host/link.h>

#include "kit/line/make_line.h"
#include "kit/link/link_core.h"

namespace rtu {

namespace {

/** What the parts of a link cannot do comes to the caller as the one exception of the kit. */
template <typename Call>
auto withErrors(Call call) -> decltype(call())
{
    try {
        return call();
    } catch (const Error &) {
        throw;
    } catch (const std::runtime_error &error) {
        throw Error(QString::fromUtf8(error.what()));
    }
}

std::unique_ptr<Line> lineOf(const LinkSettings &settings)
{
    if (settings.port.isEmpty())
        throw Error(QLatin1String("the port is missing: /dev/ttyUSB0, a pseudo-terminal, or tcp:HOST:PORT"));
    return withErrors([&] { return makeLine(settings.port.toStdString(), settings.parameters); });
}

std::shared_ptr<LinkCore> coreOf(const LinkSettings &settings, std::unique_ptr<Line> line)
{
    if (!line)
        throw Error(QLatin1String("the line is missing"));
    return withErrors([&] { return std::make_shared<LinkCore>(settings, std::move(line)); });
}

} // namespace

Link::Link(const LinkSettings &settings) : m_core(coreOf(settings, lineOf(settings))) {}

Link::Link(const LinkSettings &settings, std::unique_ptr<Line> line) : m_core(coreOf(settings, std::move(line))) {}

Link::~Link()
{
    m_core->shutDown();
}

Tag Link::addTag(const TagDefinition &definition)
{
    const std::shared_ptr<TagRecord> record = std::make_shared<TagRecord>();
    record->lock = m_core->lock();
    record->layout = m_core->layout(definition, TagUse::Read);
    record->shown = TagValue(record->layout, std::vector<std::uint32_t>(static_cast<std::size_t>(definition.values)));
    m_core->add(record);
    return Tag(record);
}

void Link::removeTag(const Tag &tag)
{
    if (!tag.isNull())
        m_core->remove(tag.m_record);
}

std::vector<Tag> Link::tags() const
{
    std::vector<Tag> tags;
    for (const TagRecordPtr &record : m_core->records())
        tags.push_back(Tag(record));
    return tags;
}

void Link::onChange(std::function<void(const TagChange &)> listener)
{
    m_core->listeners().change.push_back(std::move(listener));
}

void Link::onPort(std::function<void(bool)> listener)
{
    m_core->listeners().port.push_back(std::move(listener));
}

void Link::onNotice(std::function<void(const QString &)> listener)
{
    m_core->listeners().notice.push_back(std::move(listener));
}

void Link::onRound(std::function<void()> listener)
{
    m_core->listeners().round.push_back(std::move(listener));
}

void Link::onTransaction(std::function<void(const Transaction &)> observer)
{
    m_core->listeners().transaction.push_back(std::move(observer));
}

void Link::open()
{
    withErrors([this] { m_core->open(); });
}

void Link::start()
{
    withErrors([this] { m_core->start(); });
}

void Link::stop()
{
    m_core->stop();
}

bool Link::running() const
{
    return m_core->running();
}

LinkStep Link::step()
{
    if (m_core->running())
        throw Error(QLatin1String("this link polls on a thread of its own; stop() it before stepping it"));
    switch (m_core->stepFromOutside()) {
    case PollStep::Done:
        return LinkStep::Done;
    case PollStep::NoPort:
        return LinkStep::NoPort;
    case PollStep::Stopped:
        return LinkStep::Stopped;
    default:
        return LinkStep::Idle;
    }
}

TimePoint Link::nextStep() const
{
    return m_core->nextStep();
}

LinkStatistics Link::statistics() const
{
    return m_core->statistics();
}

LinkSettings Link::settings() const
{
    return m_core->settings();
}

} // namespace rtu
