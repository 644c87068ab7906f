// How responsive the thread of the screens stays while tags change.
//
//   quick_bench [--tags N] [--seconds N] [--window]
//
// What blocks a finger is the longest event that the thread handles; it is given in
// processor time, so that other programs do not count. With --window the values are
// drawn as well, by the software renderer.

#include <QtCore/QCommandLineParser>
#include <QtCore/QTimer>
#include <QtGui/QGuiApplication>
#include <QtQml/QQmlEngine>
#include <QtQuick/QQuickItem>
#include <QtQuick/QQuickView>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <vector>

namespace {

double threadSeconds()
{
    timespec time;
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

void spin(int milliseconds)
{
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
}

/** Notes the processor time of every event. */
class Application : public QGuiApplication
{
public:
    using QGuiApplication::QGuiApplication;

    bool notify(QObject *receiver, QEvent *event) override
    {
        if (m_depth > 0)
            return QGuiApplication::notify(receiver, event);
        ++m_depth;
        const double before = threadSeconds();
        const bool handled = QGuiApplication::notify(receiver, event);
        times.push_back(1000 * (threadSeconds() - before));
        --m_depth;
        return handled;
    }

    std::vector<double> times; ///< milliseconds

private:
    int m_depth = 0;
};

} // namespace

int main(int argc, char **argv)
{
    Application application(argc, argv);
    QCommandLineParser options;
    options.addHelpOption();
    options.addOptions(
        {{QStringLiteral("tags"), QStringLiteral("how many"), QStringLiteral("N"), QStringLiteral("2000")},
         {QStringLiteral("seconds"), QStringLiteral("how long"), QStringLiteral("N"), QStringLiteral("10")},
         {QStringLiteral("window"), QStringLiteral("draw them")}});
    options.process(application);
    const int tags = options.value(QStringLiteral("tags")).toInt();
    const int seconds = options.value(QStringLiteral("seconds")).toInt();

    QQuickView view;
    view.engine()->addImportPath(QStringLiteral(QML_FOLDER));
    view.setInitialProperties({{QStringLiteral("count"), tags}});
    view.setSource(QUrl::fromLocalFile(QStringLiteral(BENCH_FOLDER "/Tags.qml")));
    if (view.status() != QQuickView::Ready)
        return 1;
    if (options.isSet(QStringLiteral("window")))
        view.show();
    QObject *const root = view.rootObject();
    for (int i = 0; i < 300 && root->property("read").toInt() < tags; ++i)
        spin(100);
    if (root->property("read").toInt() < tags) {
        std::fprintf(stderr, "the tags were not read\n");
        return 1;
    }
    const int changesBefore = root->property("changes").toInt();
    const double busyBefore = threadSeconds();
    application.times.clear();
    spin(1000 * seconds);
    std::vector<double> &times = application.times;
    std::sort(times.begin(), times.end());
    const double busy = threadSeconds() - busyBefore;
    const double changes = root->property("changes").toInt() - changesBefore;
    std::printf("%d tags, %.0f changes a second, %.1f us each, thread busy %.1f %%, longest events %.1f ms (99 %%), "
                "%.1f ms (most)\n",
                tags, changes / seconds, 1e6 * busy / changes, 100 * busy / seconds, times[times.size() * 99 / 100],
                times.back());
    return 0;
}
