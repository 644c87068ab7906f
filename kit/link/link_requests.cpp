// What is asked of a link: writes, one-off reads and transfers, checked before the
// driver sees them.

#include <modbus_rtu_host/link.h>

#include "kit/link/link_core.h"

namespace rtu {

namespace {

using Layout = std::shared_ptr<const TagLayout>;

Write askWrite(LinkCore &core, const std::shared_ptr<TagRecord> &record, const Layout &layout,
               std::vector<std::uint32_t> raw, const WriteOptions &options)
{
    const WriteJobPtr job = std::make_shared<WriteJob>();
    job->lock = core.lock();
    job->record = record;
    job->layout = layout;
    job->raw = std::move(raw);
    job->keep = options.keep;
    job->readBack = options.readBack;
    job->done = options.done;
    core.ask(job);
    return Write(job);
}

/** The layout of a tag of this link that is to be written. */
Layout layoutToWrite(LinkCore &core, const std::shared_ptr<TagRecord> &record)
{
    if (!record)
        throw Error(QLatin1String("there is no tag to write; addTag() gives one"));
    if (record->lock != core.lock())
        throw Error(record->layout->label() + QLatin1String(" is a tag of another link; write it through that one"));
    return core.layout(record->layout->definition(), TagUse::Write);
}

Layout layoutForTransfer(LinkCore &core, const RecipeRow &row, TransferKind kind)
{
    const Layout layout = core.layout(row.where, kind == TransferKind::Load ? TagUse::Write : TagUse::Read);
    if (layout->type().isBit())
        throw Error(layout->label()
                    + QLatin1String(": recipes hold registers; use 4x or 4x_double, to save also 3x or 3x_double"));
    if (row.where.station == 0)
        throw Error(layout->label() + QLatin1String(": station 0 is all slaves; a recipe is loaded into 1 to 247"));
    return layout;
}

Transfer askTransfer(LinkCore &core, TransferKind kind, const std::vector<RecipeRow> &rows,
                     std::function<void(const TransferResult &)> done)
{
    if (rows.empty())
        throw Error(QLatin1String("a recipe needs at least one row"));
    const TransferJobPtr job = std::make_shared<TransferJob>();
    job->lock = core.lock();
    job->kind = kind;
    job->done = std::move(done);
    for (const RecipeRow &row : rows) {
        const Layout layout = layoutForTransfer(core, row, kind);
        job->layouts.push_back(layout);
        job->raw.push_back(kind == TransferKind::Save ? std::vector<std::uint32_t>() : layout->rawOf(row.numbers));
    }
    core.ask(job);
    return Transfer(job);
}

} // namespace

Write Link::write(const Tag &tag, double number, const WriteOptions &options)
{
    return write(tag, std::vector<double>(1, number), options);
}

Write Link::write(const Tag &tag, const std::vector<double> &numbers, const WriteOptions &options)
{
    const Layout layout = layoutToWrite(*m_core, tag.m_record);
    return askWrite(*m_core, tag.m_record, layout, layout->rawOf(numbers), options);
}

Write Link::write(const Tag &tag, const QString &text, const WriteOptions &options)
{
    const Layout layout = layoutToWrite(*m_core, tag.m_record);
    return askWrite(*m_core, tag.m_record, layout, layout->rawOfText(text), options);
}

Write Link::write(const TagDefinition &where, const std::vector<double> &numbers, const WriteOptions &options)
{
    const Layout layout = m_core->layout(where, TagUse::Write);
    return askWrite(*m_core, nullptr, layout, layout->rawOf(numbers), options);
}

OneOffRead Link::read(const TagDefinition &where, std::function<void(const ReadResult &)> done)
{
    const ReadJobPtr job = std::make_shared<ReadJob>();
    job->lock = m_core->lock();
    job->layout = m_core->layout(where, TagUse::Read);
    job->done = std::move(done);
    m_core->ask(job);
    return OneOffRead(job);
}

Transfer Link::load(const std::vector<RecipeRow> &rows, std::function<void(const TransferResult &)> done)
{
    if (m_core->settings().localWritesOnly) // the driver sends a recipe all the same
        throw Error(QLatin1String("a link that sends no writes loads no recipe"));
    return askTransfer(*m_core, TransferKind::Load, rows, std::move(done));
}

Transfer Link::save(const std::vector<RecipeRow> &rows, std::function<void(const TransferResult &)> done)
{
    return askTransfer(*m_core, TransferKind::Save, rows, std::move(done));
}

Transfer Link::compare(const std::vector<RecipeRow> &rows, std::function<void(const TransferResult &)> done)
{
    return askTransfer(*m_core, TransferKind::Compare, rows, std::move(done));
}

} // namespace rtu
