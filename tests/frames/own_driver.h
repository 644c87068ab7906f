/**
 * @file
 * A driver object of a test's own, with a host around it.
 */
#ifndef OWN_DRIVER_H
#define OWN_DRIVER_H

#include "support/driver_fixture.h"

#include <gtest/gtest.h>

#include <QtCore/QMutex>

#include <vector>

namespace support {

/** A driver object with a host around it. */
class OwnDriver : public ::testing::Test
{
protected:
    enum { AreaBytes = 60117 };

    OwnDriver() : area(AreaBytes, 0), words(8, 0)
    {
        master.valueChangeCallBack = &support::ChangeRecorder::callBack;
        master.initProperty(area.data(), 0, words.data(), "1#0#0#3#100", &mutex);
        for (size_t i = 0; i < words.size(); ++i)
            words[i] = static_cast<unsigned short>(0x1110 * (i + 1) + i + 1); // 1111, 2222, ...
    }

    Modbus_rtu_master master;
    support::ChangeRecorder recorder;
    std::vector<unsigned char> area;
    std::vector<unsigned short> words;
    QMutex mutex;
};

} // namespace support

#endif
