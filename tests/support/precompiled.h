// Headers of Qt and GoogleTest that most tests read: with MODBUS_QUICK_TESTS they
// are read once for all of them. A test still includes what it uses; builds
// without that option show when one does not.
#ifndef PRECOMPILED_H
#define PRECOMPILED_H

#include <QtCore/QByteArray>
#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QMutex>
#include <QtCore/QString>
#include <QtCore/QVector>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <map>
#include <string>
#include <vector>

#endif
