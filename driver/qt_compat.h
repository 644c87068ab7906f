/**
 * @file
 * What the code does differently with the Qt versions 4.8, 5.15 and 6.4. How the
 * records lie in memory differs as well: see driver/record_layout.cpp.
 */
#ifndef MODBUS_RTU_QT_COMPAT_H
#define MODBUS_RTU_QT_COMPAT_H

#include <QtCore/QList>
#include <QtCore/QString>

/** Size of a container as the 32-bit integer of the interface; Qt 6 counts in 64 bits. */
template <typename Container>
inline int sizeOf(const Container &container)
{
    return static_cast<int>(container.size());
}

/** True when both texts share one buffer; equal texts need not. */
inline bool sharesText(const QString &a, const QString &b)
{
    return a.isSharedWith(b);
}

/**
 * Makes room for one more record. A list of Qt 6 holds its records side by side
 * and doubles its room when it is full, which would leave half of a large cache
 * empty; a quarter at a time keeps appending just as flat. The lists of Qt 4 and
 * 5 hold pointers and need no help.
 */
template <typename List>
inline void makeRoomForOne(List &list)
{
#if QT_VERSION >= 0x060000
    if (list.size() == list.capacity())
        list.reserve(list.size() + list.size() / 4 + 16);
#else
    (void)list;
#endif
}

/**
 * Moves the first record of a list to its end, over and over.
 *
 * The lists of Qt 4 and 5 hold pointers, and as long as there is room behind the
 * last one, moving a pointer there is one step; where there is none, all pointers
 * would be shifted every time. So room is kept, and regained by an append() once
 * in a while, which brings the pointers back to the start of their room. Lists of
 * Qt 6 hold the records themselves: one is copied.
 */
#if QT_VERSION < 0x060000
class Rotation
{
public:
    Rotation() : roomLeft(0) {}

    /** To be told when the list was filled. */
    template <typename Record>
    void prepare(QList<Record> &list)
    {
        list.reserve(sizeOf(list) + roomFor(sizeOf(list)));
        roomLeft = roomFor(sizeOf(list));
    }

    /** @p list has two records or more. */
    template <typename Record>
    void moveFirstToEnd(QList<Record> &list)
    {
        if (roomLeft <= 0) {
            list.append(list.at(0));
            list.removeLast();
            roomLeft = roomFor(sizeOf(list));
        }
        --roomLeft;
        list.move(0, sizeOf(list) - 1);
    }

private:
    static int roomFor(int size) { return 3 * size + 64; }

    int roomLeft; ///< pointers that there is room for behind the last one
};
#else
class Rotation
{
public:
    template <typename Record>
    void prepare(QList<Record> &)
    {
    }

    template <typename Record>
    void moveFirstToEnd(QList<Record> &list)
    {
        list.append(list.takeFirst());
    }
};
#endif

#endif
