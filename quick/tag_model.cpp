#include "quick/tag_model.h"

namespace quick {

namespace {

/** What a tag's property is called is what its role is called. */
const char *const RoleProperties[] = {"name",    "station", "address", "value",   "text", "unit",
                                      "quality", "stale",   "time",    "writing", "error"};
const int TagRole = Qt::UserRole;
const int FirstPropertyRole = TagRole + 1;

const char *propertyOf(int role)
{
    const int count = static_cast<int>(sizeof(RoleProperties) / sizeof(RoleProperties[0]));
    const int index = role - FirstPropertyRole;
    return index >= 0 && index < count ? RoleProperties[index] : nullptr;
}

} // namespace

TagModel::TagModel(QObject *parent) : QAbstractListModel(parent)
{
    connect(this, &TagModel::linkChanged, this, &TagModel::giveLinks);
}

void TagModel::componentComplete()
{
    m_complete = true;
    for (Tag *tag : m_tags)
        follow(tag);
    giveLinks();
    Q_EMIT countChanged();
}

void TagModel::append(Tag *tag)
{
    if (!tag || m_tags.contains(tag))
        return;
    beginInsertRows(QModelIndex(), size(), size());
    m_tags << tag;
    endInsertRows();
    follow(tag);
    giveLinks();
    Q_EMIT countChanged();
}

void TagModel::giveLinks()
{
    if (!m_complete)
        return; // tags may have yet to name theirs
    const QList<Tag *> tags = m_tags;
    for (Tag *tag : tags) {
        if (tag->link() && tag->link() != m_given.value(tag))
            continue; // it names its own
        m_given[tag] = m_link;
        tag->setLink(m_link);
    }
}

void TagModel::follow(Tag *tag)
{
    const auto tell = [this, tag] { changed(tag); };
    connect(tag, &Tag::placeChanged, this, tell);
    connect(tag, &Tag::valueChanged, this, tell);
    connect(tag, &Tag::qualityChanged, this, tell);
    connect(tag, &Tag::timeChanged, this, tell);
    connect(tag, &Tag::writingChanged, this, tell);
    connect(tag, &Tag::errorChanged, this, tell);
    connect(tag, &QObject::destroyed, this, [this, tag] { gone(tag); });
}

void TagModel::changed(const QObject *tag)
{
    for (int row = 0; row < size(); ++row) {
        if (m_tags[row] == tag)
            Q_EMIT dataChanged(index(row), index(row));
    }
}

void TagModel::gone(const QObject *tag)
{
    for (int row = size() - 1; row >= 0; --row) {
        if (m_tags[row] != tag)
            continue;
        beginRemoveRows(QModelIndex(), row, row);
        m_tags.removeAt(row);
        endRemoveRows();
    }
    m_given.remove(tag);
    Q_EMIT countChanged();
}

int TagModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : size();
}

QVariant TagModel::data(const QModelIndex &index, int role) const
{
    Tag *const tag = m_tags.value(index.row());
    if (!tag)
        return QVariant();
    if (role == TagRole)
        return QVariant::fromValue(tag);
    const char *const property = propertyOf(role == Qt::DisplayRole ? roleNames().key("text") : role);
    return property ? tag->property(property) : QVariant();
}

bool TagModel::setData(const QModelIndex &index, const QVariant &value, int role)
{
    Tag *const tag = m_tags.value(index.row());
    if (!tag || role != roleNames().key("value"))
        return false;
    tag->setValue(value);
    return true;
}

Qt::ItemFlags TagModel::flags(const QModelIndex &index) const
{
    return QAbstractListModel::flags(index) | Qt::ItemIsEditable;
}

QHash<int, QByteArray> TagModel::roleNames() const
{
    QHash<int, QByteArray> names = {{TagRole, "tag"}};
    for (int role = FirstPropertyRole; propertyOf(role); ++role)
        names.insert(role, propertyOf(role));
    return names;
}

} // namespace quick
