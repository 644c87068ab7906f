/**
 * @file
 * Tags as the rows of a list, for tables.
 */
#ifndef QUICK_TAG_MODEL_H
#define QUICK_TAG_MODEL_H

#include "quick/tag.h"

#include <QtCore/QAbstractListModel>
#include <QtCore/QHash>
#include <QtCore/QPointer>
#include <QtQml/QQmlListProperty>

namespace quick {

/**
 * Roles: tag (the Tag itself), and name, station, address, value, text, unit, quality,
 * stale, time, writing, error. Assigning to the role value writes to the slave.
 */
class TagModel : public QAbstractListModel, public QQmlParserStatus
{
    Q_OBJECT
    Q_INTERFACES(QQmlParserStatus)
    Q_CLASSINFO("DefaultProperty", "tags")
    Q_PROPERTY(QQmlListProperty<quick::Tag> tags READ tags)
    Q_PROPERTY(int count READ size NOTIFY countChanged)
    Q_PROPERTY(quick::Link *link MEMBER m_link NOTIFY linkChanged) ///< of those tags that name none

public:
    explicit TagModel(QObject *parent = nullptr);

    QQmlListProperty<Tag> tags() { return QQmlListProperty<Tag>(this, &m_tags); }
    int size() const { return static_cast<int>(m_tags.size()); }

    Q_INVOKABLE quick::Tag *get(int row) const { return m_tags.value(row); }
    /** A tag that was made later, by an Instantiator or createObject(). It goes when it is destroyed. */
    Q_INVOKABLE void append(quick::Tag *tag);

    int rowCount(const QModelIndex &parent = QModelIndex()) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    bool setData(const QModelIndex &index, const QVariant &value, int role) override;
    Qt::ItemFlags flags(const QModelIndex &index) const override;
    QHash<int, QByteArray> roleNames() const override;

    void classBegin() override {}
    void componentComplete() override;

Q_SIGNALS:
    void countChanged();
    void linkChanged();

private:
    void follow(Tag *tag);
    void giveLinks();
    void changed(const QObject *tag);
    void gone(const QObject *tag);

    QList<Tag *> m_tags;
    bool m_complete = false;
    QPointer<Link> m_link;
    QHash<const QObject *, QPointer<Link>> m_given; ///< by tag, to those that named none
};

} // namespace quick

#endif
