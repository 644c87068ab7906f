/**
 * @file
 * Callbacks that know whose they are.
 *
 * The driver's callback has no room for a receiver, so each copy of the driver needs
 * a function of its own. There is a fixed number of them.
 */
#ifndef KIT_DRIVER_CHANGE_CALLBACKS_H
#define KIT_DRIVER_CHANGE_CALLBACKS_H

#include "driver/modbus_rtu_interface.h"

#include <functional>

namespace rtu {

/** A value change as the driver reports it; see ValueChangeCallBack. */
struct ValueChange
{
    int linkId;
    int station;
    QString regType;
    int address;
};

using ChangeListener = std::function<void(const ValueChange &)>;

/** A function that reports to one listener, for as long as this object lives. */
class ChangeCallback
{
public:
    enum { Most = 64 };

    /** @throws std::runtime_error when Most of them are in use */
    ChangeCallback();
    ~ChangeCallback();
    ChangeCallback(const ChangeCallback &) = delete;
    ChangeCallback &operator=(const ChangeCallback &) = delete;

    /** What the driver is given. It runs on whatever thread is inside the driver. */
    ValueChangeCallBack function() const;

    void setListener(ChangeListener listener);

private:
    int m_slot;
};

} // namespace rtu

#endif
