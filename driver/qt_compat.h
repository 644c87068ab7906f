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

#endif
