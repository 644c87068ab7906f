/**
 * @file
 * The one place for what differs between the Qt versions 4.8, 5.15 and 6.4.
 */
#ifndef MODBUS_RTU_QT_COMPAT_H
#define MODBUS_RTU_QT_COMPAT_H

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

#endif
