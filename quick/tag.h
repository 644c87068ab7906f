/**
 * @file
 * A value of a slave as a property.
 */
#ifndef QUICK_TAG_H
#define QUICK_TAG_H

#include "quick/link.h"
#include "quick/place.h"

#include <modbus_rtu_host/write_result.h>

#include <QtCore/QDateTime>

namespace quick {

/**
 * Read in turn while it lives. Assigning to value writes to the slave; value shows what
 * is written once the link has taken note of it, with the quality Unconfirmed, and what
 * the slave holds after the write has ended.
 */
class Tag : public Place, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(quick::Link *link READ link WRITE setLink NOTIFY linkChanged)
    Q_PROPERTY(int pace MEMBER m_pace NOTIFY placeChanged)                 ///< milliseconds; 0: in every round
    Q_PROPERTY(bool readBack MEMBER m_readBack NOTIFY writeOptionsChanged) ///< as rtu::WriteOptions
    Q_PROPERTY(bool keep MEMBER m_keep NOTIFY writeOptionsChanged)         ///< as rtu::WriteOptions
    Q_PROPERTY(QVariant value READ value WRITE setValue NOTIFY valueChanged)
    Q_PROPERTY(QString text READ text NOTIFY valueChanged)
    Q_PROPERTY(quick::Tag::Quality quality READ quality NOTIFY qualityChanged)
    Q_PROPERTY(int exceptionCode READ exceptionCode NOTIFY qualityChanged)
    Q_PROPERTY(bool stale READ isStale NOTIFY qualityChanged)
    Q_PROPERTY(QDateTime time READ time NOTIFY timeChanged)
    Q_PROPERTY(bool writing READ isWriting NOTIFY writingChanged)
    Q_PROPERTY(QString error READ error NOTIFY errorChanged)

public:
    enum Quality {
        Good,          ///< the slave sent the value, or acknowledged it
        Unconfirmed,   ///< written and not confirmed
        NeverRead,     ///< no reply has brought a value yet; it shows as 0
        Refused,       ///< the slave answers with an exception; the value is the one before
        StationSilent, ///< no answer, or no port; the value is the one before
        Remembered,    ///< the value that an earlier tag of this place had; not read again yet
    };
    Q_ENUM(Quality)
    /** As rtu::WriteEnd; Rejected: never sent, since the tag cannot hold it, cannot be written or has no link. */
    enum WriteEnd {
        Acknowledged,
        WriteRefused,
        WriteUnconfirmed,
        NotSent,
        Differs,
        Replaced,
        Cancelled,
        Broadcast,
        KeptLocal,
        Rejected,
    };
    Q_ENUM(WriteEnd)

    explicit Tag(QObject *parent = nullptr);
    ~Tag() override;

    Link *link() const { return m_link; }
    void setLink(Link *link);
    QVariant value() const { return m_value; }
    void setValue(const QVariant &value);
    QString text() const { return m_shown.text(); }
    Quality quality() const { return m_quality; }
    int exceptionCode() const { return m_shown.exceptionCode; }
    /** The value may be of any age: it was never read, the slave refuses it or does not answer. */
    bool isStale() const { return m_quality == NeverRead || m_quality == Refused || m_quality == StationSilent; }
    /** When the reply that brought the value arrived; invalid when none did. */
    QDateTime time() const { return m_time; }
    bool isWriting() const { return m_writing > 0; }
    QString error() const { return m_error; }
    rtu::TagDefinition definition() const;

    /** What the link brought. */
    void show(const rtu::TagValue &value);
    /** The line's newest: moves the time on where that is the value that is shown. */
    void showAgain(const rtu::TagValue &value);

    void classBegin() override {}
    void componentComplete() override;

Q_SIGNALS:
    void linkChanged();
    void writeOptionsChanged();
    void valueChanged();
    void qualityChanged();
    void timeChanged();
    void writingChanged();
    void errorChanged();
    /** A write has ended; every assignment to value ends once. @param text the reason, empty when all went well */
    void writeEnded(quick::Tag::WriteEnd end, const QString &text);

private:
    void schedule();
    Q_INVOKABLE void subscribe();
    void watch();
    void unsubscribe();
    void linkClosed();
    void goSilent();
    void show(const rtu::TagValue &value, Quality quality);
    void showTime(rtu::TimePoint time);
    rtu::Write send(const QVariant &value);
    void writeDone(const rtu::WriteResult &result);
    void endWrite(WriteEnd end, const QString &text);
    void setError(const QString &error);

    QPointer<Link> m_link;
    int m_pace = 0;
    bool m_readBack = false;
    bool m_keep = false;
    bool m_complete = false;
    bool m_scheduled = false;
    rtu::Tag m_handle;
    QString m_key;        ///< of the place on m_link whose value is shown
    rtu::TagValue m_read; ///< the place's last, which a write that fails gives way to
    rtu::TagValue m_shown;
    QVariant m_value = 0.0;
    Quality m_quality = NeverRead;
    rtu::TimePoint m_timePoint; ///< what m_time says by the line's clock
    QDateTime m_time;
    int m_writing = 0;
    QString m_error;
};

} // namespace quick

#endif
