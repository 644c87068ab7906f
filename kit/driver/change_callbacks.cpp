#include "kit/driver/change_callbacks.h"

#include <mutex>
#include <stdexcept>

namespace rtu {

namespace {

struct Slot
{
    bool used = false;
    ChangeListener listener;
};

std::mutex slotsMutex;

/** Never destroyed: a link that went in a callback has its thread on the way out, also when the process ends. */
Slot &slotAt(int slot)
{
    static Slot *const all = new Slot[ChangeCallback::Most];
    return all[slot];
}

/** The driver ignores the result. */
int report(int slot, int linkId, int station, QString *regType, int address)
{
    ChangeListener listener;
    {
        // The listener runs outside the mutex: it may call the driver, and the driver may report again.
        const std::lock_guard<std::mutex> lock(slotsMutex);
        listener = slotAt(slot).listener;
    }
    if (listener)
        listener(ValueChange{linkId, station, regType ? *regType : QString(), address});
    return 0;
}

template <int Slot>
int reportTo(int linkId, int station, QString *regType, int address)
{
    return report(Slot, linkId, station, regType, address);
}

/** The functions of the slots below @p Count. */
template <int Count>
struct Functions
{
    static void fill(ValueChangeCallBack *table)
    {
        Functions<Count - 1>::fill(table);
        table[Count - 1] = &reportTo<Count - 1>;
    }
};

template <>
struct Functions<0>
{
    static void fill(ValueChangeCallBack *) {}
};

struct Table
{
    Table() { Functions<ChangeCallback::Most>::fill(functions); }
    ValueChangeCallBack functions[ChangeCallback::Most];
};

int takeSlot()
{
    const std::lock_guard<std::mutex> lock(slotsMutex);
    for (int slot = 0; slot < ChangeCallback::Most; ++slot) {
        if (slotAt(slot).used)
            continue;
        slotAt(slot).used = true;
        return slot;
    }
    throw std::runtime_error("no more than " + std::to_string(ChangeCallback::Most) + " drivers at a time");
}

} // namespace

ChangeCallback::ChangeCallback() : m_slot(takeSlot()) {}

ChangeCallback::~ChangeCallback()
{
    ChangeListener last; // what it holds is destroyed outside the mutex
    const std::lock_guard<std::mutex> lock(slotsMutex);
    last.swap(slotAt(m_slot).listener);
    slotAt(m_slot).used = false;
}

ValueChangeCallBack ChangeCallback::function() const
{
    static const Table table;
    return table.functions[m_slot];
}

void ChangeCallback::setListener(ChangeListener listener)
{
    const std::lock_guard<std::mutex> lock(slotsMutex);
    slotAt(m_slot).listener.swap(listener);
}

} // namespace rtu
