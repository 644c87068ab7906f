/**
 * @file
 * The tags of a link: what the driver has to poll for them, and what becomes of
 * their values and qualities when a request ends.
 */
#ifndef KIT_TAGS_WATCHED_TAGS_H
#define KIT_TAGS_WATCHED_TAGS_H

#include "kit/tags/tag_record.h"

#include <modbus_rtu_host/tag_change.h>

#include <QtCore/QList>

#include <functional>
#include <map>
#include <memory>
#include <utility>
#include <vector>

namespace rtu {

using TagRecordPtr = std::shared_ptr<TagRecord>;

class WatchedTags
{
public:
    using ChangeListener = std::function<void(const TagChange &)>;

    /** @param listener called at once for each change; it only takes note */
    WatchedTags(DriverLibrary &driver, int maxWords, ChangeListener listener);

    void add(const TagRecordPtr &record);
    void remove(const TagRecordPtr &record);
    const std::vector<TagRecordPtr> &records() const { return m_records; }

    /** What belongs into the cyclic plan: one key a piece, of tags without a pace of their own. */
    QList<KEY_ADDRESS> planKeys();

    /** The tags that have a piece in the area, in order of address. */
    std::vector<TagRecordPtr> inArea(const Area &area);

    /**
     * A read of the area ended well.
     *
     * @param changed the driver reported a change, or does not report any here
     */
    void readGood(const Area &area, TimePoint when, bool changed);
    /** @param asked whom the area was read for: tags inside it with reads of their own are not refused */
    void readRefused(const Area &area, int exceptionCode, bool (*asked)(const TagRecord &));
    void readSilent(const Area &area);
    void recordSilent(const TagRecordPtr &record);
    void stationSilent(int station);
    void allSilent();

    /** The tag shows a value that is to be written. */
    void showWritten(const TagRecordPtr &record, const std::vector<std::uint32_t> &raw);
    /** One write of the tag has ended, and with it the driver's part: what the cache has now is shown. */
    void writeEnded(const TagRecordPtr &record, bool acknowledged, bool unconfirmed, TimePoint when);
    /** The driver's cache changed under the tags of an area. */
    void refresh(const Area &area);
    /** The driver was handed a write of the area: what its tags show of it is unconfirmed until its end. */
    void writeHanded(const Area &area);
    /** @param unconfirmed the slave may hold either value: so do the tags until they are read */
    void writeLeft(const Area &area, bool unconfirmed);

private:
    using TableKey = std::pair<int, char>;
    struct Place
    {
        int first = 0;
        TagRecordPtr record;
        std::size_t piece = 0;
    };

    void updateIndex();
    void cut(TagRecord &record) const;
    template <typename Action>
    void forPieces(const Area &area, Action action);
    template <typename Action>
    void forCovered(const Area &area, Action action);
    static void touch(TagRecord &record);
    void show(TagRecord &record, bool readCache);
    bool isBeingWritten(const TagRecord &record) const;
    static void mark(TagPiece &piece, Quality quality, int exceptionCode);

    DriverLibrary &m_driver;
    int m_maxWords;
    ChangeListener m_listener;
    std::vector<TagRecordPtr> m_records;
    bool m_indexed = true;                           ///< m_places is that of m_records
    std::map<TableKey, std::vector<Place>> m_places; ///< sorted by address
    int m_longest = 0;                               ///< of their pieces, in bits or registers
    bool m_writing = false;                          ///< the driver has a write
    Area m_writtenArea;                              ///< of that
};

/** The longest run of values of this type that one request reads whole. */
int valuesPerRequest(const RegisterType &type, int maxWords);

} // namespace rtu

#endif
