// A link and its tags without a QML engine: what listens to them may do anything.

#include "quick/link.h"
#include "quick/tag.h"

#include <gtest/gtest.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QThread>

namespace {

using quick::Link;
using quick::Plant;
using quick::Tag;

class ALinkAndItsTag : public testing::Test
{
protected:
    ALinkAndItsTag()
    {
        plant.setSource(QUrl::fromLocalFile(QStringLiteral(TEST_PLANT)));
        plant.componentComplete();
        link = new Link;
        link->setProperty("driver", QStringLiteral(TEST_DRIVER));
        link->setProperty("baud", 0);
        link->setPlant(&plant);
        link->componentComplete();
        tag.setLink(link);
        tag.setProperty("address", QStringLiteral("4x10"));
        tag.componentComplete();
        waitFor([this] { return tag.quality() == Tag::Good; });
    }
    ~ALinkAndItsTag() override { delete link; }

    /** What never comes is ended by the test's own time limit. */
    static void waitFor(const std::function<bool()> &condition)
    {
        while (!condition())
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 10);
    }

    Plant plant;
    QPointer<Link> link;
    Tag tag;
};

TEST_F(ALinkAndItsTag, MayBeWrittenByWhatHearsTheEndOfAWriteWhileTheLinkGoes)
{
    QStringList ends;
    QObject::connect(&tag, &Tag::writeEnded, [&](Tag::WriteEnd, const QString &text) {
        ends << text;
        if (ends.size() == 1)
            tag.setValue(6);
    });
    tag.setValue(5);
    delete link;
    ASSERT_EQ(1, ends.size());
    EXPECT_TRUE(tag.isWriting()) << "the second is told later";
    QCoreApplication::processEvents();
    ASSERT_EQ(2, ends.size());
    EXPECT_FALSE(tag.isWriting());
    EXPECT_EQ(QStringLiteral("the tag cannot be written: its link is not active"), ends[1]);
}

TEST_F(ALinkAndItsTag, MayBeDestroyedByWhatHearsTheEndOfAWriteWhileTheLinkStops)
{
    QObject::connect(&tag, &Tag::writeEnded, [&] { delete link; });
    link->setProperty("active", false);
    tag.setValue(5);
    waitFor([this] { return !link; });
    EXPECT_FALSE(tag.isWriting());
}

TEST_F(ALinkAndItsTag, MayBeDestroyedByWhatHearsThatTheLinkIsClosed)
{
    QObject::connect(link, &Link::closed, [&] { delete link; });
    link->setProperty("active", false);
    waitFor([this] { return !link; });
    EXPECT_EQ(Tag::StationSilent, tag.quality());
}

TEST_F(ALinkAndItsTag, MayBeDestroyedByWhatHearsThatTheLinkIsConnecting)
{
    QObject::connect(link, &Link::statusChanged, [&] {
        if (link->status() == Link::Connecting)
            delete link;
    });
    link->setProperty("attempts", 2);
    waitFor([this] { return !link; });
    EXPECT_EQ(Tag::StationSilent, tag.quality());
}

TEST_F(ALinkAndItsTag, LetNoMessageWaitForEverWhileValuesKeepComing)
{
    Tag other;
    other.setLink(link);
    other.setProperty("address", QStringLiteral("4x20"));
    other.componentComplete();
    waitFor([&] { return other.quality() == Tag::Good; });

    int value = 1000;
    const rtu::Tag handles[] = {link->line()->addTag(tag.definition()), link->line()->addTag(other.definition())};
    const auto changeBoth = [&] {
        ++value;
        plant.poke(1, QStringLiteral("4x10"), value);
        plant.poke(1, QStringLiteral("4x20"), value);
        for (const rtu::Tag &handle : handles) {
            while (handle.value().number() != value)
                QThread::msleep(1);
        }
    };
    int shown = 0;
    const auto isSlow = [&] { // more than a frame for each value, and both have another one behind it
        ++shown;
        changeBoth();
        QThread::msleep(Link::FrameTime);
    };
    bool told = false;
    changeBoth();
    link->poster()([&] { told = true; });
    const auto first = QObject::connect(&tag, &Tag::valueChanged, isSlow);
    const auto second = QObject::connect(&other, &Tag::valueChanged, isSlow);
    waitFor([&] { return told || shown >= 20; });
    QObject::disconnect(first);
    QObject::disconnect(second);
    EXPECT_TRUE(told);

    // What came meanwhile is not left behind.
    waitFor([&] { return tag.value() == QVariant(double(value)) && other.value() == QVariant(double(value)); });
}

TEST_F(ALinkAndItsTag, ShowsNoOldValueUnderTheTimeOfANewOne)
{
    const rtu::Tag newest = link->line()->addTag(tag.definition());
    bool beaten = false;
    QObject::connect(link, &Link::statisticsChanged, [&] { // from here until it returns, nothing is handed over
        plant.poke(1, QStringLiteral("4x10"), 77);
        while (newest.value().number() != 77.0)
            QThread::msleep(1);
        beaten = true;
    });
    int misdated = 0;
    QObject::connect(&tag, &Tag::timeChanged, [&] { misdated += beaten && tag.value() != QVariant(77.0) ? 1 : 0; });
    waitFor([this] { return tag.value() == QVariant(77.0); });
    EXPECT_TRUE(beaten);
    EXPECT_EQ(0, misdated);
}

} // namespace
