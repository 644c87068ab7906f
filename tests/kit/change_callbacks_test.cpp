#include "kit/driver/change_callbacks.h"

#include "kit/terminal_pair.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <vector>

namespace {

using rtu::ChangeCallback;
using rtu::ValueChange;
using Callbacks = std::vector<std::unique_ptr<ChangeCallback>>;

Callbacks all()
{
    Callbacks callbacks;
    for (int i = 0; i < ChangeCallback::Most; ++i)
        callbacks.emplace_back(new ChangeCallback);
    return callbacks;
}

TEST(ChangeCallbacks, EachReportsToItsOwnListener)
{
    const Callbacks callbacks = all();
    std::set<ValueChangeCallBack> functions;
    std::vector<int> heard(callbacks.size());
    for (std::size_t i = 0; i < callbacks.size(); ++i) {
        functions.insert(callbacks[i]->function());
        callbacks[i]->setListener([&heard, i](const ValueChange &change) { heard[i] += change.address; });
    }
    EXPECT_EQ(callbacks.size(), functions.size());
    QString type = QString::fromLatin1("4x");
    for (std::size_t i = 0; i < callbacks.size(); ++i) {
        EXPECT_EQ(0, callbacks[i]->function()(1, 2, &type, static_cast<int>(i) + 1));
        EXPECT_EQ(static_cast<int>(i) + 1, heard[i]);
    }
}

TEST(ChangeCallbacks, BringWhatTheDriverSays)
{
    ChangeCallback callback;
    QString type = QString::fromLatin1("4x");
    EXPECT_EQ(0, callback.function()(1, 2, &type, 3)) << "nobody listens";
    ValueChange last = ValueChange();
    callback.setListener([&](const ValueChange &change) { last = change; });
    callback.function()(7, 3, &type, 4);
    EXPECT_EQ(7, last.linkId);
    EXPECT_EQ(3, last.station);
    EXPECT_EQ("4x", last.regType.toStdString());
    EXPECT_EQ(4, last.address);
    callback.function()(7, 3, nullptr, 4);
    EXPECT_TRUE(last.regType.isEmpty());
}

TEST(ChangeCallbacks, AreLimitedAndUsedAgain)
{
    Callbacks callbacks = all();
    EXPECT_EQ("no more than 64 drivers at a time", test_line::failureOf([] { ChangeCallback(); }));
    const ValueChangeCallBack freed = callbacks[5]->function();
    callbacks[5]->setListener([](const ValueChange &) { ADD_FAILURE() << "it is gone"; });
    callbacks[5].reset();
    const ChangeCallback next;
    EXPECT_EQ(freed, next.function());
    QString type;
    next.function()(0, 0, &type, 0);
}

} // namespace
