/**
 * @file
 * One line of slaves, as screens see it.
 *
 * @code
 *   Link { id: boiler; port: "/dev/ttyUSB0"; baud: 19200 }
 *   Tag { link: boiler; station: 1; address: "4x100" }
 * @endcode
 */
#ifndef QUICK_LINK_H
#define QUICK_LINK_H

#include "quick/mailbox.h"
#include "quick/plant.h"

#include <modbus_rtu_host/link.h>

#include <QtCore/QElapsedTimer>
#include <QtCore/QPointer>
#include <QtCore/QTimer>
#include <QtCore/QVariant>

#include <map>
#include <memory>

namespace quick {

class Tag;

/**
 * Owns an rtu::Link that polls on a thread of its own. What it brings is handed over to
 * the thread of this object at most once in FrameTime, by one queued wake-up; of each
 * tag only the newest value. What takes longer than half a frame goes on in the next
 * one. No call waits for the line.
 *
 * A changed setting starts the link anew at the next turn of the event loop; values of
 * tags survive, writes that wait end as not sent.
 *
 * Threads: that of the QML engine.
 */
class Link : public QObject, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    Q_PROPERTY(bool active MEMBER m_active NOTIFY settingsChanged)
    Q_PROPERTY(QString port MEMBER m_port NOTIFY settingsChanged)
    Q_PROPERTY(quick::Plant *plant READ plant WRITE setPlant NOTIFY settingsChanged)
    Q_PROPERTY(int baud MEMBER m_baud NOTIFY settingsChanged)
    Q_PROPERTY(quick::Link::Parity parity MEMBER m_parity NOTIFY settingsChanged)
    Q_PROPERTY(int stopBits MEMBER m_stopBits NOTIFY settingsChanged)
    Q_PROPERTY(bool rs485 MEMBER m_rs485 NOTIFY settingsChanged)
    Q_PROPERTY(int attempts MEMBER m_attempts NOTIFY settingsChanged)
    Q_PROPERTY(int maxWords MEMBER m_maxWords NOTIFY settingsChanged)
    Q_PROPERTY(int replyTimeout MEMBER m_replyTimeout NOTIFY settingsChanged)         ///< milliseconds
    Q_PROPERTY(double silence MEMBER m_silence NOTIFY settingsChanged)                ///< milliseconds; below 0: usual
    Q_PROPERTY(int roundInterval MEMBER m_roundInterval NOTIFY settingsChanged)       ///< milliseconds
    Q_PROPERTY(int questionInterval MEMBER m_questionInterval NOTIFY settingsChanged) ///< milliseconds
    Q_PROPERTY(int keepWrites MEMBER m_keepWrites NOTIFY settingsChanged)             ///< milliseconds
    Q_PROPERTY(bool localWritesOnly MEMBER m_localWritesOnly NOTIFY settingsChanged)
    Q_PROPERTY(QString driver MEMBER m_driver NOTIFY settingsChanged)
    Q_PROPERTY(quick::Link::Status status READ status NOTIFY statusChanged)
    Q_PROPERTY(QString error READ error NOTIFY statusChanged)
    Q_PROPERTY(QVariantMap statistics READ statistics NOTIFY statisticsChanged)
    Q_PROPERTY(QVariantList stations READ stations NOTIFY statisticsChanged)

public:
    enum Status {
        Stopped,    ///< not active
        Connecting, ///< the port is not open yet
        Open,       ///< the port is open
        Lost,       ///< the port is away, and is tried again and again
        Failed,     ///< the settings or the driver are wrong: see error
    };
    Q_ENUM(Status)
    enum Parity { NoParity, EvenParity, OddParity };
    Q_ENUM(Parity)

    /** Changes are handed over this often at most: a frame of a display with 60 a second. */
    static constexpr int FrameTime = 16;

    explicit Link(QObject *parent = nullptr);
    ~Link() override;

    Plant *plant() const { return m_plant; }
    void setPlant(Plant *plant);
    Status status() const { return m_status; }
    QString error() const { return m_error; }
    /** Of all stations together; the same keys as in stations(). */
    QVariantMap statistics() const { return m_statistics; }
    /** By station: station, silent, share (0 to 1), frames, resends, good, exceptions, timeouts, damaged, foreign,
        giveUps, replyMedian, reply95, ageMedian, age95 (milliseconds). Anew every second. */
    QVariantList stations() const { return m_stations; }

    /** Null while the link is stopped or failed. */
    rtu::Link *line() const { return m_link.get(); }

    /** Reads the tag from now on. @throws rtu::Error */
    rtu::Tag watch(Tag *tag);
    /** Reads it no more, and keeps its value for the next tag of this place. */
    void forget(const rtu::Tag &handle, const QString &key, const rtu::TagValue &last);
    /** The last value of a place that was watched; of count() 0 when there is none. */
    rtu::TagValue remembered(const QString &key) const;
    /** Has a call made on this object's thread with the next changes. For callbacks on the link's thread. */
    std::function<void(Mailbox::Message)> poster() const;

    void classBegin() override {}
    void componentComplete() override;

Q_SIGNALS:
    void settingsChanged();
    void statusChanged();
    void statisticsChanged();
    /** There is another line(): tags have themselves watched. */
    void renewed();
    /** There is no line() any more. */
    void closed();

private:
    void scheduleRenewal();
    Q_INVOKABLE void renew();
    void open();
    void close();
    rtu::LinkSettings lineSettings() const;
    void setStatus(Status status, const QString &error = QString());
    void portChanged(bool open);
    Q_INVOKABLE void wake();
    void takeMail();
    void showNext();
    void deliver();
    void beat();

    bool m_active = true;
    QString m_port;
    QPointer<Plant> m_plant;
    int m_baud = 19200;
    Parity m_parity = EvenParity;
    int m_stopBits = 1;
    bool m_rs485 = false;
    int m_attempts = 3;
    int m_maxWords = 120;
    int m_replyTimeout = 1000;
    double m_silence = -1;
    int m_roundInterval = 0;
    int m_questionInterval = 3000;
    int m_keepWrites = 0;
    bool m_localWritesOnly = false;
    QString m_driver;

    bool m_complete = false;
    bool m_renewalScheduled = false;
    Status m_status = Stopped;
    QString m_error;
    QVariantMap m_statistics;
    QVariantList m_stations;
    std::map<rtu::Tag, Tag *> m_tags;
    std::map<QString, rtu::TagValue> m_remembered;
    std::shared_ptr<Mailbox> m_mailbox;
    Mailbox::Content m_pending; ///< taken from the mailbox, and not shown yet
    rtu::Tag m_lastShown;
    QElapsedTimer m_sinceDelivery;
    QTimer m_nextDelivery;
    QTimer m_heartbeat;
    std::unique_ptr<rtu::Link> m_link;
};

} // namespace quick

#endif
