/**
 * @file
 * A host with a recipe buffer and slaves for it.
 */
#ifndef RECIPE_FIXTURE_H
#define RECIPE_FIXTURE_H

#include "support/buffer_word.h"
#include "support/slave_fixture.h"
#include "support/unit_text.h"

#include <string>
#include <vector>

namespace support {

typedef std::vector<int> Words;

/** Recipe reads report with link 0, whatever the link of the driver. */
inline Change wordChange(int word)
{
    const Change made = {0, -1, QString::fromLatin1("RWI"), word};
    return made;
}

class RecipeFixture : public SlaveFixture
{
protected:
    enum { Link = 3 };

    RecipeFixture() { init("3#0#0#3#100"); }

    int registerRows(const std::string &rows, int link = Link)
    {
        QVector<_RCP_VAR_PRO> table = rowsOf(link, rows);
        return intf_setRcpAddress(&table);
    }

    void setWords(int first, const Words &values)
    {
        for (size_t i = 0; i < values.size(); ++i)
            hostWords[static_cast<size_t>(first) + i] = bufferWord(values[i]);
    }

    Words words(int first, int count) const
    {
        Words values;
        for (int i = 0; i < count; ++i)
            values.push_back(bufferWord(hostWords[static_cast<size_t>(first + i)]));
        return values;
    }

    SlaveTables &slave(int station) { return slaves.station(station); }

    /** The block read of one block: the reply to its first frame. */
    int readBlock(const QByteArray &reply)
    {
        raise(BlockReadRequest);
        return exchange(reply);
    }

    /** Only the reports of recipe words. */
    Changes wordReports()
    {
        Changes reports;
        const Changes all = recorder.take();
        for (const Change &change : all) {
            if (change.regType == QLatin1String("RWI"))
                reports.push_back(change);
        }
        return reports;
    }
};

} // namespace support

#endif
